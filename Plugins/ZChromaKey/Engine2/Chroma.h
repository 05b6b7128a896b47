#pragma once

#include "ZChromaKey/Engine2/Cells.h"

#include "Image/ImgColor.h"
#include "Interfaces/ZVideoTypes.h"

/// Step 8: pixels better than the 8-bit reader gives them: ten bits kept, and chroma that pixels share rebuilt.
///
/// Near the plate a colour is plate + alpha (foreground - plate), so differences of chroma and of luma from the plate
/// are proportional. The factor between them is fitted over 3x3 chroma samples, weights 1 2 1, through the plate
/// where alpha is low and with a free intercept in solid; luma detail is then put on the interpolated chroma with it:
///     u = interpolated u + factor (luma - interpolated luma)
/// The plate is a known point of the line, which makes so small a fit stable. A chroma sample counts as lying in the
/// middle of the pixels that share it.

/// The planes of a picture, or of one field of it.
struct UNMIX_SAMPLES
{
    enum eKind : int32_t
    {
        eNone, ///< nothing to be gained over the 8-bit reader
        ePacked,
        ev210,
        er210,
        ePlanar,
    };
    eKind eLayout = eNone;
    const uint8_t* arrRow0[3] = {};
    ptrdiff_t anStride[3] = {};
    int nLuma = 0; ///< packed: place of the first Y, of U and of V in a unit of two pixels
    int nU = 0;
    int nV = 0;
    int nChromaStep = 1; ///< planar: bytes between samples
    int nChromaDiv = 1;  ///< luma rows that share a chroma row
    int nWidth = 0;
    int nHeight = 0;
    int nChromaWidth = 0;
    int nChromaHeight = 0;
    float fltKb = 0; ///< weights of blue and red in luma
    float fltKr = 0;

    bool IsDeep() const
    {
        return eLayout == ev210 || eLayout == er210;
    }
};

UNMIX_SAMPLES Chroma_Samples(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, eZYMatrix _eMatrix);
/// The rows of one of _nFields fields.
UNMIX_SAMPLES Chroma_Field(const UNMIX_SAMPLES& _samples, int _nField, int _nFields);

/// Rows of cells: writes what Pixels_Pass needs to _pDeep0: mixed cells and their neighbours, and of deep pictures
/// the solid ones.
void Chroma_Pass(const UNMIX_STATE& _state, const FIELD_STATE& _field, const UNMIX_SAMPLES& _samples, uint16_t* _pDeep0,
                 ptrdiff_t _nDeepStride, int _nFirst, int _nRows);
