#include "ZChromaKey/Work/Kernels/PlaneOps.h"
#include "ZChromaKey/Work/Kernels/x86/PlaneOps_x86.h"

#include <immintrin.h>

namespace
{

constexpr size_t c_nBytes = 64; // in a vector

/// The first bytes of a vector, all of them when there are more.
__mmask64 FirstBytes(size_t _nBytes)
{
    return _nBytes < c_nBytes ? (1ull << _nBytes) - 1 : ~0ull;
}

struct SUMS
{
    __m512i vecEven; // words of the even columns
    __m512i vecOdd;
};

__m512i Weighted(__m512i _vecOuter0, __m512i _vecInner, __m512i _vecOuter1)
{
    return _mm512_add_epi16(_mm512_add_epi16(_vecOuter0, _vecOuter1), _mm512_slli_epi16(_vecInner, 1));
}

/// Columns of three rows, filtered downwards.
SUMS Columns(const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow)
{
    const __m512i vecLow = _mm512_set1_epi16(0xFF);
    const __m512i vecAbove = _mm512_loadu_si512(_pAbove);
    const __m512i vecRow = _mm512_loadu_si512(_pRow);
    const __m512i vecBelow = _mm512_loadu_si512(_pBelow);
    return {Weighted(_mm512_and_si512(vecAbove, vecLow), _mm512_and_si512(vecRow, vecLow),
                     _mm512_and_si512(vecBelow, vecLow)),
            Weighted(_mm512_srli_epi16(vecAbove, 8), _mm512_srli_epi16(vecRow, 8), _mm512_srli_epi16(vecBelow, 8))};
}

/// A vector of columns that all have a neighbour on either side.
void SmoothVector(uint8_t* _pResult, const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow)
{
    // An even column has odd neighbours: the one behind is in the same place, the one before a column earlier.
    const SUMS here = Columns(_pAbove, _pRow, _pBelow);
    const SUMS before = Columns(_pAbove - 1, _pRow - 1, _pBelow - 1);
    const SUMS behind = Columns(_pAbove + 1, _pRow + 1, _pBelow + 1);
    const __m512i vecHalf = _mm512_set1_epi16(8);
    const __m512i vecEven = Weighted(before.vecEven, here.vecEven, _mm512_add_epi16(here.vecOdd, vecHalf));
    const __m512i vecOdd = Weighted(here.vecEven, here.vecOdd, _mm512_add_epi16(behind.vecOdd, vecHalf));
    const __m512i vecMean =
        _mm512_or_si512(_mm512_srli_epi16(vecEven, 4), _mm512_slli_epi16(_mm512_srli_epi16(vecOdd, 4), 8));
    const __m512i vecRow = _mm512_loadu_si512(_pRow);
    const __mmask64 nKeep = _mm512_cmplt_epu8_mask(vecRow, _mm512_set1_epi8(c_nLeastSmoothed));
    _mm512_storeu_si512(_pResult, _mm512_mask_mov_epi8(vecMean, nKeep, vecRow));
}

} // namespace

void Threshold_AVX512(uint8_t* _pAlpha, size_t _nPixels, uint8_t _nMin, uint8_t _nMax) noexcept
{
    const __m512i vecMin = _mm512_set1_epi8(static_cast<char>(_nMin));
    const __m512i vecMax = _mm512_set1_epi8(static_cast<char>(_nMax));
    for (size_t n = 0; n < _nPixels; n += c_nBytes)
    {
        const __mmask64 nMask = FirstBytes(_nPixels - n);
        __m512i vecAlpha = _mm512_maskz_loadu_epi8(nMask, _pAlpha + n);
        const __mmask64 nKept = _mm512_cmpge_epu8_mask(vecAlpha, vecMin);
        const __mmask64 nAbove = _mm512_cmpgt_epu8_mask(vecAlpha, vecMax);
        vecAlpha = _mm512_maskz_mov_epi8(nKept, _mm512_mask_set1_epi8(vecAlpha, nAbove, -1));
        _mm512_mask_storeu_epi8(_pAlpha + n, nMask, vecAlpha);
    }
}

void Invert_AVX512(uint8_t* _pAlpha, size_t _nPixels) noexcept
{
    for (size_t n = 0; n < _nPixels; n += c_nBytes)
    {
        const __mmask64 nMask = FirstBytes(_nPixels - n);
        const __m512i vecAlpha = _mm512_maskz_loadu_epi8(nMask, _pAlpha + n);
        _mm512_mask_storeu_epi8(_pAlpha + n, nMask, _mm512_xor_si512(vecAlpha, _mm512_set1_epi8(-1)));
    }
}

void Smooth_AVX512(uint8_t* _pResult, const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow,
                   size_t _nPixels) noexcept
{
    if (_nPixels < c_nBytes + 2)
    {
        Smooth_C(_pResult, _pAbove, _pRow, _pBelow, _nPixels);
        return;
    }
    // The columns at both ends, each with its neighbour; what they say about that one is written over.
    Smooth_C(_pResult, _pAbove, _pRow, _pBelow, 2);
    const size_t nEnd = _nPixels - 2;
    Smooth_C(_pResult + nEnd, _pAbove + nEnd, _pRow + nEnd, _pBelow + nEnd, 2);
    const size_t nLast = _nPixels - 1 - c_nBytes;
    for (size_t n = 1; n < nLast; n += c_nBytes)
        SmoothVector(_pResult + n, _pAbove + n, _pRow + n, _pBelow + n);
    SmoothVector(_pResult + nLast, _pAbove + nLast, _pRow + nLast, _pBelow + nLast);
}

void AlphaSet_AVX512(uint8_t* _pPixels, const uint8_t* _pAlpha, size_t _nPixels) noexcept
{
    constexpr size_t c_nLanes = 16;
    for (size_t n = 0; n < _nPixels; n += c_nLanes)
    {
        const size_t nRest = _nPixels - n;
        const auto nMask = static_cast<__mmask16>(nRest < c_nLanes ? (1u << nRest) - 1 : 0xFFFF);
        const __m512i vecPixels = _mm512_maskz_loadu_epi32(nMask, _pPixels + 4 * n);
        const __m512i vecAlpha = _mm512_cvtepu8_epi32(_mm_maskz_loadu_epi8(nMask, _pAlpha + n));
        const __m512i vecColour = _mm512_and_si512(vecPixels, _mm512_set1_epi32(0x00FFFFFF));
        _mm512_mask_storeu_epi32(_pPixels + 4 * n, nMask, _mm512_or_si512(vecColour, _mm512_slli_epi32(vecAlpha, 24)));
    }
}
