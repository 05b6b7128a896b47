#include "ZChromaKey/Engine2/Fineness.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr int c_nEvery = 3;            // every third cell of a row is measured
constexpr int c_nRowsEnough = 64;      // in about so many rows, evenly spread
constexpr float c_fltLeastCells = 32;  // fewer cells say nothing
constexpr float c_fltShared = .72f;    // fineness up to which chroma surely was shared
constexpr float c_fltNotShared = .82f; // from which it was not
constexpr float c_fltRepeated = .4f;   // differences within a sample, as part of those between samples, up to this
constexpr float c_fltForget = .875f;   // what the pictures before count, with each new one

struct LUV
{
    int l;
    int u;
    int v;
};
// In 256ths of a level.
LUV LuvOf(const uint8_t* _pPixel)
{
    const int nLuma = 18 * _pPixel[0] + 183 * _pPixel[1] + 55 * _pPixel[2];
    return {nLuma, 256 * _pPixel[0] - nLuma, 256 * _pPixel[2] - nLuma};
}

// Of four pixels that lie a stride apart.
void Add(const uint8_t* _pFirst, ptrdiff_t _nStride, FINENESS_SUMS::AXIS& _axis)
{
    LUV arr[4];
    for (int n = 0; n < 4; ++n)
        arr[n] = LuvOf(_pFirst + n * _nStride);
    for (int n = 0; n < 3; ++n)
    {
        _axis.luma.nFirst += std::abs(arr[n + 1].l - arr[n].l);
        const int nChroma = std::abs(arr[n + 1].u - arr[n].u) + std::abs(arr[n + 1].v - arr[n].v);
        _axis.chroma.nFirst += nChroma;
        _axis.nChromaWithin += n == 1 ? 0 : nChroma;
    }
    for (int n = 1; n < 3; ++n)
    {
        const auto Second = [&](int LUV::*_p) { return std::abs(arr[n + 1].*_p - 2 * (arr[n].*_p) + arr[n - 1].*_p); };
        _axis.luma.nSecond += Second(&LUV::l);
        _axis.chroma.nSecond += Second(&LUV::u) + Second(&LUV::v);
    }
}

float Ratio(const FINENESS_MEANS& _axis)
{
    const float fltLuma = _axis.fltChromaFirst * _axis.fltLumaSecond;
    return fltLuma > 0 ? _axis.fltChromaSecond * _axis.fltLumaFirst / fltLuma : 1;
}

// Of the three differences along a cell two are within pairs of pixels that may have shared a sample, one is between
// the pairs.
bool IsRepeated(const FINENESS_MEANS& _axis)
{
    const float fltBetween = _axis.fltChromaFirst - _axis.fltChromaWithin;
    return .5f * _axis.fltChromaWithin < c_fltRepeated * fltBetween;
}

void Learn(const FINENESS_SUMS::AXIS& _seen, FINENESS_MEANS* _pMeans)
{
    const auto Take = [](float& _flt, int64_t _n) { _flt = _flt * c_fltForget + static_cast<float>(_n); };
    Take(_pMeans->fltLumaFirst, _seen.luma.nFirst);
    Take(_pMeans->fltLumaSecond, _seen.luma.nSecond);
    Take(_pMeans->fltChromaFirst, _seen.chroma.nFirst);
    Take(_pMeans->fltChromaSecond, _seen.chroma.nSecond);
    Take(_pMeans->fltChromaWithin, _seen.nChromaWithin);
}

} // namespace

int Fineness_RowStep(int _nCellRows)
{
    return std::max(_nCellRows / c_nRowsEnough, 1);
}

void Fineness_TakePixels(const uint8_t* _pPixels0, ptrdiff_t _nStride, const UNMIX_CELLS& _cells,
                         const UNMIX_PICTURE& _picture, uint8_t* _pRow0)
{
    const int nEveryRow = Fineness_RowStep(_cells.nHeight);
    for (int y = 0; (y + 1) * c_nCell <= _picture.nHeight; y += nEveryRow, _pPixels0 += _nStride)
    {
        const uint8_t* pFrom = _pPixels0;
        const uint8_t* const pEnd = pFrom + ptrdiff_t{16} * _cells.nWidth;
        for (int x = y / nEveryRow % c_nEvery; (x + 1) * c_nCell <= _picture.nWidth && pFrom + 32 <= pEnd;
             x += c_nEvery, pFrom += 32)
        {
            uint8_t* const pTo = _pRow0 + y * c_nCell * _picture.nStride + ptrdiff_t{4} * c_nCell * x;
            std::memcpy(pTo + _picture.nStride, pFrom, 16);
            std::memcpy(pTo + 4, pFrom + 16, 4);
            std::memcpy(pTo + 2 * _picture.nStride + 4, pFrom + 20, 4);
            std::memcpy(pTo + 3 * _picture.nStride + 4, pFrom + 24, 4);
        }
    }
}

void Fineness_Pass(UNMIX_STATE& _state, const FIELD_STATE& _field, const UNMIX_PICTURE& _picture, int _nFirst,
                   int _nRows)
{
    const int nEveryRow = Fineness_RowStep(_field.cells.nHeight);
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
    {
        FINENESS_SUMS sums;
        if (y % nEveryRow == 0 && (y + 1) * c_nCell <= _picture.nHeight)
            for (int x = y / nEveryRow % c_nEvery; (x + 1) * c_nCell <= _picture.nWidth; x += c_nEvery)
                if (_field.bitsMixed.Get(x, y))
                {
                    const uint8_t* const pCell = _picture.Row(y * c_nCell) + ptrdiff_t{4} * c_nCell * x;
                    Add(pCell + _picture.nStride, 4, sums.across);
                    Add(pCell + 4, _picture.nStride, sums.down);
                    ++sums.nCells;
                }
        _state.vecFineness[static_cast<size_t>(y)] = sums;
    }
}

void Fineness_Learn(UNMIX_STATE& _state)
{
    FINENESS_SUMS all;
    for (const FINENESS_SUMS& row : _state.vecFineness)
        all += row;
    FINENESS_STATE& fineness = _state.fineness;
    fineness.fltCells = fineness.fltCells * c_fltForget + static_cast<float>(all.nCells);
    Learn(all.across, &fineness.across);
    Learn(all.down, &fineness.down);
}

CHROMA_FINENESS Fineness_Of(const UNMIX_STATE& _state)
{
    const FINENESS_STATE& fineness = _state.fineness;
    if (fineness.fltCells < c_fltLeastCells)
        return {};
    const bool bRowsShare = IsRepeated(fineness.down) || Ratio(fineness.down) < (c_fltNotShared + c_fltShared) / 2;
    if (IsRepeated(fineness.across))
        return {1, bRowsShare, true};
    const float fltOver = c_fltNotShared - Ratio(fineness.across);
    return {Clamp01(fltOver / (c_fltNotShared - c_fltShared)), bRowsShare, false};
}

UNMIX_SAMPLES Fineness_Samples(const UNMIX_STATE& _state, const UNMIX_PICTURE& _picture)
{
    constexpr float c_fltGain = .5f; // a part of it is in chroma that has been made smooth
    const CHROMA_FINENESS fineness = Fineness_Of(_state);
    if (fineness.fltShared <= 0)
        return {};
    return Chroma_PixelSamples(_picture, fineness.bRowsShare, !fineness.bRepeated,
                               fineness.bRepeated ? 1.0f : c_fltGain * fineness.fltShared);
}
