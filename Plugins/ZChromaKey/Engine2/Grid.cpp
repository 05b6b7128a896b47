#include "ZChromaKey/Engine2/Grid.h"

void CBitRows::Erode(int _nTimes, std::vector<uint64_t>& _vecScratch)
{
    _vecScratch.resize(m_vecBits.size());
    const int nLast = m_nWords - 1;
    for (; _nTimes > 0; --_nTimes)
    {
        for (int y = 0; y < m_nHeight; ++y)
        {
            uint64_t* const pRow = Row(y);
            uint64_t* const pOut = _vecScratch.data() + static_cast<ptrdiff_t>(m_nWords) * y;
            pRow[nLast] |= ~Valid(nLast);
            for (int k = 0; k < m_nWords; ++k)
            {
                const uint64_t nLeft = pRow[k] << 1 | (k > 0 ? pRow[k - 1] >> 63 : 1);
                const uint64_t nRight = pRow[k] >> 1 | (k < nLast ? pRow[k + 1] << 63 : uint64_t{1} << 63);
                pOut[k] = pRow[k] & nLeft & nRight;
            }
        }
        const auto Scratch = [&](int _y) { return _vecScratch.data() + static_cast<ptrdiff_t>(m_nWords) * _y; };
        for (int y = 0; y < m_nHeight; ++y)
        {
            const uint64_t* const pAbove = Scratch(std::max(0, y - 1));
            const uint64_t* const pHere = Scratch(y);
            const uint64_t* const pBelow = Scratch(std::min(m_nHeight - 1, y + 1));
            for (int k = 0; k < m_nWords; ++k)
                Row(y)[k] = pAbove[k] & pHere[k] & pBelow[k];
        }
    }
    for (int y = 0; y < m_nHeight; ++y)
        Row(y)[nLast] &= Valid(nLast);
}

void CBitRows::ErodedOnce(const uint64_t* _pAbove, const uint64_t* _pHere, const uint64_t* _pBelow,
                          uint64_t* _pOut) const
{
    const int nLast = m_nWords - 1;
    const auto Word = [&](int _k) {
        return _k > nLast ? ~uint64_t{0} : (_pAbove[_k] & _pHere[_k] & _pBelow[_k]) | ~Valid(_k);
    };
    uint64_t nBefore = ~uint64_t{0}, nHere = Word(0);
    for (int k = 0; k <= nLast; ++k)
    {
        const uint64_t nAfter = Word(k + 1);
        _pOut[k] = nHere & (nHere << 1 | nBefore >> 63) & (nHere >> 1 | nAfter << 63) & Valid(k);
        nBefore = nHere;
        nHere = nAfter;
    }
}

uint64_t CBitRows::ErodedWord(int _nY, int _nWord, int _nTimes) const
{
    const int nWindow = 2 * _nTimes + 1;
    const int nFirst = std::max(_nY - _nTimes, 0), nEnd = std::min(_nY + _nTimes + 1, m_nHeight);
    // Of the cells of a word, those that are set in all rows.
    const auto Word = [&](int _k) {
        uint64_t nAll = ~uint64_t{0};
        for (int y = nFirst; y < nEnd && _k >= 0 && _k < m_nWords; ++y)
            nAll &= Row(y)[_k];
        return _k == m_nWords - 1 ? nAll | ~Valid(_k) : nAll;
    };
    const uint64_t nBefore = Word(_nWord - 1), nHere = Word(_nWord), nAfter = Word(_nWord + 1);
    // Moved so that a cell's window ends at its bit; then each bit takes in ever more of those before it.
    uint64_t nHigh = nHere >> _nTimes | nAfter << (64 - _nTimes);
    uint64_t nLow = nBefore >> _nTimes | nHere << (64 - _nTimes);
    for (int nWide = 1; nWide < nWindow;)
    {
        const int nMore = std::min(nWide, nWindow - nWide);
        nHigh &= nHigh << nMore | nLow >> (64 - nMore);
        nLow &= nLow << nMore | ~(~uint64_t{0} << nMore);
        nWide += nMore;
    }
    return nHigh & Valid(_nWord);
}

