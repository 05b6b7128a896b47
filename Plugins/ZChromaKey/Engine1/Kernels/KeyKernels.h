#pragma once

#include "Base/ZCpu.h"
#include "ZChromaKey/Engine1/Kernels/ColorCancel.h"

#include <cstddef>
#include <cstdint>

/// One key, prepared once per frame for the row kernels (KeyDistance_Prepare).
///
/// Components 0 to 2 are the bytes of a pixel from its lowest address: B, G, R for RGB keys; H, L, S or Y, U, V for the
/// others.
struct KEY_DISTANCE
{
    int16_t arrValue[3];  ///< centre, 1 to 254
    int16_t arrWeight[3]; ///< weight of the halved squared difference, 0 to 16382
    int32_t nThreshold;   ///< halved level of the key's ellipsoid, 0 to 2^30 - 1
    int32_t nOpaque;      ///< least excess over nThreshold whose alpha is 255, at least 1; INT32_MAX: there is none
    float fltScale;       ///< alpha per square root of the excess over nThreshold, above 0, at most 1000
    uint8_t nAlphaFloor;  ///< least alpha of a matched pixel, added to every alpha with saturation
};

/// The most keys of either kind in a set.
inline constexpr int c_nMaxRowKeys = 16;

/// The keys of a set as the row kernels take them. Borrowed.
struct KEY_SET
{
    const KEY_DISTANCE* pKeying;  ///< keys that lower alpha
    int nKeying;                  ///< 1 to 16
    const KEY_DISTANCE* pExclude; ///< keys whose matches stay opaque; their nAlphaFloor is 0
    int nExclude;                 ///< 0 to 16
    const uint8_t* pExpect = {};  ///< a row of 4 bytes a pixel that is read next, fetched meanwhile; null: none
};

/// What the engine does to rows of pixels. Rows need no alignment, may have any length and do not overlap. No kernel
/// touches a byte past the end of its row. Every level gives the same bytes: integer arithmetic, or single precision in
/// a fixed order, true square roots and fixed rounding.
struct KEY_KERNELS
{
    /// Alpha of a row of 4-byte pixels for a set of keys. Per pixel and key:
    ///     n = sum over c of weight[c] * ((x[c] - value[c])^2 >> 1) - threshold      32-bit, no overflow
    ///     f = n <= 0 ? 0 : min(255, sqrt(float(n)) * scale)                         single precision
    ///     a = min(255, trunc(f + 0.5) + floor)
    /// Alpha is the least a of the keying keys, but not below 255 - the least a of the exclusion keys. Only the first
    /// _nMerged pixels (at most _nPixels) are held to all keys; the rest of the row to the first key of either kind.
    void (*pfnKeySet)(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, size_t _nMerged,
                      const KEY_SET& _set) noexcept;
    /// Colour cancel (ColorCancel.h) of a row of B, G, R, A pixels; alpha bytes are left as they are. The set has a
    /// key.
    void (*pfnCancelBGRA)(uint8_t* _pPixels, size_t _nPixels, const CANCEL_SET& _set) noexcept;
    /// Colour cancel of a row of packed 4:2:2, two pixels a unit. Chroma becomes the mean of the pixels' cleaned ones.
    void (*pfnCancelPairs)(uint8_t* _pPairs, size_t _nPairs, const PAIR_LAYOUT& _layout,
                           const CANCEL_SET& _set) noexcept;
};

/// Fills the table with the fastest kernels that need no more than the given level.
void KeyKernels_Init(KEY_KERNELS* _pKernels, eSIMD_Level _eMax) noexcept;
/// The kernels that this processor runs best.
const KEY_KERNELS& KeyKernels();
