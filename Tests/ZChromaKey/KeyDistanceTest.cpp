#include "ZChromaKey/Kernels/KeyDistance.h"
#include "ZChromaKey/Kernels/KeyPrepare.h"

#include <gtest/gtest.h>

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

TEST(KeyPrepare, NumbersOfHostsAreClamped)
{
    EXPECT_EQ(KeyDistance_Prepare(Key(0, 1, 0, 300), false).nAlphaFloor, 255);
    EXPECT_EQ(KeyDistance_Prepare(Key(0, 1, 0, -5), false).nAlphaFloor, 0);
    EXPECT_EQ(AlphaOf(Key(0x00FF00, 0x010101), {1, 254, 1}), 0) << "centres lie from 1 to 254";
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

} // namespace
