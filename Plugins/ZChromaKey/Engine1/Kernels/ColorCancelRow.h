#pragma once

#include "ZChromaKey/Engine1/Kernels/ColorCancel.h"

// Vectors that go through memory between functions cost half the speed, and compilers think these too large to inline.
#if defined(_MSC_VER)
#define ZCK_INLINE __forceinline
#else
#define ZCK_INLINE inline __attribute__((always_inline))
#endif

/// Colour cancel for any number of pixels at a time, written once for all levels.
///
/// A level is a type S of internal linkage, so that no two files share what they compile, with
///     FLT, INT, MASK  numbers, 32-bit words and truth values of c_nLanes pixels; FLT is made from a float
///     + - * /, Sqrt, Min, Max, Abs, Less, Select(mask, then, else), |, Any
///     Load, Store     words of a row, the first n of them
///     Byte, Place     a word's byte at a bit, as a number; a number from 0 to 255 as a byte at a bit

/// Y of one pixel, or of N pixels that share their chroma; V and U around 0.
template <class S, int N> struct CANCEL_COLOUR
{
    typename S::FLT arrY[N];
    typename S::FLT fltV;
    typename S::FLT fltU;
};

template <class S> struct CANCEL_RGB
{
    typename S::FLT fltR;
    typename S::FLT fltG;
    typename S::FLT fltB;
};

/// The components that distances are measured in.
template <class S> struct CANCEL_PLACE
{
    typename S::FLT flt0;
    typename S::FLT flt1;
};

/// The weighted sum of what the keys make of a colour.
template <class S, int N> struct CANCEL_SUM
{
    CANCEL_COLOUR<S, N> colour = {};
    typename S::FLT fltWeight = 0.0f;
};

inline constexpr float c_fltOf255 = 1.0f / 255;
inline constexpr float c_fltLeastWeight = 0.01f; // up to here a colour stays

template <class S> ZCK_INLINE typename S::FLT CancelClamped(typename S::FLT _flt, float _fltMin, float _fltMax)
{
    return Min(Max(_flt, typename S::FLT(_fltMin)), typename S::FLT(_fltMax));
}

template <class S> ZCK_INLINE typename S::FLT CancelRowOf(const float* _pRow, typename S::FLT _flt0,
                                                          typename S::FLT _flt1, typename S::FLT _flt2)
{
    using FLT = typename S::FLT;
    return FLT(_pRow[0]) * _flt0 + FLT(_pRow[1]) * _flt1 + FLT(_pRow[2]) * _flt2;
}

/// Row 0 gives Y without its offset, rows 1 and 2 give V and U around 0. None of them can leave its limits.
template <class S>
ZCK_INLINE typename S::FLT CancelToYVU(const CANCEL_RGB<S>& _rgb, int _nRow, const YVU_MATRIX& _matrix)
{
    return CancelRowOf<S>(_matrix.arrToYVU[_nRow], _rgb.fltR, _rgb.fltG, _rgb.fltB);
}

template <class S, int N>
ZCK_INLINE CANCEL_RGB<S> CancelToRGB(const CANCEL_COLOUR<S, N>& _colour, int _nPixel, const YVU_MATRIX& _matrix)
{
    using FLT = typename S::FLT;
    const FLT fltV = _colour.fltV + FLT(0.5f);
    const FLT fltU = _colour.fltU + FLT(0.5f);
    const auto Row = [&](int _nRow) {
        const FLT fltSum = CancelRowOf<S>(_matrix.arrToRGB[_nRow], _colour.arrY[_nPixel], fltV, fltU);
        return CancelClamped<S>(fltSum + FLT(_matrix.arrRGBAdd[_nRow]), 0, 1);
    };
    return {Row(0), Row(1), Row(2)};
}

template <class S> ZCK_INLINE CANCEL_PLACE<S> CancelPlaceOf(const CANCEL_RGB<S>& _rgb, eCancelSpace _eSpace)
{
    using FLT = typename S::FLT;
    if (_eSpace == eCS_RGB)
        return {_rgb.fltG, _rgb.fltB};
    const FLT fltMax = Max(Max(_rgb.fltR, _rgb.fltG), _rgb.fltB);
    const FLT fltMin = Min(Min(_rgb.fltR, _rgb.fltG), _rgb.fltB);
    const FLT fltSum = fltMax + fltMin;
    const FLT fltRange = FLT(1) - Abs(fltSum - FLT(1));
    const auto maskColoured = Less(FLT(0), fltRange); // neither black nor white
    const FLT fltSaturation = (fltMax - fltMin) / Select(maskColoured, fltRange, FLT(1));
    return {fltSum * FLT(0.5f), Select(maskColoured, fltSaturation, FLT(0))};
}

