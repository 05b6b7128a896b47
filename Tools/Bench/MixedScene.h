#pragma once

#include "Bench/BenchRing.h"

/// A clip for measuring the second generation: how much of its pictures is mixed can be chosen, and no frame is like
/// the one before. Before an unevenly lit green screen a body moves; thin brown strands cover a share of the picture,
/// so that no cell of 4x4 pixels among them is wholly backdrop or wholly solid. A little noise lies over all of it.

/// The screen where the light on it is brightest: R, G, B.
inline constexpr int c_arrMixedScreen[3] = {45, 170, 70};

/// The frames of a ring. _nMixed: per cent of the picture, 0 to 75. Pictures are painted anew for each frame, so that
/// one thread takes 10 ns for a pixel. Throws CZHostError.
BENCH_RING MixedScene_Ring(int _nWidth, int _nHeight, int _nMixed, uint32_t _fccType);
/// One frame as B, G, R, A, opaque.
PICTURE MixedScene_Picture(int _nWidth, int _nHeight, int _nMixed, int _nFrame);
