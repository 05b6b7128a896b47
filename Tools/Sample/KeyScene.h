#pragma once

#include "zkhost/Files/Picture.h"

#include "Base/ZPtr.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/IZFFrame.h"
#include "Video/ZFramePool.h"

/// A scene with keys of its own and the one right mask, for measuring and for long runs.
enum eKeyScene
{
    eKS_Screen, ///< the left half is stripes of backdrop, one a key, the right half is none; all with a little noise
    eKS_Random, ///< random bytes: no two pixels go the same way, and many lie on soft edges
};

/// The least width and height of a scene.
inline constexpr int c_nKeySceneMinSide = 64;

PICTURE KeyScene_Picture(int _nWidth, int _nHeight, int _nKeys, eKeyScene _eScene = eKS_Screen);

/// A frame of the picture in a pixel format. Throws CZUsageError for a format that is not written, or cannot keep the
/// size. _pPoolOrNull: where its memory, and that of frames made from it, comes from; null: a pool of its own.
CZPtr<IZFFrame> KeyScene_Frame(const PICTURE& _picture, uint32_t _fccType, CZFramePool* _pPoolOrNull = nullptr);

/// The key type that suits a pixel format: RGB for RGB formats, YUV for the others.
eCK_Type KeyScene_Type(uint32_t _fccType);

/// The keys of the stripes, for frames of the given properties.
CHROMA_KEY_RAW KeyScene_Keys(const ZF_VID_PROPS& _vidProps, eCK_Type _eType, int _nKeys);

/// Throws CZHostError, saying where, when a mask is not the one of the screen: 0 on the left, 255 on the right. The
/// edges of stripes are left out, because formats with shared chroma blend colours there.
void KeyScene_Check(const PICTURE& _mask, int _nKeys);
