#pragma once

#include "Base/ZCpu.h"

#include <cstddef>
#include <cstdint>

/// What is done to rows of a finished mask. Rows need no alignment, may have any length and do not overlap. No kernel
/// touches a byte past the end of its row. Every level gives the same bytes.
struct PLANE_KERNELS
{
    /// Below _nMin: 0, else above _nMax: 255.
    void (*pfnThreshold)(uint8_t* _pAlpha, size_t _nPixels, uint8_t _nMin, uint8_t _nMax) noexcept;
    /// alpha = 255 - alpha
    void (*pfnInvert)(uint8_t* _pAlpha, size_t _nPixels) noexcept;
    /// The 3 x 3 filter (1 2 1 / 2 4 2 / 1 2 1) / 16, rounded half up, columns clamped at both ends; pixels below 3
    /// (1 % of 255) keep their value. _pResult may be none of the three sources.
    void (*pfnSmooth)(uint8_t* _pResult, const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow,
                      size_t _nPixels) noexcept;
    /// Sets the alpha bytes of a row of B, G, R, A pixels.
    void (*pfnAlphaSet)(uint8_t* _pPixels, const uint8_t* _pAlpha, size_t _nPixels) noexcept;
    /// The inverse: takes the alpha bytes out.
    void (*pfnAlphaGet)(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels) noexcept;
};

/// Fills the table with the fastest kernels that need no more than the given level.
void PlaneKernels_Init(PLANE_KERNELS* _pKernels, eSIMD_Level _eMax) noexcept;
/// The kernels that this processor runs best.
const PLANE_KERNELS& PlaneKernels();
