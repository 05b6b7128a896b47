#include "DirectX/Pipeline/GPUDownloader.h"

#include "Base/ZAssert.h"
#include "Base/ZPixelFormats.h"
#include "Base/ZVideoProps.h"
#include "DirectX/Device/DXHelpers.h"
#include "DirectX/Pipeline/GPURows.h"

#include <cstdlib>

namespace
{

/// Whether a frame that was made has the properties that were asked for.
bool IsAsAsked(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidPropsAsked)
{
    ZF_VID_PROPS vidProps = {};
    return _pFrame && SUCCEEDED(_pFrame->VideoPropsGet(&vidProps)) && vidProps.fccType == _vidPropsAsked.fccType &&
           vidProps.nWidth == _vidPropsAsked.nWidth && vidProps.nHeight == _vidPropsAsked.nHeight &&
           vidProps.nGPUFlags == _vidPropsAsked.nGPUFlags &&
           (_vidPropsAsked.nRowBytes == 0 || vidProps.nRowBytes == _vidPropsAsked.nRowBytes);
}

/// A frame with the given properties; where possible one that takes over all but the pixels.
HRESULT FrameMake(IZFFrame2* _pFrameIn, const ZF_VID_PROPS& _vidProps, IZFFrame** _ppFrame)
{
    ZF_VID_PROPS vidPropsIn = {};
    HRESULT hr = _pFrameIn->VideoPropsGet(&vidPropsIn);
    if (FAILED(hr))
        return hr;
    const bool bMask = _vidProps.fccType == eZFCC_RGB8 && vidPropsIn.fccType != eZFCC_RGB8;
    CZPtr<IZFFrame> cpFrame;
    if (!bMask && vidPropsIn.nWidth == _vidProps.nWidth && (vidPropsIn.nGPUFlags == 0) == (_vidProps.nGPUFlags == 0))
        _pFrameIn->FrameConvert(eZFC_Renewed, _vidProps.fccType, cpFrame.Put());
    if (!IsAsAsked(cpFrame.Get(), _vidProps))
        hr = _pFrameIn->FrameCreate(&_vidProps, cpFrame.Put());
    if (SUCCEEDED(hr) && !IsAsAsked(cpFrame.Get(), _vidProps))
        hr = E_NOTIMPL;
    if (SUCCEEDED(hr))
        *_ppFrame = cpFrame.Detach();
    return hr;
}

} // namespace

HRESULT Downloader::PlainFrame(IZFFrame2* _pFrameIn, const ZF_VID_PROPS& _vidPropsOut, IZFFrame** _ppFrameOut) const
{
    ZF_VID_PROPS vidProps = _vidPropsOut;
    vidProps.nGPUFlags = 0;
    const HRESULT hr = FrameMake(_pFrameIn, vidProps, _ppFrameOut);
    return FAILED(hr) ? Failed("Download", "Failed to create plain frame!", hr) : hr;
}

HRESULT Downloader::Download(IZFFrame2* _pFrameIn, IDX11Texture* _pTexIn, const ZF_VID_PROPS& _vidPropsOut,
                             bool _bFields, IDX11Allocator* _pAllocator, IZFFrame** _ppFrameOut)
{
    if (!Z_VERIFY(_pFrameIn && _ppFrameOut && !*_ppFrameOut) || !Z_VERIFY(_pTexIn))
        return E_INVALIDARG;
    CZPtr<IZFFrame> cpFrameOut;
    HRESULT hr = PlainFrame(_pFrameIn, _vidPropsOut, cpFrameOut.Put());
    if (FAILED(hr))
        return hr;
    ZF_VID_PTR vidPtr = {};
    ZF_VID_PROPS vidProps = {};
    CZPtr<ID3D11Texture2D> cpTexIn;
    hr = cpFrameOut->VideoPtrGet(eZFP_Flip | eZFP_Write, &vidPtr);
    if (SUCCEEDED(hr))
        hr = cpFrameOut->VideoPropsGet(&vidProps);
    if (FAILED(hr) || !vidPtr.lpVideoPlanes[0])
        return Failed("Download", "Failed to get video bytes!", hr);
    hr = _pTexIn->TextureGet(cpTexIn.Put());
    if (SUCCEEDED(hr))
        hr = _Download_Tex(&vidPtr, cpTexIn.Get(), &vidProps, _bFields, _pAllocator);
    if (FAILED(hr))
        return Failed("Download", "Failed to download frame!", hr);
    *_ppFrameOut = cpFrameOut.Detach();
    return S_OK;
}

