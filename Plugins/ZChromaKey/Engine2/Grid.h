#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

/// The small grids that a picture is described on: cells of 4x4 pixels, and plate cells of 2x2 cells.

inline constexpr int c_nCell = 4; ///< pixels along the edge of a cell

inline float Clamp01(float _flt)
{
    return _flt < 0 ? 0.0f : _flt > 1 ? 1.0f : _flt;
}

/// The nearest integer to a number from 0 up, halves upward.
inline int Rounded(float _flt)
{
    const float fltHalf = _flt + .5f;
    return static_cast<int>(fltHalf);
}

/// Four floats: blue, green, red, and a weight or a count.
struct alignas(16) VEC4
{
    float b = 0;
    float g = 0;
    float r = 0;
    float w = 0;

    bool operator==(const VEC4&) const = default;
    friend VEC4 operator+(VEC4 _a, VEC4 _b)
    {
        return {_a.b + _b.b, _a.g + _b.g, _a.r + _b.r, _a.w + _b.w};
    }
    friend VEC4 operator-(VEC4 _a, VEC4 _b)
    {
        return {_a.b - _b.b, _a.g - _b.g, _a.r - _b.r, _a.w - _b.w};
    }
    friend VEC4 operator*(VEC4 _a, float _flt)
    {
        return {_a.b * _flt, _a.g * _flt, _a.r * _flt, _a.w * _flt};
    }
    float Max() const
    {
        return std::max(std::max(b, g), r);
    }
    float Min() const
    {
        return std::min(std::min(b, g), r);
    }
};

/// One bit per cell in words of 64, so that erosions and unions take a row of 64 cells at a time. The bits past the
/// width are 0.
class CBitRows
{
public:
    void Resize(int _nWidth, int _nHeight)
    {
        m_nWidth = _nWidth;
        m_nHeight = _nHeight;
        m_nWords = (_nWidth + 63) / 64;
        m_vecBits.assign(static_cast<size_t>(m_nWords) * _nHeight, 0);
    }
    int Width() const
    {
        return m_nWidth;
    }
    int Height() const
    {
        return m_nHeight;
    }
    int Words() const
    {
        return m_nWords;
    }
    uint64_t* Row(int _nRow)
    {
        return m_vecBits.data() + static_cast<ptrdiff_t>(m_nWords) * _nRow;
    }
    const uint64_t* Row(int _nRow) const
    {
        return m_vecBits.data() + static_cast<ptrdiff_t>(m_nWords) * _nRow;
    }
    bool Get(int _nX, int _nY) const
    {
        return Row(_nY)[_nX >> 6] >> (_nX & 63) & 1;
    }
    void Set(int _nX, int _nY, bool _b)
    {
        uint64_t& nWord = Row(_nY)[_nX >> 6];
        const uint64_t nBit = uint64_t{1} << (_nX & 63);
        nWord = _b ? nWord | nBit : nWord & ~nBit;
    }
    /// The bits of word _nWord that are cells of the grid.
    uint64_t Valid(int _nWord) const
    {
        const int nRest = m_nWidth - _nWord * 64;
        return nRest >= 64 ? ~uint64_t{0} : (uint64_t{1} << nRest) - 1;
    }
    void Clear()
    {
        std::fill(m_vecBits.begin(), m_vecBits.end(), 0);
    }
    /// Calls _body(first, end) for each run of cells of a row that are set.
    template <class T> void ForEachRun(int _nRow, const T& _body) const
    {
        for (int nEnd = 0, nFirst = Next(_nRow, 0, 0); nFirst < m_nWidth; nFirst = Next(_nRow, nEnd, 0))
        {
            nEnd = std::min(Next(_nRow, nFirst, ~uint64_t{0}), m_nWidth);
            _body(nFirst, nEnd);
        }
    }
    /// Keeps the cells whose 3x3 neighbours are set as well, _nTimes over; outside the grid counts as set.
    void Erode(int _nTimes, std::vector<uint64_t>& _vecScratch);
    /// What Erode makes, once, of the middle one of three rows of such a grid; the border's rows are given twice.
    void ErodedOnce(const uint64_t* _pAbove, const uint64_t* _pHere, const uint64_t* _pBelow, uint64_t* _pOut) const;
    /// What Erode makes of a word of row _nY alone, _nTimes from 1 to 31.
    uint64_t ErodedWord(int _nY, int _nWord, int _nTimes) const;
    /// The number of cells that are set.
    int Count() const
    {
        int nCount = 0;
        for (const uint64_t nWord : m_vecBits)
            nCount += std::popcount(nWord);
        return nCount;
    }
    bool operator==(const CBitRows&) const = default;

private:
    // The first cell from _nX on that is set, or, with all bits inverted, that is not; beyond the row where there is
    // none.
    int Next(int _nRow, int _nX, uint64_t _nInvert) const
    {
        const uint64_t* const pRow = Row(_nRow);
        int k = _nX >> 6;
        if (k >= m_nWords)
            return m_nWidth;
        uint64_t nWord = (pRow[k] ^ _nInvert) & ~uint64_t{0} << (_nX & 63);
        while (nWord == 0 && ++k < m_nWords)
            nWord = pRow[k] ^ _nInvert;
        return nWord == 0 ? m_nWidth : 64 * k + std::countr_zero(nWord);
    }

