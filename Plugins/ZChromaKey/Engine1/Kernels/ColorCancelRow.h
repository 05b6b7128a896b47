#pragma once

#include "Simd/Simd.h"
#include "ZChromaKey/Engine1/Kernels/ColorCancel.h"

/// Colour cancel for a level of Simd.h, a vector of pixels or of pairs of pixels at a time.

/// Y of one pixel, or of N pixels that share their chroma; V and U around 0.
template <class S, int N> struct CANCEL_COLOUR
{
    typename S::F32 arrY[N];
    typename S::F32 fltV;
    typename S::F32 fltU;
};

template <class S> struct CANCEL_RGB
{
    typename S::F32 fltR;
    typename S::F32 fltG;
    typename S::F32 fltB;
};

/// The components that distances are measured in.
template <class S> struct CANCEL_PLACE
{
    typename S::F32 flt0;
    typename S::F32 flt1;
};

/// The weighted sum of what the keys make of a colour.
template <class S, int N> struct CANCEL_SUM
{
    CANCEL_COLOUR<S, N> colour = {};
    typename S::F32 fltWeight = 0.0f;
};

inline constexpr float c_fltOf255 = 1.0f / 255;
inline constexpr float c_fltLeastWeight = 0.01f; // up to here a colour stays

/// The byte at a bit of each word, as a number.
template <class S> ZCK_INLINE typename S::F32 CancelByte(typename S::I32 _words, int _nBit)
{
    return ToF32((_words >> _nBit) & 0xFF);
}

/// Scales 0...1 to 0...255 and rounds. What was below 0 or above 1 is so, or at 0 or 255, afterwards.
template <class S> ZCK_INLINE typename S::I32 CancelScaled(typename S::F32 _flt)
{
    return ToI32(_flt * 255.0f + 0.5f);
}

template <class S> ZCK_INLINE typename S::F32 CancelClamped(typename S::F32 _flt, float _fltMin, float _fltMax)
{
    return Min(Max(_flt, typename S::F32(_fltMin)), typename S::F32(_fltMax));
}

template <class S> ZCK_INLINE typename S::F32 CancelRowOf(const float* _pRow, typename S::F32 _flt0,
                                                          typename S::F32 _flt1, typename S::F32 _flt2)
{
    using F32 = typename S::F32;
    return F32(_pRow[0]) * _flt0 + F32(_pRow[1]) * _flt1 + F32(_pRow[2]) * _flt2;
}

/// Row 0 gives Y without its offset, rows 1 and 2 give V and U around 0. None of them can leave its limits.
template <class S>
ZCK_INLINE typename S::F32 CancelToYVU(const CANCEL_RGB<S>& _rgb, int _nRow, const YVU_MATRIX& _matrix)
{
    return CancelRowOf<S>(_matrix.arrToYVU[_nRow], _rgb.fltR, _rgb.fltG, _rgb.fltB);
}

/// Not clamped. The shares of Y are the same in all rows; R has none of U, and B none of V.
template <class S, int N>
ZCK_INLINE CANCEL_RGB<S> CancelToRGB(const CANCEL_COLOUR<S, N>& _colour, int _nPixel, const YVU_MATRIX& _matrix)
{
    using F32 = typename S::F32;
    const F32 fltV = _colour.fltV + F32(0.5f);
    const F32 fltU = _colour.fltU + F32(0.5f);
    const F32 fltY = F32(_matrix.arrToRGB[0][0]) * _colour.arrY[_nPixel];
    const F32 fltR = fltY + F32(_matrix.arrToRGB[0][1]) * fltV;
    const F32 fltG = fltY + F32(_matrix.arrToRGB[1][1]) * fltV + F32(_matrix.arrToRGB[1][2]) * fltU;
    const F32 fltB = fltY + F32(_matrix.arrToRGB[2][2]) * fltU;
    return {fltR + F32(_matrix.arrRGBAdd[0]), fltG + F32(_matrix.arrRGBAdd[1]), fltB + F32(_matrix.arrRGBAdd[2])};
}

template <class S> ZCK_INLINE CANCEL_RGB<S> CancelInRange(const CANCEL_RGB<S>& _rgb)
{
    return {CancelClamped<S>(_rgb.fltR, 0, 1), CancelClamped<S>(_rgb.fltG, 0, 1), CancelClamped<S>(_rgb.fltB, 0, 1)};
}

