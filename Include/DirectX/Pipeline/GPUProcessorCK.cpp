#include "DirectX/Pipeline/GPUProcessorCK.h"

#include "Base/ZAssert.h"
#include "Base/ZLog.h"
#include "Base/ZPixelFormats.h"
#include "Base/ZVideoProps.h"
#include "DirectX/Device/DXHelpers.h"
#include "DirectX/Pipeline/GPURows.h"

#include <cstdlib>

namespace
{

/// The record of the picture in a texture: its first row is the top row, and it has no stride.
ZF_VID_PROPS PropsInTexture(const ZF_VID_PROPS& _vidProps)
{
    ZF_VID_PROPS vidProps = _vidProps;
    if (FCC_IsRGB(vidProps.fccType) && vidProps.nHeight != INT32_MIN)
        vidProps.nHeight = -std::abs(vidProps.nHeight);
    vidProps.nRowBytes = 0;
    vidProps.nGPUFlags = eZGPU_DX11Texture;
    return vidProps;
}

constexpr uint32_t c_nGPUKindMask = 0xFFF; // of nGPUFlags: where the picture is; 0: in memory

bool IsSamePicture(const ZF_VID_PROPS& _vidPropsA, const ZF_VID_PROPS& _vidPropsB)
{
    return _vidPropsA.fccType == _vidPropsB.fccType && _vidPropsA.nWidth == _vidPropsB.nWidth &&
           std::abs(int64_t{_vidPropsA.nHeight}) == std::abs(int64_t{_vidPropsB.nHeight});
}

} // namespace

CZPtr<IDX11Texture> GPU_TextureOf(IZFFrame* _pFrame)
{
    CZPtr<IUnknown> cpAttached;
    ZF_VID_PROPS vidProps = {};
    if (!_pFrame || FAILED(_pFrame->VideoPropsGet(&vidProps)) || !(vidProps.nGPUFlags & c_nGPUKindMask) ||
        FAILED(_pFrame->AttachmentGet(c_wszFrameTexture, cpAttached.Put())) || !cpAttached)
        return {};
    if (auto cpTexture = ZQuery<IDX11Texture>(cpAttached))
        return cpTexture;
    const auto cpTexture2D = ZQuery<ID3D11Texture2D>(cpAttached);
    CZPtr<IDX11Texture> cpTexture;
    if (cpTexture2D)
        DX11Texture::CreateExternal(cpTexture2D.Get(), PropsInTexture(vidProps), cpTexture.Put());
    return cpTexture;
}

GPUProcessorCore::GPUProcessorCore(const char* _pszClass)
    : GPUStage(ZFormat("GPUProcessorBase<class %hs>", _pszClass))
    , m_uploader(Name() + "::Uploader")
    , m_renderer(Name() + "::Renderer")
    , m_downloader(Name() + "::Downloader")
{
}

HRESULT GPUProcessorCore::DeviceInit(IUnknown* _pSourceOrNull)
{
    if (m_pDX11Device)
        return S_FALSE;
    HRESULT hr = m_cpAllocator ? S_OK : CDX11Allocator::Create(m_cpAllocator.Put());
    if (SUCCEEDED(hr))
        hr = DX11Device::Create(_pSourceOrNull, m_pDX11Device.Put());
    return FAILED(hr) ? Failed("PutFrame", "Failed to init DirectX device!", hr) : hr;
}

void GPUProcessorCore::Close()
{
    m_mutexTexIn.Release();
    m_cpFrameIn.Reset();
    m_cpTexIn.Reset();
    m_uploader.Close();
    if (m_cpAllocator)
        m_cpAllocator->CacheClear();
    m_cpAllocator.Reset();
    m_pDX11Device.Reset();
}

void GPUProcessorCore::FrameEnd()
{
    m_mutexTexIn.Release();
    m_cpFrameIn.Reset();
    m_cpTexIn.Reset();
    if (m_pDX11Device && FAILED(m_pDX11Device->Device()->GetDeviceRemovedReason()))
        Close();
}

HRESULT GPUProcessorCore::PutFrame(IZFFrame* _pFrameIn, bool _bTaken, bool _bFields)
{
    FrameEnd();
    const auto cpFrame = ZQuery<IZFFrame2>(_pFrameIn);
    if (!cpFrame)
        return Failed("PutFrame", "The frame does not have the second frame interface!", E_NOINTERFACE);
    if (!_bTaken) // before anything is uploaded in vain
        return Failed("PutFrame", "Invalid FCC type of input frame!", E_NOTIMPL);
    m_bFields = false;
    const CZPtr<IDX11Texture> cpTexture = GPU_TextureOf(_pFrameIn);
    m_bGPUFrame = static_cast<bool>(cpTexture);
    ZF_VID_PROPS vidProps = {};
    HRESULT hr = cpFrame->VideoPropsGet(&vidProps);
    if (cpTexture)
    {
        hr = SUCCEEDED(hr) ? PutTexture(cpTexture, vidProps) : hr;
    }
    else
    {
        ZF_VID_PTR vidPtr = {};
        if (SUCCEEDED(hr))
            hr = cpFrame->VideoPtrGet(eZFP_Flip, &vidPtr);
        if (SUCCEEDED(hr))
            hr = _PutVideo(&vidProps, &vidPtr, _bFields);
        if (FAILED(hr))
            hr = Failed("PutFrame", "Failed to put video!", hr);
    }
    if (SUCCEEDED(hr))
        m_cpFrameIn = cpFrame;
    return hr;
}

