#include "Base/ZSystem.h"
#include "Support/LogCatcher.h"
#include "ZChromaKey/TestKeyer.h"

#include <cstring>

namespace
{

using CoZChromaKey = CKeyerTest;

TEST_F(CoZChromaKey, IsOneObjectWithAllItsInterfaces)
{
    CZPtr<IClassFactory> cpFactory;
    ASSERT_EQ(ZModule_GetClassObject(CLSID_ZChromaKey, IID_IClassFactory, cpFactory.PutVoid()), S_OK);
    CZPtr<IZChromaKey> cpKey;
    ASSERT_EQ(cpFactory->CreateInstance(nullptr, IID_IZChromaKey, cpKey.PutVoid()), S_OK);
    const GUID arrInterfaces[] = {IID_IUnknown, IID_IDispatch, IID_IZChromaKey, IID_IZFProcess,
                                  IID_IZProps,  IID_IZPlugin,  IID_IZFPersist};
    for (const GUID& iid : arrInterfaces)
        for (const GUID& iidNext : arrInterfaces)
        {
            CZPtr<IUnknown> cpOne;
            CZPtr<IUnknown> cpNext;
            ASSERT_EQ(cpKey->QueryInterface(iid, cpOne.PutVoid()), S_OK);
            ASSERT_EQ(cpOne->QueryInterface(iidNext, cpNext.PutVoid()), S_OK);
            EXPECT_EQ(ZQuery<IUnknown>(cpNext).Get(), ZQuery<IUnknown>(cpKey).Get());
        }
    void* pvNone = this;
    EXPECT_EQ(cpKey->QueryInterface(IID_IZFFrame, &pvNone), E_NOINTERFACE);
    EXPECT_EQ(pvNone, nullptr);
    EXPECT_EQ(cpKey->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(cpFactory->CreateInstance(cpKey.Get(), IID_IUnknown, &pvNone), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(ZModule_GetClassObject(IID_IZFFrame, IID_IClassFactory, &pvNone), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(cpKey->AddRef(), 2u);
    EXPECT_EQ(cpKey->Release(), 1u);

    m_cpKeyer.Reset();
    EXPECT_FALSE(ZModule_IsIdle());
    cpKey.Reset();
    EXPECT_FALSE(ZModule_IsIdle()) << "the factory still lives";
    cpFactory->LockServer(TRUE);
    cpFactory.Reset();
    EXPECT_FALSE(ZModule_IsIdle()) << "the module is locked";
    for (const HRESULT hrExpected : {S_OK, S_FALSE}) // the second time there is no lock left
    {
        ASSERT_EQ(ZModule_GetClassObject(CLSID_ZChromaKey, IID_IClassFactory, cpFactory.PutVoid()), S_OK);
        EXPECT_EQ(cpFactory->LockServer(FALSE), hrExpected);
        EXPECT_FALSE(ZModule_IsIdle()) << "the factory lives";
        cpFactory.Reset();
        EXPECT_TRUE(ZModule_IsIdle());
    }
}

TEST_F(CoZChromaKey, RefusesWrongArguments)
{
    const CLogCatcher log;
    EXPECT_EQ(m_cpKeyer->OnMediaReceive(TestFrame_Make(eZFCC_RGB32, 64, 32).Get(), nullptr), E_POINTER);
    EXPECT_EQ(log.Count("\"_ppFrameRes\""), 1u);
    EXPECT_EQ(m_cpKeyer->KeyRawSet(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(m_cpKeyer->KeyRawGet(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(m_cpKeyer->LogSet(log.Sink(), 5), E_INVALIDARG);
    EXPECT_EQ(log.Count("SIMD level"), 0u);
    BSTR bsName = const_cast<BSTR>(L"stale");
    BSTR bsVersion = bsName;
    EXPECT_EQ(m_cpKeyer->PluginInfoGet(nullptr, &bsVersion), E_POINTER);
    EXPECT_EQ(m_cpKeyer->PluginInfoGet(&bsName, nullptr), E_POINTER);
    EXPECT_TRUE(!bsName && !bsVersion);

    const std::pair<const wchar_t*, const wchar_t*> arrWrong[] = {
        {L"output.thread", L"maybe"}, {L"gpu_mode", L"fast"},      {L"process.threads", L"1.5"},
        {L"output.argb", L"y e s"},   {L"keying.borders", L"1,2"}, {L"debug.time_overlay", L"2x"}};
    for (const auto& [pwszName, pwszValue] : arrWrong)
    {
        EXPECT_EQ(m_cpKeyer->PropsSet(pwszName, pwszValue), E_INVALIDARG) << pwszName;
        EXPECT_EQ(log.Count("\"" + ZText_FromWide(pwszName) + "\"", eZLog_Error), 1u);
    }
    Set(L"my.own", L"anything");
    EXPECT_EQ(OptionOf(m_cpKeyer.Get(), L"gpu_mode"), L"0") << "a refused value changes nothing";
}

TEST_F(CoZChromaKey, SaysWhatItIsAndWhereItRuns)
{
    const CLogCatcher log;
    EXPECT_EQ(m_cpKeyer->LogSet(log.Sink(), eZLog_Info), S_OK); // a new log starts with what runs here
    EXPECT_EQ(log.Count(ZSystem_Name() + ", " + ZSystem_Processor() + ", SIMD level ", eZLog_Info), 1u);
    EXPECT_EQ(log.Count(ZSystem_ModulePath(), eZLog_Info), 1u);
    EXPECT_EQ(log.Count("unknown"), 0u);
    BSTR bsName = nullptr;
    BSTR bsVersion = nullptr;
    ASSERT_EQ(m_cpKeyer->PluginInfoGet(&bsName, &bsVersion), S_OK);
    EXPECT_EQ(TakeText(bsName), L"ZChromaKey");
    EXPECT_NE(TakeText(bsVersion), L"");
}

TEST_F(CoZChromaKey, KeepsTheKeySetByteForByte)
{
    CHROMA_KEY_RAW key = TestKey(eCKT_HLS);
    key.nKeysUsed = 77;
    CK_ADJUST adjust = {};
    adjust.rangeAdjust.dblRangeB_S_V = 0.5;
    ASSERT_EQ(m_cpKeyer->KeyRawSet(&key, &adjust), S_OK);
    KeySet(key);
    CHROMA_KEY_RAW keyRead = {};
    CK_ADJUST adjustRead = {};
    EXPECT_EQ(m_cpKeyer->KeyRawGet(&keyRead, &adjustRead), S_OK);
    EXPECT_EQ(std::memcmp(&key, &keyRead, sizeof(key)), 0);
    EXPECT_EQ(adjustRead.rangeAdjust.dblRangeB_S_V, 0.5) << "a set without adjustments leaves them";
    EXPECT_EQ(m_cpKeyer->KeyReset(), S_OK);
    EXPECT_EQ(m_cpKeyer->KeyRawGet(&keyRead, nullptr), S_OK);
    EXPECT_EQ(keyRead.nKeysUsed, 0);
    EXPECT_EQ(keyRead.nMaxTransparent, 255);
}

} // namespace
