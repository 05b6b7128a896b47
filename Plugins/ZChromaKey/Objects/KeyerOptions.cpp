#include "ZChromaKey/Objects/KeyerOptions.h"

#include "Base/ZLog.h"
#include "ZChromaKey/Config/ChromaKeyOptions.h"

#include <algorithm>

namespace
{

std::string LongName(const CKUtils::CK_DETECT_OPTION& _option)
{
    return ZFormat("%hs%hs", CKUtils::c_szDetectPrefix, _option.pszName);
}

/// Calls _fnOption(name, default, row of detection or null) with all options until it answers false.
template <class Option> void ForAll(bool _bDetects, Option&& _fnOption)
{
    for (const CK_OPTION& option : ChromaKeyOptions_Table())
        if (!_fnOption(std::string(option.pszName), option.pszDefault, nullptr))
            return;
    for (const CKUtils::CK_DETECT_OPTION& option : CKUtils::DetectOptions_Table())
        if (_bDetects && !_fnOption(LongName(option), option.pszDefault, &option))
            return;
}

/// Which values are right; "" when this one is.
std::string RightOf(const CKUtils::CK_DETECT_OPTION* _pDetection, std::string_view _svName, std::string_view _svValue)
{
    CKUtils::CK_DETECT_OPTIONS options;
    if (!_pDetection)
        return ChromaKeyOptions_Validate(_svName, _svValue);
    return _pDetection->pfnRead(_svValue, &options) ? "" : _pDetection->pszRight;
}

std::string Check(bool _bDetects, std::string_view _svName, std::string_view _svValue)
{
    std::string strWhy = "there is no such option; there are";
    ForAll(_bDetects, [&](const std::string& _strName, const char*, const CKUtils::CK_DETECT_OPTION* _pDetection) {
        if (_strName != _svName)
        {
            strWhy += ZFormat(" %hs", _strName);
            return true;
        }
        const std::string strRight = _svValue.empty() ? "" : RightOf(_pDetection, _svName, _svValue);
        strWhy =
            strRight.empty() ? "" : ZFormat("%hs is not allowed; allowed: %hs", PropText_Quote(_svValue), strRight);
        return false;
    });
    return strWhy;
}

} // namespace

std::string KeyerOptions_CheckWithDetection(std::string_view _svName, std::string_view _svValue)
{
    return Check(true, _svName, _svValue);
}

std::string KeyerOptions_Check(std::string_view _svName, std::string_view _svValue)
{
    return Check(false, _svName, _svValue);
}

const char* KeyerOptions_Default(std::string_view _svName, bool _bDetects)
{
    const char* pszFound = nullptr;
    ForAll(_bDetects, [&](const std::string& _strName, const char* _pszDefault, const CKUtils::CK_DETECT_OPTION*) {
        pszFound = _strName == _svName ? _pszDefault : nullptr;
        return !pszFound;
    });
    return pszFound;
}

std::vector<std::string> KeyerOptions_Names(const CPropStore& _store, bool _bDetects)
{
    std::vector<std::string> vecNames;
    ForAll(_bDetects, [&](const std::string& _strName, const char*, const CKUtils::CK_DETECT_OPTION*) {
        vecNames.push_back(_strName);
        return true;
    });
    std::string strName;
    for (size_t n = 0; _store.NameGet(n, &strName); ++n)
        vecNames.push_back(strName);
    std::ranges::sort(vecNames);
    vecNames.erase(std::unique(vecNames.begin(), vecNames.end()), vecNames.end());
    return vecNames;
}

HRESULT KeyerOptions_Detection(const CPropStore& _store, CKUtils::CK_DETECT_OPTIONS* _pOptions)
{
    std::string strValue;
    for (const CKUtils::CK_DETECT_OPTION& option : CKUtils::DetectOptions_Table())
        if (_store.Find(LongName(option), &strValue) && !option.pfnRead(strValue, _pOptions))
        {
            ZLog(eZLog_Error, "Option \"%hs\" is %hs; it takes %hs\n", LongName(option), PropText_Quote(strValue),
                 option.pszRight);
            return E_INVALIDARG;
        }
    return S_OK;
}
