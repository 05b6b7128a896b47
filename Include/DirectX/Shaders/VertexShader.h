#pragma once

/// The one vertex shader of all passes, its constants and the quad that it draws.

#include <array>
#include <cstddef>
#include <cstdint>

/// Text of the vertex shader, entry "VS". Without bound constants, which read as zeros, it copies the quad.
const char* VertexShader_Text();

/// The constant block of the vertex shader, register b0.
struct VS_ROTATE
{
    float fxAngle; ///< takes no part
    float fyAngle; ///< takes no part
    float fzAngle; ///< degrees, around the Z axis
    float fScale;
    float fWidthSrc;  ///< 0: the quad is copied
    float fHeightSrc; ///< 0: the quad is copied
    float offset[2];  ///< takes no part
};
static_assert(sizeof(VS_ROTATE) == 32 && offsetof(VS_ROTATE, offset) == 24);

/// One vertex: "POSITION" three floats at 0, "TEXCOORD" two floats at 12, "TEXINDEX" an unsigned integer at 20.
struct SHADER_VERTEX
{
    float x, y, z;
    float u, v;
    uint32_t nTexIndex;
};
static_assert(sizeof(SHADER_VERTEX) == 24 && offsetof(SHADER_VERTEX, u) == 12 &&
              offsetof(SHADER_VERTEX, nTexIndex) == 20);

/// A rectangle in texture coordinates, 0 to 1 over the texture from its top left corner.
struct TEXTURE_RECT
{
    float fLeft = 0;
    float fTop = 0;
    float fRight = 1;
    float fBottom = 1;
};

/// The full-target quad as a triangle list: shows the given part of the texture, its top row at the target's top.
std::array<SHADER_VERTEX, 6> Shader_Quad(const TEXTURE_RECT& _rect = {});
