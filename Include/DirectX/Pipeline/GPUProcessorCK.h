#pragma once

/// The pipeline that carries a frame through the GPU for one processor class: upload, passes, download.
///
/// A processor derives from GPUProcessorBase<Processor> and offers
///
///     static constexpr char c_szClass[] = "GPUChromaKey"; // its name in the log
///     static bool IsTaken(uint32_t _fccType);              // pixel formats that its passes can read
///     static bool IsFieldSplit(const ZF_VID_PROPS&);       // upload the two fields one above the other
///     HRESULT ProcessFrame();                              // its passes: from TexIn(), through Render
///     HRESULT GetFrame(IZFFrame** _ppFrameOut);            // the result: through GetGPUFrame or GetPlainFrame
///
/// and calls ProcessFrameExternal for every frame. Textures always hold the picture's top row first. Fields are split
/// only when the processor asks for it; a frame that comes in a texture is never split. Every stage logs its failure
/// under its qualified name ("GPUProcessorBase<class GPUChromaKey>::Uploader::Upload") and returns the code.
///
/// One processor is used by one thread at a time. Several may share a device: every pass runs under the device's own
/// lock (CDXPassLock). Uploads and downloads do not need it, so nobody waits long for another's picture.

#include "Base/ZScope.h"
#include "DirectX/Device/DXKeyedMutex.h"
#include "DirectX/Device/DXPassLock.h"
#include "DirectX/Pipeline/GPUDownloader.h"
#include "DirectX/Pipeline/GPURenderer.h"
#include "DirectX/Pipeline/GPUUploader.h"

/// The texture that a frame's picture is in (nGPUFlags), as a texture object: one around the host's texture when it is
/// given bare. Empty when the frame has none, or has its picture in memory. The object's properties are the frame's,
/// RGB formats top-down.
CZPtr<IDX11Texture> GPU_TextureOf(IZFFrame* _pFrame);

/// The part of the pipeline that is the same for all processors. For GPUProcessorBase.
class GPUProcessorCore : protected GPUStage
{
public:
    GPUProcessorCore(const GPUProcessorCore&) = delete;
    GPUProcessorCore& operator=(const GPUProcessorCore&) = delete;

    /// The device from a source as DX11Device::Create takes it; S_FALSE when there is one already. Not needed before
    /// frames: the first one brings its device or gets the default one.
    HRESULT DeviceInit(IUnknown* _pSourceOrNull);
    /// Gives frame, textures and device back; the next frame makes them again, on another device if need be.
    void Close();

protected:
    explicit GPUProcessorCore(const char* _pszClass);
    ~GPUProcessorCore() = default;

    /// Takes the frame's texture when it has one, else its video bytes through _PutVideo. _bTaken: whether the
    /// processor can take the frame's format.
    HRESULT PutFrame(IZFFrame* _pFrameIn, bool _bTaken, bool _bFields);
    /// Makes sure the device exists, then uploads.
    HRESULT _PutVideo(const ZF_VID_PROPS* _pVidPropsIn, const ZF_VID_PTR* _pVidPtrIn, bool _bFields);
    /// Releases the frame under way. With a device that was removed, everything goes, so that the next frame starts
    /// afresh.
    void FrameEnd();

    /// \name For ProcessFrame and GetFrame
    ///@{
    DX11Device* Device() const
    {
        return m_pDX11Device.Get();
    }
    IDX11Allocator* Allocator() const
    {
        return m_cpAllocator.Get();
    }
    /// The frame under way.
    IZFFrame2* FrameIn() const
    {
        return m_cpFrameIn.Get();
    }
    /// Its picture in a texture of Device(), and that picture's properties (RGB formats top-down).
    IDX11Texture* TexIn() const
    {
        return m_cpTexIn.Get();
    }
    const ZF_VID_PROPS& VidPropsIn() const
    {
        return m_vidPropsIn;
    }
    /// Whether the frame came in a texture: its result is expected in one.
    bool IsGPUFrame() const
    {
        return m_bGPUFrame;
    }
    /// A pass into a texture that goes back to the cache with its last reference.
    HRESULT Render(IDX11Texture* _pTexIn, const GPU_PASS& _pass, const GPU_TARGET& _target,
                   IDX11Texture** _ppTexOutput);
    /// The same from several textures of Device(), as Renderer::RenderInputs takes them.
    HRESULT Render(std::span<ID3D11Texture2D* const> _inputs, const GPU_PASS& _pass, const GPU_TARGET& _target,
                   IDX11Texture** _ppTexOutput);
    /// A result in a texture, as a frame that carries it; needs a frame in that came in a texture.
    HRESULT GetGPUFrame(IDX11Texture* _pTexture, IZFFrame** _ppFrameOut);
    /// A result in system memory; _vidPropsOut says orientation and stride. It waits for the GPU.
    HRESULT GetPlainFrame(IDX11Texture* _pTexture, const ZF_VID_PROPS& _vidPropsOut, IZFFrame** _ppFrameOut);
    ///@}

private:
    HRESULT PutTexture(const CZPtr<IDX11Texture>& _cpTexture, const ZF_VID_PROPS& _vidPropsFrame);

