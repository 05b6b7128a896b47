#include "Support/GuardedPlane.h"
#include "Support/SimdLevel.h"
#include "ZChromaKey/Engine1/KeyReference.h"
#include "ZChromaKey/Engine1/Kernels/KeyDistance.h"
#include "ZChromaKey/Engine1/Kernels/x86/KeyKernels_x86.h"
#include "ZChromaKey/Engine1/RandomInput.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace
{

class KeySet : public CSimdLevelTest
{
};

// Deltas, soft edges and floors of all sizes, the ends of their ranges often.
SINGLE_KEY RandomKey(CRandom& _rnd, bool _bExclude)
{
    const uint32_t arrMask[] = {0xFFFFFFFF, 0x1F1F1F1F, 0x03030303, 0xFF0F01FF, 0};
    const int32_t arrSmooth[] = {0, 1, 20, 100, 600, -3, INT32_MAX};
    const int32_t arrAlpha[] = {0, 0, 40, 100, 254, -5, 300};
    SINGLE_KEY key = {};
    key.nValue = _rnd();
    key.nDelta = _rnd() & _rnd.OneOf(arrMask);
    key.nSmoothRange = _rnd.OneOf(arrSmooth);
    key.nAlpha = _bExclude ? 0 : _rnd.OneOf(arrAlpha);
    return key;
}

// Keys as the kernels take them, and as the reference does.
struct TEST_KEYS
{
    TEST_KEYS(CRandom& _rnd, int _nKeys, bool _bExclude)
        : nFirstValue(0)
    {
        for (int i = 0; i < _nKeys; ++i)
        {
            const bool bRGB = _rnd() % 2;
            const SINGLE_KEY key = RandomKey(_rnd, _bExclude);
            nFirstValue = i ? nFirstValue : key.nValue;
            arrReference.emplace_back(key, bRGB);
            arrPrepared.push_back(arrReference.back().Constants());
            arrFloor.push_back(std::clamp(key.nAlpha, 0, 255));
        }
    }
    int Least(const uint8_t* _pPixel, size_t _nKeys) const
    {
        int nLeast = 255;
        for (size_t i = 0; i < std::min(_nKeys, arrReference.size()); ++i)
            nLeast = std::min(nLeast, arrReference[i].Alpha(_pPixel) + arrFloor[i]);
        return nLeast;
    }
    std::vector<KEY_DISTANCE> arrPrepared;
    std::vector<CKeyReference> arrReference;
    std::vector<int> arrFloor;
    uint32_t nFirstValue;
};

TEST_P(KeySet, MatchesTheDefinition)
{
    KEY_KERNELS kernels;
    KeyKernels_Init(&kernels, GetParam());
    CRandom rnd(1);
    int nSoft = 0;
    const auto fnRow = [&](int _nWidth, int _nKeying, int _nExclude) {
        const auto nWidth = static_cast<size_t>(_nWidth);
        const size_t arrMerged[] = {nWidth / 16 * 16, nWidth / 16 * 16, 0, nWidth, rnd() % (nWidth + 1)};
        const size_t nMerged = rnd.OneOf(arrMerged);
        const eZGuard arrGuards[] = {eZGuard_Fence, eZGuard_PageEnd, eZGuard_PageStart};
        const eZGuard eGuard = rnd.OneOf(arrGuards);
        CGuardedPlane pixels(4 * nWidth, 1, 0, eGuard, rnd() % 64);
        CGuardedPlane alpha(nWidth, 1, 0, eGuard, rnd() % 64);
        const TEST_KEYS keying(rnd, _nKeying, false);
        const TEST_KEYS exclude(rnd, _nExclude, true);
        FillPixels(pixels, keying.nFirstValue, rnd);
        const KEY_SET set = {keying.arrPrepared.data(), _nKeying, exclude.arrPrepared.data(), _nExclude};
        kernels.pfnKeySet(alpha.Row(0), pixels.Row(0), nWidth, nMerged, set);
        for (size_t n = 0; n < nWidth; ++n)
        {
            const size_t nKeys = n < nMerged ? c_nMaxRowKeys : 1;
            const uint8_t* const pPixel = pixels.Row(0) + 4 * n;
            const int nExpected = std::max(keying.Least(pPixel, nKeys), 255 - exclude.Least(pPixel, nKeys));
            ASSERT_EQ(alpha.Row(0)[n], nExpected) << "width " << nWidth << " merged " << nMerged << " keys " << _nKeying
                                                  << " + " << _nExclude << " guard " << eGuard << " pixel " << n;
            nSoft += nExpected > 0 && nExpected < 255;
        }
        ASSERT_TRUE(alpha.Intact() && pixels.Intact()) << "width " << nWidth;
    };
    ForTestWidths([&](int _nWidth) {
        for (int nRun = 0; nRun < 6; ++nRun)
            fnRow(_nWidth, 1 + static_cast<int>(rnd() % (nRun + 1)), static_cast<int>(rnd() % 3));
    });
    for (int nKeys = 1; nKeys <= c_nMaxRowKeys; ++nKeys)
        for (const int nExclude : {0, 1, nKeys, c_nMaxRowKeys})
            fnRow(333, nKeys, nExclude);
    EXPECT_GT(nSoft, 50000) << "too few pixels on soft edges to mean anything";
}

// Ramps of one component through the centres of keys of all kinds meet every step of every soft edge.
TEST_P(KeySet, MatchesThePlainKernelOnEveryStepOfSoftEdges)
{
    KEY_KERNELS arrKernels[2];
    KeyKernels_Init(&arrKernels[0], eSIMD_None);
    KeyKernels_Init(&arrKernels[1], GetParam());
    CRandom rnd(2);
    uint8_t arrPixels[4 * 256];
    uint8_t arrAlpha[2][256];
    for (int nRun = 0; nRun < 20000; ++nRun)
    {
        const SINGLE_KEY key = RandomKey(rnd, nRun % 2);
        KEY_DISTANCE prepared = KeyDistance_Prepare(key, false);
        const size_t nComponent = rnd() % 3;
        if (nRun % 4 > 1) // let some pixel of the ramp meet the first or the last excess of the soft edge
        {
            const int nStep = static_cast<int>(rnd() % 256) - prepared.arrValue[nComponent];
            const int nSum = nStep * nStep / 2 * prepared.arrWeight[nComponent];
            const int32_t arrExcess[] = {0, 1, prepared.nOpaque - 1, prepared.nOpaque};
            prepared.nThreshold = std::max(nSum - rnd.OneOf(arrExcess), 0);
        }
        for (size_t n = 0; n < 4 * 256; ++n)
            arrPixels[n] = static_cast<uint8_t>(n % 4 == nComponent ? n / 4 : key.nValue >> (8 * (n % 4)));
        const KEY_SET set = {&prepared, 1, nullptr, 0};
        for (int i = 0; i < 2; ++i)
            arrKernels[i].pfnKeySet(arrAlpha[i], arrPixels, 256, 256, set);
        ASSERT_TRUE(std::equal(arrAlpha[0], arrAlpha[0] + 256, arrAlpha[1]))
            << "value " << key.nValue << " delta " << key.nDelta << " smooth " << key.nSmoothRange << " alpha "
            << key.nAlpha << " component " << nComponent;
    }
}

#if defined(ZCK_X86)
// All levels give the same bytes, so no result tells an entry that another level's kernel has taken.
TEST(KeyKernels, EveryEntryIsItsLevels)
{
    const KEY_KERNELS arrExpected[] = {{KeySet_C, CancelBGRA_C, CancelPairs_C},
                                       {KeySet_AVX2, CancelBGRA_AVX2, CancelPairs_AVX2},
                                       {KeySet_AVX512, CancelBGRA_AVX512, CancelPairs_AVX512}};
    for (const eSIMD_Level eLevel : {eSIMD_None, eSIMD_AVX2, eSIMD_AVX512})
    {
        KEY_KERNELS kernels;
        KeyKernels_Init(&kernels, eLevel);
        EXPECT_EQ(std::memcmp(&kernels, &arrExpected[eLevel], sizeof(kernels)), 0) << ZCpu_LevelName(eLevel);
    }
}
#endif

Z_INSTANTIATE_LEVELS(KeySet);

} // namespace
