#include "Helpers/CKBlockKeys.h"
#include "Image/ImgColor.h"
#include "Interfaces/ZVideoTypes.h"
#include "Support/GuardedPlane.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace CKUtils;

namespace
{

constexpr uint32_t c_fccHLS = eZFCC_None;

struct PIXEL
{
    uint8_t ab[4]; // as in memory
};

/// A block between fences, of one colour to begin with.
struct BLOCK : CGuardedPlane
{
    BLOCK(int _nWidth, int _nHeight, PIXEL _pixel, eZGuard _eGuard = eZGuard_Fence)
        : CGuardedPlane(size_t{4} * _nWidth, _nHeight, ptrdiff_t{4} * _nWidth, _eGuard)
        , nWidth(_nWidth)
    {
        for (int y = 0; y < _nHeight; ++y)
            for (int x = 0; x < _nWidth; ++x)
                Set(x, y, _pixel);
    }
    void Set(int _nX, int _nY, PIXEL _pixel)
    {
        std::copy_n(_pixel.ab, 4, Row(_nY) + ptrdiff_t{4} * _nX);
    }
    bool Key(const CBlockKeys& _keys, CALC_KEY* _pKey, int32_t* _pnSign)
    {
        return _keys.KeyFromBlock(Row(0), nWidth, Rows(), Stride(), _pKey, _pnSign);
    }
    /// +1, -1, or 0 for a block that is refused.
    int Sign(const CBlockKeys& _keys)
    {
        CALC_KEY key;
        int32_t nSign = 0;
        return Key(_keys, &key, &nSign) ? nSign : 0;
    }
    int nWidth;
};

/// The class of a pixel by the table of regions, in its own words.
int ClassOf(const uint8_t* _pb, uint32_t _fccType)
{
    const bool bRGB = _fccType == eZFCC_RGB32;
    double adbl[3] = {_pb[2] / 255.0, _pb[1] / 255.0, _pb[0] / 255.0};
    if (_fccType == c_fccHLS)
    {
        adbl[0] = _pb[0] / 256.0;
        adbl[2] = _pb[2] / 255.0;
    }
    const auto IsIn = [&](double _v0, double _d0, double _v1, double _d1, double _v2, double _d2) {
        return _v0 - _d0 <= adbl[0] && adbl[0] <= _v0 + _d0 && _v1 - _d1 <= adbl[1] && adbl[1] <= _v1 + _d1 &&
               _v2 - _d2 <= adbl[2] && adbl[2] <= _v2 + _d2;
    };
    if (_fccType == c_fccHLS)
        return IsIn(0.34722, 0.08333, 0.5, 0.4, 0.6, 0.8) ? 1 : IsIn(0.63889, 0.06944, 0.5, 0.4, 0.6, 0.8) ? -1 : 0;
    if (bRGB)
        return IsIn(0.3, 0.3, 0.6, 0.3, 0.3, 0.3) ? 1 : IsIn(0.3, 0.3, 0.3, 0.3, 0.6, 0.3) ? -1 : 0;
    return IsIn(0.2, 0.3, 0.2, 0.3, 0.5, 0.4) ? 1 : IsIn(0.2, 0.3, 0.7, 0.3, 0.5, 0.4) ? -1 : 0;
}

int Distance(const uint8_t* _pb1, const uint8_t* _pb2)
{
    int nSum = 0;
    for (int i = 0; i < 3; ++i)
        nSum += (_pb1[i] - _pb2[i]) * (_pb1[i] - _pb2[i]);
    return nSum;
}

/// The class of a block step by step, one pixel after the other; 0: refused.
int SignStepwise(BLOCK& _block, uint32_t _fccType, int _nThreshold, int _nSign)
{
    const int nMax = 3 * _nThreshold * _nThreshold;
    int nBlockSign = 0;
    for (int y = 0; y < _block.Rows(); ++y)
        for (int x = 1; x < _block.nWidth; ++x)
        {
            const uint8_t* pb = _block.Row(y) + ptrdiff_t{4} * x;
            const int nClass = ClassOf(pb, _fccType);
            if (nClass == 0 || (nBlockSign && nClass != nBlockSign))
                return 0;
            if (_nSign && _fccType != c_fccHLS && nClass != _nSign)
                return 0;
            nBlockSign = nClass;
            if (Distance(pb, _block.Row(0)) > 4 * nMax || Distance(pb, pb - 4) > nMax)
                return 0;
            const uint8_t* pbUp = y ? _block.Row(y - 1) + ptrdiff_t{4} * x : pb;
            if (y && (Distance(pb, pbUp) > nMax || Distance(pb, pbUp - 4) > nMax))
                return 0;
        }
    return nBlockSign;
}

constexpr PIXEL c_pixGreen = {{60, 160, 50, 255}}; // B, G, R, A

} // namespace