template <class S> ZCK_INLINE typename S::FLT CancelSquare(const CANCEL_PLACE<S>& _place, const CANCEL_KEY& _key)
{
    using FLT = typename S::FLT;
    const FLT flt0 = _place.flt0 - FLT(_key.arrCentre[0]);
    const FLT flt1 = _place.flt1 - FLT(_key.arrCentre[1]);
    return flt0 * flt0 + flt1 * flt1;
}

/// Whether any key can take part: cheap, and false for nearly all of the foreground.
template <class S> ZCK_INLINE bool CancelIsNear(const CANCEL_PLACE<S>& _place, const CANCEL_SET& _set)
{
    using FLT = typename S::FLT;
    auto maskNear = Less(CancelSquare<S>(_place, _set.arrKeys[0]), FLT(_set.arrKeys[0].fltNear));
    for (int i = 1; i < _set.nKeys; ++i)
        maskNear = maskNear | Less(CancelSquare<S>(_place, _set.arrKeys[i]), FLT(_set.arrKeys[i].fltNear));
    return Any(maskNear);
}

/// A pixel as a key sees it.
template <class S> struct CANCEL_VIEW
{
    typename S::FLT flt0; ///< r
    typename S::FLT flt1;
    typename S::FLT fltLength;  ///< |r|
    typename S::FLT fltInverse; ///< 1 / |r|; 0 on the centre itself, where there is no direction
    typename S::FLT fltWeight;  ///< 0 where the key takes no part, so that nothing is added
};

template <class S> ZCK_INLINE CANCEL_VIEW<S> CancelView(const CANCEL_PLACE<S>& _place, const CANCEL_KEY& _key)
{
    using FLT = typename S::FLT;
    const FLT flt0 = _place.flt0 - FLT(_key.arrCentre[0]);
    const FLT flt1 = _place.flt1 - FLT(_key.arrCentre[1]);
    const FLT fltLength = Sqrt(flt0 * flt0 + flt1 * flt1);
    const auto maskApart = Less(FLT(0), fltLength);
    if (_key.fltRadius > 0) // saves a root
    {
        const FLT fltDistance = Max(fltLength - FLT(_key.fltRadius), FLT(0));
        const FLT fltWeight = Max(FLT(1) - fltDistance * FLT(_key.fltSlope), FLT(0));
        const FLT fltInverse = FLT(1) / Select(maskApart, fltLength, FLT(1));
        return {flt0, flt1, fltLength, Select(maskApart, fltInverse, FLT(0)), fltWeight};
    }
    const FLT fltAxes0 = flt0 * FLT(_key.arrInverse[0]);
    const FLT fltAxes1 = flt1 * FLT(_key.arrInverse[1]);
    // Inside the ellipse this is 1, and the distance 0.
    const FLT fltAxes = Sqrt(Max(fltAxes0 * fltAxes0 + fltAxes1 * fltAxes1, FLT(1)));
    // One division gives the inverses of both.
    const FLT fltBoth = FLT(1) / (Select(maskApart, fltLength, FLT(1)) * fltAxes);
    const FLT fltInside = fltLength * fltLength * fltBoth; // up to where the way from the centre leaves the ellipse
    const FLT fltDistance = Select(Less(FLT(1), fltAxes), Max(fltLength - fltInside, FLT(0)), FLT(0));
    const FLT fltWeight = Max(FLT(1) - fltDistance * FLT(_key.fltSlope), FLT(0));
    return {flt0, flt1, fltLength, Select(maskApart, fltAxes * fltBoth, FLT(0)), fltWeight};
}

/// Moves the chroma as a key asks for.
template <class S, int N>
ZCK_INLINE void CancelPush(CANCEL_COLOUR<S, N>& _colour, const CANCEL_VIEW<S>& _view, const CANCEL_KEY& _key)
{
    using FLT = typename S::FLT;
    const FLT fltSign = _key.fltPower < 0 ? -1.0f : 1.0f;
    const FLT fltPower = _key.fltPowerAbs;
    const FLT fltPush = fltSign * (fltPower - Min(_view.fltLength, fltPower)) * _view.fltInverse;
    _colour.fltV = _colour.fltV + fltPush * _view.flt0 + _view.fltWeight * FLT(_key.arrPush[0]);
    _colour.fltU = _colour.fltU + fltPush * _view.flt1 + _view.fltWeight * FLT(_key.arrPush[1]);
    const FLT fltSquare = _colour.fltV * _colour.fltV + _colour.fltU * _colour.fltU;
    const auto maskLong = Less(FLT(0.25f), fltSquare);
    if (Any(maskLong))
    {
        const FLT fltShorter = Select(maskLong, FLT(0.5f) / Sqrt(fltSquare), FLT(1));
        _colour.fltV = _colour.fltV * fltShorter;
        _colour.fltU = _colour.fltU * fltShorter;
    }
    for (FLT& fltY : _colour.arrY)
        fltY = CancelClamped<S>(fltY * FLT(_key.fltLumaGain), 0, 1);
    _colour.fltV = CancelClamped<S>(_colour.fltV * FLT(_key.fltChromaGain), -0.5f, 0.5f);
    _colour.fltU = CancelClamped<S>(_colour.fltU * FLT(_key.fltChromaGain), -0.5f, 0.5f);
}

