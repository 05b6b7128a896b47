#pragma once

#include "ZChromaKey/Engine1/Kernels/KeyKernels.h"

/// The plain C++ kernels: the readable form, which every other level must match byte for byte.

/// The alpha of a row for one key, and the lesser of that and what _pAlpha holds.
void KeyDistance_C(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, const KEY_DISTANCE& _key) noexcept;
void KeyDistanceMin_C(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, const KEY_DISTANCE& _key) noexcept;

void KeySet_C(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, size_t _nMerged,
              const KEY_SET& _set) noexcept;
