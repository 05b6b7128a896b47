#include "Support/GuardedPlane.h"
#include "Support/SimdLevel.h"
#include "ZChromaKey/ColorCancelReference.h"
#include "ZChromaKey/KeyReference.h"
#include "ZChromaKey/Kernels/ColorCancelPrepare.h"
#include "ZChromaKey/Kernels/KeyKernels.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

constexpr PAIR_LAYOUT c_layoutUYVY = {8, 24, 0, 16};
constexpr PAIR_LAYOUT c_layoutYVYU = {0, 16, 24, 8};

/// Keys around one colour and anywhere, with cancel parameters of all sizes, their ends and zeros often.
CHROMA_KEY_RAW RandomKeys(CRandom& _rnd, int32_t _eType, int _nKeys)
{
    const uint32_t arrDeltas[] = {0x0A0A0A, 0x201830, 0x404040, 0xFF000000, 0x00FF01, 0};
    const int32_t arrParameters[] = {0, 0, 40, 90, 255, -30, -128, -255};
    CHROMA_KEY_RAW rawKey = {};
    rawKey.eType = _eType;
    rawKey.nKeysUsed = _nKeys;
    for (SINGLE_KEY& key : rawKey.arrKeys)
    {
        key.nValue = _rnd() % 3 ? 0x5060A0 + (_rnd() & 0x0F0F0F) : _rnd();
        key.nDelta = _rnd.OneOf(arrDeltas);
        key.nCancelRange = _rnd.OneOf(arrParameters);
        key.nCancelPower = _rnd.OneOf(arrParameters);
        key.nCancelChroma = _rnd.OneOf(arrParameters);
        key.nCancelLuma = _rnd.OneOf(arrParameters);
        key.nCancelAlpha = _rnd.OneOf(arrParameters);
        key.nReverseKey = _rnd() % 4 == 0;
    }
    return rawKey;
}

/// Pixels near the keys, greys, primaries and random ones, in runs.
void FillPixels(CGuardedPlane& _plane, CRandom& _rnd)
{
    uint8_t* const pBytes = _plane.Row(0);
    for (size_t n = 0; n < _plane.RowBytes(); ++n)
    {
        const size_t nRun = n / 48 % 4;
        pBytes[n] = nRun == 0                ? static_cast<uint8_t>(_rnd())
                    : nRun == 1              ? static_cast<uint8_t>(_rnd() % 2 ? 255 : 0)
                    : nRun == 2 && n % 4 > 0 ? pBytes[n - 1]
                                             : static_cast<uint8_t>(0x40 + _rnd() % 0x60);
    }
}

class ColorCancel : public CSimdLevelTest
{
};

