#include "ZChromaKey/Licence/LicenceJudge.h"

#include "Base/ZLog.h"
#include "ZChromaKey/Licence/Base64.h"
#include "ZChromaKey/Licence/Signature.h"

#include <chrono>
#include <vector>

namespace
{

constexpr std::string_view c_svMachineBegin = "zchromakey-machine\n"; // so that the hash is of use for nothing else
constexpr size_t c_nMachineBytes = 16;

LICENCE_ANSWER AnswerKeyless()
{
    return {eLicence_Unknown, "no licence can be checked",
            "signatures cannot be checked: the key that this build was made with is no key, or the system has no "
            "ECDSA on P-256; tell whoever made the build"};
}

/// Whether the issuer has signed what a document says.
LICENCE_ANSWER JudgeSignature(const LICENCE& _licence, const LICENCE_ASK& _ask)
{
    std::vector<uint8_t> vecDer;
    LICENCE_KEY key = {};
    LICENCE_SIGNATURE signature = {};
    std::string strReason = "the signature is no base64 text";
    if (!Signature_KeyRead(_ask.strKey, &key))
        return AnswerKeyless();
    if (!Base64_Read(_licence.strSignature, &vecDer) || !Signature_Read(vecDer, &signature, &strReason))
        return LicenceJudge_Broken(strReason);
    switch (Signature_Check(key, Licence_Text(_licence), signature))
    {
    case eSignature_Right:
        return {eLicence_Valid, ZFormat("licensed to %hs until %hs", _licence.strHolder, _licence.strLast), ""};
    case eSignature_Wrong:
        return {eLicence_Foreign, "the licence is not the issuer's",
                "it does not bear the signature of this build's issuer: it is another issuer's, or was changed since "
                "it was signed; install it as it was issued, or ask the issuer for one"};
    default:
        return AnswerKeyless();
    }
}

/// Whether a signed document is for what it is asked for.
LICENCE_ANSWER JudgeContent(const LICENCE& _licence, const LICENCE_ASK& _ask)
{
    if (_licence.strProduct != _ask.strProduct)
        return {eLicence_Product, "the licence is for another product",
                ZFormat("it is for the product \"%hs\", and this is \"%hs\"; ask the issuer for one for this product",
                        _licence.strProduct, _ask.strProduct)};
    if (!Licence_Has(_licence, _ask.strFeature))
        return {eLicence_Feature, "the licence is for other features",
                ZFormat("its features, \"%hs\", have no \"%hs\"; ask the issuer for one that has it",
                        _licence.strFeatures, _ask.strFeature)};
    if (!_licence.strMachine.empty() && _licence.strMachine != _ask.strMachine)
        return {eLicence_Machine, "the licence is for another machine",
                ZFormat("it is for the machine %hs, and this one is %hs; ask the issuer for one for this machine",
                        _licence.strMachine, _ask.strMachine.empty() ? "not known" : _ask.strMachine)};
    if (_ask.strToday < _licence.strFirst)
        return {eLicence_Early, ZFormat("the licence begins on %hs", _licence.strFirst),
                ZFormat("it begins on %hs, and today is %hs; wait until then, or set the clock right",
                        _licence.strFirst, _ask.strToday)};
    if (_ask.strToday > _licence.strLast)
        return {eLicence_Expired, ZFormat("the licence ended on %hs", _licence.strLast),
                ZFormat("it ended on %hs, and today is %hs; ask the issuer for a new one", _licence.strLast,
                        _ask.strToday)};
    return {eLicence_Valid, "", ""};
}

} // namespace

LICENCE_ANSWER LicenceJudge_Document(std::string_view _svDocument, const LICENCE_ASK& _ask)
{
    LICENCE licence;
    std::string strReason;
    if (!Licence_Read(_svDocument, &licence, &strReason))
        return LicenceJudge_Broken(strReason);
    LICENCE_ANSWER answer = JudgeSignature(licence, _ask);
    if (answer.eState != eLicence_Valid)
        return answer;
    LICENCE_ANSWER answerContent = JudgeContent(licence, _ask);
    return answerContent.eState == eLicence_Valid ? answer : answerContent;
}

LICENCE_ANSWER LicenceJudge_Broken(const std::string& _strReason)
{
    return {eLicence_Broken, "the licence cannot be read",
            ZFormat("it cannot be read: %hs; install it again as it was issued", _strReason)};
}

std::string LicenceJudge_Machine(const std::string& _strIdentity)
{
    std::array<uint8_t, 32> arrHash = {};
    if (_strIdentity.empty() || !Signature_Hash(ZFormat("%hs%hs", c_svMachineBegin, _strIdentity), &arrHash))
        return {};
    std::string strText;
    for (size_t n = 0; n < c_nMachineBytes; ++n)
        strText += ZFormat("%02x", arrHash[n]);
    return strText;
}

std::string LicenceJudge_Today()
{
    const std::chrono::year_month_day day(std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now()));
    return ZFormat("%04d-%02u-%02u", static_cast<int>(day.year()), static_cast<unsigned>(day.month()),
                   static_cast<unsigned>(day.day()));
}
