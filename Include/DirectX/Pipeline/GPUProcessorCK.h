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

#include "DirectX/Device/DXDevice.h"
#include "DirectX/Device/DXTexture.h"
#include "Interfaces/IZFFrame.h"

#include <string>
#include <utility>

/// Keeps all other threads off the immediate context while it lives: a pass is made of many calls that share its
/// state. May be nested; a device without protection is not locked.
class CDXPassLock
{
public:
    explicit CDXPassLock(ID3D11Device* _pDevice);
    ~CDXPassLock();
    CDXPassLock(const CDXPassLock&) = delete;
    CDXPassLock& operator=(const CDXPassLock&) = delete;

private:
    CZPtr<ID3D10Multithread> m_cpProtect;
};

/// What a pass binds besides its input; borrowed during the call.
struct GPU_PASS
{
    ID3D11PixelShader* pPixelShader = nullptr;
    ID3D11SamplerState* pSampler = nullptr; ///< slot s0; null: none
    const void* pConstants = nullptr;       ///< slot b0; null: none
    size_t cbConstants = 0;
};

/// The texture that a pass draws into: size in texels, and the record that the texture object carries.
struct GPU_TARGET
{
    uint32_t nWidth = 0;
    uint32_t nHeight = 0;
    DXGI_FORMAT eFormat = DXGI_FORMAT_UNKNOWN;
    ZF_VID_PROPS vidProps = {};
};
/// The target for a picture; size 0 when its format has no texture form.
GPU_TARGET GPU_TargetOf(const ZF_VID_PROPS& _vidProps);

/// The texture that a frame's picture is in (nGPUFlags), as a texture object: one around the host's texture when it is
/// given bare. Empty when the frame has none, or has its picture in memory. The object's properties are the frame's,
/// RGB formats top-down.
CZPtr<IDX11Texture> GPU_TextureOf(IZFFrame* _pFrame);

/// What the pipeline and its stages have in common: how they log.
class GPUStage
{
protected:
    explicit GPUStage(std::string _strName)
        : m_strName(std::move(_strName))
    {
    }
    ~GPUStage() = default;
    const std::string& Name() const
    {
        return m_strName;
    }
    /// Logs a message under the operation's qualified name and returns the code; a success counts as E_UNEXPECTED.
    HRESULT Failed(const char* _pszOperation, const char* _pszMessage, HRESULT _hr) const;

private:
    std::string m_strName; // "GPUProcessorBase<class GPUChromaKey>::Uploader"
};

/// Uploads pictures into textures. One upload texture is kept as long as it fits.
///
/// Adapters of the Intel row get a STAGING texture, every other one a DYNAMIC one bound as shader resource. A staging
/// texture is copied into one that shaders can read.
class Uploader : GPUStage
{
public:
    /// The name that it logs under.
    explicit Uploader(std::string _strName)
        : GPUStage(std::move(_strName))
    {
    }

    /// The picture's rows, top row first, all planes of planar formats in one tall texture. The texture handed out
    /// holds the picture until the next upload.
    ///
    /// _pVidPtrIn: planes walked top-down (VideoPtrGet with eZFP_Flip). _bFields: rows 0, 2, 4 ... into the upper half,
    /// rows 1, 3, 5 ... into the lower half, a last row of an odd height behind both; not for planar formats.
    /// E_INVALIDARG for missing arguments (asserted); E_NOTIMPL for a format without texture form.
    HRESULT Upload(ID3D11Device* _pDevice, const ZF_VID_PROPS* _pVidPropsIn, const ZF_VID_PTR* _pVidPtrIn,
                   bool _bFields, IDX11Allocator* _pAllocator, IDX11Texture** _ppSurfaceOut);
    /// Gives the kept texture back.
    void Close();

private:
    HRESULT TextureMake(ID3D11Device* _pDevice, const ZF_VID_PROPS& _vidProps, IDX11Allocator* _pAllocator);
    HRESULT RowsWrite(ID3D11DeviceContext* _pContext, const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr,
                      bool _bFields, ID3D11Texture2D* _pTexture) const;
    HRESULT StagingCopy(ID3D11Device* _pDevice, const ZF_VID_PROPS& _vidProps, IDX11Allocator* _pAllocator,
                        IDX11Texture** _ppSurfaceOut) const;

