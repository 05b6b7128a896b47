#pragma once

#include "DirectX/Device/DXBase.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Stands in for methods of real Direct3D objects, by changing their method tables in this process: every object of
/// the class is concerned, and whatever a texture answers about its device stays true. One hook a method at a time.

/// Puts another function into a slot of an object's method table while it lives.
class CSlotPatch
{
public:
    CSlotPatch(void* _pObject, size_t _nSlot, void* _pfnNew);
    ~CSlotPatch();
    CSlotPatch(const CSlotPatch&) = delete;
    CSlotPatch& operator=(const CSlotPatch&) = delete;
    void* Original() const
    {
        return m_pfnOriginal;
    }

private:
    void** m_ppfnSlot;
    void* m_pfnOriginal;
};

/// Slots are counted from IUnknown's first method, in the order of the platform's headers.
template <auto Method, size_t c_nSlot> class CMethodHook;
template <class I, class R, class... Args, R (STDMETHODCALLTYPE I::*Method)(Args...), size_t c_nSlot>
class CMethodHook<Method, c_nSlot>
{
public:
    using FN = R(STDMETHODCALLTYPE*)(I*, Args...);
    /// What runs instead: gets the original, the object and the arguments.
    using HOOK = std::function<R(FN, I*, Args...)>;

    CMethodHook(I* _pObject, HOOK _fnHook)
        : m_patch(_pObject, c_nSlot, reinterpret_cast<void*>(&Thunk))
    {
        s_fnHook = std::move(_fnHook);
        s_pfnOriginal = reinterpret_cast<FN>(m_patch.Original());
    }

private:
    static R STDMETHODCALLTYPE Thunk(I* _pThis, Args... _args)
    {
        return s_fnHook(s_pfnOriginal, _pThis, _args...);
    }
    static inline HOOK s_fnHook;
    static inline FN s_pfnOriginal;
    CSlotPatch m_patch;
};

using HOOK_CREATEBUFFER = CMethodHook<&ID3D11Device::CreateBuffer, 3>;
using HOOK_CREATETEXTURE2D = CMethodHook<&ID3D11Device::CreateTexture2D, 5>;
using HOOK_CREATESRV = CMethodHook<&ID3D11Device::CreateShaderResourceView, 7>;
using HOOK_CREATERTV = CMethodHook<&ID3D11Device::CreateRenderTargetView, 9>;
using HOOK_CREATEINPUTLAYOUT = CMethodHook<&ID3D11Device::CreateInputLayout, 11>;
using HOOK_CREATEVERTEXSHADER = CMethodHook<&ID3D11Device::CreateVertexShader, 12>;
using HOOK_CREATEPIXELSHADER = CMethodHook<&ID3D11Device::CreatePixelShader, 15>;
using HOOK_CREATESAMPLER = CMethodHook<&ID3D11Device::CreateSamplerState, 23>;
using HOOK_CREATEQUERY = CMethodHook<&ID3D11Device::CreateQuery, 24>;
using HOOK_OPENSHARED = CMethodHook<&ID3D11Device::OpenSharedResource, 28>;
using HOOK_SETINTERFACE = CMethodHook<&ID3D11Device::SetPrivateDataInterface, 36>;
using HOOK_REMOVEDREASON = CMethodHook<&ID3D11Device::GetDeviceRemovedReason, 39>;
using HOOK_DRAW = CMethodHook<&ID3D11DeviceContext::Draw, 13>;
using HOOK_MAP = CMethodHook<&ID3D11DeviceContext::Map, 14>;
using HOOK_COPY = CMethodHook<&ID3D11DeviceContext::CopyResource, 47>;
using HOOK_UPDATE = CMethodHook<&ID3D11DeviceContext::UpdateSubresource, 48>;
using HOOK_GETDATA = CMethodHook<&ID3D11DeviceContext::GetData, 29>;
using HOOK_ENTER = CMethodHook<&ID3D10Multithread::Enter, 3>;
using HOOK_LEAVE = CMethodHook<&ID3D10Multithread::Leave, 4>;
using HOOK_ADAPTERDESC = CMethodHook<&IDXGIAdapter::GetDesc, 8>;
using HOOK_ADAPTERDESC1 = CMethodHook<&IDXGIAdapter1::GetDesc1, 10>;
using HOOK_QUERY =
    CMethodHook<static_cast<HRESULT (STDMETHODCALLTYPE IUnknown::*)(REFIID, void**)>(&IUnknown::QueryInterface), 0>;
using HOOK_TEXTUREDESC = CMethodHook<&ID3D11Texture2D::GetDesc, 10>;
using HOOK_OPENSHARED1 = CMethodHook<&ID3D11Device1::OpenSharedResource1, 48>;
using HOOK_CREATEHANDLE = CMethodHook<&IDXGIResource1::CreateSharedHandle, 13>;
using HOOK_SHAREDHANDLE = CMethodHook<&IDXGIResource::GetSharedHandle, 8>;

/// Counts the calls that create or map something, compiling included, and makes one of them fail.
class CCallFaults
{
public:
    explicit CCallFaults(ID3D11Device* _pDevice);
    ~CCallFaults();

    /// The n-th call from now on fails, counted from 1; 0: none.
    void FailAt(int _nCall, HRESULT _hr);
    /// Calls of one method since the last FailAt.
    int Count(const std::string& _strMethod) const;

    /// Makes the n-th call of a piece of work fail, and checks what the work answers, which is the failure's own code
    /// (for a query, that memory is short), and that it logs an error: the given one once. Nothing fails afterwards.
    /// False when the work came to its end before that call.
    bool Try(int _nCall, HRESULT _hr, const std::function<HRESULT()>& _fnWork, const std::string& _strError = "");

private:
    /// Notes a call; the failure when it is the one.
    HRESULT Call(const char* _pszMethod);
    template <class Hook, class I> void Add(I* _pObject, const char* _pszMethod);
    static HRESULT WINAPI Compile(LPCVOID, SIZE_T, LPCSTR, const D3D_SHADER_MACRO*, ID3DInclude*, LPCSTR, LPCSTR, UINT,
                                  UINT, ID3DBlob**, ID3DBlob**);

    std::vector<std::shared_ptr<void>> m_vecHooks;
    std::vector<std::string> m_vecCalls;
    std::string m_strFailed;
    int m_nFailAt = 0;
    HRESULT m_hrFail = S_OK;
    DX_FUNCTIONS m_functions;
    decltype(DX_FUNCTIONS::pfnD3DCompile) m_pfnCompile; // the real one
};

/// What adapters say of themselves, while it lives: the description of every adapter asked is changed.
inline HOOK_ADAPTERDESC AdapterHook(ID3D11Device* _pDevice,
                                    std::function<void(IDXGIAdapter*, DXGI_ADAPTER_DESC*)> _fnChange)
{
    return HOOK_ADAPTERDESC(
        DX_AdapterGet(_pDevice).Get(),
        [_fnChange = std::move(_fnChange)](auto _pfnOriginal, IDXGIAdapter* _pThis, DXGI_ADAPTER_DESC* _pDesc) {
            const HRESULT hr = _pfnOriginal(_pThis, _pDesc);
            _fnChange(_pThis, _pDesc);
            return hr;
        });
}
