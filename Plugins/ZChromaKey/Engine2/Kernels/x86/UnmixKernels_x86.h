#pragma once

#include "ZChromaKey/Engine2/Kernels/UnmixKernels.h"

/// Fill the table with the kernels for an instruction set of x86-64 processors.
void UnmixKernels_AVX2(UNMIX_KERNELS* _pKernels) noexcept;
void UnmixKernels_AVX512(UNMIX_KERNELS* _pKernels) noexcept;
