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

/// The cells of a tile's row that are written: mixed ones, their neighbours, others that are asked for, and gaps of one
/// or two cells between these, across which it is cheaper to go on than to stop.
ZCK_INLINE uint64_t ChromaNeeded(const CHROMA_JOB& _job, int _nWord, int _nY)
{
    uint64_t nHere = 0, nLeft = 0, nRight = 0;
    for (int y = _nY > 0 ? _nY - 1 : 0; y <= _nY + 1 && y < _job.nCellRows; ++y)
    {
        const uint64_t* const pRow = _job.pMixed + static_cast<ptrdiff_t>(y) * _job.nWords + _nWord;
        nHere |= pRow[0];
        nLeft |= _nWord > 0 ? pRow[-1] : 0;
        nRight |= _nWord + 1 < _job.nWords ? pRow[1] : 0;
    }
    uint64_t n = nHere | nHere << 1 | nHere >> 1 | nLeft >> 63 | nRight << 63;
    if (_job.pSolid)
        n |= _job.pSolid[static_cast<ptrdiff_t>(_nY) * _job.nWords + _nWord];
    n |= (n << 1 & (n >> 1 | n >> 2)) | (n << 2 & n >> 1);
    const int nCells = _job.nCellColumns - _nWord * c_nChromaTile;
    return nCells < 64 ? n & ((uint64_t{1} << nCells) - 1) : n;
}

/// The needed cells of a row of cells and of those above and below it, row after row.
class CChromaNeeds
{
public:
    ZCK_INLINE CChromaNeeds(const CHROMA_JOB& _job, int _nWord, int _nFirst, int _nRows)
        : m_job(_job)
        , m_nWord(_nWord)
        , m_nY(_nFirst - 1)
        , m_nEnd(_nFirst + _nRows)
        , m_arr{0, 0, ChromaNeeded(_job, _nWord, _nFirst)}
    {
    }
    ZCK_INLINE void Next()
    {
        ++m_nY;
        m_arr[0] = m_arr[1];
        m_arr[1] = m_arr[2];
        m_arr[2] = m_nY + 1 < m_nEnd ? ChromaNeeded(m_job, m_nWord, m_nY + 1) : 0;
    }
    ZCK_INLINE bool IsAny() const
    {
        return (m_arr[0] | m_arr[1] | m_arr[2]) != 0;
    }
    /// The row in the middle; at first it is the one above the first.
    ZCK_INLINE int Row() const
    {
        return m_nY;
    }
    /// Of the rows of cells that some rows of pixels are in.
    ZCK_INLINE uint64_t Of(int _nFirstPixel, int _nLastPixel) const
    {
        uint64_t n = 0;
        for (int y = _nFirstPixel >> 2; y <= _nLastPixel >> 2; ++y)
            n |= m_arr[y - m_nY + 1];
        return n;
    }

private:
    const CHROMA_JOB& m_job;
    int m_nWord;
    int m_nY;
    int m_nEnd;
    uint64_t m_arr[3];
};
