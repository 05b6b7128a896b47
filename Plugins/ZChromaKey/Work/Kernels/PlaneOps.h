#pragma once

#include <cstddef>
#include <cstdint>

/// Smoothing leaves pixels below it as they are: less than 1 % of 255.
inline constexpr uint8_t c_nLeastSmoothed = 3;

/// The plain C++ kernels over rows of a mask; PLANE_KERNELS says what each does.
void Threshold_C(uint8_t* _pAlpha, size_t _nPixels, uint8_t _nMin, uint8_t _nMax) noexcept;
void Invert_C(uint8_t* _pAlpha, size_t _nPixels) noexcept;
void Smooth_C(uint8_t* _pResult, const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow,
              size_t _nPixels) noexcept;
void AlphaSet_C(uint8_t* _pPixels, const uint8_t* _pAlpha, size_t _nPixels) noexcept;
void AlphaGet_C(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels) noexcept;
