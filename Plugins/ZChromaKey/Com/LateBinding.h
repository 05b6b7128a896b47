#pragma once

#include "Base/ZBorder.h"
#include "Interfaces/ZPlatform.h"

#include <memory>
#include <mutex>

/// What scripts and apartments need of one object, as the system has it: late binding over the type library in the
/// module, and the free-threaded marshaler, which hands the object itself to every thread. Borrows the object. Any
/// thread may call.
class CLateBinder
{
public:
    virtual ~CLateBinder() = default;
    /// IDispatch. Besides the object's first interface, the names of IZProps, IZFPersist, IZPlugin, IZSteps,
    /// IZScript and IZKeys are known where the object has these. A script's null is an argument that is left out.
    virtual HRESULT TypeInfoCount(UINT* _pnInfos) = 0;
    virtual HRESULT TypeInfo(UINT _nInfo, LCID _lcid, ITypeInfo** _ppInfo) = 0;
    virtual HRESULT IDsOfNames(REFIID _iid, LPOLESTR* _pwszNames, UINT _nNames, LCID _lcid, DISPID* _pIDs) = 0;
    virtual HRESULT Invoke(DISPID _nID, REFIID _iid, WORD _nFlags, DISPPARAMS* _pParams, VARIANT* _pResult,
                           EXCEPINFO* _pException, UINT* _pnArgError) = 0;
    /// Interfaces that all objects of the module have; E_NOINTERFACE for others. Failures are described (IErrorInfo)
    /// by the line that the log has of them.
    virtual HRESULT Query(REFIID _iid, void** _ppvObject) = 0;
};

/// _iidFirst: the interface that late binding starts from. Off Windows every method answers E_NOTIMPL.
std::unique_ptr<CLateBinder> LateBinder_Create(IUnknown* _pObject, REFIID _iidFirst);

/// An interface of ours with its IDispatch methods. What they need is made with the first call.
template <class I> class CZLateBinding : public I
{
public:
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* _pnInfos) override
    {
        return Bound("GetTypeInfoCount", [&](CLateBinder& _binder) { return _binder.TypeInfoCount(_pnInfos); });
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT _nInfo, LCID _lcid, ITypeInfo** _ppInfo) override
    {
        return Bound("GetTypeInfo", [&](CLateBinder& _binder) { return _binder.TypeInfo(_nInfo, _lcid, _ppInfo); });
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID _iid, LPOLESTR* _pwszNames, UINT _nNames, LCID _lcid,
                                            DISPID* _pIDs) override
    {
        return Bound("GetIDsOfNames",
                     [&](CLateBinder& _binder) { return _binder.IDsOfNames(_iid, _pwszNames, _nNames, _lcid, _pIDs); });
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID _nID, REFIID _iid, LCID, WORD _nFlags, DISPPARAMS* _pParams,
                                     VARIANT* _pResult, EXCEPINFO* _pException, UINT* _pnArgError) override
    {
        return Bound("Invoke", [&](CLateBinder& _binder) {
            return _binder.Invoke(_nID, _iid, _nFlags, _pParams, _pResult, _pException, _pnArgError);
        });
    }

protected:
    /// For the object's QueryOther.
    HRESULT QueryBinder(REFIID _iid, void** _ppvObject)
    {
        return Bound("QueryInterface", [&](CLateBinder& _binder) { return _binder.Query(_iid, _ppvObject); });
    }

private:
    template <class Call> HRESULT Bound(const char* _pszOperation, Call&& _call) noexcept
    {
        return ZBorder(_pszOperation, [&] {
            std::call_once(m_flagMade, [this] { m_upBinder = LateBinder_Create(this, CZIidOf<I>::Value); });
            return _call(*m_upBinder);
        });
    }

    std::once_flag m_flagMade;
    std::unique_ptr<CLateBinder> m_upBinder;
};

template <class I> struct CZIidOf<CZLateBinding<I>> : CZIidOf<I>
{
};
