#pragma once

#include "Image/ImgRowsC.h"
#include "Image/ImgRowsColor.h"

/// The readers of rows for a level of Simd.h. What is left of a row after its last full group of vectors is the plain
/// kernel's.

/// YUV to RGB, for words of Y side by side and words of U before V, or V before U.
template <class S> class CYUVReader
{
public:
    using U16 = typename S::U16;
    using I32 = typename S::I32;
    /// Pixels made at a time: pairs that share their chroma, a lane each.
    static constexpr int c_nPixels = 2 * static_cast<int>(S::c_nLanes);

    ZCK_INLINE CYUVReader(const IMG_YUV_COEF& _coef, bool _bVFirst)
        : m_vecY0(CoefPair<S>(_coef.nY, 0))
        , m_vecY1(CoefPair<S>(0, _coef.nY))
        , m_vecB(_bVFirst ? CoefPair<S>(0, _coef.nBU) : CoefPair<S>(_coef.nBU, 0))
        , m_vecG(_bVFirst ? CoefPair<S>(_coef.nGV, _coef.nGU) : CoefPair<S>(_coef.nGU, _coef.nGV))
        , m_vecR(_bVFirst ? CoefPair<S>(_coef.nRV, 0) : CoefPair<S>(0, _coef.nRV))
        , m_vecConstB(8 * (FROM_YUV<S>::Const(_coef) - 128 * _coef.nBU))
        , m_vecConstG(8 * (FROM_YUV<S>::Const(_coef) - 128 * (_coef.nGU + _coef.nGV)))
        , m_vecConstR(8 * (FROM_YUV<S>::Const(_coef) - 128 * _coef.nRV))
    {
    }
    /// Writes c_nPixels pixels. Both vectors in the order that JoinHalves gives them.
    ZCK_INLINE void Put(uint8_t* _pBGRA, U16 _vecY, U16 _vecChroma) const
    {
        // Eightfold, so that sums have their whole part in the high words.
        const U16 vecY = _vecY << 3, vecChroma = _vecChroma << 3;
        const I32 vecLuma0 = MulAdd(vecY, m_vecY0), vecLuma1 = MulAdd(vecY, m_vecY1);
        const auto Both = [&](U16 _vecCoef, I32 _vecConst) {
            const I32 vec = MulAdd(vecChroma, _vecCoef) + _vecConst;
            return HighWords(vecLuma0 + vec, vecLuma1 + vec);
        };
        I32 vecFirst, vecSecond;
        JoinWords(Both(m_vecB, m_vecConstB), Both(m_vecG, m_vecConstG), Both(m_vecR, m_vecConstR), U16(255), vecFirst,
                  vecSecond);
        S::Store(_pBGRA, vecFirst);
        S::Store(_pBGRA + S::c_nBytes, vecSecond);
    }

private:
    U16 m_vecY0;
    U16 m_vecY1;
    U16 m_vecB;
    U16 m_vecG;
    U16 m_vecR;
    I32 m_vecConstB;
    I32 m_vecConstG;
    I32 m_vecConstR;
};

/// Vectors of words in the order that CYUVReader takes.
template <class S, class V> ZCK_INLINE V InHalves(V _vec)
{
    return As<V>(JoinHalves(As<typename S::I32>(_vec)));
}

/// Packed 4:2:2 with Y in the high or the low bytes of its words.
template <class S, bool LumaHigh>
ZCK_INLINE void ReadPacked(const IMG_ROW& _row, uint8_t* _pBGRA, bool _bVFirst, PFN_IMG_READ _pfnRest)
{
    constexpr int c_nPixels = CYUVReader<S>::c_nPixels;
    const CYUVReader<S> reader(*_row.pCoeff, _bVFirst);
    const uint8_t* const pUnits = _row.pPlane0;
    const ptrdiff_t nNext = _row.nNext;
    const int nWhole = _row.nWidth / c_nPixels * c_nPixels;
    for (int x = 0; x < nWhole; x += c_nPixels)
    {
        S::Prefetch(pUnits + 2 * x + nNext);
        const auto vecUnits = InHalves<S>(S::LoadU8(pUnits + 2 * x));
        reader.Put(_pBGRA + 4 * x, LumaHigh ? Odd(vecUnits) : Even(vecUnits),
                   LumaHigh ? Even(vecUnits) : Odd(vecUnits));
    }
    IMG_ROW rest = _row;
    rest.nWidth -= nWhole;
    rest.pPlane0 += 2 * nWhole;
    _pfnRest(rest, _pBGRA + 4 * nWhole);
}

