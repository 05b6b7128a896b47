#include "Support/SameBytes.h"
#include "ZChromaKey/Keys2/KeyXml2.h"

#include "Props/Xml/XmlReader.h"
#include "Props/Xml/XmlWriter.h"
#include "ZChromaKey/Config/ConfigDoc.h"
#include "ZChromaKey/Config/Params2.h"
#include "ZChromaKey/Keys/KeyDoc.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

/// A set in which no two numbers are equal, and none is a default.
KEY2_EDIT Distinct()
{
    KEY2_EDIT edit = {KeySet2_Empty(), {}};
    edit.key.nKeysUsed = 2;
    edit.key.nProtectedUsed = 1;
    double dblNext = 0.0078125;
    for (double* pdblNumber : {&edit.key.arrKeys[0].dblRed, &edit.key.arrKeys[1].dblRed})
        for (int n = 0; n < 9; ++n)
            pdblNumber[n] = dblNext += 0.0078125;
    edit.key.arrKeys[0].dblGreen += 64; // keys have a hue
    edit.key.arrKeys[1].dblGreen += 96;
    for (int n = 0; n < 6; ++n)
        (&edit.key.arrProtected[0].dblRed)[n] = dblNext += 0.0078125;
    for (const KEY2_PARAM& param : Params2_Table())
        if (!param.bOfPresent)
            edit.key.params.*param.pdblField = param.pszChoices ? param.dblMost - param.dblDefault : dblNext += 0.01;
    std::string strReason;
    edit.arrRegions[eRegion_HoldOut] = Region_OfPolygon("0,0 8,0 0.5,7.25", 16, 9, &strReason);
    return edit;
}

std::string Saved(const KEY2_EDIT& _edit)
{
    CXmlNode node(c_pszConfigKeyer2);
    KeyXml2_Save(_edit, node);
    std::string strDocument;
    std::string strReason;
    EXPECT_TRUE(XmlWriter_Write(node, &strDocument, &strReason)) << strReason;
    return strDocument;
}

/// "" when it was loaded, else the reason.
std::string Load(const std::string& _strElement, KEY2_EDIT* _pEdit)
{
    XML_READ_ERROR error;
    const auto upNode = XmlReader_Read(_strElement, &error);
    EXPECT_TRUE(upNode) << error.strReason;
    std::string strReason = "?";
    return upNode && KeyXml2_Load(*upNode, _pEdit, &strReason) ? "" : strReason;
}

TEST(KeyXml2, ComesBackAsItWas)
{
    const KEY2_EDIT editIn = Distinct();
    KEY2_EDIT editOut = {KeySet2_Empty(), {}};
    ASSERT_EQ(Load(Saved(editIn), &editOut), "");
    EXPECT_TRUE(SameBytes(editIn.key, editOut.key)) << Saved(editIn);
    ASSERT_TRUE(editOut.arrRegions[eRegion_HoldOut]);
    EXPECT_EQ(editOut.arrRegions[eRegion_HoldOut]->mask.vecBytes, editIn.arrRegions[eRegion_HoldOut]->mask.vecBytes);
    EXPECT_FALSE(editOut.arrRegions[eRegion_Garbage]);
    for (const char* psz :
         {"light=\"linear\"", "alpha=\"replace\"", "name=\"holdout\"", "backdrop.hue=", "spill_balance="})
        EXPECT_NE(Saved(editIn).find(psz), std::string::npos) << psz << " in\n" << Saved(editIn);
    for (const char* psz : {"view=", "learn="})
        EXPECT_EQ(Saved(editIn).find(psz), std::string::npos) << psz << " is of the present";
}

TEST(KeyXml2, WhatIsNotNamedHasItsDefault)
{
    KEY2_EDIT edit = Distinct();
    ASSERT_EQ(
        Load("<x view='matte'><key red='0' green='200' blue='20'/><params noise='1' view='matte' future='?'/></x>",
             &edit),
        "");
    CHROMA_KEY2_RAW keyExpected = KeySet2_Empty();
    KeySet2_KeyAdd({0, 200, 20}, &keyExpected);
    keyExpected.params.dblNoise = 1;
    EXPECT_TRUE(SameBytes(edit.key, keyExpected)) << Saved(edit);
    EXPECT_FALSE(edit.arrRegions[eRegion_HoldOut]) << "nothing of what was there is left";
}

