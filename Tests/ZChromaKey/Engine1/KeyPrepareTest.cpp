#include "ZChromaKey/Engine1/KeyReference.h"
#include "ZChromaKey/Engine1/RandomInput.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

// The constants of keys against the geometry that they stand for, in real numbers.

namespace
{

int ByteOf(uint32_t _nWord, int _nComponent)
{
    return static_cast<int>(_nWord >> (8 * _nComponent) & 255);
}

// A key as an ellipsoid: where the level of a pixel is at most 1, alpha is 0; it is 256 on the outer level.
struct ELLIPSOID
{
    explicit ELLIPSOID(const SINGLE_KEY& _key)
        : key(_key)
    {
        for (int c = 0; c < 3; ++c)
        {
            const double dblAxis = ByteOf(key.nDelta, c);
            const double dblOuter = 1 + std::max(key.nSmoothRange, 0) / dblAxis;
            dblOuterLevel += dblOuter * dblOuter / 3;
            dblHalving += 1 / (dblAxis * dblAxis);
        }
    }
    double Level(const uint8_t* _pPixel) const
    {
        double dblLevel = 0;
        for (int c = 0; c < 3; ++c)
            dblLevel += std::pow(double(_pPixel[c] - ByteOf(key.nValue, c)) / ByteOf(key.nDelta, c), 2);
        return dblLevel;
    }
    // The level where the soft edge has an alpha.
    double LevelOf(double _dblAlpha) const
    {
        return 1 + std::pow(_dblAlpha / 256, 2) * (dblOuterLevel - 1);
    }
    SINGLE_KEY key;
    double dblOuterLevel = 0;
    double dblHalving = 0; // what squares lose that are halved as integers, at most
};

// Keys whose half-axes are alike enough for weights of 10 bits and more, which round by less than 0.1 %.
SINGLE_KEY BroadKey(CRandom& _rnd)
{
    SINGLE_KEY key = {};
    for (int c = 0; c < 3; ++c)
    {
        key.nValue |= (1 + _rnd() % 254) << (8 * c);
        key.nDelta |= (16 + _rnd() % 48) << (8 * c);
    }
    const int32_t arrSmooth[] = {-7, 0, 1, 5, 30, 100, 255};
    key.nSmoothRange = _rnd.OneOf(arrSmooth);
    return key;
}

TEST(KeyPrepare, AlphaFollowsTheEllipsoid)
{
    CRandom rnd(4);
    int nSoft = 0;
    for (int nRun = 0; nRun < 3000; ++nRun)
    {
        const SINGLE_KEY key = BroadKey(rnd);
        const CKeyReference reference(key, false);
        const ELLIPSOID ellipsoid(key);
        for (int nPixel = 0; nPixel < 50; ++nPixel)
        {
            uint8_t arrPixel[3];
            for (int c = 0; c < 3; ++c)
            {
                const int nReach = std::min(ByteOf(key.nDelta, c) + std::max(key.nSmoothRange, 0), 255);
                const int nAway = static_cast<int>(rnd() % (2u * static_cast<unsigned>(nReach) + 1)) - nReach;
                arrPixel[c] = static_cast<uint8_t>(std::clamp(ByteOf(key.nValue, c) + nAway, 0, 255));
            }
            const int nAlpha = reference.Alpha(arrPixel);
            const double dblLevel = ellipsoid.Level(arrPixel);
            const double dblRoom = ellipsoid.dblHalving + 0.003 * (1 + dblLevel);
            const double dblInner = nAlpha > 0 ? ellipsoid.LevelOf(nAlpha - 0.5) : 0;
            const double dblOuter = nAlpha < 255 ? ellipsoid.LevelOf(nAlpha + 0.5) : dblLevel;
            ASSERT_TRUE(dblLevel > dblInner - dblRoom && dblLevel < dblOuter + dblRoom)
                << "run " << nRun << " alpha " << nAlpha << " level " << dblLevel << ", from " << dblInner << " to "
                << dblOuter;
            nSoft += nAlpha > 0 && nAlpha < 255;
        }
    }
    EXPECT_GT(nSoft, 40000) << "too few pixels on soft edges to mean anything";
}

// Any key: half-axes of 0 count as 1, the others give the weights, and 16382 is the most.
TEST(KeyPrepare, ConstantsKeepTheirLimits)
{
    CRandom rnd(6);
    for (int nRun = 0; nRun < 20000; ++nRun)
    {
        const uint32_t arrMasks[] = {0xFFFFFF, 0x1F1F1F, 0x030303, 0xFF0F01, 0};
        const int32_t arrSmooth[] = {0, 1, 20, 100, 600, -3, INT32_MAX};
        SINGLE_KEY key = {};
        key.nValue = rnd();
        key.nDelta = rnd() & rnd.OneOf(arrMasks);
        key.nSmoothRange = rnd.OneOf(arrSmooth);
        const CKeyReference reference(key, false);
        const KEY_DISTANCE& constants = reference.Constants();
        SCOPED_TRACE(testing::Message() << "delta " << key.nDelta << " smooth " << key.nSmoothRange);
        double arrSquare[3]; // of the half-axes
        for (int c = 0; c < 3; ++c)
            arrSquare[c] = std::pow(std::max(ByteOf(key.nDelta, c), 1), 2);
        const double dblLeast = *std::min_element(arrSquare, arrSquare + 3);
        const int nMost = *std::max_element(constants.arrWeight, constants.arrWeight + 3);
        ASSERT_TRUE(nMost > 0 && nMost <= 16382);
        for (int c = 0; c < 3; ++c)
        {
            ASSERT_EQ(constants.arrValue[c], std::clamp(ByteOf(key.nValue, c), 1, 254));
            ASSERT_NEAR(constants.arrWeight[c], nMost * dblLeast / arrSquare[c], 1.01);
        }
        ASSERT_NEAR(constants.nThreshold, nMost * dblLeast / 2, 0.5 * dblLeast / 2 + 1.01);
        ASSERT_LT(constants.nThreshold, 1 << 30);
        ASSERT_TRUE(constants.fltScale > 0 && constants.fltScale <= 1000);
        ASSERT_LT(reference.AlphaOf(constants.nOpaque - 1), 255);
        ASSERT_TRUE(constants.nOpaque == INT32_MAX || reference.AlphaOf(constants.nOpaque) == 255);
    }
}

// R, G, B of a key's words are B, G, R of the pixels.
TEST(KeyPrepare, SwapsRedAndBlue)
{
    SINGLE_KEY key = {};
    key.nValue = 0x302010;
    key.nDelta = 0x080402;
    const KEY_DISTANCE plain = KeyDistance_Prepare(key, false);
    const KEY_DISTANCE swapped = KeyDistance_Prepare(key, true);
    for (int c = 0; c < 3; ++c)
    {
        EXPECT_EQ(plain.arrValue[c], 16 * (c + 1));
        EXPECT_EQ(swapped.arrValue[c], plain.arrValue[2 - c]);
        EXPECT_EQ(swapped.arrWeight[c], plain.arrWeight[2 - c]);
    }
}

} // namespace