void UNMIX_PYRAMID::Resize(int _nWidth, int _nHeight)
{
    for (LEVEL& level : arrLevels)
    {
        level.nWidth = _nWidth;
        level.nHeight = _nHeight;
        level.vec.assign(static_cast<size_t>(_nWidth) * _nHeight, {});
        _nWidth = (_nWidth + 1) / 2;
        _nHeight = (_nHeight + 1) / 2;
    }
}

void UNMIX_PYRAMID::Reduce(const LEVEL& _fine, LEVEL& _coarse, int _nFirst, int _nEnd)
{
    for (int y = _nFirst; y < _nEnd; ++y)
    {
        const VEC4* const pAbove = _fine.vec.data() + static_cast<ptrdiff_t>(2 * y) * _fine.nWidth;
        const VEC4* const pBelow = 2 * y + 1 < _fine.nHeight ? pAbove + _fine.nWidth : pAbove;
        VEC4* const pOut = _coarse.vec.data() + static_cast<ptrdiff_t>(y) * _coarse.nWidth;
        for (int x = 0; x < _coarse.nWidth; ++x)
        {
            const int nRight = std::min(2 * x + 1, _fine.nWidth - 1);
            const VEC4 mean = ((pAbove[2 * x] + pBelow[2 * x]) + (pAbove[nRight] + pBelow[nRight])) * .25f;
            pOut[x] = mean * (std::min(4 * mean.w, 1.0f) / std::max(mean.w, 1e-9f));
        }
    }
}

void UNMIX_PYRAMID::Complete(LEVEL& _fine, const LEVEL& _coarse, float _fltDecay, int _nFirst, int _nEnd)
{
    for (int y = _nFirst; y < _nEnd; ++y)
    {
        const BETWEEN rows = Grid_Between(y, _coarse.nHeight);
        const VEC4* const pAbove = _coarse.vec.data() + static_cast<ptrdiff_t>(rows.nFirst) * _coarse.nWidth;
        const VEC4* const pBelow = _coarse.vec.data() + static_cast<ptrdiff_t>(rows.nSecond) * _coarse.nWidth;
        const float fltBelow = _fltDecay * rows.fltSecond;
        const float fltAbove = _fltDecay - fltBelow;
        VEC4* const pOut = _fine.vec.data() + static_cast<ptrdiff_t>(y) * _fine.nWidth;
        for (int x = 0; x < _fine.nWidth; ++x)
        {
            if (pOut[x].w >= 1)
                continue;
            const BETWEEN cols = Grid_Between(x, _coarse.nWidth);
            const VEC4 first = pAbove[cols.nFirst] * fltAbove + pBelow[cols.nFirst] * fltBelow;
            const VEC4 second = pAbove[cols.nSecond] * fltAbove + pBelow[cols.nSecond] * fltBelow;
            const VEC4 coarse = first * (1 - cols.fltSecond) + second * cols.fltSecond;
            pOut[x] = pOut[x] + coarse * (1 - pOut[x].w);
        }
    }
}

void UNMIX_PYRAMID::ReduceRows(int _nFirst, int _nRows)
{
    if (HasAbove(0))
        Reduce(arrLevels[0], arrLevels[1], _nFirst, _nFirst + _nRows);
}

void UNMIX_PYRAMID::PushPullAbove(int _nLevels, float _fltDecay)
{
    int nTop = 1;
    for (; nTop < std::min(_nLevels, c_nMaxLevels - 1) && HasAbove(nTop); ++nTop)
        Reduce(arrLevels[nTop], arrLevels[nTop + 1], 0, arrLevels[nTop + 1].nHeight);
    for (int n = nTop - 1; n >= 1; --n)
        Complete(arrLevels[n], arrLevels[n + 1], _fltDecay, 0, arrLevels[n].nHeight);
}

void UNMIX_PYRAMID::CompleteRows(int _nFirst, int _nRows, float _fltDecay)
{
    if (HasAbove(0))
        Complete(arrLevels[0], arrLevels[1], _fltDecay, _nFirst, _nFirst + _nRows);
}

void UNMIX_PYRAMID::PushPull(int _nLevels, float _fltDecay)
{
    ReduceRows(0, arrLevels[1].nHeight);
    PushPullAbove(_nLevels, _fltDecay);
    CompleteRows(0, arrLevels[0].nHeight, _fltDecay);
}
