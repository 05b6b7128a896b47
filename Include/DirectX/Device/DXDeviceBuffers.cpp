// Samplers, buffers and views of the device wrapper.

#include "DirectX/Device/DXDevice.h"

#include "Base/ZAssert.h"
#include "Base/ZLog.h"
#include "DirectX/Device/DXHelpers.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <cstring>

HRESULT DX11Device::CreateSampler(ID3D11Device* _pDevice, uint32_t _nFilter, uint32_t _nAnisotropyMax,
                                  ID3D11SamplerState** _ppSamplerState)
{
    if (!Z_VERIFY(_pDevice && _ppSamplerState && !(*_ppSamplerState)))
        return E_INVALIDARG;
    D3D11_SAMPLER_DESC desc = {};
    desc.Filter = static_cast<D3D11_FILTER>(_nFilter);
    desc.AddressU = desc.AddressV = desc.AddressW = D3D11_TEXTURE_ADDRESS_CLAMP;
    desc.MaxAnisotropy = std::clamp(_nAnisotropyMax, uint32_t{1}, uint32_t{D3D11_REQ_MAXANISOTROPY});
    desc.ComparisonFunc = D3D11_COMPARISON_NEVER;
    desc.BorderColor[3] = 1;
    desc.MaxLOD = FLT_MAX;
    const HRESULT hr = _pDevice->CreateSamplerState(&desc, _ppSamplerState);
    if (FAILED(hr))
        ZLog(eZLog_Error, "DX11Device::CreateSampler: _pDevice->CreateSamplerState(Filter=%d MaxAsinitropy=%d)=%08X\n",
             _nFilter, desc.MaxAnisotropy, hr);
    return hr;
}

HRESULT DX11Device::PS_SetSampler(ID3D11Device* _pDevice, uint32_t _nFilter, uint32_t _nAnisotropyMax)
{
    CZPtr<ID3D11SamplerState> cpSamplerState;
    const HRESULT hr = CreateSampler(_pDevice, _nFilter, _nAnisotropyMax, cpSamplerState.Put());
    if (FAILED(hr))
    {
        ZLog(eZLog_Error, "DX11Device::PS_SetSampler: Sampler state is not available!\n");
        return hr;
    }
    const auto cpContext = DX_ContextOf(_pDevice);
    if (!Z_VERIFY(cpContext))
        return E_UNEXPECTED;
    ID3D11SamplerState* const pSamplerState = cpSamplerState.Get();
    cpContext->PSSetSamplers(0, 1, &pSamplerState);
    return S_OK;
}

HRESULT DX11Device::Buffer_Create(ID3D11Device* _pDevice, uint32_t _nBindFlags, const void* _pData, size_t _cbData,
                                  ID3D11Buffer** _ppBuffer)
{
    if (!_ppBuffer)
        return E_POINTER;
    *_ppBuffer = nullptr;
    if (!Z_VERIFY(_pDevice && _pData && _cbData) || !Z_VERIFY(_cbData <= UINT32_MAX))
        return E_INVALIDARG;
    std::array<std::byte, 4096> arrPadded; // filled as far as it is used
    D3D11_SUBRESOURCE_DATA data = {_pData, 0, 0};
    size_t cbBuffer = _cbData;
    if (_nBindFlags == D3D11_BIND_CONSTANT_BUFFER && _cbData % 16 != 0)
    {
        if (!Z_VERIFY_TEXT(_cbData <= arrPadded.size(), "_cbData <= ( 4096 )"))
            return E_INVALIDARG;
        cbBuffer = (_cbData + 15) / 16 * 16;
        std::memcpy(arrPadded.data(), _pData, _cbData);
        std::memset(arrPadded.data() + _cbData, 0, cbBuffer - _cbData);
        data.pSysMem = arrPadded.data();
    }
    const D3D11_BUFFER_DESC desc = {static_cast<UINT>(cbBuffer), D3D11_USAGE_DEFAULT, _nBindFlags, 0, 0, 0};
    const HRESULT hr = _pDevice->CreateBuffer(&desc, &data, _ppBuffer);
    if (FAILED(hr))
        ZLog(eZLog_Error, "DX11Device::Buffer_Create: _pDevice->CreateBuffer(%zd, %d, %d) FAILED hr=%08X\n", _cbData,
             _nBindFlags, 0, hr);
    return SUCCEEDED(hr) && !*_ppBuffer ? E_UNEXPECTED : hr;
}

HRESULT DX11Device::CreateConstantBuffer(ID3D11Device* _pDevice, const void* _pCBufData, size_t _nCBufSize,
                                         ID3D11Buffer** _ppBuffer)
{
    if (!_ppBuffer)
        return E_POINTER;
    *_ppBuffer = nullptr;
    if (!Z_VERIFY(_pCBufData && _nCBufSize))
        return E_INVALIDARG;
    const HRESULT hr = Buffer_Create(_pDevice, D3D11_BIND_CONSTANT_BUFFER, _pCBufData, _nCBufSize, _ppBuffer);
    if (FAILED(hr))
        ZLog(eZLog_Error, "DX11Device::CreateConstantBuffer: Failed to create constant buffer!\n");
    return hr;
}

