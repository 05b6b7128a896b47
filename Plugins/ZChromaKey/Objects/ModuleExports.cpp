#include "ZChromaKey/Objects/Module.h"

// How the module is entered. The linker is told which names leave the module; nothing else does.

extern "C" HRESULT STDMETHODCALLTYPE DllGetClassObject(REFCLSID _clsid, REFIID _iid, void** _ppvFactory)
{
    return ZModule_GetClassObject(_clsid, _iid, _ppvFactory);
}

extern "C" HRESULT STDMETHODCALLTYPE DllCanUnloadNow()
{
    return ZModule_IsIdle() ? S_OK : S_FALSE;
}
