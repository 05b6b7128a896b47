#pragma once

#include "Base/ZPtr.h"
#include "Interfaces/IZFFrame.h"
#include "ZChromaKey/Engine2/Unmix.h"
#include "ZChromaKey/Frame/FrameEngine.h"

#include <cstdint>
#include <memory>

/// Learns from the cells of a picture on the GPU, in the middle of its passes.
class IUnmixLearner
{
public:
    /// As Unmix_LearnCells. On success State is that of the picture.
    virtual HRESULT Learn(const UNMIX_CELL_INPUT& _input) = 0;
    virtual UNMIX_STATE& State() = 0;

protected:
    ~IUnmixLearner() = default;
};

/// The second generation on the GPU, as its engine sees it: what is made per pixel. What is made per cell, and with it
/// all that lasts from frame to frame but the differences of the frame before, stays with the engine. Calls come from
/// one thread at a time.
class CUnmixGPU
{
public:
    CUnmixGPU() = default;
    virtual ~CUnmixGPU() = default;
    CUnmixGPU(const CUnmixGPU&) = delete;
    CUnmixGPU& operator=(const CUnmixGPU&) = delete;

    /// Whether pictures in system memory can be keyed here; asked before anything is learned from one. E_NOTIMPL: there
    /// is no GPU; else what keeps the device from working.
    virtual HRESULT Check(const ENGINE_GPU_OPTIONS& _options) = 0;
    /// Whether what samples of such a picture say beyond its bytes is made here, so that Unmix_Open need not.
    virtual bool Rebuilds(const ZF_VID_PROPS& _vidProps) const = 0;
    /// Writes the pixels of a picture in system memory that was learned from, as Unmix_Write does before edges and
    /// views. _input: the picture; _picture: as Unmix_Open gives it, in 64ths of a level where these are not made here.
    /// It waits for the GPU. After a failure the CPU can still write them.
    virtual HRESULT Pixels(UNMIX_STATE& _state, const UNMIX_INPUT& _input, const UNMIX_PICTURE& _picture,
                           const UNMIX_RESULT& _result, const ENGINE_GPU_OPTIONS& _options) = 0;
    /// Keys a frame in a texture into a new texture of the same device. E_NOTIMPL: a picture that is not for
    /// the GPU; the log says why.
    virtual HRESULT ProcessFrame(IZFFrame* _pFrame, IUnmixLearner& _learner, const ENGINE_GPU_OPTIONS& _options,
                                 IZFFrame** _ppFrameRes) = 0;
    /// Gives device and textures back; the next frame makes them again.
    virtual void Close() = 0;
};

/// The GPU path of this build. Never null: a build without one answers E_NOTIMPL.
std::unique_ptr<CUnmixGPU> UnmixGPU_Create();
