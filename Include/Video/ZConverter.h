#pragma once

#include "Interfaces/ZPlatform.h"
#include "Interfaces/ZVideoTypes.h"

/// Converts a whole picture, row by row, into another of the same size.
///
/// From every format that CImgRowReader reads to eZFCC_RGB32 (fourth byte 255), ARGB32, RGBA32 and ARGB64 (alpha
/// opaque, or the source's; 16 bits are made of the reader's 8), and between two pictures of one format, samples
/// unchanged. The planes are as VidPtr_Build gives them, flipped or not: a bottom-up record with a positive stride is
/// taken to begin with its bottom row, all others begin with the top row. Source and target must not overlap.
///
/// E_NOTIMPL: no conversion between the two formats; E_INVALIDARG: sizes that differ, no pixel, a missing plane or a
/// stride shorter than a row (the log says which). Nothing is written unless it succeeds. Safe from any thread.
HRESULT ZConvert_Frame(const ZF_VID_PROPS& _vidPropsIn, const ZF_VID_PTR& _vidPtrIn, const ZF_VID_PROPS& _vidPropsOut,
                       const ZF_VID_PTR& _vidPtrOut);

/// Whether ZConvert_Frame knows a pair of formats.
bool ZConvert_IsKnown(uint32_t _fccIn, uint32_t _fccOut);

/// True when row 0 of the planes is the top of the picture; see ZConvert_Frame.
bool ZConvert_IsTopFirst(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr);
