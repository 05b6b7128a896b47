#include "Helpers/CKUtils.h"
#include "Support/LogCatcher.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace CKUtils;

namespace
{

/// A box that is alike in the three colour channels, with its alpha at 1.
CALC_KEY Box(double _dblValue, double _dblDelta, double _dblAlphaDelta = 0.25, double _dblWeight = 0)
{
    return {{_dblValue, _dblValue, _dblValue, 1.0}, {_dblDelta, _dblDelta, _dblDelta, _dblAlphaDelta}, _dblWeight};
}

/// A box that is open in one channel only, so that sizes are squares of one number.
CALC_KEY Line(double _dblValue, double _dblDelta)
{
    return {{_dblValue, 0, 0, 0}, {_dblDelta, 0, 0, 0}, 0};
}

void ExpectKey(const CALC_KEY& _key, const CALC_KEY& _keyWanted)
{
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_NEAR(_key.dValue[i], _keyWanted.dValue[i], 1e-12) << "centre of channel " << i;
        EXPECT_NEAR(_key.dDelta[i], _keyWanted.dDelta[i], 1e-12) << "half-width of channel " << i;
    }
    EXPECT_EQ(_key.dWeight, _keyWanted.dWeight);
}

CKeyCalc Calc(std::initializer_list<CALC_KEY> _arrKeys)
{
    CKeyCalc calc;
    for (const CALC_KEY& key : _arrKeys)
        calc.SetKey(key, 0);
    calc.bChanged = false;
    return calc;
}

const double c_dblNaN = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST(KeyCalcAdd, FirstSampleIsAppendedWhateverItsSize)
{
    CKeyCalc calc;
    EXPECT_EQ(calc.nMaxKeys, 16);
    EXPECT_EQ(calc.IsSimilar(Box(0.5, 7), 0.001, false), eCR_New);
    EXPECT_FALSE(calc.bChanged) << "asking an empty set changes nothing";
    EXPECT_EQ(calc.AddKey(Box(0.5, 7), 0.001, false), eCR_New);
    EXPECT_TRUE(calc.bChanged);
    ASSERT_EQ(calc.nKeys, 1);
    ExpectKey(calc.arrKeys[0], Box(0.5, 7));
}

TEST(KeyCalcAdd, OnlyTheFirstKeyCountsHits)
{
    CKeyCalc calc = Calc({Box(0.25, 0.125), Box(0.75, 0.125)});
    EXPECT_EQ(calc.AddKey(Box(0.25, 0.125), 0, false), eCR_Covered) << "the box is closed";
    EXPECT_EQ(calc.AddKey(Box(0.3, 0.0625), 0, false), eCR_Covered);
    EXPECT_EQ(calc.AddKey(Box(0.75, 0.0625), 0, false), eCR_Covered);
    EXPECT_EQ(calc.arrKeys[0].dWeight, 2.0);
    EXPECT_EQ(calc.arrKeys[1].dWeight, 0.0);
    EXPECT_FALSE(calc.bChanged) << "a hit is no change of the keys";
}

TEST(KeyCalcAdd, SampleAroundAKeyReplacesIt)
{
    const CALC_KEY keyNew = Box(0.5, 0.25, 0.5, 3);
    for (const int nIndex : {0, 1})
    {
        CKeyCalc calc = nIndex ? Calc({Box(4, 0.125), Box(0.5, 0.125)}) : Calc({Box(0.5, 0.125), Box(4, 0.125)});
        calc.arrKeys[nIndex].dWeight = 7;
        EXPECT_EQ(calc.AddKey(keyNew, 0, false), eCR_Covered);
        EXPECT_EQ(calc.nKeys, 2);
        EXPECT_TRUE(calc.bChanged) << "the owner has to export the new key";
        ExpectKey(calc.arrKeys[nIndex], Box(0.5, 0.25, 0.5, nIndex ? 3 : 4)); // key 0 then counts the hit
    }
}

