#include "Image/x86/ImgKernels_x86.h"

#include <immintrin.h>

namespace
{

constexpr int c_nLanes = 16; // pixels in a vector
constexpr int c_nAlphaByte = static_cast<int>(0xFF000000u);

/// Two coefficients in every lane, for the words of components that lie side by side.
__m512i Pairs(int _nLow, int _nHigh)
{
    return _mm512_set1_epi32((_nLow & 0xFFFF) | _nHigh * 65536);
}

/// Calls _fnMap(16 pixels) for all pixels of a row.
template <class Map> void MapPixels(const uint8_t* _pFrom, uint8_t* _pTo, int _nPixels, const Map& _fnMap)
{
    int x = 0;
    for (; x + c_nLanes <= _nPixels; x += c_nLanes, _pFrom += 4 * c_nLanes, _pTo += 4 * c_nLanes)
        _mm512_storeu_si512(_pTo, _fnMap(_mm512_loadu_si512(_pFrom)));
    if (x < _nPixels)
    {
        const auto nMask = static_cast<__mmask16>((1u << (_nPixels - x)) - 1);
        _mm512_mask_storeu_epi32(_pTo, nMask, _fnMap(_mm512_maskz_loadu_epi32(nMask, _pFrom)));
    }
}

/// Bytes 0 and 2 of each pixel as words, and bytes 1 and 3.
struct WORDS
{
    explicit WORDS(__m512i _vecPixels)
        : vec02(_mm512_and_si512(_vecPixels, _mm512_set1_epi32(0x00FF00FF)))
        , vec13(_mm512_srli_epi16(_vecPixels, 8))
    {
    }
    __m512i vec02;
    __m512i vec13;
};

/// One row of a matrix on bytes 0 to 2 of each pixel, and a constant.
struct SUM
{
    SUM(int _nCoef0, int _nCoef1, int _nCoef2, int _nConst)
        : vec02(Pairs(_nCoef0, _nCoef2))
        , vec1(Pairs(_nCoef1, 0))
        , vecConst(_mm512_set1_epi32(_nConst))
    {
    }
    __m512i Of(const WORDS& _words) const
    {
        return _mm512_add_epi32(
            _mm512_add_epi32(_mm512_madd_epi16(_words.vec02, vec02), _mm512_madd_epi16(_words.vec13, vec1)), vecConst);
    }
    __m512i vec02;
    __m512i vec1;
    __m512i vecConst;
};

/// Numerator / denominator, truncated; a denominator of 0 counts as 1. Both stay below 2^24, where single precision
/// cannot round a quotient up to the next integer.
__m512i Quotient(__m512i _vecNumerator, __m512i _vecDenominator)
{
    const __m512i vecDenominator = _mm512_max_epi32(_vecDenominator, _mm512_set1_epi32(1));
    return _mm512_cvttps_epi32(_mm512_div_ps(_mm512_cvtepi32_ps(_vecNumerator), _mm512_cvtepi32_ps(vecDenominator)));
}

/// Three components, each within 8 bits, with the alpha of the pixels they come from.
__m512i Joined(__m512i _vec0, __m512i _vec1, __m512i _vec2, __m512i _vecPixels)
{
    const __m512i vecAlpha = _mm512_and_si512(_vecPixels, _mm512_set1_epi32(c_nAlphaByte));
    return _mm512_or_si512(_mm512_or_si512(_vec0, _mm512_slli_epi32(_vec1, 8)),
                           _mm512_or_si512(_mm512_slli_epi32(_vec2, 16), vecAlpha));
}

__m512i HLSOf(__m512i _vecPixels)
{
    const __m512i vecByte = _mm512_set1_epi32(0xFF);
    const __m512i vecB = _mm512_and_si512(_vecPixels, vecByte);
    const __m512i vecG = _mm512_and_si512(_mm512_srli_epi32(_vecPixels, 8), vecByte);
    const __m512i vecR = _mm512_and_si512(_mm512_srli_epi32(_vecPixels, 16), vecByte);
    const __m512i vecMax = _mm512_max_epi32(_mm512_max_epi32(vecR, vecG), vecB);
    const __m512i vecMin = _mm512_min_epi32(_mm512_min_epi32(vecR, vecG), vecB);
    const __m512i vecSum = _mm512_add_epi32(vecMax, vecMin);
    const __m512i vecDelta = _mm512_sub_epi32(vecMax, vecMin);
    const __m512i vecDelta2 = _mm512_add_epi32(vecDelta, vecDelta);
    const __m512i vecDelta3 = _mm512_add_epi32(vecDelta2, vecDelta);
    const __m512i vecDelta6 = _mm512_add_epi32(vecDelta3, vecDelta3);

    // Sixths of a turn x delta, from the sector of the largest component; red counts before green, green before blue.
    const __mmask16 nRed = _mm512_cmpeq_epi32_mask(vecMax, vecR);
    const __mmask16 nGreen = _mm512_cmpeq_epi32_mask(vecMax, vecG);
    const __mmask16 nBelowRed = _mm512_mask_cmplt_epi32_mask(nRed, vecG, vecB);
    __m512i vecHue = _mm512_add_epi32(_mm512_sub_epi32(vecR, vecG), _mm512_add_epi32(vecDelta2, vecDelta2));
    vecHue = _mm512_mask_add_epi32(vecHue, nGreen, _mm512_sub_epi32(vecB, vecR), vecDelta2);
    vecHue = _mm512_mask_sub_epi32(vecHue, nRed, vecG, vecB);
    vecHue = _mm512_mask_add_epi32(vecHue, nBelowRed, vecHue, vecDelta6);

    // 256 x hue, and 255 x delta / range, with the half that rounds them; greys come out as 0.
    vecHue = Quotient(_mm512_add_epi32(_mm512_slli_epi32(vecHue, 8), vecDelta3), vecDelta6);
    const __m512i vecRange = _mm512_min_epi32(vecSum, _mm512_sub_epi32(_mm512_set1_epi32(510), vecSum));
    const __m512i vecDelta510 = _mm512_sub_epi32(_mm512_slli_epi32(vecDelta, 9), vecDelta2);
    const __m512i vecSaturation = Quotient(_mm512_add_epi32(vecDelta510, vecRange), _mm512_slli_epi32(vecRange, 1));
    const __m512i vecLight = _mm512_srli_epi32(_mm512_add_epi32(vecSum, _mm512_set1_epi32(1)), 1);
    return Joined(_mm512_and_si512(vecHue, vecByte), vecLight, vecSaturation, _vecPixels);
}

} // namespace