HRESULT DX11Device::VertexConstants_Create(ID3D11Device* _pDevice, const void* _pData, size_t _nSize,
                                           ID3D11Buffer** _ppBuffer)
{
    if (!_ppBuffer)
        return E_POINTER;
    *_ppBuffer = nullptr;
    if (!Z_VERIFY(!(_nSize % 16)))
        return E_INVALIDARG;
    return Buffer_Create(_pDevice, D3D11_BIND_CONSTANT_BUFFER, _pData, _nSize, _ppBuffer);
}

namespace
{

/// One view; of a plane of an NV12 texture the format says which.
HRESULT View_Create(ID3D11Device* _pDevice, ID3D11Texture2D* _pTexture, DXGI_FORMAT _eFormat,
                    ID3D11ShaderResourceView** _ppShaderResource)
{
    D3D11_SHADER_RESOURCE_VIEW_DESC desc = {};
    desc.Format = _eFormat;
    desc.ViewDimension = D3D11_SRV_DIMENSION_TEXTURE2D;
    desc.Texture2D.MipLevels = static_cast<UINT>(-1); // all of them
    return _pDevice->CreateShaderResourceView(_pTexture, &desc, _ppShaderResource);
}

} // namespace

HRESULT DX11Device::Texture2SRV(ID3D11Texture2D* _pTexture, bool _bGenerateMips,
                                ID3D11ShaderResourceView** _ppShaderResource,
                                ID3D11ShaderResourceView** _ppShaderResource2)
{
    if (!_ppShaderResource)
        return E_POINTER;
    *_ppShaderResource = nullptr;
    if (_ppShaderResource2)
        *_ppShaderResource2 = nullptr;
    const auto cpD3D11Device = DX_DeviceOf(_pTexture);
    if (!Z_VERIFY(_pTexture && cpD3D11Device))
        return E_INVALIDARG;
    D3D11_TEXTURE2D_DESC tDesc = {};
    _pTexture->GetDesc(&tDesc);
    if (!Z_VERIFY(tDesc.BindFlags & D3D11_BIND_SHADER_RESOURCE) ||
        !Z_VERIFY(tDesc.Format != DXGI_FORMAT_NV12 || _ppShaderResource2))
        return E_INVALIDARG;

    const bool bNV12 = tDesc.Format == DXGI_FORMAT_NV12;
    CZPtr<ID3D11ShaderResourceView> cpView;
    CZPtr<ID3D11ShaderResourceView> cpView2;
    HRESULT hr = bNV12 ? View_Create(cpD3D11Device.Get(), _pTexture, DXGI_FORMAT_R8_UNORM, cpView.Put())
                       : cpD3D11Device->CreateShaderResourceView(_pTexture, nullptr, cpView.Put()); // in its own format
    if (FAILED(hr))
    {
        ZLog(eZLog_Error, "DX11Device::_Texture2SRV: cpD3D11Device->CreateShaderResourceView(%d, %ws) FAILED hr=%08X\n",
             tDesc.Format, DX_TextureText(&tDesc), hr);
        return hr;
    }
    if (bNV12)
    {
        hr = View_Create(cpD3D11Device.Get(), _pTexture, DXGI_FORMAT_R8G8_UNORM, cpView2.Put());
        if (FAILED(hr))
        {
            ZLog(eZLog_Error,
                 "DX11Device::_Texture2SRV: cpD3D11Device->CreateShaderResourceView(DXGI_FORMAT_R8G8_UNORM) FAILED "
                 "hr=%08X\n",
                 hr);
            return hr;
        }
    }
    const auto cpD3D11DeviceContext = DX_ContextOf(cpD3D11Device.Get());
    if (_bGenerateMips && tDesc.MipLevels > 1 && cpD3D11DeviceContext)
    {
        cpD3D11DeviceContext->GenerateMips(cpView.Get());
        ZLog(eZLog_Verbose, "DX11Device::_Texture2SRV: cpD3D11DeviceContext->GenerateMips(%d)\n", tDesc.MipLevels);
    }
    *_ppShaderResource = cpView.Detach();
    if (_ppShaderResource2)
        *_ppShaderResource2 = cpView2.Detach();
    return S_OK;
}

HRESULT DX11Device::Texture_SetAsRenderTarget(ID3D11Texture2D* _pTexture, ID3D11RenderTargetView** _ppRTV)
{
    if (!_ppRTV)
        return E_POINTER;
    *_ppRTV = nullptr;
    const auto cpD3D11Device = DX_DeviceOf(_pTexture);
    const auto cpD3D11DeviceContext = DX_ContextOf(cpD3D11Device.Get());
    if (!Z_VERIFY(cpD3D11Device && cpD3D11DeviceContext))
        return E_INVALIDARG;
    const HRESULT hr = cpD3D11Device->CreateRenderTargetView(_pTexture, nullptr, _ppRTV);
    if (FAILED(hr))
    {
        ZLog(eZLog_Error, "DX11Device::Texture_SetAsRenderTarget: Failed to create render target view! (%ws) hr=%08X\n",
             DX_TextureText(_pTexture), hr);
        return hr;
    }
    cpD3D11DeviceContext->OMSetRenderTargets(1, _ppRTV, nullptr);
    return S_OK;
}
