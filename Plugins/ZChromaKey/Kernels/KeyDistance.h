#pragma once

#include "ZChromaKey/Kernels/KeyKernels.h"

/// The plain C++ kernels: the readable form, and what every other level is held to.
void KeyDistance_C(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, const KEY_DISTANCE& _key) noexcept;
void KeyDistanceMin_C(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, const KEY_DISTANCE& _key) noexcept;
