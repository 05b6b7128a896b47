#pragma once

#include "ZChromaKey/Engine2/Kernels/PixelMathsRow.h"
#include "ZChromaKey/Engine2/Kernels/UnmixVectors.h"

#include <string.h> // NOLINT(modernize-deprecated-headers): no header of the C++ library here

/// Rows of solid pixels and runs of mixed cells over vectors.

namespace
{
namespace UnmixPixels
{

using UnmixVectors::FormOf;
using UnmixVectors::FromBytes;
using UnmixVectors::FromWords;
using UnmixVectors::MulRoundInts;
using UnmixVectors::PAIRS;

template <class S> ZCK_INLINE typename S::I32 Clamp16(typename S::I32 _n)
{
    return Min(Max(_n, typename S::I32(-32768)), typename S::I32(32767));
}
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
    return RoundChannel<S>(_colour.b, 1) | (RoundChannel<S>(_colour.g, 1) << 8) |
           (RoundChannel<S>(_colour.r, 1) << 16) | (RoundChannel<S>(_fltAlpha255, 1) << 24);
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

/// The pixels of a run, unpacked, with their differences.
struct STRIP
{
    static constexpr int c_nStride = c_nMixedPixels + 18; // whole vectors may be written past the end
    int32_t arrBG[6][c_nStride];
    int32_t arrRA[6][c_nStride];
    int32_t arrDifference[6][c_nStride];
};
constexpr ptrdiff_t c_nStripBytes = ptrdiff_t{4} * STRIP::c_nStride;

/// D = X - wedge |Z - rho X| in 32nds of a level; integers, so that every level agrees.
template <class S>
ZCK_INLINE typename S::I32 Difference(const MIXED_RUN& _run, const PAIRS<S>& _pixels, typename S::I32 _nRho)
{
    using I32 = typename S::I32;
    const int nShift = _run.bDeep ? 7 : 1;
    const I32 nX = FormOf<S>(_run.pRules->limit.anX, _pixels) >> nShift;
    const I32 nZ = FormOf<S>(_run.pRules->limit.anZ, _pixels) >> nShift;
    const I32 nAcross = Min(Abs(nZ - MulRoundInts<S>(nX, _nRho)), I32(8191));
    return Clamp16<S>(nX - MulRoundInts<S>(nAcross << 2, I32(_run.pRules->nWedge)));
}

template <class S> ZCK_INLINE void FillStrip(const MIXED_RUN& _run, STRIP& _strip)
{
    static constexpr int c_arrRhoRow[6] = {0, 1, 1, 1, 1, 2};
    const size_t nPixels = 4 * static_cast<size_t>(_run.nCells) + 2;
    for (int y = 0; y < 6; ++y)
        for (size_t n = 0; n < nPixels; n += S::c_nLanes)
        {
            const PAIRS<S> pixels =
                _run.bDeep ? FromWords<S>(static_cast<const uint16_t*>(_run.arrSource[y]) + 4 * n)
                           : FromBytes<S>(S::LoadI32(static_cast<const uint8_t*>(_run.arrSource[y]) + 4 * n));
            S::Store(static_cast<void*>(_strip.arrBG[y] + n), pixels.nBG);
            S::Store(static_cast<void*>(_strip.arrRA[y] + n), pixels.nRA);
            S::Store(static_cast<void*>(_strip.arrDifference[y] + n),
                     Difference<S>(_run, pixels, S::LoadI32(_run.arrRho[c_arrRhoRow[y]] + n)));
        }
}

/// The mean of those of 3x3 differences that are near the middle's: colours keep their grain. _p: the first of a block
/// of the strip.
template <class S>
ZCK_INLINE typename S::I32 Filtered(const int32_t* _p, typename S::I32 _nMiddle, typename S::I32 _nNear)
{
    using I32 = typename S::I32;
    using F32 = typename S::F32;
    I32 nSum(0), nCount(1);
    for (int y = -1; y <= 1; ++y)
        for (int x = -1; x <= 1; ++x)
            if (x != 0 || y != 0)
            {
                const I32 nOff = S::LoadBlocks(_p + y * STRIP::c_nStride + x, c_nStripBytes) - _nMiddle;
                const auto maskNear = Greater(_nNear, Abs(nOff));
                nSum = nSum + Select(maskNear, nOff, I32(0));
                nCount = nCount + Select(maskNear, I32(1), I32(0));
            }
    // The sum fits 16 bits: eight offsets of less than two noises, of at most 60 levels each. The share of a middle
    // that is alone does not, but then the sum is 0.
    const I32 nShare = ToI32(F32(32768.0f) / ToF32(nCount) + F32(.5f));
    return _nMiddle + MulRoundInts<S>(nSum, nShare);
}

/// The filter over time. What is kept is the difference over that of the backdrop, so that light that changes does not
/// linger. A picture that was seen before gets what it got then, unless another setup has moved it.
template <class S> ZCK_INLINE typename S::I32 WithPast(const FILTER_RULES& _filter, int16_t* _pPast,
                                                       typename S::I32 _nDifference, float _fltX)
{
    using I32 = typename S::I32;
    using F32 = typename S::F32;
    const F32 fltScale(_fltX * (32 / 8192.0f));
    const I32 nPast = S::WidenI32(_pPast);
    const I32 nBefore = Clamp16<S>(RoundSigned<S>(Max(ToF32(nPast) * fltScale, F32(-32768.0f))));
    const auto maskNear =
        Without(Greater(I32(_filter.nTimeNear), Abs(nBefore - _nDifference)), Equal(nPast, I32(c_nPastUnknown)));
    const I32 nMixed = _nDifference + Select(maskNear, (nBefore - _nDifference + 1) >> 1, I32(0));
    const I32 nKept = RoundSigned<S>(Min(Max(ToF32(nMixed) / fltScale, F32(-32767.0f)), F32(32767.0f)));
    const I32 nNow = Clamp16<S>(RoundSigned<S>(Max(ToF32(nKept) * fltScale, F32(-32768.0f))));
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
    const float* arrAt[4];
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
/// Channel _nChannel at the places x, y between the corners.
template <class S>
ZCK_INLINE typename S::F32 Between(const CORNERS& _corners, int _nChannel, typename S::F32 _x, typename S::F32 _y)
{
    using F32 = typename S::F32;
    const auto At = [&](int _n) { return _corners.arrAt[_n][_nChannel]; };
    const F32 above = F32(At(0)) + F32(At(1) - At(0)) * _x;
    const F32 below = F32(At(2)) + F32(At(3) - At(2)) * _x;
    return above + (below - above) * _y;
}
/// X of the backdrop at the middle of a cell.
ZCK_INLINE float MiddleX(const PIXEL_RULES& _c, const CORNERS& _corners)
{
    const float x = _corners.fltX0 + .1875f, y = _corners.fltY0 + .1875f;
    float fltX = 0;
    for (int n = 0; n < 3; ++n)
    {
        const auto At = [&](int _n) { return _corners.arrAt[_n][n]; };
        const float above = At(0) * (1 - x) + At(1) * x;
        const float below = At(2) * (1 - x) + At(3) * x;
        fltX += _c.limit.arrX[n] * (above * (1 - y) + below * y);
    }
    return fltX > _c.fltLeastX ? fltX : _c.fltLeastX;
}

/// One cell of a run, and the block of it that a vector holds: whole rows.
struct BLOCK
{
    int nCell;
    int nRow; // first row
    CORNERS back;
    CORNERS fore;
    float fltX; // of the backdrop at the cell's middle

    ptrdiff_t InCell() const
    {
        return ptrdiff_t{16} * nCell + ptrdiff_t{4} * nRow;
    }
};

template <class S> ZCK_INLINE UnmixMaths::PLACE<S> PlaceOf(const BLOCK& _block)
{
    using F32 = typename S::F32;
    static constexpr float c_arrX[16] = {0, .125f, .25f, .375f, 0, .125f, .25f, .375f,
                                         0, .125f, .25f, .375f, 0, .125f, .25f, .375f};
    static constexpr float c_arrY[16] = {0,    0,    0,    0,    .125f, .125f, .125f, .125f,
                                         .25f, .25f, .25f, .25f, .375f, .375f, .375f, .375f};
    const F32 x = F32(_block.back.fltX0) + S::LoadF32(c_arrX);
    const F32 y = F32(_block.back.fltY0) + S::LoadF32(c_arrY + 4 * _block.nRow);
    UnmixMaths::PLACE<S> place;
    place.back = {Between<S>(_block.back, 0, x, y), Between<S>(_block.back, 1, x, y), Between<S>(_block.back, 2, x, y)};
    place.fltConfidence = Between<S>(_block.fore, 3, x, y);
    const F32 fltShare =
        Select(Less(F32(1e-9f), place.fltConfidence), F32(1.0f) / Max(place.fltConfidence, F32(1e-9f)), F32(0.0f));
    place.fore = {Between<S>(_block.fore, 0, x, y) * fltShare, Between<S>(_block.fore, 1, x, y) * fltShare,
                  Between<S>(_block.fore, 2, x, y) * fltShare};
    return place;
}

template <class S> ZCK_INLINE void PutBlock(const MIXED_RUN& _run, const BLOCK& _block,
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

template <class S> ZCK_INLINE void MixedBlock(const MIXED_RUN& _run, const STRIP& _strip, const BLOCK& _block)
{
    using F32 = typename S::F32;
    using I32 = typename S::I32;
    const int nY = _block.nRow + 1, nX = 4 * _block.nCell + 1; // in the strip, which has a rim of one
    const int32_t* const pDifference = &_strip.arrDifference[nY][nX];
    const I32 nOwn = S::LoadBlocks(pDifference, c_nStripBytes);
    I32 nDifference = nOwn;
    if (_run.pFilter->bFilter)
        nDifference = Filtered<S>(pDifference, nOwn, I32(_run.pFilter->nNear));
    if (_run.pFilter->bPast)
        nDifference = WithPast<S>(*_run.pFilter, _run.pPast + _block.InCell(), nDifference, _block.fltX);
    const PAIRS<S> pixels = {S::LoadBlocks(&_strip.arrBG[nY][nX], c_nStripBytes),
                             S::LoadBlocks(&_strip.arrRA[nY][nX], c_nStripBytes)};
    const UnmixMaths::COLOUR<S> colour = ColourOf<S>(pixels, _run.bDeep ? 1 / 64.0f : 1.0f);
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
    FillStrip<S>(_run, strip);
    for (int n = 0; n < _run.nCells; ++n)
    {
        BLOCK block;
        block.nCell = n;
        block.back = CornersOf(_run.arrBack, _run.nPlateWidth, _run.nFirst + n, _run.bOddRow);
        block.fore = CornersOf(_run.arrFore, _run.nPlateWidth, _run.nFirst + n, _run.bOddRow);
        block.fltX = _run.pFilter->bPast ? MiddleX(*_run.pRules, block.back) : 0;
        for (block.nRow = 0; block.nRow < 4; block.nRow += static_cast<int>(S::c_nLanes / 4))
            MixedBlock<S>(_run, strip, block);
    }
}

} // namespace UnmixPixels
} // namespace
