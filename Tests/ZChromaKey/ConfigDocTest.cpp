#include "Props/TextFile.h"
#include "ZChromaKey/ConfigDoc.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

namespace
{

CONFIG_CONTENT SampleContent()
{
    CONFIG_CONTENT content = {};
    content.key.eType = eCKT_YUV;
    content.key.nKeysUsed = 1;
    content.key.arrKeys[0] = {0xFF406080, 0x01100820, 16, 0, 8, 20, 1, 2, 3, 0};
    content.key.nMaxTransparent = 255;
    content.adjust.dblPower = 0.1;
    content.adjust.colAdjust.dblCancelLuma = -12.5;
    content.eTakenType = eCKT_YUV;
    content.mapOptions = {{"gpu_mode", "0"}, {"host.own \"name\"", "a<b & c"}};
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

TEST(ConfigDoc, GivesBackWhatWasSaved)
{
    const CONFIG_CONTENT content = SampleContent();
    std::string strDocument;
    std::string strReason;
    ASSERT_TRUE(CConfigDoc().Save(content, &strDocument, &strReason)) << strReason;
    CONFIG_CONTENT loaded = {};
    loaded.adjust.dblSmooth = 99; // replaced: a saved document names every adjustment
    CConfigDoc doc;
    ASSERT_TRUE(Load(&doc, strDocument, &loaded, &strReason)) << strReason;
    const auto fnSame = [](const void* _pA, const void* _pB, size_t _cb) { return std::memcmp(_pA, _pB, _cb) == 0; };
    EXPECT_TRUE(fnSame(&loaded.key, &content.key, sizeof(content.key)));
    EXPECT_TRUE(fnSame(&loaded.adjust, &content.adjust, sizeof(content.adjust)));
    EXPECT_EQ(loaded.mapOptions, content.mapOptions);
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
    for (int n = 0; n < 2; ++n) // a second saving adds nothing
        ASSERT_TRUE(doc.Save(SampleContent(), &strDocument, &strReason)) << strReason;
    for (const char* psz : {"by=\"other\"", "<inner>text</inner>", "future=\"7\"", "<newer/>", "type=\"4\""})
        EXPECT_NE(strDocument.find(psz), std::string::npos) << psz << " in\n" << strDocument;
    EXPECT_EQ(strDocument.find("<options>"), strDocument.rfind("<options>"));
    EXPECT_EQ(strDocument.find("<adjust"), strDocument.rfind("<adjust"));
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

TEST(TextFile, IsReplacedWholeOrNotAtAll)
{
    const std::filesystem::path pathFolder = std::filesystem::temp_directory_path() / "zck_textfile_\xC3\xA9";
    std::filesystem::remove_all(pathFolder);
    std::filesystem::create_directories(pathFolder / "folder.xml" / "inside");
    const auto u8File = (pathFolder / "keys.xml").u8string();
    const std::string strFile(u8File.begin(), u8File.end());
    std::string strReason;
    std::string strText;
    ASSERT_TRUE(TextFile_Replace(strFile, "first", &strReason)) << strReason;
    ASSERT_TRUE(TextFile_Replace(strFile, "second", &strReason)) << strReason;
    ASSERT_TRUE(TextFile_Read(strFile, 100, &strText, &strReason)) << strReason;
    EXPECT_EQ(strText, "second");
    EXPECT_FALSE(TextFile_Read(strFile, 5, &strText, &strReason));
    EXPECT_NE(strReason.find("keys.xml"), std::string::npos);

    const auto u8Folder = (pathFolder / "folder.xml").u8string();
    const std::string strFolder(u8Folder.begin(), u8Folder.end());
    EXPECT_FALSE(TextFile_Replace(strFolder, "text", &strReason)) << "a folder with content is not replaced";
    EXPECT_FALSE(TextFile_Replace(strFile + "/none/keys.xml", "text", &strReason));
    EXPECT_FALSE(TextFile_Read(strFolder, 100, &strText, &strReason));
    EXPECT_FALSE(TextFile_Read(strFile + ".none", 100, &strText, &strReason));
    size_t nFiles = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(pathFolder))
        ++nFiles;
    EXPECT_EQ(nFiles, 2u) << "no temporary file is left";
    std::filesystem::remove_all(pathFolder);
}

} // namespace
