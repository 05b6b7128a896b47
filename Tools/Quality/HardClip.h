#pragma once

#include "Quality/Score.h"
#include "Sample/HardScene.h"

#include <functional>

class CZKeyer;

/// Frames of a hard scene, and what keyers make of them.

struct HARD_CLIP
{
    const HARD_SCENE* pScene = nullptr;
    std::vector<PICTURE> vecPictures;
    std::vector<PICTURE> vecTruths;
    uint32_t fccType = 0; ///< how frames go in; 0: RGB32, or ARGB32 where they have alpha
};

HARD_CLIP HardClip_Paint(const HARD_SCENE& _scene, int _nWidth, int _nHeight, int _nFrames);

/// Whether the backdrop is blue, green, or neither.
enum eHardScreen
{
    eHS_Green,
    eHS_Blue,
    eHS_Other,
};
eHardScreen HardClip_Screen(const HARD_SCENE& _scene);
/// A colour, 0xRRGGBB, on which the backdrop's tint is seen at once.
uint32_t HardClip_Ground(const HARD_SCENE& _scene);

/// Keys the frames in order with an object of the plug-in module, generation 1 or 2, which finds the backdrop in the
/// first one by itself; nothing else is set, unless _fnBefore does so: it is called before each frame, with its number
/// counted from 0. Frames with alpha go in with it. Where no backdrop is found the frames come back opaque, as a host
/// would show them. Throws CZHostError.
std::vector<PICTURE> HardClip_Key(const HARD_CLIP& _clip, int _nGeneration,
                                  const std::function<void(CZKeyer& _keyer, size_t _nFrame)>& _fnBefore = {});

/// A picture with straight alpha laid over one colour, 0xRRGGBB, as coded values or as light.
PICTURE HardClip_Over(const PICTURE& _picture, uint32_t _nGround, bool _bLinear);

QUALITY HardClip_Score(const HARD_CLIP& _clip, const std::vector<PICTURE>& _vecKeyed);
