#pragma once

#include "Interfaces/ZVideoTypes.h"

/// The stride of plane 0 in bytes: the record's, raised to the row size, with the record's sign; 0 for null.
int32_t VidProps_Stride(const ZF_VID_PROPS* _pVidProps);

/// Where the planes of a picture are; zeroed for null.
///
/// _nAddress: the row that is walked first, which is the highest in memory where nRowBytes is negative; 0 gives
/// offsets. _bFlip: a bottom-up picture is addressed from its top row, with a negative stride. Chroma planes have half
/// the width and half the stride in every planar format but NV12, Y422 and Y444 included. Nothing overflows.
ZF_VID_PTR VidPtr_Build(const ZF_VID_PROPS* _pVidProps, int64_t _nAddress, bool _bFlip);

/// Bytes of a picture with all of its planes; 0 for null. A record without stride or height is completed first.
int64_t VidProps_ImageSize(const ZF_VID_PROPS* _pVidProps);
