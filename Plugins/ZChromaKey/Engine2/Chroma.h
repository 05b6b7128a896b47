#pragma once

#include "ZChromaKey/Engine2/Cells.h"
#include "ZChromaKey/Engine2/Kernels/ChromaKernels.h"

#include "Image/ImgColor.h"
#include "Interfaces/ZVideoTypes.h"

/// Step 8: pixels better than the 8-bit reader gives them: ten bits kept, and chroma that pixels share rebuilt.
///
/// Near the plate a colour is plate + alpha (foreground - plate), so differences of chroma and of luma from the plate
/// are proportional. The factor between them is fitted over 3x3 chroma samples, weights 1 2 1, through the plate
/// where alpha is low and with a free intercept from half alpha on; luma detail is then put on the interpolated chroma
/// with it:
///     factor = (mean yu - k mean y mean u) / (mean yy - k (mean y)^2 + 60),  y, u: luma, chroma less the plate's
///     u = interpolated u + factor (luma - interpolated luma)
/// The plate is a known point of the line, which makes so small a fit stable. Where foreground prevails it would be
/// wrong: fur is lighter and darker in places without another hue. So k = min(2 mean alpha, 1); alpha is how much of
/// the plate's chroma p is gone, what chroma s has across it counting as foreground:
///     alpha = 1 - (s . p - 0.7 wedge |s x p|) / p . p
/// A chroma sample counts as lying in the middle of the pixels that share it.

UNMIX_SAMPLES Chroma_Samples(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, eZYMatrix _eMatrix);
/// Pixels that have chroma of their own, but less fine than their luma, for it was shared by two of a row and, with
/// _bRowsShare, of two rows before they became RGB. With _bSmooth it is kept, and they get _fltGain of what luma's
/// detail adds.
UNMIX_SAMPLES Chroma_PixelSamples(const UNMIX_PICTURE& _picture, bool _bRowsShare, bool _bSmooth, float _fltGain);
/// The rows of one of _nFields fields.
UNMIX_SAMPLES Chroma_Field(const UNMIX_SAMPLES& _samples, int _nField, int _nFields);

/// Of the wedge: chroma is measured by hue here, not by the key's forms.
inline constexpr float c_fltChromaAcross = .7f;

/// What turns numbers of the job's samples and levels of the plate into those of the kernels.
void Chroma_MakeScales(CHROMA_JOB& _job);
/// What the kernels take.
CHROMA_JOB Chroma_Job(const UNMIX_STATE& _state, const FIELD_STATE& _field, const UNMIX_SAMPLES& _samples,
                      uint16_t* _pDeep0, ptrdiff_t _nDeepStride);

/// Rows of cells: writes what Pixels_Pass needs to _pDeep0: mixed cells and the pixels next to them, and of deep
/// pictures the solid ones.
void Chroma_Pass(const UNMIX_STATE& _state, const FIELD_STATE& _field, const UNMIX_SAMPLES& _samples, uint16_t* _pDeep0,
                 ptrdiff_t _nDeepStride, int _nFirst, int _nRows);
/// The same of a part of a pass alone, with the rows of pixels above and below it, into its room. The picture whose
/// pixels are there.
UNMIX_PICTURE Chroma_PartPass(const UNMIX_STATE& _state, const FIELD_STATE& _field, const UNMIX_SAMPLES& _samples,
                              const UNMIX_PICTURE& _picture, const CPassRooms::ROOM& _room, int _nFirst, int _nRows);
/// The bytes of such a room, for c_nPassPart rows of cells.
size_t Chroma_RoomBytes(int _nWidth);