    Uploader m_uploader;
    Renderer m_renderer;
    Downloader m_downloader;
    CZPtr<DX11Device> m_pDX11Device;
    CZPtr<IDX11Allocator> m_cpAllocator;
    CZPtr<IZFFrame2> m_cpFrameIn;
    CZPtr<IDX11Texture> m_cpTexIn;
    CDXKeyedMutex m_mutexTexIn; ///< of the host's texture, from putting the frame to its end
    ZF_VID_PROPS m_vidPropsIn = {};
    bool m_bGPUFrame = false;
    bool m_bFields = false;
};

/// The pipeline of one processor class.
template <class Processor> class GPUProcessorBase : public GPUProcessorCore
{
public:
    GPUProcessorBase()
        : GPUProcessorCore(Processor::c_szClass)
    {
    }

    /// Puts the frame where the passes can read it. A texture of another device than the processor's is refused with
    /// E_INVALIDARG (asserted): Close first.
    HRESULT PutFrame(IZFFrame* _pFrameIn);
    /// Put, process and get in one call. _bFlushContext: the setting "gpu_flush_context": hand the recorded work to the
    /// GPU before the result is got.
    HRESULT ProcessFrameExternal(IZFFrame* _pFrameIn, bool _bFlushContext, IZFFrame** _ppFrameOut);

protected:
    ~GPUProcessorBase() = default;

private:
    HRESULT PutAndProcess(IZFFrame* _pFrameIn, bool _bFlushContext);
    Processor* Self()
    {
        return static_cast<Processor*>(this);
    }
};

template <class Processor> HRESULT GPUProcessorBase<Processor>::PutFrame(IZFFrame* _pFrameIn)
{
    ZF_VID_PROPS vidProps = {};
    if (!_pFrameIn || FAILED(_pFrameIn->VideoPropsGet(&vidProps)))
        return E_INVALIDARG;
    return GPUProcessorCore::PutFrame(_pFrameIn, Processor::IsTaken(vidProps.fccType),
                                      Processor::IsFieldSplit(vidProps));
}

template <class Processor> HRESULT GPUProcessorBase<Processor>::PutAndProcess(IZFFrame* _pFrameIn, bool _bFlushContext)
{
    HRESULT hr = PutFrame(_pFrameIn);
    if (FAILED(hr))
        return Failed("ProcessFrameExternal", "Failed to put frame!", hr);
    hr = Self()->ProcessFrame();
    if (FAILED(hr))
        return Failed("ProcessFrameExternal", "Failed to process frame!", hr);
    if (_bFlushContext)
        Device()->Context()->Flush();
    return hr;
}

template <class Processor> HRESULT GPUProcessorBase<Processor>::ProcessFrameExternal(IZFFrame* _pFrameIn,
                                                                                     bool _bFlushContext,
                                                                                     IZFFrame** _ppFrameOut)
{
    if (!_ppFrameOut)
        return E_POINTER;
    *_ppFrameOut = nullptr;
    const CZScopeExit frameEnd([this] { FrameEnd(); });
    HRESULT hr = PutAndProcess(_pFrameIn, _bFlushContext);
    if (SUCCEEDED(hr))
    {
        hr = Self()->GetFrame(_ppFrameOut);
        if (FAILED(hr))
            Failed("ProcessFrameExternal", "Failed to get frame!", hr);
    }
    return hr;
}
