#pragma once

#include <cstddef>
#include <cstdint>

/// Vector types: a kernel is written once over them and compiled for every instruction set.
///
/// A kernel is a template whose parameter S is a level: SIMD_PLAIN (Simd_plain.h), SIMD_AVX2 (Simd_avx2.h) or
/// SIMD_AVX512 (Simd_avx512.h). A level has these members:
///
///     U8, U16, I32, F32   vectors of bytes, words, 32-bit integers and floats, all c_nBytes long; a single number
///                         converts to a vector that repeats it
///     M8, M16, M32        truth values, one for each byte, word or 32-bit lane
///     c_nBytes, c_nLanes  the length of a vector in bytes and in 32-bit lanes
///     Load, Store         for rows of memory, which need no alignment. The versions with a number _n (from 0) touch
///                         the first _n elements only; the others are loaded as 0
///     Prefetch            has the line of the cache that a byte is in fetched, while the caller goes on; the byte need
///                         not be readable. Does nothing in SIMD_PLAIN
///     WidenU16, WidenI32  load bytes of memory as words or as 32-bit integers; WidenI32 also int16_t
///     Narrow              stores 32-bit integers, which must fit, as int16_t
///     RepeatBlock         loads four floats into every block of 16 bytes
///     LoadBlocks, StoreBlocks  blocks of 16 bytes that lie a stride apart, such as four pixels of successive rows
///     WidenBlocks         loads blocks of four int16_t that lie a stride apart as 32-bit integers
///
/// The operators and functions below give the same bits at every level. Integers wrap around.
///
///     U8    | & ^ ~  Min Max  AtLeast(a, b): a >= b  Select(mask, then, else)
///           ElseNone(mask, a), ElseAll(mask, a): a where the mask is true, elsewhere no bit or every bit
///     U16   + - * | & << >>  Even(bytes), Odd(bytes): every second byte, as words  JoinBytes(even, odd): the inverse
///           AddPairs(bytes): sums of every two neighbours  MulRound(a, b): a b / 2^15, halves upward, and
///           ClampToByte(a): 0 to 255, of words that count as signed  AbsSigned, GreaterSigned: likewise
///           AddWhere(mask, a, b): a + b where the mask is true, else a; CountWhere(mask, a): the same with b = 1
///     I32   + - * | & ^ << >>  ShiftedIn0(a, n): shifts right like >>, which keeps the sign, but fills with zeros
///           Min Max Abs  Equal  Greater  IsNegative  Select  Below(a, n): 0 <= a < n, where n is not negative
///           MulAdd(words, words): for each lane the sum of its two products; words count as signed
///           AddProducts(bytes, bytes): for each lane the sum of its four products; the second count as signed, and the
///           sums of two must fit 16 bits
///     F32   + - * /  Sqrt Min Max Abs  Less  Select  ToF32(ints), ToI32(floats): truncates; must fit
///           AsInts(floats), AsFloats(ints): the same bits
///     M32   & |  Without(a, b): a and not b  Any  Bits: lane n as bit n
///     As<Vector>(vector)  the same bits as another vector of integers
///
/// Min and Max of floats return the second where neither is less. Nothing is fused or approximated.
///
/// These work on every block of 16 bytes separately:
///     LookedUp(table, places)             the byte of a table of 16 at each place, which counts by its lowest four
///                                         bits; 0 where it is 128 or more
///     DeinterleaveBlocks(a, b, even, odd) every second lane of a's block, then of b's, and the others
///     ShuffleBytes(bytes, pattern)        byte pattern[n] of the block, or 0 where the pattern has 0xFF
///     PackWords(a, b), PackBytes(a, b)    the elements of a's block, then those of b's, at half their size: signed
///                                         numbers are clamped to int16_t, and to 0 to 255
///     JoinWords(a, b, c, d, first, second)  the words of four vectors, which count as signed, clamped to 0 to 255, as
///                                         bytes a0 b0 c0 d0 a1 b1 and so on: those of the block's first four elements,
///                                         and of its last four
///     Spread<n>(floats)                   lane n of the block, in all of its lanes
/// These work on every lane separately:
///     JoinClamped(a, b, c, d)             the four numbers, clamped to 0 to 255, as its bytes from the lowest
///     HighWords(a, b)                     the high words of two numbers, a's as the lower one
/// These work across the whole vector:
///     PackLanes(a, b, c, d)               the lanes of four vectors, from 0 to 255, as bytes
///     Interleave(a, b, first, second)     a0 b0 a1 b1 and so on, as two vectors
///     Deinterleave(a, b, even, odd)       the inverse: every second lane of a, then of b
///     SplitHalves(a)                      the first 8 bytes of every block of 16, then the second 8
///     JoinHalves(a)                       the inverse of SplitHalves
///     FirstThree(a)                       lanes 0 1 2, 4 5 6, 8 9 10 and so on; the last quarter is undefined
///
/// All of it has internal linkage and is always inlined. So the linker can never merge code of two levels, which would
/// crash older processors, and no vector is passed through memory, which is slow everywhere and misaligned on Win64.
/// For the first reason the headers of a level and the kernels include nothing of the C++ library that has code; only
/// Simd_plain.h does, for files that are compiled without flags of their own.
#if defined(_MSC_VER)
#define ZCK_INLINE __forceinline
#else
#define ZCK_INLINE inline __attribute__((always_inline))
#endif