void ImgRow_ToYUV_AVX512(const uint8_t* _pBGRA, uint8_t* _pYUVA, int _nPixels, const IMG_RGB_COEF& _coef)
{
    const auto fnSum = [](const int16_t* _pnCoef, int _nOffset) {
        return SUM(_pnCoef[0], _pnCoef[1], _pnCoef[2], (_nOffset << 15) + (1 << 14));
    };
    const SUM sumY = fnSum(_coef.anY, 16);
    const SUM sumU = fnSum(_coef.anU, 128);
    const SUM sumV = fnSum(_coef.anV, 128);
    MapPixels(_pBGRA, _pYUVA, _nPixels, [&](__m512i _vecPixels) {
        const WORDS words(_vecPixels);
        return Joined(_mm512_srli_epi32(sumY.Of(words), 15), _mm512_srli_epi32(sumU.Of(words), 15),
                      _mm512_srli_epi32(sumV.Of(words), 15), _vecPixels);
    });
}

void ImgRow_FromYUV_AVX512(const uint8_t* _pYUVA, uint8_t* _pBGRA, int _nPixels, const IMG_YUV_COEF& _coef)
{
    const int nConst = 4096 - 16 * _coef.nY;
    const SUM sumB(_coef.nY, _coef.nBU, 0, nConst - 128 * _coef.nBU);
    const SUM sumG(_coef.nY, _coef.nGU, _coef.nGV, nConst - 128 * (_coef.nGU + _coef.nGV));
    const SUM sumR(_coef.nY, 0, _coef.nRV, nConst - 128 * _coef.nRV);
    const __m512i vecOrder = _mm512_set4_epi32(0x0F0B0703, 0x0E0A0602, 0x0D090501, 0x0C080400);
    MapPixels(_pYUVA, _pBGRA, _nPixels, [&](__m512i _vecPixels) {
        const WORDS words(_vecPixels);
        const __m512i vecBG =
            _mm512_packs_epi32(_mm512_srai_epi32(sumB.Of(words), 13), _mm512_srai_epi32(sumG.Of(words), 13));
        const __m512i vecRA =
            _mm512_packs_epi32(_mm512_srai_epi32(sumR.Of(words), 13), _mm512_srli_epi32(_vecPixels, 24));
        return _mm512_shuffle_epi8(_mm512_packus_epi16(vecBG, vecRA), vecOrder);
    });
}

void ImgRow_ToHLS_AVX512(const uint8_t* _pBGRA, uint8_t* _pHLSA, int _nPixels)
{
    MapPixels(_pBGRA, _pHLSA, _nPixels, HLSOf);
}