TEST(KeyCalcAdd, RoomIsUsedForSamplesThatAreSmallBesideTheGrowth)
{
    // Key: 0 +- 0.25. A sample s +- 0.25 gives a union of half-width (0.5 + s) / 2, so it is appended when
    // 0.0625 < 2 x ((0.5 + s)^2 / 4 - 0.0625), that is (0.5 + s)^2 > 0.375.
    CKeyCalc calc = Calc({Line(0, 0.25)});
    EXPECT_EQ(calc.IsSimilar(Line(0.25, 0.25), 0, false), eCR_New);
    EXPECT_FALSE(calc.bChanged);
    EXPECT_EQ(calc.IsSimilar(Line(0.0625, 0.25), 0, false), eCR_Merged);
    EXPECT_TRUE(calc.bChanged);
    // Equality merges.
    CKeyCalc calcTwo = Calc({{{0, 0, 0, 0}, {2, 0, 0, 0}, 0}});
    const CALC_KEY keyTwo = {{0, 0, 0, 0}, {1, 1, 0, 0}, 0}; // size 2, growth 1
    EXPECT_EQ(calcTwo.IsSimilar(keyTwo, 0, false), eCR_Merged);
    CKeyCalc calcAbove = Calc({{{0, 0, 0, 0}, {2, 0, 0, 0}, 0}});
    EXPECT_EQ(calcAbove.IsSimilar({{0, 0, 0, 0}, {0.5, 1, 0, 0}, 0}, 0, false), eCR_New) << "size 1.25, growth 1";
}

TEST(KeyCalcAdd, FullSetMergesIntoTheKeyThatGrowsLeast)
{
    CKeyCalc calc = Calc({Line(0, 0.25), Line(2, 0.25), Line(4, 0.25)});
    calc.SetMaxKeys(3);
    calc.arrKeys[1].dWeight = 5;
    EXPECT_EQ(calc.AddKey(Line(2.5, 0.125), 0, false), eCR_Merged);
    EXPECT_EQ(calc.nKeys, 3);
    EXPECT_TRUE(calc.bChanged);
    // The union is 1.75 to 2.625; the centre stays, so the merged box ends at 2.4375 and does not hold the sample.
    ExpectKey(calc.arrKeys[1], Line(2, 0.4375));
    ExpectKey(calc.arrKeys[0], Line(0, 0.25));
    // A tie goes to the lower index.
    CKeyCalc calcTie = Calc({Line(-1, 0.25), Line(1, 0.25)});
    calcTie.SetMaxKeys(2);
    EXPECT_EQ(calcTie.AddKey(Line(0, 0.25), 0, false), eCR_Merged);
    ExpectKey(calcTie.arrKeys[0], Line(-1, 0.75));
    ExpectKey(calcTie.arrKeys[1], Line(1, 0.25));
}

TEST(KeyCalcAdd, GreatestDifferenceRefusesFromEqualityOn)
{
    // Union -0.25 to 1.25: half-width 0.75, growth 0.5625 - 0.0625 = 0.5.
    const CALC_KEY keyFar = Line(1, 0.25);
    CKeyCalc calc = Calc({Line(0, 0.25)});
    EXPECT_EQ(calc.AddKey(keyFar, 0.5, false), eCR_TooDifferent) << "even though there is room";
    EXPECT_EQ(calc.nKeys, 1);
    EXPECT_FALSE(calc.bChanged);
    EXPECT_EQ(calc.AddKey(keyFar, std::nextafter(0.5, 1.0), false), eCR_New);
    CKeyCalc calcAny = Calc({Line(0, 0.25)});
    EXPECT_EQ(calcAny.AddKey(Line(1e6, 0.25), 0, false), eCR_New) << "0 never refuses";
}

