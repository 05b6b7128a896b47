#pragma once

#include "Simd/Simd.h"
#include "ZChromaKey/Engine2/Kernels/UnmixRecords.h"

#include <string.h> // NOLINT(modernize-deprecated-headers): no header of the C++ library here

/// Rows of cells over vectors.

namespace
{
namespace UnmixCells
{

/// Four rows of as many pixels as four vectors hold: a group of cells, one for each lane.
template <class S> struct GROUP
{
    typename S::U8 arrRows[4][4]; // by vector, by row
};

/// The sums of the cells of one vector, four 32-bit channels a cell.
template <class S> ZCK_INLINE typename S::I32 SumsOf(const typename S::U8 (&_arrRows)[4])
{
    using U16 = typename S::U16;
    static constexpr uint8_t c_arrByChannel[16] = {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15};
    const auto Pairs = [](const typename S::U8& _row) { return AddPairs(ShuffleBytes(_row, c_arrByChannel)); };
    return MulAdd((Pairs(_arrRows[0]) + Pairs(_arrRows[1])) + (Pairs(_arrRows[2]) + Pairs(_arrRows[3])), U16(1));
}

/// One of each cell's four pixels, chosen byte by byte, for four vectors of pixels.
template <class S, class Choose>
ZCK_INLINE typename S::I32 Folded(const typename S::U8 (&_arrVectors)[4], Choose _fnChoose)
{
    using U8 = typename S::U8;
    using I32 = typename S::I32;
    const auto Halved = [&](I32 _a, I32 _b) {
        I32 nEven, nOdd;
        Deinterleave(_a, _b, nEven, nOdd);
        return As<I32>(_fnChoose(As<U8>(nEven), As<U8>(nOdd)));
    };
    return Halved(Halved(As<I32>(_arrVectors[0]), As<I32>(_arrVectors[1])),
                  Halved(As<I32>(_arrVectors[2]), As<I32>(_arrVectors[3])));
}

/// Stores what is new of the first _n elements; which bits changed.
template <class S> ZCK_INLINE typename S::I32 Renewed(void* _pInts, size_t _n, typename S::I32 _new)
{
    const typename S::I32 nOld = _n < S::c_nLanes ? S::LoadI32(_pInts, _n) : S::LoadI32(_pInts);
    if (_n < S::c_nLanes)
    {
        S::Store(_pInts, _n, _new);
        int32_t arrBits[S::c_nLanes] = {}; // elements past the end do not count
        S::Store(static_cast<void*>(arrBits), _n, _new ^ nOld);
        return S::LoadI32(arrBits);
    }
    S::Store(_pInts, _new);
    return _new ^ nOld;
}

/// Alpha that does not count is 255, whatever the pixels have.
template <class S> struct ALPHA
{
    typename S::I32 nOpaque; ///< bits of a pixel
    typename S::I32 nKept;   ///< of two pairs of sums
    typename S::I32 nSum;

    ZCK_INLINE explicit ALPHA(bool _bCounts)
        : nOpaque(_bCounts ? 0 : static_cast<int>(0xFF000000))
    {
        static constexpr int32_t c_arrKept[2][4] = {{-1, 0xFFFF, -1, 0xFFFF}, {-1, -1, -1, -1}};
        static constexpr int32_t c_arrSum[2][4] = {{0, 16 * 255 << 16, 0, 16 * 255 << 16}, {0, 0, 0, 0}};
        nKept = S::LoadBlocks(c_arrKept[_bCounts], 0);
        nSum = S::LoadBlocks(c_arrSum[_bCounts], 0);
    }
    ZCK_INLINE typename S::I32 InSums(typename S::I32 _nSums) const
    {
        return (_nSums & nKept) | nSum;
    }
};

/// Writes a group of cells, the first _nCells of it; which bits changed.
template <class S> ZCK_INLINE typename S::I32 PutGroup(const CELL_ROW& _row, const ALPHA<S>& _alpha, size_t _nFirst,
                                                       size_t _nCells, const GROUP<S>& _group)
{
    using U8 = typename S::U8;
    using I32 = typename S::I32;
    const auto& p = _group.arrRows;
    const auto Least = [](const U8& _a, const U8& _b) { return Min(_a, _b); };
    const auto Most = [](const U8& _a, const U8& _b) { return Max(_a, _b); };
    U8 arrLeast[4], arrMost[4];
    for (int n = 0; n < 4; ++n)
    {
        arrLeast[n] = Min(Min(p[n][0], p[n][1]), Min(p[n][2], p[n][3]));
        arrMost[n] = Max(Max(p[n][0], p[n][1]), Max(p[n][2], p[n][3]));
    }
    constexpr size_t c_nHalf = S::c_nLanes / 2; // cells whose sums a vector holds
    const I32 nFirst = _alpha.InSums(SplitHalves(As<I32>(PackWords(SumsOf<S>(p[0]), SumsOf<S>(p[1])))));
    const I32 nSecond = _alpha.InSums(SplitHalves(As<I32>(PackWords(SumsOf<S>(p[2]), SumsOf<S>(p[3])))));
    I32 nChanged = Renewed<S>(_row.pMin + _nFirst, _nCells, Folded<S>(arrLeast, Least) | _alpha.nOpaque) |
                   Renewed<S>(_row.pMax + _nFirst, _nCells, Folded<S>(arrMost, Most) | _alpha.nOpaque) |
                   Renewed<S>(_row.pSum + _nFirst, 2 * _nCells, nFirst);
    if (_nCells > c_nHalf)
        nChanged = nChanged | Renewed<S>(_row.pSum + _nFirst + c_nHalf, 2 * (_nCells - c_nHalf), nSecond);
    return nChanged;
}

template <class S> ZCK_INLINE void LoadGroup(const uint8_t* _pRow, int _nRow, GROUP<S>& _group)
{
    for (size_t n = 0; n < 4; ++n)
        _group.arrRows[n][_nRow] = S::LoadU8(_pRow + n * S::c_nBytes);
}

/// The last pixels of a row, the very last one repeated.
template <class S>
ZCK_INLINE void LoadLast(const uint8_t* _pRow, size_t _nPixels, uint8_t (&_arrPixels)[4 * S::c_nBytes])
{
    memcpy(_arrPixels, _pRow, 4 * _nPixels);
    for (size_t n = _nPixels; n < S::c_nBytes; ++n)
        memcpy(_arrPixels + 4 * n, _pRow + 4 * (_nPixels - 1), 4);
}

template <class S> void Cells(const CELL_ROW& _row)
{
    using I32 = typename S::I32;
    const ALPHA<S> alpha(_row.bAlpha);
    const size_t nPixels = static_cast<size_t>(_row.nPixels), nCells = (nPixels + 3) / 4;
    I32 nChanged(0);
    GROUP<S> group;
    size_t nFirst = 0; // cell
    for (; 4 * (nFirst + S::c_nLanes) <= nPixels; nFirst += S::c_nLanes)
    {
        for (int y = 0; y < 4; ++y)
        {
            LoadGroup<S>(_row.arrRows[y] + 16 * nFirst, y, group);
            for (size_t n = 0; n < 4 * S::c_nBytes; n += 64)
                S::Prefetch(_row.arrRows[y] + 16 * nFirst + n + _row.nNext);
        }
        nChanged = nChanged | PutGroup<S>(_row, alpha, nFirst, S::c_nLanes, group);
    }
    if (nFirst < nCells)
    {
        uint8_t arrPixels[4 * S::c_nBytes];
        for (int y = 0; y < 4; ++y)
        {
            LoadLast<S>(_row.arrRows[y] + 16 * nFirst, nPixels - 4 * nFirst, arrPixels);
            LoadGroup<S>(arrPixels, y, group);
        }
        nChanged = nChanged | PutGroup<S>(_row, alpha, nFirst, nCells - nFirst, group);
    }
    *_row.pChanged = Any(Greater(nChanged, I32(0)) | IsNegative(nChanged));
}

} // namespace UnmixCells
} // namespace
