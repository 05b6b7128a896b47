#pragma once

/// Texts of the pixel shaders that move and blur the edges of what the second generation has keyed. Entry "PS".
///
/// They work on alpha alone, from 0 to 65535, in the integers of the CPU: first it is taken out of the picture, then
/// moved, then blurred along rows and across them, and in the end put back (UnmixEdgedShader_Text). A picture's line y
/// belongs to field y % fields, and each field is changed for itself.

#include <cstdint>
#include <string>

inline constexpr int32_t c_nUnmixShaderSteps = 320;
inline constexpr int32_t c_nUnmixShaderReach = 10;

/// "EDGE", register b0: what all passes over alpha take first.
struct UNMIX_EDGE_PICTURE
{
    int32_t nWidth;
    int32_t nHeight;
    int32_t nFields;
    int32_t nFactor; ///< that makes 65535 of the most that the input can be
};

/// The constants of the choke.
struct UNMIX_CHOKE_CONSTANTS
{
    UNMIX_EDGE_PICTURE picture;
    int32_t anMove[4];                        ///< steps; 1: inwards; rows of cells in a field
    int32_t arrSteps[c_nUnmixShaderSteps][2]; ///< 256ths of a pixel, right and down
};
static_assert(sizeof(UNMIX_CHOKE_CONSTANTS) == 32 + 8 * c_nUnmixShaderSteps && c_nUnmixShaderSteps % 2 == 0);

/// The constants of the blur.
struct UNMIX_BLUR_CONSTANTS
{
    UNMIX_EDGE_PICTURE picture;
    int32_t anWay[4];                                ///< to the next pixel, right and down; how many to either side
    uint32_t arrWeights[c_nUnmixShaderReach + 1][4]; ///< 65536ths of the middle and of those beside it, in the first
};
static_assert(sizeof(UNMIX_BLUR_CONSTANTS) == 32 + 16 * (c_nUnmixShaderReach + 1));

/// The alpha of a picture: R8_UINT, of its size. t0: the picture (B8G8R8A8). No constants.
std::string UnmixAlphaShader_Text();
/// The least, or the greatest, alpha that is found in some steps from a pixel, bilinear between pixels: R16_UINT. t0:
/// alpha; t1: the cells, of which plain ones stay as they are (eUCell_Plain). UNMIX_CHOKE_CONSTANTS.
std::string UnmixChokeShader_Text();
/// Alpha blurred one way; what lies outside repeats the border: R16_UINT. t0: alpha. UNMIX_BLUR_CONSTANTS.
std::string UnmixBlurShader_Text();

/// A piece of UnmixEdgedShader_Text: "float4 EdgedPixel( int2 pos, int nField, int2 frame )", colours and alpha of 0 to
/// 255. t10: the keyed picture; t11: its new alpha. Where alpha has grown, what is added looks like solid foreground
/// near here.
extern const char c_szUnmixEdged[];
