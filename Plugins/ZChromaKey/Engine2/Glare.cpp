#include "ZChromaKey/Engine2/Glare.h"

namespace
{
constexpr int c_nMostReach = 55; // the sums of four blurs fit 31 bits

// Plate cells each way that a blur takes in; two blurs are a tent. Upright pictures have that of wide ones.
int ReachOf(const UNMIX_STATE& _state)
{
    const int nRows = _state.nPlateHeight * _state.nFields;
    return std::clamp((_state.nPlateWidth + nRows + 22) / 44, 1, c_nMostReach);
}

int ReachAcross(const UNMIX_STATE& _state)
{
    return std::max(ReachOf(_state) / _state.nFields, 1);
}

// How many cells of each plate cell of a row are backdrop, 0 to 4.
void CountRow(const CBitRows& _bits, int _nRow, int _nWidth, int32_t* _pCounts)
{
    // Bits in pairs become their sums.
    const auto InPairs = [](uint64_t _n) { return _n - (_n >> 1 & 0x5555555555555555); };
    const uint64_t* const pUpper = _bits.Row(2 * _nRow);
    const uint64_t* const pLower = _bits.Row(std::min(2 * _nRow + 1, _bits.Height() - 1));
    for (int k = 0; k < _bits.Words(); ++k)
    {
        const uint64_t nUpper = InPairs(pUpper[k]), nLower = InPairs(pLower[k]);
        for (int x = 32 * k; x < std::min(32 * k + 32, _nWidth); ++x)
            _pCounts[x] = static_cast<int32_t>((nUpper >> x % 32 * 2 & 3) + (nLower >> x % 32 * 2 & 3));
    }
    if (_bits.Width() % 2 != 0) // the last one has half of its cells
        _pCounts[_nWidth - 1] *= 2;
}

// Sums over _nReach numbers each way; beyond the ends the numbers are those at the ends.
void BlurRow(const int32_t* _pIn, int _nWidth, int _nReach, int32_t* _pOut)
{
    const int nLast = _nWidth - 1;
    int32_t nSum = (_nReach + 1) * _pIn[0];
    for (int x = 1; x <= _nReach; ++x)
        nSum += _pIn[std::min(x, nLast)];
    // Only near the ends numbers are missing.
    const int nFirst = std::min(_nReach, _nWidth), nEnd = std::max(nLast - _nReach, nFirst);
    const auto Step = [&](int _nX, int _nNext, int _nPast) {
        _pOut[_nX] = nSum;
        nSum += _pIn[_nNext] - _pIn[_nPast];
    };
    for (int x = 0; x < nFirst; ++x)
        Step(x, std::min(x + _nReach + 1, nLast), 0);
    for (int x = nFirst; x < nEnd; ++x)
        Step(x, x + _nReach + 1, x - _nReach);
    for (int x = nEnd; x < _nWidth; ++x)
        Step(x, nLast, std::max(x - _nReach, 0));
}
} // namespace

void Glare_Pass(UNMIX_STATE& _state, const FIELD_STATE& _field, int _nFirst, int _nRows)
{
    const int nWidth = _state.nPlateWidth, nReach = ReachOf(_state);
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
    {
        int32_t* const pOnce = &_state.arrGlare[1][static_cast<size_t>(y) * nWidth];
        int32_t* const pRow = &_state.arrGlare[0][static_cast<size_t>(y) * nWidth];
        CountRow(_field.bitsSure, y, nWidth, pRow);
        BlurRow(pRow, nWidth, nReach, pOnce);
        BlurRow(pOnce, nWidth, nReach, pRow);
    }
}

void Glare_AcrossPass(UNMIX_STATE& _state, FIELD_STATE& _field, int _nFirst, int _nColumns)
{
    const int nReach = ReachAcross(_state);
    const auto Blur = [&](const std::vector<int32_t>& _vecIn, std::vector<int32_t>& _vecOut) {
        _state.pKernels->pfnBlur(
            {&_vecIn[_nFirst], &_vecOut[_nFirst], _state.nPlateWidth, _nColumns, _state.nPlateHeight, nReach});
    };
    Blur(_state.arrGlare[0], _state.arrGlare[1]);
    Blur(_state.arrGlare[1], _state.arrGlare[0]);
    const int nAlong = 2 * ReachOf(_state) + 1, nAcross = 2 * nReach + 1;
    const float fltShare = c_nGlareSteps / (4.0f * static_cast<float>(nAlong * nAlong * nAcross * nAcross));
    for (int y = 0; y < _state.nPlateHeight; ++y)
    {
        const size_t nAt = static_cast<size_t>(y) * _state.nPlateWidth + _nFirst;
        const int32_t* const pRow = &_state.arrGlare[0][nAt];
        std::transform(pRow, pRow + _nColumns, &_field.vecGlare[nAt],
                       [&](int32_t _n) { return static_cast<uint8_t>(Rounded(static_cast<float>(_n) * fltShare)); });
    }
}