template <class S> ZCK_INLINE CANCEL_PLACE<S> CancelPlaceOf(const CANCEL_RGB<S>& _rgb, eCancelSpace _eSpace)
{
    using F32 = typename S::F32;
    if (_eSpace == eCS_RGB)
        return {_rgb.fltG, _rgb.fltB};
    const F32 fltMax = Max(Max(_rgb.fltR, _rgb.fltG), _rgb.fltB);
    const F32 fltMin = Min(Min(_rgb.fltR, _rgb.fltG), _rgb.fltB);
    const F32 fltSum = fltMax + fltMin;
    const F32 fltRange = F32(1) - Abs(fltSum - F32(1));
    const auto maskColoured = Less(F32(0), fltRange); // neither black nor white
    const F32 fltSaturation = (fltMax - fltMin) / Select(maskColoured, fltRange, F32(1));
    return {fltSum * F32(0.5f), Select(maskColoured, fltSaturation, F32(0))};
}

template <class S> ZCK_INLINE typename S::F32 CancelSquare(const CANCEL_PLACE<S>& _place, const CANCEL_KEY& _key)
{
    using F32 = typename S::F32;
    const F32 flt0 = _place.flt0 - F32(_key.arrCentre[0]);
    const F32 flt1 = _place.flt1 - F32(_key.arrCentre[1]);
    return flt0 * flt0 + flt1 * flt1;
}

/// Whether any key can take part: cheap, and false for nearly all of the foreground.
template <class S> ZCK_INLINE bool CancelIsNear(const CANCEL_PLACE<S>& _place, const CANCEL_SET& _set)
{
    using F32 = typename S::F32;
    auto maskNear = Less(CancelSquare<S>(_place, _set.arrKeys[0]), F32(_set.arrKeys[0].fltNear));
    for (int i = 1; i < _set.nKeys; ++i)
        maskNear = maskNear | Less(CancelSquare<S>(_place, _set.arrKeys[i]), F32(_set.arrKeys[i].fltNear));
    return Any(maskNear);
}

/// A pixel as a key sees it.
template <class S> struct CANCEL_VIEW
{
    typename S::F32 flt0; ///< r
    typename S::F32 flt1;
    typename S::F32 fltLength;  ///< |r|
    typename S::F32 fltInverse; ///< 1 / |r|; any number on the centre itself, where there is no direction and r is 0
    typename S::F32 fltWeight;  ///< 0 where the key takes no part, so that nothing is added
};

inline constexpr float c_fltLeastLength = 1e-20f; ///< below any length but 0: colours are sums of 255ths and 256ths

template <class S> ZCK_INLINE CANCEL_VIEW<S> CancelView(const CANCEL_PLACE<S>& _place, const CANCEL_KEY& _key)
{
    using F32 = typename S::F32;
    const F32 flt0 = _place.flt0 - F32(_key.arrCentre[0]);
    const F32 flt1 = _place.flt1 - F32(_key.arrCentre[1]);
    const F32 fltLength = Sqrt(flt0 * flt0 + flt1 * flt1);
    const F32 fltDivisor = Max(fltLength, F32(c_fltLeastLength));
    if (_key.fltRadius > 0) // saves a root
    {
        const F32 fltDistance = Max(fltLength - F32(_key.fltRadius), F32(0));
        const F32 fltWeight = Max(F32(1) - fltDistance * F32(_key.fltSlope), F32(0));
        return {flt0, flt1, fltLength, F32(1) / fltDivisor, fltWeight};
    }
    const F32 fltAxes0 = flt0 * F32(_key.arrInverse[0]);
    const F32 fltAxes1 = flt1 * F32(_key.arrInverse[1]);
    // Inside the ellipse this is 1, and the distance 0.
    const F32 fltAxes = Sqrt(Max(fltAxes0 * fltAxes0 + fltAxes1 * fltAxes1, F32(1)));
    // One division gives the inverses of both.
    const F32 fltBoth = F32(1) / (fltDivisor * fltAxes);
    const F32 fltInside = fltLength * fltLength * fltBoth; // up to where the way from the centre leaves the ellipse
    const F32 fltDistance = Select(Less(F32(1), fltAxes), Max(fltLength - fltInside, F32(0)), F32(0));
    const F32 fltWeight = Max(F32(1) - fltDistance * F32(_key.fltSlope), F32(0));
    return {flt0, flt1, fltLength, fltAxes * fltBoth, fltWeight};
}

