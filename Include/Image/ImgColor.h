#pragma once

#include "Base/ZMatrix.h"
#include "Interfaces/ZVideoTypes.h"

#include <cstdint>

/// Colour spaces of the pixels that are keyed.
///
/// RGB is full range (0 to 255). YUV is of limited range (Y 16 to 235, U and V 16 to 240 around 128) or full range, as
/// eZYMatrix says. HLS is hue, lightness and saturation. All row functions are exact integer arithmetic: the same bytes
/// from every compiler and every instruction set.

/// The matrix that a picture is converted with.
///
/// The RGB family: BT.601. YUV formats go by size, as players do that find no other sign: BT.709 above 576 lines or
/// 1024 columns. 720 columns stay BT.601 up to 625 lines, because standard definition may carry its blanking lines.
/// eZFCC_HDYC goes by size like eZFCC_UYVY: the two differ in name only.
eZYMatrix Img_MatrixOf(const ZF_VID_PROPS& _vidProps);
/// The same where a host says how its YUV is coded; what it does not say goes by size, in limited range.
eZYMatrix Img_MatrixOf(const ZF_VID_PROPS& _vidProps, const Z_YUV_FORM& _yuv);

/// Bytes B, G, R, A to bytes Y, U, V, A, cut at 255 (full range only); _pBGRA and _pYUVA may be the same memory. Within
/// 0.51 of the real-valued matrix (0.5 from rounding, 0.01 from the coefficients); greys give U = V = 128 exactly.
void Img_RowToYUV(const uint8_t* _pBGRA, uint8_t* _pYUVA, int _nPixels, eZYMatrix _eMatrix);

/// Bytes B, G, R, A to bytes H, L, S, A; the two may be the same memory. Correctly rounded, halves upward.
///
/// H: turn x 256 modulo 256, red at 0, green at 85, blue at 171; 0 for greys. L: (max + min) / 2. S: 255 x delta /
/// (1 - |2L - 1|), 0 for black, white and greys.
void Img_RowToHLS(const uint8_t* _pBGRA, uint8_t* _pHLSA, int _nPixels);

/// Bytes Y, U, V, A to bytes B, G, R, A, clamped to 0 to 255; the two may be the same memory. Before clamping within
/// 0.53 of the real-valued matrix (0.5 from rounding, 0.03 from the coefficients).
void Img_RowFromYUV(const uint8_t* _pYUVA, uint8_t* _pBGRA, int _nPixels, eZYMatrix _eMatrix);

/// One colour: three components as fractions of 255; hue as a fraction of a turn.
struct IMG_COLOR
{
    double dbl0; ///< R, H or Y
    double dbl1; ///< G, L or U
    double dbl2; ///< B, S or V
};

/// One colour in another space, unrounded: what the row functions approximate. Not clamped.
IMG_COLOR Img_ColorToYUV(const IMG_COLOR& _colRGB, eZYMatrix _eMatrix);
IMG_COLOR Img_ColorFromYUV(const IMG_COLOR& _colYUV, eZYMatrix _eMatrix);
/// Hue in 0 to below 1; 0 for greys.
IMG_COLOR Img_ColorToHLS(const IMG_COLOR& _colRGB);
