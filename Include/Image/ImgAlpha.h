#pragma once

#include <cstddef>
#include <cstdint>

/// Rows of pixels whose fourth channel is alpha: bytes, where 255 is opaque, or words of 16 bits, where 65535 is. Every
/// product is rounded to nearest; with opaque alpha, and with alpha 0, it is exact.

/// Multiplies the first three channels of each pixel by its alpha.
void Img_RowPremultiply(uint8_t* _pPixels, int _nPixels);
void Img_RowPremultiply(uint16_t* _pPixels, int _nPixels);

/// Multiplies a mask, bytes, by the alpha of the pixels.
void Img_MaskMultiply(uint8_t* _pMask, const uint8_t* _pPixels, int _nPixels);
/// The same of words: alpha and mask become their product, the mask rounded to 8 bits after that.
void Img_MaskMultiply(uint8_t* _pMask, uint16_t* _pPixels, int _nPixels);
