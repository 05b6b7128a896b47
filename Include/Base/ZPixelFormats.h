#pragma once

#include "Interfaces/ZVideoTypes.h"

#include <span>

/// One row of the pixel-format table.
struct PIXEL_FORMAT
{
    const char* pszName;       ///< the enumeration's name without its prefix
    uint32_t fccType;          ///< eZFCC
    int32_t nBitsPerPixel;     ///< as used for row sizes; NV12 has 16, which no planar rule reads
    bool bRGB;                 ///< of the RGB family, whose height carries the orientation
    bool bPlanar;              ///< more than one plane
    bool bRowSize;             ///< Img_RowSize knows it
    ZF_SIZE arrSubsampling[2]; ///< of planes 1 and 2: pixels and lines per sample
};

/// The pixel-format table, for those who walk it.
std::span<const PIXEL_FORMAT> FCC_All();
/// The row of a code; null for a code that is not in the table.
const PIXEL_FORMAT* FCC_Lookup(uint32_t _fccType);

/// Bits per pixel, 0 for an unknown code.
int32_t FCC_BitsPerPixel(uint32_t _fccType);
/// Of the RGB family; false for an unknown code.
bool FCC_IsRGB(uint32_t _fccType);
/// More than one plane; false for an unknown code.
bool FCC_IsPlanar(uint32_t _fccType);
/// Pixels and lines per sample of plane 1 or 2; {1, 1} for any other plane and for formats that are not planar.
ZF_SIZE FCC_Subsampling(uint32_t _fccType, int32_t _nPlane);

/// Bytes per row of plane 0: a multiple of 4, of 8 for eZFCC_RGB8; v210: 128 for every started 48 pixels; planar
/// formats: the width. 0: no row size is known for the format, or the row is too long for nRowBytes; callers treat
/// both as an unsupported picture.
int32_t Img_RowSize(uint32_t _fccType, int32_t _nWidth);
/// The same for a record; 0 for null.
int32_t Img_RowSizeM(const ZF_VID_PROPS* _pVidProps);
/// Pixels that a row of this many bytes has room for. The bytes themselves for planar and unknown formats; 0 for
/// eZFCC_None.
int32_t Img_WidthFromRowBytes(uint32_t _fccType, int32_t _nRowBytes);
