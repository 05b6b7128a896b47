#pragma once

#include "Helpers/CKDetect.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "Helpers/FrameSampler.h"

#include <vector>

/// Runs detection over the frame of a sampler in one space and makes keys of what it finds: none if it finds nothing.
///
/// The calculator decides which blocks are the backdrop and to which of its keys they belong; the keys are then made of
/// the pixels of these blocks, so that it does not matter which block came first, and stray ones do not count. Unless
/// the options say how many keys there may be, each becomes the few keys that cover the light measured on its blocks;
/// else one that holds them all, in YUV up to the colour that the key is pulled to.
std::vector<CKUtils::CALC_KEY> KeyFinder_Find(CFrameSampler* _pSampler, eCK_Type _eSpace,
                                              const CKUtils::CK_DETECT_OPTIONS& _options,
                                              std::vector<CKUtils::CK_BLOCK>* _pBlocksOrNull);
