#pragma once

#include "Base/ZPixelLayout.h"
#include "Interfaces/ZVideoTypes.h"

#include <span>

/// Where chroma lies that has planes of its own.
enum eZChroma : int32_t
{
    eZCh_Packed, ///< not in planes of its own, or there is none
    eZCh_UV,     ///< plane 1 is U, plane 2 is V
    eZCh_VU,     ///< plane 1 is V, plane 2 is U
    eZCh_Turns,  ///< plane 1 has U and V in turn
};

/// How a picture lies in a texture.
enum eZTexture : int32_t
{
    eZT_None,
    eZT_Pixels,   ///< four bytes a texel, a texel a pixel
    eZT_Pairs,    ///< four bytes a texel, a texel for two pixels of 4:2:2
    eZT_Byte,     ///< one byte a texel, a texel a pixel
    eZT_420,      ///< one byte a texel, the chroma planes below the luma plane, half its rows
    eZT_422,      ///< the same, as many rows as the luma plane
    eZT_420Words, ///< as eZT_420, with a word a texel
    eZT_422Words, ///< as eZT_422, with a word a texel
};

/// One row of the pixel-format table: all that the system knows of a format. A new format is a row here, and where its
/// layout is new, a kernel that reads it (Image/ImgKernels.h) and one that writes it (Video/ZFrameWriter.cpp).
struct PIXEL_FORMAT
{
    const char* pszName;       ///< the enumeration's name without its prefix
    uint32_t fccType;          ///< eZFCC
    int32_t nBitsPerPixel;     ///< as used for row sizes; NV12 has 16, which no planar rule reads
    bool bRGB;                 ///< of the RGB family, whose height carries the orientation
    bool bPlanar;              ///< more than one plane
    bool bRowSize;             ///< Img_RowSize knows it
    bool bParsed;              ///< FCC_Parse finds its name whatever the case
    bool bCleaned;             ///< colour cancel can write it in place on the CPU
    ZF_SIZE arrSubsampling[2]; ///< of planes 1 and 2: pixels and lines per sample
    eImgLayout eLayout;        ///< of a row
    eZChroma eChroma;
    eZTexture eTexture;
    bool bOwn; ///< added by this system: hosts need not know it, and no host gets it unasked
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

/// How the samples of a row lie; eIL_None for an unknown code.
eImgLayout FCC_Layout(uint32_t _fccType);
/// Where chroma lies; eZCh_Packed for an unknown code.
eZChroma FCC_Chroma(uint32_t _fccType);
/// Planes of chroma: 0, 1 or 2.
int32_t FCC_ChromaPlanes(uint32_t _fccType);
/// Bytes of a sample in the planes of a planar format; 1 for every other code.
int32_t FCC_SampleBytes(uint32_t _fccType);
/// How a picture lies in a texture; eZT_None for an unknown code.
eZTexture FCC_Texture(uint32_t _fccType);
/// Whether that is planes of words.
bool FCC_HasTextureWords(uint32_t _fccType);
/// Whether pixels carry straight alpha of their own; false for an unknown code.
bool FCC_HasAlpha(uint32_t _fccType);
/// Whether colour cancel can write the format in place on the CPU; false for an unknown code.
bool FCC_IsCleaned(uint32_t _fccType);

/// Bytes per row of plane 0: a multiple of 4, of 8 for eZFCC_RGB8; v210: 128 for every started 48 pixels; planar
/// formats: the width times FCC_SampleBytes. 0: no row size is known for the format, or the row is too long for
/// nRowBytes; callers treat both as an unsupported picture.
int32_t Img_RowSize(uint32_t _fccType, int32_t _nWidth);
/// The same for a record; 0 for null.
int32_t Img_RowSizeM(const ZF_VID_PROPS* _pVidProps);
/// Pixels that a row of this many bytes has room for. The bytes themselves for unknown formats; 0 for eZFCC_None.
int32_t Img_WidthFromRowBytes(uint32_t _fccType, int32_t _nRowBytes);
