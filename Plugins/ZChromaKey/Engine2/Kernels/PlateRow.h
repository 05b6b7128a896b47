#pragma once

#include "Simd/Simd.h"
#include "ZChromaKey/Engine2/Kernels/UnmixRecords.h"

/// Rows of plate cells, four floats each, over vectors: a block of 16 bytes is a plate cell.

namespace
{
namespace UnmixPlates
{

/// Lane n of every block in all its lanes.
template <class S> ZCK_INLINE typename S::F32 Spread(typename S::F32 _flt, const uint8_t (&_arrLane)[16])
{
    return AsFloats(As<typename S::I32>(ShuffleBytes(As<typename S::U8>(AsInts(_flt)), _arrLane)));
}
constexpr uint8_t c_arrLane0[16] = {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3};
constexpr uint8_t c_arrLane1[16] = {4, 5, 6, 7, 4, 5, 6, 7, 4, 5, 6, 7, 4, 5, 6, 7};
constexpr uint8_t c_arrLane2[16] = {8, 9, 10, 11, 8, 9, 10, 11, 8, 9, 10, 11, 8, 9, 10, 11};
constexpr uint8_t c_arrLane3[16] = {12, 13, 14, 15, 12, 13, 14, 15, 12, 13, 14, 15, 12, 13, 14, 15};

/// The last lane of every block.
template <class S> ZCK_INLINE typename S::M32 LastLanes()
{
    static constexpr int32_t c_arrLast[16] = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1};
    return Equal(S::LoadI32(c_arrLast), typename S::I32(1));
}

/// Sums of the cells of one row that bits name, two cells a block; as the fourth word, how many.
template <class S>
ZCK_INLINE typename S::U16 NamedSums(const uint64_t* _pSums, uint64_t _nBits, size_t _nAt, size_t _nCells)
{
    using I32 = typename S::I32;
    static constexpr int32_t c_arrCell[16] = {1, 1, 2, 2, 4, 4, 8, 8, 16, 16, 32, 32, 64, 64, 128, 128};
    static constexpr int32_t c_arrColour[16] = {-1, 0xFFFF, -1, 0xFFFF, -1, 0xFFFF, -1, 0xFFFF,
                                                -1, 0xFFFF, -1, 0xFFFF, -1, 0xFFFF, -1, 0xFFFF};
    static constexpr int32_t c_arrOne[16] = {0, 0x10000, 0, 0x10000, 0, 0x10000, 0, 0x10000,
                                             0, 0x10000, 0, 0x10000, 0, 0x10000, 0, 0x10000};
    const size_t nLeft = 2 * (_nCells - _nAt);
    const I32 nSums = nLeft < S::c_nLanes ? S::LoadI32(_pSums + _nAt, nLeft) : S::LoadI32(_pSums + _nAt);
    const I32 nCounted = (nSums & S::LoadI32(c_arrColour)) | S::LoadI32(c_arrOne);
    const auto maskOut = Equal(I32(static_cast<int>(_nBits >> _nAt & 0xFF)) & S::LoadI32(c_arrCell), I32(0));
    return As<typename S::U16>(Select(maskOut, I32(0), nCounted));
}

template <class S> void Means(const MEAN_CHUNK& _chunk)
{
    using F32 = typename S::F32;
    using I32 = typename S::I32;
    static constexpr uint8_t c_arrOther[16] = {8, 9, 10, 11, 12, 13, 14, 15, 0, 1, 2, 3, 4, 5, 6, 7};
    static constexpr uint8_t c_arrWiden[16] = {0, 1, 0xFF, 0xFF, 2, 3, 0xFF, 0xFF, 4, 5, 0xFF, 0xFF, 6, 7, 0xFF, 0xFF};
    const size_t nCells = static_cast<size_t>(_chunk.nCells), nFloats = 4 * ((nCells + 1) / 2);
    for (size_t n = 0; n < nCells; n += S::c_nLanes / 2)
    {
        const auto nSums = NamedSums<S>(_chunk.arrSums[0], _chunk.arrBits[0], n, nCells) +
                           NamedSums<S>(_chunk.arrSums[1], _chunk.arrBits[1], n, nCells);
        const auto nBlocks = As<typename S::U8>(nSums);
        const auto nAll = nSums + As<typename S::U16>(ShuffleBytes(nBlocks, c_arrOther));
        const F32 flt = ToF32(As<I32>(ShuffleBytes(As<typename S::U8>(nAll), c_arrWiden)));
        const F32 fltCount = Spread<S>(flt, c_arrLane3);
        const F32 fltMean = flt * (F32(1.0f) / (F32(16.0f) * Max(fltCount, F32(1.0f))));
        const F32 fltOut = Select(LastLanes<S>(), Min(fltCount, F32(_chunk.fltMost)), fltMean);
        if (2 * n + S::c_nLanes <= nFloats)
            S::Store(_chunk.pMeans + 2 * n, fltOut);
        else
            S::Store(_chunk.pMeans + 2 * n, nFloats - 2 * n, fltOut);
    }
}

/// A vector of plate cells from float _nAt on, 0 past the end.
template <class S> ZCK_INLINE typename S::F32 LoadPlates(const float* _p, size_t _nAt, size_t _nFloats)
{
    if (_nAt + S::c_nLanes <= _nFloats)
        return S::LoadF32(_p + _nAt);
    return _nAt < _nFloats ? S::LoadF32(_p + _nAt, _nFloats - _nAt) : typename S::F32(0.0f);
}

template <class S> ZCK_INLINE void StorePlates(float* _p, size_t _nAt, size_t _nFloats, typename S::F32 _flt)
{
    if (_nAt + S::c_nLanes <= _nFloats)
        S::Store(_p + _nAt, _flt);
    else
        S::Store(_p + _nAt, _nFloats - _nAt, _flt);
}

/// Vectors of four plate cells.
template <class S> struct FOUR_PLATES
{
    static constexpr size_t c_nVectors = 16 / S::c_nLanes;
    typename S::F32 arr[c_nVectors];

    ZCK_INLINE FOUR_PLATES()
    {
        for (size_t v = 0; v < c_nVectors; ++v)
            arr[v] = typename S::F32(0.0f);
    }
    /// Their sum, in an order that does not depend on the length of vectors.
    ZCK_INLINE void Sum(float* _pOut) const
    {
        float arrAll[16];
        for (size_t v = 0; v < c_nVectors; ++v)
            S::Store(arrAll + v * S::c_nLanes, arr[v]);
        for (int n = 0; n < 4; ++n)
            _pOut[n] = (arrAll[n] + arrAll[n + 4]) + (arrAll[n + 8] + arrAll[n + 12]);
    }
};

template <class S> struct COMPARE_SUMS
{
    FOUR_PLATES<S> seen;
    FOUR_PLATES<S> reference;
};

/// Adds a row of a block, from float _nAt of the chunk on: as all of it, and each cell as often as it was seen.
template <class S> ZCK_INLINE void CompareFour(const COMPARE_CHUNK& _chunk, int _nRow, size_t _nAt,
                                               COMPARE_SUMS<S>& _all, COMPARE_SUMS<S>& _block)
{
    using F32 = typename S::F32;
    const size_t nFloats = 4 * static_cast<size_t>(_chunk.plates.nPlates);
    const ptrdiff_t nRow = _nRow * _chunk.nStride;
    const F32 fltNone(0.0f), fltOne(1.0f);
    const auto maskLast = LastLanes<S>();
    for (size_t v = 0; v < FOUR_PLATES<S>::c_nVectors; ++v)
    {
        const size_t nAt = _nAt + v * S::c_nLanes;
        const F32 fltSeen = LoadPlates<S>(_chunk.plates.pSeen + nRow, nAt, nFloats);
        const F32 fltCount = Spread<S>(fltSeen, c_arrLane3);
        const auto maskSeen = Less(fltNone, fltCount);
        if (!Any(maskSeen)) // as in most of a body
            continue;
        const F32 fltPlate = LoadPlates<S>(_chunk.plates.pPlate + nRow, nAt, nFloats);
        const F32 fltReference = LoadPlates<S>(_chunk.plates.pReference + nRow, nAt, nFloats);
        const F32 fltLimit = _chunk.pLimits ? LoadPlates<S>(_chunk.pLimits + _nRow * 4 * c_nChunkPlates, nAt, nFloats)
                                            : F32(_chunk.fltLimit);
        const auto maskBoth = maskSeen & Less(fltNone, Spread<S>(fltPlate, c_arrLane3));
        const F32 fltOff = Abs(fltSeen - fltPlate);
        const F32 fltAllOff =
            (Spread<S>(fltOff, c_arrLane0) + Spread<S>(fltOff, c_arrLane1)) + Spread<S>(fltOff, c_arrLane2);
        const F32 fltIsFar = Select(Less(fltLimit, fltAllOff), fltOne, fltNone);
        const F32 fltSeenOnce = Select(maskBoth, Select(maskLast, fltOne, fltSeen), fltNone);
        const F32 fltRefOnce = Select(maskBoth, fltReference, fltNone);
        _all.seen.arr[v] = _all.seen.arr[v] + fltSeenOnce;
        _all.reference.arr[v] = _all.reference.arr[v] + Select(maskLast & maskBoth, fltIsFar, fltRefOnce);
        _block.seen.arr[v] = _block.seen.arr[v] + fltSeenOnce * fltCount;
        _block.reference.arr[v] = _block.reference.arr[v] + fltRefOnce * fltCount;
    }
}

template <class S> void Compare(COMPARE_CHUNK& _chunk)
{
    COMPARE_SUMS<S> all;
    float* pBlocks = _chunk.pBlocks;
    for (size_t n = 0; n < 4 * static_cast<size_t>(_chunk.plates.nPlates); n += 16, pBlocks += 8)
    {
        COMPARE_SUMS<S> block;
        for (int y = 0; y < _chunk.nRows; ++y)
            CompareFour<S>(_chunk, y, n, all, block);
        block.seen.Sum(pBlocks);
        block.reference.Sum(pBlocks + 4);
    }
    all.seen.Sum(_chunk.arrSeen);
    all.reference.Sum(_chunk.arrReference);
}

template <class S> void Learn(LEARN_CHUNK& _chunk)
{
    using F32 = typename S::F32;
    using I32 = typename S::I32;
    const size_t nFloats = 4 * static_cast<size_t>(_chunk.plates.nPlates);
    const F32 fltGain = AsFloats(S::LoadBlocks(_chunk.arrGain, 0)), fltNone(0.0f), fltOne(1.0f);
    const F32 fltInverse = AsFloats(S::LoadBlocks(_chunk.arrInverse, 0));
    const auto maskLast = LastLanes<S>();
    I32 nGrown(0);
    for (size_t n = 0; n < nFloats; n += S::c_nLanes)
    {
        const F32 fltSeen = LoadPlates<S>(_chunk.plates.pSeen, n, nFloats);
        const F32 fltReference = LoadPlates<S>(_chunk.plates.pReference, n, nFloats);
        const F32 fltLit = fltReference * fltGain + LoadPlates<S>(_chunk.pLamps, n, nFloats);
        const F32 fltBefore = Spread<S>(fltReference, c_arrLane3);
        const F32 fltCount = Min(fltBefore + fltOne, F32(_chunk.fltMostSeen));
        const auto maskSeen = Less(fltNone, Spread<S>(fltSeen, c_arrLane3));
        const F32 fltMove = Select(maskSeen, (fltSeen - fltLit) * (fltOne / fltCount), fltNone);
        const F32 fltNowSeen = Select(maskSeen, fltCount, fltBefore);
        StorePlates<S>(_chunk.plates.pPlate, n, nFloats, Select(maskLast, fltNowSeen, fltLit + fltMove));
        StorePlates<S>(_chunk.plates.pReference, n, nFloats,
                       Select(maskLast, fltNowSeen, fltReference + fltMove * fltInverse));
        nGrown = nGrown + Select(Without(maskSeen & maskLast, Less(fltNone, fltBefore)), I32(1), I32(0));
    }
    int32_t arrGrown[S::c_nLanes];
    S::Store(static_cast<void*>(arrGrown), nGrown);
    _chunk.nGrown = 0;
    for (size_t n = 0; n < S::c_nLanes; ++n)
        _chunk.nGrown += arrGrown[n];
}

/// A cell lies 1, 3, 5 or 7 eighths of the way from the middle of one block to that of the next; those that lie in the
/// same way, four apart, make vectors.
template <class S> void Lamps(const LAMP_CHUNK& _chunk)
{
    using F32 = typename S::F32;
    float arrBlocks[4 * c_nLampRoom];
    for (size_t n = 0; n < 4 * c_nLampRoom; n += S::c_nLanes)
    {
        const F32 fltAbove = S::LoadF32(_chunk.arrBlocks[0] + n);
        const F32 fltDown = S::LoadF32(_chunk.arrBlocks[1] + n) - fltAbove;
        S::Store(arrBlocks + n, fltAbove + fltDown * F32(_chunk.fltBelow));
    }
    for (size_t nCell = 0; nCell < 4; ++nCell)
    {
        const size_t nRight = nCell < 2 ? 0 : 4;
        const F32 fltSecond(static_cast<float>((2 * nCell + 5) % 8) * .125f);
        for (size_t n = 0; n < c_nChunkPlates; n += S::c_nLanes)
        {
            const F32 fltLeft = S::LoadF32(arrBlocks + n + nRight);
            const F32 fltOff = S::LoadF32(arrBlocks + n + nRight + 4) - fltLeft;
            S::StoreBlocks(_chunk.pLamps + 4 * (n + nCell), 64, AsInts(fltLeft + fltOff * fltSecond));
        }
    }
}

/// Sums over rows of as many columns as a vector has, from _nAt on.
template <class S> ZCK_INLINE void BlurSome(const BLUR_COLUMNS& _columns, ptrdiff_t _nAt)
{
    using I32 = typename S::I32;
    const size_t nLeft = static_cast<size_t>(_columns.nColumns - _nAt);
    const auto Row = [&](int _nRow) {
        const int nRow = _nRow < 0 ? 0 : _nRow < _columns.nRows ? _nRow : _columns.nRows - 1;
        const int32_t* const p = _columns.pIn + nRow * _columns.nStride + _nAt;
        return nLeft < S::c_nLanes ? S::LoadI32(p, nLeft) : S::LoadI32(p);
    };
    I32 nSum(0);
    for (int y = -_columns.nReach; y <= _columns.nReach; ++y)
        nSum = nSum + Row(y);
    for (int y = 0; y < _columns.nRows; ++y)
    {
        int32_t* const p = _columns.pOut + y * _columns.nStride + _nAt;
        if (nLeft < S::c_nLanes)
            S::Store(static_cast<void*>(p), nLeft, nSum);
        else
            S::Store(static_cast<void*>(p), nSum);
        nSum = nSum + (Row(y + _columns.nReach + 1) - Row(y - _columns.nReach));
    }
}

template <class S> void Blur(const BLUR_COLUMNS& _columns)
{
    for (int n = 0; n < _columns.nColumns; n += static_cast<int>(S::c_nLanes))
        BlurSome<S>(_columns, n);
}

} // namespace UnmixPlates
} // namespace
