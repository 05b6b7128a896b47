#include "Com/ComSupport.h"
#include "Interfaces/IZPlugin.h"
#include "Support/LogCatcher.h"
#include "Support/Texts.h"

namespace
{

constexpr const wchar_t* c_pwszKey = L"Software\\Corvala\\ZChromaKey";

template <class T>
void SetValue(const CTestRegistry& _registry, const wchar_t* _pwszName, DWORD _nType, const T& _value)
{
    EXPECT_EQ(RegSetKeyValueW(_registry.Key(), c_pwszKey, _pwszName, _nType, &_value, sizeof(_value)), ERROR_SUCCESS);
}

TEST(UserDefaults, AreReadOnceWhenAnObjectIsMade)
{
    const MODULE module;
    CLogCatcher log;
    ASSERT_EQ(module.Create<IZPlugin>(CLSID_ZChromaKey)->LogSet(log.Sink(), eZLog_Warning), S_OK);
    const CTestRegistry user(HKEY_CURRENT_USER);
    EXPECT_EQ(OptionOf(module.Create<IZProps>(CLSID_ZChromaKey).Get(), L"gpu_mode"), L"-") << "no key at all";
    SetValue(user, L"keying.borders", REG_SZ, L"8,0,8,0");
    SetValue(user, L"process.threads", REG_SZ, L"many");
    SetValue(user, L"gpu_mode", REG_DWORD, int32_t{-1});
    SetValue(user, L"output.thread", REG_DWORD, int32_t{0});
    SetValue(user, L"my.own", REG_SZ, L"gr\u00fcn");
    const BYTE arrBytes[3] = {1, 2, 3};
    SetValue(user, L"output.argb", REG_BINARY, arrBytes);

    const auto cpProps = module.Create<IZProps>(CLSID_ZChromaKey);
    EXPECT_EQ(OptionOf(cpProps.Get(), L"keying.borders"), L"8,0,8,0");
    EXPECT_EQ(OptionOf(cpProps.Get(), L"gpu_mode"), L"-1");
    EXPECT_EQ(OptionOf(cpProps.Get(), L"output.thread"), L"0");
    EXPECT_EQ(OptionOf(cpProps.Get(), L"my.own"), L"-");
    EXPECT_EQ(log.Count("my.own", eZLog_Warning), 1u) << "no such option";
    EXPECT_EQ(OptionOf(cpProps.Get(), L"process.threads"), L"-");
    EXPECT_EQ(OptionOf(cpProps.Get(), L"output.argb"), L"-");
    EXPECT_EQ(log.Count("option \"process.threads\"", eZLog_Warning), 1u);
    EXPECT_EQ(log.Count("option \"output.argb\"", eZLog_Warning), 1u);

    EXPECT_EQ(cpProps->PropsSet(L"gpu_mode", L"0"), S_OK);
    EXPECT_EQ(OptionOf(cpProps.Get(), L"gpu_mode"), L"0");
    SetValue(user, L"gpu_mode", REG_DWORD, int32_t{1});
    EXPECT_EQ(cpProps->PropsSet(L"gpu_mode", nullptr), S_OK);
    EXPECT_EQ(OptionOf(cpProps.Get(), L"gpu_mode"), L"-1") << "the default of when the object was made";
    EXPECT_EQ(OptionOf(module.Create<IZProps>(CLSID_ZChromaKey).Get(), L"gpu_mode"), L"1");
    EXPECT_EQ(ZQuery<IZPlugin>(cpProps)->LogSet(nullptr, eZLog_Warning), S_OK);
}

} // namespace
