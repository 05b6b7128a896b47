#pragma once

#include "Image/ImgKernels.h"
#include "Simd/Simd.h"

/// The conversions of pixels between colour spaces for a level of Simd.h; ImgColor.h says what each does.

inline constexpr int c_nImgAlphaByte = ~0x00FFFFFF;

/// Replaces the pixels of a row by _op.Of(a vector of them).
template <class S, class Op>
ZCK_INLINE void MapPixels(const uint8_t* _pFrom, uint8_t* _pTo, int _nPixels, const Op& _op)
{
    constexpr int c_nLanes = static_cast<int>(S::c_nLanes);
    int x = 0;
    for (; x + c_nLanes <= _nPixels; x += c_nLanes, _pFrom += S::c_nBytes, _pTo += S::c_nBytes)
        S::Store(_pTo, _op.Of(S::LoadI32(_pFrom)));
    if (x < _nPixels)
    {
        const auto nRest = static_cast<size_t>(_nPixels - x);
        S::Store(_pTo, nRest, _op.Of(S::LoadI32(_pFrom, nRest)));
    }
}

/// Two coefficients in every lane, for the words of components that lie side by side.
template <class S> ZCK_INLINE typename S::U16 CoefPair(int _nLow, int _nHigh)
{
    return As<typename S::U16>(typename S::I32((_nLow & 0xFFFF) | _nHigh * 65536));
}

/// Bytes 0 and 2 of each pixel as words, and bytes 1 and 3.
template <class S> struct PIXEL_WORDS
{
    ZCK_INLINE explicit PIXEL_WORDS(typename S::I32 _vecPixels)
        : vec02(Even(As<typename S::U8>(_vecPixels)))
        , vec13(Odd(As<typename S::U8>(_vecPixels)))
    {
    }
    typename S::U16 vec02;
    typename S::U16 vec13;
};

/// One row of a matrix on bytes 0 to 2 of each pixel, and a constant.
template <class S> struct MATRIX_ROW
{
    ZCK_INLINE MATRIX_ROW(int _nCoef0, int _nCoef1, int _nCoef2, int _nConst)
        : vec02(CoefPair<S>(_nCoef0, _nCoef2))
        , vec1(CoefPair<S>(_nCoef1, 0))
        , vecConst(_nConst)
    {
    }
    ZCK_INLINE typename S::I32 Of(const PIXEL_WORDS<S>& _words) const
    {
        return MulAdd(_words.vec02, vec02) + MulAdd(_words.vec13, vec1) + vecConst;
    }
    typename S::U16 vec02;
    typename S::U16 vec1;
    typename S::I32 vecConst;
};

/// Three components, each within 8 bits, with the alpha of the pixels they come from.
template <class I32> ZCK_INLINE I32 JoinedPixels(I32 _vec0, I32 _vec1, I32 _vec2, I32 _vecPixels)
{
    return (_vec0 | _vec1 << 8) | (_vec2 << 16 | (_vecPixels & c_nImgAlphaByte));
}

template <class S> struct TO_YUV
{
    ZCK_INLINE static MATRIX_ROW<S> Row(const int16_t* _pnCoef, int _nOffset)
    {
        return MATRIX_ROW<S>(_pnCoef[0], _pnCoef[1], _pnCoef[2], (_nOffset << 15) + (1 << 14));
    }
    ZCK_INLINE explicit TO_YUV(const IMG_RGB_COEF& _coef)
        : rowY(Row(_coef.anY, _coef.nBlack))
        , rowU(Row(_coef.anU, 128))
        , rowV(Row(_coef.anV, 128))
    {
    }
    ZCK_INLINE typename S::I32 Of(typename S::I32 _vecPixels) const
    {
        const PIXEL_WORDS<S> words(_vecPixels);
        return JoinedPixels(rowY.Of(words) >> 15, rowU.Of(words) >> 15, rowV.Of(words) >> 15, _vecPixels);
    }
    MATRIX_ROW<S> rowY;
    MATRIX_ROW<S> rowU;
    MATRIX_ROW<S> rowV;
};