template <class S> void ReadUYVY(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPacked<S, true>(_row, _pBGRA, false, ImgRead_UYVY);
}

template <class S> void ReadYUYV(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPacked<S, false>(_row, _pBGRA, false, ImgRead_YUYV);
}

template <class S> void ReadYVYU(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadPacked<S, false>(_row, _pBGRA, true, ImgRead_YVYU);
}

/// U and V of pairs of pixels from planes of their own; Step: bytes from sample to sample.
template <class S> struct CHROMA_PLANES
{
    static constexpr int c_nStep = 1;
    static constexpr int c_nBytes = 1; ///< of a sample
    static ZCK_INLINE void Expect(const IMG_ROW& _row, int _nPair)
    {
        S::Prefetch(_row.pPlane0 + 2 * _nPair + _row.nNext);
        S::Prefetch(_row.pU + _nPair + _row.nNextChroma);
        S::Prefetch(_row.pV + _nPair + _row.nNextChroma);
    }
    static ZCK_INLINE typename S::U16 Luma(const IMG_ROW& _row, int _nPair)
    {
        return S::WidenU16(_row.pPlane0 + 2 * _nPair);
    }
    static ZCK_INLINE typename S::U16 Of(const IMG_ROW& _row, int _nPair)
    {
        return As<typename S::U16>(S::WidenI32(_row.pU + _nPair) | S::WidenI32(_row.pV + _nPair) << 16);
    }
};

/// The same from one plane, in turn.
template <class S> struct CHROMA_IN_TURN
{
    static constexpr int c_nStep = 2;
    static constexpr int c_nBytes = 1;
    static ZCK_INLINE void Expect(const IMG_ROW& _row, int _nPair)
    {
        S::Prefetch(_row.pPlane0 + 2 * _nPair + _row.nNext);
        S::Prefetch(_row.pU + 2 * _nPair + _row.nNextChroma);
    }
    static ZCK_INLINE typename S::U16 Luma(const IMG_ROW& _row, int _nPair)
    {
        return S::WidenU16(_row.pPlane0 + 2 * _nPair);
    }
    static ZCK_INLINE typename S::U16 Of(const IMG_ROW& _row, int _nPair)
    {
        return S::WidenU16(_row.pU + 2 * _nPair);
    }
};

/// The same of samples in the ten high bits of words: levels of 8 bits, rounded, halves up, at most 255.
template <class S> struct CHROMA_IN_TURN10
{
    static constexpr int c_nStep = 4;
    static constexpr int c_nBytes = 2;
    static ZCK_INLINE void Expect(const IMG_ROW& _row, int _nPair)
    {
        S::Prefetch(_row.pPlane0 + 4 * _nPair + _row.nNext);
        S::Prefetch(_row.pU + 4 * _nPair + _row.nNextChroma);
    }
    static ZCK_INLINE typename S::U16 Levels(const uint8_t* _pWords)
    {
        const typename S::I32 vecSamples = (S::LoadI32(_pWords) >> 6) & 0x03FF03FF;
        const typename S::I32 vecRounded = ((vecSamples + 0x00020002) >> 2) & 0x01FF01FF;
        return As<typename S::U16>(vecRounded - ((vecRounded >> 8) & 0x00010001)); // 256 is 255
    }
    static ZCK_INLINE typename S::U16 Luma(const IMG_ROW& _row, int _nPair)
    {
        return Levels(_row.pPlane0 + 4 * _nPair);
    }
    static ZCK_INLINE typename S::U16 Of(const IMG_ROW& _row, int _nPair)
    {
        return Levels(_row.pU + 4 * _nPair);
    }
};

/// Half-width chroma in planes of its own.
template <class S, class Chroma>
ZCK_INLINE void ReadHalfWidth(const IMG_ROW& _row, uint8_t* _pBGRA, PFN_IMG_READ _pfnRest)
{
    constexpr int c_nPairs = CYUVReader<S>::c_nPixels / 2;
    const CYUVReader<S> reader(*_row.pCoeff, false);
    const IMG_ROW row = _row; // a copy that the stores below cannot change
    int nPairs = 0;
    for (; 2 * (nPairs + c_nPairs) <= row.nWidth && nPairs + c_nPairs <= row.nChroma; nPairs += c_nPairs)
    {
        Chroma::Expect(row, nPairs);
        reader.Put(_pBGRA + 8 * nPairs, InHalves<S>(Chroma::Luma(row, nPairs)), InHalves<S>(Chroma::Of(row, nPairs)));
    }
    // The rest keeps at least one sample: a row without any is neutral.
    const int nSkip = nPairs < _row.nChroma ? nPairs : _row.nChroma > 0 ? _row.nChroma - 1 : 0;
    IMG_ROW rest = _row;
    rest.nWidth -= 2 * nPairs;
    rest.nChroma -= nSkip;
    rest.pPlane0 += 2 * Chroma::c_nBytes * nPairs;
    rest.pU += Chroma::c_nStep * nSkip;
    rest.pV += Chroma::c_nStep * nSkip;
    _pfnRest(rest, _pBGRA + 8 * nPairs);
}

