#include "Image/ImgRowsC.h"
#include "Image/x86/ImgKernels_x86.h"

#include <immintrin.h>

namespace
{

constexpr int c_nPixels = 16; // made at a time: 8 pairs that share their chroma
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
        m_vecConstB = _mm256_set1_epi32(nConst - 128 * _coef.nBU);
        m_vecConstG = _mm256_set1_epi32(nConst - 128 * (_coef.nGU + _coef.nGV));
        m_vecConstR = _mm256_set1_epi32(nConst - 128 * _coef.nRV);
    }
    /// Writes 16 pixels.
    void Put(uint8_t* _pBGRA, __m256i _vecY, __m256i _vecChroma) const
    {
        const __m256i vecB = _mm256_add_epi32(_mm256_madd_epi16(_vecChroma, m_vecB), m_vecConstB);
        const __m256i vecG = _mm256_add_epi32(_mm256_madd_epi16(_vecChroma, m_vecG), m_vecConstG);
        const __m256i vecR = _mm256_add_epi32(_mm256_madd_epi16(_vecChroma, m_vecR), m_vecConstR);
        const __m256i vecEven = Pixels(_mm256_madd_epi16(_vecY, m_vecY0), vecB, vecG, vecR);
        const __m256i vecOdd = Pixels(_mm256_madd_epi16(_vecY, m_vecY1), vecB, vecG, vecR);
        // Each 16 bytes hold pixels 8n to 8n + 3 and 8n + 4 to 8n + 7.
        const __m256i vecLow = _mm256_unpacklo_epi32(vecEven, vecOdd);
        const __m256i vecHigh = _mm256_unpackhi_epi32(vecEven, vecOdd);
        Store(_pBGRA, _mm256_permute2x128_si256(vecLow, vecHigh, 0x20));
        Store(_pBGRA + 32, _mm256_permute2x128_si256(vecLow, vecHigh, 0x31));
    }

private:
    static __m256i Level(__m256i _vecLuma, __m256i _vecChroma)
    {
        return _mm256_srai_epi32(_mm256_add_epi32(_vecLuma, _vecChroma), 13);
    }
    /// Packing clamps to 0 to 255.
    static __m256i Pixels(__m256i _vecLuma, __m256i _vecB, __m256i _vecG, __m256i _vecR)
    {
        const __m256i vecBG = _mm256_packs_epi32(Level(_vecLuma, _vecB), Level(_vecLuma, _vecG));
        const __m256i vecRA = _mm256_packs_epi32(Level(_vecLuma, _vecR), _mm256_set1_epi32(255));
        const __m256i vecOrder =
            _mm256_broadcastsi128_si256(_mm_setr_epi32(0x0C080400, 0x0D090501, 0x0E0A0602, 0x0F0B0703));
        return _mm256_shuffle_epi8(_mm256_packus_epi16(vecBG, vecRA), vecOrder);
    }

    __m256i m_vecY0;
    __m256i m_vecY1;
    __m256i m_vecB;
    __m256i m_vecG;
    __m256i m_vecR;
    __m256i m_vecConstB;
    __m256i m_vecConstG;
    __m256i m_vecConstR;
};

__m256i LowBytes(__m256i _vecUnits)
{
    return _mm256_and_si256(_vecUnits, _mm256_set1_epi16(0xFF));
}

__m256i HighBytes(__m256i _vecUnits)
{
    return _mm256_srli_epi16(_vecUnits, 8);
}

__m256i WordsOf(const uint8_t* _pBytes)
{
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(_pBytes)));
}

