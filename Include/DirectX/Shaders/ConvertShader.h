#pragma once

/// Text of the pixel shaders that bring a picture into another pixel format and size. Entry "PS"; input texture t0,
/// sampler s0, constants PS_BACKCOLOR_BUFFER at b0.
///
/// Textures: RGB32 and ARGB32 in B8G8R8A8; packed 4:2:2 in B8G8R8A8, two pixels a texel; RGB8 in a single channel;
/// planar formats in one tall single channel, as PLANAR_LAYOUT says. The pass addresses pixels by the target's own
/// raster (SV_POSITION), so odd widths need no care; the quad's texture coordinates take no part.

#include "DirectX/Shaders/ShaderPieces.h"

#include <cstdint>
#include <string>

/// "PS_BACKCOLOR_BUFFER", register b0.
struct PS_BACKCOLOR_BUFFER
{
    float size[4]; ///< width and height of the input in pixels; input pixels for an output pixel, across and down
};
static_assert(sizeof(PS_BACKCOLOR_BUFFER) == 16);

/// Sizes in pixels of the pictures, above 0; heights without their sign.
PS_BACKCOLOR_BUFFER Shader_FillBackcolor(int32_t _nWidthIn, int32_t _nHeightIn, int32_t _nWidthOut,
                                         int32_t _nHeightOut);

struct CONVERT_SHADER
{
    uint32_t fccIn = 0;
    uint32_t fccOut = 0;
    /// What the linear sampler does for RGB formats, for the others: mix the four nearest pixels. Bind the sampler that
    /// goes with it.
    bool bLinear = false;
    /// Of YUV formats whose name does not say it; HDYC is BT.709.
    eZYMatrix eMatrix = eZYM_601;
};

/// From and into RGB8, RGB32, ARGB32, UYVY, HDYC, YUY2, YVYU, NV12, YV12, I420, YV16, I422; empty for other formats.
/// RGB8 is full-range grey; alpha is kept between ARGB32 pictures and 1 otherwise. Planar 4:2:0 needs an even height,
/// planar pictures an even width.
std::string ConvertShader_Text(const CONVERT_SHADER& _shader);
