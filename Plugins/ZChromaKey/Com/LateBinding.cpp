#include "ZChromaKey/Com/LateBinding.h"

#include "Base/ZPtr.h"
#include "Interfaces/IZFPersist.h"
#include "Interfaces/IZKeys.h"
#include "Interfaces/IZPlugin.h"
#include "Interfaces/IZProps.h"
#include "Interfaces/IZScript.h"
#include "Interfaces/IZSteps.h"
#include "ZChromaKey/Com/ComModule.h"

#include <vector>

namespace
{

/// One interface whose members can be called by name.
struct BOUND_INTERFACE
{
    IID iid;
    CZPtr<ITypeInfo> cpInfo;
};

/// Says that failures of an object are described. It is part of the object and lives as long.
class CErrorSupport final : public ISupportErrorInfo
{
public:
    explicit CErrorSupport(IUnknown* _pObject)
        : m_pObject(_pObject)
    {
    }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID _iid, void** _ppvObject) override
    {
        return m_pObject->QueryInterface(_iid, _ppvObject);
    }
    ULONG STDMETHODCALLTYPE AddRef() override
    {
        return m_pObject->AddRef();
    }
    ULONG STDMETHODCALLTYPE Release() override
    {
        return m_pObject->Release();
    }
    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID _iid) override
    {
        CZPtr<IUnknown> cpPart;
        return SUCCEEDED(m_pObject->QueryInterface(_iid, cpPart.PutVoid())) ? S_OK : S_FALSE;
    }

private:
    IUnknown* m_pObject;
};

/// Late binding over the type library that lies in the module's resources.
class CLateBinderTypeLib final : public CLateBinder
{
public:
    CLateBinderTypeLib(IUnknown* _pObject, REFIID _iidFirst)
        : m_pObject(_pObject)
        , m_iidFirst(_iidFirst)
        , m_errorSupport(_pObject)
    {
    }

    HRESULT TypeInfoCount(UINT* _pnInfos) override
    {
        if (!_pnInfos)
            return E_POINTER;
        *_pnInfos = Interfaces().empty() ? 0 : 1;
        return S_OK;
    }
    HRESULT TypeInfo(UINT _nInfo, LCID, ITypeInfo** _ppInfo) override
    {
        if (!_ppInfo)
            return E_POINTER;
        *_ppInfo = nullptr;
        if (_nInfo != 0 || Interfaces().empty())
            return DISP_E_BADINDEX;
        *_ppInfo = CZPtr<ITypeInfo>(Interfaces().front().cpInfo).Detach();
        return S_OK;
    }
    HRESULT IDsOfNames(REFIID _iid, LPOLESTR* _pwszNames, UINT _nNames, LCID, DISPID* _pIDs) override;
    HRESULT Invoke(DISPID _nID, REFIID _iid, WORD _nFlags, DISPPARAMS* _pParams, VARIANT* _pResult,
                   EXCEPINFO* _pException, UINT* _pnArgError) override;
    HRESULT Query(REFIID _iid, void** _ppvObject) override;

private:
    const std::vector<BOUND_INTERFACE>& Interfaces();
    void InterfacesLoad();

    IUnknown* m_pObject;
    IID m_iidFirst;
    CErrorSupport m_errorSupport;
    std::once_flag m_flagLoaded;
    std::vector<BOUND_INTERFACE> m_vecInterfaces; // member numbers differ between them
    std::once_flag m_flagMarshaler;
    CZPtr<IUnknown> m_cpMarshaler; // aggregated: what it is asked for is asked of the object
};

const std::vector<BOUND_INTERFACE>& CLateBinderTypeLib::Interfaces()
{
    std::call_once(m_flagLoaded, [this] { InterfacesLoad(); });
    return m_vecInterfaces;
}

void CLateBinderTypeLib::InterfacesLoad()
{
    CZPtr<ITypeLib> cpLib;
    const HRESULT hr = LoadTypeLibEx(ComModule_Path().c_str(), REGKIND_NONE, cpLib.Put());
    if (FAILED(hr))
    {
        ZLog(eZLog_Warning, "The type library of the module cannot be loaded (%08X): no late binding\n", hr);
        return;
    }
    for (const IID& iid :
         {m_iidFirst, IID_IZProps, IID_IZFPersist, IID_IZPlugin, IID_IZSteps, IID_IZScript, IID_IZKeys})
    {
        BOUND_INTERFACE bound = {iid, {}};
        CZPtr<IUnknown> cpPart;
        if (SUCCEEDED(m_pObject->QueryInterface(iid, cpPart.PutVoid())) &&
            SUCCEEDED(cpLib->GetTypeInfoOfGuid(iid, bound.cpInfo.Put())))
            m_vecInterfaces.push_back(std::move(bound));
    }
}

