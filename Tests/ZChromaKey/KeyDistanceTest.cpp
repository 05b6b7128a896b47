#include "Support/GuardedPlane.h"
#include "ZChromaKey/KeyReference.h"
#include "ZChromaKey/Kernels/KeyPrepare.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace
{

const KEY_KERNELS& Kernels()
{
    static const KEY_KERNELS kernels = [] {
        KEY_KERNELS res;
        KeyKernels_Init(&res, eSIMD_None);
        return res;
    }();
    return kernels;
}

SINGLE_KEY Key(uint32_t _nValue, uint32_t _nDelta, int32_t _nSmooth = 0, int32_t _nAlpha = 0)
{
    SINGLE_KEY key = {};
    key.nValue = _nValue;
    key.nDelta = _nDelta;
    key.nSmoothRange = _nSmooth;
    key.nAlpha = _nAlpha;
    return key;
}

uint8_t AlphaOf(const SINGLE_KEY& _key, std::initializer_list<int> _arrPixel)
{
    std::vector<uint8_t> arrPixel;
    for (const int n : _arrPixel)
        arrPixel.push_back(static_cast<uint8_t>(n));
    arrPixel.push_back(77); // alpha of the input has no say
    uint8_t nAlpha = 0;
    Kernels().pfnDistance(&nAlpha, arrPixel.data(), 1, KeyDistance_Prepare(_key, false));
    return nAlpha;
}

TEST(KeyPrepare, WeightsFillTheirSixteenBits)
{
    struct CASE
    {
        uint32_t nDelta;
        int arrWeight[3];
        int32_t nThreshold;
    };
    const CASE arrCases[] = {
        {0x010101, {1000, 1000, 1000}, 500},        // the least divisor, 0.001
        {0x020202, {16000, 16000, 16000}, 32000},   // 16 / 0.001
        {0x1E1E1E, {16382, 16382, 16382}, 7371900}, // 30^2 x 16382 / 2
        {0x01FF01, {16382, 0, 16382}, 8191},        // a channel 181 times as wide weighs nothing
        {0xFFFFFFFF, {16382, 16382, 16382}, 532619775},
        {0xFF000000, {1000, 1000, 1000}, 500}, // components of 0 count as 1
    };
    for (const CASE& testCase : arrCases)
    {
        const KEY_DISTANCE key = KeyDistance_Prepare(Key(0, testCase.nDelta), false);
        SCOPED_TRACE(testCase.nDelta);
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(key.arrWeight[c], testCase.arrWeight[c]) << c;
        EXPECT_EQ(key.nThreshold, testCase.nThreshold);
        EXPECT_EQ(key.fltScale, 1000.0f);
    }
}

TEST(KeyPrepare, CentresAreClampedAndRGBIsSwapped)
{
    const KEY_DISTANCE key = KeyDistance_Prepare(Key(0x00FF20, 0x0A2805), true);
    EXPECT_EQ(key.arrValue[0], 1);
    EXPECT_EQ(key.arrValue[1], 254);
    EXPECT_EQ(key.arrValue[2], 0x20);
    EXPECT_GT(key.arrWeight[2], key.arrWeight[0]); // the narrow component of the word is its byte 0
    EXPECT_EQ(AlphaOf(Key(0x00FF00, 0x010101), {1, 254, 1}), 0);
    EXPECT_EQ(KeyDistance_Prepare(Key(0, 1, 0, 300), false).nAlphaFloor, 255);
    EXPECT_EQ(KeyDistance_Prepare(Key(0, 1, 0, -5), false).nAlphaFloor, 0);
    EXPECT_EQ(KeyDistance_Prepare(Key(0, 0x1E, -30), false).fltScale,
              KeyDistance_Prepare(Key(0, 0x1E), false).fltScale);
}

TEST(KeyDistance, SoftEdgeRunsFromTheKeyToItsOuterEllipsoid)
{
    for (const int nDelta : {5, 30, 60})
        for (const int nSmooth : {10, 40, 60})
        {
            const auto key = Key(0x808080, 0x010101u * static_cast<unsigned>(nDelta), nSmooth);
            SCOPED_TRACE(testing::Message() << "delta " << nDelta << " smooth " << nSmooth);
            int nBefore = 0;
            for (int n = 0; n <= 127; ++n)
            {
                const int nAlpha = AlphaOf(key, {128, 128 + n, 128});
                EXPECT_EQ(AlphaOf(key, {128 - n, 128, 128}), nAlpha);
                EXPECT_GE(nAlpha, nBefore);
                EXPECT_EQ(nAlpha == 0, n <= nDelta) << n;
                if (n != nDelta + nSmooth - 1) // may round to 255
                {
                    EXPECT_EQ(nAlpha == 255, n >= nDelta + nSmooth) << n;
                }
                nBefore = nAlpha;
            }
        }
}

TEST(KeyDistance, WideSoftEdgesStaySoft)
{
    // Where 32 bits would overflow: a wide edge must not turn into a hard one.
    for (const int nSmooth : {210, 363, 513, 100'000, INT32_MAX})
    {
        const int nAlpha = AlphaOf(Key(0x808080, 0x0A0A0A, nSmooth), {128, 128, 228});
        const double dblExpected = 256 * std::sqrt((100.0 * 100 - 100) / (std::pow(nSmooth + 10.0, 2) * 1 - 100));
        EXPECT_NEAR(nAlpha, dblExpected, 1.0) << nSmooth;
    }
}

TEST(KeyDistance, InsideIsInsideTheRealEllipsoid)
{
    CRandom rnd(7);
    int nInside = 0;
    int nOutside = 0;
    for (int nKey = 0; nKey < 400; ++nKey)
    {
        const uint32_t nDelta = (20 + rnd() % 100) | (20 + rnd() % 100) << 8 | (20 + rnd() % 100) << 16;
        const SINGLE_KEY key = Key(rnd(), nDelta);
        const KEY_DISTANCE prepared = KeyDistance_Prepare(key, false);
        for (int nPixel = 0; nPixel < 200; ++nPixel)
        {
            uint8_t arrPixel[4];
            double dblLevel = 0;
            for (unsigned c = 0; c < 3; ++c)
            {
                arrPixel[c] = static_cast<uint8_t>(rnd());
                const double dblAxis = nDelta >> (8 * c) & 255;
                dblLevel += std::pow((arrPixel[c] - prepared.arrValue[c]) / dblAxis, 2);
            }
            uint8_t nAlpha = 1;
            Kernels().pfnDistance(&nAlpha, arrPixel, 1, prepared);
            // Halving drops up to half a square, rounding up to 0.5 of a weight of 450 and more.
            if (dblLevel < 0.995)
            {
                ++nInside;
                EXPECT_EQ(nAlpha, 0) << dblLevel;
            }
            else if (dblLevel > 1.01)
            {
                ++nOutside;
                EXPECT_EQ(nAlpha, 255) << dblLevel;
            }
        }
    }
    EXPECT_GT(nInside, 2000);
    EXPECT_GT(nOutside, 20000);
}

/// Deltas, soft edges and floors of all sizes, the ends of their ranges often.
SINGLE_KEY RandomKey(CRandom& _rnd)
{
    const uint32_t arrMask[] = {0xFFFFFFFF, 0x1F1F1F1F, 0x03030303, 0xFF0F01FF, 0};
    const int32_t arrSmooth[] = {0, 1, 20, 100, 600, -3};
    const int32_t arrAlpha[] = {0, 0, 40, 100, 254};
    return Key(_rnd(), _rnd() & _rnd.OneOf(arrMask), _rnd.OneOf(arrSmooth), _rnd.OneOf(arrAlpha));
}

/// Half random pixels, half near the key, where alpha is neither 0 nor 255.
void FillPixels(CGuardedPlane& _plane, const SINGLE_KEY& _key, CRandom& _rnd)
{
    uint8_t* const pPixels = _plane.Row(0);
    for (size_t n = 0; n < _plane.RowBytes(); ++n)
    {
        const int nNear = static_cast<int>(_key.nValue >> (8 * (n % 4)) & 255) + static_cast<int>(_rnd() % 31) - 15;
        pPixels[n] = n & 8 ? static_cast<uint8_t>(_rnd()) : static_cast<uint8_t>(std::clamp(nNear, 0, 255));
    }
}

TEST(KeyDistance, RowsMatchTheReferenceAtEveryLength)
{
    CRandom rnd(1);
    const eZGuard arrGuards[] = {eZGuard_Fence, eZGuard_PageEnd, eZGuard_PageStart};
    int nSoft = 0;
    for (size_t nWidth = 1; nWidth <= 200; ++nWidth)
        for (int nRun = 0; nRun < 6; ++nRun)
        {
            const eZGuard eGuard = arrGuards[nRun % 3];
            CGuardedPlane pixels(4 * nWidth, 1, 0, eGuard, static_cast<size_t>(nRun));
            CGuardedPlane alpha(nWidth, 1, 0, eGuard, nWidth % 16);
            const SINGLE_KEY arrKeys[2] = {RandomKey(rnd), RandomKey(rnd)};
            FillPixels(pixels, arrKeys[nRun % 2], rnd);
            Kernels().pfnDistance(alpha.Row(0), pixels.Row(0), nWidth, KeyDistance_Prepare(arrKeys[0], nRun & 1));
            Kernels().pfnDistanceMin(alpha.Row(0), pixels.Row(0), nWidth, KeyDistance_Prepare(arrKeys[1], nRun & 1));

            const CKeyReference arrReference[2] = {{arrKeys[0], (nRun & 1) != 0}, {arrKeys[1], (nRun & 1) != 0}};
            for (size_t n = 0; n < nWidth; ++n)
            {
                int nExpected = 255;
                for (int i = 0; i < 2; ++i)
                    nExpected = std::min(nExpected, arrReference[i].Alpha(pixels.Row(0) + 4 * n) + arrKeys[i].nAlpha);
                ASSERT_EQ(alpha.Row(0)[n], nExpected) << "width " << nWidth << " run " << nRun << " pixel " << n;
                nSoft += nExpected > 0 && nExpected < 255;
            }
            ASSERT_TRUE(alpha.Intact() && pixels.Intact());
        }
    EXPECT_GT(nSoft, 5000) << "too few pixels on soft edges to mean anything";
}

TEST(PlaneOps, RowsMatchTheirDefinitionAtEveryLength)
{
    for (size_t nWidth = 1; nWidth <= 200; ++nWidth)
    {
        CGuardedPlane rows(nWidth, 3, 0, eZGuard_PageEnd);
        rows.FillRandom(static_cast<uint32_t>(nWidth));
        const uint8_t* const pA = rows.Row(0);
        const uint8_t* const pB = rows.Row(1);
        CGuardedPlane alpha(nWidth, 1, 0, eZGuard_PageEnd);
        const auto fnExpect = [&](const char* _pszWhat, auto _fnExpected) {
            for (size_t n = 0; n < nWidth; ++n)
                ASSERT_EQ(alpha.Row(0)[n], _fnExpected(n)) << _pszWhat << " width " << nWidth << " pixel " << n;
            ASSERT_TRUE(alpha.Intact() && rows.Intact());
        };
        const auto fnReset = [&] { alpha.FillRandom(static_cast<uint32_t>(nWidth)); }; // the bytes of pA

        fnReset();
        Kernels().pfnExclude(alpha.Row(0), pB, nWidth);
        fnExpect("exclude", [&](size_t _n) { return std::max<int>(pA[_n], 255 - pB[_n]); });
        fnReset();
        Kernels().pfnThreshold(alpha.Row(0), nWidth, 60, 200);
        fnExpect("threshold", [&](size_t _n) { return pA[_n] < 60 ? 0 : pA[_n] > 200 ? 255 : pA[_n]; });
        fnReset();
        Kernels().pfnThreshold(alpha.Row(0), nWidth, 150, 100); // the lower test goes first
        fnExpect("crossed threshold", [&](size_t _n) { return pA[_n] < 150 ? 0 : 255; });
        fnReset();
        Kernels().pfnInvert(alpha.Row(0), nWidth);
        fnExpect("invert", [&](size_t _n) { return 255 - pA[_n]; });

        CGuardedPlane argb(4 * nWidth, 1, 0, eZGuard_PageEnd);
        const std::vector<uint8_t> arrBefore(argb.Row(0), argb.Row(0) + 4 * nWidth);
        Kernels().pfnAlphaSet(argb.Row(0), pA, nWidth);
        for (size_t n = 0; n < 4 * nWidth; ++n)
            ASSERT_EQ(argb.Row(0)[n], n % 4 == 3 ? pA[n / 4] : arrBefore[n]);
        ASSERT_TRUE(argb.Intact());
    }
}

} // namespace
