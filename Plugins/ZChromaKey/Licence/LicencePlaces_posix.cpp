#include "ZChromaKey/Licence/LicencePlaces.h"

#include "Base/ZLog.h"
#include "Props/PropText.h"
#include "Props/TextFile.h"

#include <cstdlib>

namespace
{

constexpr size_t c_nMaxIdentity = 256; // bytes

/// "" for a variable that is not set, or is no absolute path.
std::string PathOf(const char* _pszVariable)
{
    const char* const pszPath = std::getenv(_pszVariable);
    return pszPath && *pszPath == '/' ? pszPath : "";
}

} // namespace

std::vector<LICENCE_FOUND> LicencePlaces_Registry()
{
    return {};
}

std::vector<std::string> LicencePlaces_Folders()
{
    std::string strUser = PathOf("XDG_CONFIG_HOME");
    if (strUser.empty() && !PathOf("HOME").empty())
        strUser = ZFormat("%hs/.config", PathOf("HOME"));
    return {strUser.empty() ? "" : ZFormat("%hs/zchromakey", strUser), "/etc/zchromakey"};
}

std::string LicencePlaces_Machine()
{
    std::string strText;
    std::string strReason;
    TextFile_Read("/etc/machine-id", c_nMaxIdentity, &strText, &strReason);
    return std::string(PropText_Trim(strText));
}
