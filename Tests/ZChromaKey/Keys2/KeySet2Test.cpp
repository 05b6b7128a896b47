#include "Support/SameBytes.h"
#include "ZChromaKey/Keys2/KeySet2.h"

#include "Support/LogCatcher.h"
#include "ZChromaKey/Config/Params2.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <limits>

namespace
{

TEST(KeySet2, KeysAreAddedOnceAndUpToSixteen)
{
    const CLogCatcher log;
    CHROMA_KEY2_RAW key = KeySet2_Empty();
    for (uint32_t n = 0; n < 16; ++n)
    {
        EXPECT_EQ(KeySet2_KeyAdd(KeySet2_Color(0x00FF00u + n), &key), S_OK);
        EXPECT_EQ(KeySet2_KeyAdd(KeySet2_Color(0xAA00FF00u + n), &key), S_FALSE) << "the same colour";
        EXPECT_EQ(KeySet2_ProtectAdd(KeySet2_Color(n), &key), S_OK) << "of any hue, and of none";
    }
    EXPECT_EQ(log.Lines().size(), 0u);
    const CHROMA_KEY2_RAW keyFull = key;
    EXPECT_EQ(KeySet2_KeyAdd(KeySet2_Color(0x00FF10), &key), E_UNEXPECTED);
    EXPECT_EQ(KeySet2_ProtectAdd(KeySet2_Color(0x00FF10), &key), E_UNEXPECTED);
    EXPECT_EQ(log.Count("all 16", eZLog_Error), 2u);
    EXPECT_TRUE(SameBytes(key, keyFull));
    EXPECT_EQ(KeySet2_Check(key), "");
    EXPECT_EQ(key.arrKeys[3].dblBlue, 3);
    EXPECT_EQ(key.arrKeys[3].rangeBackdrop.dblHue, 18);

    EXPECT_EQ(KeySet2_Remove(0, false, &key), S_OK);
    EXPECT_EQ(key.nKeysUsed, 15);
    EXPECT_EQ(key.arrKeys[0].dblBlue, 1) << "those after it move up";
    EXPECT_EQ(key.arrKeys[15].dblGreen, 0);
    EXPECT_EQ(KeySet2_Remove(15, false, &key), E_INVALIDARG);
    EXPECT_EQ(KeySet2_Remove(-1, true, &key), E_INVALIDARG);
    EXPECT_EQ(KeySet2_Remove(15, true, &key), S_OK);
    EXPECT_EQ(log.Count("there is no key 15; there are 15", eZLog_Error), 1u);
}

TEST(KeySet2, AChosenKeyTakesThePlaceOfKeysThatWereFound)
{
    CHROMA_KEY2_RAW key = KeySet2_Empty();
    ASSERT_EQ(KeySet2_KeyAdd(KeySet2_Color(0x2040C0), &key), S_OK);
    key.bAutomatic = 1;
    const CHROMA_KEY2_RAW keyFound = key;
    const CLogCatcher log;
    EXPECT_EQ(KeySet2_KeyAdd(KeySet2_Color(0x808488), &key), E_INVALIDARG) << "grey has no hue";
    EXPECT_EQ(log.Count("grey", eZLog_Error), 1u);
    EXPECT_TRUE(SameBytes(key, keyFound));
    EXPECT_EQ(KeySet2_KeyAdd(KeySet2_Color(0x10C020), &key), S_OK);
    EXPECT_EQ(KeySet2_KeyAdd(KeySet2_Color(0x20C020), &key), S_OK);
    EXPECT_EQ(key.nKeysUsed, 2);
    EXPECT_EQ(key.arrKeys[0].dblRed, 0x10);
    EXPECT_EQ(key.bAutomatic, 0);
}

TEST(KeySet2, ANumberOutsideItsRangeIsNamed)
{
    CHROMA_KEY2_RAW keyRight = KeySet2_Empty();
    KeySet2_KeyAdd(KeySet2_Color(0x00FF00), &keyRight);
    KeySet2_ProtectAdd(KeySet2_Color(0x0000FF), &keyRight);
    ASSERT_EQ(KeySet2_Check(keyRight), "");
    const std::pair<const char*, std::function<void(CHROMA_KEY2_RAW*)>> arrFaults[] = {
        {"its size is 672, must be 2048", [](auto* _p) { _p->nSize = 672; }},
        {"it has 17 colours", [](auto* _p) { _p->nKeysUsed = 17; }},
        {"it has -1 colours", [](auto* _p) { _p->nProtectedUsed = -1; }},
        {"key 0: red is 256, must be a number from 0 to 255", [](auto* _p) { _p->arrKeys[0].dblRed = 256; }},
        {"key 0: blue is nan", [](auto* _p) { _p->arrKeys[0].dblBlue = std::numeric_limits<double>::quiet_NaN(); }},
        {"key 0: backdrop hue is 181", [](auto* _p) { _p->arrKeys[0].rangeBackdrop.dblHue = 181; }},
        {"key 0: foreground value is -1", [](auto* _p) { _p->arrKeys[0].rangeForeground.dblValue = -1; }},
        {"key 0: the colour R 128 G 128 B 119 is grey",
         [](auto* _p) {
             _p->arrKeys[0] = KeySet2_Key({128, 128, 119});
         }},
        {"protected colour 0: saturation is 2", [](auto* _p) { _p->arrProtected[0].range.dblSaturation = 2; }},
        {"parameter \"noise\" is 6, must be a number from 0 to 5", [](auto* _p) { _p->params.dblNoise = 6; }},
        {"parameter \"view\" is 0.5, must be one of 0 result", [](auto* _p) { _p->params.eViewValue = 0.5; }},
    };
    for (const auto& [pszWhy, fnFault] : arrFaults)
    {
        CHROMA_KEY2_RAW key = keyRight;
        fnFault(&key);
        EXPECT_EQ(KeySet2_Check(key).find(pszWhy), 0u) << KeySet2_Check(key) << " for " << pszWhy;
    }
}

TEST(KeySet2, WhatIsNotUsedMakesNoDifference)
{
    CHROMA_KEY2_RAW keyA = KeySet2_Empty();
    KeySet2_KeyAdd(KeySet2_Color(0x00FF00), &keyA);
    CHROMA_KEY2_RAW keyB = keyA;
    keyB.arrKeys[1].dblRed = std::numeric_limits<double>::quiet_NaN();
    keyB.arrProtected[0].range.dblHue = 7;
    keyB.params.dblChoke = -0.0;
    EXPECT_EQ(KeySet2_Check(keyB), "");
    KeySet2_Clean(&keyB);
    EXPECT_TRUE(SameBytes(keyA, keyB));
}

TEST(KeySet2, RangesAndParametersAreReachedByName)
{
    const CLogCatcher log;
    CHROMA_KEY2_RAW key = KeySet2_Empty();
    KeySet2_KeyAdd(KeySet2_Color(0x00FF00), &key);
    EXPECT_EQ(KeySet2_Range(0, eRange_Backdrop, &key), &key.arrKeys[0].rangeBackdrop);
    EXPECT_EQ(KeySet2_Range(0, eRange_Foreground, &key), &key.arrKeys[0].rangeForeground);
    EXPECT_EQ(KeySet2_Range(0, eRange_Protected, &key), nullptr) << "there is none";
    EXPECT_EQ(KeySet2_Range(0, static_cast<eRange>(3), &key), nullptr);
    EXPECT_EQ(KeySet2_Range(1, eRange_Backdrop, &key), nullptr);
    EXPECT_EQ(log.Count("there is no", eZLog_Error), 3u);

    EXPECT_EQ(KeySet2_ParamSet("choke", -2.5, &key), S_OK);
    EXPECT_EQ(KeySet2_ParamSet("choke", -2.5, &key), S_FALSE);
    EXPECT_EQ(KeySet2_ParamSet("choke", -10.5, &key), E_INVALIDARG);
    EXPECT_EQ(log.Count("\"choke\" cannot be -10.5; use a number from -10 to 10 (pixels)", eZLog_Error), 1u);
    EXPECT_EQ(KeySet2_ParamSet("chock", 0, &key), E_INVALIDARG);
    EXPECT_EQ(log.Count("\"chock\"; there are backdrop, solid, ", eZLog_Error), 1u);
    double dblValue = 0;
    EXPECT_EQ(KeySet2_ParamGet(key, "choke", &dblValue), S_OK);
    EXPECT_EQ(dblValue, -2.5);
    EXPECT_EQ(KeySet2_ParamGet(key, "", &dblValue), E_INVALIDARG);
}

} // namespace
