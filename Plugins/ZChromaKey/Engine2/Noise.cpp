#include "ZChromaKey/Engine2/Noise.h"

#include <cmath>

namespace
{
constexpr float c_arrWedges[] = {1, 1.5f, 2, 2.5f, 3};

float DifferenceOf(const uint8_t* _pPixel, const CELL_BACKDROP& _back)
{
    const auto b = static_cast<float>(_pPixel[0]), g = static_cast<float>(_pPixel[1]),
               r = static_cast<float>(_pPixel[2]);
    const KEY_FORMS& key = *_back.pKey;
    const float fltX = key.X(b, g, r);
    return fltX - key.fltWedge * std::abs(key.Z(b, g, r) - _back.fltRho * fltX);
}

// What each wedge leaves half open of the flat cells inside bodies.
struct OPEN
{
    float arrOpen[5] = {};
    float fltCells = 0;
};

void AddOpen(OPEN& _open, const CELL_BACKDROP& _back, const VEC4& _mean)
{
    const KEY_FORMS& key = *_back.pKey;
    const float fltX = key.X(_mean.b, _mean.g, _mean.r);
    const float fltZ = std::abs(key.Z(_mean.b, _mean.g, _mean.r) - _back.fltRho * fltX);
    ++_open.fltCells;
    for (int k = 0; k < 5; ++k)
    {
        const float fltAlpha = 1 - (fltX - c_arrWedges[k] * fltZ) / _back.fltX;
        if (fltAlpha > .05f && fltAlpha < .95f)
            _open.arrOpen[k] += 1 - fltAlpha;
    }
}

float WedgeOf(const OPEN& _open, bool _bGreen)
{
    const int nMost = _bGreen ? 2 : 4;
    const float* const p = _open.arrOpen;
    const float fltGain = p[0] - p[nMost];
    if (p[0] <= .02f * _open.fltCells + 4 || fltGain < .3f * p[0])
        return 1; // little is open, or no wedge closes it
    int k = 0;
    while (k < nMost && p[k] - p[nMost] > .15f * fltGain + .0005f * _open.fltCells)
        ++k;
    return c_arrWedges[k];
}
} // namespace

void Noise_Pass(UNMIX_STATE& _state, const FIELD_STATE& _field, const UNMIX_PICTURE& _picture, int _nFirst, int _nRows)
{
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
    {
        float fltSum = 0, fltCount = 0;
        if (y % 3 == 1 && y + 1 < _field.cells.nHeight && y * c_nCell < _picture.nHeight)
            for (int x = 1; x < _field.cells.nWidth - 1; x += 3)
                if (_field.bitsSure.Get(x, y))
                {
                    const CELL_BACKDROP back = Plate_Backdrop(_state, x, y);
                    const uint8_t* const pPixel = _picture.Row(y * c_nCell) + ptrdiff_t{4} * c_nCell * x;
                    fltSum += std::abs(DifferenceOf(pPixel, back) - DifferenceOf(pPixel + 8, back));
                    ++fltCount;
                }
        _state.vecNoise[2 * static_cast<size_t>(y)] = fltSum;
        _state.vecNoise[2 * static_cast<size_t>(y) + 1] = fltCount;
    }
}

void Noise_Learn(UNMIX_STATE& _state)
{
    float fltSum = 0, fltCount = 0;
    for (size_t n = 0; n < _state.vecNoise.size(); n += 2)
    {
        fltSum += _state.vecNoise[n];
        fltCount += _state.vecNoise[n + 1];
    }
    if (fltCount <= 16)
        return;
    const float fltNoise = fltSum / fltCount * .886f;
    _state.fltNoise = _state.bNoiseKnown ? _state.fltNoise + (fltNoise - _state.fltNoise) * .2f : fltNoise;
    _state.bNoiseKnown = true;
}

void Wedge_Choose(UNMIX_STATE& _state, FIELD_STATE& _field)
{
    CBitRows& bits = _state.bitsScratch;
    for (int y = 0; y < bits.Height(); ++y)
        for (int k = 0; k < bits.Words(); ++k)
            bits.Row(y)[k] = ~_field.bitsWide.Row(y)[k] & bits.Valid(k);
    bits.Erode(2, _state.vecScratch);
    OPEN arrOpen[c_nUnmixMaxKeys];
    for (int y = 0; y < bits.Height(); ++y)
        for (int x = 0; x < bits.Width(); ++x)
        {
            const size_t n = _field.cells.At(x, y);
            if (!bits.Get(x, y) || _field.cells.Spread4(n) >= 120)
                continue;
            const CELL_BACKDROP back = Plate_Backdrop(_state, x, y);
            AddOpen(arrOpen[back.pKey - _state.arrKeys], back, _field.cells.Mean(n));
        }
    for (int k = 0; k < _state.nKeys; ++k)
        _state.arrKeys[k].fltWedge = WedgeOf(arrOpen[k], _state.arrKeys[k].bGreen);
}
