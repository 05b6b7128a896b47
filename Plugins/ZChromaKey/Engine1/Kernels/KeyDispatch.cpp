#include "ZChromaKey/Engine1/Kernels/KeyDistance.h"
#include "ZChromaKey/Engine1/Kernels/x86/KeyKernels_x86.h"

void KeyKernels_Init(KEY_KERNELS* _pKernels, [[maybe_unused]] eSIMD_Level _eMax) noexcept
{
    *_pKernels = {
        .pfnKeySet = KeySet_C,
        .pfnCancelBGRA = CancelBGRA_C,
        .pfnCancelPairs = CancelPairs_C,
    };
#if defined(ZCK_X86)
    if (_eMax >= eSIMD_AVX2)
        *_pKernels = {
            .pfnKeySet = KeySet_AVX2,
            .pfnCancelBGRA = CancelBGRA_AVX2,
            .pfnCancelPairs = CancelPairs_AVX2,
        };
    if (_eMax >= eSIMD_AVX512)
        *_pKernels = {
            .pfnKeySet = KeySet_AVX512,
            .pfnCancelBGRA = CancelBGRA_AVX512,
            .pfnCancelPairs = CancelPairs_AVX512,
        };
#endif
}

const KEY_KERNELS& KeyKernels()
{
    static const KEY_KERNELS kernels = [] {
        KEY_KERNELS res;
        KeyKernels_Init(&res, ZCpu_Level());
        return res;
    }();
    return kernels;
}
