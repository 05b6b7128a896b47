#pragma once

#include <cstddef>
#include <cstdint>

/// The kernels for instruction sets of x86-64 processors; PLANE_KERNELS says what each does.

void Threshold_AVX2(uint8_t* _pAlpha, size_t _nPixels, uint8_t _nMin, uint8_t _nMax) noexcept;
void Invert_AVX2(uint8_t* _pAlpha, size_t _nPixels) noexcept;
void Smooth_AVX2(uint8_t* _pResult, const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow,
                 size_t _nPixels) noexcept;
void AlphaSet_AVX2(uint8_t* _pPixels, const uint8_t* _pAlpha, size_t _nPixels) noexcept;
void AlphaGet_AVX2(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels) noexcept;

void Threshold_AVX512(uint8_t* _pAlpha, size_t _nPixels, uint8_t _nMin, uint8_t _nMax) noexcept;
void Invert_AVX512(uint8_t* _pAlpha, size_t _nPixels) noexcept;
void Smooth_AVX512(uint8_t* _pResult, const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow,
                   size_t _nPixels) noexcept;
void AlphaSet_AVX512(uint8_t* _pPixels, const uint8_t* _pAlpha, size_t _nPixels) noexcept;
void AlphaGet_AVX512(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels) noexcept;
