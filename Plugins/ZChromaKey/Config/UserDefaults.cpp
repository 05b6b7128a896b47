#include "ZChromaKey/Config/UserDefaults.h"

#include "Base/ZLog.h"

void UserDefaults_Apply(PROP_MAP&& _mapDefaults, PROPS_VALIDATE _pfnCheck, CPropStore* _pStore, PROP_MAP&& _mapOwn)
{
    std::erase_if(_mapDefaults, [&](const PROP_MAP::value_type& _option) {
        const auto& [strName, strValue] = _option;
        const std::string strWhy = strValue.empty() ? "it has no value" : _pfnCheck(strName, strValue);
        if (!strWhy.empty())
            ZLog(eZLog_Warning, "The user's default %hs of option %hs is not used: %hs\n", PropText_Quote(strValue),
                 PropText_Quote(strName), strWhy);
        return !strWhy.empty();
    });
    _mapDefaults.merge(_mapOwn);
    _pStore->DefaultsSet(std::move(_mapDefaults));
}
