#pragma once

/// Text of the pixel shaders that make video output: RGB into packed 4:2:2 with the caller's matrix, and UYVY into
/// planar pictures. Entry "PS". All textures are B8G8R8A8.

#include "DirectX/Shaders/ShaderPieces.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

/// "PS_CONVERT", register b0: for each of Y, U and V the coefficients of R, G, B, and an offset.
struct PS_CONVERT
{
    float size[4]; ///< x: output width in pixels
    float vecY[4];
    float vecU[4];
    float vecV[4];
};
static_assert(sizeof(PS_CONVERT) == 64 && offsetof(PS_CONVERT, vecV) == 48);

/// Rows Y, U, V of four: the studio-range matrix for RGB of 0..1.
std::array<float, 12> Shader_MatrixRGB2YUV(eZYMatrix _eMatrix);

/// _pfMatrix4x3: rows Y, U, V of four, as above.
PS_CONVERT Shader_FillConvert(int32_t _nWidth, const float* _pfMatrix4x3);

/// RGB into the byte order of UYVY, which HDYC shares. Source "tx_top" at t0, "sampler_in" at s0. A target texel reads
/// its two pixels half an output pixel left and right of its centre, so the target's width in pixels must be even, or
/// the quad show even width / width of the source.
struct DXV_SHADER
{
    bool bBottomField = false; ///< odd rows from "tx_bottom" at t1, even ones from tx_top
    bool bFullRange = false;   ///< clamp to 0..1 instead of the studio range
};
std::string DXVShader_Text(const DXV_SHADER& _shader);

/// A UYVY texture into one of the planar formats: a tall target of four bytes a texel, the source's width in texels /
/// 2, rounded up; every row has four bytes for each texel of the target. No constants. Empty for other formats.
std::string DXVPlanarShader_Text(uint32_t _fccOut);
