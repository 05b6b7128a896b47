#pragma once

#include "Base/ZPtr.h"
#include "Image/ImgColor.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/IZFFrame.h"

#include <cstdint>
#include <memory>
#include <vector>

/// What the frame path asks of the GPU in addition to the keys.
struct GPU_KEY_OPTIONS
{
    bool bOutputARGB;   ///< the result is ARGB32, whatever the input is
    bool bFlushContext; ///< hand the recorded work to the GPU before the result is waited for
    eZYMatrix eMatrix;  ///< of YUV pictures, and what YUV keys of them are measured with
    bool bSoftware;     ///< make a device also where the processor stands in for a graphics card
    uint64_t nChange;   ///< of the options: a device that could not be had is asked for again at once when it changes
};

/// Keying on the GPU, as the frame path sees it. Calls come from one thread at a time.
class CGPUKeyer
{
public:
    CGPUKeyer() = default;
    virtual ~CGPUKeyer() = default;
    CGPUKeyer(const CGPUKeyer&) = delete;
    CGPUKeyer& operator=(const CGPUKeyer&) = delete;

    /// Keys a frame (types RGB, HLS and YUV) into a new one with a mask attached, as the CPU does; a frame in a texture
    /// into a new texture of the same device. Any failure, or no frame: it can be keyed on the CPU.
    virtual HRESULT ProcessFrame(IZFFrame* _pFrame, const CHROMA_KEY_RAW& _key, const GPU_KEY_OPTIONS& _options,
                                 IZFFrame** _ppFrameRes) = 0;
    /// The frames that the last ProcessFrame has made, so that the caller can release them where it holds no lock.
    virtual std::vector<CZPtr<IZFFrame>> FramesTake()
    {
        return {};
    }
    /// Gives device and textures back; the next frame makes them again.
    virtual void Close() = 0;
};

/// The GPU path of this build. Never null: a build without one answers E_NOTIMPL.
std::unique_ptr<CGPUKeyer> GPUKeyer_Create();
