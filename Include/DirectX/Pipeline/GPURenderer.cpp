#include "DirectX/Pipeline/GPURenderer.h"

#include "Base/ZAssert.h"
#include "DirectX/Device/DXHelpers.h"
#include "DirectX/Device/DXPassLock.h"
#include "DirectX/Pipeline/DXPassBinding.h"
#include "DirectX/Pipeline/GPURows.h"

namespace
{

D3D11_TEXTURE2D_DESC DescOf(const GPU_TARGET& _target)
{
    D3D11_TEXTURE2D_DESC desc = {};
    desc.Width = _target.nWidth;
    desc.Height = _target.nHeight;
    desc.MipLevels = 1;
    desc.ArraySize = 1;
    desc.Format = _target.eFormat;
    desc.SampleDesc.Count = 1;
    desc.Usage = D3D11_USAGE_DEFAULT;
    desc.BindFlags = D3D11_BIND_RENDER_TARGET | D3D11_BIND_SHADER_RESOURCE;
    return desc;
}

} // namespace

GPU_TARGET GPU_TargetOf(const ZF_VID_PROPS& _vidProps)
{
    const D3D11_TEXTURE2D_DESC desc = DX_TextureDesc(_vidProps);
    return {desc.Width, desc.Height, desc.Format, _vidProps};
}

HRESULT Renderer::Render(DX11Device* _pTheDevice, IDX11Texture* _pFrameIn, bool _bTaken, const GPU_PASS& _pass,
                         const GPU_TARGET& _target, IDX11Allocator* _pAllocator, IDX11Texture** _ppTexOutput)
{
    ZF_VID_PROPS vidProps = {};
    if (!Z_VERIFY(_pTheDevice && _pFrameIn && _ppTexOutput) || FAILED(_pFrameIn->VideoPropsGet(&vidProps)))
        return E_INVALIDARG;
    *_ppTexOutput = nullptr;
    if (!_bTaken)
        return Failed("Render", "Invalid FCC type of input frame!", E_NOTIMPL);
    if (!GPU_SizeIsValid(vidProps))
        return Failed("Render", "Invalid input frame size!", E_INVALIDARG);
    CZPtr<ID3D11Texture2D> cpSurface;
    HRESULT hr = _pFrameIn->TextureGet(cpSurface.Put());
    if (FAILED(hr) || !cpSurface)
        return Failed("Render", "Surface not obtained!", hr);
    CZPtr<IDX11Texture> apTexOutput;
    hr = _RenderBase(_pTheDevice, cpSurface.Get(), _pass, _target, _pAllocator, apTexOutput.Put());
    if (FAILED(hr))
        return hr;
    if (!Z_VERIFY(apTexOutput))
        return E_UNEXPECTED;
    *_ppTexOutput = apTexOutput.Detach();
    return S_OK;
}

HRESULT Renderer::_RenderBase(DX11Device* _pTheDevice, ID3D11Texture2D* _pTexIn, const GPU_PASS& _pass,
                              const GPU_TARGET& _target, IDX11Allocator* _pAllocator, IDX11Texture** _ppSurfaceOut)
{
    if (!Z_VERIFY_TEXT(_pTheDevice && _pTexIn && _pass.pPixelShader && _ppSurfaceOut && !(*_ppSurfaceOut),
                       "_pTheDevice && _pTexIn && _pPixelShader && _ppSurfaceOut && !(*_ppSurfaceOut)"))
        return E_INVALIDARG;
    return RenderInputs(_pTheDevice, {&_pTexIn, 1}, _pass, _target, _pAllocator, _ppSurfaceOut);
}

HRESULT Renderer::RenderInputs(DX11Device* _pTheDevice, std::span<ID3D11Texture2D* const> _inputs,
                               const GPU_PASS& _pass, const GPU_TARGET& _target, IDX11Allocator* _pAllocator,
                               IDX11Texture** _ppSurfaceOut)
{
    if (!Z_VERIFY_TEXT(_target.nWidth && _target.nHeight, "_nTargetWidth && _nTargetHeight") ||
        !Z_VERIFY(_inputs.size() <= CDXPassBinding::c_nInputsMax))
        return E_INVALIDARG;
    ID3D11Device* const pDevice = _pTheDevice->Device();
    CZPtr<ID3D11ShaderResourceView> arrViews[CDXPassBinding::c_nInputsMax];
    ID3D11ShaderResourceView* arrBound[CDXPassBinding::c_nInputsMax] = {};
    HRESULT hr = S_OK;
    for (size_t n = 0; n < _inputs.size() && SUCCEEDED(hr); ++n)
    {
        if (_inputs[n])
            hr = DX11Device::Texture2SRV(_inputs[n], false, arrViews[n].Put());
        arrBound[n] = arrViews[n].Get();
    }
    if (FAILED(hr))
        return Failed("_RenderBase", "Failed to create shader resource view!", hr);

    const D3D11_TEXTURE2D_DESC desc = DescOf(_target);
    CZPtr<IDX11Texture> cpSurfaceOut;
    CZPtr<ID3D11Texture2D> cpTarget;
    hr = DX11Texture::Create(_pAllocator, pDevice, &desc, _target.vidProps, cpSurfaceOut.Put());
    if (SUCCEEDED(hr))
        hr = cpSurfaceOut->TextureGet(cpTarget.Put());
    if (FAILED(hr))
        return Failed("_RenderBase", "Failed to create 2D texture!", hr);

    const CDXPassLock lock(pDevice);
    CZPtr<ID3D11Buffer> cpConstants;
    if (_pass.pConstants)
        hr = DX11Device::CreateConstantBuffer(pDevice, _pass.pConstants, _pass.cbConstants, cpConstants.Put());
    if (FAILED(hr))
        return Failed("_RenderBase", "Failed to create constant buffer!", hr);
    CZPtr<ID3D11RenderTargetView> cpRTV;
    hr = DX11Device::Texture_SetAsRenderTarget(cpTarget.Get(), cpRTV.Put());
    if (FAILED(hr))
        return Failed("_RenderBase", "Failed to create render target view!", hr);

    CDXPassBinding binding(_pTheDevice->Context());
    binding.Bind(_pass.pPixelShader, std::span(arrBound).first(_inputs.size()), _pass.pSampler, cpConstants.Get());
    ID3D11RenderTargetView* const pRTV = cpRTV.Get();
    hr = _pTheDevice->Quad_Draw(&pRTV);
    if (FAILED(hr))
        return Failed("_RenderBase", "Drawing failed!", hr);
    hr = DX_QuerySet(cpTarget.Get());
    if (FAILED(hr))
        return Failed("_RenderBase", "Completion marker not set!", hr);
    *_ppSurfaceOut = cpSurfaceOut.Detach();
    return S_OK;
}
