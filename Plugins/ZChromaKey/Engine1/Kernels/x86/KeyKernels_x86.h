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
