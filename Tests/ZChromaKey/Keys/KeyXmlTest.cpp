#include "ZChromaKey/Keys/KeyXml.h"

#include "Props/Xml/XmlReader.h"
#include "Props/Xml/XmlWriter.h"
#include "Support/LogCatcher.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>

namespace
{

using ADJUST_VALUES = std::array<double, 16>;

/// A key set in which no two fields are equal.
CHROMA_KEY_RAW DistinctKey(int32_t _nKeys)
{
    CHROMA_KEY_RAW key = {};
    key.eType = eCKT_YUV;
    key.nKeysUsed = _nKeys;
    for (int32_t i = 0, n = 1000; i < Z_MAX_KEYS; ++i, n += 8)
        key.arrKeys[i] = {0xFF000000u + n, 0xFF000001u + n, n + 1, n + 2, n + 3, n + 4, n + 5, n + 6, n + 7, n + 8};
    key.nMinTransparent = -3;
    key.nMaxTransparent = 250;
    key.nEdgesSmooth = 7;
    key.bColorCancel = 1;
    key.nInterlacedVideo = 2;
    key.nInverseKey = std::numeric_limits<int32_t>::min();
    return key;
}

CK_ADJUST DistinctAdjust()
{
    ADJUST_VALUES arrValues;
    for (size_t n = 0; n < arrValues.size(); ++n)
        arrValues[n] = static_cast<double>(n + 1) / 3.0;
    return std::bit_cast<CK_ADJUST>(arrValues);
}

CHROMA_KEY_RAW LoadKey(const char* _pszDocument)
{
    XML_READ_ERROR error;
    const auto upNode = XmlReader_Read(_pszDocument, &error);
    EXPECT_TRUE(upNode) << error.strReason;
    CHROMA_KEY_RAW key = DistinctKey(5); // loading leaves nothing of what was there
    CK_ADJUST adjust = DistinctAdjust();
    if (upNode)
        KeyXml_Load(*upNode, &key, &adjust);
    return key;
}

bool Same(const CHROMA_KEY_RAW& _a, const CHROMA_KEY_RAW& _b)
{
    return std::memcmp(&_a, &_b, sizeof(_a)) == 0;
}

TEST(KeyXml, UsesTheFixedNamesAndComesBackAsItWas)
{
    CHROMA_KEY_RAW keyIn = DistinctKey(1);
    std::fill(keyIn.arrKeys + 1, std::end(keyIn.arrKeys), SINGLE_KEY{}); // what is not used is not saved
    CXmlNode node("keyer");
    KeyXml_Save(keyIn, DistinctAdjust(), node);
    std::string strDocument;
    std::string strReason;
    ASSERT_TRUE(XmlWriter_Write(node, &strDocument, &strReason));
    EXPECT_EQ(strDocument,
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<keyer type=\"4\" keys=\"1\" transparent.min=\"-3\" transparent.max=\"250\" edges_smooth=\"7\""
              " color_cancel=\"true\" interlaced=\"2\" inverse=\"-2147483648\">\n"
              "  <key value=\"4278191080\" delta=\"4278191081\" smooth=\"1001\" alpha=\"1002\" cancel.range=\"1003\""
              " cancel.power=\"1004\" cancel.chroma=\"1005\" cancel.luma=\"1006\" cancel.alpha=\"1007\""
              " reverse_key=\"1008\"/>\n"
              "  <adjust power=\"0.3333333333333333\" transparent=\"0.6666666666666666\" colors=\"1\""
              " smooth=\"1.3333333333333333\" min_trans=\"1.6666666666666667\" max_trans=\"2\""
              " exc_power=\"2.3333333333333335\" exc_transparent=\"2.6666666666666665\" color::range=\"3\""
              " color::power=\"3.3333333333333335\" color::chroma=\"3.6666666666666665\" color::luma=\"4\""
              " color::alpha=\"4.333333333333333\" range::rhy=\"4.666666666666667\" range::glu=\"5\""
              " range::bsv=\"5.333333333333333\"/>\n"
              "</keyer>\n");
    XML_READ_ERROR error;
    const auto upNode = XmlReader_Read(strDocument, &error);
    ASSERT_TRUE(upNode) << error.strReason;
    CHROMA_KEY_RAW key = DistinctKey(3);
    CK_ADJUST adjust = {};
    KeyXml_Load(*upNode, &key, &adjust);
    EXPECT_TRUE(Same(key, keyIn));
    EXPECT_EQ(std::bit_cast<ADJUST_VALUES>(adjust), std::bit_cast<ADJUST_VALUES>(DistinctAdjust()));

    upNode->ChildFind("adjust")->AttrRemove("range::glu");
    adjust.rangeAdjust.dblRangeG_L_U = 99;
    KeyXml_Load(*upNode, &key, &adjust);
    EXPECT_EQ(adjust.rangeAdjust.dblRangeG_L_U, 99) << "absent adjustments keep their value";
}

TEST(KeyXml, CountsThatDoNotFit)
{
    for (const auto& [nKeys, nElements] : {std::pair{40, 16}, std::pair{-3, 0}})
    {
        CXmlNode node("keyer");
        KeyXml_Save(DistinctKey(nKeys), {}, node);
        EXPECT_EQ(node.AttrInt("keys", 0), nKeys) << "the count is saved as it is";
        EXPECT_EQ(node.ChildCount(), static_cast<size_t>(nElements) + 1);
        CHROMA_KEY_RAW key = {};
        CK_ADJUST adjust = {};
        KeyXml_Load(node, &key, &adjust);
        EXPECT_EQ(std::memcmp(key.arrKeys, DistinctKey(16).arrKeys, nElements * sizeof(SINGLE_KEY)), 0);
    }
    for (const auto& [pszKeys, nLoaded, nWarnings] : {std::tuple{"40", 16, 0u},
                                                      {"2147483648", 16, 0u},
                                                      {" +9999999999 ", 16, 0u},
                                                      {"-3", -3, 0u},
                                                      {"-9999999999", 0, 1u},
                                                      {"9999999999x", 0, 1u},
                                                      {"", 0, 1u}})
    {
        const CLogCatcher log;
        const CHROMA_KEY_RAW key = LoadKey(ZFormat("<k keys='%hs'><key value='7'/></k>", pszKeys).c_str());
        EXPECT_EQ(key.nKeysUsed, nLoaded) << pszKeys;
        EXPECT_EQ(key.arrKeys[0].nValue, nLoaded > 0 ? 7u : 0u);
        EXPECT_EQ(log.Count("key set: keys=", eZLog_Warning), nWarnings);
    }
}

TEST(KeyXml, LoadsWhatIsThere)
{
    // The keys are counted among themselves; the third is not there and stays zero, the count does not change.
    const CHROMA_KEY_RAW keyFew =
        LoadKey("<k type='2' keys='3'><adjust/><key value='4294967295' delta='-1' smooth='5'/>"
                "<unknown/><key value='6'/></k>");
    EXPECT_EQ(keyFew.eType, eCKT_RGB);
    EXPECT_EQ(keyFew.nKeysUsed, 3);
    EXPECT_EQ(keyFew.arrKeys[0].nValue, 0xFFFFFFFFu);
    EXPECT_EQ(keyFew.arrKeys[0].nDelta, 0xFFFFFFFFu) << "a word that was written signed";
    EXPECT_EQ(keyFew.arrKeys[0].nSmoothRange, 5);
    EXPECT_EQ(keyFew.arrKeys[1].nValue, 6u);
    const SINGLE_KEY keyZero = {};
    EXPECT_EQ(std::memcmp(&keyFew.arrKeys[2], &keyZero, sizeof(keyZero)), 0);

    CHROMA_KEY_RAW keyEmpty = {};
    keyEmpty.eType = eCKT_Alpha;
    EXPECT_TRUE(Same(LoadKey("<k/>"), keyEmpty));
    EXPECT_EQ(LoadKey("<k type='77'/>").eType, 77);
    EXPECT_EQ(LoadKey("<k color_cancel='5'/>").bColorCancel, 1);
    CHROMA_KEY_RAW keyOdd = DistinctKey(0);
    keyOdd.bColorCancel = 5;
    CXmlNode node("keyer");
    KeyXml_Save(keyOdd, {}, node);
    EXPECT_EQ(node.AttrText("color_cancel", ""), "true");
}

TEST(KeyXml, ValuesThatCannotBeReadCountAsAbsentAndAreNamed)
{
    const CLogCatcher log;
    const CHROMA_KEY_RAW key = LoadKey("<k type='two' keys='1' color_cancel='maybe' edges_smooth='3000000000'>"
                                       "<key value='0x10' smooth='1.5'/><adjust power='1,5' colors='nan'/></k>");
    CHROMA_KEY_RAW keyExpected = {};
    keyExpected.nKeysUsed = 1;
    EXPECT_TRUE(Same(key, keyExpected));
    EXPECT_EQ(log.Count("key set: ", eZLog_Warning), 7u);
    EXPECT_EQ(log.Count("type=\"two\" of element \"k\" is passed over; a whole number of 32 bits is needed"), 1u);
    EXPECT_EQ(log.Count("power=\"1,5\" of element \"adjust\" is passed over; a number is needed"), 1u);
}

} // namespace