template <class S> struct FROM_YUV
{
    ZCK_INLINE explicit FROM_YUV(const IMG_YUV_COEF& _coef)
        : rowB(_coef.nY, _coef.nBU, 0, Const(_coef) - 128 * _coef.nBU)
        , rowG(_coef.nY, _coef.nGU, _coef.nGV, Const(_coef) - 128 * (_coef.nGU + _coef.nGV))
        , rowR(_coef.nY, 0, _coef.nRV, Const(_coef) - 128 * _coef.nRV)
    {
    }
    /// The half that rounds, and the black of the range.
    ZCK_INLINE static int Const(const IMG_YUV_COEF& _coef)
    {
        return 4096 - _coef.nBlack * _coef.nY;
    }
    ZCK_INLINE typename S::I32 Of(typename S::I32 _vecPixels) const
    {
        const PIXEL_WORDS<S> words(_vecPixels);
        return JoinClamped(rowB.Of(words) >> 13, rowG.Of(words) >> 13, rowR.Of(words) >> 13,
                           ShiftedIn0(_vecPixels, 24));
    }
    MATRIX_ROW<S> rowB;
    MATRIX_ROW<S> rowG;
    MATRIX_ROW<S> rowR;
};

/// Numerator / denominator, truncated; a denominator of 0 counts as 1. Both stay below 2^24, where single precision
/// cannot round a quotient up to the next integer.
template <class I32> ZCK_INLINE I32 Quotient(I32 _vecNumerator, I32 _vecDenominator)
{
    return ToI32(ToF32(_vecNumerator) / ToF32(Max(_vecDenominator, 1)));
}

/// Sixths of a turn x delta, from the sector of the largest component; red counts before green, green before blue.
template <class I32>
ZCK_INLINE I32 HueSixthsOf(I32 _vecR, I32 _vecG, I32 _vecB, I32 _vecMax, I32 _vecDelta2, I32 _vecDelta6)
{
    const I32 vecHueB = _vecR - _vecG + (_vecDelta2 + _vecDelta2);
    const I32 vecHueG = _vecB - _vecR + _vecDelta2;
    const I32 vecHueR = _vecG - _vecB;
    const I32 vecTurned = Select(Greater(_vecB, _vecG), vecHueR + _vecDelta6, vecHueR); // not below 0
    return Select(Equal(_vecMax, _vecR), vecTurned, Select(Equal(_vecMax, _vecG), vecHueG, vecHueB));
}

template <class S> struct TO_HLS
{
    ZCK_INLINE typename S::I32 Of(typename S::I32 _vecPixels) const
    {
        using I32 = typename S::I32;
        const I32 vecB = _vecPixels & 0xFF;
        const I32 vecG = (_vecPixels >> 8) & 0xFF;
        const I32 vecR = (_vecPixels >> 16) & 0xFF;
        const I32 vecMax = Max(Max(vecR, vecG), vecB);
        const I32 vecMin = Min(Min(vecR, vecG), vecB);
        const I32 vecSum = vecMax + vecMin;
        const I32 vecDelta = vecMax - vecMin;
        const I32 vecDelta2 = vecDelta + vecDelta;
        const I32 vecDelta3 = vecDelta2 + vecDelta;
        const I32 vecDelta6 = vecDelta3 + vecDelta3;
        // 256 x hue, and 255 x delta / range, with the half that rounds them; greys come out as 0.
        const I32 vecSixths = HueSixthsOf(vecR, vecG, vecB, vecMax, vecDelta2, vecDelta6);
        const I32 vecHue = Quotient((vecSixths << 8) + vecDelta3, vecDelta6);
        const I32 vecRange = Min(vecSum, I32(510) - vecSum);
        const I32 vecSaturation = Quotient((vecDelta << 9) - vecDelta2 + vecRange, vecRange << 1);
        return JoinedPixels(vecHue & 0xFF, (vecSum + 1) >> 1, vecSaturation, _vecPixels);
    }
};
