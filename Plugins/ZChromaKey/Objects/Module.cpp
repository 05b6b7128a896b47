#include "ZChromaKey/Objects/Module.h"

#include "Base/ZBorder.h"
#include "Base/ZPtr.h"
#include "Base/ZUnknown.h"
#include "ZChromaKey/Objects/ClassTable.h"

namespace
{

std::atomic<LONG> s_nServerLocks{0}; // each also counts as a reference

/// Takes one of the locks away; false where there is none.
bool ServerUnlock()
{
    LONG nLocks = s_nServerLocks;
    while (nLocks > 0 && !s_nServerLocks.compare_exchange_weak(nLocks, nLocks - 1))
    {
    }
    return nLocks > 0;
}

class CZClassFactory final : public CZUnknown<IClassFactory>
{
public:
    explicit CZClassFactory(const MODULE_CLASS& _class)
        : m_class(_class)
    {
    }

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* _pOuter, REFIID _iid, void** _ppvObject) override
    {
        if (!_ppvObject)
            return E_POINTER;
        *_ppvObject = nullptr;
        if (_pOuter)
            return CLASS_E_NOAGGREGATION;
        return ZBorder("CZClassFactory::CreateInstance", [&] { return m_class.pfnCreate(_iid, _ppvObject); });
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL _bLock) override
    {
        if (_bLock)
        {
            ZModule_AddRef();
            ++s_nServerLocks;
            return S_OK;
        }
        if (!ServerUnlock()) // the count also holds objects, which must not lose their module
        {
            ZLog(eZLog_Warning, "CZClassFactory::LockServer(FALSE): the module is not locked; unlock once per lock\n");
            return S_FALSE;
        }
        ZModule_Release();
        return S_OK;
    }

private:
    ~CZClassFactory() override = default;

    const MODULE_CLASS& m_class;
    CZModuleRef m_refModule;
};

} // namespace

HRESULT ZModule_GetClassObject(REFCLSID _clsid, REFIID _iid, void** _ppvFactory)
{
    if (!_ppvFactory)
        return E_POINTER;
    *_ppvFactory = nullptr;
    return ZBorder("DllGetClassObject", [&]() -> HRESULT {
        for (const MODULE_CLASS& row : ClassTable())
        {
            if (row.clsid == _clsid)
            {
                const auto cpFactory = CZPtr<IClassFactory>::Adopt(new CZClassFactory(row));
                return cpFactory->QueryInterface(_iid, _ppvFactory);
            }
        }
        return CLASS_E_CLASSNOTAVAILABLE;
    });
}
