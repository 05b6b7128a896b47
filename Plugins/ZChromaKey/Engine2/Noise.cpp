#include "ZChromaKey/Engine2/Noise.h"

#include <cmath>

namespace
{
// The difference of a pixel that surely shows backdrop, rho as the nearest cell of the plate has it: it is the same for
// the pixels that are compared.
struct DIFFERENCE
{
    const KEY_FORMS& key;
    float fltRho;

    DIFFERENCE(const UNMIX_STATE& _state, int _nX, int _nY)
        : key(_state.arrKeys[_state.vecOwner[static_cast<size_t>(_nY >> 1) * _state.nPlateWidth + (_nX >> 1)]])
    {
        const VEC4 plate = _state.Plate(_nX >> 1, _nY >> 1);
        const float fltX = std::max(key.X(plate.b, plate.g, plate.r), .15f * key.fltX);
        fltRho = std::clamp(key.Z(plate.b, plate.g, plate.r) / fltX, -.5f, .5f);
    }
    float Of(const uint8_t* _pPixel) const
    {
        const auto b = static_cast<float>(_pPixel[0]), g = static_cast<float>(_pPixel[1]),
                   r = static_cast<float>(_pPixel[2]);
        const float fltX = key.X(b, g, r);
        return fltX - key.fltWedge * std::abs(key.Z(b, g, r) - fltRho * fltX);
    }
};
} // namespace

void Noise_Pass(UNMIX_STATE& _state, const FIELD_STATE& _field, int _nFirst, int _nRows)
{
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
    {
        float fltSum = 0, fltCount = 0;
        if (UNMIX_CELLS::HasPairs(y) && y + 1 < _field.cells.nHeight && y * c_nCell < _field.nRows)
            for (int x = 1; x < _field.cells.nWidth - 1; x += 3)
                if (_field.bitsSure.Get(x, y))
                {
                    const DIFFERENCE difference(_state, x, y);
                    const UNMIX_PAIR& pair = _field.cells.Pair(x, y);
                    fltSum += std::abs(difference.Of(pair.arrFirst) - difference.Of(pair.arrSecond));
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
