#pragma once

#include <stddef.h> // NOLINT(modernize-deprecated-headers): see below
#include <stdint.h> // NOLINT(modernize-deprecated-headers)

/// Vectors that a kernel is written over once and compiled with for every instruction set.
///
/// A kernel is a template of a level S: SIMD_PLAIN (Simd_plain.h), SIMD_AVX2 (Simd_avx2.h) or SIMD_AVX512
/// (Simd_avx512.h). Each level has
///
///     U8, U16, I32, F32   bytes, words, 32-bit integers and floats: vectors of c_nBytes bytes, made of one number too
///     M8, M32             truth values of bytes, and of 32-bit lanes
///     c_nBytes, c_nLanes  size in bytes, and in 32-bit lanes
///     Load…, Store        rows of memory, which need no alignment; those with a number touch the first _n elements
///                         only, any number from 0, and read the others as 0
///     Widen…              bytes of memory as the elements of a vector
///
/// and the operators and functions below, which give the same bits at every level. Integers wrap around.
///
///     U8    | & ^ ~  Min Max  AtLeast(a, b): a >= b  Select
///           ElseNone(mask, a), ElseAll(mask, a): a where true, else no bits or all
///     U16   + - *  | &  << >>; Even(bytes), Odd(bytes), JoinBytes(even, odd): bytes at even and odd places
///     I32   + - *  | & ^  << >> (keeps the sign)  ShiftedIn0(a, n): >> that does not  Min Max  Equal  Greater  Select
///           IsNegative  Below(a, n): 0 <= a < n, for n from 0
///           MulAdd(words, words): the sum of the two products in each lane; words count as signed
///     F32   + - * /  Sqrt Min Max Abs  Less  Select  ToF32(int), ToI32(float): cut off, within the range of int
///     M32   & |  Without(a, b): a and not b  Any
///     As<Vector>(vector)  the same bits as another vector
///
/// Min and Max of floats answer the second where none is less. Nothing is fused, nothing approximated.
///
/// In blocks of 16 bytes, each for itself:
///     ShuffleBytes(bytes, pattern of 16)  byte pattern[n], or 0 where that is 0xFF
///     PackWords(a, b), PackBytes(a, b)    the elements of a, then of b, at half the size, clamped from signed ones to
///                                         int16_t, and to 0 to 255
/// Across a whole vector:
///     PackLanes(a, b, c, d)   lanes from 0 to 255 of four vectors as bytes, in order
///     Interleave(a, b, first, second)   a0 b0 a1 b1 …, in two vectors
///     FirstThree(a)           lanes 0 1 2, 4 5 6, 8 9 10, …: the first three of each block side by side; the last
///                             quarter is undefined
///
/// Everything has internal linkage and is inlined by force: the linker never joins code of two levels, and no vector is
/// passed through memory, which is slow everywhere and misaligned on Win64. For the same reason these headers and the
/// kernels include nothing of the C++ library (Simd_plain.h does, and is for files without flags).
#if defined(_MSC_VER)
#define ZCK_INLINE __forceinline
#else
#define ZCK_INLINE inline __attribute__((always_inline))
#endif
