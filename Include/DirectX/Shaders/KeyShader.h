#pragma once

/// Text of the pixel shaders that key. Entry "PS"; input texture t0, sampler s0, constants CK_SETTINGS at b0.

#include "DirectX/Shaders/ShaderPieces.h"
#include "Interfaces/ChromaKeyTypes.h"

/// What the input texture holds. Packed 4:2:2 lies in a B8G8R8A8 texture of half the even picture width.
enum eKeyInput : int32_t
{
    eKI_RGB = 0,  ///< B8G8R8A8, one pixel a texel; its alpha is not read
    eKI_UYVY = 1, ///< bytes U Y V Y
    eKI_HDYC = 2, ///< the bytes of UYVY; its packed mask repeats each pair of alphas
    eKI_YUY2 = 3, ///< bytes Y U Y V
};

/// What a texture of a pixel format holds; eKI_RGB for all that are not packed.
eKeyInput KeyShader_InputOf(uint32_t _fccType);

/// What the target gets.
enum eKeyOutput : int32_t
{
    /// B8G8R8A8, one pixel a texel: colour and straight alpha. From packed input the target has the even width.
    eKO_Picture = 0,
    /// The alpha alone. From RGB input in a single-channel texture, one pixel a texel. From packed input four pixels a
    /// texel, in the bytes of a B8G8R8A8 texture of a quarter of the even width, rounded up.
    eKO_Mask = 1,
    /// Packed input, colour cancel: the input's own format with corrected colours.
    eKO_Packed = 2,
};

struct KEY_SHADER
{
    eCK_Type eType = eCKT_RGB;
    eKeyInput eInput = eKI_RGB;
    eKeyOutput eOutput = eKO_Picture;
    bool bColorCancel = false;    ///< Shader_NeedsCancel; the mask does not depend on it
    eZYMatrix eMatrix = eZYM_601; ///< of packed input

    bool operator==(const KEY_SHADER&) const = default;
};

/// Empty when there is no such shader: a type that is not keyed by colour, packed output from RGB or without colour
/// cancel.
std::string KeyShader_Text(const KEY_SHADER& _shader);

/// A pass that writes the alpha of an ARGB picture into a single-channel texture.
std::string AlphaMaskShader_Text();
