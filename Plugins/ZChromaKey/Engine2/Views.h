#pragma once

#include "ZChromaKey/Engine2/Pixels.h"

/// A grid of cells of 8x8 pixels at the middle of a pixel.
struct PLATE_AT_PIXEL
{
    size_t arrAt[4];
    float fltX;
    float fltY;

    PLATE_AT_PIXEL(const UNMIX_STATE& _state, int _nX, int _nY)
    {
        const float x =
            std::clamp((static_cast<float>(_nX) + .5f) / 8 - .5f, 0.0f, static_cast<float>(_state.nPlateWidth - 1));
        const float y =
            std::clamp((static_cast<float>(_nY) + .5f) / 8 - .5f, 0.0f, static_cast<float>(_state.nPlateHeight - 1));
        const int x0 = static_cast<int>(x), y0 = static_cast<int>(y);
        const int x1 = std::min(x0 + 1, _state.nPlateWidth - 1), y1 = std::min(y0 + 1, _state.nPlateHeight - 1);
        const auto At = [&](int _x, int _y) { return static_cast<size_t>(_y) * _state.nPlateWidth + _x; };
        arrAt[0] = At(x0, y0);
        arrAt[1] = At(x1, y0);
        arrAt[2] = At(x0, y1);
        arrAt[3] = At(x1, y1);
        fltX = x - static_cast<float>(x0);
        fltY = y - static_cast<float>(y0);
    }
    template <class T> T Of(const std::vector<T>& _vec) const
    {
        const T above = _vec[arrAt[0]] * (1 - fltX) + _vec[arrAt[1]] * fltX;
        const T below = _vec[arrAt[2]] * (1 - fltX) + _vec[arrAt[3]] * fltX;
        return above * (1 - fltY) + below * fltY;
    }
};

/// What comes after the key: shadows that are kept, regions, the input's own alpha, and the views of an operator.

/// Step 13: the density of shadows on the backdrop, 0 to 1, on the plate's grid (vecShade): how far X of the plate is
/// below a wide upper envelope of itself, less an eighth that uneven light takes.
void Views_FindShadows(UNMIX_STATE& _state);

/// Whether Views_Pass has anything to do.
bool Views_Wanted(const UNMIX_STATE& _state, const UNMIX_PICTURE& _picture);

/// Rows of cells, after Pixels_Pass: changes the result, and hands it over.
void Views_Pass(const UNMIX_STATE& _state, const FIELD_STATE& _field, int _nField, const UNMIX_PICTURE& _picture,
                const UNMIX_RESULT& _result, int _nFirst, int _nRows);
