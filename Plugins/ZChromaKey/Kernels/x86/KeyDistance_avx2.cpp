#include "ZChromaKey/Kernels/x86/KeyKernels_x86.h"

#include <immintrin.h>
#include <string.h> // NOLINT(modernize-deprecated-headers): no header of the C++ library here

namespace
{

/// A key's constants in every 32-bit lane, components 0 and 2 of a pixel side by side, 1 beside alpha.
struct KEY_LANES
{
    __m256i vecValue02;
    __m256i vecValue1;
    __m256i vecWeight02;
    __m256i vecWeight1; // alpha weighs nothing
    __m256i vecInside;  // least sum outside the key
    __m256i vecSoft;    // sums outside that are not opaque
    __m256i vecFloor;
    __m256 vecScale;
};

constexpr int c_nLanes = 8; // pixels in a vector
constexpr int c_nVectors = 4;
constexpr int c_nBlock = c_nVectors * c_nLanes;

/// Pixels with their components apart, and the least alpha that their keys gave them so far.
struct BLOCK
{
    __m256i arr02[c_nVectors];
    __m256i arr1A[c_nVectors];
    __m256i arrLeast[c_nVectors];
};

__m256i Pairs(int16_t _nLow, int16_t _nHigh)
{
    return _mm256_set1_epi32(static_cast<int>(static_cast<uint16_t>(_nLow)) | static_cast<int>(_nHigh) << 16);
}

void LanesMake(KEY_LANES* _pLanes, const KEY_DISTANCE* _pKeys, int _nKeys)
{
    for (int i = 0; i < _nKeys; ++i)
    {
        const KEY_DISTANCE& key = _pKeys[i];
        _pLanes[i] = {Pairs(key.arrValue[0], key.arrValue[2]),   Pairs(key.arrValue[1], 0),
                      Pairs(key.arrWeight[0], key.arrWeight[2]), Pairs(key.arrWeight[1], 0),
                      _mm256_set1_epi32(key.nThreshold + 1),     _mm256_set1_epi32(key.nOpaque - 1),
                      _mm256_set1_epi32(key.nAlphaFloor),        _mm256_set1_ps(key.fltScale)};
    }
}

/// Squares of at most 255^2 are unsigned words, halved they are signed; the weighted sum fits 31 bits.
__m256i HalvedSquares(__m256i _vecWords, __m256i _vecValues, __m256i _vecWeights)
{
    const __m256i vecDiff = _mm256_sub_epi16(_vecWords, _vecValues);
    return _mm256_madd_epi16(_mm256_srli_epi16(_mm256_mullo_epi16(vecDiff, vecDiff), 1), _vecWeights);
}

/// Alpha of pixels on the soft edge, from their excess less 1. Below 255 before the floor, by choice of the lanes.
__m256i SoftAlpha(__m256i _vecBeyond, const KEY_LANES& _key)
{
    const __m256i vecExcess =
        _mm256_max_epi32(_mm256_add_epi32(_vecBeyond, _mm256_set1_epi32(1)), _mm256_setzero_si256());
    const __m256 vecRoot = _mm256_sqrt_ps(_mm256_cvtepi32_ps(vecExcess));
    const __m256 vecAlpha = _mm256_add_ps(_mm256_mul_ps(vecRoot, _key.vecScale), _mm256_set1_ps(0.5f));
    return _mm256_add_epi32(_mm256_cvttps_epi32(vecAlpha), _key.vecFloor);
}

/// _vecThen where _vecSign is below 0, else _vecElse; 32-bit lanes.
__m256i Select(__m256i _vecSign, __m256i _vecThen, __m256i _vecElse)
{
    return _mm256_castps_si256(
        _mm256_blendv_ps(_mm256_castsi256_ps(_vecElse), _mm256_castsi256_ps(_vecThen), _mm256_castsi256_ps(_vecSign)));
}

/// Lowers the alphas of a block to what the keys give. Only soft edges need the square root; elsewhere a key leaves
/// alpha as it is (opaque) or lowers it to its floor (inside).
void LeastOf(BLOCK& _block, const KEY_LANES* _pKeys, int _nKeys)
{
    const __m256i vecOpaque = _mm256_set1_epi32(255);
    for (int v = 0; v < c_nVectors; ++v)
        _block.arrLeast[v] = vecOpaque;
    for (int i = 0; i < _nKeys; ++i)
    {
        const KEY_LANES& key = _pKeys[i];
        for (int v = 0; v < c_nVectors; ++v)
        {
            const __m256i vecSum = _mm256_add_epi32(HalvedSquares(_block.arr02[v], key.vecValue02, key.vecWeight02),
                                                    HalvedSquares(_block.arr1A[v], key.vecValue1, key.vecWeight1));
            const __m256i vecBeyond = _mm256_sub_epi32(vecSum, key.vecInside); // below 0: inside
            __m256i vecAlpha = Select(vecBeyond, key.vecFloor, vecOpaque);
            const __m256i vecSoft = _mm256_andnot_si256(vecBeyond, _mm256_sub_epi32(vecBeyond, key.vecSoft));
            if (_mm256_movemask_ps(_mm256_castsi256_ps(vecSoft)))
                vecAlpha = Select(vecSoft, SoftAlpha(vecBeyond, key), vecAlpha);
            _block.arrLeast[v] = _mm256_min_epi32(_block.arrLeast[v], vecAlpha);
        }
    }
}

struct ROW_KEYS
{
    const KEY_LANES* pKeying;
    int nKeying;
    const KEY_LANES* pExclude;
    int nExclude;
};

__m256i Packed(const __m256i* _pAlpha)
{
    const __m256i vecLow = _mm256_packs_epi32(_pAlpha[0], _pAlpha[1]);
    const __m256i vecHigh = _mm256_packs_epi32(_pAlpha[2], _pAlpha[3]);
    const __m256i vecOrder = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    return _mm256_permutevar8x32_epi32(_mm256_packus_epi16(vecLow, vecHigh), vecOrder);
}

void BlockKey(uint8_t* _pAlpha, const uint8_t* _pPixels, const ROW_KEYS& _keys)
{
    BLOCK block;
    for (int v = 0; v < c_nVectors; ++v)
    {
        const __m256i vecPixels = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(_pPixels) + v);
        block.arr02[v] = _mm256_and_si256(vecPixels, _mm256_set1_epi32(0x00FF00FF));
        block.arr1A[v] = _mm256_srli_epi16(vecPixels, 8);
    }
    LeastOf(block, _keys.pKeying, _keys.nKeying);
    __m256i vecAlpha = Packed(block.arrLeast);
    if (_keys.nExclude)
    {
        LeastOf(block, _keys.pExclude, _keys.nExclude);
        vecAlpha = _mm256_max_epu8(vecAlpha, _mm256_xor_si256(Packed(block.arrLeast), _mm256_set1_epi8(-1)));
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(_pAlpha), vecAlpha);
}