TEST(KeyCalcAdd, WeightedSizeIgnoresAlphaAndHalvesTwoChannels)
{
    const CALC_KEY keyAlpha = {{0, 0, 0, 3}, {0.5, 0.5, 0.5, 0.25}, 0};
    CKeyCalc calc = Calc({{{0, 0, 0, 0}, {0.5, 0.5, 0.5, 0.25}, 0}});
    EXPECT_EQ(calc.AddKey(keyAlpha, 0, true), eCR_Covered) << "differs in alpha only";
    EXPECT_EQ(calc.AddKey(keyAlpha, 0, false), eCR_New);
    // Growth by a step of 1 in one channel, from a point: 0.25 in the first, 0.125 in the second.
    CKeyCalc calcPoint = Calc({Line(0, 0)});
    EXPECT_EQ(calcPoint.AddKey(Line(1, 0), 0.25, true), eCR_TooDifferent);
    EXPECT_EQ(calcPoint.AddKey({{0, 1, 0, 0}, {}, 0}, 0.125, true), eCR_TooDifferent);
    EXPECT_EQ(calcPoint.AddKey({{0, 0, 1, 0}, {}, 0}, 0.126, true), eCR_New);
}

TEST(KeyCalcAdd, NoNumberIsCoveredAndHarmless)
{
    CKeyCalc calc = Calc({Box(0.5, 0.25)});
    EXPECT_EQ(calc.AddKey(Box(c_dblNaN, 0.25), 1, false), eCR_Covered);
    EXPECT_EQ(calc.nKeys, 1);
}

TEST(KeyCalcReduce, OneKeyKeepsTheCentreOfTheFirst)
{
    CKeyCalc calc = Calc({Line(0, 0.25), Line(1, 0.25), Line(2, 0.25), Line(3, 0.25), Line(4, 0.25)});
    calc.SetMaxKeys(1);
    EXPECT_EQ(calc.nKeys, 1);
    EXPECT_EQ(calc.nMaxKeys, 1);
    EXPECT_TRUE(calc.bChanged);
    // From the back: 3 takes 4 (2.75..4.25, half 0.75), 2 takes 3 (1.75..3.75, half 1), 1 takes 2 (0.75..3, half
    // 1.125), 0 takes 1 (-0.25..2.125, half 1.1875).
    ExpectKey(calc.arrKeys[0], Line(0, 1.1875));
}

TEST(KeyCalcReduce, MergesTheLastKeyIntoItsNearest)
{
    CKeyCalc calc = Calc({Line(0, 0.25), Line(2, 0.25), Line(4, 0.25), Line(2.5, 0.25)});
    calc.ReduceKeys(3);
    EXPECT_TRUE(calc.bChanged);
    ASSERT_EQ(calc.nKeys, 3);
    ExpectKey(calc.arrKeys[1], Line(2, 0.5));
    ExpectKey(calc.arrKeys[2], Line(4, 0.25));
    calc = Calc({Line(-1, 0.25), Line(1, 0.25), Line(0, 0.25)});
    calc.ReduceKeys(2);
    ExpectKey(calc.arrKeys[0], Line(-1, 0.75)); // a tie goes to the lower index
    ExpectKey(calc.arrKeys[1], Line(1, 0.25));
    // A covered key vanishes, and the merge still clears the weight of the key around it.
    calc = Calc({Line(0, 0.25), Line(2, 0.5), Line(2, 0.25)});
    calc.arrKeys[1].dWeight = 4;
    calc.ReduceKeys(2);
    ExpectKey(calc.arrKeys[1], Line(2, 0.5));
}

TEST(KeyCalcReduce, BadCountsAndKeysAreSurvived)
{
    CLogCatcher log;
    CKeyCalc calc = Calc({Box(0.5, 0.25), Box(3, 0.25)});
    calc.ReduceKeys(0);
    calc.ReduceKeys(-1);
    EXPECT_EQ(calc.nKeys, 2);
    EXPECT_EQ(log.Count("_nKeys > 0"), 2u);
    calc.ReduceKeys(2);
    EXPECT_FALSE(calc.bChanged) << "nothing to merge";
    CKeyCalc calcEmpty;
    calcEmpty.ReduceKeys(1);
    EXPECT_EQ(calcEmpty.nKeys, 0) << "no key may appear";
    // Too far apart to be compared: the key goes.
    CKeyCalc calcFar = Calc({Line(0, 0), Line(1, 0), Line(1e9, 0)});
    calcFar.ReduceKeys(2);
    EXPECT_EQ(calcFar.nKeys, 2);
    EXPECT_EQ(log.Count("nMinIndex >= 0"), 1u);
}

