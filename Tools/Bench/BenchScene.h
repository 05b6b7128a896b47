#pragma once

#include "Bench/BenchRing.h"
#include "zkhost/Files/Picture.h"

#include "Base/ZPtr.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/IZFFrame.h"
#include "Video/ZFramePool.h"

/// What a benchmark keys.
enum eBenchScene
{
    eBS_Screen, ///< the left half is stripes of backdrop, one a key, the right half is none; all with a little noise
    eBS_Random, ///< random bytes: no two pixels go the same way, and many lie on soft edges
};

/// The least width and height of a scene.
inline constexpr int c_nBenchMinSide = 64;

PICTURE BenchScene_Picture(int _nWidth, int _nHeight, int _nKeys, eBenchScene _eScene = eBS_Screen);

/// A frame of the picture in a pixel format. Throws CZUsageError for a format that is not written, or cannot keep the
/// size. _pPoolOrNull: where its memory, and that of frames made from it, comes from; null: a pool of its own.
CZPtr<IZFFrame> BenchScene_Frame(const PICTURE& _picture, uint32_t _fccType, CZFramePool* _pPoolOrNull = nullptr);

/// Frames of the picture, each with pixels of its own.
BENCH_RING BenchScene_Ring(const PICTURE& _picture, uint32_t _fccType);

/// The key type that suits a pixel format: RGB for RGB formats, YUV for the others.
eCK_Type BenchScene_Type(uint32_t _fccType);

/// The keys of the stripes, for frames of the given properties.
CHROMA_KEY_RAW BenchScene_Keys(const ZF_VID_PROPS& _vidProps, eCK_Type _eType, int _nKeys);

/// Throws CZHostError, saying where, when a mask is not the one of the screen: 0 on the left, 255 on the right. The
/// edges of stripes are left out, because formats with shared chroma blend colours there.
void BenchScene_Check(const PICTURE& _mask, int _nKeys);
