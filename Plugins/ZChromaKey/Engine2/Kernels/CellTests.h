#pragma once

#include "ZChromaKey/Engine2/Kernels/UnmixRecords.h"
#include "ZChromaKey/Engine2/Kernels/UnmixVectors.h"

#include <string.h> // NOLINT(modernize-deprecated-headers): no header of the C++ library here

/// What cells are, 64 of them at a time: Screen.h and Classes.h say what each test means.

namespace
{
namespace UnmixTests
{

using UnmixVectors::FormOf;
using UnmixVectors::FormOfBytes;
using UnmixVectors::PAIRS;

/// The first _nCount numbers, or a whole vector of them; 0 where there are fewer.
template <class S> ZCK_INLINE typename S::I32 LoadSome(const void* _pInts, size_t _nCount)
{
    return _nCount < S::c_nLanes ? S::LoadI32(_pInts, _nCount) : S::LoadI32(_pInts);
}

/// Cells _nAt and following of a chunk.
template <class S> struct SOME_CELLS
{
    PAIRS<S> sums;
    typename S::I32 nMin;
    typename S::I32 nMax;
};
template <class S> ZCK_INLINE SOME_CELLS<S> LoadCells(const CELL_CHUNK& _chunk, size_t _nAt)
{
    const size_t nLeft = static_cast<size_t>(_chunk.nCells) - _nAt, nHalf = S::c_nLanes / 2;
    SOME_CELLS<S> cells;
    const typename S::I32 nFirst = LoadSome<S>(_chunk.pSum + _nAt, 2 * nLeft);
    const typename S::I32 nSecond = nLeft > nHalf ? LoadSome<S>(_chunk.pSum + _nAt + nHalf, 2 * (nLeft - nHalf)) : 0;
    Deinterleave(nFirst, nSecond, cells.sums.nBG, cells.sums.nRA);
    cells.nMin = LoadSome<S>(_chunk.pMin + _nAt, nLeft);
    cells.nMax = LoadSome<S>(_chunk.pMax + _nAt, nLeft);
    return cells;
}

/// The greatest channel of cells' means, and how far it is from the least.
template <class S> struct BRIGHTNESS
{
    typename S::F32 fltMax;
    typename S::F32 fltRange;

    ZCK_INLINE explicit BRIGHTNESS(const PAIRS<S>& _sums)
    {
        const auto b = _sums.nBG & 0xFFFF, g = ShiftedIn0(_sums.nBG, 16), r = _sums.nRA & 0xFFFF;
        const auto nMax = Max(Max(b, g), r);
        fltMax = ToF32(nMax) * typename S::F32(1 / 16.0f);
        fltRange = ToF32(nMax - Min(Min(b, g), r)) * typename S::F32(1 / 16.0f);
    }
};

/// A form of cells' means: exact.
template <class S> ZCK_INLINE typename S::F32 MeanForm(const int32_t (&_anForm)[3], const PAIRS<S>& _sums)
{
    return ToF32(FormOf<S>(_anForm, _sums)) * typename S::F32(1 / 1024.0f);
}

/// Contrast inside cells, in quarters of a level: no byte of the least is above that of the greatest.
template <class S> ZCK_INLINE typename S::I32 Spread4(const SOME_CELLS<S>& _cells)
{
    const typename S::I32 nOff = _cells.nMax - _cells.nMin;
    return (nOff & 0xFF) + ((nOff >> 7) & 0x1FE) + ((nOff >> 16) & 0xFF);
}

/// The square of the distance to a key, in units of its range; huge where nothing of its tint is seen. _fltX: its form.
template <class S> ZCK_INLINE typename S::F32 DistanceOf(const SCREEN_RULES& _key, const PAIRS<S>& _sums,
                                                         typename S::F32 _fltX, const BRIGHTNESS<S>& _bright)
{
    using F32 = typename S::F32;
    const F32 fltNone(0.0f);
    const auto maskTint = Less(F32(4.0f), _fltX);
    const F32 fltZ = Abs(MeanForm<S>(_key.anZ, _sums) - F32(_key.fltSlope) * _fltX);
    const F32 fltSaturation = _bright.fltRange / Max(_bright.fltMax, F32(1.0f));
    const F32 h = fltZ / Select(maskTint, _fltX, F32(1.0f)) * F32(_key.fltHue);
    const F32 s = Max((F32(_key.fltKeySaturation) - fltSaturation) * F32(_key.fltSaturation), fltNone);
    const F32 v = Max((F32(_key.fltKeyValue) - _bright.fltMax) * F32(_key.fltValue), fltNone);
    return Select(maskTint, h * h + s * s + v * v, F32(1e6f));
}

/// The bits of the cells from _nAt on, at their place in the word.
template <class M32> ZCK_INLINE uint64_t BitsAt(M32 _mask, size_t _nAt)
{
    return static_cast<uint64_t>(Bits(_mask)) << _nAt;
}
/// Stores whole vectors in chunks that may end before.
template <class S> ZCK_INLINE void NarrowSome(int16_t* _pWords, size_t _nLeft, typename S::I32 _ints)
{
    if (_nLeft >= S::c_nLanes)
        return S::Narrow(_pWords, _ints);
    int16_t arrWords[S::c_nLanes];
    S::Narrow(arrWords, _ints);
    memcpy(_pWords, arrWords, _nLeft * sizeof(int16_t));
}
ZCK_INLINE uint64_t Valid(const CELL_CHUNK& _cells)
{
    return _cells.nCells < 64 ? (uint64_t{1} << _cells.nCells) - 1 : ~uint64_t{0};
}

template <class S> void Screen(SCREEN_CHUNK& _chunk)
{
    using I32 = typename S::I32;
    using F32 = typename S::F32;
    const size_t nCells = static_cast<size_t>(_chunk.cells.nCells);
    uint64_t nWithin = 0, nFlat = 0, nCalm = 0;
    for (size_t n = 0; n < nCells; n += S::c_nLanes)
    {
        const SOME_CELLS<S> cells = LoadCells<S>(_chunk.cells, n);
        const BRIGHTNESS<S> bright(cells.sums);
        const F32 fltPart(1 / 1024.0f);
        I32 nX = FormOf<S>(_chunk.pKeys[0].anX, cells.sums);
        F32 fltNearest = DistanceOf<S>(_chunk.pKeys[0], cells.sums, ToF32(nX) * fltPart, bright);
        for (int k = 1; k < _chunk.nKeys; ++k)
        {
            const I32 nOther = FormOf<S>(_chunk.pKeys[k].anX, cells.sums);
            const F32 flt = DistanceOf<S>(_chunk.pKeys[k], cells.sums, ToF32(nOther) * fltPart, bright);
            const auto maskNearer = Less(flt, fltNearest);
            fltNearest = Select(maskNearer, flt, fltNearest);
            nX = Select(maskNearer, nOther, nX);
        }
        const I32 nSpread4 = Spread4<S>(cells);
        nWithin |= BitsAt(Less(fltNearest, F32(1.0f)), n);
        nFlat |= BitsAt(Less(ToF32(nSpread4), F32(48.0f) + F32(.88f) * bright.fltMax), n);
        nCalm |= BitsAt(Greater(I32(_chunk.nCalm4), nSpread4), n);
        NarrowSome<S>(_chunk.pX + n, nCells - n, Min(Max(nX >> 3, I32(-32768)), I32(32767)));
    }
    _chunk.nWithin = nWithin & Valid(_chunk.cells);
    _chunk.nFlat = nFlat & Valid(_chunk.cells);
    _chunk.nCalm = nCalm & Valid(_chunk.cells);
}

template <class S> void Steps(STEP_CHUNK& _chunk)
{
    using I32 = typename S::I32;
    uint64_t nSmooth = 0, nCalm = 0;
    for (size_t n = 0; n < c_nChunkCells; n += S::c_nLanes)
    {
        const int16_t* const pHere = _chunk.arrX[1] + n;
        const I32 nAcross = Abs(S::WidenI32(pHere) - S::WidenI32(pHere + 2));
        const I32 nDown = Abs(S::WidenI32(_chunk.arrX[0] + n + 1) - S::WidenI32(_chunk.arrX[2] + n + 1));
        const I32 nStep = Max(nAcross, nDown);
        nSmooth |= BitsAt(Greater(I32(_chunk.nLimit), nStep), n);
        nCalm |= BitsAt(Greater(I32(_chunk.nWideLimit), nStep), n);
    }
    _chunk.nSmooth = nSmooth;
    _chunk.nCalm = nCalm;
}

constexpr float c_fltSureReach = 5; // times what other cells may lack: the bounds of 16 noisy pixels lie far apart
constexpr float c_fltGuard = .4f;   // cells all of whose pixels are more opaque than this may be closed
constexpr int c_nPlateCells = c_nChunkPlates + 2;

/// Colours by channel, out of four vectors of four floats a cell.
template <class S> struct COLOURS
{
    typename S::F32 b;
    typename S::F32 g;
    typename S::F32 r;

    ZCK_INLINE explicit COLOURS(const typename S::F32 (&_arr)[4])
    {
        typename S::I32 nBR, nBR2, nGW, nGW2, nB, nG, nR, nNone;
        Deinterleave(AsInts(_arr[0]), AsInts(_arr[1]), nBR, nGW);
        Deinterleave(AsInts(_arr[2]), AsInts(_arr[3]), nBR2, nGW2);
        Deinterleave(nBR, nBR2, nB, nR);
        Deinterleave(nGW, nGW2, nG, nNone);
        b = AsFloats(nB);
        g = AsFloats(nG);
        r = AsFloats(nR);
    }
    ZCK_INLINE typename S::F32 Form(const float (&_arrForm)[3]) const
    {
        using F32 = typename S::F32;
        return F32(_arrForm[0]) * b + F32(_arrForm[1]) * g + F32(_arrForm[2]) * r;
    }
};

/// Rows of the plate, blended: the forms of a key there.
struct PLATE_FORMS
{
    float arrX[c_nPlateRoom];
    float arrZ[c_nPlateRoom];
};

template <class S> ZCK_INLINE void BlendForms(const CLASS_CHUNK& _chunk, PLATE_FORMS& _forms)
{
    using F32 = typename S::F32;
    const F32 fltBelow(_chunk.fltBelow), fltAbove(1 - _chunk.fltBelow);
    for (size_t n = 0; n < c_nPlateCells; n += S::c_nLanes)
    {
        F32 arrBlended[4];
        for (size_t v = 0; v < 4; ++v)
        {
            const size_t nAt = 4 * n + v * S::c_nLanes;
            arrBlended[v] =
                S::LoadF32(_chunk.arrPlate[0] + nAt) * fltAbove + S::LoadF32(_chunk.arrPlate[1] + nAt) * fltBelow;
        }
        const COLOURS<S> colours(arrBlended);
        S::Store(_forms.arrX + n, colours.Form(_chunk.pRules->arrX));
        S::Store(_forms.arrZ + n, colours.Form(_chunk.pRules->arrZ));
    }
}

/// Linear between numbers of the plate's cells: a cell of 4x4 pixels lies a quarter of a plate cell off its middle.
template <class S> ZCK_INLINE void SpreadOut(const float* _pPlates, float (&_arrCells)[c_nChunkCells])
{
    using F32 = typename S::F32;
    const F32 fltNear(.75f), fltFar(.25f);
    for (size_t n = 0; n < c_nChunkCells / 2; n += S::c_nLanes)
    {
        const F32 fltHere = S::LoadF32(_pPlates + n + 1) * fltNear;
        typename S::I32 nFirst, nSecond;
        Interleave(AsInts(S::LoadF32(_pPlates + n) * fltFar + fltHere),
                   AsInts(fltHere + S::LoadF32(_pPlates + n + 2) * fltFar), nFirst, nSecond);
        S::Store(static_cast<void*>(_arrCells + 2 * n), nFirst);
        S::Store(static_cast<void*>(_arrCells + 2 * n + S::c_nLanes), nSecond);
    }
}

/// The forms of the plate's colours at the cells of a chunk.
struct CHUNK_FORMS
{
    float arrX[c_nChunkCells];
    float arrZ[c_nChunkCells];
};

template <class S> ZCK_INLINE CHUNK_FORMS FormsOfPlate(const CLASS_CHUNK& _chunk)
{
    PLATE_FORMS plates;
    BlendForms<S>(_chunk, plates);
    CHUNK_FORMS cells;
    SpreadOut<S>(plates.arrX, cells.arrX);
    SpreadOut<S>(plates.arrZ, cells.arrZ);
    return cells;
}

/// The difference of cells' means, and bounds of that of their pixels.
template <class S> struct BOUNDS
{
    typename S::F32 fltMean;
    typename S::F32 fltLeast;
    typename S::F32 fltMost;
};

/// Bytes of the one where a form's weight is above 0, else of the other.
ZCK_INLINE int ByteMask(const int32_t (&_anForm)[3])
{
    return (_anForm[0] > 0 ? 0xFF : 0) | (_anForm[1] > 0 ? 0xFF00 : 0) | (_anForm[2] > 0 ? 0xFF0000 : 0);
}

/// A form whose weights are not below 0.
struct REACH
{
    int32_t arr[3];

