#pragma once

#include "Base/ZPtr.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/IZFFrame.h"
#include "ZChromaKey/Frame/FrameEngine.h"

#include <cstdint>
#include <memory>
#include <vector>

/// Keying on the GPU, as the engine sees it. Calls come from one thread at a time.
class CGPUKeyer
{
public:
    CGPUKeyer() = default;
    virtual ~CGPUKeyer() = default;
    CGPUKeyer(const CGPUKeyer&) = delete;
    CGPUKeyer& operator=(const CGPUKeyer&) = delete;

    /// Keys a frame (types RGB, HLS and YUV) into a new one with a mask attached, as the CPU does; a frame in a texture
    /// into a new texture of the same device. Any failure, or no frame: it can be keyed on the CPU.
    virtual HRESULT ProcessFrame(IZFFrame* _pFrame, const CHROMA_KEY_RAW& _key, const ENGINE_GPU_OPTIONS& _options,
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
