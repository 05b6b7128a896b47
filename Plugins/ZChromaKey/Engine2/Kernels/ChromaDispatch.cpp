#include "ZChromaKey/Engine2/Kernels/x86/ChromaKernels_x86.h"

void ChromaKernels_Init(CHROMA_KERNELS* _pKernels, [[maybe_unused]] eSIMD_Level _eMax) noexcept
{
    *_pKernels = {.pfnRebuild = ChromaRebuild_C};
#if defined(ZCK_X86)
    if (_eMax >= eSIMD_AVX2)
        *_pKernels = {.pfnRebuild = ChromaRebuild_AVX2};
    if (_eMax >= eSIMD_AVX512)
        *_pKernels = {.pfnRebuild = ChromaRebuild_AVX512};
#endif
}

const CHROMA_KERNELS& ChromaKernels()
{
    static const CHROMA_KERNELS kernels = [] {
        CHROMA_KERNELS res;
        ChromaKernels_Init(&res, ZCpu_Level());
        return res;
    }();
    return kernels;
}
