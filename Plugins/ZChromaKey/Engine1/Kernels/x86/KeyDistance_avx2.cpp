#include "ZChromaKey/Engine1/Kernels/x86/KeyKernels_x86.h"

#include <immintrin.h>
#include <string.h> // NOLINT(modernize-deprecated-headers): no header of the C++ library here

namespace
{

constexpr size_t c_nBlock = 32; // pixels in four vectors

/// 32 pixels: their components 0 and 2, and component 1 of the first and second, third and fourth vector.
struct BLOCK
{
    __m256i vec02_0, vec02_1, vec02_2, vec02_3;
    __m256i vec1_01, vec1_23;
};

/// The least alpha that the keys gave the pixels of a block, 32 bits each.
struct LEAST
{
    __m256i vec0, vec1, vec2, vec3;
};

__m256i Lanes(uint32_t _nLane)
{
    return _mm256_set1_epi32(static_cast<int>(_nLane));
}

/// Squares of at most 255^2 are unsigned words, halved they are signed.
__m256i HalvedSquares(__m256i _vecWords, __m256i _vecValues)
{
    const __m256i vecDiff = _mm256_sub_epi16(_vecWords, _vecValues);
    return _mm256_srli_epi16(_mm256_mullo_epi16(vecDiff, vecDiff), 1);
}

/// The weighted sum of a pixel's halved squares, which fits 31 bits.
__m256i Sum(__m256i _vecSquares02, __m256i _vecWeight02, __m256i _vecSquares1, __m256i _vecWeight1)
{
    return _mm256_add_epi32(_mm256_madd_epi16(_vecSquares02, _vecWeight02),
                            _mm256_madd_epi16(_vecSquares1, _vecWeight1));
}

/// Alpha of pixels on the soft edge, from their excess less 1. Below 255 before the floor, by choice of the lanes.
__m256i SoftAlpha(__m256i _vecBeyond, const KEY_LANES& _key)
{
    const __m256i vecExcess =
        _mm256_max_epi32(_mm256_add_epi32(_vecBeyond, _mm256_set1_epi32(1)), _mm256_setzero_si256());
    const __m256 vecRoot = _mm256_sqrt_ps(_mm256_cvtepi32_ps(vecExcess));
    const __m256 vecAlpha = _mm256_add_ps(_mm256_mul_ps(vecRoot, _mm256_set1_ps(_key.fltScale)), _mm256_set1_ps(0.5f));
    return _mm256_add_epi32(_mm256_cvttps_epi32(vecAlpha), _mm256_set1_epi32(_key.nFloor));
}

/// _vecThen where _vecSign is below 0, else _vecElse; 32-bit lanes.
__m256i Select(__m256i _vecSign, __m256i _vecThen, __m256i _vecElse)
{
    return _mm256_castps_si256(
        _mm256_blendv_ps(_mm256_castsi256_ps(_vecElse), _mm256_castsi256_ps(_vecThen), _mm256_castsi256_ps(_vecSign)));
}

bool AnyBelow0(__m256i _vecLanes)
{
    return _mm256_movemask_ps(_mm256_castsi256_ps(_vecLanes)) != 0;
}

/// The lesser of a vector's alphas and what a key gives, which is the floor inside the key.
__m256i Lowered(__m256i _vecLeast, __m256i _vecSum, const KEY_LANES& _key)
{
    const __m256i vecBeyond = _mm256_sub_epi32(_vecSum, _mm256_set1_epi32(_key.nInside)); // below 0: inside
    const __m256i vecSoft = _mm256_andnot_si256(vecBeyond, _mm256_sub_epi32(vecBeyond, _mm256_set1_epi32(_key.nSoft)));
    __m256i vecAlpha = Select(vecBeyond, _mm256_set1_epi32(_key.nFloor), _vecLeast);
    if (AnyBelow0(vecSoft))
        vecAlpha = Select(vecSoft, SoftAlpha(vecBeyond, _key), vecAlpha);
    return _mm256_min_epi32(_vecLeast, vecAlpha);
}

/// Component 1 of two vectors of pixels, as the low and the high words.
__m256i Middle(__m256i _vecLow, __m256i _vecHigh)
{
    const __m256i vecHigh = _mm256_slli_epi32(_mm256_and_si256(_vecHigh, _mm256_set1_epi32(0xFF00)), 8);
    return _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi32(_vecLow, 8), _mm256_set1_epi32(0xFF)), vecHigh);
}

/// Takes 32 pixels apart.
inline BLOCK BlockOf(const uint8_t* _pPixels)
{
    const auto* const pVectors = reinterpret_cast<const __m256i*>(_pPixels);
    const __m256i vec0 = _mm256_loadu_si256(pVectors);
    const __m256i vec1 = _mm256_loadu_si256(pVectors + 1);
    const __m256i vec2 = _mm256_loadu_si256(pVectors + 2);
    const __m256i vec3 = _mm256_loadu_si256(pVectors + 3);
    const __m256i vecMask = _mm256_set1_epi32(0x00FF00FF);
    return {_mm256_and_si256(vec0, vecMask),
            _mm256_and_si256(vec1, vecMask),
            _mm256_and_si256(vec2, vecMask),
            _mm256_and_si256(vec3, vecMask),
            Middle(vec0, vec1),
            Middle(vec2, vec3)};
}

