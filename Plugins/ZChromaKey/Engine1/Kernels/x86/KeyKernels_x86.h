#pragma once

#include "ZChromaKey/Engine1/Kernels/KeyKernels.h"

/// The kernels for instruction sets of x86-64 processors; KEY_KERNELS says what each does.

void KeySet_AVX2(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, size_t _nMerged,
                 const KEY_SET& _set) noexcept;
void CancelBGRA_AVX2(uint8_t* _pPixels, size_t _nPixels, const CANCEL_SET& _set) noexcept;
void CancelPairs_AVX2(uint8_t* _pPairs, size_t _nPairs, const PAIR_LAYOUT& _layout, const CANCEL_SET& _set) noexcept;

void KeySet_AVX512(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, size_t _nMerged,
                   const KEY_SET& _set) noexcept;
void CancelBGRA_AVX512(uint8_t* _pPixels, size_t _nPixels, const CANCEL_SET& _set) noexcept;
void CancelPairs_AVX512(uint8_t* _pPairs, size_t _nPairs, const PAIR_LAYOUT& _layout, const CANCEL_SET& _set) noexcept;

/// A key's constants as they lie in every 32-bit lane. Two components of a pixel, or one component of two pixels, are
/// the words of a lane.
struct KEY_LANES
{
    uint32_t nValue02;
    uint32_t nValue11;
    uint32_t nWeight02;
    uint32_t nWeight1Low;
    uint32_t nWeight1High;
    int32_t nOpaque; ///< least sum whose alpha is 255
    int32_t nInside; ///< least sum outside the key
    int32_t nSoft;   ///< number of sums between the two
    int32_t nFloor;
    float fltScale;
};

/// The constants of some keys, at most c_nMaxRowKeys.
void KeyLanes_Make(KEY_LANES* _pLanes, const KEY_DISTANCE* _pKeys, int _nKeys) noexcept;
