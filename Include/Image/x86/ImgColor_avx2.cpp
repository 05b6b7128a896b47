#include "Image/x86/ImgKernels_x86.h"

#include <immintrin.h>
#include <string.h> // NOLINT(modernize-deprecated-headers): no header of the C++ library here

namespace
{

constexpr int c_nLanes = 8; // pixels in a vector
constexpr int c_nAlphaByte = static_cast<int>(0xFF000000u);

__m256i Load(const uint8_t* _pBytes)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(_pBytes));
}

void Store(uint8_t* _pBytes, __m256i _vecBytes)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(_pBytes), _vecBytes);
}

/// Two coefficients in every lane, for the words of components that lie side by side.
__m256i Pairs(int _nLow, int _nHigh)
{
    return _mm256_set1_epi32((_nLow & 0xFFFF) | _nHigh * 65536);
}

/// Calls _fnMap(16 pixels) for all pixels of a row.
template <class Map> void MapPixels(const uint8_t* _pFrom, uint8_t* _pTo, int _nPixels, const Map& _fnMap)
{
    int x = 0;
    for (; x + c_nLanes <= _nPixels; x += c_nLanes, _pFrom += 4 * c_nLanes, _pTo += 4 * c_nLanes)
        Store(_pTo, _fnMap(Load(_pFrom)));
    if (x < _nPixels)
    {
        const size_t cbRest = static_cast<size_t>(_nPixels - x) * 4;
        uint8_t arrPixels[4 * c_nLanes] = {};
        memcpy(arrPixels, _pFrom, cbRest);
        Store(arrPixels, _fnMap(Load(arrPixels)));
        memcpy(_pTo, arrPixels, cbRest);
    }
}

/// Bytes 0 and 2 of each pixel as words, and bytes 1 and 3.
struct WORDS
{
    explicit WORDS(__m256i _vecPixels)
        : vec02(_mm256_and_si256(_vecPixels, _mm256_set1_epi32(0x00FF00FF)))
        , vec13(_mm256_srli_epi16(_vecPixels, 8))
    {
    }
    __m256i vec02;
    __m256i vec13;
};

/// One row of a matrix on bytes 0 to 2 of each pixel, and a constant.
struct SUM
{
    SUM(int _nCoef0, int _nCoef1, int _nCoef2, int _nConst)
        : vec02(Pairs(_nCoef0, _nCoef2))
        , vec1(Pairs(_nCoef1, 0))
        , vecConst(_mm256_set1_epi32(_nConst))
    {
    }
    __m256i Of(const WORDS& _words) const
    {
        return _mm256_add_epi32(
            _mm256_add_epi32(_mm256_madd_epi16(_words.vec02, vec02), _mm256_madd_epi16(_words.vec13, vec1)), vecConst);
    }
    __m256i vec02;
    __m256i vec1;
    __m256i vecConst;
};

/// Numerator / denominator, truncated; a denominator of 0 counts as 1. Both stay below 2^24, where single precision
/// cannot round a quotient up to the next integer.
__m256i Quotient(__m256i _vecNumerator, __m256i _vecDenominator)
{
    const __m256i vecDenominator = _mm256_max_epi32(_vecDenominator, _mm256_set1_epi32(1));
    return _mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(_vecNumerator), _mm256_cvtepi32_ps(vecDenominator)));
}

/// Three components, each within 8 bits, with the alpha of the pixels they come from.
__m256i Joined(__m256i _vec0, __m256i _vec1, __m256i _vec2, __m256i _vecPixels)
{
    const __m256i vecAlpha = _mm256_and_si256(_vecPixels, _mm256_set1_epi32(c_nAlphaByte));
    return _mm256_or_si256(_mm256_or_si256(_vec0, _mm256_slli_epi32(_vec1, 8)),
                           _mm256_or_si256(_mm256_slli_epi32(_vec2, 16), vecAlpha));
}

