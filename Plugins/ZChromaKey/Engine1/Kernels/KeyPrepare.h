#pragma once

#include "Interfaces/ChromaKeyTypes.h"
#include "ZChromaKey/Engine1/Kernels/KeyKernels.h"

/// The key's constants for the distance kernels.
///
/// A pixel is inside when the sum of ((x - value) / delta)^2 over the components is at most 1; alpha is 0 there, and
/// reaches 255 at the mean level of the ellipsoid whose half-axes are delta + nSmoothRange. The weights are scaled so
/// that they fit 15 bits and the threshold 30. nAlpha is clamped to 0...255, nSmoothRange to at least 0.
///
/// _bSwap02: the key's words hold R, G, B and the pixels B, G, R.
KEY_DISTANCE KeyDistance_Prepare(const SINGLE_KEY& _key, bool _bSwap02) noexcept;