HRESULT Downloader::_Download(IZFFrame2* _pFrameIn, IDX11Texture* _pTexIn, IZFFrame** _ppFrameOut)
{
    if (!Z_VERIFY(_pFrameIn && _ppFrameOut && !*_ppFrameOut) || !Z_VERIFY(_pTexIn))
        return E_INVALIDARG;
    ZF_VID_PROPS vidProps = {};
    CZPtr<IZFFrame> pFrameOut;
    HRESULT hr = _pTexIn->VideoPropsGet(&vidProps);
    vidProps.nGPUFlags = eZGPU_DX11Texture;
    vidProps.nRowBytes = 0;
    if (SUCCEEDED(hr))
        hr = FrameMake(_pFrameIn, vidProps, pFrameOut.Put());
    if (SUCCEEDED(hr))
        hr = pFrameOut->AttachmentSet(c_wszFrameTexture, _pTexIn);
    if (FAILED(hr) || !Z_VERIFY(pFrameOut))
        return Failed("_Download", "Failed to create GPU frame!", hr);
    pFrameOut->AttachmentSet(L"mask", nullptr); // a mask that was attached to the input does not belong to this picture
    *_ppFrameOut = pFrameOut.Detach();
    return S_OK;
}

HRESULT Downloader::CopyRecord(ID3D11Texture2D* _pTexIn, const ZF_VID_PROPS& _vidPropsIn, IDX11Allocator* _pAllocator,
                               IDX11Texture** _ppReadable) const
{
    D3D11_TEXTURE2D_DESC inDesc = {};
    _pTexIn->GetDesc(&inDesc);
    if (!Z_VERIFY_TEXT(!(inDesc.CPUAccessFlags & D3D11_CPU_ACCESS_READ),
                       "inDesc.CPUAccessFlags != D3D11_CPU_ACCESS_READ"))
        return Failed("_Download_Tex",
                      "Texture was in system memory! Using software texture for hardware operations is unacceptable!",
                      E_INVALIDARG);
    if (!DX_TextureFits(inDesc, _vidPropsIn) || !GPU_SizeIsValid(_vidPropsIn))
        return Failed("_Download_Tex", "Video properties and input texture description do not match!", E_INVALIDARG);
    D3D11_TEXTURE2D_DESC desc = DX_TextureDesc(_vidPropsIn);
    desc.Usage = D3D11_USAGE_STAGING;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
    const auto cpDevice = DX_DeviceOf(_pTexIn);
    CZPtr<ID3D11Texture2D> cpReadable;
    HRESULT hr = DX11Texture::Create(_pAllocator, cpDevice.Get(), &desc, _vidPropsIn, _ppReadable);
    if (SUCCEEDED(hr))
        hr = (*_ppReadable)->TextureGet(cpReadable.Put());
    if (FAILED(hr))
        return Failed("_Download_Tex", "Texture not created", hr);
    DX_ContextOf(cpDevice.Get())->CopyResource(cpReadable.Get(), _pTexIn);
    return S_OK;
}

HRESULT Downloader::CopyRead(const ZF_VID_PTR& _videoOut, IDX11Texture* _pReadable, bool _bFields) const
{
    ZF_VID_PROPS vidProps = {};
    CZPtr<ID3D11Texture2D> cpReadable;
    HRESULT hr = _pReadable->VideoPropsGet(&vidProps);
    if (SUCCEEDED(hr))
        hr = _pReadable->TextureGet(cpReadable.Put());
    if (FAILED(hr))
        return hr;
    // Map waits for the copy, and the copy for the passes before it: all of it is work of one context. To poll for the
    // marker instead would cost a tick of the system's clock per frame.
    const auto cpContext = DX_ContextOf(DX_DeviceOf(cpReadable.Get()).Get());
    D3D11_MAPPED_SUBRESOURCE mapped = {};
    hr = cpContext->Map(cpReadable.Get(), 0, D3D11_MAP_READ, 0, &mapped);
    if (FAILED(hr) || !mapped.pData)
        return Failed("_Download_Tex", "Failed to map texture!", hr);
    GPU_RowsCopy(eGPUR_Download, vidProps, _videoOut, _bFields, mapped);
    cpContext->Unmap(cpReadable.Get(), 0);
    return S_OK;
}

HRESULT Downloader::_Download_Tex(const ZF_VID_PTR* _pVideoOut, ID3D11Texture2D* _pTexIn,
                                  const ZF_VID_PROPS* _pVidPropsIn, bool _bFields, IDX11Allocator* _pAllocator)
{
    if (!Z_VERIFY_TEXT(_pVideoOut && _pVideoOut->lpVideoPlanes[0] && _pTexIn && _pVidPropsIn &&
                           VidProps_IsSet(_pVidPropsIn, true),
                       "_pbVideoOut && _pTexIn && _pVidPropsIn && IsSpecified(_pVidPropsIn)"))
        return Failed("_Download_Tex", "Invalid arguments!", E_INVALIDARG);
    if (_bFields && FCC_IsPlanar(_pVidPropsIn->fccType))
        return Failed("_Download_Tex", "Video properties and input texture description do not match!", E_INVALIDARG);
    if (!GPU_HasPlanes(*_pVidPropsIn, *_pVideoOut))
        return Failed("_Download_Tex", "A plane of the output frame is missing!", E_INVALIDARG);
    CZPtr<IDX11Texture> cpReadable;
    const HRESULT hr = CopyRecord(_pTexIn, *_pVidPropsIn, _pAllocator, cpReadable.Put());
    return SUCCEEDED(hr) ? CopyRead(*_pVideoOut, cpReadable.Get(), _bFields) : hr;
}
