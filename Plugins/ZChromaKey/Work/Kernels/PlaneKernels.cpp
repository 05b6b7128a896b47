#include "ZChromaKey/Work/Kernels/PlaneKernels.h"

#include "ZChromaKey/Work/Kernels/PlaneOps.h"
#include "ZChromaKey/Work/Kernels/x86/PlaneOps_x86.h"

void PlaneKernels_Init(PLANE_KERNELS* _pKernels, [[maybe_unused]] eSIMD_Level _eMax) noexcept
{
    *_pKernels = {
        .pfnThreshold = Threshold_C,
        .pfnInvert = Invert_C,
        .pfnSmooth = Smooth_C,
        .pfnAlphaSet = AlphaSet_C,
        .pfnAlphaGet = AlphaGet_C,
    };
#if defined(ZCK_X86)
    if (_eMax >= eSIMD_AVX2)
        *_pKernels = {
            .pfnThreshold = Threshold_AVX2,
            .pfnInvert = Invert_AVX2,
            .pfnSmooth = Smooth_AVX2,
            .pfnAlphaSet = AlphaSet_AVX2,
            .pfnAlphaGet = AlphaGet_AVX2,
        };
    if (_eMax >= eSIMD_AVX512)
        *_pKernels = {
            .pfnThreshold = Threshold_AVX512,
            .pfnInvert = Invert_AVX512,
            .pfnSmooth = Smooth_AVX512,
            .pfnAlphaSet = AlphaSet_AVX512,
            .pfnAlphaGet = AlphaGet_AVX512,
        };
#endif
}

const PLANE_KERNELS& PlaneKernels()
{
    static const PLANE_KERNELS kernels = [] {
        PLANE_KERNELS res;
        PlaneKernels_Init(&res, ZCpu_Level());
        return res;
    }();
    return kernels;
}
