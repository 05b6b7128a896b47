#include "ZChromaKey/Com/Registration.h"

#include "Base/ZLog.h"
#include "Interfaces/ZGuids.h"
#include "ZChromaKey/Com/ComModule.h"
#include "ZChromaKey/Objects/ClassTable.h"

#include <string>
#include <vector>

namespace
{

constexpr const wchar_t* c_pwszLibVersion = L"1.0";

struct REG_VALUE
{
    std::wstring wstrKey;    ///< below Software\Classes
    const wchar_t* pwszName; ///< null: the key's default value
    std::wstring wstrText;
};

constexpr const wchar_t* c_pwszTypeLibMarshaler = L"{00020424-0000-0000-C000-000000000046}";

std::wstring Text(REFGUID _guid)
{
    wchar_t arrText[40] = L"";
    StringFromGUID2(_guid, arrText, static_cast<int>(std::size(arrText)));
    return arrText;
}

std::wstring ClassKey(const MODULE_CLASS& _class)
{
    return L"CLSID\\" + Text(_class.clsid);
}
std::wstring InterfaceKey(const MODULE_CLASS& _class)
{
    return L"Interface\\" + Text(_class.iid);
}
std::wstring VersionedProgID(const MODULE_CLASS& _class)
{
    return std::wstring(_class.pwszProgID) + L".1";
}
std::wstring LibKey()
{
    return L"TypeLib\\" + Text(LIBID_ZCHROMAKEYLib);
}
std::wstring LibVersionKey()
{
    return LibKey() + L"\\" + c_pwszLibVersion;
}

void ValuesOfClass(const MODULE_CLASS& _class, const std::wstring& _wstrPath, std::vector<REG_VALUE>* _pvecValues)
{
    const std::wstring wstrKey = ClassKey(_class);
    const std::wstring wstrProgID = VersionedProgID(_class);
    _pvecValues->insert(_pvecValues->end(),
                        {
                            {wstrKey, nullptr, _class.pwszTitle},
                            {wstrKey + L"\\InprocServer32", nullptr, _wstrPath},
                            {wstrKey + L"\\InprocServer32", L"ThreadingModel", L"Neutral"},
                            {wstrKey + L"\\Programmable", nullptr, L""},
                            {wstrKey + L"\\ProgID", nullptr, wstrProgID},
                            {wstrKey + L"\\VersionIndependentProgID", nullptr, _class.pwszProgID},
                            {wstrKey + L"\\TypeLib", nullptr, Text(LIBID_ZCHROMAKEYLib)},
                            {wstrKey + L"\\Version", nullptr, c_pwszLibVersion},
                            {wstrProgID, nullptr, _class.pwszTitle},
                            {wstrProgID + L"\\CLSID", nullptr, Text(_class.clsid)},
                            {_class.pwszProgID, nullptr, _class.pwszTitle},
                            {std::wstring(_class.pwszProgID) + L"\\CLSID", nullptr, Text(_class.clsid)},
                            {std::wstring(_class.pwszProgID) + L"\\CurVer", nullptr, wstrProgID},
                        });
}

std::vector<REG_VALUE> AllValues(const std::wstring& _wstrPath)
{
    const std::wstring wstrLib = LibVersionKey();
    std::vector<REG_VALUE> vecValues = {
        {wstrLib, nullptr, L"ZChromaKey 1.0 Type Library"},
        {wstrLib + L"\\0\\win64", nullptr, _wstrPath},
        {wstrLib + L"\\FLAGS", nullptr, L"0"},
        {wstrLib + L"\\HELPDIR", nullptr, _wstrPath.substr(0, _wstrPath.find_last_of(L'\\'))},
    };
    for (const MODULE_CLASS& row : ClassTable())
        vecValues.insert(vecValues.end(),
                         {
                             {InterfaceKey(row), nullptr, row.pwszInterface},
                             {InterfaceKey(row) + L"\\ProxyStubClsid32", nullptr, c_pwszTypeLibMarshaler},
                             {InterfaceKey(row) + L"\\TypeLib", nullptr, Text(LIBID_ZCHROMAKEYLib)},
                             {InterfaceKey(row) + L"\\TypeLib", L"Version", c_pwszLibVersion},
                         });
    for (const MODULE_CLASS& row : ClassTable())
        ValuesOfClass(row, _wstrPath, &vecValues);
    return vecValues;
}

LSTATUS ValueWrite(HKEY _hRoot, const REG_VALUE& _value)
{
    HKEY hKey = nullptr;
    const std::wstring wstrKey = L"Software\\Classes\\" + _value.wstrKey;
    LSTATUS nStatus = RegCreateKeyExW(_hRoot, wstrKey.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &hKey, nullptr);
    if (nStatus != ERROR_SUCCESS)
        return nStatus;
    const auto* const pText = reinterpret_cast<const BYTE*>(_value.wstrText.c_str());
    const DWORD cbText = static_cast<DWORD>((_value.wstrText.size() + 1) * sizeof(wchar_t));
    nStatus = RegSetValueExW(hKey, _value.pwszName, 0, REG_SZ, pText, cbText);
    RegCloseKey(hKey);
    return nStatus;
}

/// Removes a key with all below it; a key that is not there is no failure.
LSTATUS TreeRemove(HKEY _hClasses, const std::wstring& _wstrKey)
{
    const LSTATUS nStatus = RegDeleteTreeW(_hClasses, _wstrKey.c_str());
    return nStatus == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : nStatus;
}

/// Removes a key that others share, once there is nothing in it.
void EmptyRemove(HKEY _hClasses, const std::wstring& _wstrKey)
{
    HKEY hKey = nullptr;
    if (RegOpenKeyExW(_hClasses, _wstrKey.c_str(), 0, KEY_READ, &hKey) != ERROR_SUCCESS)
        return;
    DWORD nKeys = 0;
    DWORD nValues = 0;
    const LSTATUS nStatus = RegQueryInfoKeyW(hKey, nullptr, nullptr, nullptr, &nKeys, nullptr, nullptr, &nValues,
                                             nullptr, nullptr, nullptr, nullptr);
    RegCloseKey(hKey);
    if (nStatus == ERROR_SUCCESS && nKeys == 0 && nValues == 0)
        RegDeleteKeyW(_hClasses, _wstrKey.c_str());
}

LSTATUS AllRemove(HKEY _hClasses)
{
    std::vector<std::wstring> vecKeys = {LibVersionKey()};
    for (const MODULE_CLASS& row : ClassTable())
        vecKeys.push_back(InterfaceKey(row));
    for (const MODULE_CLASS& row : ClassTable())
        vecKeys.insert(vecKeys.end(), {ClassKey(row), VersionedProgID(row), row.pwszProgID});
    LSTATUS nFirst = ERROR_SUCCESS;
    for (const std::wstring& wstrKey : vecKeys)
        if (const LSTATUS nStatus = TreeRemove(_hClasses, wstrKey); nStatus != ERROR_SUCCESS && nFirst == ERROR_SUCCESS)
            nFirst = nStatus;
    for (const std::wstring& wstrKey :
         {LibKey(), std::wstring(L"TypeLib"), std::wstring(L"Interface"), std::wstring(L"CLSID")})
        EmptyRemove(_hClasses, wstrKey);
    return nFirst;
}

HKEY Root(eRegistration _eFor)
{
    return _eFor == eRegistration_User ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
}

HRESULT Failed(const char* _pszOperation, LSTATUS _nStatus)
{
    ZLog(eZLog_Error, "%hs: the registry refuses (system error %d)%hs\n", _pszOperation, _nStatus,
         _nStatus == ERROR_ACCESS_DENIED ? "; run it as administrator, or for the user alone: regsvr32 /n /i:user"
                                         : "");
    return HRESULT_FROM_WIN32(static_cast<DWORD>(_nStatus));
}

} // namespace

HRESULT Registration_Add(eRegistration _eFor)
{
    const std::wstring wstrPath = ComModule_Path();
    if (wstrPath.empty())
        return E_UNEXPECTED;
    for (const REG_VALUE& value : AllValues(wstrPath))
        if (const LSTATUS nStatus = ValueWrite(Root(_eFor), value); nStatus != ERROR_SUCCESS)
        {
            Registration_Remove(_eFor);
            return Failed("Registration", nStatus);
        }
    return S_OK;
}

HRESULT Registration_Remove(eRegistration _eFor)
{
    HKEY hClasses = nullptr;
    LSTATUS nStatus = RegOpenKeyExW(Root(_eFor), L"Software\\Classes", 0, KEY_ALL_ACCESS, &hClasses);
    if (nStatus == ERROR_FILE_NOT_FOUND)
        return S_OK;
    if (nStatus == ERROR_SUCCESS)
    {
        nStatus = AllRemove(hClasses);
        RegCloseKey(hClasses);
    }
    return nStatus == ERROR_SUCCESS ? S_OK : Failed("Unregistration", nStatus);
}
