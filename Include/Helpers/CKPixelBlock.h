#pragma once

#include <cstddef>
#include <cstdint>

namespace CKUtils
{

/// Bytes of a pixel of a working picture (CKDetect.h says what they hold).
inline constexpr int c_nPixelBytes = 4;

/// A block of a working picture, borrowed.
struct PIXEL_BLOCK
{
    const uint8_t* pbFirst; ///< its top left pixel
    int32_t nWidth;         ///< pixels, at least 2
    int32_t nHeight;        ///< at least 1
    ptrdiff_t nRowBytes;    ///< from row to row; may be negative

    const uint8_t* Row(int32_t _nRow) const
    {
        return pbFirst + _nRow * nRowBytes;
    }
};

/// Least and greatest value of each byte of some pixels.
struct PIXEL_BOX
{
    uint8_t abMin[c_nPixelBytes];
    uint8_t abMax[c_nPixelBytes];
};

/// Widens a box to hold a pixel.
void AddPixel(const uint8_t* _pbPixel, PIXEL_BOX* _pBox);

/// The box around the pixels right of the first column, and the block's first pixel.
PIXEL_BOX BoxOf(const PIXEL_BLOCK& _block);

/// The greatest squared distance that two pixels in the box can have. The distance of two pixels is the sum of the
/// squared differences of their bytes 0 to 2.
int32_t Diagonal(const PIXEL_BOX& _box);

/// Whether every pixel right of the first column is within the squared distance _nMaxNeighbour of its left, upper and
/// upper left neighbour, and within four times that of the block's first pixel. Nothing outside the block is read.
bool IsFlat(const PIXEL_BLOCK& _block, int32_t _nMaxNeighbour);

} // namespace CKUtils
