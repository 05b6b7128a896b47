#include "Com/ComSupport.h"

namespace
{

using DLLREGISTER = HRESULT(STDMETHODCALLTYPE*)();
using DLLINSTALL = HRESULT(STDMETHODCALLTYPE*)(BOOL, LPCWSTR);

class CRegistrationTest : public testing::Test
{
protected:
    HRESULT Install(BOOL _bInstall, LPCWSTR _pwszFor) const
    {
        return m_module.Export<DLLINSTALL>("DllInstall")(_bInstall, _pwszFor);
    }
    HRESULT Call(const char* _pszExport) const
    {
        return m_module.Export<DLLREGISTER>(_pszExport)();
    }

    MODULE m_module;
    CTestRegistry m_machine{HKEY_LOCAL_MACHINE};
    CTestRegistry m_user{HKEY_CURRENT_USER};
};

TEST_F(CRegistrationTest, NamesClassesLibraryAndInterfaces)
{
    ASSERT_EQ(Call("DllRegisterServer"), S_OK);
    auto mapContent = m_machine.Content();
    const std::wstring wstrLib = L"{D3F4C631-FC55-4B9E-A300-5E86F7BA97EF}";
    const std::pair<std::wstring, std::wstring> arrClasses[] = {
        {L"{FF12951C-DC32-42B7-B676-583883EF574E}", L"ZChromaKey.ZChromaKey"},
        {L"{F74E5C32-D592-4C20-A4E7-A470A713FF8A}", L"ZChromaKey.ZKey"},
        {L"{71527D2A-8BB6-4BB9-803C-E065BAFD1434}", L"ZChromaKey.ZChromaKey2"},
        {L"{5AF3A9DB-E515-49AF-B374-A5E1B7F4B08C}", L"ZChromaKey.ZKey2"}};
    for (const auto& [wstrClass, wstrName] : arrClasses)
    {
        const std::wstring wstrKey = L"Software\\Classes\\CLSID\\" + wstrClass;
        EXPECT_EQ(mapContent[wstrKey + L"\\InprocServer32|ThreadingModel"], L"Neutral");
        EXPECT_EQ(mapContent[wstrKey + L"\\TypeLib|"], wstrLib);
        EXPECT_EQ(mapContent[wstrKey + L"\\ProgID|"], wstrName + L".1");
        EXPECT_EQ(mapContent[wstrKey + L"\\VersionIndependentProgID|"], wstrName);
        EXPECT_EQ(mapContent[L"Software\\Classes\\" + wstrName + L"\\CurVer|"], wstrName + L".1");
    }
    EXPECT_EQ(mapContent[L"Software\\Classes\\TypeLib\\" + wstrLib + L"\\1.0\\0\\win64|"], m_module.Path());
    EXPECT_EQ(mapContent[L"Software\\Classes\\Interface\\{142C8364-7806-4577-93E7-83E7EB04B39B}\\TypeLib|"], wstrLib);
    EXPECT_TRUE(m_user.Content().empty());
}

TEST_F(CRegistrationTest, LeavesNothingBehindAndRefusesWhatItDoesNotKnow)
{
    const struct
    {
        LPCWSTR pwszFor;
        const CTestRegistry& registry;
        const CTestRegistry& other;
    } arrCases[] = {{nullptr, m_machine, m_user}, {L"", m_machine, m_user}, {L"user", m_user, m_machine}};
    for (const auto& row : arrCases)
    {
        HKEY hKey = nullptr; // what was there before stays
        ASSERT_EQ(RegCreateKeyW(row.registry.Key(), L"Software\\Classes\\TypeLib\\{another}", &hKey), ERROR_SUCCESS);
        RegCloseKey(hKey);
        const auto mapBefore = row.registry.Content();
        EXPECT_EQ(Install(TRUE, row.pwszFor), S_OK);
        EXPECT_EQ(Install(TRUE, row.pwszFor), S_OK) << "registering again is no mistake";
        EXPECT_GT(row.registry.Content().size(), mapBefore.size() + 40);
        EXPECT_EQ(row.registry.Content()[L"Software\\Classes\\CLSID\\{FF12951C-DC32-42B7-B676-583883EF574E}"
                                         L"\\InprocServer32|"],
                  m_module.Path());
        EXPECT_EQ(Install(FALSE, row.pwszFor), S_OK);
        EXPECT_EQ(row.registry.Content(), mapBefore);
        EXPECT_EQ(Install(FALSE, row.pwszFor), S_OK) << "nothing to take away is no mistake";
        RegDeleteTreeW(row.registry.Key(), L"Software");
        EXPECT_TRUE(row.other.Content().empty());
    }
    EXPECT_EQ(Call("DllUnregisterServer"), S_OK);
    EXPECT_EQ(Install(TRUE, L"everyone"), E_INVALIDARG);
    EXPECT_TRUE(m_machine.Content().empty() && m_user.Content().empty());
}

TEST_F(CRegistrationTest, TakesItselfBackWhenItFails)
{
    // A key that lasts cannot be made below one that does not: the last name that is written fails.
    HKEY hKey = nullptr;
    ASSERT_EQ(RegCreateKeyW(m_machine.Key(), L"Software\\Classes", &hKey), ERROR_SUCCESS);
    RegCloseKey(hKey);
    const auto mapBefore = m_machine.Content();
    ASSERT_EQ(RegCreateKeyExW(m_machine.Key(), L"Software\\Classes\\ZChromaKey.ZKey2", 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &hKey, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(hKey);
    EXPECT_EQ(Call("DllRegisterServer"), HRESULT_FROM_WIN32(ERROR_CHILD_MUST_BE_VOLATILE));
    EXPECT_EQ(m_machine.Content(), mapBefore);
}

} // namespace
