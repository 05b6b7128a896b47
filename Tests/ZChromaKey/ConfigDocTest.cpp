#include "ZChromaKey/ConfigDoc.h"

#include <gtest/gtest.h>

namespace
{

CONFIG_CONTENT SampleContent()
{
    CONFIG_CONTENT content = {};
    content.key.eType = eCKT_YUV;
    content.eTakenType = eCKT_YUV;
    content.mapOptions = {{"gpu_mode", "0"}, {"my.own", "1"}};
    return content;
}

bool Load(CConfigDoc* _pDoc, std::string_view _svDocument, CONFIG_CONTENT* _pContent, std::string* _pstrReason)
{
    auto upRoot = CConfigDoc::Read(_svDocument, _pstrReason);
    if (upRoot)
    {
        CConfigDoc::ContentGet(*upRoot, _pContent);
        _pDoc->Take(std::move(upRoot));
    }
    return _pstrReason->empty();
}

TEST(ConfigDoc, KeepsWhatItDoesNotKnow)
{
    CConfigDoc doc;
    CONFIG_CONTENT content = {};
    std::string strDocument;
    std::string strReason;
    ASSERT_TRUE(Load(&doc,
                     "<zl-root by='other'><stranger depth='1'><inner>text</inner></stranger>"
                     "<ZChromaKey type='2' keys='0' future='7'><newer/></ZChromaKey></zl-root>",
                     &content, &strReason))
        << strReason;
    EXPECT_EQ(content.key.eType, eCKT_RGB);
    content = SampleContent();
    for (const int nKeys : {16, 1}) // a second saving adds nothing
    {
        content.key.nKeysUsed = nKeys;
        ASSERT_TRUE(doc.Save(content, &strDocument, &strReason)) << strReason;
    }
    for (const char* psz : {"by=\"other\"", "<inner>text</inner>", "future=\"7\"", "<newer/>", "type=\"4\""})
        EXPECT_NE(strDocument.find(psz), std::string::npos) << psz << " in\n" << strDocument;
    for (const char* psz : {"<options>", "<adjust ", "<key "})
        EXPECT_EQ(strDocument.find(psz), strDocument.rfind(psz)) << psz;
}

TEST(ConfigDoc, RefusesBadDocumentsWithPlaceAndReasonAndChangesNothing)
{
    const struct
    {
        const char* pszDocument;
        const char* pszReason;
    } arrCases[] = {
        {"", "line 1, column 1"},
        {"<zl-root>\n  <ZChromaKey type='1' <\n</zl-root>", "line 2, column"},
        {"<other><ZChromaKey/></other>", "zl-root"},
        {"<zl-root><key/></zl-root>", "ZChromaKey"},
        {"<zl-root><ZChromaKey type='2' keys='0'><options><option name='process.threads' value='many'/></options>"
         "</ZChromaKey></zl-root>",
         "process.threads"},
    };
    for (const auto& test : arrCases)
    {
        CONFIG_CONTENT content = SampleContent();
        std::string strReason;
        CConfigDoc doc;
        EXPECT_FALSE(Load(&doc, test.pszDocument, &content, &strReason)) << test.pszDocument;
        EXPECT_NE(strReason.find(test.pszReason), std::string::npos) << strReason;
        EXPECT_EQ(content.key.eType, eCKT_YUV);
        EXPECT_EQ(content.mapOptions.size(), 2u);
    }
}

} // namespace
