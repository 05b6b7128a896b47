#pragma once

#include "Interfaces/ZVideoTypes.h"

#include <cstdint>

/// A part of a picture: from column nX1, row nY1 up to, not including, column nX2, row nY2, counted from the top left.
struct Z_PART
{
    int nX1;
    int nY1;
    int nX2;
    int nY2;
};

/// Clips a part to its picture, and widens it to whole chroma samples and to whole pairs of field rows. False: nothing
/// is left.
bool ZPart_Fit(const ZF_VID_PROPS& _vidProps, Z_PART* _pPart);

/// The record of a part that ZPart_Fit has left: with the aspect of its pixels and the field order of the whole.
ZF_VID_PROPS ZPart_Props(const ZF_VID_PROPS& _vidProps, const Z_PART& _part);

/// Bytes from the start of a row of plane 0 to a column; -1 where that is within a word.
int64_t ZPart_Byte(uint32_t _fccType, int _nX);

/// The address of a row of plane 0, counted from the top of the picture, however it is stored.
int64_t ZPart_Row(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, int64_t _nRow);

/// The planes of a part in the memory of the whole, stored as that is. _vidPropsPart: of ZPart_Props. The part begins
/// where ZPart_Byte has a byte for it.
ZF_VID_PTR ZPart_Ptr(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, const ZF_VID_PROPS& _vidPropsPart,
                     const Z_PART& _part);
