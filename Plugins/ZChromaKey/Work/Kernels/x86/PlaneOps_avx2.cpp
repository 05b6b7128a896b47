#include "ZChromaKey/Work/Kernels/PlaneOps.h"
#include "ZChromaKey/Work/Kernels/x86/PlaneOps_x86.h"

#include <immintrin.h>

namespace
{

constexpr size_t c_nBytes = 32; // in a vector

__m256i Load(const uint8_t* _pBytes)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(_pBytes));
}

void Store(uint8_t* _pBytes, __m256i _vecBytes)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(_pBytes), _vecBytes);
}

struct SUMS
{
    __m256i vecEven; // words of the even columns
    __m256i vecOdd;
};

__m256i Weighted(__m256i _vecOuter0, __m256i _vecInner, __m256i _vecOuter1)
{
    return _mm256_add_epi16(_mm256_add_epi16(_vecOuter0, _vecOuter1), _mm256_slli_epi16(_vecInner, 1));
}

/// Columns of three rows, filtered downwards.
SUMS Columns(const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow)
{
    const __m256i vecLow = _mm256_set1_epi16(0xFF);
    const __m256i vecAbove = Load(_pAbove);
    const __m256i vecRow = Load(_pRow);
    const __m256i vecBelow = Load(_pBelow);
    return {Weighted(_mm256_and_si256(vecAbove, vecLow), _mm256_and_si256(vecRow, vecLow),
                     _mm256_and_si256(vecBelow, vecLow)),
            Weighted(_mm256_srli_epi16(vecAbove, 8), _mm256_srli_epi16(vecRow, 8), _mm256_srli_epi16(vecBelow, 8))};
}

/// A vector of columns that all have a neighbour on either side.
void SmoothVector(uint8_t* _pResult, const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow)
{
    // An even column has odd neighbours: the one behind is in the same place, the one before a column earlier.
    const SUMS here = Columns(_pAbove, _pRow, _pBelow);
    const SUMS before = Columns(_pAbove - 1, _pRow - 1, _pBelow - 1);
    const SUMS behind = Columns(_pAbove + 1, _pRow + 1, _pBelow + 1);
    const __m256i vecHalf = _mm256_set1_epi16(8);
    const __m256i vecEven = Weighted(before.vecEven, here.vecEven, _mm256_add_epi16(here.vecOdd, vecHalf));
    const __m256i vecOdd = Weighted(here.vecEven, here.vecOdd, _mm256_add_epi16(behind.vecOdd, vecHalf));
    const __m256i vecMean =
        _mm256_or_si256(_mm256_srli_epi16(vecEven, 4), _mm256_slli_epi16(_mm256_srli_epi16(vecOdd, 4), 8));
    const __m256i vecRow = Load(_pRow);
    const __m256i vecBig = _mm256_set1_epi8(c_nLeastSmoothed);
    const __m256i vecChange = _mm256_cmpeq_epi8(_mm256_max_epu8(vecRow, vecBig), vecRow);
    Store(_pResult, _mm256_blendv_epi8(vecRow, vecMean, vecChange));
}

} // namespace

void Threshold_AVX2(uint8_t* _pAlpha, size_t _nPixels, uint8_t _nMin, uint8_t _nMax) noexcept
{
    const __m256i vecMin = _mm256_set1_epi8(static_cast<char>(_nMin));
    const __m256i vecMax = _mm256_set1_epi8(static_cast<char>(_nMax));
    size_t n = 0;
    for (; n + c_nBytes <= _nPixels; n += c_nBytes)
    {
        const __m256i vecAlpha = Load(_pAlpha + n);
        const __m256i vecKept = _mm256_cmpeq_epi8(_mm256_max_epu8(vecAlpha, vecMin), vecAlpha);
        const __m256i vecNotAbove = _mm256_cmpeq_epi8(_mm256_min_epu8(vecAlpha, vecMax), vecAlpha);
        const __m256i vecAbove = _mm256_xor_si256(vecNotAbove, _mm256_set1_epi8(-1));
        Store(_pAlpha + n, _mm256_and_si256(vecKept, _mm256_or_si256(vecAlpha, vecAbove)));
    }
    Threshold_C(_pAlpha + n, _nPixels - n, _nMin, _nMax);
}

void Invert_AVX2(uint8_t* _pAlpha, size_t _nPixels) noexcept
{
    size_t n = 0;
    for (; n + c_nBytes <= _nPixels; n += c_nBytes)
        Store(_pAlpha + n, _mm256_xor_si256(Load(_pAlpha + n), _mm256_set1_epi8(-1)));
    Invert_C(_pAlpha + n, _nPixels - n);
}

void Smooth_AVX2(uint8_t* _pResult, const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow,
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

void AlphaSet_AVX2(uint8_t* _pPixels, const uint8_t* _pAlpha, size_t _nPixels) noexcept
{
    constexpr size_t c_nLanes = 8;
    size_t n = 0;
    for (; n + c_nLanes <= _nPixels; n += c_nLanes)
    {
        const __m128i vecBytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(_pAlpha + n));
        const __m256i vecAlpha = _mm256_slli_epi32(_mm256_cvtepu8_epi32(vecBytes), 24);
        const __m256i vecColour = _mm256_and_si256(Load(_pPixels + 4 * n), _mm256_set1_epi32(0x00FFFFFF));
        Store(_pPixels + 4 * n, _mm256_or_si256(vecColour, vecAlpha));
    }
    AlphaSet_C(_pPixels + 4 * n, _pAlpha + n, _nPixels - n);
}