HRESULT CLateBinderTypeLib::IDsOfNames(REFIID _iid, LPOLESTR* _pwszNames, UINT _nNames, LCID, DISPID* _pIDs)
{
    if (!_pwszNames || !_pIDs || _nNames == 0)
        return E_INVALIDARG;
    if (_iid != IID_NULL)
        return DISP_E_UNKNOWNINTERFACE;
    HRESULT hrFirst = DISP_E_UNKNOWNNAME;
    for (const BOUND_INTERFACE& bound : Interfaces())
    {
        const HRESULT hr = DispGetIDsOfNames(bound.cpInfo.Get(), _pwszNames, _nNames, _pIDs);
        if (SUCCEEDED(hr) || _pIDs[0] != DISPID_UNKNOWN) // the member is known; its arguments may not be
            return hr;
        if (&bound == &Interfaces().front())
            hrFirst = hr;
    }
    return hrFirst;
}

/// The arguments of a call, borrowed; a script's null, which no type of ours can be, is one that is left out.
std::vector<VARIANT> WithoutNulls(const DISPPARAMS& _params)
{
    std::vector<VARIANT> vecArgs(_params.rgvarg, _params.rgvarg + _params.cArgs);
    for (VARIANT& varArg : vecArgs)
        if (varArg.vt == VT_NULL)
        {
            varArg.vt = VT_ERROR;
            varArg.scode = DISP_E_PARAMNOTFOUND;
        }
    return vecArgs;
}

HRESULT CLateBinderTypeLib::Invoke(DISPID _nID, REFIID _iid, WORD _nFlags, DISPPARAMS* _pParams, VARIANT* _pResult,
                                   EXCEPINFO* _pException, UINT* _pnArgError)
{
    if (_iid != IID_NULL)
        return DISP_E_UNKNOWNINTERFACE;
    if (!_pParams)
        return E_POINTER;
    std::vector<VARIANT> vecArgs = WithoutNulls(*_pParams);
    DISPPARAMS params = *_pParams;
    params.rgvarg = vecArgs.data();
    for (const BOUND_INTERFACE& bound : Interfaces())
    {
        CZPtr<IUnknown> cpPart;
        if (FAILED(m_pObject->QueryInterface(bound.iid, cpPart.PutVoid())))
            continue;
        const HRESULT hr =
            DispInvoke(cpPart.Get(), bound.cpInfo.Get(), _nID, _nFlags, &params, _pResult, _pException, _pnArgError);
        if (hr != DISP_E_MEMBERNOTFOUND)
            return hr;
    }
    return DISP_E_MEMBERNOTFOUND;
}

HRESULT CLateBinderTypeLib::Query(REFIID _iid, void** _ppvObject)
{
    if (_iid == IID_ISupportErrorInfo)
    {
        *_ppvObject = CZPtr<ISupportErrorInfo>(&m_errorSupport).Detach();
        return S_OK;
    }
    if (_iid == IID_IAgileObject)
        return m_pObject->QueryInterface(IID_IUnknown, _ppvObject);
    if (_iid != IID_IMarshal)
        return E_NOINTERFACE;
    std::call_once(m_flagMarshaler, [this] {
        CZPtr<IUnknown> cpIdentity;
        if (SUCCEEDED(m_pObject->QueryInterface(IID_IUnknown, cpIdentity.PutVoid())))
            (void)CoCreateFreeThreadedMarshaler(cpIdentity.Get(), m_cpMarshaler.Put());
    });
    return m_cpMarshaler ? m_cpMarshaler->QueryInterface(_iid, _ppvObject) : E_NOINTERFACE;
}

} // namespace

std::unique_ptr<CLateBinder> LateBinder_Create(IUnknown* _pObject, REFIID _iidFirst)
{
    return std::make_unique<CLateBinderTypeLib>(_pObject, _iidFirst);
}