/// Packed 4:2:2 with Y in the high or the low bytes of its words; the rest of the row is the plain kernel's.
template <bool LumaHigh> void ReadPacked(const IMG_ROW& _row, uint8_t* _pBGRA, bool _bVFirst, PFN_IMG_READ _pfnRest)
{
    const CConverter converter(*_row.pCoeff, _bVFirst);
    IMG_ROW rest = _row;
    for (; rest.nWidth >= c_nPixels; rest.nWidth -= c_nPixels, rest.pPlane0 += 2 * c_nPixels, _pBGRA += 4 * c_nPixels)
    {
        const __m256i vecUnits = Load(rest.pPlane0);
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
__m256i From10Bit(__m256i _vecWords)
{
    const __m256i vecLevel = _mm256_and_si256(_vecWords, _mm256_set1_epi32(0x3FF));
    const __m256i vecRounded = _mm256_srli_epi32(_mm256_add_epi32(vecLevel, _mm256_set1_epi32(2)), 2);
    return _mm256_min_epi32(vecRounded, _mm256_set1_epi32(255));
}

/// The three 10-bit levels of each word, from the low end, as bytes 0 to 2.
__m256i LevelsOf(__m256i _vecWords)
{
    const __m256i vec1 = _mm256_slli_epi32(From10Bit(_mm256_srli_epi32(_vecWords, 10)), 8);
    const __m256i vec2 = _mm256_slli_epi32(From10Bit(_mm256_srli_epi32(_vecWords, 20)), 16);
    return _mm256_or_si256(From10Bit(_vecWords), _mm256_or_si256(vec1, vec2));
}

} // namespace

void ImgRead_UYVY_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPacked<true>(_row, _pBGRA, false, ImgRead_UYVY);
}

void ImgRead_YUYV_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPacked<false>(_row, _pBGRA, false, ImgRead_YUYV);
}

void ImgRead_YVYU_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPacked<false>(_row, _pBGRA, true, ImgRead_YVYU);
}

void ImgRead_Planar_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    const auto fnSamples = [](const uint8_t* _pBytes) {
        return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(_pBytes)));
    };
    const auto fnChroma = [&](int _nPairs) {
        return _mm256_or_si256(fnSamples(_row.pU + _nPairs), _mm256_slli_epi32(fnSamples(_row.pV + _nPairs), 16));
    };
    ReadPlanar<1>(_row, _pBGRA, fnChroma, ImgRead_Planar);
}

void ImgRead_NV12_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPlanar<2>(
        _row, _pBGRA, [&](int _nPairs) { return WordsOf(_row.pU + 2 * _nPairs); }, ImgRead_NV12);
}

// 32 bytes, that is 12 pixels, are unpacked at a time, and four times that is converted as UYVY.
void ImgRead_v210_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    constexpr int c_nChunk = 48;
    const __m256i vecBytes = _mm256_broadcastsi128_si256(_mm_setr_epi32(0x04020100, 0x09080605, 0x0E0D0C0A, -1));
    const __m256i vecOrder = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
    const CConverter converter(*_row.pCoeff, false);
    IMG_ROW rest = _row;
    for (; rest.nWidth >= c_nChunk; rest.nWidth -= c_nChunk, rest.pPlane0 += 128, _pBGRA += 4 * c_nChunk)
    {
        uint8_t arrUYVY[2 * c_nChunk + 8]; // 24 of each 32 bytes written are samples
        for (int n = 0; n < 4; ++n)
        {
            const __m256i vecLevels = LevelsOf(Load(rest.pPlane0 + 32 * n));
            const __m256i vecPacked = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(vecLevels, vecBytes), vecOrder);
            Store(arrUYVY + 24 * n, vecPacked);
        }
        for (int n = 0; n < c_nChunk / c_nPixels; ++n)
        {
            const __m256i vecUnits = Load(arrUYVY + 2 * c_nPixels * n);
            converter.Put(_pBGRA + 4 * c_nPixels * n, HighBytes(vecUnits), LowBytes(vecUnits));
        }
    }
    ImgRead_v210(rest, _pBGRA);
}

void ImgRead_r210_AVX2(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    constexpr int c_nLanes = 8;
    const __m256i vecSwap = _mm256_broadcastsi128_si256(_mm_setr_epi32(0x00010203, 0x04050607, 0x08090A0B, 0x0C0D0E0F));
    IMG_ROW rest = _row;
    for (; rest.nWidth >= c_nLanes; rest.nWidth -= c_nLanes, rest.pPlane0 += 4 * c_nLanes, _pBGRA += 4 * c_nLanes)
    {
        const __m256i vecLevels = LevelsOf(_mm256_shuffle_epi8(Load(rest.pPlane0), vecSwap));
        Store(_pBGRA, _mm256_or_si256(vecLevels, _mm256_set1_epi32(c_nAlphaByte)));
    }
    ImgRead_r210(rest, _pBGRA);
}
