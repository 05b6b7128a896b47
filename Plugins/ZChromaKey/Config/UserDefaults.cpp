#include "ZChromaKey/Config/UserDefaults.h"

#include "Base/ZLog.h"
#include "ZChromaKey/Config/ChromaKeyOptions.h"

void UserDefaults_Apply(PROP_MAP&& _mapDefaults, CPropStore* _pStore, PROP_MAP&& _mapOwn)
{
    std::erase_if(_mapDefaults, [](const PROP_MAP::value_type& _option) {
        const auto& [strName, strValue] = _option;
        const std::string strRight = strValue.empty() ? "a value" : ChromaKeyOptions_Validate(strName, strValue);
        if (!strRight.empty())
            ZLog(eZLog_Warning, "The user's default %hs of option %hs is not used; allowed: %hs\n",
                 PropText_Quote(strValue), PropText_Quote(strName), strRight);
        return !strRight.empty();
    });
    _mapDefaults.merge(_mapOwn);
    _pStore->DefaultsSet(std::move(_mapDefaults));
}
