#include "ZChromaKey/Kernels/KeyDistance.h"
#include "ZChromaKey/Kernels/PlaneOps.h"
#include "ZChromaKey/Kernels/x86/KeyKernels_x86.h"

void KeyKernels_Init(KEY_KERNELS* _pKernels, [[maybe_unused]] eSIMD_Level _eMax) noexcept
{
    *_pKernels = {
        .pfnKeySet = KeySet_C,
        .pfnThreshold = Threshold_C,
        .pfnInvert = Invert_C,
        .pfnSmooth = Smooth_C,
        .pfnAlphaSet = AlphaSet_C,
        .pfnCancelBGRA = CancelBGRA_C,
        .pfnCancelPairs = CancelPairs_C,
    };
#if defined(ZCK_X86)
    if (_eMax >= eSIMD_AVX2)
        *_pKernels = {
            .pfnKeySet = KeySet_AVX2,
            .pfnThreshold = Threshold_AVX2,
            .pfnInvert = Invert_AVX2,
            .pfnSmooth = Smooth_AVX2,
            .pfnAlphaSet = AlphaSet_AVX2,
            .pfnCancelBGRA = CancelBGRA_AVX2,
            .pfnCancelPairs = CancelPairs_AVX2,
        };
    if (_eMax >= eSIMD_AVX512)
        *_pKernels = {
            .pfnKeySet = KeySet_AVX512,
            .pfnThreshold = Threshold_AVX512,
            .pfnInvert = Invert_AVX512,
            .pfnSmooth = Smooth_AVX512,
            .pfnAlphaSet = AlphaSet_AVX512,
            .pfnCancelBGRA = CancelBGRA_AVX512,
            .pfnCancelPairs = CancelPairs_AVX512,
        };
#endif
}