TEST_P(ColorCancel, EqualsThePlainKernels)
{
    KEY_KERNELS kernels;
    KEY_KERNELS kernelsPlain;
    KeyKernels_Init(&kernels, GetParam());
    KeyKernels_Init(&kernelsPlain, eSIMD_None);
    const int32_t arrTypes[] = {eCKT_RGB, eCKT_HLS, eCKT_YUV};
    const eZGuard arrGuards[] = {eZGuard_Fence, eZGuard_PageEnd, eZGuard_PageStart};
    CRandom rnd(5);
    size_t nChanged = 0;
    size_t nKept = 0;
    ForTestWidths([&](int _nWidth) {
        for (int nRun = 0; nRun < 6; ++nRun)
        {
            const CHROMA_KEY_RAW rawKey = RandomKeys(rnd, arrTypes[nRun % 3], 1 + (_nWidth + nRun * 3) % 16);
            const CANCEL_SET set = ColorCancel_Prepare(rawKey, nRun % 2);
            if (set.nKeys == 0)
                continue;
            SCOPED_TRACE(testing::Message() << "width " << _nWidth << " run " << nRun << " keys " << rawKey.nKeysUsed);
            const auto nWidth = static_cast<size_t>(_nWidth);
            CGuardedPlane plane(4 * nWidth, 1, 0, rnd.OneOf(arrGuards), rnd() % 64);
            FillPixels(plane, rnd);
            const std::vector<uint8_t> arrBefore(plane.Row(0), plane.Row(0) + 4 * nWidth);
            std::vector<uint8_t> arrExpected = arrBefore;
            if (nRun < 3)
            {
                kernelsPlain.pfnCancelBGRA(arrExpected.data(), nWidth, set);
                kernels.pfnCancelBGRA(plane.Row(0), nWidth, set);
            }
            else
            {
                const PAIR_LAYOUT layout = _nWidth % 2 ? c_layoutYVYU : c_layoutUYVY;
                kernelsPlain.pfnCancelPairs(arrExpected.data(), nWidth, layout, set);
                kernels.pfnCancelPairs(plane.Row(0), nWidth, layout, set);
            }
            ASSERT_TRUE(plane.Intact());
            ASSERT_TRUE(std::equal(arrExpected.begin(), arrExpected.end(), plane.Row(0)));
            for (size_t n = 0; n < arrBefore.size(); ++n)
            {
                ++(arrExpected[n] == arrBefore[n] ? nKept : nChanged);
                ASSERT_TRUE(nRun >= 3 || n % 4 < 3 || arrExpected[n] == arrBefore[n]) << "alpha";
            }
        }
    });
    EXPECT_GT(nChanged, 100'000u);
    EXPECT_GT(nKept, 100'000u);
}

Z_INSTANTIATE_LEVELS(ColorCancel);

/// Bytes of a result, and of what the definition makes: they may differ by one where rounding decides.
void ExpectNear(const uint8_t* _pBytes, const CCancelReference::TRIPLE& _expected, const int (&_arrOrder)[3])
{
    for (int c = 0; c < 3; ++c)
        ASSERT_NEAR(_pBytes[_arrOrder[c]], 255 * _expected[c], 0.51) << c;
}

TEST(ColorCancelPlain, MatchesTheDefinition)
{
    const int32_t arrTypes[] = {eCKT_RGB, eCKT_HLS, eCKT_YUV};
    CRandom rnd(9);
    int nChanged = 0;
    int nKept = 0;
    for (int nRun = 0; nRun < 1500; ++nRun)
    {
        const bool b709 = nRun % 2;
        const CHROMA_KEY_RAW rawKey = RandomKeys(rnd, rnd.OneOf(arrTypes), nRun % 17);
        const CANCEL_SET set = ColorCancel_Prepare(rawKey, b709);
        CGuardedPlane plane(4 * 48, 1);
        FillPixels(plane, rnd);
        for (uint8_t* pPixel = plane.Row(0); set.nKeys > 0 && pPixel < plane.Row(0) + plane.RowBytes(); pPixel += 4)
        {
            uint8_t arrPixel[4];
            std::copy_n(pPixel, 4, arrPixel);
            CCancelReference reference(rawKey, b709);
            SCOPED_TRACE(testing::Message() << "run " << nRun << " type " << rawKey.eType << " pixel " << int{pPixel[0]}
                                            << "," << int{pPixel[1]} << "," << int{pPixel[2]} << "," << int{pPixel[3]});
            bool bChanged = false;
            if (nRun % 3)
            {
                const CCancelReference::TRIPLE rgb = {pPixel[2] / 255.0, pPixel[1] / 255.0, pPixel[0] / 255.0};
                const auto yvu = reference.Clean(reference.ToYVU(rgb), rgb, &bChanged);
                CancelBGRA_C(arrPixel, 1, set);
                if (!reference.bDoubtful)
                    ExpectNear(arrPixel, bChanged ? reference.ToRGB(yvu) : rgb, {2, 1, 0});
            }
            else // one unit of U Y V Y
            {
                const double v = pPixel[2] / 255.0;
                const double u = pPixel[0] / 255.0;
                const CCancelReference::TRIPLE arrYVU[2] = {{pPixel[1] / 255.0, v, u}, {pPixel[3] / 255.0, v, u}};
                const auto yvu0 = reference.Clean(arrYVU[0], reference.ToRGB(arrYVU[0]), &bChanged);
                const auto yvu1 = reference.Clean(arrYVU[1], reference.ToRGB(arrYVU[1]), &bChanged);
                CancelPairs_C(arrPixel, 1, c_layoutUYVY, set);
                if (!reference.bDoubtful)
                {
                    ExpectNear(arrPixel, {yvu0[0], (yvu0[1] + yvu1[1]) / 2, (yvu0[2] + yvu1[2]) / 2}, {1, 2, 0});
                    ASSERT_NEAR(arrPixel[3], 255 * yvu1[0], 0.51);
                }
            }
            if (testing::Test::HasFatalFailure())
                return;
            ++(bChanged ? nChanged : nKept);
        }
    }
    EXPECT_GT(nChanged, 20'000);
    EXPECT_GT(nKept, 2'000);
}

/// One key in YUV at Y 128, V 128, with half-widths of a sixteenth.
SINGLE_KEY YUVKey(uint8_t _nU, int32_t _nRange, int32_t _nPower, int32_t _nChroma, int32_t _nLuma, int32_t _nAlpha)
{
    return {0x800080u | uint32_t{_nU} << 8, 0x101010, 0, 0, _nRange, _nPower, _nChroma, _nLuma, _nAlpha, 0};
}

TEST(ColorCancelPlain, GivesWhatWasWorkedOutByHand)
{
    struct CASE
    {
        const char* pszWhat;
        SINGLE_KEY key;
        uint8_t arrBefore[4]; // U Y V Y
        uint8_t arrAfter[4];
    };
    SINGLE_KEY keyCorner = YUVKey(0, 0, 128, 0, 0, 0);
    keyCorner.nValue = 0x000080;
    const CASE arrCases[] = {
        // r = (0.0020, 0.0642), distance 0.0017, weight 0.9966: U = -0.0608 + 0.1857 - 0.0311, V = 0.0020 + 0.0057
        {"pushed to a quarter", YUVKey(96, 0, 64, 0, 0, 0), {112, 90, 128, 200}, {151, 90, 129, 200}},
        {"grey, darker", YUVKey(96, 0, 0, -128, -128, 0), {112, 90, 128, 200}, {128, 45, 128, 100}},
        {"clamped", YUVKey(96, 0, 0, 255, 255, 0), {70, 90, 128, 200}, {0, 180, 129, 255}},
        {"beyond the width", YUVKey(96, 0, 64, -128, 0, -120), {140, 90, 128, 200}, {140, 90, 128, 200}},
        {"inside a hard edge", YUVKey(96, 0, 0, -128, 0, -128), {108, 90, 128, 200}, {128, 90, 128, 200}},
        {"outside a hard edge", YUVKey(96, 0, 0, -128, 0, -200), {114, 90, 128, 200}, {114, 90, 128, 200}},
        {"inside a wider one", YUVKey(96, 64, 0, -128, 0, -128), {120, 90, 128, 200}, {128, 90, 128, 200}},
        {"no axis left", YUVKey(96, -255, 0, -128, 0, -128), {100, 90, 128, 200}, {100, 90, 128, 200}},
        // r = (0.0020, 0): V = 0.5, U = -0.5 - 0.25, brought to a length of 0.5
        {"too long", YUVKey(0, 0, 128, 0, 0, 0), {0, 0, 128, 255}, {21, 0, 198, 255}},
        // r = 0 has no direction: V = U = -0.5 - 0.25, brought to a length of 0.5
        {"the centre itself", keyCorner, {0, 0, 0, 255}, {37, 0, 37, 255}},
    };
    for (const CASE& testCase : arrCases)
    {
        CHROMA_KEY_RAW rawKey = {};
        rawKey.eType = eCKT_YUV;
        rawKey.nKeysUsed = 1;
        rawKey.arrKeys[0] = testCase.key;
        uint8_t arrUnit[4];
        std::copy_n(testCase.arrBefore, 4, arrUnit);
        CancelPairs_C(arrUnit, 1, c_layoutUYVY, ColorCancel_Prepare(rawKey, false));
        EXPECT_TRUE(std::equal(arrUnit, arrUnit + 4, testCase.arrAfter))
            << testCase.pszWhat << ": " << int{arrUnit[0]} << "," << int{arrUnit[1]} << "," << int{arrUnit[2]} << ","
            << int{arrUnit[3]};
    }
}

} // namespace