    CZPtr<IDX11Texture> m_cpTexUpload;
};

/// Draws passes.
class Renderer : protected GPUStage
{
public:
    /// The name that it logs under.
    explicit Renderer(std::string _strName)
        : GPUStage(std::move(_strName))
    {
    }

    /// One pass from the texture of an input frame. _bTaken: whether the processor can take the frame's format.
    /// E_NOTIMPL: it cannot; E_INVALIDARG: the picture has no pixel or does not lie in the texture as its properties
    /// say.
    HRESULT Render(DX11Device* _pTheDevice, IDX11Texture* _pFrameIn, bool _bTaken, const GPU_PASS& _pass,
                   const GPU_TARGET& _target, IDX11Allocator* _pAllocator, IDX11Texture** _ppTexOutput);
    /// One pass with clear, from any texture. Sets the completion marker on the target.
    HRESULT _RenderBase(DX11Device* _pTheDevice, ID3D11Texture2D* _pTexIn, const GPU_PASS& _pass,
                        const GPU_TARGET& _target, IDX11Allocator* _pAllocator, IDX11Texture** _ppSurfaceOut);
};

/// Brings textures back into memory. The readable copies come from the allocator's cache and go back there.
class Downloader : GPUStage
{
public:
    /// The name that it logs under.
    explicit Downloader(std::string _strName)
        : GPUStage(std::move(_strName))
    {
    }

    /// A new frame in system memory with the texture's bytes. With the size of _pFrameIn it takes over all but
    /// pixels and identity (time code, texts, attachments); else, and for masks, it is a bare frame of its memory.
    HRESULT Download(IZFFrame2* _pFrameIn, IDX11Texture* _pTexIn, const ZF_VID_PROPS& _vidPropsOut, bool _bFields,
                     IDX11Allocator* _pAllocator, IZFFrame** _ppFrameOut);
    /// A frame around the texture, for a host that works on the same device; takes over the same. E_NOTIMPL when
    /// _pFrameIn cannot make such frames.
    HRESULT _Download(IZFFrame2* _pFrameIn, IDX11Texture* _pTexIn, IZFFrame** _ppFrameOut);
    /// The texture's rows into the planes of a picture, the inverse of Upload: no byte beyond a row's pixels is
    /// written.
    HRESULT _Download_Tex(const ZF_VID_PTR* _pVideoOut, ID3D11Texture2D* _pTexIn, const ZF_VID_PROPS* _pVidPropsIn,
                          bool _bFields, IDX11Allocator* _pAllocator);

private:
    HRESULT PlainFrame(IZFFrame2* _pFrameIn, const ZF_VID_PROPS& _vidPropsOut, IZFFrame** _ppFrameOut) const;
    HRESULT CopyMapped(const ZF_VID_PTR& _videoOut, ID3D11Texture2D* _pTexIn, const ZF_VID_PROPS& _vidProps,
                       bool _bFields, IDX11Texture* _pTexReadable) const;
};

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
    /// Lets go of the frame under way. With a device that was removed, everything goes, so that the next frame starts
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
    /// Ends the frame under way, also where something throws.
    struct FRAME_GUARD
    {
        GPUProcessorBase* pProcessor;
        explicit FRAME_GUARD(GPUProcessorBase* _pProcessor)
            : pProcessor(_pProcessor)
        {
        }
        ~FRAME_GUARD()
        {
            pProcessor->FrameEnd();
        }
        FRAME_GUARD(const FRAME_GUARD&) = delete;
        FRAME_GUARD& operator=(const FRAME_GUARD&) = delete;
    };

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
    const FRAME_GUARD guard(this);
    HRESULT hr = PutAndProcess(_pFrameIn, _bFlushContext);
    if (SUCCEEDED(hr))
    {
        hr = Self()->GetFrame(_ppFrameOut);
        if (FAILED(hr))
            Failed("ProcessFrameExternal", "Failed to get frame!", hr);
    }
    return hr;
}