template <class S> void ReadPlanar(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadHalfWidth<S, CHROMA_PLANES<S>>(_row, _pBGRA, ImgRead_Planar);
}

template <class S> void ReadNV12(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadHalfWidth<S, CHROMA_IN_TURN<S>>(_row, _pBGRA, ImgRead_NV12);
}

template <class S> void ReadP010(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    ReadHalfWidth<S, CHROMA_IN_TURN10<S>>(_row, _pBGRA, ImgRead_P010);
}

/// A 10-bit level at the low end of each lane as one of 8 bits, rounded, halves up.
template <class I32> ZCK_INLINE I32 From10Bit(I32 _vecWords)
{
    return Min(((_vecWords & 0x3FF) + 2) >> 2, 255);
}

/// The three 10-bit levels of each word, from the low end, as bytes 0 to 2.
template <class I32> ZCK_INLINE I32 LevelsOf(I32 _vecWords)
{
    return From10Bit(_vecWords) | (From10Bit(_vecWords >> 10) << 8 | From10Bit(_vecWords >> 20) << 16);
}

/// Four vectors of words are unpacked at a time, with three samples in each word, and converted as UYVY.
template <class S> void ReadV210(const IMG_ROW& _row, uint8_t* _pBGRA)
{
    using U8 = typename S::U8;
    using I32 = typename S::I32;
    constexpr int c_nPixels = CYUVReader<S>::c_nPixels;
    constexpr int c_nVectors = 4;
    constexpr size_t c_cbSamples = S::c_nBytes / 4 * 3; // from one vector
    constexpr int c_nChunk = c_nVectors * static_cast<int>(c_cbSamples) / 2;
    constexpr uint8_t c_arrBytes[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0xFF, 0xFF, 0xFF, 0xFF};
    const CYUVReader<S> reader(*_row.pCoeff, false);
    IMG_ROW rest = _row;
    for (; rest.nWidth >= c_nChunk;
         rest.nWidth -= c_nChunk, rest.pPlane0 += c_nVectors * S::c_nBytes, _pBGRA += 4 * c_nChunk)
    {
        uint8_t arrUYVY[c_nVectors * c_cbSamples + S::c_nBytes / 4]; // whole vectors are written
        for (size_t n = 0; n < c_nVectors; ++n)
        {
            S::Prefetch(rest.pPlane0 + S::c_nBytes * n + _row.nNext);
            const I32 vecLevels = LevelsOf(S::LoadI32(rest.pPlane0 + S::c_nBytes * n));
            const I32 vecSamples = FirstThree(As<I32>(ShuffleBytes(As<U8>(vecLevels), c_arrBytes)));
            S::Store(arrUYVY + c_cbSamples * n, vecSamples);
        }
        for (int n = 0; n < c_nChunk / c_nPixels; ++n)
        {
            const U8 vecUnits = InHalves<S>(S::LoadU8(arrUYVY + 2 * c_nPixels * n));
            reader.Put(_pBGRA + 4 * c_nPixels * n, Odd(vecUnits), Even(vecUnits));
        }
    }
    ImgRead_v210(rest, _pBGRA);
}

template <class S> struct FROM_R210
{
    ZCK_INLINE typename S::I32 Of(typename S::I32 _vecPixels) const
    {
        constexpr uint8_t c_arrSwap[16] = {3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12};
        const auto vecWords = As<typename S::I32>(ShuffleBytes(As<typename S::U8>(_vecPixels), c_arrSwap));
        return LevelsOf(vecWords) | c_nImgAlphaByte;
    }
};

/// RGB32, whose fourth byte means nothing.
template <class S> struct MADE_OPAQUE
{
    ZCK_INLINE typename S::I32 Of(typename S::I32 _vecPixels) const
    {
        return _vecPixels | c_nImgAlphaByte;
    }
};

template <class S> struct FROM_RGBA32
{
    ZCK_INLINE typename S::I32 Of(typename S::I32 _vecPixels) const
    {
        constexpr uint8_t c_arrSwap[16] = {2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15};
        return As<typename S::I32>(ShuffleBytes(As<typename S::U8>(_vecPixels), c_arrSwap));
    }
};
