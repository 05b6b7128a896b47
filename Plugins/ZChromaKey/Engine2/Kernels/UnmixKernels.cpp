#include "ZChromaKey/Engine2/Kernels/UnmixKernels.h"

#include "Simd/Simd_plain.h"
#include "ZChromaKey/Engine2/Kernels/UnmixTable.h"
#include "ZChromaKey/Engine2/Kernels/x86/UnmixKernels_x86.h"

void UnmixKernels_Init(UNMIX_KERNELS* _pKernels, [[maybe_unused]] eSIMD_Level _eMax) noexcept
{
    *_pKernels = UnmixTable<SIMD_PLAIN>();
#if defined(ZCK_X86)
    if (_eMax >= eSIMD_AVX2)
        UnmixKernels_AVX2(_pKernels);
    if (_eMax >= eSIMD_AVX512)
        UnmixKernels_AVX512(_pKernels);
#endif
}

const UNMIX_KERNELS& UnmixKernels()
{
    static const UNMIX_KERNELS kernels = [] {
        UNMIX_KERNELS res;
        UnmixKernels_Init(&res, ZCpu_Level());
        return res;
    }();
    return kernels;
}
