#include "Simd/Simd_avx2.h"
#include "ZChromaKey/Work/Kernels/PlaneOpsRow.h"
#include "ZChromaKey/Work/Kernels/x86/PlaneOps_x86.h"

void Threshold_AVX2(uint8_t* _pAlpha, size_t _nPixels, uint8_t _nMin, uint8_t _nMax) noexcept
{
    Threshold<SIMD_AVX2>(_pAlpha, _nPixels, _nMin, _nMax);
}

void Invert_AVX2(uint8_t* _pAlpha, size_t _nPixels) noexcept
{
    Invert<SIMD_AVX2>(_pAlpha, _nPixels);
}

void Smooth_AVX2(uint8_t* _pResult, const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow,
                 size_t _nPixels) noexcept
{
    Smooth<SIMD_AVX2>(_pResult, _pAbove, _pRow, _pBelow, _nPixels);
}

void AlphaSet_AVX2(uint8_t* _pPixels, const uint8_t* _pAlpha, size_t _nPixels) noexcept
{
    AlphaSet<SIMD_AVX2>(_pPixels, _pAlpha, _nPixels);
}

void AlphaGet_AVX2(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels) noexcept
{
    AlphaGet<SIMD_AVX2>(_pAlpha, _pPixels, _nPixels);
}