TEST(KeyCalcReduce, LimitIsClamped)
{
    const int32_t arrCases[][2] = {{0, 1}, {-7, 1}, {1, 1}, {16, 16}, {20, 16}, {5, 5}};
    for (const auto& arrCase : arrCases)
    {
        CKeyCalc calc;
        calc.SetMaxKeys(arrCase[0]);
        EXPECT_EQ(calc.nMaxKeys, arrCase[1]) << arrCase[0];
        EXPECT_EQ(calc.nKeys, 0);
        EXPECT_FALSE(calc.bChanged);
    }
}

TEST(KeyCalcSet, AppendsWhileThereIsRoomThenReplaces)
{
    CKeyCalc calc;
    calc.SetMaxKeys(2);
    calc.SetKey(Box(0.1, 0.1), 99);
    calc.SetKey(Box(0.2, 0.1), 0);
    EXPECT_EQ(calc.nKeys, 2);
    calc.bChanged = false;
    calc.SetKey(Box(0.3, 0.1), 2);
    calc.SetKey(Box(0.3, 0.1), -1);
    EXPECT_FALSE(calc.bChanged);
    calc.SetKey(Box(0.3, 0.1), 1);
    EXPECT_TRUE(calc.bChanged);
    ExpectKey(calc.arrKeys[0], Box(0.1, 0.1));
    ExpectKey(calc.arrKeys[1], Box(0.3, 0.1));
}

TEST(KeyCalcSet, ClampAndBlendLeaveAlphaAlone)
{
    CKeyCalc calc = Calc({{{0.5, 0.25, 0, 1}, {0.001, 0.5, 0.1, 10}, 0}});
    calc.ClampDeltas(0.0625, 0.25);
    ExpectKey(calc.arrKeys[0], {{0.5, 0.25, 0, 1}, {0.0625, 0.25, 0.1, 10}, 0});
    EXPECT_TRUE(calc.bChanged);
    calc.bChanged = false;
    calc.BlendValues({0, 1, 0.5}, 0.75);
    ExpectKey(calc.arrKeys[0], {{0.125, 0.8125, 0.375, 1}, {0.0625, 0.25, 0.1, 10}, 0});
    EXPECT_TRUE(calc.bChanged);
}

TEST(KeyCalcRaw, WordsHoldChannelsInTheOrderOfTheType)
{
    struct CASE
    {
        double adblChannels[4];
        uint32_t nRGB; // channel 0 in byte 0
        uint32_t nYUV; // channel 2 in byte 0
    };
    const CASE arrCases[] = {
        {{0, 0, 0, 0}, 0, 0},
        {{1, 128 / 255.0, 3 / 255.0, 4 / 255.0}, 0x040380FF, 0x04FF8003},
        {{0.5, 1.5 / 255, 2.5 / 255, 0.49 / 255}, 0x00030280, 0x00800203}, // halves away from zero
        {{1.01, -0.1, 256 / 255.0, 10.0}, 0xF600E602, 0xF602E600},         // wraps
        {{c_dblNaN, 1e300, -1e300, 0}, 0, 0},
    };
    for (const CASE& test : arrCases)
    {
        EXPECT_EQ(PackKeyWord(test.adblChannels, eCKT_RGB), test.nRGB);
        for (const int nType : {0, 1, 3, 4, 5, 77})
            EXPECT_EQ(PackKeyWord(test.adblChannels, nType), test.nYUV) << nType;
    }
    for (const int nType : {2, 3, 4})
    {
        double adblChannels[4];
        UnpackKeyWord(0xFF800301u, nType, adblChannels);
        EXPECT_EQ(adblChannels[nType == 2 ? 0 : 2], 1 / 255.0);
        EXPECT_EQ(adblChannels[1], 3 / 255.0);
        EXPECT_EQ(adblChannels[3], 1.0);
        EXPECT_EQ(PackKeyWord(adblChannels, nType), 0xFF800301u);
    }
}

