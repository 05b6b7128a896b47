#include "ZChromaKey/Kernels/KeyDistance.h"
#include "ZChromaKey/Kernels/PlaneOps.h"

void KeyKernels_Init(KEY_KERNELS* _pKernels, eSIMD_Level /*_eMax*/) noexcept
{
    *_pKernels = {
        .pfnDistance = KeyDistance_C,
        .pfnDistanceMin = KeyDistanceMin_C,
        .pfnExclude = Exclude_C,
        .pfnThreshold = Threshold_C,
        .pfnInvert = Invert_C,
        .pfnSmooth = Smooth_C,
        .pfnAlphaSet = AlphaSet_C,
    };
}
