#include "zkhost/Commands/PluginOptions.h"

#include "Kit/HostError.h"

#include "Base/ZLog.h"
#include "Helpers/CKDetectOptions.h"
#include "ZChromaKey/Config/ChromaKeyOptions.h"

#include <string_view>

namespace
{

constexpr const char* c_pszDetect = "detect.";
constexpr std::string_view c_svShort = "show_blocks"; // is known by its short name, too

const CKUtils::CK_DETECT_OPTION* FindDetection(const std::string& _strName)
{
    for (const CKUtils::CK_DETECT_OPTION& option : CKUtils::DetectOptions_Table())
        if (_strName == std::string(c_pszDetect) + option.pszName ||
            (_strName == c_svShort && option.pszName == c_svShort))
            return &option;
    return nullptr;
}

bool IsFrameOption(const std::string& _strName)
{
    for (const CK_OPTION& option : ChromaKeyOptions_Table())
        if (_strName == option.pszName)
            return true;
    return false;
}

/// Which values are right for an option; empty when the given one is.
std::string RightValues(const std::string& _strName, const std::string& _strValue)
{
    CKUtils::CK_DETECT_OPTIONS options;
    if (const CKUtils::CK_DETECT_OPTION* pOption = FindDetection(_strName))
        return pOption->pfnRead(_strValue, &options) ? "" : pOption->pszRight;
    return _strValue.empty() ? "" : ChromaKeyOptions_Validate(_strName, _strValue); // empty: not set
}

} // namespace

std::string PluginOptions_Names()
{
    std::string strNames;
    for (const CK_OPTION& option : ChromaKeyOptions_Table())
        strNames += std::string(strNames.empty() ? "" : ", ") + option.pszName;
    for (const CKUtils::CK_DETECT_OPTION& option : CKUtils::DetectOptions_Table())
        strNames += std::string(", ") + c_pszDetect + option.pszName;
    return strNames;
}

bool PluginOptions_IsDetection(const std::string& _strName)
{
    return FindDetection(_strName) != nullptr;
}

void PluginOptions_Check(const std::string& _strName, const std::string& _strValue)
{
    if (!FindDetection(_strName) && !IsFrameOption(_strName))
        throw CZUsageError(ZFormat("--set %s: there is no such option; there are %s", _strName, PluginOptions_Names()));
    const std::string strRight = RightValues(_strName, _strValue);
    if (!strRight.empty())
        throw CZUsageError(ZFormat("--set %s=%s: the value has to be %s", _strName, _strValue, strRight));
}