void SpanKey(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, const ROW_KEYS& _keys)
{
    size_t nPixel = 0;
    for (; nPixel + c_nBlock <= _nPixels; nPixel += c_nBlock)
        BlockKey(_pAlpha + nPixel, _pPixels + 4 * nPixel, _keys);
    if (const size_t nRest = _nPixels - nPixel)
    {
        uint8_t arrPixels[4 * c_nBlock] = {};
        uint8_t arrAlpha[c_nBlock];
        memcpy(arrPixels, _pPixels + 4 * nPixel, 4 * nRest);
        BlockKey(arrAlpha, arrPixels, _keys);
        memcpy(_pAlpha + nPixel, arrAlpha, nRest);
    }
}

} // namespace

void KeySet_AVX2(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, size_t _nMerged,
                 const KEY_SET& _set) noexcept
{
    KEY_LANES arrKeying[c_nMaxRowKeys];
    KEY_LANES arrExclude[c_nMaxRowKeys];
    LanesMake(arrKeying, _set.pKeying, _set.nKeying);
    LanesMake(arrExclude, _set.pExclude, _set.nExclude);
    SpanKey(_pAlpha, _pPixels, _nMerged, {arrKeying, _set.nKeying, arrExclude, _set.nExclude});
    SpanKey(_pAlpha + _nMerged, _pPixels + 4 * _nMerged, _nPixels - _nMerged,
            {arrKeying, 1, arrExclude, _set.nExclude > 0});
}
