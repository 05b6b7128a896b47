#pragma once

#include "DirectX/Shaders/UnmixEdgeShader.h"
#include "DirectX/Shaders/UnmixShader.h"

#include <array>
#include <cstdint>
#include <vector>

/// What the passes of the second generation make of a picture, pixel by pixel in double precision, from their
/// definitions: what rendered texels are compared with.
struct UNMIX_TWIN
{
    using COLOUR = std::array<double, 3>; ///< B, G, R; 0 to 255
    using PIXEL = std::array<double, 4>;  ///< and A

    UNMIX_CONSTANTS constants;
    std::vector<uint8_t> vecPicture; ///< bytes B, G, R, A
    std::vector<uint32_t> vecCells;
    std::vector<float> vecBack; ///< four numbers a plate cell
    std::vector<float> vecFore;
    std::vector<int16_t> vecPast;
    std::vector<float> vecShade;
    std::vector<uint8_t> vecGarbage;
    std::vector<uint8_t> vecHoldOut;
    std::vector<uint8_t> vecMarked;

    /// A texel of UnmixCellsShader_Text.
    std::array<uint32_t, 4> Cell(int _nX, int _nRow) const;
    /// UnmixPastShader_Text.
    int Past(int _nX, int _nRow) const;
    /// A keyed pixel in whole levels, before what comes after.
    PIXEL Keyed(int _nX, int _nRow) const;
    /// The same with its alpha changed to one in 65535ths.
    PIXEL Edged(const PIXEL& _keyed, int _nAlpha, int _nX, int _nRow) const;
    /// What becomes of a keyed pixel in the end, as bytes B, G, R, A.
    PIXEL Finished(const PIXEL& _keyed, int _nX, int _nRow) const;

private:
    struct PLACE; // of a pixel, and what is known there

    PLACE PlaceOf(int _nX, int _nRow) const;
    PIXEL BytesAt(int _nX, int _nY, int _nField) const;
    uint32_t CellAt(int _nX, int _nY, int _nField) const;
    PIXEL PlateAt(const std::vector<float>& _vec, double _dblX, double _dblY, int _nField) const;
    double ShadeAt(const PLACE& _place) const;
    double CoreAt(const PLACE& _place) const;
    int Difference(const UNMIX_SHADER_RULES& _rules, int _nX, int _nY, int _nField) const;
    int Filtered(const UNMIX_SHADER_RULES& _rules, const PLACE& _place) const;
    double PastScale(const UNMIX_SHADER_RULES& _rules, const PLACE& _place) const;
    double Protection(const COLOUR& _colour) const;
    double Alpha(const UNMIX_SHADER_RULES& _rules, const PLACE& _place, int _nDifference, double _dblQuieted,
                 double _dblCore) const;
    COLOUR Unmixed(const UNMIX_SHADER_RULES& _rules, const PLACE& _place, double _dblAlpha) const;
    PIXEL Mixed(const UNMIX_SHADER_RULES& _rules, const PLACE& _place) const;
    PIXEL Viewed(const PIXEL& _value, const PLACE& _place) const;
};

/// Alpha of a picture in 65535ths, and how it is changed.
struct ALPHA_TWIN
{
    UNMIX_EDGE_PICTURE picture;
    std::vector<uint32_t> vecAlpha; ///< before nFactor

    int Choked(const UNMIX_CHOKE_CONSTANTS& _choke, bool _bPlain, int _nX, int _nRow) const;
    int Blurred(const UNMIX_BLUR_CONSTANTS& _blur, int _nX, int _nRow) const;

private:
    int64_t At(int _nX, int _nY, int _nField) const;
    int Rows(int _nField) const;
};
