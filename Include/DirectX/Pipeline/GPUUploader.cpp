#include "DirectX/Pipeline/GPUUploader.h"

#include "Base/ZAssert.h"
#include "Base/ZPixelFormats.h"
#include "Base/ZVideoProps.h"
#include "DirectX/Device/DXHelpers.h"
#include "DirectX/Pipeline/GPURows.h"

namespace
{

bool IsPicture(const ZF_VID_PTR* _pVidPtr)
{
    return _pVidPtr && _pVidPtr->lpVideoPlanes[0];
}

D3D11_TEXTURE2D_DESC DescOf(ID3D11Texture2D* _pTexture)
{
    D3D11_TEXTURE2D_DESC desc = {};
    _pTexture->GetDesc(&desc);
    return desc;
}

/// Whether a texture belongs to a device, and its own record agrees with the given one.
bool IsFor(IDX11Texture* _pSurface, ID3D11Texture2D* _pTexture, ID3D11Device* _pDevice, const ZF_VID_PROPS& _vidProps)
{
    ZF_VID_PROPS vidPropsKept = {};
    return SUCCEEDED(_pSurface->VideoPropsGet(&vidPropsKept)) && VidProps_Same(&vidPropsKept, &_vidProps, 0) &&
           DX_TextureFits(DescOf(_pTexture), _vidProps) && DX_SameObject(DX_DeviceOf(_pTexture).Get(), _pDevice);
}

CZPtr<ID3D11Texture2D> TextureIn(IDX11Texture* _pSurface)
{
    CZPtr<ID3D11Texture2D> cpTexture;
    if (_pSurface)
        _pSurface->TextureGet(cpTexture.Put());
    return cpTexture;
}

} // namespace

HRESULT Uploader::TextureMake(ID3D11Device* _pDevice, const ZF_VID_PROPS& _vidProps, IDX11Allocator* _pAllocator)
{
    D3D11_TEXTURE2D_DESC desc = DX_TextureDesc(_vidProps);
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_WRITE;
    if (DX_GPUType(_pDevice) == eGPU_Intel)
    {
        desc.Usage = D3D11_USAGE_STAGING;
    }
    else
    {
        desc.Usage = D3D11_USAGE_DYNAMIC;
        desc.BindFlags = D3D11_BIND_SHADER_RESOURCE;
    }
    const HRESULT hr = DX11Texture::Create(_pAllocator, _pDevice, &desc, _vidProps, m_cpTexUpload.Put());
    return FAILED(hr) || !m_cpTexUpload ? Failed("Upload", "Texture not created", hr) : hr;
}

HRESULT Uploader::RowsWrite(ID3D11DeviceContext* _pContext, const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr,
                            bool _bFields, ID3D11Texture2D* _pTexture) const
{
    const bool bStaging = DescOf(_pTexture).Usage == D3D11_USAGE_STAGING;
    D3D11_MAPPED_SUBRESOURCE mapped = {};
    const HRESULT hr = _pContext->Map(_pTexture, 0, bStaging ? D3D11_MAP_WRITE : D3D11_MAP_WRITE_DISCARD, 0, &mapped);
    if (FAILED(hr) || !mapped.pData)
        return Failed("Upload", "Failed to map texture!", hr);
    GPU_RowsCopy(eGPUR_Upload, _vidProps, _vidPtr, _bFields, mapped);
    _pContext->Unmap(_pTexture, 0);
    return S_OK;
}

/// Shaders cannot read a staging texture.
HRESULT Uploader::StagingCopy(ID3D11Device* _pDevice, const ZF_VID_PROPS& _vidProps, IDX11Allocator* _pAllocator,
                              IDX11Texture** _ppSurfaceOut) const
{
    D3D11_TEXTURE2D_DESC desc = DX_TextureDesc(_vidProps);
    desc.BindFlags = D3D11_BIND_SHADER_RESOURCE;
    const HRESULT hr = DX11Texture::Create(_pAllocator, _pDevice, &desc, _vidProps, _ppSurfaceOut);
    if (FAILED(hr) || !*_ppSurfaceOut)
        return Failed("Upload", "Texture not created", hr);
    DX_ContextOf(_pDevice)->CopyResource(TextureIn(*_ppSurfaceOut).Get(), TextureIn(m_cpTexUpload.Get()).Get());
    return S_OK;
}

HRESULT Uploader::Upload(ID3D11Device* _pDevice, const ZF_VID_PROPS* _pVidPropsIn, const ZF_VID_PTR* _pVidPtrIn,
                         bool _bFields, IDX11Allocator* _pAllocator, IDX11Texture** _ppSurfaceOut)
{
    if (!Z_VERIFY_TEXT(_pVidPropsIn && VidProps_IsSet(_pVidPropsIn, true) && IsPicture(_pVidPtrIn) && _ppSurfaceOut,
                       "_pVidPropsIn && IsSpecified(_pVidPropsIn) && _pbVideoIn && _ppSurfaceOut"))
        return E_INVALIDARG;
    *_ppSurfaceOut = nullptr;
    const ZF_VID_PROPS& vidProps = *_pVidPropsIn;
    if (DX_TextureFormat(vidProps.fccType) == DXGI_FORMAT_UNKNOWN || (_bFields && FCC_IsPlanar(vidProps.fccType)))
        return Failed("Upload", "Invalid FCC type of input frame!", E_NOTIMPL);
    if (!GPU_SizeIsValid(vidProps))
        return Failed("Upload", "Invalid input frame size!", E_INVALIDARG);
    if (!GPU_HasPlanes(vidProps, *_pVidPtrIn))
        return Failed("Upload", "A plane of the input frame is missing!", E_INVALIDARG);

    CZPtr<ID3D11Texture2D> cpTexture = TextureIn(m_cpTexUpload.Get());
    if (cpTexture && !IsFor(m_cpTexUpload.Get(), cpTexture.Get(), _pDevice, vidProps))
        cpTexture.Reset();
    HRESULT hr = S_OK;
    if (!cpTexture)
    {
        Close();
        hr = TextureMake(_pDevice, vidProps, _pAllocator);
        cpTexture = TextureIn(m_cpTexUpload.Get());
    }
    if (SUCCEEDED(hr))
        hr = RowsWrite(DX_ContextOf(_pDevice).Get(), vidProps, *_pVidPtrIn, _bFields, cpTexture.Get());
    if (FAILED(hr))
        return hr;
    if (DescOf(cpTexture.Get()).Usage == D3D11_USAGE_STAGING)
        return StagingCopy(_pDevice, vidProps, _pAllocator, _ppSurfaceOut);
    *_ppSurfaceOut = CZPtr<IDX11Texture>(m_cpTexUpload).Detach();
    return S_OK;
}

void Uploader::Close()
{
    m_cpTexUpload.Reset();
}
