// Shaders of the device wrapper: compiling, creating, keeping.

#include "DirectX/Device/DXDevice.h"

#include "Base/ZAssert.h"
#include "Base/ZLog.h"
#include "DirectX/Device/DXHelpers.h"
#include "DirectX/Device/DXKept.h"

#include <atomic>
#include <cstring>
#include <functional>

namespace
{

const char* Target_Suffix(D3D_FEATURE_LEVEL _eLevel)
{
    switch (_eLevel)
    {
    case D3D_FEATURE_LEVEL_10_0:
        return "4_0";
    case D3D_FEATURE_LEVEL_10_1:
        return "4_1";
    default:
        // Devices of a level above all that are known here run what is made for those below. The names of 9_x are
        // others for vertex and pixel shaders.
        return _eLevel >= D3D_FEATURE_LEVEL_11_0 ? "5_0" : "2_0";
    }
}

std::string_view Blob_Text(ID3DBlob* _pBlob)
{
    if (!_pBlob || !_pBlob->GetBufferPointer())
        return {};
    const auto* const pszText = static_cast<const char*>(_pBlob->GetBufferPointer());
    return {pszText, strnlen(pszText, _pBlob->GetBufferSize())};
}

/// True when the text is not the one that failed before.
bool IsNewFailure(std::string_view _svText)
{
    static std::atomic<size_t> s_nLast; // a hash says enough here
    const size_t nText = std::hash<std::string_view>()(_svText);
    return s_nLast.exchange(nText) != nText;
}

HRESULT PixelShader_FromCode(ID3D11Device* _pDevice, ID3DBlob* _pCode, const char* _pszOperation,
                             ID3D11PixelShader** _ppPixelShader)
{
    const HRESULT hr =
        _pDevice->CreatePixelShader(_pCode->GetBufferPointer(), _pCode->GetBufferSize(), nullptr, _ppPixelShader);
    if (FAILED(hr))
        ZLog(eZLog_Error, "%hs: Unable to create pixel shader! Error code %#X!\n", _pszOperation, hr);
    return hr;
}

HRESULT PixelShader_Make(ID3D11Device* _pDevice, const char* _pszShaderCode, const char* _pszOperation,
                         ID3D11PixelShader** _ppPixelShader)
{
    CZPtr<ID3DBlob> cpCode;
    const HRESULT hr =
        DX11Device::Shader_Compile(_pszShaderCode, eDXS_Pixel, _pDevice->GetFeatureLevel(), cpCode.Put());
    if (FAILED(hr))
    {
        ZLog(eZLog_Error, "%hs: Failed to compile pixel shader\n", _pszOperation);
        return hr;
    }
    return PixelShader_FromCode(_pDevice, cpCode.Get(), _pszOperation, _ppPixelShader);
}

} // namespace

HRESULT DX11Device::Shader_Compile(const char* _pszShaderCode, eDX_Shader _eType, D3D_FEATURE_LEVEL _eLevel,
                                   ID3DBlob** _ppCode)
{
    if (!_ppCode)
        return E_POINTER;
    *_ppCode = nullptr;
    if (!Z_VERIFY_TEXT(_pszShaderCode && _pszShaderCode[0], "!( !(_pszShaderCode) || !(_pszShaderCode)[0] )"))
        return E_INVALIDARG;
    const char* const pszEntry = _eType == eDXS_Pixel     ? "PS"
                                 : _eType == eDXS_Vertex  ? "VS"
                                 : _eType == eDXS_Compute ? "CS_Main"
                                                          : nullptr;
    if (!pszEntry)
    {
        ZLog(eZLog_Error, "DX11Device::Shader_Compile: Unknown shader type!\n");
        return E_NOTIMPL;
    }
    if (!DX_Functions().pfnD3DCompile)
        return HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND);
    char arrTarget[] = "?s_0_0";
    arrTarget[0] = _eType == eDXS_Pixel ? 'p' : _eType == eDXS_Vertex ? 'v' : 'c';
    std::memcpy(arrTarget + 3, Target_Suffix(_eLevel), 3);

    CZPtr<ID3DBlob> cpCode;
    CZPtr<ID3DBlob> cpErrors;
    HRESULT hr = DX_Functions().pfnD3DCompile(_pszShaderCode, std::strlen(_pszShaderCode), nullptr, nullptr, nullptr,
                                              pszEntry, arrTarget, 0, 0, cpCode.Put(), cpErrors.Put());
    if (SUCCEEDED(hr) && cpCode)
    {
        *_ppCode = cpCode.Detach();
        return S_OK;
    }
    if (cpErrors)
    {
        ZLog(eZLog_Error,
             "DX11Device::Shader_Compile: Failed to compile shader %hs VER. %hs with error: %hs\ncode:%hs\n", pszEntry,
             arrTarget, Blob_Text(cpErrors.Get()),
             IsNewFailure(_pszShaderCode) ? _pszShaderCode : "the same as before");
        Z_VERIFY_TEXT(false, "!\"Shader not compiled!\"");
    }
    else
        ZLog(eZLog_Error, "DX11Device::Shader_Compile: Failed to compile shader %hs VER. %hs\n", pszEntry, arrTarget);
    return FAILED(hr) ? hr : E_UNEXPECTED;
}

HRESULT DX11Device::PixelShader_Create(const char* _pszShaderCode, ID3D11PixelShader** _ppPixelShader)
{
    if (!_ppPixelShader)
        return E_POINTER;
    *_ppPixelShader = nullptr;
    if (!Z_VERIFY(m_cpDevice))
        return E_UNEXPECTED;
    return PixelShader_Make(m_cpDevice.Get(), _pszShaderCode, "DX11Device::PixelShader_Create", _ppPixelShader);
}

HRESULT DX11Device::PixelShader_Create(ID3DBlob* _pCode, ID3D11PixelShader** _ppPixelShader)
{
    if (!_pCode || !_ppPixelShader)
        return E_POINTER;
    *_ppPixelShader = nullptr;
    if (!Z_VERIFY(m_cpDevice))
        return E_UNEXPECTED;
    return PixelShader_FromCode(m_cpDevice.Get(), _pCode, "DX11Device::PixelShader_Create", _ppPixelShader);
}

HRESULT DX11Device::PixelShader_Get(ID3D11Device* _pDevice, const char* _pszShaderCode, uint32_t _nTag,
                                    ID3D11PixelShader** _ppPixelShader)
{
    if (!_ppPixelShader)
        return E_POINTER;
    *_ppPixelShader = nullptr;
    if (!Z_VERIFY(_pDevice && _pszShaderCode && _pszShaderCode[0]))
        return E_INVALIDARG;
    // Tag and the whole text: shaders may differ at their end only.
    const GUID id = DX_DataId(std::to_string(_nTag), _pszShaderCode);
    if (DX_DataGet(_pDevice, id, IID_ID3D11PixelShader, reinterpret_cast<void**>(_ppPixelShader)) == S_OK)
        return S_OK;
    const HRESULT hr = PixelShader_Make(_pDevice, _pszShaderCode, "DX11Device::PixelShader_Get", _ppPixelShader);
    return FAILED(hr) ? hr : (DX_KeptAdd(_pDevice, id, *_ppPixelShader), S_OK);
}
