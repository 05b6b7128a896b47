#include "Simd/Simd_avx512.h"
#include "ZChromaKey/Engine2/Kernels/UnmixTable.h"
#include "ZChromaKey/Engine2/Kernels/x86/UnmixKernels_x86.h"

void UnmixKernels_AVX512(UNMIX_KERNELS* _pKernels) noexcept
{
    *_pKernels = UnmixTable<SIMD_AVX512>();
}
