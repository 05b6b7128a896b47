#pragma once

#include "Interfaces/ZVideoTypes.h"

/// Rules over video properties. Null records are logged as failed checks and give the neutral result: 0, false, a
/// zeroed record, or 1.0 for the aspects.

/// The record of a named format. A code of 0 takes eZFCC_UYVY for SD, eZFCC_HDYC otherwise; an interlace of 0 takes
/// the format's. RGB pictures are top-down. The low 8 bits name the format, eVideoFormat keeps all of them; zeroed for
/// eZVF_Custom and outside the table.
ZF_VID_PROPS VidProps_FromFormat(int32_t _eVideoFormat, uint32_t _fccType, int32_t _eInterlace);

/// The record of the 8-bit mask of a picture: eZFCC_RGB8, top-down, with a stride that is a multiple of 8, positive
/// and at least a row: the picture's row length in pixels, rounded up. A stride of 0 counts as the row size.
ZF_VID_PROPS VidProps_Mask(const ZF_VID_PROPS* _pVidProps);

/// Completes a record in place and answers its eVideoFormat.
///
/// Strict makes a picture of its named format out of it: width, stride and aspect become the format's. Not strict keeps
/// what is given and fills what is not; use it for records that describe memory. Afterwards nRowBytes is at least the
/// row size, and sizes are even where chroma or fields need it. A record of a format without a rate is left as it is
/// and answers 0; a disabled one is left as it is.
int32_t VidProps_Normalize(ZF_VID_PROPS* _pVidProps, bool _bStrict);

/// The named format with this width, height, rate (within 0.01, its sign left aside) and, where set, interlace; 0 for
/// none. Exact: no blanking lines on top of the active ones.
int32_t VidProps_DetectFormat(const ZF_VID_PROPS* _pVidProps, bool _bExact);

/// +1 top field first, -1 bottom field first, 0 progressive or unknown. A record without an interlace takes the one of
/// its format.
int32_t VidProps_FieldOrder(const ZF_VID_PROPS* _pVidProps);

/// Width to height of the picture as shown: the record's aspect, else from its size, else 16:9.
double VidProps_DisplayAspect(const ZF_VID_PROPS* _pVidProps);
/// Width to height of one pixel as shown.
double VidProps_PixelAspect(const ZF_VID_PROPS* _pVidProps);

/// True when the first row in memory is the bottom one: RGB family save eZFCC_RGB8, positive height, stride not
/// negative.
bool VidProps_IsBottomUp(const ZF_VID_PROPS* _pVidProps);

/// Whether anything in a record is set; strict: whether it describes a picture. False for a disabled record.
bool VidProps_IsSet(const ZF_VID_PROPS* _pVidProps, bool _bStrict);

/// Whether two records, completed, describe the same pictures. Level 0: format or rate, code, size, interlace and
/// aspect (where both have one). Level 1: the size alone; 2: and the code; 3 and above: and the stride. Null is equal
/// to null only.
bool VidProps_Same(const ZF_VID_PROPS* _pVidPropsA, const ZF_VID_PROPS* _pVidPropsB, int32_t _nLevel);
