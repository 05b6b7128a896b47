#include "ZChromaKey/Licence/LicencePlaces.h"

#include "Com/ComSupport.h"
#include "ZChromaKey/Licence/Licence.h"

namespace
{

void PutValue(const CTestRegistry& _registry, DWORD _nType, const std::wstring& _wstrText)
{
    EXPECT_EQ(RegSetKeyValueW(_registry.Key(), L"Software\\Corvala\\ZChromaKey\\Licence", L"licence", _nType,
                              _wstrText.c_str(), static_cast<DWORD>((_wstrText.size() + 1) * sizeof(wchar_t))),
              ERROR_SUCCESS);
}

TEST(LicenceRegistry, HasTheUsersLicenceBeforeTheMachines)
{
    const CTestRegistry user(HKEY_CURRENT_USER);
    const CTestRegistry machine(HKEY_LOCAL_MACHINE);
    EXPECT_TRUE(LicencePlaces_Registry().empty());
    PutValue(machine, REG_SZ, L"<of the machine: \u00e4/>");
    PutValue(user, REG_SZ, std::wstring(c_nLicenceMaxBytes, L'x'));
    auto vecFound = LicencePlaces_Registry();
    ASSERT_EQ(vecFound.size(), 2u);
    EXPECT_EQ(vecFound[0].strWhere, "HKEY_CURRENT_USER\\Software\\Corvala\\ZChromaKey\\Licence, value \"licence\"");
    EXPECT_EQ(vecFound[0].strReason, "it has more than 65535 characters");
    EXPECT_EQ(vecFound[1].strDocument, "<of the machine: \xC3\xA4/>");
    EXPECT_EQ(vecFound[1].strReason, "");
    PutValue(user, REG_BINARY, L"<of the user/>");
    EXPECT_EQ(LicencePlaces_Registry()[0].strReason, "it is no text");
    PutValue(user, REG_SZ, L"<of the user/>");
    vecFound = LicencePlaces_Registry();
    EXPECT_EQ(vecFound[0].strDocument + vecFound[1].strDocument, "<of the user/><of the machine: \xC3\xA4/>");
}

} // namespace
