#include "ZChromaKey/Licence/LicenceJudge.h"

#include "Base/ZLog.h"
#include "Props/TextFile.h"
#include "Props/Xml/XmlReader.h"
#include "ZChromaKey/Licence/Base64.h"
#include "ZChromaKey/Licence/Signature.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

std::string FileOf(const std::string& _strName)
{
    std::string strText;
    std::string strReason;
    EXPECT_TRUE(TextFile_Read(ZCK_LICENCES "/" + _strName, 1u << 20, &strText, &strReason)) << strReason;
    return strText;
}

/// The key as a build takes it out of its file.
std::string KeyText()
{
    std::string strText = FileOf("../TestKey.pub.pem");
    for (const char* const pszLine : {"-----BEGIN PUBLIC KEY-----", "-----END PUBLIC KEY-----"})
        strText.erase(strText.find(pszLine), std::string(pszLine).size());
    std::erase(strText, '\n');
    return strText;
}

LICENCE_ASK Ask()
{
    return {KeyText(), "ZChromaKey", "ZChromaKey2", "00112233445566778899aabbccddeefe", "2026-11-22"};
}

LICENCE_ANSWER Judge(const std::string& _strDocument)
{
    return LicenceJudge_Document(_strDocument, Ask());
}

std::string Replaced(std::string _strText, const std::string& _strOld, const std::string& _strNew)
{
    const size_t nAt = _strText.find(_strOld);
    EXPECT_NE(nAt, std::string::npos) << _strOld;
    return nAt == std::string::npos ? _strText : _strText.replace(nAt, _strOld.size(), _strNew);
}

TEST(Licence, SaysWhatIsWrongAndWhatToDo)
{
    const struct
    {
        const char* pszFile;
        eLicence eState;
        const char* pszShort;
        const char* pszLong;
    } arrCases[] = {
        {"valid.xml", eLicence_Valid, "licensed to Test & S\xC3\xB6hne until 2999-12-31", ""},
        {"half.xml", eLicence_Broken, "cannot be read", "line 2, column "},
        {"curve.xml", eLicence_Broken, "cannot be read", "a number of 48 bytes, as of another curve"},
        {"foreign.xml", eLicence_Foreign, "not the issuer's", "ask the issuer for one"},
        {"changed.xml", eLicence_Foreign, "not the issuer's", "install it as it was issued"},
        {"product.xml", eLicence_Product, "another product", "the product \"Other\", and this is \"ZChromaKey\""},
        {"first-generation.xml", eLicence_Feature, "other features", "have no \"ZChromaKey2\""},
        {"machine.xml", eLicence_Machine, "another machine", "00112233445566778899aabbccddeeff, and this one is 0"},
        {"early.xml", eLicence_Early, "begins on 2999-01-01", "set the clock right"},
        {"expired.xml", eLicence_Expired, "ended on 2020-12-31", "today is 2026-11-22; ask the issuer for a new one"},
    };
    for (const auto& licence : arrCases)
    {
        const LICENCE_ANSWER answer = Judge(FileOf(licence.pszFile));
        EXPECT_EQ(answer.eState, licence.eState) << licence.pszFile << answer.strLong;
        EXPECT_NE(answer.strShort.find(licence.pszShort), std::string::npos) << answer.strShort;
        EXPECT_NE(answer.strLong.find(licence.pszLong), std::string::npos) << answer.strLong;
        EXPECT_EQ(answer.strLong.empty(), answer.eState == eLicence_Valid);
    }
}

TEST(Licence, HoldsOnItsMachineForItsFeaturesAndOnItsFirstAndLastDay)
{
    LICENCE_ASK ask = Ask();
    ask.strMachine = "00112233445566778899aabbccddeeff";
    EXPECT_EQ(LicenceJudge_Document(FileOf("machine.xml"), ask).eState, eLicence_Valid);
    ask.strFeature = "ZChromaKey";
    EXPECT_EQ(LicenceJudge_Document(FileOf("first-generation.xml"), ask).eState, eLicence_Valid);
    const std::pair<const char*, eLicence> arrDays[] = {{"2019-12-31", eLicence_Early},
                                                        {"2020-01-01", eLicence_Valid},
                                                        {"2020-12-31", eLicence_Valid},
                                                        {"2021-01-01", eLicence_Expired}};
    for (const auto& [pszDay, eState] : arrDays)
    {
        ask.strToday = pszDay;
        EXPECT_EQ(LicenceJudge_Document(FileOf("expired.xml"), ask).eState, eState) << pszDay;
    }
    ask.strMachine.clear(); // not known
    EXPECT_EQ(LicenceJudge_Document(FileOf("machine.xml"), ask).eState, eLicence_Machine);
}

/// What the canonical text is does not depend on how the document is written down.
TEST(Licence, IsSignedByItsValuesAlone)
{
    LICENCE licence;
    std::string strReason;
    ASSERT_TRUE(Licence_Read(FileOf("valid.xml"), &licence, &strReason)) << strReason;
    EXPECT_EQ(Licence_Text(licence), "zck-licence 1\nproduct=ZChromaKey\nholder=Test & S\xC3\xB6hne\nfeatures=all\n"
                                     "first=2026-01-01\nlast=2999-12-31\nmachine=\nserial=1\n");
    const std::string strOther =
        ZFormat("\xEF\xBB\xBF<!-- as it came by mail -->\r\n<zck-licence\r\n signature='%hs'\r\n"
                " serial='&#49;' machine='' last='2999-12-31' first='2026-01-01'\n features='all'"
                " holder='Test &#38; S&#xF6;hne' product='ZChromaKey' format='1'></zck-licence>",
                licence.strSignature);
    EXPECT_EQ(Judge(strOther).eState, eLicence_Valid) << Judge(strOther).strLong;
}

