#pragma once

#include "Interfaces/ZPlatform.h"
#include "Interfaces/ZVideoTypes.h"

#include <cstddef>
#include <cstdint>

/// Writes a picture of bytes B, G, R, A into any format that CImgRowReader reads; for tests and sample generators.
///
/// _pBGRA: the top row, rows _nStride bytes apart, of the record's width and |height|. YUV has the matrix of
/// Img_MatrixOf; chroma is the rounded mean of the pixels that share it, in interlaced 4:2:0 of one field. 10-bit
/// samples are four times the 8-bit ones. RGB8 takes luma: (R + 2G + B) / 4, rounded. Only whole samples are written,
/// nothing between the row's end and the stride. The planes are as VidPtr_Build gives them, flipped or not.
///
/// E_NOTIMPL: another format; E_INVALIDARG: no pixel, a missing plane or a stride shorter than a row.
HRESULT ZFrameWriter_Write(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, const uint8_t* _pBGRA,
                           ptrdiff_t _nStride);
