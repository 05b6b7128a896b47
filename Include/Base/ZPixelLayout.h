#pragma once

#include <cstdint>

/// How pixels lie in memory. Free of the standard library, so that kernels may include it.

/// How the samples of a row lie; several formats share a layout. Each one has a kernel that reads it.
enum eImgLayout : int32_t
{
    eIL_None = -1, ///< nothing here reads or writes the pixels
    eIL_RGB8 = 0,  ///< one byte of grey
    eIL_RGB24,     ///< bytes B, G, R
    eIL_RGB32,     ///< bytes B, G, R and one that is not used
    eIL_ARGB32,    ///< bytes B, G, R, A
    eIL_r210,      ///< a big-endian word: 2 bits that are not used, then R, G, B of 10 bits each
    eIL_v210,      ///< samples of 10 bits, U Y V Y U Y ..., three in a little-endian word, lowest bits first
    eIL_YUYV,      ///< two pixels in four bytes: Z_PairBytes
    eIL_UYVY,
    eIL_YVYU,
    eIL_Planar, ///< half-width chroma in planes of its own
    eIL_NV12,   ///< one plane of chroma: U and V in turn
    eIL_ARGB64, ///< little-endian words B, G, R, A of 16 bits
    eIL_RGBA32, ///< bytes R, G, B, A
    eIL_P010,   ///< as eIL_NV12, but ten bits in the high bits of little-endian words
    eIL_Count,
};

/// Where the samples of two pixels that share their chroma lie: the bytes of the first and second Y, of U and of V.
struct Z_PAIR_BYTES
{
    int8_t nY0;
    int8_t nY1;
    int8_t nU;
    int8_t nV;
};
/// Of the layouts of two pixels in four bytes; of any other layout that of eIL_UYVY, which v210 has, too.
constexpr Z_PAIR_BYTES Z_PairBytes(eImgLayout _eLayout)
{
    if (_eLayout == eIL_YUYV)
        return {0, 2, 1, 3};
    if (_eLayout == eIL_YVYU)
        return {0, 2, 3, 1};
    return {1, 3, 0, 2};
}
/// Whether a layout is one of two pixels in four bytes.
constexpr bool Z_IsPairs(eImgLayout _eLayout)
{
    return _eLayout == eIL_YUYV || _eLayout == eIL_UYVY || _eLayout == eIL_YVYU;
}