TEST(BlockKeys, FirstColumnIsOnlyANeighbour)
{
    const CBlockKeys keys(eZFCC_RGB32, 16);
    BLOCK block(4, 4, {{60, 228, 50, 255}});
    block.Set(0, 2, {{60, 232, 50, 255}}); // outside the region, but near
    CALC_KEY key;
    int32_t nSign = 0;
    ASSERT_TRUE(block.Key(keys, &key, &nSign));
    EXPECT_DOUBLE_EQ(key.dValue[1], 228 / 255.0);
    block.Set(0, 0, {{60, 232, 50, 251}}); // the very first pixel belongs to the box
    nSign = 0;
    ASSERT_TRUE(block.Key(keys, &key, &nSign));
    EXPECT_DOUBLE_EQ(key.dValue[1], 230 / 255.0);
    EXPECT_DOUBLE_EQ(key.dDelta[1], 2 / 255.0);
    EXPECT_DOUBLE_EQ(key.dDelta[3], 2 / 255.0) << "alpha widens the box, but is no matter of flatness";
    block.Set(0, 2, {{60, 190, 50, 255}}); // too far from its right neighbour
    EXPECT_EQ(block.Sign(keys), 0);
    EXPECT_EQ(BLOCK(1, 8, c_pixGreen).Sign(keys), 0) << "nothing to classify";
}

// Most blocks are decided by shortcuts; the verdicts must be those of the plain walk. Colours near region limits and
// noise near the threshold make all paths run.
TEST(BlockKeys, ShortcutsAgreeWithThePlainWalk)
{
    std::mt19937 rng(12345);
    const auto Random = [&](int _nFrom, int _nTo) {
        return _nFrom + static_cast<int>(rng() % static_cast<unsigned>(_nTo - _nFrom + 1));
    };
    const uint32_t arrTypes[] = {eZFCC_RGB32, eZFCC_UYVY, c_fccHLS};
    const PIXEL arrBases[] = {{{60, 160, 60, 9}},  {{145, 150, 90, 9}}, {{160, 100, 90, 9}}, {{140, 110, 110, 9}},
                              {{100, 124, 90, 9}}, {{90, 120, 150, 9}}, {{165, 120, 90, 9}}, {{150, 60, 60, 9}}};
    int arrSeen[3] = {};
    for (int nRound = 0; nRound < 20000; ++nRound)
    {
        const uint32_t fccType = arrTypes[nRound % 3];
        const PIXEL& base = arrBases[Random(0, 7)];
        const int nNoise = Random(0, 14);
        BLOCK block(Random(1, 22), Random(1, 5), base, nRound % 2 ? eZGuard_PageEnd : eZGuard_PageStart);
        for (int y = 0; y < block.Rows(); ++y)
            for (int x = 0; x < block.nWidth; ++x)
                for (int i = 0; i < 3; ++i)
                    block.Row(y)[4 * x + i] = static_cast<uint8_t>(base.ab[i] + Random(-nNoise, nNoise));
        const int nThreshold = Random(2, 16);
        int32_t nSign = Random(-1, 1);
        const int nWanted = SignStepwise(block, fccType, nThreshold, nSign);
        CALC_KEY key = {{7, 7, 7, 7}, {}, 0};
        const int32_t nSignBefore = nSign;
        const bool bFound = block.Key(CBlockKeys(fccType, nThreshold), &key, &nSign);
        ASSERT_EQ(bFound ? nSign : 0, nWanted) << "round " << nRound << ", " << block.nWidth << " x " << block.Rows();
        ++arrSeen[nWanted + 1];
        int nMin = block.Row(0)[1], nMax = nMin;
        for (int y = 0; y < block.Rows(); ++y)
            for (int x = 1; x < block.nWidth; ++x)
            {
                nMin = std::min<int>(nMin, block.Row(y)[4 * x + 1]);
                nMax = std::max<int>(nMax, block.Row(y)[4 * x + 1]);
            }
        ASSERT_DOUBLE_EQ(key.dValue[1], bFound ? (nMin + nMax) / 510.0 : 7) << "a refused block changes nothing";
        ASSERT_TRUE(bFound || nSign == nSignBefore);
    }
    EXPECT_GT(*std::min_element(arrSeen, arrSeen + 3), 500) << "one verdict hardly occurs";
}
