#include "ZChromaKey/Com/LateBinding.h"

namespace
{

/// Late binding where the system has none.
class CLateBinderNone final : public CLateBinder
{
public:
    HRESULT TypeInfoCount(UINT* _pnInfos) override
    {
        if (!_pnInfos)
            return E_POINTER;
        *_pnInfos = 0;
        return E_NOTIMPL;
    }
    HRESULT TypeInfo(UINT, LCID, ITypeInfo** _ppInfo) override
    {
        if (!_ppInfo)
            return E_POINTER;
        *_ppInfo = nullptr;
        return E_NOTIMPL;
    }
    HRESULT IDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override
    {
        return E_NOTIMPL;
    }
    HRESULT Invoke(DISPID, REFIID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        return E_NOTIMPL;
    }
    HRESULT Query(REFIID, void**) override
    {
        return E_NOINTERFACE;
    }
};

} // namespace

std::unique_ptr<CLateBinder> LateBinder_Create(IUnknown*, REFIID)
{
    return std::make_unique<CLateBinderNone>();
}
