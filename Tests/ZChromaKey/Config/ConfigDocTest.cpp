#include "Support/LogCatcher.h"
#include "ZChromaKey/Config/UserDefaults.h"
#include "ZChromaKey/Keys/KeyDoc.h"

#include <gtest/gtest.h>

namespace
{

TEST(ConfigDoc, KeepsWhatItDoesNotKnow)
{
    CConfigDoc doc;
    KEY_DOC content = {};
    std::string strDocument;
    std::string strReason;
    auto upRoot = CConfigDoc::Read("<zl-root by='other'><stranger depth='1'><inner>text</inner></stranger>"
                                   "<ZChromaKey type='2' keys='0' future='7'><newer/></ZChromaKey></zl-root>",
                                   &strReason);
    ASSERT_TRUE(upRoot) << strReason;
    doc.Take(std::move(upRoot));
    content.key.eType = eCKT_YUV;
    content.mapOptions = {{"gpu_mode", "0"}, {"my.own", "1"}};
    for (const int nKeys : {16, 1}) // a second saving adds nothing
    {
        content.key.nKeysUsed = nKeys;
        ASSERT_TRUE(KeyDoc_Save(content, &doc, &strDocument, &strReason)) << strReason;
    }
    for (const char* psz : {"by=\"other\"", "<inner>text</inner>", "future=\"7\"", "<newer/>", "type=\"4\""})
        EXPECT_NE(strDocument.find(psz), std::string::npos) << psz << " in\n" << strDocument;
    for (const char* psz : {"<options>", "<adjust ", "<key "})
        EXPECT_EQ(strDocument.find(psz), strDocument.rfind(psz)) << psz;
}

TEST(ConfigDoc, RefusesBadDocumentsWithPlaceAndReason)
{
    const std::pair<const char*, const char*> arrCases[] = {
        {"", "line 1, column 1"},
        {"<zl-root>\n  <ZChromaKey type='1' <\n</zl-root>", "line 2, column"},
        {"<other><ZChromaKey/></other>", "zl-root"},
        {"<zl-root><key/></zl-root>", "ZChromaKey"},
        {"<zl-root><ZChromaKey type='2' keys='0'><options><option name='process.threads' value='many'/></options>"
         "</ZChromaKey></zl-root>",
         "process.threads"},
    };
    for (const auto& [pszDocument, pszReason] : arrCases)
    {
        std::string strReason;
        EXPECT_FALSE(CConfigDoc::Read(pszDocument, &strReason)) << pszDocument;
        EXPECT_NE(strReason.find(pszReason), std::string::npos) << strReason;
    }
}

TEST(UserDefaults, StandBeforeThoseOfTheObjectWhereTheyAreRight)
{
    for (const auto& [pszUsers, bExpected] : {std::pair{"false", false}, {"perhaps", true}, {"", true}})
    {
        const CLogCatcher log;
        CPropStore store;
        const auto fnCheck = [](std::string_view _svName, std::string_view _svValue) -> std::string {
            return _svName == "output.argb" && _svValue == "perhaps" ? "true or false" : "";
        };
        UserDefaults_Apply({{"output.argb", pszUsers}, {"gpu_mode", "0"}}, fnCheck, &store, {{"output.argb", "true"}});
        EXPECT_EQ(store.GetBool("output.argb", !bExpected), bExpected) << pszUsers;
        EXPECT_EQ(store.GetInt("gpu_mode", 7), 0);
        EXPECT_EQ(log.Count("\"output.argb\" is not used", eZLog_Warning), bExpected);
    }
}

} // namespace