HRESULT GPUProcessorCore::PutTexture(const CZPtr<IDX11Texture>& _cpTexture, const ZF_VID_PROPS& _vidPropsFrame)
{
    ZF_VID_PROPS vidProps = {};
    CZPtr<ID3D11Texture2D> cpTexture2D;
    HRESULT hr = _cpTexture->VideoPropsGet(&vidProps);
    if (SUCCEEDED(hr))
        hr = _cpTexture->TextureGet(cpTexture2D.Put());
    if (FAILED(hr) || !cpTexture2D)
        return Failed("PutFrame", "Surface not obtained!", hr);
    if (!IsSamePicture(vidProps, _vidPropsFrame))
        return Failed("PutFrame", "The frame and its texture differ in format or size!", E_INVALIDARG);
    D3D11_TEXTURE2D_DESC desc = {};
    cpTexture2D->GetDesc(&desc);
    if (!GPU_SizeIsValid(vidProps) || !DX_TextureFits(desc, vidProps))
        return Failed("PutFrame", "Video properties and input texture description do not match!", E_INVALIDARG);
    hr = DeviceInit(cpTexture2D.Get());
    if (FAILED(hr))
        return hr;
    const auto cpDeviceTex = DX_DeviceOf(cpTexture2D.Get());
    if (!Z_VERIFY_TEXT(DX_SameObject(m_pDX11Device->Device(), cpDeviceTex.Get()),
                       "m_pDX11Device->m_cpDevice.IsEqualObject(cpDeviceTex)"))
        return E_INVALIDARG;
    hr = m_mutexTexIn.Acquire(cpTexture2D.Get());
    if (FAILED(hr))
        return Failed("PutFrame", "The texture's keyed mutex cannot be acquired!", hr);
    m_cpTexIn = _cpTexture;
    m_vidPropsIn = PropsInTexture(vidProps);
    return S_OK;
}

HRESULT GPUProcessorCore::_PutVideo(const ZF_VID_PROPS* _pVidPropsIn, const ZF_VID_PTR* _pVidPtrIn, bool _bFields)
{
    if (!Z_VERIFY_TEXT(_pVidPropsIn && VidProps_IsSet(_pVidPropsIn, true), "_pVidPropsIn && IsSpecified(_pVidPropsIn)"))
        return E_INVALIDARG;
    HRESULT hr = DeviceInit(nullptr);
    if (FAILED(hr))
        return hr;
    const ZF_VID_PROPS vidProps = PropsInTexture(*_pVidPropsIn);
    hr = m_uploader.Upload(m_pDX11Device->Device(), &vidProps, _pVidPtrIn, _bFields, m_cpAllocator.Get(),
                           m_cpTexIn.Put());
    if (FAILED(hr))
        return Failed("_PutVideo", "Failed to upload to GPU!", hr);
    m_vidPropsIn = vidProps;
    m_bFields = _bFields;
    return S_OK;
}

HRESULT GPUProcessorCore::Render(IDX11Texture* _pTexIn, const GPU_PASS& _pass, const GPU_TARGET& _target,
                                 IDX11Texture** _ppTexOutput)
{
    return m_renderer.Render(m_pDX11Device.Get(), _pTexIn, true, _pass, _target, m_cpAllocator.Get(), _ppTexOutput);
}

HRESULT GPUProcessorCore::Render(std::span<ID3D11Texture2D* const> _inputs, const GPU_PASS& _pass,
                                 const GPU_TARGET& _target, IDX11Texture** _ppTexOutput)
{
    *_ppTexOutput = nullptr;
    return m_renderer.RenderInputs(m_pDX11Device.Get(), _inputs, _pass, _target, m_cpAllocator.Get(), _ppTexOutput);
}

HRESULT GPUProcessorCore::GetGPUFrame(IDX11Texture* _pTexture, IZFFrame** _ppFrameOut)
{
    return m_downloader._Download(m_cpFrameIn.Get(), _pTexture, _ppFrameOut);
}

HRESULT GPUProcessorCore::GetPlainFrame(IDX11Texture* _pTexture, const ZF_VID_PROPS& _vidPropsOut,
                                        IZFFrame** _ppFrameOut)
{
    return m_downloader.Download(m_cpFrameIn.Get(), _pTexture, _vidPropsOut, m_bFields, m_cpAllocator.Get(),
                                 _ppFrameOut);
}
