#pragma once

#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/IZFFrame.h"

#include <memory>

/// Keying on the GPU, as the frame path sees it. Calls come from one thread at a time.
class CGPUKeyer
{
public:
    CGPUKeyer() = default;
    virtual ~CGPUKeyer() = default;
    CGPUKeyer(const CGPUKeyer&) = delete;
    CGPUKeyer& operator=(const CGPUKeyer&) = delete;

    /// Keys a frame (types RGB, HLS and YUV) into a new one. Any failure, or no frame: it can be keyed on the CPU.
    virtual HRESULT ProcessFrame(IZFFrame* _pFrame, const CHROMA_KEY_RAW& _key, IZFFrame** _ppFrameRes) = 0;
    /// Draws the frame's time onto a frame that ProcessFrame made. _pszProps: how, "bg-color=black(100)".
    virtual HRESULT DrawTime(IZFFrame* _pFrame, const char* _pszProps) = 0;
    /// Gives device and textures back; the next frame makes them again.
    virtual void Close() = 0;
};

/// The GPU path of this build. Never null: a build without one answers E_NOTIMPL.
std::unique_ptr<CGPUKeyer> GPUKeyer_Create();