/// Brings chroma to a length of at most 0.5, and thereby each of the two within its limits.
template <class S, int N> ZCK_INLINE void CancelShorten(CANCEL_COLOUR<S, N>& _colour)
{
    using F32 = typename S::F32;
    const F32 fltSquare = _colour.fltV * _colour.fltV + _colour.fltU * _colour.fltU;
    const auto maskLong = Less(F32(0.25f), fltSquare);
    if (!Any(maskLong))
        return;
    const F32 fltShorter = Select(maskLong, F32(0.5f) / Sqrt(fltSquare), F32(1));
    _colour.fltV = CancelClamped<S>(_colour.fltV * fltShorter, -0.5f, 0.5f);
    _colour.fltU = CancelClamped<S>(_colour.fltU * fltShorter, -0.5f, 0.5f);
}

/// Moves the chroma as a key asks for.
template <class S, int N>
ZCK_INLINE void CancelPush(CANCEL_COLOUR<S, N>& _colour, const CANCEL_VIEW<S>& _view, const CANCEL_KEY& _key)
{
    using F32 = typename S::F32;
    const F32 fltPower = _key.fltPowerAbs;
    F32 fltPush = (fltPower - Min(_view.fltLength, fltPower)) * _view.fltInverse;
    if (_key.fltPower < 0)
        fltPush = F32(0) - fltPush;
    _colour.fltV = _colour.fltV + fltPush * _view.flt0 + _view.fltWeight * F32(_key.arrPush[0]);
    _colour.fltU = _colour.fltU + fltPush * _view.flt1 + _view.fltWeight * F32(_key.arrPush[1]);
    CancelShorten<S, N>(_colour);
    if (_key.fltLumaGain != 1.0f)
        for (F32& fltY : _colour.arrY)
            fltY = CancelClamped<S>(fltY * F32(_key.fltLumaGain), 0, 1);
    if (_key.fltChromaGain != 1.0f)
    {
        _colour.fltV = CancelClamped<S>(_colour.fltV * F32(_key.fltChromaGain), -0.5f, 0.5f);
        _colour.fltU = CancelClamped<S>(_colour.fltU * F32(_key.fltChromaGain), -0.5f, 0.5f);
    }
}

template <class S, int N> ZCK_INLINE void CancelAdd(CANCEL_SUM<S, N>& _sum, CANCEL_COLOUR<S, N> _colour,
                                                    const CANCEL_PLACE<S>& _place, const CANCEL_KEY& _key)
{
    using F32 = typename S::F32;
    if (!Any(Less(CancelSquare<S>(_place, _key), F32(_key.fltNear))))
        return;
    const CANCEL_VIEW<S> view = CancelView<S>(_place, _key);
    if (!_key.bProtects)
        CancelPush<S, N>(_colour, view, _key);
    const F32 fltWeight = view.fltWeight;
    for (int i = 0; i < N; ++i)
        _sum.colour.arrY[i] = _sum.colour.arrY[i] + fltWeight * _colour.arrY[i];
    _sum.colour.fltV = _sum.colour.fltV + fltWeight * _colour.fltV;
    _sum.colour.fltU = _sum.colour.fltU + fltWeight * _colour.fltU;
    _sum.fltWeight = _sum.fltWeight + fltWeight;
}

/// Where what the keys make of a colour takes its place.
template <class S, int N> ZCK_INLINE typename S::M32 CancelCounts(const CANCEL_SUM<S, N>& _mean)
{
    return Less(typename S::F32(c_fltLeastWeight), _mean.fltWeight);
}

/// What the keys make of a colour, and their weight.
template <class S, int N> ZCK_INLINE CANCEL_SUM<S, N> CancelMean(const CANCEL_COLOUR<S, N>& _colour,
                                                                 const CANCEL_PLACE<S>& _place, const CANCEL_SET& _set)
{
    using F32 = typename S::F32;
    if (_set.nKeys == 1) // the mean of one
    {
        const CANCEL_VIEW<S> view = CancelView<S>(_place, _set.arrKeys[0]);
        CANCEL_SUM<S, N> one = {_colour, view.fltWeight};
        if (!_set.arrKeys[0].bProtects && Any(CancelCounts<S, N>(one)))
            CancelPush<S, N>(one.colour, view, _set.arrKeys[0]);
        return one;
    }
    CANCEL_SUM<S, N> sum;
    for (int i = 0; i < _set.nKeys; ++i)
        CancelAdd<S, N>(sum, _colour, _place, _set.arrKeys[i]);
    const F32 fltInverse = F32(1) / Max(sum.fltWeight, F32(c_fltLeastWeight));
    for (F32& fltY : sum.colour.arrY)
        fltY = fltY * fltInverse;
    sum.colour.fltV = sum.colour.fltV * fltInverse;
    sum.colour.fltU = sum.colour.fltU * fltInverse;
    return sum;
}

