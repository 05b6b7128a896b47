#include "ZChromaKey/Licence/LicencePlaces.h"

#include "Base/ZLog.h"
#include "Base/ZText.h"
#include "Interfaces/ZPlatform.h"
#include "ZChromaKey/Licence/Licence.h"

namespace
{

constexpr const wchar_t* c_pwszKey = L"Software\\Corvala\\ZChromaKey\\Licence";
constexpr const wchar_t* c_pwszValue = L"licence";

/// A text of the registry; the system's code where there is none.
LSTATUS TextRead(HKEY _hRoot, const wchar_t* _pwszKey, const wchar_t* _pwszValue, std::string* _pstrText)
{
    std::wstring wstrText(c_nLicenceMaxBytes, L'\0');
    auto cbText = static_cast<DWORD>(wstrText.size() * sizeof(wchar_t));
    const LSTATUS nStatus =
        RegGetValueW(_hRoot, _pwszKey, _pwszValue, RRF_RT_REG_SZ, nullptr, wstrText.data(), &cbText);
    if (nStatus == ERROR_SUCCESS)
    {
        wstrText.resize(wcsnlen(wstrText.data(), wstrText.size())); // stored with its end, or without
        *_pstrText = ZText_FromWide(wstrText);
    }
    return nStatus;
}

/// A folder of ours in one that a variable names; "" where it is not set.
std::string FolderIn(const wchar_t* _pwszVariable)
{
    std::wstring wstrPath(32'768, L'\0'); // the system allows no more
    const DWORD nChars = GetEnvironmentVariableW(_pwszVariable, wstrPath.data(), static_cast<DWORD>(wstrPath.size()));
    wstrPath.resize(nChars < wstrPath.size() ? nChars : 0);
    return wstrPath.empty() ? "" : ZFormat("%hs/Corvala/ZChromaKey", ZText_FromWide(wstrPath));
}

} // namespace

std::vector<LICENCE_FOUND> LicencePlaces_Registry()
{
    std::vector<LICENCE_FOUND> vecFound;
    for (const auto& [hRoot, pszRoot] :
         {std::pair(HKEY_CURRENT_USER, "HKEY_CURRENT_USER"), {HKEY_LOCAL_MACHINE, "HKEY_LOCAL_MACHINE"}})
    {
        LICENCE_FOUND found = {
            ZFormat("%hs\\%hs, value \"%hs\"", pszRoot, ZText_FromWide(c_pwszKey), ZText_FromWide(c_pwszValue)), "",
            ""};
        const LSTATUS nStatus = TextRead(hRoot, c_pwszKey, c_pwszValue, &found.strDocument);
        if (nStatus == ERROR_FILE_NOT_FOUND)
            continue;
        if (nStatus == ERROR_MORE_DATA)
            found.strReason = ZFormat("it has more than %zu characters", c_nLicenceMaxBytes - 1);
        else if (nStatus == ERROR_UNSUPPORTED_TYPE)
            found.strReason = "it is no text";
        else if (nStatus != ERROR_SUCCESS)
            found.strReason = ZFormat("the system answers %d", nStatus);
        vecFound.push_back(std::move(found));
    }
    return vecFound;
}

std::vector<std::string> LicencePlaces_Folders()
{
    return {FolderIn(L"APPDATA"), FolderIn(L"PROGRAMDATA")};
}

std::string LicencePlaces_Machine()
{
    std::string strText;
    TextRead(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Cryptography", L"MachineGuid", &strText);
    return strText;
}
