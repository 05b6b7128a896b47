// Licence documents: whatever the text, it is refused with a reason, or says what it says in its canonical text; and
// nothing counts but what was signed.

#include "Support/FuzzTarget.h"

#include "ZChromaKey/Licence/Base64.h"
#include "ZChromaKey/Licence/LicenceJudge.h"
#include "ZChromaKey/Licence/Signature.h"

#include <algorithm>
#include <cctype>

namespace
{

/// The key of Tests/ZChromaKey/Licence, and all that the documents of the corpus say that it has signed.
constexpr const char* c_pszKey = "MFkwEwYHKoZIzj0CAQYIKoZIzj0DAQcDQgAEWVLteXs74wRKixMgcbyXjnv/l/FcYCaUMWFPLUvuvHOP"
                                 "XEDTA+8NCsmr8Bxu7mXnWPEgUKqEyNkJOkUjsG/UQQ==";
constexpr const char* c_pszSigned = "zck-licence 1\nproduct=ZChromaKey\nholder=Test & S\xC3\xB6hne\nfeatures=all\n"
                                    "first=2026-01-01\nlast=2999-12-31\nmachine=\nserial=1\n";

/// What can be read can be written, and then says the same.
void CheckDocument(const std::string& _strDocument)
{
    LICENCE licence;
    LICENCE licenceAgain;
    std::string strReason;
    const bool bRead = Licence_Read(_strDocument, &licence, &strReason);
    FUZZ_REQUIRE(bRead == strReason.empty());
    if (!bRead)
        return;
    const std::string strText = Licence_Text(licence);
    FUZZ_REQUIRE(std::ranges::count(strText, '\n') == 8);
    FUZZ_REQUIRE(std::ranges::none_of(strText, [](unsigned char _ch) { return _ch != '\n' && std::iscntrl(_ch); }));
    std::string strDocument;
    FUZZ_REQUIRE(Licence_Write(licence, &strDocument, &strReason));
    FUZZ_REQUIRE(Licence_Read(strDocument, &licenceAgain, &strReason));
    FUZZ_REQUIRE(Licence_Text(licenceAgain) == strText && licenceAgain.strSignature == licence.strSignature);
}

void CheckJudge(const std::string& _strDocument)
{
    const LICENCE_ASK ask = {c_pszKey, "ZChromaKey", "ZChromaKey2", "00112233445566778899aabbccddeefe", "2026-11-22"};
    const LICENCE_ANSWER answer = LicenceJudge_Document(_strDocument, ask);
    FUZZ_REQUIRE(!answer.strShort.empty() && answer.eState != eLicence_Missing && answer.eState != eLicence_Unknown);
    FUZZ_REQUIRE(answer.strLong.empty() == (answer.eState == eLicence_Valid));
    LICENCE licence;
    std::string strReason;
    if (answer.eState == eLicence_Valid)
        FUZZ_REQUIRE(Licence_Read(_strDocument, &licence, &strReason) && Licence_Text(licence) == c_pszSigned);
}

/// A signature as text, and as bytes.
void CheckSignature(const std::string& _strText)
{
    std::vector<uint8_t> vecBytes;
    LICENCE_SIGNATURE signature = {};
    LICENCE_KEY key = {};
    std::string strReason;
    const bool bText = Base64_Read(_strText, &vecBytes);
    FUZZ_REQUIRE(!bText || Base64_Write(vecBytes) == _strText);
    if (!bText)
        vecBytes.assign(_strText.begin(), _strText.end());
    FUZZ_REQUIRE(Signature_Read(vecBytes, &signature, &strReason) == strReason.empty());
    if (Signature_KeyRead(_strText, &key))
        FUZZ_REQUIRE(Signature_Check(key, _strText, signature) != eSignature_Right);
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    const std::string strText(_in.Rest());
    CheckDocument(strText);
    CheckJudge(strText);
    CheckSignature(strText);
}