    ZCK_INLINE explicit REACH(const int32_t (&_anForm)[3])
    {
        for (int n = 0; n < 3; ++n)
            arr[n] = _anForm[n] < 0 ? -_anForm[n] : _anForm[n];
    }
};

/// Forms of whole numbers stay exact: means in 1024ths, bounds in 64ths.
template <class S>
ZCK_INLINE BOUNDS<S> BoundsOf(const CLASS_RULES& _rules, const SOME_CELLS<S>& _cells, typename S::F32 _fltRho)
{
    using I32 = typename S::I32;
    using F32 = typename S::F32;
    const F32 fltOne(1 / 64.0f), fltNone(0.0f), fltWedge(_rules.fltWedge);
    const F32 fltX = MeanForm<S>(_rules.anX, _cells.sums);
    const F32 fltZ = Abs(MeanForm<S>(_rules.anZ, _cells.sums) - _fltRho * fltX);
    const I32 nOff = _cells.nMax - _cells.nMin; // no byte borrows from the next
    const I32 nMask(ByteMask(_rules.anX));
    const I32 nLeastX = FormOfBytes<S>(_rules.anX, _cells.nMax - (nOff & nMask));
    const I32 nMostX = nLeastX + FormOfBytes<S>(REACH(_rules.anX).arr, nOff);
    const F32 fltReach = ToF32(FormOfBytes<S>(REACH(_rules.anZ).arr, nOff)) * fltOne;
    return {fltX - fltWedge * fltZ, ToF32(nLeastX) * fltOne - fltWedge * (fltZ + fltReach),
            ToF32(nMostX) * fltOne - fltWedge * Max(fltZ - fltReach, fltNone)};
}

/// rho of a backdrop.
template <class S> ZCK_INLINE typename S::F32 RhoOf(typename S::F32 _fltX, typename S::F32 _fltZ)
{
    using F32 = typename S::F32;
    return Min(Max(_fltZ / _fltX, F32(-.5f)), F32(.5f));
}

template <class S> void Classes(CLASS_CHUNK& _chunk)
{
    using F32 = typename S::F32;
    const CLASS_RULES& rules = *_chunk.pRules;
    const CHUNK_FORMS plate = FormsOfPlate<S>(_chunk);
    const size_t nCells = static_cast<size_t>(_chunk.cells.nCells);
    uint64_t nSolid0 = 0, nInner = 0, nDoubt = 0, nSolid = 0, nNear = 0, nFar = 0;
    for (size_t n = 0; n < nCells; n += S::c_nLanes)
    {
        const F32 fltX = Max(S::LoadF32(plate.arrX + n), F32(rules.fltLeastX));
        const F32 fltRho = RhoOf<S>(fltX, S::LoadF32(plate.arrZ + n));
        S::Narrow(_chunk.pRho + n, ToI32(fltRho * F32(32767.0f)));
        const BOUNDS<S> bounds = BoundsOf<S>(rules, LoadCells<S>(_chunk.cells, n), fltRho);
        const F32 fltLow = Max(Min(F32(rules.fltClip), F32(.25f) * fltX), F32(rules.fltClean) * fltX);
        // In sure backdrop contrast is noise or dirt.
        const F32 fltSureLow = Max(F32(c_fltSureReach) * fltLow, F32(.18f) * fltX);
        // A little below 0: mixtures with colourful foreground reach 0 before they are solid.
        nSolid0 |= BitsAt(Less(bounds.fltMean, F32(rules.fltNoise) - F32(.05f) * fltX), n);
        nInner |= BitsAt(Less(bounds.fltMean, F32(rules.fltOpen) * fltX), n);
        nDoubt |= BitsAt(Less(bounds.fltMost, F32(1 - c_fltGuard) * fltX), n);
        nNear |= BitsAt(Less(fltX - fltSureLow, bounds.fltLeast), n);
        nFar |= BitsAt(Less(fltX - fltLow, bounds.fltLeast), n);
        nSolid |= BitsAt(Less(bounds.fltMost, F32(.03f) * fltX), n);
    }
    const uint64_t nValid = Valid(_chunk.cells);
    _chunk.nSolid0 = nSolid0 & nValid;
    _chunk.nInner = rules.fltOpen > 0 ? nInner & nValid : 0;
    _chunk.nDoubt = ~nDoubt & nValid;
    _chunk.nBackdrop = ((nNear & _chunk.nSure) | (nFar & ~_chunk.nSure)) & nValid;
    _chunk.nSolid = nSolid & nValid;
}

/// The difference of pixels.
template <class S>
ZCK_INLINE typename S::F32 DifferenceOf(const DIFFERENCE_RULES& _rules, typename S::I32 _nBGRA, typename S::F32 _fltRho)
{
    using F32 = typename S::F32;
    const F32 fltOne(1 / 64.0f);
    const F32 fltX = ToF32(FormOfBytes<S>(_rules.anX, _nBGRA)) * fltOne;
    const F32 fltZ = ToF32(FormOfBytes<S>(_rules.anZ, _nBGRA)) * fltOne;
    return fltX - F32(_rules.fltWedge) * Abs(fltZ - _fltRho * fltX);
}

/// rho is that of the nearest plate cell for both pixels, so that it makes no difference between them.
template <class S> void Noise(NOISE_CHUNK& _chunk)
{
    using F32 = typename S::F32;
    using I32 = typename S::I32;
    const DIFFERENCE_RULES& rules = *_chunk.pRules;
    for (size_t n = 0; n < static_cast<size_t>(_chunk.nPairs); n += S::c_nLanes)
    {
        const float* const p = _chunk.arrPlate[n];
        const F32 arrPlate[4] = {S::LoadF32(p), S::LoadF32(p + S::c_nLanes), S::LoadF32(p + 2 * S::c_nLanes),
                                 S::LoadF32(p + 3 * S::c_nLanes)};
        const COLOURS<S> plate(arrPlate);
        const F32 fltRho = RhoOf<S>(Max(plate.Form(rules.arrX), F32(rules.fltLeastX)), plate.Form(rules.arrZ));
        I32 nFirst, nSecond;
        const uint32_t* const pPixels = _chunk.arrPixels[n];
        Deinterleave(S::LoadI32(pPixels), S::LoadI32(pPixels + S::c_nLanes), nFirst, nSecond);
        S::Store(_chunk.arrOff + n,
                 Abs(DifferenceOf<S>(rules, nFirst, fltRho) - DifferenceOf<S>(rules, nSecond, fltRho)));
    }
}

} // namespace UnmixTests
} // namespace