TEST(KeyCalcRaw, OrdinaryAndExclusionKeysAreConcatenated)
{
    CHROMA_KEY_RAW raw = {};
    raw.eType = eCKT_YUV;
    raw.nKeysUsed = -3;
    for (SINGLE_KEY& key : raw.arrKeys)
        key.nSmoothRange = 77;
    Calc({Box(1 / 255.0, 2 / 255.0), Box(3 / 255.0, 2 / 255.0)}).ToRaw(&raw, false);
    Calc({Box(9 / 255.0, 2 / 255.0)}).ToRaw(&raw, true);
    ASSERT_EQ(raw.nKeysUsed, 3);
    EXPECT_EQ(raw.arrKeys[0].nValue, 0xFF010101u);
    EXPECT_EQ(raw.arrKeys[2].nValue, 0xFF090909u);
    EXPECT_EQ(raw.arrKeys[2].nDelta, 0x40020202u);
    EXPECT_EQ(raw.arrKeys[1].nReverseKey, 0);
    EXPECT_EQ(raw.arrKeys[2].nReverseKey, 1);
    EXPECT_EQ(raw.arrKeys[2].nSmoothRange, 77) << "other fields stay";

    // Loading the exclusion keys counts the ordinary ones, whose slots keep what they held.
    CKeyCalc calc;
    calc.arrKeys[0] = Box(0.125, 0.25);
    calc.arrKeys[2].dWeight = 6;
    calc.FromRaw(raw, true);
    EXPECT_EQ(calc.nKeys, 3);
    EXPECT_FALSE(calc.bChanged);
    ExpectKey(calc.arrKeys[0], Box(0.125, 0.25));
    ExpectKey(calc.arrKeys[2], {{9 / 255.0, 9 / 255.0, 9 / 255.0, 1}, {2 / 255., 2 / 255., 2 / 255., 64 / 255.}, 6});
    calc.FromRaw(raw, false);
    EXPECT_EQ(calc.arrKeys[1].dValue[0], 3 / 255.0);
    EXPECT_EQ(calc.arrKeys[2].dValue[0], 9 / 255.0) << "left over from before";
}

TEST(KeyCalcRaw, SixteenIsTheLimit)
{
    CKeyCalc calc;
    for (int i = 0; i < 10; ++i)
        calc.SetKey(Box(i / 255.0, 1 / 255.0), 0);
    CHROMA_KEY_RAW raw = {};
    calc.ToRaw(&raw, false);
    calc.ToRaw(&raw, true);
    EXPECT_EQ(raw.nKeysUsed, 16);
    EXPECT_EQ(raw.arrKeys[15].nValue & 0xFF, 5u);
    EXPECT_EQ(raw.nMinTransparent, 0) << "the field behind the keys";
    for (const int nUsed : {40, 16, -5, 0})
    {
        raw.nKeysUsed = nUsed;
        calc.FromRaw(raw, false);
        EXPECT_EQ(calc.nKeys, nUsed < 0 ? 0 : std::min(nUsed, 16));
    }
    raw.nKeysUsed = 40;
    calc.ToRaw(&raw, false);
    EXPECT_EQ(raw.nKeysUsed, 16);
    // A set that holds more keys than are allowed counts as full.
    raw.nKeysUsed = 3;
    raw.arrKeys[0].nReverseKey = 0;
    calc.nMaxKeys = 2;
    calc.FromRaw(raw, false);
    EXPECT_EQ(calc.AddKey(Box(100, 0.001), 0, false), eCR_Merged);
    EXPECT_EQ(calc.nKeys, 3);
}
