#include "ZChromaKey/Kernels/x86/KeyKernels_x86.h"

#include <immintrin.h>

namespace
{

/// A key's constants as they lie in every 32-bit lane, components 0 and 2 of a pixel side by side, 1 beside alpha.
struct KEY_LANES
{
    uint32_t nValue02;
    uint32_t nValue1;
    uint32_t nWeight02;
    uint32_t nWeight1; // alpha weighs nothing
    int32_t nInside;   // least sum outside the key
    int32_t nSoft;     // sums outside that are not opaque
    int32_t nFloor;
    float fltScale;
};

/// Pixels with their components apart, and the least alpha that their keys gave them so far.
template <int Vectors> struct BLOCK
{
    __m512i arr02[Vectors];
    __m512i arr1A[Vectors];
    __m512i arrLeast[Vectors];
};

constexpr int c_nLanes = 16; // pixels in a vector
constexpr int c_nVectors = 4;

uint32_t Pair(int16_t _nLow, int16_t _nHigh)
{
    return static_cast<uint32_t>(static_cast<uint16_t>(_nLow)) | static_cast<uint32_t>(_nHigh) << 16;
}

void LanesMake(KEY_LANES* _pLanes, const KEY_DISTANCE* _pKeys, int _nKeys)
{
    for (int i = 0; i < _nKeys; ++i)
    {
        const KEY_DISTANCE& key = _pKeys[i];
        _pLanes[i] = {Pair(key.arrValue[0], key.arrValue[2]),
                      Pair(key.arrValue[1], 0),
                      Pair(key.arrWeight[0], key.arrWeight[2]),
                      Pair(key.arrWeight[1], 0),
                      key.nThreshold + 1,
                      key.nOpaque - 1,
                      key.nAlphaFloor,
                      key.fltScale};
    }
}

__m512i Lanes(uint32_t _nLane)
{
    return _mm512_set1_epi32(static_cast<int>(_nLane));
}

/// Squares of at most 255^2 are unsigned words, halved they are signed; the weighted sum fits 31 bits.
__m512i HalvedSquares(__m512i _vecWords, __m512i _vecValues, __m512i _vecWeights)
{
    const __m512i vecDiff = _mm512_sub_epi16(_vecWords, _vecValues);
    return _mm512_madd_epi16(_mm512_srli_epi16(_mm512_mullo_epi16(vecDiff, vecDiff), 1), _vecWeights);
}

/// Alpha of pixels on the soft edge, from their excess less 1. Below 255 before the floor, by choice of the lanes.
__m512i SoftAlpha(__m512i _vecBeyond, const KEY_LANES& _key)
{
    const __m512i vecExcess =
        _mm512_max_epi32(_mm512_add_epi32(_vecBeyond, _mm512_set1_epi32(1)), _mm512_setzero_si512());
    const __m512 vecRoot = _mm512_sqrt_ps(_mm512_cvtepi32_ps(vecExcess));
    const __m512 vecAlpha = _mm512_add_ps(_mm512_mul_ps(vecRoot, _mm512_set1_ps(_key.fltScale)), _mm512_set1_ps(0.5f));
    return _mm512_add_epi32(_mm512_cvttps_epi32(vecAlpha), _mm512_set1_epi32(_key.nFloor));
}

/// Lowers the alphas of a block to what the keys give. Only soft edges need the square root; elsewhere a key leaves
/// alpha as it is (opaque) or lowers it to its floor (inside).
template <int Vectors> void LeastOf(BLOCK<Vectors>& _block, const KEY_LANES* _pKeys, int _nKeys)
{
    for (int v = 0; v < Vectors; ++v)
        _block.arrLeast[v] = _mm512_set1_epi32(255);
    for (int i = 0; i < _nKeys; ++i)
    {
        const KEY_LANES& key = _pKeys[i];
        const __m512i vecValue02 = Lanes(key.nValue02);
        const __m512i vecValue1 = Lanes(key.nValue1);
        const __m512i vecWeight02 = Lanes(key.nWeight02);
        const __m512i vecWeight1 = Lanes(key.nWeight1);
        for (int v = 0; v < Vectors; ++v)
        {
            const __m512i vecSum = _mm512_add_epi32(HalvedSquares(_block.arr02[v], vecValue02, vecWeight02),
                                                    HalvedSquares(_block.arr1A[v], vecValue1, vecWeight1));
            const __m512i vecBeyond = _mm512_sub_epi32(vecSum, _mm512_set1_epi32(key.nInside)); // below 0: inside
            _block.arrLeast[v] = _mm512_mask_min_epi32(_block.arrLeast[v], _mm512_movepi32_mask(vecBeyond),
                                                       _block.arrLeast[v], _mm512_set1_epi32(key.nFloor));
            const __mmask16 nSoft = _mm512_cmplt_epu32_mask(vecBeyond, _mm512_set1_epi32(key.nSoft));
            if (nSoft)
                _block.arrLeast[v] =
                    _mm512_mask_min_epi32(_block.arrLeast[v], nSoft, _block.arrLeast[v], SoftAlpha(vecBeyond, key));
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

/// Alphas of a block, 32 bits each, in its arrLeast.
template <int Vectors> void BlockKey(BLOCK<Vectors>& _block, const ROW_KEYS& _keys)
{
    for (int v = 0; v < Vectors; ++v) // so far they hold the pixels
    {
        _block.arr1A[v] = _mm512_srli_epi16(_block.arr02[v], 8);
        _block.arr02[v] = _mm512_and_si512(_block.arr02[v], _mm512_set1_epi32(0x00FF00FF));
    }
    LeastOf(_block, _keys.pKeying, _keys.nKeying);
    if (_keys.nExclude == 0)
        return;
    __m512i arrAlpha[Vectors];
    for (int v = 0; v < Vectors; ++v)
        arrAlpha[v] = _block.arrLeast[v];
    LeastOf(_block, _keys.pExclude, _keys.nExclude);
    for (int v = 0; v < Vectors; ++v)
        _block.arrLeast[v] =
            _mm512_max_epi32(arrAlpha[v], _mm512_xor_si512(_block.arrLeast[v], _mm512_set1_epi32(255)));
}

__m512i Packed(const __m512i* _pAlpha)
{
    const __m512i vecLow = _mm512_packs_epi32(_pAlpha[0], _pAlpha[1]);
    const __m512i vecHigh = _mm512_packs_epi32(_pAlpha[2], _pAlpha[3]);
    const __m512i vecOrder = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    return _mm512_permutexvar_epi32(vecOrder, _mm512_packus_epi16(vecLow, vecHigh));
}

void SpanKey(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, const ROW_KEYS& _keys)
{
    constexpr size_t c_nBlock = c_nVectors * c_nLanes;
    size_t nPixel = 0;
    for (; nPixel + c_nBlock <= _nPixels; nPixel += c_nBlock)
    {
        BLOCK<c_nVectors> block;
        for (int v = 0; v < c_nVectors; ++v)
            block.arr02[v] = _mm512_loadu_si512(_pPixels + 4 * (nPixel + static_cast<size_t>(v) * c_nLanes));
        BlockKey(block, _keys);
        _mm512_storeu_si512(_pAlpha + nPixel, Packed(block.arrLeast));
    }
    for (; nPixel < _nPixels; nPixel += c_nLanes)
    {
        const size_t nRest = _nPixels - nPixel;
        const auto nMask = static_cast<__mmask16>(nRest < c_nLanes ? (1u << nRest) - 1 : 0xFFFF);
        BLOCK<1> block;
        block.arr02[0] = _mm512_maskz_loadu_epi32(nMask, _pPixels + 4 * nPixel);
        BlockKey(block, _keys);
        _mm512_mask_cvtepi32_storeu_epi8(_pAlpha + nPixel, nMask, block.arrLeast[0]);
    }
}

} // namespace

void KeySet_AVX512(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, size_t _nMerged,
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
