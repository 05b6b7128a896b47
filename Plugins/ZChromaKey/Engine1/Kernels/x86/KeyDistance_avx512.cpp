#include "Simd/Simd_avx512.h"
#include "ZChromaKey/Engine1/Kernels/KeyDistanceRow.h"
#include "ZChromaKey/Engine1/Kernels/x86/KeyKernels_x86.h"

void KeySet_AVX512(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, size_t _nMerged,
                   const KEY_SET& _set) noexcept
{
    KeySet<SIMD_AVX512>(_pAlpha, _pPixels, _nPixels, _nMerged, _set);
}
