#pragma once

#include "Helpers/CKDetect.h"
#include "Helpers/FrameSampler.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "ZChromaKey/Keys/KeyScreen.h"

#include <vector>

/// The keys that detection or a sample makes.
struct FOUND_KEYS
{
    std::vector<CKUtils::CALC_KEY> vecKeys;
    std::vector<int32_t> vecSmooth; ///< their smooth ranges; empty: they follow from the half-widths
};

/// Runs detection over the frame of a sampler in one space: no keys if it finds nothing.
///
/// The keys are the calculator's: one unless the options allow more, pulled toward the pure colour by "similarity".
/// With "fit" they are made of the pixels of the screen instead (KeyScreen.h): as many as the light on it asks for, up
/// to "max_keys" where that is above 0, each with the soft edge that the foreground in the picture leaves room for.
FOUND_KEYS KeyFinder_Find(CFrameSampler* _pSampler, eCK_Type _eSpace, const CKUtils::CK_DETECT_OPTIONS& _options,
                          std::vector<CKUtils::CK_BLOCK>* _pBlocksOrNull);

/// The screen of a colour in the frame of a sampler; nBlocks is 0 and the foreground empty where there is next to none.
KEY_SCREEN KeyFinder_ScreenOf(CFrameSampler* _pSampler, eCK_Type _eSpace, const TINT& _tint);

/// The keys of a screen that one sample of it stands for. They hold the sample, and cover the light on the screen;
/// where there is no screen, what is assumed of it (c_lightUnknown).
FOUND_KEYS KeyFinder_KeysOf(const CKUtils::CALC_KEY& _sample, eCK_Type _eSpace, const KEY_SCREEN& _screen);
