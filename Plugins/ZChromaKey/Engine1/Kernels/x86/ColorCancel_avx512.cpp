#include "Simd/Simd_avx512.h"
#include "ZChromaKey/Engine1/Kernels/ColorCancelRow.h"
#include "ZChromaKey/Engine1/Kernels/x86/KeyKernels_x86.h"

void CancelBGRA_AVX512(uint8_t* _pPixels, size_t _nPixels, const CANCEL_SET& _set) noexcept
{
    CancelBGRA<SIMD_AVX512>(_pPixels, _nPixels, _set);
}

void CancelPairs_AVX512(uint8_t* _pPairs, size_t _nPairs, const PAIR_LAYOUT& _layout, const CANCEL_SET& _set) noexcept
{
    CancelPairs<SIMD_AVX512>(_pPairs, _nPairs, _layout, _set);
}
