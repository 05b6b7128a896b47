#pragma once

#include "DirectX/Pipeline/GPUDownloader.h"
#include "ZChromaKey/Engine1/Gpu/GPUKeyPlan.h"

#include <vector>

/// What the passes have rendered of a frame; borrowed while the result is made.
struct GPU_KEY_RENDERED
{
    const GPU_KEY_PLAN& plan;
    IZFFrame2* pFrameOriginal; ///< as the host gave it
    IZFFrame2* pFrameIn;       ///< what was uploaded: the original, or its ARGB32 form
    IDX11Texture* pTexPicture; ///< ARGB32, one pixel a texel; null where there is none, as the next two
    IDX11Texture* pTexPacked;  ///< packed 4:2:2 with corrected colours
    IDX11Texture* pTexMask;    ///< one byte a pixel: in one channel, or four pixels a texel
    IDX11Allocator* pAllocator;
};

/// Makes the result of a frame in system memory: the frame that is handed out, and its mask.
class CGPUKeyResult
{
public:
    /// _pvecFrames: takes every frame that is made, also where making the result fails.
    CGPUKeyResult(const GPU_KEY_RENDERED& _rendered, Downloader* _pDownloader,
                  std::vector<CZPtr<IZFFrame>>* _pvecFrames);
    /// Waits for the GPU. Failures are logged as those of GPUChromaKey::GetFrame.
    HRESULT Make(IZFFrame** _ppFrameRes);

private:
    HRESULT CopiesRecord();
    HRESULT CopyRecord(IDX11Texture* _pTextureOrNull, CZPtr<IDX11Texture>* _pcpReadable) const;
    HRESULT FrameMake(IZFFrame** _ppFrameRes);
    HRESULT FrameRenew(const ZF_VID_PROPS& _vidProps, IZFFrame** _ppFrameRes);
    HRESULT FrameFill(IZFFrame* _pFrameRes);
    HRESULT MaskMake(IZFFrame** _ppMask, ZF_VID_PTR* _pVidPtr);
    HRESULT MaskFill(const ZF_VID_PTR& _vidPtrMask, IZFFrame* _pFrameRes);
    HRESULT MaskAttach(IZFFrame* _pFrameRes);

    const GPU_KEY_RENDERED& m_rendered;
    Downloader* m_pDownloader;
    std::vector<CZPtr<IZFFrame>>* m_pvecFrames;
    CZPtr<IDX11Texture> m_cpReadablePicture; ///< copies on their way into memory; null where there is none
    CZPtr<IDX11Texture> m_cpReadableMask;
};
