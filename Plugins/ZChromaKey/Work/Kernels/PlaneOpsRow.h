#pragma once

#include "Simd/Simd.h"
#include "ZChromaKey/Work/Kernels/PlaneOps.h"

/// The kernels over rows of a mask for a level of Simd.h; PLANE_KERNELS says what each does.

/// Replaces the bytes of a row by _op.Of(a vector of them).
template <class S, class Op> ZCK_INLINE void MapBytes(uint8_t* _pBytes, size_t _nBytes, const Op& _op)
{
    size_t n = 0;
    for (; n + S::c_nBytes <= _nBytes; n += S::c_nBytes)
        S::Store(_pBytes + n, _op.Of(S::LoadU8(_pBytes + n)));
    if (n < _nBytes)
        S::Store(_pBytes + n, _nBytes - n, _op.Of(S::LoadU8(_pBytes + n, _nBytes - n)));
}

template <class S> struct THRESHOLD
{
    typename S::U8 vecMin;
    typename S::U8 vecMax;

    ZCK_INLINE typename S::U8 Of(typename S::U8 _vecAlpha) const
    {
        return ElseNone(AtLeast(_vecAlpha, vecMin), ElseAll(AtLeast(vecMax, _vecAlpha), _vecAlpha));
    }
};

template <class S> void Threshold(uint8_t* _pAlpha, size_t _nPixels, uint8_t _nMin, uint8_t _nMax)
{
    MapBytes<S>(_pAlpha, _nPixels, THRESHOLD<S>{_nMin, _nMax});
}

template <class S> struct INVERT
{
    ZCK_INLINE typename S::U8 Of(typename S::U8 _vecAlpha) const
    {
        return ~_vecAlpha;
    }
};

template <class S> void Invert(uint8_t* _pAlpha, size_t _nPixels)
{
    MapBytes<S>(_pAlpha, _nPixels, INVERT<S>());
}

template <class U16> ZCK_INLINE U16 SmoothWeighted(U16 _vecOuter0, U16 _vecInner, U16 _vecOuter1)
{
    return _vecOuter0 + _vecOuter1 + (_vecInner << 1);
}

/// Columns of three rows, filtered downwards.
template <class S> struct SMOOTH_COLUMNS
{
    typename S::U16 vecEven;
    typename S::U16 vecOdd;

    static ZCK_INLINE SMOOTH_COLUMNS Of(const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow)
    {
        const typename S::U8 vecAbove = S::LoadU8(_pAbove);
        const typename S::U8 vecRow = S::LoadU8(_pRow);
        const typename S::U8 vecBelow = S::LoadU8(_pBelow);
        return {SmoothWeighted(Even(vecAbove), Even(vecRow), Even(vecBelow)),
                SmoothWeighted(Odd(vecAbove), Odd(vecRow), Odd(vecBelow))};
    }
};

/// A vector of columns that all have a neighbour on either side.
template <class S>
ZCK_INLINE void SmoothVector(uint8_t* _pResult, const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow)
{
    using U8 = typename S::U8;
    using U16 = typename S::U16;
    // An even column has odd neighbours: the right one is in the same place, the left one a column earlier.
    const SMOOTH_COLUMNS<S> here = SMOOTH_COLUMNS<S>::Of(_pAbove, _pRow, _pBelow);
    const SMOOTH_COLUMNS<S> left = SMOOTH_COLUMNS<S>::Of(_pAbove - 1, _pRow - 1, _pBelow - 1);
    const SMOOTH_COLUMNS<S> right = SMOOTH_COLUMNS<S>::Of(_pAbove + 1, _pRow + 1, _pBelow + 1);
    const U16 vecEven = SmoothWeighted<U16>(left.vecEven, here.vecEven, here.vecOdd + 8);
    const U16 vecOdd = SmoothWeighted<U16>(here.vecEven, here.vecOdd, right.vecOdd + 8);
    const U8 vecRow = S::LoadU8(_pRow);
    S::Store(_pResult, Select(AtLeast(vecRow, c_nLeastSmoothed), JoinBytes(vecEven >> 4, vecOdd >> 4), vecRow));
}

template <class S>
void Smooth(uint8_t* _pResult, const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow, size_t _nPixels)
{
    if (_nPixels < S::c_nBytes + 2)
    {
        Smooth_C(_pResult, _pAbove, _pRow, _pBelow, _nPixels);
        return;
    }
    // The columns at both ends, each with its neighbour; what they say about that one is written over.
    Smooth_C(_pResult, _pAbove, _pRow, _pBelow, 2);
    const size_t nEnd = _nPixels - 2;
    Smooth_C(_pResult + nEnd, _pAbove + nEnd, _pRow + nEnd, _pBelow + nEnd, 2);
    const size_t nLast = _nPixels - 1 - S::c_nBytes;
    for (size_t n = 1; n < nLast; n += S::c_nBytes)
        SmoothVector<S>(_pResult + n, _pAbove + n, _pRow + n, _pBelow + n);
    SmoothVector<S>(_pResult + nLast, _pAbove + nLast, _pRow + nLast, _pBelow + nLast);
}

template <class I32> ZCK_INLINE I32 WithAlpha(I32 _vecPixels, I32 _vecAlpha)
{
    return (_vecPixels & 0x00FFFFFF) | _vecAlpha << 24;
}

template <class S> void AlphaSet(uint8_t* _pPixels, const uint8_t* _pAlpha, size_t _nPixels)
{
    size_t n = 0;
    for (; n + S::c_nLanes <= _nPixels; n += S::c_nLanes)
        S::Store(_pPixels + 4 * n, WithAlpha(S::LoadI32(_pPixels + 4 * n), S::WidenI32(_pAlpha + n)));
    const size_t nRest = _nPixels - n;
    if (nRest)
        S::Store(_pPixels + 4 * n, nRest,
                 WithAlpha(S::LoadI32(_pPixels + 4 * n, nRest), S::WidenI32(_pAlpha + n, nRest)));
}

template <class S> void AlphaGet(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels)
{
    constexpr size_t c_nRow = 4 * S::c_nLanes; // bytes of a vector of pixels
    size_t n = 0;
    for (; n + S::c_nBytes <= _nPixels; n += S::c_nBytes, _pPixels += 4 * c_nRow)
        S::Store(_pAlpha + n,
                 PackLanes(ShiftedIn0(S::LoadI32(_pPixels), 24), ShiftedIn0(S::LoadI32(_pPixels + c_nRow), 24),
                           ShiftedIn0(S::LoadI32(_pPixels + 2 * c_nRow), 24),
                           ShiftedIn0(S::LoadI32(_pPixels + 3 * c_nRow), 24)));
    AlphaGet_C(_pAlpha + n, _pPixels, _nPixels - n);
}