/// The pixels cleaned; false where no key is near any of them.
template <class S> ZCK_INLINE bool CancelPixels(typename S::I32& _pixels, const CANCEL_SET& _set)
{
    using F32 = typename S::F32;
    const F32 fltOf255 = c_fltOf255;
    const CANCEL_RGB<S> rgb = {CancelByte<S>(_pixels, 16) * fltOf255, CancelByte<S>(_pixels, 8) * fltOf255,
                               CancelByte<S>(_pixels, 0) * fltOf255};
    const F32 fltV = CancelToYVU<S>(rgb, 1, _set.matrix);
    const F32 fltU = CancelToYVU<S>(rgb, 2, _set.matrix);
    const CANCEL_PLACE<S> place =
        _set.eSpace == eCS_YVU ? CANCEL_PLACE<S>{fltV, fltU} : CancelPlaceOf<S>(rgb, _set.eSpace);
    if (!CancelIsNear<S>(place, _set))
        return false;
    const F32 fltY = CancelToYVU<S>(rgb, 0, _set.matrix) + F32(_set.matrix.arrToAdd[0]);
    const CANCEL_SUM<S, 1> mean = CancelMean<S, 1>({{fltY}, fltV, fltU}, place, _set);
    const CANCEL_RGB<S> res = CancelToRGB<S, 1>(mean.colour, 0, _set.matrix);
    const auto cleaned = JoinClamped(CancelScaled<S>(res.fltB), CancelScaled<S>(res.fltG), CancelScaled<S>(res.fltR),
                                     ShiftedIn0(_pixels, 24));
    _pixels = Select(CancelCounts<S, 1>(mean), cleaned, _pixels);
    return true;
}

template <class S> void CancelBGRA(uint8_t* _pPixels, size_t _nPixels, const CANCEL_SET& _set)
{
    const CANCEL_SET set = _set; // of our own: no pixel that is written can change it
    size_t n = 0;
    for (; n + S::c_nLanes <= _nPixels; n += S::c_nLanes)
        if (auto pixels = S::LoadI32(_pPixels + 4 * n); CancelPixels<S>(pixels, set))
            S::Store(_pPixels + 4 * n, pixels);
    if (n == _nPixels)
        return;
    if (auto pixels = S::LoadI32(_pPixels + 4 * n, _nPixels - n); CancelPixels<S>(pixels, set))
        S::Store(_pPixels + 4 * n, _nPixels - n, pixels);
}

/// One pixel's colour, where the keys do not clean it, as it was.
template <class S> ZCK_INLINE CANCEL_SUM<S, 1> CancelOne(const CANCEL_COLOUR<S, 1>& _colour,
                                                         const CANCEL_PLACE<S>& _place, const CANCEL_SET& _set)
{
    CANCEL_SUM<S, 1> mean = CancelMean<S, 1>(_colour, _place, _set);
    const auto maskCounts = CancelCounts<S, 1>(mean);
    mean.colour.arrY[0] = Select(maskCounts, mean.colour.arrY[0], _colour.arrY[0]);
    mean.colour.fltV = Select(maskCounts, mean.colour.fltV, _colour.fltV);
    mean.colour.fltU = Select(maskCounts, mean.colour.fltU, _colour.fltU);
    return mean;
}

