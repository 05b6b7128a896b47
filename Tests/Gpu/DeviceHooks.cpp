#include "Gpu/DeviceHooks.h"

#include "Support/LogCatcher.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

CCallFaults* g_pFaults = nullptr; // the one whose compiler is in place

void Slot_Write(void** _ppfnSlot, void* _pfn)
{
    DWORD nProtection = 0;
    auto* const pSlot = static_cast<void*>(_ppfnSlot);
    VirtualProtect(pSlot, sizeof(void*), PAGE_READWRITE, &nProtection);
    *_ppfnSlot = _pfn;
    VirtualProtect(pSlot, sizeof(void*), nProtection, &nProtection);
}

/// What a failing call leaves in its out-pointer, which is its last argument.
template <class T> void Out_Clear(T** _ppObject)
{
    if (_ppObject)
        *_ppObject = nullptr;
}
void Out_Clear(D3D11_MAPPED_SUBRESOURCE* _pMapped)
{
    *_pMapped = {};
}
template <class T, class... Rest> void Out_Clear(T, Rest... _rest) requires(sizeof...(Rest) > 0)
{
    Out_Clear(_rest...);
}

} // namespace

CSlotPatch::CSlotPatch(void* _pObject, size_t _nSlot, void* _pfnNew)
    : m_ppfnSlot(*static_cast<void***>(_pObject) + _nSlot)
    , m_pfnOriginal(*m_ppfnSlot)
{
    Slot_Write(m_ppfnSlot, _pfnNew);
}

CSlotPatch::~CSlotPatch()
{
    Slot_Write(m_ppfnSlot, m_pfnOriginal);
}

template <class Hook, class I> void CCallFaults::Add(I* _pObject, const char* _pszMethod)
{
    m_vecHooks.push_back(
        std::make_shared<Hook>(_pObject, [this, _pszMethod](auto _pfnOriginal, auto* _pThis, auto... _args) -> HRESULT {
            const HRESULT hr = Call(_pszMethod);
            if (SUCCEEDED(hr))
                return _pfnOriginal(_pThis, _args...);
            Out_Clear(_args...);
            return hr;
        }));
}

CCallFaults::CCallFaults(ID3D11Device* _pDevice)
    : m_functions(DX_Functions())
    , m_pfnCompile(m_functions.pfnD3DCompile)
{
    Add<HOOK_CREATEBUFFER>(_pDevice, "CreateBuffer");
    Add<HOOK_CREATETEXTURE2D>(_pDevice, "CreateTexture2D");
    Add<HOOK_CREATESRV>(_pDevice, "CreateShaderResourceView");
    Add<HOOK_CREATERTV>(_pDevice, "CreateRenderTargetView");
    Add<HOOK_CREATEINPUTLAYOUT>(_pDevice, "CreateInputLayout");
    Add<HOOK_CREATEVERTEXSHADER>(_pDevice, "CreateVertexShader");
    Add<HOOK_CREATEPIXELSHADER>(_pDevice, "CreatePixelShader");
    Add<HOOK_CREATESAMPLER>(_pDevice, "CreateSamplerState");
    Add<HOOK_CREATEQUERY>(_pDevice, "CreateQuery");
    Add<HOOK_MAP>(DX_ContextOf(_pDevice).Get(), "Map");
    m_functions.pfnD3DCompile = &Compile;
    g_pFaults = this;
    DX_FunctionsSet(&m_functions);
}

CCallFaults::~CCallFaults()
{
    DX_FunctionsSet(nullptr);
    g_pFaults = nullptr;
}

void CCallFaults::FailAt(int _nCall, HRESULT _hr)
{
    m_vecCalls.clear();
    m_strFailed.clear();
    m_nFailAt = _nCall;
    m_hrFail = _hr;
}

int CCallFaults::Count(const std::string& _strMethod) const
{
    return static_cast<int>(std::count(m_vecCalls.begin(), m_vecCalls.end(), _strMethod));
}

bool CCallFaults::Try(int _nCall, HRESULT _hr, const std::function<HRESULT()>& _fnWork, const std::string& _strError)
{
    const CLogCatcher log;
    FailAt(_nCall, _hr);
    const HRESULT hr = _fnWork();
    const std::string strFailed = m_strFailed;
    FailAt(0, S_OK);
    if (strFailed.empty())
    {
        EXPECT_EQ(hr, S_OK);
        return false;
    }
    EXPECT_EQ(hr, strFailed == "CreateQuery" ? E_OUTOFMEMORY : _hr) << strFailed << ", call " << _nCall;
    EXPECT_GE(log.Count(_strError, eZLog_Error), 1u) << strFailed << ", call " << _nCall;
    EXPECT_TRUE(_strError.empty() || log.Count(_strError, eZLog_Error) == 1);
    return true;
}

HRESULT CCallFaults::Call(const char* _pszMethod)
{
    m_vecCalls.emplace_back(_pszMethod);
    if (m_nFailAt == 0 || static_cast<int>(m_vecCalls.size()) != m_nFailAt)
        return S_OK;
    m_strFailed = _pszMethod;
    return m_hrFail;
}

HRESULT WINAPI CCallFaults::Compile(LPCVOID _pText, SIZE_T _cbText, LPCSTR _pszName, const D3D_SHADER_MACRO* _pMacros,
                                    ID3DInclude* _pInclude, LPCSTR _pszEntry, LPCSTR _pszTarget, UINT _nFlags1,
                                    UINT _nFlags2, ID3DBlob** _ppCode, ID3DBlob** _ppErrors)
{
    const HRESULT hr = g_pFaults->Call("D3DCompile");
    return FAILED(hr) ? hr
                      : g_pFaults->m_pfnCompile(_pText, _cbText, _pszName, _pMacros, _pInclude, _pszEntry, _pszTarget,
                                                _nFlags1, _nFlags2, _ppCode, _ppErrors);
}
