#pragma once

/// Pieces of text that the pixel shaders share, and how YUV pictures lie in textures.

#include "Base/ZMatrix.h"

#include <cstdint>
#include <optional>
#include <string>

/// What a pixel shader gets from the vertex shader: struct PS_INPUT.
extern const char c_szShaderInput[];

/// "float3 RGB2YVU_601( float3 rgb )" or "..._709": 0..1 RGB into studio range Y, V, U.
std::string Shader_TextRGB2YVU(eZYMatrix _eMatrix);
/// "float3 YVU2RGB_601( float3 yvu )" or "..._709": what bytes of Y, V, U say into RGB, clamped to 0..1.
std::string Shader_TextYVU2RGB(eZYMatrix _eMatrix);
/// "601" or "709".
const char* Shader_MatrixName(eZYMatrix _eMatrix);
/// Three coefficients of a matrix: "1.164, 1.596, 0.0".
std::string Shader_TextRow(const double (&_arrRow)[3]);

/// A packed 4:2:2 format in a B8G8R8A8 texture, two pixels a texel. Memory order is z, y, x, w.
struct PACKED_LAYOUT
{
    std::string strLeft;  ///< swizzle that gives Y, V, U of the left pixel
    std::string strRight; ///< the same of the right pixel
    std::string strTexel; ///< what x, y, z, w hold: L, R (luma left, right), U, V
};
/// Empty for any other format.
std::optional<PACKED_LAYOUT> Shader_PackedLayout(uint32_t _fccType);
/// "float4( ... )": a texel of four expressions.
std::string Shader_TextPackedTexel(const PACKED_LAYOUT& _layout, const char* _pszLeft, const char* _pszRight,
                                   const char* _pszU, const char* _pszV);

/// A planar format in one tall texture: all planes one after the other, rows of half the stride side by side.
struct PLANAR_LAYOUT
{
    bool bInterleaved; ///< one plane of U and V in turn; else two planes
    bool bVFirst;
    bool bHalfHeight; ///< chroma has one row for two rows of luma
};
/// Empty for any other format, for planes of words, and for eZFCC_Y422 and eZFCC_Y444, which no shader reads or writes.
std::optional<PLANAR_LAYOUT> Shader_PlanarLayout(uint32_t _fccType);
/// "uint3 ChromaOf( uint n, uint nStride, uint nHeight )": whose sample byte n after the luma is: its column and row
/// in the chroma's own raster; z: 0 = V, 1 = U. nHeight: of the picture.
std::string Shader_TextChromaOf(const PLANAR_LAYOUT& _layout);
/// "uint ChromaByte( uint2 c, uint nPlane, uint nStride, uint nHeight )": the other way round.
std::string Shader_TextChromaByte(const PLANAR_LAYOUT& _layout);