template <class S, int N> ZCK_INLINE void CancelAdd(CANCEL_SUM<S, N>& _sum, CANCEL_COLOUR<S, N> _colour,
                                                    const CANCEL_PLACE<S>& _place, const CANCEL_KEY& _key)
{
    using FLT = typename S::FLT;
    if (!Any(Less(CancelSquare<S>(_place, _key), FLT(_key.fltNear))))
        return;
    const CANCEL_VIEW<S> view = CancelView<S>(_place, _key);
    if (!_key.bProtects)
        CancelPush<S, N>(_colour, view, _key);
    const FLT fltWeight = view.fltWeight;
    for (int i = 0; i < N; ++i)
        _sum.colour.arrY[i] = _sum.colour.arrY[i] + fltWeight * _colour.arrY[i];
    _sum.colour.fltV = _sum.colour.fltV + fltWeight * _colour.fltV;
    _sum.colour.fltU = _sum.colour.fltU + fltWeight * _colour.fltU;
    _sum.fltWeight = _sum.fltWeight + fltWeight;
}

/// What the keys make of a colour, and their weight.
template <class S, int N> ZCK_INLINE CANCEL_SUM<S, N> CancelMean(const CANCEL_COLOUR<S, N>& _colour,
                                                                 const CANCEL_PLACE<S>& _place, const CANCEL_SET& _set)
{
    using FLT = typename S::FLT;
    if (_set.nKeys == 1) // the mean of one
    {
        const CANCEL_VIEW<S> view = CancelView<S>(_place, _set.arrKeys[0]);
        CANCEL_SUM<S, N> one = {_colour, view.fltWeight};
        if (!_set.arrKeys[0].bProtects)
            CancelPush<S, N>(one.colour, view, _set.arrKeys[0]);
        return one;
    }
    CANCEL_SUM<S, N> sum;
    for (int i = 0; i < _set.nKeys; ++i)
        CancelAdd<S, N>(sum, _colour, _place, _set.arrKeys[i]);
    const FLT fltInverse = FLT(1) / Max(sum.fltWeight, FLT(c_fltLeastWeight));
    for (FLT& fltY : sum.colour.arrY)
        fltY = fltY * fltInverse;
    sum.colour.fltV = sum.colour.fltV * fltInverse;
    sum.colour.fltU = sum.colour.fltU * fltInverse;
    return sum;
}

/// Cleans a colour; answers where it changed.
template <class S, int N> ZCK_INLINE typename S::MASK CancelColour(CANCEL_COLOUR<S, N>& _colour,
                                                                   const CANCEL_PLACE<S>& _place,
                                                                   const CANCEL_SET& _set)
{
    const CANCEL_SUM<S, N> mean = CancelMean<S, N>(_colour, _place, _set);
    const auto maskChanged = Less(typename S::FLT(c_fltLeastWeight), mean.fltWeight);
    for (int i = 0; i < N; ++i)
        _colour.arrY[i] = Select(maskChanged, mean.colour.arrY[i], _colour.arrY[i]);
    _colour.fltV = Select(maskChanged, mean.colour.fltV, _colour.fltV);
    _colour.fltU = Select(maskChanged, mean.colour.fltU, _colour.fltU);
    return maskChanged;
}