    int m_nWidth = 0;
    int m_nHeight = 0;
    int m_nWords = 0;
    std::vector<uint64_t> m_vecBits;
};

/// Where a cell of a fine grid lies between two cells of a grid twice as coarse.
struct BETWEEN
{
    int nFirst;
    int nSecond;
    float fltSecond; ///< weight of the second
};
inline BETWEEN Grid_Between(int _nFine, int _nCoarseCells)
{
    const int nCoarse = _nFine >> 1;
    if (_nFine & 1)
        return {nCoarse, std::min(nCoarse + 1, _nCoarseCells - 1), .25f};
    return {std::max(nCoarse - 1, 0), nCoarse, .75f};
}

/// Cells of a row of a grid from _nFirst on, four floats each, where they lie; beyond its ends as there, then copied.
template <size_t Floats>
const float* Grid_CellsAt(const VEC4* _pRow, int _nWidth, int _nFirst, float (&_arrRoom)[Floats])
{
    constexpr int c_nCells = static_cast<int>(Floats / 4);
    if (_nFirst >= 0 && _nFirst + c_nCells <= _nWidth)
        return &_pRow[_nFirst].b;
    const auto Put = [&](int _nAt, int _nFrom, int _nCount) {
        std::memcpy(_arrRoom + ptrdiff_t{4} * (_nAt - _nFirst), _pRow + _nFrom, sizeof(VEC4) * _nCount);
    };
    const int nIn = std::clamp(_nFirst, 0, _nWidth - 1), nEnd = std::min(_nFirst + c_nCells, _nWidth);
    for (int n = _nFirst; n < nIn; ++n)
        Put(n, 0, 1);
    Put(nIn, nIn, nEnd - nIn);
    for (int n = nEnd; n < _nFirst + c_nCells; ++n)
        Put(n, _nWidth - 1, 1);
    return _arrRoom;
}

/// A grid of VEC4 and its coarser levels, each half the size.
struct UNMIX_PYRAMID
{
    static constexpr int c_nMaxLevels = 13;
    struct LEVEL
    {
        int nWidth = 0;
        int nHeight = 0;
        std::vector<VEC4> vec;
    };
    LEVEL arrLevels[c_nMaxLevels];

    void Resize(int _nWidth, int _nHeight);
    /// Fills what is not known. In: colours times weight, and the weight, 0 to 1, in level 0. Out: the same with
    /// every cell of weight below 1 completed from coarser levels; the weight is then the confidence, which falls by
    /// _fltDecay a level. A coarse cell counts full once a quarter of it is known, so that small known parts reach
    /// far.
    void PushPull(int _nLevels, float _fltDecay);

    /// \name The same in passes, of which the first and the last may be spread over threads
    ///@{
    /// Rows of level 1 out of those of level 0.
    void ReduceRows(int _nFirst, int _nRows);
    /// All between the two.
    void PushPullAbove(int _nLevels, float _fltDecay);
    /// Completes rows of level 0.
    void CompleteRows(int _nFirst, int _nRows, float _fltDecay);
    ///@}

private:
    bool HasAbove(int _nLevel) const
    {
        return arrLevels[_nLevel].nWidth > 1 || arrLevels[_nLevel].nHeight > 1;
    }
    static void Reduce(const LEVEL& _fine, LEVEL& _coarse, int _nFirst, int _nEnd);
    static void Complete(LEVEL& _fine, const LEVEL& _coarse, float _fltDecay, int _nFirst, int _nEnd);
};
