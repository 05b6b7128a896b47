#include "Image/ImgRowsC.h"
#include "Image/x86/ImgKernels_x86.h"

#include <immintrin.h>

namespace
{

constexpr int c_nPixels = 32; // made at a time: 16 pairs that share their chroma
constexpr int c_nAlphaByte = static_cast<int>(0xFF000000u);

/// Two coefficients in every lane, for the words of components that lie side by side.
__m512i Pairs(int _nLow, int _nHigh)
{
    return _mm512_set1_epi32((_nLow & 0xFFFF) | _nHigh * 65536);
}

/// YUV to RGB, for words of Y side by side and U beside V, or V beside U.
class CConverter
{
public:
    CConverter(const IMG_YUV_COEF& _coef, bool _bVFirst)
        : m_vecY0(Pairs(_coef.nY, 0))
        , m_vecY1(Pairs(0, _coef.nY))
        , m_vecB(_bVFirst ? Pairs(0, _coef.nBU) : Pairs(_coef.nBU, 0))
        , m_vecG(_bVFirst ? Pairs(_coef.nGV, _coef.nGU) : Pairs(_coef.nGU, _coef.nGV))
        , m_vecR(_bVFirst ? Pairs(_coef.nRV, 0) : Pairs(0, _coef.nRV))
    {
        const int nConst = 4096 - 16 * _coef.nY;
        m_vecConstB = _mm512_set1_epi32(nConst - 128 * _coef.nBU);
        m_vecConstG = _mm512_set1_epi32(nConst - 128 * (_coef.nGU + _coef.nGV));
        m_vecConstR = _mm512_set1_epi32(nConst - 128 * _coef.nRV);
    }
    /// Writes 32 pixels.
    void Put(uint8_t* _pBGRA, __m512i _vecY, __m512i _vecChroma) const
    {
        const __m512i vecB = _mm512_add_epi32(_mm512_madd_epi16(_vecChroma, m_vecB), m_vecConstB);
        const __m512i vecG = _mm512_add_epi32(_mm512_madd_epi16(_vecChroma, m_vecG), m_vecConstG);
        const __m512i vecR = _mm512_add_epi32(_mm512_madd_epi16(_vecChroma, m_vecR), m_vecConstR);
        const __m512i vecEven = Pixels(_mm512_madd_epi16(_vecY, m_vecY0), vecB, vecG, vecR);
        const __m512i vecOdd = Pixels(_mm512_madd_epi16(_vecY, m_vecY1), vecB, vecG, vecR);
        // Each 16 bytes hold pixels 8n to 8n + 3 and 8n + 4 to 8n + 7.
        const __m512i vecLow = _mm512_unpacklo_epi32(vecEven, vecOdd);
        const __m512i vecHigh = _mm512_unpackhi_epi32(vecEven, vecOdd);
        const __m512i vecFirst = _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11);
        const __m512i vecSecond = _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15);
        _mm512_storeu_si512(_pBGRA, _mm512_permutex2var_epi64(vecLow, vecFirst, vecHigh));
        _mm512_storeu_si512(_pBGRA + 64, _mm512_permutex2var_epi64(vecLow, vecSecond, vecHigh));
    }

private:
    static __m512i Level(__m512i _vecLuma, __m512i _vecChroma)
    {
        return _mm512_srai_epi32(_mm512_add_epi32(_vecLuma, _vecChroma), 13);
    }
    /// Packing clamps to 0 to 255.
    static __m512i Pixels(__m512i _vecLuma, __m512i _vecB, __m512i _vecG, __m512i _vecR)
    {
        const __m512i vecBG = _mm512_packs_epi32(Level(_vecLuma, _vecB), Level(_vecLuma, _vecG));
        const __m512i vecRA = _mm512_packs_epi32(Level(_vecLuma, _vecR), _mm512_set1_epi32(255));
        const __m512i vecOrder = _mm512_set4_epi32(0x0F0B0703, 0x0E0A0602, 0x0D090501, 0x0C080400);
        return _mm512_shuffle_epi8(_mm512_packus_epi16(vecBG, vecRA), vecOrder);
    }

    __m512i m_vecY0;
    __m512i m_vecY1;
    __m512i m_vecB;
    __m512i m_vecG;
    __m512i m_vecR;
    __m512i m_vecConstB;
    __m512i m_vecConstG;
    __m512i m_vecConstR;
};

__m512i LowBytes(__m512i _vecUnits)
{
    return _mm512_and_si512(_vecUnits, _mm512_set1_epi16(0xFF));
}

__m512i HighBytes(__m512i _vecUnits)
{
    return _mm512_srli_epi16(_vecUnits, 8);
}

__m512i WordsOf(const uint8_t* _pBytes)
{
    return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(_pBytes)));
}

/// Packed 4:2:2 with Y in the high or the low bytes of its words; the rest of the row is the plain kernel's.
template <bool LumaHigh> void ReadPacked(const IMG_ROW& _row, uint8_t* _pBGRA, bool _bVFirst, PFN_IMG_READ _pfnRest)
{
    const CConverter converter(*_row.pCoeff, _bVFirst);
    IMG_ROW rest = _row;
    for (; rest.nWidth >= c_nPixels; rest.nWidth -= c_nPixels, rest.pPlane0 += 2 * c_nPixels, _pBGRA += 4 * c_nPixels)
    {
        const __m512i vecUnits = _mm512_loadu_si512(rest.pPlane0);
        converter.Put(_pBGRA, LumaHigh ? HighBytes(vecUnits) : LowBytes(vecUnits),
                      LumaHigh ? LowBytes(vecUnits) : HighBytes(vecUnits));
    }
    _pfnRest(rest, _pBGRA);
}