template <class S> void CancelBGRA(uint8_t* _pPixels, size_t _nPixels, const CANCEL_SET& _set)
{
    using FLT = typename S::FLT;
    const FLT fltOf255 = c_fltOf255;
    for (size_t n = 0; n < _nPixels; n += S::c_nLanes)
    {
        const auto pixels = S::Load(_pPixels + 4 * n, _nPixels - n);
        const CANCEL_RGB<S> rgb = {S::Byte(pixels, 16) * fltOf255, S::Byte(pixels, 8) * fltOf255,
                                   S::Byte(pixels, 0) * fltOf255};
        const FLT fltV = CancelToYVU<S>(rgb, 1, _set.matrix);
        const FLT fltU = CancelToYVU<S>(rgb, 2, _set.matrix);
        const CANCEL_PLACE<S> place =
            _set.eSpace == eCS_YVU ? CANCEL_PLACE<S>{fltV, fltU} : CancelPlaceOf<S>(rgb, _set.eSpace);
        if (!CancelIsNear<S>(place, _set))
            continue;
        const FLT fltY = CancelToYVU<S>(rgb, 0, _set.matrix) + FLT(_set.matrix.arrToAdd[0]);
        CANCEL_COLOUR<S, 1> colour = {{fltY}, fltV, fltU};
        const auto maskChanged = CancelColour<S, 1>(colour, place, _set);
        const CANCEL_RGB<S> res = CancelToRGB<S, 1>(colour, 0, _set.matrix);
        const auto cleaned =
            (pixels & S::Word(0xFF000000)) | S::Place(res.fltR, 16) | S::Place(res.fltG, 8) | S::Place(res.fltB, 0);
        S::Store(_pPixels + 4 * n, _nPixels - n, Select(maskChanged, cleaned, pixels));
    }
}

/// The colours of a unit, cleaned; answers in which units one of the two pixels changed. Keys in RGB or HLS see the
/// two pixels apart, and the chroma is the mean of what they become.
template <class S> ZCK_INLINE typename S::MASK CancelApart(CANCEL_COLOUR<S, 2>& _colour,
                                                           const CANCEL_PLACE<S> (&_arrPlaces)[2],
                                                           const CANCEL_SET& _set)
{
    using FLT = typename S::FLT;
    CANCEL_COLOUR<S, 1> colour0 = {{_colour.arrY[0]}, _colour.fltV, _colour.fltU};
    CANCEL_COLOUR<S, 1> colour1 = {{_colour.arrY[1]}, _colour.fltV, _colour.fltU};
    const auto maskChanged =
        CancelColour<S, 1>(colour0, _arrPlaces[0], _set) | CancelColour<S, 1>(colour1, _arrPlaces[1], _set);
    _colour = {{colour0.arrY[0], colour1.arrY[0]},
               (colour0.fltV + colour1.fltV) * FLT(0.5f),
               (colour0.fltU + colour1.fltU) * FLT(0.5f)};
    return maskChanged;
}

/// Where the pixels of a unit lie for the keys. In YUV that is one place for both.
template <class S> ZCK_INLINE void CancelPlacesOf(CANCEL_PLACE<S> (&_arrPlaces)[2], const CANCEL_COLOUR<S, 2>& _colour,
                                                  const CANCEL_SET& _set)
{
    for (int i = 0; i < 2; ++i)
        _arrPlaces[i] = _set.eSpace == eCS_YVU
                            ? CANCEL_PLACE<S>{_colour.fltV, _colour.fltU}
                            : CancelPlaceOf<S>(CancelToRGB<S, 2>(_colour, i, _set.matrix), _set.eSpace);
}

template <class S>
void CancelPairs(uint8_t* _pPairs, size_t _nPairs, const PAIR_LAYOUT& _layout, const CANCEL_SET& _set)
{
    using FLT = typename S::FLT;
    const FLT fltOf255 = c_fltOf255;
    const FLT fltHalf = 0.5f;
    for (size_t n = 0; n < _nPairs; n += S::c_nLanes)
    {
        const auto pairs = S::Load(_pPairs + 4 * n, _nPairs - n);
        CANCEL_COLOUR<S, 2> colour = {{S::Byte(pairs, _layout.nY0) * fltOf255, S::Byte(pairs, _layout.nY1) * fltOf255},
                                      S::Byte(pairs, _layout.nV) * fltOf255 - fltHalf,
                                      S::Byte(pairs, _layout.nU) * fltOf255 - fltHalf};
        const bool bShared = _set.eSpace == eCS_YVU;
        CANCEL_PLACE<S> arrPlaces[2];
        CancelPlacesOf<S>(arrPlaces, colour, _set);
        if (!CancelIsNear<S>(arrPlaces[0], _set) && (bShared || !CancelIsNear<S>(arrPlaces[1], _set)))
            continue;
        const auto maskChanged =
            bShared ? CancelColour<S, 2>(colour, arrPlaces[0], _set) : CancelApart<S>(colour, arrPlaces, _set);
        const auto cleaned = S::Place(colour.arrY[0], _layout.nY0) | S::Place(colour.arrY[1], _layout.nY1) |
                             S::Place(colour.fltV + fltHalf, _layout.nV) | S::Place(colour.fltU + fltHalf, _layout.nU);
        S::Store(_pPairs + 4 * n, _nPairs - n, Select(maskChanged, cleaned, pairs));
    }
}
