#pragma once

#include "Base/ZPtr.h"
#include "Interfaces/ZGuids.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

// What the tests of the module as a COM server share. ZCK_MODULE is the path of the module file.

/// The module file, loaded as a host without registration loads it. It stays loaded.
struct MODULE
{
    MODULE()
        : hModule(LoadLibraryA(ZCK_MODULE))
    {
        EXPECT_TRUE(hModule) << ZCK_MODULE;
    }
    template <class Function> Function Export(const char* _pszName) const
    {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(hModule, _pszName)));
    }
    template <class I> CZPtr<I> Create(REFCLSID _clsid) const
    {
        CZPtr<IClassFactory> cpFactory;
        CZPtr<I> cpObject;
        EXPECT_EQ(Export<ZDLLGETCLASSOBJECT>("DllGetClassObject")(_clsid, IID_IClassFactory, cpFactory.PutVoid()),
                  S_OK);
        EXPECT_EQ(cpFactory->CreateInstance(nullptr, CZIidOf<I>::Value, cpObject.PutVoid()), S_OK);
        return cpObject;
    }
    bool CanUnload() const
    {
        return Export<ZDLLCANUNLOADNOW>("DllCanUnloadNow")() == S_OK;
    }
    std::wstring Path() const
    {
        wchar_t arrPath[MAX_PATH] = L"";
        GetModuleFileNameW(hModule, arrPath, MAX_PATH);
        return arrPath;
    }

    HMODULE hModule;
};

/// Registers the module with the system's own program; _wstrSwitches: "/u" and such. True when it says that all went
/// well.
inline bool Regsvr32(const MODULE& _module, const std::wstring& _wstrSwitches = L"")
{
    return _wsystem((L"regsvr32 /s " + _wstrSwitches + L" " + _module.Path() + L" >NUL 2>NUL").c_str()) == 0;
}

/// COM of the calling thread.
struct APARTMENT
{
    explicit APARTMENT(DWORD _nKind)
    {
        EXPECT_EQ(CoInitializeEx(nullptr, _nKind), S_OK);
    }
    ~APARTMENT()
    {
        CoUninitialize();
    }
};

/// An empty key that stands for a root of the registry in this process while it lives.
class CTestRegistry
{
public:
    explicit CTestRegistry(HKEY _hRoot)
        : m_hRoot(_hRoot)
        , m_wstrKey(L"Software\\ZChromaKey-test-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                    std::to_wstring(reinterpret_cast<uintptr_t>(_hRoot)))
    {
        EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, m_wstrKey.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_hKey,
                                  nullptr),
                  ERROR_SUCCESS);
        EXPECT_EQ(RegOverridePredefKey(m_hRoot, m_hKey), ERROR_SUCCESS);
    }
    ~CTestRegistry()
    {
        RegOverridePredefKey(m_hRoot, nullptr);
        RegDeleteTreeW(m_hKey, nullptr);
        RegCloseKey(m_hKey);
        RegDeleteKeyW(HKEY_CURRENT_USER, m_wstrKey.c_str());
    }
    CTestRegistry(const CTestRegistry&) = delete;
    CTestRegistry& operator=(const CTestRegistry&) = delete;

    /// All keys ("path") and values ("path|name") with their texts.
    std::map<std::wstring, std::wstring> Content() const
    {
        std::map<std::wstring, std::wstring> mapContent;
        Collect(m_hKey, L"", &mapContent);
        return mapContent;
    }
    HKEY Key() const
    {
        return m_hKey;
    }

private:
    static void Collect(HKEY _hKey, const std::wstring& _wstrPath, std::map<std::wstring, std::wstring>* _pmapContent)
    {
        wchar_t arrName[256];
        wchar_t arrText[1024];
        for (DWORD nIndex = 0;; ++nIndex)
        {
            DWORD nName = 256, cbText = sizeof(arrText) - sizeof(wchar_t);
            if (RegEnumValueW(_hKey, nIndex, arrName, &nName, nullptr, nullptr, reinterpret_cast<BYTE*>(arrText),
                              &cbText) != ERROR_SUCCESS)
                break;
            arrText[cbText / sizeof(wchar_t)] = 0;
            (*_pmapContent)[_wstrPath + L"|" + arrName] = arrText;
        }
        for (DWORD nIndex = 0; RegEnumKeyW(_hKey, nIndex, arrName, 256) == ERROR_SUCCESS; ++nIndex)
        {
            const std::wstring wstrPath = _wstrPath + (_wstrPath.empty() ? L"" : L"\\") + arrName;
            (*_pmapContent)[wstrPath] = L"";
            HKEY hChild = nullptr;
            if (RegOpenKeyExW(_hKey, arrName, 0, KEY_READ, &hChild) == ERROR_SUCCESS)
                Collect(hChild, wstrPath, _pmapContent);
            RegCloseKey(hChild);
        }
    }

    HKEY m_hRoot;
    HKEY m_hKey = nullptr;
    std::wstring m_wstrKey;
};