/// Chroma in planes of its own, Step bytes from sample to sample.
template <int Step, class Chroma>
void ReadPlanar(const IMG_ROW& _row, uint8_t* _pBGRA, const Chroma& _fnChroma, PFN_IMG_READ _pfnRest)
{
    const CConverter converter(*_row.pCoeff, false);
    constexpr int c_nPairs = c_nPixels / 2;
    int nPairs = 0;
    for (; 2 * nPairs + c_nPixels <= _row.nWidth && nPairs + c_nPairs <= _row.nChroma; nPairs += c_nPairs)
        converter.Put(_pBGRA + 8 * nPairs, WordsOf(_row.pPlane0 + 2 * nPairs), _fnChroma(nPairs));
    // The rest keeps at least one sample: a row without any is neutral.
    const int nSkip = nPairs < _row.nChroma ? nPairs : _row.nChroma > 0 ? _row.nChroma - 1 : 0;
    IMG_ROW rest = _row;
    rest.nWidth -= 2 * nPairs;
    rest.nChroma -= nSkip;
    rest.pPlane0 += 2 * nPairs;
    rest.pU += Step * nSkip;
    rest.pV += Step * nSkip;
    _pfnRest(rest, _pBGRA + 8 * nPairs);
}

/// A 10-bit level at the low end of each lane as one of 8 bits, rounded, halves up.
__m512i From10Bit(__m512i _vecWords)
{
    const __m512i vecLevel = _mm512_and_si512(_vecWords, _mm512_set1_epi32(0x3FF));
    const __m512i vecRounded = _mm512_srli_epi32(_mm512_add_epi32(vecLevel, _mm512_set1_epi32(2)), 2);
    return _mm512_min_epi32(vecRounded, _mm512_set1_epi32(255));
}

/// The three 10-bit levels of each word, from the low end, as bytes 0 to 2.
__m512i LevelsOf(__m512i _vecWords)
{
    const __m512i vec1 = _mm512_slli_epi32(From10Bit(_mm512_srli_epi32(_vecWords, 10)), 8);
    const __m512i vec2 = _mm512_slli_epi32(From10Bit(_mm512_srli_epi32(_vecWords, 20)), 16);
    return _mm512_or_si512(From10Bit(_vecWords), _mm512_or_si512(vec1, vec2));
}

} // namespace

void ImgRead_UYVY_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPacked<true>(_row, _pBGRA, false, ImgRead_UYVY);
}

void ImgRead_YUYV_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPacked<false>(_row, _pBGRA, false, ImgRead_YUYV);
}

void ImgRead_YVYU_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPacked<false>(_row, _pBGRA, true, ImgRead_YVYU);
}

void ImgRead_Planar_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    const auto fnSamples = [](const uint8_t* _pBytes) {
        return _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(_pBytes)));
    };
    const auto fnChroma = [&](int _nPairs) {
        return _mm512_or_si512(fnSamples(_row.pU + _nPairs), _mm512_slli_epi32(fnSamples(_row.pV + _nPairs), 16));
    };
    ReadPlanar<1>(_row, _pBGRA, fnChroma, ImgRead_Planar);
}

void ImgRead_NV12_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPlanar<2>(
        _row, _pBGRA, [&](int _nPairs) { return WordsOf(_row.pU + 2 * _nPairs); }, ImgRead_NV12);
}

// 64 bytes, that is 24 pixels, are unpacked at a time, and four times that is converted as UYVY.
void ImgRead_v210_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    constexpr int c_nChunk = 96;
    const __m512i vecBytes = _mm512_set4_epi32(-1, 0x0E0D0C0A, 0x09080605, 0x04020100);
    const __m512i vecOrder = _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, 15, 15, 15);
    const CConverter converter(*_row.pCoeff, false);
    IMG_ROW rest = _row;
    for (; rest.nWidth >= c_nChunk; rest.nWidth -= c_nChunk, rest.pPlane0 += 256, _pBGRA += 4 * c_nChunk)
    {
        uint8_t arrUYVY[2 * c_nChunk + 16]; // 48 of each 64 bytes written are samples
        for (int n = 0; n < 4; ++n)
        {
            const __m512i vecLevels = LevelsOf(_mm512_loadu_si512(rest.pPlane0 + 64 * n));
            const __m512i vecPacked = _mm512_permutexvar_epi32(vecOrder, _mm512_shuffle_epi8(vecLevels, vecBytes));
            _mm512_storeu_si512(arrUYVY + 48 * n, vecPacked);
        }
        for (int n = 0; n < c_nChunk / c_nPixels; ++n)
        {
            const __m512i vecUnits = _mm512_loadu_si512(arrUYVY + 2 * c_nPixels * n);
            converter.Put(_pBGRA + 4 * c_nPixels * n, HighBytes(vecUnits), LowBytes(vecUnits));
        }
    }
    ImgRead_v210(rest, _pBGRA);
}

void ImgRead_r210_AVX512(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    constexpr int c_nLanes = 16;
    const __m512i vecSwap = _mm512_set4_epi32(0x0C0D0E0F, 0x08090A0B, 0x04050607, 0x00010203);
    for (int x = 0; x < _row.nWidth; x += c_nLanes)
    {
        const int nRest = _row.nWidth - x;
        const auto nMask = static_cast<__mmask16>(nRest < c_nLanes ? (1u << nRest) - 1 : 0xFFFF);
        const __m512i vecWords = _mm512_maskz_loadu_epi32(nMask, _row.pPlane0 + 4 * x);
        const __m512i vecPixels =
            _mm512_or_si512(LevelsOf(_mm512_shuffle_epi8(vecWords, vecSwap)), _mm512_set1_epi32(c_nAlphaByte));
        _mm512_mask_storeu_epi32(_pBGRA + 4 * x, nMask, vecPixels);
    }
}
