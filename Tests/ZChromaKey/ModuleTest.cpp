#include "Base/ZPtr.h"
#include "Interfaces/IZFProcess.h"
#include "Interfaces/IZPlugin.h"
#include "Interfaces/ZGuids.h"

#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace
{

/// An export of the module file, which stays loaded.
template <class Function> Function Export(const char* _pszName)
{
#if defined(_WIN32)
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(LoadLibraryA(ZCK_MODULE), _pszName)));
#else
    void* const pModule = dlopen(ZCK_MODULE, RTLD_NOW | RTLD_LOCAL);
    EXPECT_NE(pModule, nullptr) << dlerror();
    return reinterpret_cast<Function>(dlsym(pModule, _pszName));
#endif
}

TEST(Module, MakesObjectsAndKnowsWhenItCanGo)
{
    const auto pfnGetClassObject = Export<ZDLLGETCLASSOBJECT>("DllGetClassObject");
    const auto pfnCanUnloadNow = Export<ZDLLCANUNLOADNOW>("DllCanUnloadNow");
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