__m256i HLSOf(__m256i _vecPixels)
{
    const __m256i vecByte = _mm256_set1_epi32(0xFF);
    const __m256i vecB = _mm256_and_si256(_vecPixels, vecByte);
    const __m256i vecG = _mm256_and_si256(_mm256_srli_epi32(_vecPixels, 8), vecByte);
    const __m256i vecR = _mm256_and_si256(_mm256_srli_epi32(_vecPixels, 16), vecByte);
    const __m256i vecMax = _mm256_max_epi32(_mm256_max_epi32(vecR, vecG), vecB);
    const __m256i vecMin = _mm256_min_epi32(_mm256_min_epi32(vecR, vecG), vecB);
    const __m256i vecSum = _mm256_add_epi32(vecMax, vecMin);
    const __m256i vecDelta = _mm256_sub_epi32(vecMax, vecMin);
    const __m256i vecDelta2 = _mm256_add_epi32(vecDelta, vecDelta);
    const __m256i vecDelta3 = _mm256_add_epi32(vecDelta2, vecDelta);
    const __m256i vecDelta6 = _mm256_add_epi32(vecDelta3, vecDelta3);

    // Sixths of a turn x delta, from the sector of the largest component; red counts before green, green before blue.
    const __m256i vecRed = _mm256_cmpeq_epi32(vecMax, vecR);
    const __m256i vecGreen = _mm256_cmpeq_epi32(vecMax, vecG);
    const __m256i vecHueB = _mm256_add_epi32(_mm256_sub_epi32(vecR, vecG), _mm256_add_epi32(vecDelta2, vecDelta2));
    const __m256i vecHueG = _mm256_add_epi32(_mm256_sub_epi32(vecB, vecR), vecDelta2);
    const __m256i vecTurn = _mm256_and_si256(_mm256_cmpgt_epi32(vecB, vecG), vecDelta6);
    const __m256i vecHueR = _mm256_add_epi32(_mm256_sub_epi32(vecG, vecB), vecTurn);
    __m256i vecHue = _mm256_blendv_epi8(_mm256_blendv_epi8(vecHueB, vecHueG, vecGreen), vecHueR, vecRed);

    // 256 x hue, and 255 x delta / range, with the half that rounds them; greys come out as 0.
    vecHue = Quotient(_mm256_add_epi32(_mm256_slli_epi32(vecHue, 8), vecDelta3), vecDelta6);
    const __m256i vecRange = _mm256_min_epi32(vecSum, _mm256_sub_epi32(_mm256_set1_epi32(510), vecSum));
    const __m256i vecDelta510 = _mm256_sub_epi32(_mm256_slli_epi32(vecDelta, 9), vecDelta2);
    const __m256i vecSaturation = Quotient(_mm256_add_epi32(vecDelta510, vecRange), _mm256_slli_epi32(vecRange, 1));
    const __m256i vecLight = _mm256_srli_epi32(_mm256_add_epi32(vecSum, _mm256_set1_epi32(1)), 1);
    return Joined(_mm256_and_si256(vecHue, vecByte), vecLight, vecSaturation, _vecPixels);
}

} // namespace

void ImgRow_ToYUV_AVX2(const uint8_t* _pBGRA, uint8_t* _pYUVA, int _nPixels, const IMG_RGB_COEF& _coef)
{
    const auto fnSum = [](const int16_t* _pnCoef, int _nOffset) {
        return SUM(_pnCoef[0], _pnCoef[1], _pnCoef[2], (_nOffset << 15) + (1 << 14));
    };
    const SUM sumY = fnSum(_coef.anY, 16);
    const SUM sumU = fnSum(_coef.anU, 128);
    const SUM sumV = fnSum(_coef.anV, 128);
    MapPixels(_pBGRA, _pYUVA, _nPixels, [&](__m256i _vecPixels) {
        const WORDS words(_vecPixels);
        return Joined(_mm256_srli_epi32(sumY.Of(words), 15), _mm256_srli_epi32(sumU.Of(words), 15),
                      _mm256_srli_epi32(sumV.Of(words), 15), _vecPixels);
    });
}

void ImgRow_FromYUV_AVX2(const uint8_t* _pYUVA, uint8_t* _pBGRA, int _nPixels, const IMG_YUV_COEF& _coef)
{
    const int nConst = 4096 - 16 * _coef.nY;
    const SUM sumB(_coef.nY, _coef.nBU, 0, nConst - 128 * _coef.nBU);
    const SUM sumG(_coef.nY, _coef.nGU, _coef.nGV, nConst - 128 * (_coef.nGU + _coef.nGV));
    const SUM sumR(_coef.nY, 0, _coef.nRV, nConst - 128 * _coef.nRV);
    const __m256i vecOrder =
        _mm256_broadcastsi128_si256(_mm_setr_epi32(0x0C080400, 0x0D090501, 0x0E0A0602, 0x0F0B0703));
    MapPixels(_pYUVA, _pBGRA, _nPixels, [&](__m256i _vecPixels) {
        const WORDS words(_vecPixels);
        const __m256i vecBG =
            _mm256_packs_epi32(_mm256_srai_epi32(sumB.Of(words), 13), _mm256_srai_epi32(sumG.Of(words), 13));
        const __m256i vecRA =
            _mm256_packs_epi32(_mm256_srai_epi32(sumR.Of(words), 13), _mm256_srli_epi32(_vecPixels, 24));
        return _mm256_shuffle_epi8(_mm256_packus_epi16(vecBG, vecRA), vecOrder);
    });
}

void ImgRow_ToHLS_AVX2(const uint8_t* _pBGRA, uint8_t* _pHLSA, int _nPixels)
{
    MapPixels(_pBGRA, _pHLSA, _nPixels, HLSOf);
}