/// A signature of its own form: numbers as DER writes them.
std::string WithSignature(const std::vector<uint8_t>& _vecDer)
{
    LICENCE licence;
    std::string strDocument;
    std::string strReason;
    EXPECT_TRUE(Licence_Read(FileOf("valid.xml"), &licence, &strReason));
    licence.strSignature = Base64_Write(_vecDer);
    EXPECT_TRUE(Licence_Write(licence, &strDocument, &strReason)) << strReason;
    return strDocument;
}

TEST(Licence, RefusesHostileDocuments)
{
    const std::string strValid = FileOf("valid.xml");
    std::string strDeep;
    for (int n = 0; n < 100; ++n)
        strDeep += "<zck-licence>";
    std::string strWide;
    for (const char ch : strValid)
        strWide += {ch, '\0'};
    const std::pair<std::string, const char*> arrCases[] = {
        {"", "line 1, column 1"},
        {Replaced(strValid, "Test", std::string(1u << 20, 'x')), "it has more than 65536 bytes"},
        {Replaced(strValid, "Test", std::string(300, 'x')), "\"holder\" has more than 256 bytes"},
        {strDeep, "line 1, column "},
        {strWide, "line 1, column "},
        {Replaced(strValid, "\xC3\xB6", "\xF6"), "line 2, column "},
        {Replaced(strValid, "Test", "Test&#10;last=9999-12-31"), "\"holder\" is "},
        {Replaced(strValid, "zck-licence", "zl-root"), "the root is \"zl-root\""},
        {Replaced(strValid, "format=\"1\"", "format=\"2\""), "the format is \"2\""},
        {Replaced(strValid, "serial=", "seriell="), "the attribute \"seriell\" is not known"},
        {Replaced(strValid, "serial=\"1\"", "serial=\"1\" serial=\"1\""), "there twice"},
        {Replaced(strValid, "serial=\"1\" ", ""), "\"serial\" is missing"},
        {Replaced(strValid, "/>", ">more</zck-licence>"), "attributes alone"},
        {Replaced(strValid, "2026-01-01", "2026-02-30"), "\"first\" is \"2026-02-30\""},
        {Replaced(strValid, "2026-01-01", "2026-1-001"), "\"first\" is "},
        {Replaced(strValid, "2026-01-01", "3026-01-01"), "before the first"},
        {Replaced(strValid, "signature=\"M", "signature=\" M"), "no base64"},
        {Replaced(strValid, "signature=\"M", "signature=\"-"), "no base64"},
        {Replaced(strValid, "signature=\"M", "signature=\"\xC3\xBC"), "no base64"},
        {Replaced(strValid, "signature=\"MEU", "signature=\"ME="), "no base64"},
        {WithSignature({0x30, 0}), "no ECDSA signature"},
        {WithSignature({0x30, 6, 2, 1, 1, 2, 1, 1, 0}), "of 9 bytes, is no ECDSA signature"},
        {WithSignature({0x30, 0x81, 6, 2, 1, 1, 2, 1, 1}), "no ECDSA signature"},
        {WithSignature({0x30, 6, 2, 1, 0, 2, 1, 1}), "no ECDSA signature"},
        {WithSignature({0x30, 6, 2, 1, 0x80, 2, 1, 1}), "no ECDSA signature"},
        {WithSignature({0x30, 7, 2, 2, 0, 1, 2, 1, 1}), "no ECDSA signature"},
        {WithSignature({0x30, 6, 2, 9, 1, 2, 1, 1}), "no ECDSA signature"},
        {WithSignature(std::vector<uint8_t>(64, 1)), "of 64 bytes, is no ECDSA signature"},
    };
    for (const auto& [strDocument, pszReason] : arrCases)
    {
        const LICENCE_ANSWER answer = Judge(strDocument);
        EXPECT_EQ(answer.eState, eLicence_Broken) << strDocument.substr(0, 300);
        EXPECT_NE(answer.strLong.find(pszReason), std::string::npos) << answer.strLong;
    }
    EXPECT_EQ(Judge(WithSignature({0x30, 6, 2, 1, 1, 2, 1, 1})).eState, eLicence_Foreign) << "one that nobody made";
}

/// A build with a key that is none says so, and licenses nobody. Wine's library takes a point off the curve for a key,
/// which no signature fits then.
TEST(Licence, NeedsAKeyOnTheCurve)
{
    LICENCE_ASK ask = Ask();
    std::string strOff = ask.strKey;
    strOff[50] = strOff[50] == 'A' ? 'B' : 'A';
    for (const std::string& strKey : {std::string(), ask.strKey.substr(4), strOff})
    {
        ask.strKey = strKey;
        const eLicence eState = LicenceJudge_Document(FileOf("valid.xml"), ask).eState;
        EXPECT_TRUE(eState == eLicence_Unknown || (strKey == strOff && eState == eLicence_Foreign)) << strKey;
    }
}

TEST(Licence, NamesAMachineByAHash)
{
    // printf 'zchromakey-machine\nan identity' | sha256sum | cut -c 1-32
    EXPECT_EQ(LicenceJudge_Machine("an identity"), "964b910c101c68645c183da7c1bded2a");
    EXPECT_EQ(LicenceJudge_Machine(""), "");
}

} // namespace
