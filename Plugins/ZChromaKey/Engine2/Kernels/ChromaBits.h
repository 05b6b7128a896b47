#pragma once

#include "Simd/Simd.h"
#include "ZChromaKey/Engine2/Kernels/ChromaKernels.h"

#if defined(_MSC_VER)
#include <intrin.h>
#endif

/// Which cells of a row are needed, and what follows from that for the rows of samples.

/// Cells along a row of a tile: those that a word has bits for.
inline constexpr int c_nChromaTile = 64;

/// The place of the lowest bit that is set; there is one.
ZCK_INLINE int ChromaLowestBit(uint64_t _nBits)
{
#if defined(_MSC_VER)
    unsigned long nBit = 0;
    _BitScanForward64(&nBit, _nBits);
    return static_cast<int>(nBit);
#else
    return __builtin_ctzll(_nBits);
#endif
}

/// Calls _fnRun(first, end) for runs of bits that are set.
template <class Fn> ZCK_INLINE void ForBitRuns(uint64_t _nBits, Fn&& _fnRun)
{
    while (_nBits)
    {
        const int nFirst = ChromaLowestBit(_nBits);
        const uint64_t nFilled = _nBits | ((uint64_t{1} << nFirst) - 1);
        const int nEnd = ~nFilled ? ChromaLowestBit(~nFilled) : 64;
        _fnRun(nFirst, nEnd);
        _nBits &= nFilled + 1; // a carry runs through the ones up to nEnd; from 64 on nothing is left
    }
}

/// The cells of a tile's row that are written, by their rows of pixels: mixed cells, of their neighbours those rows
/// that are next to them, others that are asked for, and gaps of one or two cells between these, across which it is
/// cheaper to go on than to stop.
struct CHROMA_NEEDED
{
    uint64_t nTop = 0;    ///< of the first row of pixels
    uint64_t nMiddle = 0; ///< of the second and the third
    uint64_t nBottom = 0;

    ZCK_INLINE uint64_t Any() const
    {
        return nTop | nBottom; // these have the middle in them
    }
    /// _nPixelRow: of any cell.
    ZCK_INLINE uint64_t Row(int _nPixelRow) const
    {
        const int n = _nPixelRow & 3;
        return n == 0 ? nTop : n == 3 ? nBottom : nMiddle;
    }
};

/// The cells of a tile that are in the picture.
ZCK_INLINE uint64_t ChromaValid(const CHROMA_JOB& _job, int _nWord)
{
    const int nCells = _job.nCellColumns - _nWord * c_nChromaTile;
    return nCells < 64 ? (uint64_t{1} << nCells) - 1 : ~uint64_t{0};
}

/// Mixed cells of a tile's row and those to the left and right of them; none outside of the picture.
ZCK_INLINE uint64_t ChromaMixed(const CHROMA_JOB& _job, int _nWord, int _nY)
{
    if (_nY < 0 || _nY >= _job.nCellRows)
        return 0;
    const uint64_t* const pRow = _job.pMixed + static_cast<ptrdiff_t>(_nY) * _job.nWords + _nWord;
    const uint64_t nLeft = _nWord > 0 ? pRow[-1] : 0, nRight = _nWord + 1 < _job.nWords ? pRow[1] : 0;
    return (pRow[0] | pRow[0] << 1 | pRow[0] >> 1 | nLeft >> 63 | nRight << 63) & ChromaValid(_job, _nWord);
}

ZCK_INLINE CHROMA_NEEDED ChromaNeeded(const CHROMA_JOB& _job, int _nWord, int _nY)
{
    const auto Filled = [&](uint64_t _n) {
        return (_n | (_n << 1 & (_n >> 1 | _n >> 2)) | (_n << 2 & _n >> 1)) & ChromaValid(_job, _nWord);
    };
    uint64_t nOwn = ChromaMixed(_job, _nWord, _nY);
    if (_job.pSolid)
        nOwn |= _job.pSolid[static_cast<ptrdiff_t>(_nY) * _job.nWords + _nWord];
    return {Filled(nOwn | ChromaMixed(_job, _nWord, _nY - 1)), Filled(nOwn),
            Filled(nOwn | ChromaMixed(_job, _nWord, _nY + 1))};
}

/// The needed cells of a row of cells and of those above and below it, row after row.
class CChromaNeeds
{
public:
    ZCK_INLINE CChromaNeeds(const CHROMA_JOB& _job, int _nWord, int _nFirst, int _nRows)
        : m_job(_job)
        , m_nWord(_nWord)
        , m_nFirst(_nFirst)
        , m_nEnd(_nFirst + _nRows)
        , m_nY(_nFirst - 2)
        , m_arr{{}, {}, RowNeeded(_nFirst - 1)}
    {
    }
    ZCK_INLINE void Next()
    {
        ++m_nY;
        m_arr[0] = m_arr[1];
        m_arr[1] = m_arr[2];
        m_arr[2] = RowNeeded(m_nY + 1);
    }
    /// None of these rows needs anything, and none of those below does.
    ZCK_INLINE bool IsOver() const
    {
        return m_nY > m_nEnd + 1;
    }
    ZCK_INLINE bool IsAny() const
    {
        return (m_arr[0].Any() | m_arr[1].Any() | m_arr[2].Any()) != 0;
    }
    /// The row in the middle; at first it is two above the first.
    ZCK_INLINE int Row() const
    {
        return m_nY;
    }
    /// Of rows of pixels that are in these rows of cells.
    ZCK_INLINE uint64_t Of(int _nFirstPixel, int _nLastPixel) const
    {
        uint64_t n = 0;
        for (int y = _nFirstPixel; y <= _nLastPixel; ++y)
            n |= m_arr[(y >> 2) - m_nY + 1].Row(y);
        return n;
    }

private:
    ZCK_INLINE CHROMA_NEEDED RowNeeded(int _nY) const
    {
        if (_nY < 0 || _nY >= m_job.nCellRows)
            return {};
        if (_nY >= m_nFirst && _nY < m_nEnd)
            return ChromaNeeded(m_job, m_nWord, _nY);
        if (m_job.bRim && _nY == m_nFirst - 1)
            return {0, 0, ChromaMixed(m_job, m_nWord, m_nFirst)};
        if (m_job.bRim && _nY == m_nEnd)
            return {ChromaMixed(m_job, m_nWord, m_nEnd - 1), 0, 0};
        return {};
    }

    const CHROMA_JOB& m_job;
    int m_nWord;
    int m_nFirst;
    int m_nEnd;
    int m_nY;
    CHROMA_NEEDED m_arr[3];
};