/// The colours of a unit, cleaned; answers in which units one of the two pixels changed. Keys in RGB or HLS see the
/// two pixels apart, and the chroma is the mean of what they become.
template <class S> ZCK_INLINE typename S::M32 CancelApart(CANCEL_COLOUR<S, 2>& _colour,
                                                          const CANCEL_PLACE<S> (&_arrPlaces)[2],
                                                          const CANCEL_SET& _set)
{
    using F32 = typename S::F32;
    const CANCEL_SUM<S, 1> one0 = CancelOne<S>({{_colour.arrY[0]}, _colour.fltV, _colour.fltU}, _arrPlaces[0], _set);
    const CANCEL_SUM<S, 1> one1 = CancelOne<S>({{_colour.arrY[1]}, _colour.fltV, _colour.fltU}, _arrPlaces[1], _set);
    _colour = {{one0.colour.arrY[0], one1.colour.arrY[0]},
               (one0.colour.fltV + one1.colour.fltV) * F32(0.5f),
               (one0.colour.fltU + one1.colour.fltU) * F32(0.5f)};
    return CancelCounts<S, 1>(one0) | CancelCounts<S, 1>(one1);
}

/// The colours of a unit whose pixels are one place to the keys.
template <class S> ZCK_INLINE typename S::M32 CancelShared(CANCEL_COLOUR<S, 2>& _colour, const CANCEL_PLACE<S>& _place,
                                                           const CANCEL_SET& _set)
{
    const CANCEL_SUM<S, 2> mean = CancelMean<S, 2>(_colour, _place, _set);
    _colour = mean.colour;
    return CancelCounts<S, 2>(mean);
}

/// Where the pixels of a unit lie for the keys. In YUV that is one place for both.
template <class S> ZCK_INLINE void CancelPlacesOf(CANCEL_PLACE<S> (&_arrPlaces)[2], const CANCEL_COLOUR<S, 2>& _colour,
                                                  const CANCEL_SET& _set)
{
    for (int i = 0; i < 2; ++i)
        _arrPlaces[i] =
            _set.eSpace == eCS_YVU
                ? CANCEL_PLACE<S>{_colour.fltV, _colour.fltU}
                : CancelPlaceOf<S>(CancelInRange<S>(CancelToRGB<S, 2>(_colour, i, _set.matrix)), _set.eSpace);
}

/// The units cleaned; false where no key is near any of them.
template <class S>
ZCK_INLINE bool CancelUnits(typename S::I32& _units, const PAIR_LAYOUT& _layout, const CANCEL_SET& _set)
{
    using F32 = typename S::F32;
    const F32 fltOf255 = c_fltOf255;
    const F32 fltHalf = 0.5f;
    CANCEL_COLOUR<S, 2> colour = {
        {CancelByte<S>(_units, _layout.nY0) * fltOf255, CancelByte<S>(_units, _layout.nY1) * fltOf255},
        CancelByte<S>(_units, _layout.nV) * fltOf255 - fltHalf,
        CancelByte<S>(_units, _layout.nU) * fltOf255 - fltHalf};
    const bool bShared = _set.eSpace == eCS_YVU;
    CANCEL_PLACE<S> arrPlaces[2];
    CancelPlacesOf<S>(arrPlaces, colour, _set);
    if (!CancelIsNear<S>(arrPlaces[0], _set) && (bShared || !CancelIsNear<S>(arrPlaces[1], _set)))
        return false;
    const auto maskChanged =
        bShared ? CancelShared<S>(colour, arrPlaces[0], _set) : CancelApart<S>(colour, arrPlaces, _set);
    const auto cleaned =
        CancelScaled<S>(colour.arrY[0]) << _layout.nY0 | CancelScaled<S>(colour.arrY[1]) << _layout.nY1 |
        CancelScaled<S>(colour.fltV + fltHalf) << _layout.nV | CancelScaled<S>(colour.fltU + fltHalf) << _layout.nU;
    _units = Select(maskChanged, cleaned, _units);
    return true;
}

template <class S>
void CancelPairs(uint8_t* _pPairs, size_t _nPairs, const PAIR_LAYOUT& _layout, const CANCEL_SET& _set)
{
    const CANCEL_SET set = _set; // of our own: no pixel that is written can change it
    const PAIR_LAYOUT layout = _layout;
    size_t n = 0;
    for (; n + S::c_nLanes <= _nPairs; n += S::c_nLanes)
        if (auto units = S::LoadI32(_pPairs + 4 * n); CancelUnits<S>(units, layout, set))
            S::Store(_pPairs + 4 * n, units);
    if (n == _nPairs)
        return;
    if (auto units = S::LoadI32(_pPairs + 4 * n, _nPairs - n); CancelUnits<S>(units, layout, set))
        S::Store(_pPairs + 4 * n, _nPairs - n, units);
}
