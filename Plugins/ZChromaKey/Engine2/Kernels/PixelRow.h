#pragma once

#include "ZChromaKey/Engine2/Kernels/PixelMathsRow.h"
#include "ZChromaKey/Engine2/Kernels/UnmixVectors.h"

#include <string.h> // NOLINT(modernize-deprecated-headers): no header of the C++ library here

/// Rows of solid pixels and runs of mixed cells over vectors.

namespace
{
namespace UnmixPixels
{

using UnmixVectors::FromBytes;
using UnmixVectors::FromWords;
using UnmixVectors::MulRoundInts;
using UnmixVectors::PAIRS;

/// The nearest integer to a number from -32768 up, halves upward.
template <class S> ZCK_INLINE typename S::I32 RoundSigned(typename S::F32 _flt)
{
    return ToI32(_flt + typename S::F32(32768.5f)) - 32768;
}
/// The nearest integer to a channel, 0 to the most that it can be.
template <class S> ZCK_INLINE typename S::I32 RoundChannel(typename S::F32 _flt, float _fltScale)
{
    using F32 = typename S::F32;
    return ToI32(Min(Max(_flt, F32(0.0f)), F32(255.0f)) * F32(_fltScale) + F32(.5f));
}

template <class S> ZCK_INLINE UnmixMaths::COLOUR<S> ColourOf(const PAIRS<S>& _pixels, float _fltScale)
{
    const typename S::F32 fltScale(_fltScale);
    return {ToF32(_pixels.nBG & 0xFFFF) * fltScale, ToF32(ShiftedIn0(_pixels.nBG, 16)) * fltScale,
            ToF32(_pixels.nRA & 0xFFFF) * fltScale};
}

/// Two words that each pixel has twice.
ZCK_INLINE int WordPair(int32_t _nLow, int32_t _nHigh)
{
    return static_cast<int>((static_cast<uint32_t>(_nHigh) << 16) | (static_cast<uint32_t>(_nLow) & 0xFFFF));
}

/// The limiter on bytes, in integers: X and Z in 64ths, the excess in 32nds.
template <class S> struct BYTE_LIMITER
{
    using I32 = typename S::I32;
    using U16 = typename S::U16;
    U16 nXBR, nXG, nZBR, nZG, nLimit, nTakeBR, nTakeG;
    I32 nOwn, nLeast;

    ZCK_INLINE explicit BYTE_LIMITER(const LIMIT_RULES& _rules)
        : nXBR(As<U16>(I32(WordPair(_rules.anX[0], _rules.anX[2]))))
        , nXG(As<U16>(I32(WordPair(_rules.anX[1], 0))))
        , nZBR(As<U16>(I32(WordPair(_rules.anZ[0], _rules.anZ[2]))))
        , nZG(As<U16>(I32(WordPair(_rules.anZ[1], 0))))
        , nLimit(As<U16>(I32(WordPair(_rules.nLimit, 0))))
        , nTakeBR(As<U16>(I32(WordPair(_rules.anTake[0], _rules.anTake[2]))))
        , nTakeG(As<U16>(I32(WordPair(_rules.anTake[1], 0))))
        , nOwn(_rules.nOwn)
        , nLeast(_rules.nLeast)
    {
    }
    ZCK_INLINE I32 operator()(I32 _nBGRA, I32 _nGlare) const
    {
        const U16 nBR = Even(As<typename S::U8>(_nBGRA)), nGA = Odd(As<typename S::U8>(_nBGRA));
        const I32 nX = MulAdd(nBR, nXBR) + MulAdd(nGA, nXG);
        const I32 nZ = Abs(MulAdd(nBR, nZBR) + MulAdd(nGA, nZG));
        const I32 nTint = (nX << 8) - MulAdd(As<U16>(nZ), nLimit);
        const I32 nExcess = (Max(Min(nTint, nOwn - nTint), nLeast) + _nGlare + 256) >> 9;
        const U16 nBoth = As<U16>((nExcess & 0xFFFF) | (nExcess << 16));
        const U16 nOutBR = ClampToByte(nBR - MulRound(nBoth, nTakeBR));
        const U16 nOutG = ClampToByte(nGA - MulRound(nBoth, nTakeG));
        return As<I32>(JoinBytes(nOutBR, nOutG)) | I32(static_cast<int>(0xFF000000));
    }
};

template <class S>
ZCK_INLINE typename S::I32 ToBytes(const UnmixMaths::COLOUR<S>& _colour, typename S::F32 _fltAlpha255)
{
    const typename S::F32 fltHalf(.5f);
    return JoinClamped(ToI32(_colour.b + fltHalf), ToI32(_colour.g + fltHalf), ToI32(_colour.r + fltHalf),
                       ToI32(_fltAlpha255 + fltHalf));
}
/// As two vectors of words B, G, R, A.
template <class S> ZCK_INLINE void ToWords(const UnmixMaths::COLOUR<S>& _colour, typename S::F32 _fltAlpha255,
                                           typename S::I32& _first, typename S::I32& _second)
{
    Interleave(RoundChannel<S>(_colour.b, 257) | (RoundChannel<S>(_colour.g, 257) << 16),
               RoundChannel<S>(_colour.r, 257) | (RoundChannel<S>(_fltAlpha255, 257) << 16), _first, _second);
}

/// As many solid pixels as a vector has lanes, with the maths of mixed ones: more than 8 bits on either side.
template <class S>
ZCK_INLINE void SolidDeep(const SOLID_RUN& _run, const void* _pIn, const int32_t* _pGlare, void* _pOut)
{
    const auto* const pDeep = static_cast<const uint16_t*>(_pIn);
    const PAIRS<S> pixels = _run.pDeep ? FromWords<S>(pDeep) : FromBytes<S>(S::LoadI32(_pIn));
    const UnmixMaths::COLOUR<S> colour =
        UnmixMaths::Limit<S>(*_run.pRules, ColourOf<S>(pixels, _run.pDeep ? 1 / 64.0f : 1.0f),
                             ToF32(S::LoadI32(_pGlare)) * typename S::F32(1 / 16384.0f));
    const typename S::F32 fltOpaque(255.0f);
    if (!_run.bWords)
        return S::Store(_pOut, ToBytes<S>(colour, fltOpaque));
    typename S::I32 nFirst, nSecond;
    ToWords<S>(colour, fltOpaque, nFirst, nSecond);
    S::Store(_pOut, nFirst);
    S::Store(static_cast<void*>(static_cast<uint8_t*>(_pOut) + S::c_nBytes), nSecond);
}

template <class S> ZCK_INLINE void SolidDeepRow(const SOLID_RUN& _run)
{
    const size_t nIn = _run.pDeep ? 8 : 4, nOut = _run.bWords ? 8 : 4, nPixels = static_cast<size_t>(_run.nPixels);
    const uint8_t* const pIn = _run.pDeep ? reinterpret_cast<const uint8_t*>(_run.pDeep) : _run.pBytes;
    auto* const pOut = static_cast<uint8_t*>(_run.pOut);
    size_t n = 0;
    for (; n + S::c_nLanes <= nPixels; n += S::c_nLanes)
        SolidDeep<S>(_run, pIn + n * nIn, _run.pGlare + n, pOut + n * nOut);
    if (n == nPixels)
        return;
    uint8_t arrIn[2 * S::c_nBytes] = {}, arrOut[2 * S::c_nBytes];
    memcpy(arrIn, pIn + n * nIn, (nPixels - n) * nIn);
    SolidDeep<S>(_run, arrIn, _run.pGlare + n, arrOut);
    memcpy(pOut + n * nOut, arrOut, (nPixels - n) * nOut);
}

constexpr size_t c_nLine = 64; // bytes that the processor fetches at once

/// A line that is written is read first. The processor begins that when a store comes to it, and has room for few
/// stores that wait; asking for the next row meanwhile keeps memory busy.
template <class S> void Clear(const CLEAR_RUN& _run)
{
    const typename S::U8 none(0);
    size_t n = 0;
    for (; n + c_nLine <= _run.nBytes; n += c_nLine)
    {
        S::Prefetch(_run.pOut + _run.nNext + n);
        for (size_t k = 0; k < c_nLine; k += S::c_nBytes)
            S::Store(_run.pOut + n + k, none);
    }
    memset(_run.pOut + n, 0, _run.nBytes - n);
}

template <class S> void Solid(const SOLID_RUN& _run)
{
    if (_run.bWords || _run.pDeep)
        return SolidDeepRow<S>(_run);
    const BYTE_LIMITER<S> limiter(*_run.pRules);
    const size_t nPixels = static_cast<size_t>(_run.nPixels);
    auto* const pOut = static_cast<uint8_t*>(_run.pOut);
    size_t n = 0;
    for (; n + c_nLine / 4 <= nPixels; n += c_nLine / 4)
    {
        S::Prefetch(_run.pBytes + _run.nNextBytes + 4 * n);
        S::Prefetch(pOut + _run.nNextOut + 4 * n);
        for (size_t k = n; k < n + c_nLine / 4; k += S::c_nLanes)
            S::Store(static_cast<void*>(pOut + 4 * k),
                     limiter(S::LoadI32(_run.pBytes + 4 * k), S::LoadI32(_run.pGlare + k)));
    }
    for (; n + S::c_nLanes <= nPixels; n += S::c_nLanes)
        S::Store(static_cast<void*>(pOut + 4 * n),
                 limiter(S::LoadI32(_run.pBytes + 4 * n), S::LoadI32(_run.pGlare + n)));
    if (n < nPixels)
        S::Store(static_cast<void*>(pOut + 4 * n), nPixels - n,
                 limiter(S::LoadI32(_run.pBytes + 4 * n, nPixels - n), S::LoadI32(_run.pGlare + n)));
}

/// The differences of a run's pixels.
struct STRIP
{
    static constexpr int c_nSlack = 32; // whole vectors may be read and written past the end
    static constexpr int c_nStride = c_nMixedPixels + c_nSlack;
    int16_t arrDifference[6][c_nStride];
    int16_t arrQuiet[4][c_nStride]; // of the cells' pixels: filtered
};
constexpr ptrdiff_t c_nStripWords = ptrdiff_t{2} * STRIP::c_nStride;

/// Computes the differences of pixels. Products are summed in pairs of channels: blue and red, green and alpha where
/// pixels are bytes; blue and green, red and alpha where they are words, as they lie in memory.
template <class S, bool Deep> struct DIFFERENCES
{
    using I32 = typename S::I32;
    using U16 = typename S::U16;
    struct FORM
    {
        U16 first, second;

        ZCK_INLINE explicit FORM(const int32_t (&_anForm)[3])
            : first(As<U16>(I32(WordPair(_anForm[0], _anForm[Deep ? 1 : 2]))))
            , second(As<U16>(I32(WordPair(_anForm[Deep ? 2 : 1], 0))))
        {
        }
        ZCK_INLINE I32 operator()(U16 _first, U16 _second) const
        {
            return (MulAdd(_first, first) + MulAdd(_second, second)) >> (Deep ? 7 : 1);
        }
    };
    FORM X, Z;
    U16 nWedge;

    ZCK_INLINE explicit DIFFERENCES(const PIXEL_RULES& _rules)
        : X(_rules.limit.anX)
        , Z(_rules.limit.anZ)
        , nWedge(As<U16>(I32(WordPair(_rules.nWedge, 0))))
    {
    }
    /// D = X - wedge |Z - rho X| in 32nds of a level; integers, so that every level agrees. Two of them differ by what
    /// fits 16 bits; what is that far off is solid, or has no tint left to lose.
    ZCK_INLINE I32 operator()(const void* _pSource, I32 _nRho) const
    {
        U16 first, second;
        if constexpr (Deep)
        {
            const PAIRS<S> pairs = FromWords<S>(static_cast<const uint16_t*>(_pSource));
            first = As<U16>(pairs.nBG);
            second = As<U16>(pairs.nRA);
        }
        else
        {
            const auto bytes = As<typename S::U8>(S::LoadI32(_pSource));
            first = Even(bytes);
            second = Odd(bytes);
        }
        const I32 nX = X(first, second), nZ = Z(first, second);
        const I32 nAcross = Min(Abs(nZ - MulRoundInts<S>(nX, _nRho)), I32(8191));
        const I32 nTaken = (MulAdd(As<U16>(nAcross), nWedge) + 4096) >> 13;
        return Min(Max(nX - nTaken, I32(-16384)), I32(16383));
    }
};

template <class S, bool Deep> ZCK_INLINE void FillStrip(const MIXED_RUN& _run, STRIP& _strip)
{
    static constexpr int c_arrRhoRow[6] = {0, 1, 1, 1, 1, 2};
    const DIFFERENCES<S, Deep> Difference(*_run.pRules);
    const size_t nPixels = 4 * static_cast<size_t>(_run.nCells) + 2;
    for (int y = 0; y < 6; ++y)
        for (size_t n = 0; n < nPixels; n += S::c_nLanes)
            S::Narrow(_strip.arrDifference[y] + n,
                      Difference(static_cast<const uint8_t*>(_run.arrSource[y]) + (Deep ? 8 : 4) * n,
                                 S::LoadI32(_run.arrRho[c_arrRhoRow[y]] + n)));
}

/// The share of each in a mean of 2 to 9, in 32768ths.
struct SHARES
{
    uint8_t arr[16]; // words, the lower byte first

