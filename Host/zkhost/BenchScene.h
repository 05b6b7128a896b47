#pragma once

#include "zkhost/Picture.h"

#include "Base/ZPtr.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/IZFFrame.h"
#include "Video/ZFramePool.h"

/// A picture whose mask is known: the left half is stripes of backdrop, one a key, the right half is none; all with a
/// little noise. At least c_nBenchMinSide pixels each way.
inline constexpr int c_nBenchMinSide = 64;

/// The picture; another number gives other noise.
PICTURE BenchScene_Picture(int _nWidth, int _nHeight, int _nKeys, uint32_t _nNumber);

/// A frame of the picture in a pixel format. Throws CZUsageError for a format that is not written, or cannot keep the
/// size. _pPoolOrNull: where its memory, and that of frames made from it, comes from; null: a pool of its own.
CZPtr<IZFFrame> BenchScene_Frame(const PICTURE& _picture, uint32_t _fccType, CZFramePool* _pPoolOrNull = nullptr);

/// The keys of the stripes, in the space of the pixel format: RGB, or YUV with the matrix of such a frame.
CHROMA_KEY_RAW BenchScene_Keys(const ZF_VID_PROPS& _vidProps, int _nKeys);

/// Throws CZHostError, saying where, when a mask is not the one of the picture: 0 on the left, 255 on the right. The
/// edges of stripes are left out, because formats with shared chroma blend colours there.
void BenchScene_Check(const PICTURE& _mask, int _nKeys);
