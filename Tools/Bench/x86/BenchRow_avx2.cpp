#include "Bench/x86/BenchRowVector.h"
#include "Simd/Simd_avx2.h"

void BenchRow_AVX2(uint8_t* _pMask, const uint8_t* _pPixels, size_t _nPixels) noexcept
{
    BenchRow<SIMD_AVX2>(_pMask, _pPixels, _nPixels);
}

void BenchCopy_AVX2(uint8_t* _pResult, const uint8_t* _pPixels, size_t _nPixels) noexcept
{
    BenchCopy<SIMD_AVX2>(_pResult, _pPixels, _nPixels);
}