TEST(KeyXml2, WhatIsWrongIsRefusedWithItsElement)
{
    std::string strMany;
    for (int n = 0; n < 17; ++n)
        strMany += "<protected/>";
    const std::string strRegion = "<region name='garbage' width='4' height='4' polygon='0,0 1,0 1,1'/>";
    const std::pair<std::string, const char*> arrCases[] = {
        {"<key/><key red='much'/>", "element \"key\" 2: red=\"much\" is no number"},
        {"<key red='300'/>", "key 0: red is 300, must be a number from 0 to 255"},
        {"<key red='9'/><key/>", "key 0: the colour R 9 G 0 B 0 is grey"},
        {"<protected hue='-1'/>", "protected colour 0: hue is -1"},
        {strMany, "there are more than 16 elements \"protected\""},
        {"<params choke='11'/>", "parameter \"choke\" is \"11\", must be a number from -10 to 10 (pixels)"},
        {"<params light='dim'/>", "parameter \"light\" is \"dim\", must be one of 0 coded, 1 linear"},
        {"<region name='sky'/>", "element \"region\" 1: its name must be garbage, holdout or backdrop"},
        {"<region name='garbage' polygon='0,0 1,0 1,1'/>", "element \"region\" 1: a polygon in a picture of 0 x 0"},
        {"<region name='garbage' width='4' height='4' polygon='0,0 1,0'/>", "element \"region\" 1: character 8: "},
        {strRegion + strRegion, "element \"region\" 2: there is one of its name"},
        {"<x format='2'><key green='200'/></x>", "it is of format 2 and this version reads up to 1: take a newer"},
        {"<x format='next'/>", "format=\"next\" is no number from 1 up"},
        {"<x format='0'/>", "format=\"0\" is no number from 1 up"},
    };
    for (const auto& [strContent, pszReason] : arrCases)
    {
        KEY2_EDIT edit = Distinct();
        const bool bWhole = strContent.find("<x") == 0;
        const std::string strReason = Load(bWhole ? strContent : "<x>" + strContent + "</x>", &edit);
        EXPECT_EQ(strReason.find(pszReason), 0u) << strReason;
        const KEY2_EDIT editBefore = Distinct();
        EXPECT_TRUE(SameBytes(edit.key, editBefore.key)) << "nothing has changed";
    }
}

/// Saves what a generation has into a document that was loaded before.
std::string SavedInto(const std::string& _strDocument, const char* _pszOwn)
{
    CConfigDoc doc(_pszOwn);
    std::string strReason;
    std::string strDocument;
    doc.Take(CConfigDoc::Read(_strDocument, &strReason, _pszOwn));
    EXPECT_EQ(strReason, "");
    if (_pszOwn == c_pszConfigKeyer1)
    {
        KEY_DOC content = {};
        EXPECT_TRUE(KeyDoc_Save(content, &doc, &strDocument, &strReason)) << strReason;
        return strDocument;
    }
    KeyXml2_Save(Distinct(), *doc.OwnBegin());
    const PROP_MAP mapOptions = {{"gpu_mode", "0"}};
    EXPECT_TRUE(doc.Save(&mapOptions, &strDocument, &strReason)) << strReason;
    return strDocument;
}

TEST(KeyXml2, EachGenerationLeavesTheOthersElementAlone)
{
    const std::string strOld = "<zl-root><ZChromaKey type='2' keys='1'><key value='7' mine='1'/>"
                               "<options><option name='gpu_mode' value='1'/></options></ZChromaKey></zl-root>";
    const std::string strBoth = SavedInto(strOld, c_pszConfigKeyer2);
    for (const char* psz :
         {"mine=\"1\"", "<ZChromaKey type=\"2\" keys=\"1\">", "<option name=\"gpu_mode\" value=\"1\"/>",
          "<ZChromaKey2 ", "<option name=\"gpu_mode\" value=\"0\"/>"})
        EXPECT_NE(strBoth.find(psz), std::string::npos) << psz << " in\n" << strBoth;
    const std::string strFirst = SavedInto(strBoth, c_pszConfigKeyer1);
    EXPECT_NE(strFirst.find("light=\"linear\""), std::string::npos) << strFirst;
    EXPECT_EQ(strFirst.find("mine=\"1\""), std::string::npos) << "its own keys were replaced";

    std::string strReason;
    PROP_MAP mapOptions;
    const auto upOld = CConfigDoc::Read(strOld, &strReason, c_pszConfigKeyer2);
    ASSERT_TRUE(upOld) << strReason;
    CConfigDoc::OptionsGet(*upOld, &mapOptions, c_pszConfigKeyer2);
    EXPECT_EQ(mapOptions["gpu_mode"], "1") << "a document of the first generation alone gives its options";
    const auto upBoth = CConfigDoc::Read(strBoth, &strReason, c_pszConfigKeyer2);
    CConfigDoc::OptionsGet(*upBoth, &mapOptions, c_pszConfigKeyer2);
    EXPECT_EQ(mapOptions["gpu_mode"], "0");
    EXPECT_FALSE(CConfigDoc::Read("<zl-root><other/></zl-root>", &strReason, c_pszConfigKeyer2));
    EXPECT_FALSE(CConfigDoc::Read("<zl-root><ZChromaKey2/></zl-root>", &strReason)) << "nothing for the first one";
}

} // namespace
