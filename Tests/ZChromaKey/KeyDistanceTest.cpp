#include "ZChromaKey/KeyReference.h"
#include "ZChromaKey/Kernels/KeyDistance.h"
#include "ZChromaKey/Kernels/KeyPrepare.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace
{

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
    KeyDistance_C(&nAlpha, arrPixel.data(), 1, KeyDistance_Prepare(_key, false));
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
            KeyDistance_C(&nAlpha, arrPixel, 1, prepared);
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

} // namespace
