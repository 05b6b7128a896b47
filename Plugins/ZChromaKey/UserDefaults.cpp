#include "ZChromaKey/UserDefaults.h"

#include "Base/ZLog.h"
#include "ZChromaKey/ChromaKeyOptions.h"

void UserDefaults_Apply(CPropStore* _pStore)
{
    PROP_MAP mapDefaults = UserDefaults_Read();
    std::erase_if(mapDefaults, [](const PROP_MAP::value_type& _option) {
        const auto& [strName, strValue] = _option;
        const std::string strRight = strValue.empty() ? "a value" : ChromaKeyOptions_Validate(strName, strValue);
        if (!strRight.empty())
            ZLog(eZLog_Warning, "The user's default %hs of option %hs is not used; allowed: %hs\n",
                 PropText_Quote(strValue), PropText_Quote(strName), strRight);
        return !strRight.empty();
    });
    _pStore->DefaultsSet(std::move(mapDefaults));
}