/// Keys far from all pixels of a block, as most are, cost no more than the sums: they leave alpha as it is. Where a key
/// makes a whole block transparent, those behind it have nothing to lower. The square root is for soft edges only.
inline LEAST LeastOf(const uint8_t* _pPixels, const KEY_LANES* _pKeys, int _nKeys)
{
    const BLOCK block = BlockOf(_pPixels);
    const __m256i vecMost = _mm256_set1_epi32(255);
    LEAST least = {vecMost, vecMost, vecMost, vecMost};
    for (const KEY_LANES* pKey = _pKeys; pKey != _pKeys + _nKeys; ++pKey)
    {
        const __m256i vecValue02 = Lanes(pKey->nValue02);
        const __m256i vecValue11 = Lanes(pKey->nValue11);
        const __m256i vecWeight02 = Lanes(pKey->nWeight02);
        const __m256i vecWeight1Low = Lanes(pKey->nWeight1Low);
        const __m256i vecWeight1High = Lanes(pKey->nWeight1High);
        const __m256i vec1_01 = HalvedSquares(block.vec1_01, vecValue11);
        const __m256i vec1_23 = HalvedSquares(block.vec1_23, vecValue11);
        const __m256i vecSum0 = Sum(HalvedSquares(block.vec02_0, vecValue02), vecWeight02, vec1_01, vecWeight1Low);
        const __m256i vecSum1 = Sum(HalvedSquares(block.vec02_1, vecValue02), vecWeight02, vec1_01, vecWeight1High);
        const __m256i vecSum2 = Sum(HalvedSquares(block.vec02_2, vecValue02), vecWeight02, vec1_23, vecWeight1Low);
        const __m256i vecSum3 = Sum(HalvedSquares(block.vec02_3, vecValue02), vecWeight02, vec1_23, vecWeight1High);
        const __m256i vecLow = _mm256_min_epi32(_mm256_min_epi32(vecSum0, vecSum1), _mm256_min_epi32(vecSum2, vecSum3));
        if (!AnyBelow0(_mm256_cmpgt_epi32(_mm256_set1_epi32(pKey->nOpaque), vecLow)))
            continue;
        const __m256i vecHigh =
            _mm256_max_epi32(_mm256_max_epi32(vecSum0, vecSum1), _mm256_max_epi32(vecSum2, vecSum3));
        if (pKey->nFloor == 0 && !AnyBelow0(_mm256_cmpgt_epi32(vecHigh, _mm256_set1_epi32(pKey->nInside - 1))))
            return {_mm256_setzero_si256(), _mm256_setzero_si256(), _mm256_setzero_si256(), _mm256_setzero_si256()};
        least.vec0 = Lowered(least.vec0, vecSum0, *pKey);
        least.vec1 = Lowered(least.vec1, vecSum1, *pKey);
        least.vec2 = Lowered(least.vec2, vecSum2, *pKey);
        least.vec3 = Lowered(least.vec3, vecSum3, *pKey);
    }
    return least;
}

__m256i Packed(const LEAST& _least)
{
    const __m256i vecLow = _mm256_packs_epi32(_least.vec0, _least.vec1);
    const __m256i vecHigh = _mm256_packs_epi32(_least.vec2, _least.vec3);
    const __m256i vecOrder = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    return _mm256_permutevar8x32_epi32(_mm256_packus_epi16(vecLow, vecHigh), vecOrder);
}

struct ROW_KEYS
{
    const KEY_LANES* pKeying;
    int nKeying;
    const KEY_LANES* pExclude;
    int nExclude;
};

/// Alphas of 32 pixels.
inline void BlockKey(uint8_t* _pAlpha, const uint8_t* _pPixels, const ROW_KEYS& _keys)
{
    __m256i vecAlpha = Packed(LeastOf(_pPixels, _keys.pKeying, _keys.nKeying));
    if (_keys.nExclude)
    {
        const __m256i vecExclusion = Packed(LeastOf(_pPixels, _keys.pExclude, _keys.nExclude));
        vecAlpha = _mm256_max_epu8(vecAlpha, _mm256_xor_si256(vecExclusion, _mm256_set1_epi8(-1)));
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(_pAlpha), vecAlpha);
}

void SpanKey(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, const ROW_KEYS& _keys)
{
    size_t n = 0;
    for (; n + c_nBlock <= _nPixels; n += c_nBlock)
        BlockKey(_pAlpha + n, _pPixels + 4 * n, _keys);
    if (n == _nPixels)
        return;
    uint8_t arrPixels[4 * c_nBlock] = {};
    uint8_t arrAlpha[c_nBlock];
    memcpy(arrPixels, _pPixels + 4 * n, 4 * (_nPixels - n));
    BlockKey(arrAlpha, arrPixels, _keys);
    memcpy(_pAlpha + n, arrAlpha, _nPixels - n);
}

} // namespace

void KeySet_AVX2(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, size_t _nMerged,
                 const KEY_SET& _set) noexcept
{
    KEY_LANES arrKeying[c_nMaxRowKeys];
    KEY_LANES arrExclude[c_nMaxRowKeys];
    KeyLanes_Make(arrKeying, _set.pKeying, _set.nKeying);
    KeyLanes_Make(arrExclude, _set.pExclude, _set.nExclude);
    SpanKey(_pAlpha, _pPixels, _nMerged, {arrKeying, _set.nKeying, arrExclude, _set.nExclude});
    SpanKey(_pAlpha + _nMerged, _pPixels + 4 * _nMerged, _nPixels - _nMerged,
            {arrKeying, 1, arrExclude, _set.nExclude > 0});
}
