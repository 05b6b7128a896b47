#pragma once

#include "Interfaces/ZPlatform.h"

/// An interface of ours whose IDispatch methods have no type library behind them: they answer E_NOTIMPL.
template <class I> class CZLateBinding : public I
{
public:
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* _pnInfos) override
    {
        if (!_pnInfos)
            return E_POINTER;
        *_pnInfos = 0;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** _ppInfo) override
    {
        if (!_ppInfo)
            return E_POINTER;
        *_ppInfo = nullptr;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        return E_NOTIMPL;
    }
};

template <class I> struct CZIidOf<CZLateBinding<I>> : CZIidOf<I>
{
};
