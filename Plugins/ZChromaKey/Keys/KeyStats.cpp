#include "ZChromaKey/Keys/KeyStats.h"

#include <algorithm>
#include <cmath>

namespace
{

/// Least half-widths in levels, by byte of a pixel: a backdrop varies more in brightness than in colour.
struct LEAST
{
    int arrLevels[3];
};
constexpr LEAST c_leastRGB = {{12, 12, 12}};
constexpr LEAST c_leastHLS = {{8, 32, 32}};
constexpr LEAST c_leastYUV = {{12, 7, 7}};
constexpr int c_nMost = 80;

const int (&LeastLevels(eCK_Type _eSpace))[3]
{
    return (_eSpace == eCKT_RGB ? c_leastRGB : _eSpace == eCKT_HLS ? c_leastHLS : c_leastYUV).arrLevels;
}

/// The channel of a key that holds a byte of a pixel, and the other way round.
constexpr int Swapped(int _nIndex)
{
    return 2 - _nIndex;
}

} // namespace

void CKeyStats::Add(const uint8_t* _pPixels, int _nPixels)
{
    for (int n = 0; n < _nPixels; ++n)
        for (int i = 0; i < 3; ++i)
            ++m_arrCounts[i][_pPixels[4 * n + i]];
    m_nPixels += static_cast<uint64_t>(_nPixels);
}

void CKeyStats::Add(const CKeyStats& _stats)
{
    for (int i = 0; i < 3; ++i)
        for (int nValue = 0; nValue < 256; ++nValue)
            m_arrCounts[i][nValue] += _stats.m_arrCounts[i][nValue];
    m_nPixels += _stats.m_nPixels;
}

int CKeyStats::Percentile(int _nByte, uint64_t _nPercent) const
{
    uint64_t nBelow = 0;
    int nValue = 0;
    for (; nValue < 255; ++nValue)
    {
        nBelow += m_arrCounts[_nByte][nValue];
        if (100 * nBelow >= _nPercent * m_nPixels)
            break;
    }
    return nValue;
}

KEY_LIGHT CKeyStats::Light(eCK_Type _eSpace, const CKUtils::CALC_KEY& _sample) const
{
    int nByte = 0; // luma of YUV, the strongest channel of RGB
    for (int i = 1; _eSpace == eCKT_RGB && i < 3; ++i)
        nByte = Median(i) > Median(nByte) ? i : nByte;
    const int nBlack = _eSpace == eCKT_YUV ? 16 : 0;
    const double dblSample = std::max(255 * _sample.dValue[Swapped(nByte)] - nBlack, 1.0);
    return {std::max(Percentile(nByte, 1) - nBlack, 1) / dblSample, (Percentile(nByte, 99) - nBlack) / dblSample};
}

/// The distance from the median that four fifths of the pixels keep to.
int CKeyStats::Spread(int _nByte, int _nMedian) const
{
    uint64_t nInside = m_arrCounts[_nByte][_nMedian];
    int nSpread = 0;
    while (5 * nInside < 4 * m_nPixels)
    {
        ++nSpread;
        nInside += _nMedian >= nSpread ? m_arrCounts[_nByte][_nMedian - nSpread] : 0;
        nInside += _nMedian + nSpread <= 255 ? m_arrCounts[_nByte][_nMedian + nSpread] : 0;
    }
    return nSpread;
}

CKUtils::CALC_KEY CKeyStats::Box(eCK_Type _eSpace) const
{
    CKUtils::CALC_KEY key = {{0, 0, 0, 1}, {0, 0, 0, CKUtils::c_dblMinDelta}, 0};
    for (int i = 0; i < 3; ++i)
    {
        const int nMedian = Median(i);
        const int nWide = std::min(3 * Spread(i, nMedian), c_nMost);
        key.dValue[Swapped(i)] = nMedian / 255.0;
        key.dDelta[Swapped(i)] = nWide / 255.0;
    }
    KeyStats_Widen(&key, _eSpace);
    return key;
}

bool CKeyStats::IsLike(const CKeyStats& _other, eCK_Type _eSpace) const
{
    const CKUtils::CALC_KEY key = Box(_eSpace);
    for (int i = 0; i < 3; ++i)
        if (std::abs(_other.Median(i) / 255.0 - key.dValue[Swapped(i)]) > key.dDelta[Swapped(i)])
            return false;
    return true;
}

void KeyStats_Widen(CKUtils::CALC_KEY* _pKey, eCK_Type _eSpace)
{
    for (int i = 0; i < 3; ++i)
        _pKey->dDelta[i] = std::max(_pKey->dDelta[i], LeastLevels(_eSpace)[Swapped(i)] / 255.0);
}
