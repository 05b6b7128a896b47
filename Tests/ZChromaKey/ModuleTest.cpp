#include "Base/ZPtr.h"
#include "Interfaces/IZFProcess.h"
#include "Interfaces/IZPlugin.h"
#include "Interfaces/ZGuids.h"
#include "zkhost/Platform.h"

#include <gtest/gtest.h>

namespace
{

TEST(Module, MakesObjectsAndKnowsWhenItCanGo)
{
    std::string strReason;
    void* const pModule = Platform_LoadLibrary(ZCK_MODULE, strReason);
    ASSERT_TRUE(pModule) << strReason;
    const auto pfnGetClassObject = reinterpret_cast<ZDLLGETCLASSOBJECT>(Platform_Symbol(pModule, "DllGetClassObject"));
    const auto pfnCanUnloadNow = reinterpret_cast<ZDLLCANUNLOADNOW>(Platform_Symbol(pModule, "DllCanUnloadNow"));
    ASSERT_TRUE(pfnGetClassObject && pfnCanUnloadNow);
    EXPECT_EQ(pfnCanUnloadNow(), S_OK);
    CZPtr<IClassFactory> cpFactory;
    ASSERT_EQ(pfnGetClassObject(CLSID_ZChromaKey, CZIidOf<IClassFactory>::Value, cpFactory.PutVoid()), S_OK);
    EXPECT_EQ(pfnCanUnloadNow(), S_FALSE);
    CZPtr<IZPlugin> cpPlugin;
    ASSERT_EQ(cpFactory->CreateInstance(nullptr, IID_IZPlugin, cpPlugin.PutVoid()), S_OK);
    cpFactory.Reset();
    EXPECT_EQ(pfnCanUnloadNow(), S_FALSE);
    EXPECT_TRUE(ZQuery<IZFProcess>(cpPlugin));
    cpPlugin.Reset();
    EXPECT_EQ(pfnCanUnloadNow(), S_OK);
    EXPECT_EQ(pfnGetClassObject(CLSID_ZChromaKey2, CZIidOf<IClassFactory>::Value, cpFactory.PutVoid()),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(pfnGetClassObject(CLSID_ZChromaKey, CZIidOf<IClassFactory>::Value, nullptr), E_POINTER);
}

} // namespace
