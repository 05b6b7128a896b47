#include "ZChromaKey/Com/UserDefaultsRead.h"

#include "Base/ZLog.h"

#include <vector>

namespace
{

constexpr const wchar_t* c_pwszKey = L"Software\\Corvala\\ZChromaKey";
constexpr DWORD c_nMaxName = 16384;         // characters; the registry allows no more
constexpr DWORD c_cbMaxValue = 1024 * 1024; // no option is longer

/// The value as an option's text; false for kinds that options do not have.
bool ValueText(DWORD _nType, const std::vector<BYTE>& _vecData, std::string* _pstrText)
{
    if (_nType == REG_DWORD && _vecData.size() == sizeof(int32_t))
    {
        int32_t nValue = 0;
        memcpy(&nValue, _vecData.data(), sizeof(nValue));
        *_pstrText = std::to_string(nValue);
        return true;
    }
    if (_nType != REG_SZ)
        return false;
    std::wstring wstrText(_vecData.size() / sizeof(wchar_t), L'\0');
    memcpy(wstrText.data(), _vecData.data(), wstrText.size() * sizeof(wchar_t));
    wstrText.resize(wcsnlen(wstrText.c_str(), wstrText.size())); // stored with its end, or without
    *_pstrText = ZText_FromWide(wstrText);
    return true;
}

void ReadValues(HKEY _hKey, PROP_MAP* _pmapValues)
{
    std::wstring wstrName(c_nMaxName, L'\0');
    std::vector<BYTE> vecData(c_cbMaxValue);
    for (DWORD nIndex = 0;; ++nIndex)
    {
        DWORD nChars = c_nMaxName;
        DWORD nType = 0;
        DWORD cbData = c_cbMaxValue;
        const LSTATUS nStatus =
            RegEnumValueW(_hKey, nIndex, wstrName.data(), &nChars, nullptr, &nType, vecData.data(), &cbData);
        if (nStatus == ERROR_NO_MORE_ITEMS)
            return;
        const std::string strName = nStatus == ERROR_SUCCESS ? ZText_FromWide({wstrName.data(), nChars}) : "?";
        std::string strText;
        if (nStatus != ERROR_SUCCESS || nChars == 0 ||
            !ValueText(nType, {vecData.data(), vecData.data() + cbData}, &strText))
            ZLog(eZLog_Warning, "The user's default of option \"%hs\" is neither a text nor a 32-bit number\n",
                 strName);
        else
            _pmapValues->insert_or_assign(strName, strText);
        if (nStatus != ERROR_SUCCESS && nStatus != ERROR_MORE_DATA)
            return;
    }
}

} // namespace

PROP_MAP UserDefaults_Read()
{
    PROP_MAP mapValues;
    HKEY hKey = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, c_pwszKey, 0, KEY_READ, &hKey) == ERROR_SUCCESS)
    {
        ReadValues(hKey, &mapValues);
        RegCloseKey(hKey);
    }
    return mapValues;
}
