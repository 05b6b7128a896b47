#pragma once

#include "Interfaces/ZVideoTypes.h"

#include <string>

/// The stride of plane 0 in bytes: the record's, raised to the row size, with the record's sign; 0 for null.
int32_t VidProps_Stride(const ZF_VID_PROPS* _pVidProps);

/// Where the planes of a picture are; zeroed for null.
///
/// _nAddress: the row that is walked first, which is the highest in memory where nRowBytes is negative; 0 gives
/// offsets. _bFlip: a bottom-up picture is addressed from its top row, with a negative stride. Chroma planes have half
/// the width and half the stride in every planar format but NV12, Y422 and Y444 included. Nothing overflows, but only
/// VidProps_Validate tells whether the planes lie in a buffer.
ZF_VID_PTR VidPtr_Build(const ZF_VID_PROPS* _pVidProps, int64_t _nAddress, bool _bFlip);

/// Bytes of a picture with all of its planes; 0 for null. A record without stride or height is completed first.
int64_t VidProps_ImageSize(const ZF_VID_PROPS* _pVidProps);

/// Why the pixels of a picture must not be touched, as a text for the log; empty (and free of cost) when every plane
/// lies within a buffer of _cbBuffer bytes that holds the picture from its first byte on.
///
/// The record is judged as it is, whatever it holds: normalise it before. A picture with a negative stride fills the
/// buffer from its end: its first row is at |stride| * (lines - 1).
std::string VidProps_Validate(const ZF_VID_PROPS* _pVidProps, uint64_t _cbBuffer);
