#pragma once

#include "Sample/SampleFigure.h"

/// Colours and measures that the parts of the figure share.

inline constexpr SAMPLE_COLOR c_colSkin{0.86f, 0.64f, 0.52f};
inline constexpr SAMPLE_COLOR c_colSkinDark{0.60f, 0.36f, 0.27f};
inline constexpr SAMPLE_COLOR c_colHair{0.20f, 0.12f, 0.08f};
inline constexpr SAMPLE_COLOR c_colShirt{0.91f, 0.90f, 0.86f};
inline constexpr float c_fHeadU = 0.105f; // half-axes of the face
inline constexpr float c_fHeadV = 0.140f;

/// The backdrop's light on a surface: strongest at its rim.
inline SAMPLE_COLOR Sample_Spill(const SAMPLE_POSE& _pose, const SAMPLE_COLOR& _col, float _fDistance)
{
    return Sample_Mix(_col, _pose.colBack, _pose.fSpill * (0.20f * std::exp(std::min(_fDistance, 0.0f) / 0.012f)));
}

inline SAMPLE_BOX Sample_Around(SAMPLE_POINT _pt, float _fRadius)
{
    return {_pt.u - _fRadius, _pt.v - _fRadius, _pt.u + _fRadius, _pt.v + _fRadius};
}

inline SAMPLE_BOX Sample_Around(SAMPLE_POINT _a, SAMPLE_POINT _b, float _fRadius)
{
    return {std::min(_a.u, _b.u) - _fRadius, std::min(_a.v, _b.v) - _fRadius, std::max(_a.u, _b.u) + _fRadius,
            std::max(_a.v, _b.v) + _fRadius};
}