    constexpr SHARES()
        : arr()
    {
        for (int n = 0; n < 8; ++n)
        {
            const int nShare = (2 * 32768 / (n + 2) + 1) / 2;
            arr[2 * n] = static_cast<uint8_t>(nShare & 0xFF);
            arr[2 * n + 1] = static_cast<uint8_t>(nShare >> 8);
        }
    }
};

template <class S> ZCK_INLINE typename S::U16 LoadWords(const int16_t* _p)
{
    return As<typename S::U16>(S::LoadI32(_p));
}

/// The means of those of 3x3 differences that are near the middle's: colours keep their grain. As many as a vector has
/// words, the first of them at _p in the strip.
template <class S> ZCK_INLINE typename S::U16 Filtered(const int16_t* _p, typename S::U16 _nNear)
{
    using U16 = typename S::U16;
    const U16 nMiddle = LoadWords<S>(_p);
    U16 nSum(0), nOthers(0);
    for (int y = -1; y <= 1; ++y)
        for (int x = -1; x <= 1; ++x)
            if (x != 0 || y != 0)
            {
                const U16 nOff = LoadWords<S>(_p + y * STRIP::c_nStride + x) - nMiddle;
                const auto maskNear = GreaterSigned(_nNear, AbsSigned(nOff));
                nSum = AddWhere(maskNear, nSum, nOff);
                nOthers = CountWhere(maskNear, nOthers);
            }
    // The sum fits 16 bits: eight offsets of less than two noises, of at most 60 levels each. A middle that is alone
    // has a place before the table, 254, for which LookedUp gives 0; its sum is 0, too.
    static constexpr SHARES c_shares;
    const U16 nPlaces = nOthers * U16(0x0202) + U16(0x0100 - 0x0202);
    return nMiddle + MulRound(nSum, As<U16>(LookedUp(c_shares.arr, As<typename S::U8>(nPlaces))));
}

template <class S> ZCK_INLINE void FilterStrip(const MIXED_RUN& _run, STRIP& _strip)
{
    const typename S::U16 nNear(static_cast<uint16_t>(_run.pFilter->nNear));
    for (int y = 0; y < 4; ++y)
        for (int n = 0; n < 4 * _run.nCells; n += static_cast<int>(S::c_nBytes / 2))
            S::Store(static_cast<void*>(_strip.arrQuiet[y] + n),
                     As<typename S::I32>(Filtered<S>(&_strip.arrDifference[y + 1][n + 1], nNear)));
}

/// The filter over time. What is kept is the difference over that of the backdrop, so that light that changes does not
/// linger. A picture that was seen before gets what it got then, unless another setup has moved it.
template <class S> ZCK_INLINE typename S::I32 WithPast(const FILTER_RULES& _filter, int16_t* _pPast,
                                                       typename S::I32 _nDifference, typename S::F32 _fltX)
{
    using I32 = typename S::I32;
    using F32 = typename S::F32;
    const F32 fltScale = _fltX * F32(32 / 8192.0f);
    const I32 nPast = S::WidenI32(_pPast);
    const I32 nBefore = RoundSigned<S>(ToF32(nPast) * fltScale); // what lies outside of 16 bits is not near
    const auto maskNear =
        Without(Greater(I32(_filter.nTimeNear), Abs(nBefore - _nDifference)), Equal(nPast, I32(c_nPastUnknown)));
    const I32 nMixed = _nDifference + Select(maskNear, (nBefore - _nDifference + 1) >> 1, I32(0));
    const I32 nKept = RoundSigned<S>(Min(Max(ToF32(nMixed) / fltScale, F32(-32767.0f)), F32(32767.0f)));
    const I32 nNow = RoundSigned<S>(ToF32(nKept) * fltScale);
    if (!_filter.bSeen)
    {
        S::Narrow(_pPast, nKept);
        return nNow;
    }
    S::Narrow(_pPast, Select(maskNear, nPast, nKept));
    return Select(maskNear, nBefore, nNow);
}

/// Four corners of a grid of four floats a cell round a cell of 4x4 pixels: bilinear between them.
struct CORNERS
{
    const float* arrAt[4]; // above left and right, below left and right
    float fltX0;
    float fltY0;
};
ZCK_INLINE CORNERS CornersOf(const float* const (&_arrRows)[2], int _nWidth, int _nX, bool _bOddRow)
{
    const int nCell = _nX >> 1;
    const int nFirst = _nX & 1 ? nCell : nCell > 0 ? nCell - 1 : 0;
    const int nSecond = !(_nX & 1) ? nCell : nCell + 1 < _nWidth ? nCell + 1 : nCell;
    return {{_arrRows[0] + ptrdiff_t{4} * nFirst, _arrRows[0] + ptrdiff_t{4} * nSecond,
             _arrRows[1] + ptrdiff_t{4} * nFirst, _arrRows[1] + ptrdiff_t{4} * nSecond},
            _nX & 1 ? .0625f : .5625f,
            _bOddRow ? .0625f : .5625f};
}
/// What lies between corners, at the rows of a block: all four channels a row.
template <class S> struct BETWEEN_CORNERS
{
    using F32 = typename S::F32;
    F32 left;
    F32 across; // from left to right

    /// _y: of each row, in all lanes of its block.
    ZCK_INLINE BETWEEN_CORNERS(const CORNERS& _corners, F32 _y)
    {
        const auto At = [&](int _n) { return S::RepeatBlock(_corners.arrAt[_n]); };
        left = At(0) + (At(2) - At(0)) * _y;
        across = At(1) + (At(3) - At(1)) * _y - left;
    }
    /// A channel of the pixels of the rows, whose places are _x.
    template <int Channel> ZCK_INLINE F32 Get(F32 _x) const
    {
        return Spread<Channel>(left) + Spread<Channel>(across) * _x;
    }
};
/// X of the backdrop at the middle of a cell.
template <class S> ZCK_INLINE typename S::F32 MiddleX(const PIXEL_RULES& _c, const CORNERS& _corners)
{
    using F32 = typename S::F32;
    const BETWEEN_CORNERS<S> between(_corners, F32(_corners.fltY0 + .1875f));
    const F32 parts = (between.left + between.across * F32(_corners.fltX0 + .1875f)) * S::RepeatBlock(_c.arrX0);
    return Max(Spread<0>(parts) + Spread<1>(parts) + Spread<2>(parts), F32(_c.fltLeastX));
}

/// One cell of a run, and the block of it that a vector holds: whole rows.
template <class S> struct BLOCK
{
    int nCell;
    int nRow; // first row
    CORNERS back;
    CORNERS fore;
    typename S::F32 fltX; // of the backdrop at the cell's middle

    ptrdiff_t InCell() const
    {
        return ptrdiff_t{16} * nCell + ptrdiff_t{4} * nRow;
    }
};

template <class S> ZCK_INLINE UnmixMaths::COLOUR<S> SourceOf(const MIXED_RUN& _run, const BLOCK<S>& _block)
{
    using I32 = typename S::I32;
    const auto* const pRow = static_cast<const uint8_t*>(_run.arrSource[1 + _block.nRow]);
    if (_run.bDeep)
    {
        const uint8_t* const p = pRow + ptrdiff_t{8} * (4 * _block.nCell + 1);
        I32 nBG, nRA;
        DeinterleaveBlocks(S::LoadBlocks(p, _run.nSourceStride), S::LoadBlocks(p + 16, _run.nSourceStride), nBG, nRA);
        return ColourOf<S>({nBG, nRA}, 1 / 64.0f);
    }
    const I32 n = S::LoadBlocks(pRow + ptrdiff_t{4} * (4 * _block.nCell + 1), _run.nSourceStride);
    return {ToF32(n & 0xFF), ToF32((n >> 8) & 0xFF), ToF32((n >> 16) & 0xFF)};
}

template <class S> ZCK_INLINE UnmixMaths::PLACE<S> PlaceOf(const BLOCK<S>& _block)
{
    using F32 = typename S::F32;
    static constexpr float c_arrX[16] = {0, .125f, .25f, .375f, 0, .125f, .25f, .375f,
                                         0, .125f, .25f, .375f, 0, .125f, .25f, .375f};
    static constexpr float c_arrY[16] = {0,    0,    0,    0,    .125f, .125f, .125f, .125f,
                                         .25f, .25f, .25f, .25f, .375f, .375f, .375f, .375f};
    const F32 x = F32(_block.back.fltX0) + S::LoadF32(c_arrX);
    const F32 y = F32(_block.back.fltY0) + S::LoadF32(c_arrY + 4 * _block.nRow);
    const BETWEEN_CORNERS<S> back(_block.back, y), fore(_block.fore, y);
    UnmixMaths::PLACE<S> place;
    place.back = {back.template Get<0>(x), back.template Get<1>(x), back.template Get<2>(x)};
    place.fltConfidence = fore.template Get<3>(x);
    const F32 fltShare = place.fltConfidence / Max(place.fltConfidence * place.fltConfidence, F32(1e-18f));
    place.fore = {fore.template Get<0>(x) * fltShare, fore.template Get<1>(x) * fltShare,
                  fore.template Get<2>(x) * fltShare};
    return place;
}

template <class S> ZCK_INLINE void PutBlock(const MIXED_RUN& _run, const BLOCK<S>& _block,
                                            const UnmixMaths::COLOUR<S>& _colour, typename S::F32 _fltAlpha)
{
    using I32 = typename S::I32;
    const typename S::F32 fltAlpha255 = _fltAlpha * typename S::F32(255.0f);
    auto* const pRow = static_cast<uint8_t*>(_run.pOut) + _block.nRow * _run.nOutStride;
    if (!_run.bWords)
        return S::StoreBlocks(pRow + ptrdiff_t{16} * _block.nCell, _run.nOutStride, ToBytes<S>(_colour, fltAlpha255));
    I32 nFirst, nSecond;
    ToWords<S>(_colour, fltAlpha255, nFirst, nSecond);
    uint8_t arrWords[2 * S::c_nBytes];
    S::Store(static_cast<void*>(arrWords), nFirst);
    S::Store(static_cast<void*>(arrWords + S::c_nBytes), nSecond);
    for (int n = 0; n < static_cast<int>(S::c_nLanes / 4); ++n)
        memcpy(pRow + n * _run.nOutStride + ptrdiff_t{32} * _block.nCell, arrWords + ptrdiff_t{32} * n, 32);
}

template <class S> ZCK_INLINE void MixedBlock(const MIXED_RUN& _run, const STRIP& _strip, const BLOCK<S>& _block)
{
    using F32 = typename S::F32;
    using I32 = typename S::I32;
    const int nY = _block.nRow + 1, nX = 4 * _block.nCell + 1; // in the strip, which has a rim of one
    const I32 nOwn = S::WidenBlocks(&_strip.arrDifference[nY][nX], c_nStripWords);
    I32 nDifference = nOwn;
    if (_run.pFilter->bFilter)
        nDifference = S::WidenBlocks(&_strip.arrQuiet[nY - 1][nX - 1], c_nStripWords);
    if (_run.pFilter->bPast)
        nDifference = WithPast<S>(*_run.pFilter, _run.pPast + _block.InCell(), nDifference, _block.fltX);
    const UnmixMaths::COLOUR<S> colour = SourceOf<S>(_run, _block);
    UnmixMaths::PLACE<S> place = PlaceOf<S>(_block);
    place.fltCore = _run.pCore ? S::LoadF32(_run.pCore + _block.InCell()) : F32(0.0f);
    place.fltQuieted = ToF32(nDifference - nOwn) * F32(1 / 32.0f);
    place.fltGlare = F32(static_cast<float>(_run.pGlare[_block.nCell]) * _run.pRules->limit.fltGlare);
    const F32 fltAlpha = UnmixMaths::Alpha<S>(*_run.pRules, place, colour, ToF32(nDifference) * F32(1 / 32.0f));
    UnmixMaths::COLOUR<S> out = UnmixMaths::Colour<S>(*_run.pRules, place, colour, fltAlpha);
    if (_run.pKeep)
        out = out + (colour - out) * S::LoadF32(_run.pKeep + _block.InCell());
    PutBlock<S>(_run, _block, out, fltAlpha);
}

template <class S> void Mixed(const MIXED_RUN& _run)
{
    STRIP strip;
    _run.bDeep ? FillStrip<S, true>(_run, strip) : FillStrip<S, false>(_run, strip);
    if (_run.pFilter->bFilter)
        FilterStrip<S>(_run, strip);
    for (int n = 0; n < _run.nCells; ++n)
    {
        BLOCK<S> block;
        block.nCell = n;
        block.back = CornersOf(_run.arrBack, _run.nPlateWidth, _run.nFirst + n, _run.bOddRow);
        block.fore = CornersOf(_run.arrFore, _run.nPlateWidth, _run.nFirst + n, _run.bOddRow);
        block.fltX = _run.pFilter->bPast ? MiddleX<S>(*_run.pRules, block.back) : typename S::F32(0.0f);
        for (block.nRow = 0; block.nRow < 4; block.nRow += static_cast<int>(S::c_nLanes / 4))
            MixedBlock<S>(_run, strip, block);
    }
}

} // namespace UnmixPixels
} // namespace
