#pragma once

#include "ZChromaKey/Engine2/Pixels.h"
#include "ZChromaKey/Engine2/Runner.h"

#include <array>

/// What is done to the edges of a picture that is keyed: they are moved, then blurred.

/// Whether the setup asks for any of it; nothing is read or allocated where it does not.
bool Edges_Wanted(const UNMIX_STATE& _state);

/// Moves the edges of the result by `choke` pixels of the frame, inwards where positive, and blurs them over `soften`
/// pixels; lines of a field count twice. Colours stay, and where alpha grows, what is added has the colour of the
/// foreground plate.
///
/// The edge moves by the least (or greatest) alpha on rings round a pixel, bilinear between pixels: exact for straight
/// edges of any direction and fractions of a pixel. The blur is a tent of sum 1 along both axes. Integers, so that
/// every kernel agrees.
void Edges_Change(UNMIX_STATE& _state, const FIELD_STATE& _field, const UNMIX_PICTURE& _picture,
                  const UNMIX_RESULT& _result, IRowRunner& _runner);

/// \name How, for who changes alpha elsewhere
///@{
inline constexpr int c_nEdgeMostPixels = 10;
inline constexpr int c_nEdgeDirections = 32;
inline constexpr int c_nEdgeMostSteps = c_nEdgeMostPixels * c_nEdgeDirections;

/// A step from a pixel, in 256ths.
struct EDGE_STEP
{
    int nX;
    int nY;
};
/// Where alpha is looked at round a pixel, the outermost ring first.
struct EDGE_RINGS
{
    std::array<EDGE_STEP, c_nEdgeMostSteps> arr;
    int nSteps = 0;
};
/// _fltChoke: pixels of the frame; its sign does not matter.
EDGE_RINGS Edges_Rings(float _fltChoke, int _nFields);

/// Half a tent: weights of the middle and of those beside it, in 65536ths.
struct EDGE_TENT
{
    uint32_t arr[c_nEdgeMostPixels + 1] = {};
    int nReach = 0;
};
EDGE_TENT Edges_Tent(float _fltPixels);

/// The cells that are solid, or backdrop, with all within reach of `choke`: no edge moves there. Part of the state, and
/// good until the next call.
const CBitRows& Edges_PlainCells(UNMIX_STATE& _state, const FIELD_STATE& _field);
///@}
