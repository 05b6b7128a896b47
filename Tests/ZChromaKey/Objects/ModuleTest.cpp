#include "Base/ZPtr.h"
#include "Interfaces/IZChromaKey.h"
#include "Interfaces/IZFPersist.h"
#include "Interfaces/IZFProcess.h"
#include "Interfaces/IZPlugin.h"
#include "Interfaces/IZProps.h"
#include "Interfaces/ZGuids.h"
#include "Kit/Platform.h"

#include <gtest/gtest.h>

namespace
{

TEST(Module, MakesOneObjectWithAllItsInterfacesAndKnowsWhenItCanGo)
{
    std::string strReason;
    void* const pModule = Platform_LoadLibrary(ZCK_MODULE, strReason);
    ASSERT_TRUE(pModule) << strReason;
    const auto pfnGetClassObject = reinterpret_cast<ZDLLGETCLASSOBJECT>(Platform_Symbol(pModule, "DllGetClassObject"));
    const auto pfnCanUnloadNow = reinterpret_cast<ZDLLCANUNLOADNOW>(Platform_Symbol(pModule, "DllCanUnloadNow"));
    ASSERT_TRUE(pfnGetClassObject && pfnCanUnloadNow);
    EXPECT_EQ(pfnCanUnloadNow(), S_OK);
    CZPtr<IClassFactory> cpFactory;
    const auto fnFactory = [&] {
        ASSERT_EQ(pfnGetClassObject(CLSID_ZChromaKey, IID_IClassFactory, cpFactory.PutVoid()), S_OK);
        EXPECT_EQ(pfnCanUnloadNow(), S_FALSE);
    };
    fnFactory();
    CZPtr<IZPlugin> cpPlugin;
    ASSERT_EQ(cpFactory->CreateInstance(nullptr, IID_IZPlugin, cpPlugin.PutVoid()), S_OK);
    const GUID arrInterfaces[] = {IID_IUnknown, IID_IDispatch, IID_IZChromaKey, IID_IZFProcess,
                                  IID_IZProps,  IID_IZPlugin,  IID_IZFPersist};
    for (const GUID& iid : arrInterfaces)
        for (const GUID& iidNext : arrInterfaces)
        {
            CZPtr<IUnknown> cpOne;
            CZPtr<IUnknown> cpNext;
            ASSERT_EQ(cpPlugin->QueryInterface(iid, cpOne.PutVoid()), S_OK);
            ASSERT_EQ(cpOne->QueryInterface(iidNext, cpNext.PutVoid()), S_OK);
            EXPECT_EQ(ZQuery<IUnknown>(cpNext).Get(), ZQuery<IUnknown>(cpPlugin).Get()) << "one object";
        }
    for (const CLSID& clsid : {CLSID_ZKey, CLSID_ZChromaKey2, CLSID_ZKey2})
    {
        CZPtr<IClassFactory> cpOther;
        CZPtr<IDispatch> cpObject;
        ASSERT_EQ(pfnGetClassObject(clsid, IID_IClassFactory, cpOther.PutVoid()), S_OK);
        EXPECT_EQ(cpOther->CreateInstance(nullptr, IID_IDispatch, cpObject.PutVoid()), S_OK);
    }
    void* pvNone = pModule;
    EXPECT_EQ(cpPlugin->QueryInterface(IID_IZFFrame, &pvNone), E_NOINTERFACE);
    EXPECT_EQ(pvNone, nullptr);
    EXPECT_EQ(cpPlugin->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(cpFactory->CreateInstance(cpPlugin.Get(), IID_IUnknown, &pvNone), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(pfnGetClassObject(LIBID_ZCHROMAKEYLib, IID_IClassFactory, &pvNone), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(pfnGetClassObject(CLSID_ZChromaKey, IID_IClassFactory, nullptr), E_POINTER);

    cpFactory.Reset();
    EXPECT_EQ(pfnCanUnloadNow(), S_FALSE) << "the object lives";
    fnFactory();
    cpFactory->LockServer(TRUE);
    cpFactory.Reset();
    cpPlugin.Reset();
    EXPECT_EQ(pfnCanUnloadNow(), S_FALSE) << "the module is locked";
    for (const HRESULT hrExpected : {S_OK, S_FALSE}) // the second time there is no lock left
    {
        fnFactory();
        EXPECT_EQ(cpFactory->LockServer(FALSE), hrExpected);
        EXPECT_EQ(pfnCanUnloadNow(), S_FALSE) << "the factory lives";
        cpFactory.Reset();
        EXPECT_EQ(pfnCanUnloadNow(), S_OK);
    }
}

} // namespace
