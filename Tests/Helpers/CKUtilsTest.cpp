#include "Helpers/CKUtils.h"
#include "Support/LogCatcher.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

using namespace CKUtils;

namespace
{

/// A box that is alike in the three colour channels, with its alpha at 1.
CALC_KEY Box(double _dblValue, double _dblDelta, double _dblAlphaDelta = 0.25, double _dblWeight = 0)
{
    return {{_dblValue, _dblValue, _dblValue, 1.0}, {_dblDelta, _dblDelta, _dblDelta, _dblAlphaDelta}, _dblWeight};
}

/// A box that is open in one channel only, so that sizes are squares of one number.
CALC_KEY Line(double _dblValue, double _dblDelta, double _dblWeight = 0)
{
    return {{_dblValue, 0, 0, 0}, {_dblDelta, 0, 0, 0}, _dblWeight};
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

using KEYS = std::vector<CALC_KEY>;

void ExpectKeys(const CKeyCalc& _calc, const KEYS& _vecWanted)
{
    ASSERT_EQ(static_cast<size_t>(_calc.nKeys), _vecWanted.size());
    for (size_t n = 0; n < _vecWanted.size(); ++n)
    {
        SCOPED_TRACE(testing::Message() << "key " << n);
        ExpectKey(_calc.arrKeys[n], _vecWanted[n]);
    }
}

CKeyCalc Calc(const KEYS& _vecKeys, int _nMaxKeys = 16)
{
    CKeyCalc calc;
    for (const CALC_KEY& key : _vecKeys)
        calc.SetKey(key, 0);
    calc.SetMaxKeys(_nMaxKeys);
    calc.bChanged = false;
    return calc;
}

const double c_dblNaN = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST(KeyCalc, AddsCoversMergesAndRefuses)
{
    struct CASE
    {
        const char* pszWhat;
        KEYS vecBefore;
        CALC_KEY keyNew;
        double dblMaxDiff;
        eCalcResult eResult;
        bool bChanged;
        KEYS vecAfter;
        int nMaxKeys = 16;
    };
    const CALC_KEY keyA = Line(0, 0.25), keyB = Line(2, 0.25), keyNear = Line(1, 0.25);
    const CALC_KEY keySmall = Box(0.5, 0.125), keyFar = Box(4, 0.125), keyAround = Box(0.5, 0.25, 0.5, 3);
    const CALC_KEY keyFlat = {{}, {2, 0, 0, 0}, 0}, keyHigh = {{}, {0.5, 1, 0, 0}, 0};
    const CASE arrCases[] = {
        {"the first one, whatever its size", {}, Box(0.5, 7), 0.001, eCR_New, true, {Box(0.5, 7)}},
        {"the box is closed; a hit is no change", {keyA, keyB}, keyA, 0, eCR_Covered, false, {Line(0, 0.25, 1), keyB}},
        {"only the first key counts hits", {keyA, keyB}, Line(2, 0.1), 0, eCR_Covered, false, {keyA, keyB}},
        {"around key 1", {keyFar, keySmall}, keyAround, 0, eCR_Covered, true, {keyFar, keyAround}},
        {"around key 0", {keySmall, keyFar}, keyAround, 0, eCR_Covered, true, {Box(0.5, 0.25, 0.5, 4), keyFar}},
        // A sample s +- 0.25 gives a union of half-width (0.5 + s) / 2, so it is appended when
        // 0.0625 < 2 x ((0.5 + s)^2 / 4 - 0.0625), that is (0.5 + s)^2 > 0.375.
        {"small beside the growth", {keyA}, Line(0.25, 0.25), 0, eCR_New, true, {keyA, Line(0.25, 0.25)}},
        {"not so small", {keyA}, Line(0.0625, 0.25), 0, eCR_Merged, true, {Line(0, 0.28125)}},
        {"size 2, growth 1", {keyFlat}, {{}, {1, 1, 0, 0}, 0}, 0, eCR_Merged, true, {{{}, {2, 1, 0, 0}, 0}}},
        {"size 1.25, growth 1", {keyFlat}, keyHigh, 0, eCR_New, true, {keyFlat, keyHigh}},
        // The union is 1.75 to 2.625; the centre stays, so the merged box ends at 2.4375 and does not hold the sample.
        {"no room", {keyA, Line(2, 0.25, 5)}, Line(2.5, 0.125), 0, eCR_Merged, true, {keyA, Line(2, 0.4375)}, 2},
        {"a tie goes to the lower index", {keyA, keyB}, keyNear, 0, eCR_Merged, true, {Line(0, 0.75), keyB}, 2},
        // Union -0.25 to 1.25: half-width 0.75, growth 0.5625 - 0.0625 = 0.5.
        {"too different from equality on", {keyA}, keyNear, 0.5, eCR_TooDifferent, false, {keyA}},
        {"just not", {keyA}, keyNear, std::nextafter(0.5, 1.0), eCR_New, true, {keyA, keyNear}},
        {"0 never refuses", {keyA}, Line(1e6, 0.25), 0, eCR_New, true, {keyA, Line(1e6, 0.25)}},
        {"no number", {keySmall}, Box(c_dblNaN, 1), 1, eCR_Covered, false, {Box(0.5, 0.125, 0.25, 1)}},
    };
    for (const CASE& row : arrCases)
    {
        SCOPED_TRACE(row.pszWhat);
        CKeyCalc calc = Calc(row.vecBefore, row.nMaxKeys);
        EXPECT_EQ(calc.AddKey(row.keyNew, row.dblMaxDiff, false), row.eResult);
        EXPECT_EQ(calc.bChanged, row.bChanged) << "the owner has to export the new key";
        ExpectKeys(calc, row.vecAfter);
    }
    EXPECT_EQ(Calc({}).IsSimilar(keyA, 0, false), eCR_New);
}

TEST(KeyCalc, WeightedSizeIgnoresAlphaAndHalvesTwoChannels)
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

TEST(KeyCalc, ReducesToAsManyKeysAsAreAllowed)
{
    struct CASE
    {
        const char* pszWhat;
        KEYS vecBefore;
        int nKeys;
        KEYS vecAfter;
    };
    const CALC_KEY keyA = Line(0, 0.25), keyB = Line(2, 0.25), keyC = Line(4, 0.25);
    const CASE arrCases[] = {
        // From the back: 3 takes 4 (2.75..4.25, half 0.75), 2 takes 3 (1.75..3.75, half 1), 1 takes 2 (0.75..3, half
        // 1.125), 0 takes 1 (-0.25..2.125, half 1.1875).
        {"one keeps its centre", {keyA, Line(1, 0.25), keyB, Line(3, 0.25), keyC}, 1, {Line(0, 1.1875)}},
        {"the last goes to its nearest", {keyA, keyB, keyC, Line(2.5, 0.25)}, 3, {keyA, Line(2, 0.5), keyC}},
        {"a tie goes to the lower index", {keyA, keyB, Line(1, 0.25)}, 2, {Line(0, 0.75), keyB}},
        {"a covered key clears the weight, too", {keyA, Line(2, 0.5, 4), keyB}, 2, {keyA, Line(2, 0.5)}},
        {"too far apart to be compared", {keyA, keyB, Line(1e9, 0)}, 2, {keyA, keyB}},
        {"nothing to merge", {keyA, keyB}, 2, {keyA, keyB}},
        {"no key may appear", {}, 1, {}},
        {"a wrong count", {keyA, keyB}, 0, {keyA, keyB}},
    };
    const CLogCatcher log;
    for (const CASE& row : arrCases)
    {
        SCOPED_TRACE(row.pszWhat);
        CKeyCalc calc = Calc(row.vecBefore);
        calc.ReduceKeys(row.nKeys);
        EXPECT_EQ(calc.bChanged, row.vecBefore.size() != row.vecAfter.size());
        ExpectKeys(calc, row.vecAfter);
    }
    EXPECT_EQ(log.Count("_nKeys > 0"), 1u);
    EXPECT_EQ(log.Count("nMinIndex >= 0"), 1u);
    CKeyCalc calc = Calc({keyA, keyB});
    calc.SetMaxKeys(1);
    EXPECT_EQ(calc.nKeys, 1);
    EXPECT_TRUE(calc.bChanged);
    for (const auto& [nSet, nThen] : {std::pair{0, 1}, {-7, 1}, {1, 1}, {16, 16}, {20, 16}, {5, 5}})
    {
        calc.SetMaxKeys(nSet);
        EXPECT_EQ(calc.nMaxKeys, nThen) << nSet;
    }
}

TEST(KeyCalcSet, AppendsWhileThereIsRoomThenReplaces)
{
    CKeyCalc calc;
    calc.SetMaxKeys(2);
    calc.SetKey(Box(0.1, 0.1), 99);
    calc.SetKey(Box(0.2, 0.1), 0);
    calc.bChanged = false;
    calc.SetKey(Box(0.3, 0.1), 2);
    calc.SetKey(Box(0.3, 0.1), -1);
    EXPECT_FALSE(calc.bChanged);
    calc.SetKey(Box(0.3, 0.1), 1);
    EXPECT_TRUE(calc.bChanged);
    ExpectKeys(calc, {Box(0.1, 0.1), Box(0.3, 0.1)});
}

TEST(KeyCalcSet, ClampingLeavesAlphaAlone)
{
    CKeyCalc calc = Calc({{{0.5, 0.25, 0, 1}, {0.001, 0.5, 0.1, 10}, 0}});
    calc.ClampDeltas(0.0625, 0.25);
    ExpectKey(calc.arrKeys[0], {{0.5, 0.25, 0, 1}, {0.0625, 0.25, 0.1, 10}, 0});
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
    const SINGLE_KEY arrWanted[] = {{0xFF010101u, 0x40020202u, 77, 0, 0, 0, 0, 0, 0, 0},
                                    {0xFF030303u, 0x40020202u, 77, 0, 0, 0, 0, 0, 0, 0},
                                    {0xFF090909u, 0x40020202u, 77, 0, 0, 0, 0, 0, 0, 1}}; // other fields stay
    EXPECT_EQ(std::memcmp(raw.arrKeys, arrWanted, sizeof(arrWanted)), 0);

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
    CKeyCalc calc = Calc(KEYS(10, Box(5 / 255.0, 1 / 255.0)));
    for (const int nUsed : {10, 40})
    {
        CHROMA_KEY_RAW raw = {};
        raw.nKeysUsed = nUsed;
        calc.ToRaw(&raw, false);
        EXPECT_EQ(raw.nKeysUsed, 16);
        EXPECT_EQ(raw.arrKeys[15].nValue & 0xFF, nUsed == 10 ? 5u : 0u);
        EXPECT_EQ(raw.nMinTransparent, 0) << "the field after the keys";
    }
    CHROMA_KEY_RAW raw = {};
    calc.nMaxKeys = 2; // a set that holds more keys than are allowed counts as full
    for (const auto& [nUsed, nKeys] : {std::pair{40, 16}, {16, 16}, {-5, 0}, {0, 0}, {3, 3}})
    {
        raw.nKeysUsed = nUsed;
        calc.FromRaw(raw, false);
        EXPECT_EQ(calc.nKeys, nKeys) << nUsed;
    }
    EXPECT_EQ(calc.AddKey(Box(100, 0.001), 0, false), eCR_Merged);
    EXPECT_EQ(calc.nKeys, 3);
}
