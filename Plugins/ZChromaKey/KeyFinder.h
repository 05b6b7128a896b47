#pragma once

#include "Helpers/CKDetect.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "ZChromaKey/KeySampler.h"

#include <vector>

/// Runs detection over the frame of a sampler in one space and makes keys of what it finds; none when that is nothing.
///
/// The calculator decides how many keys there are; each is then fitted to the pixels of its blocks, so that it holds an
/// unevenly lit backdrop whatever block came first, and stray blocks do not move it. In YUV each reaches on to the
/// colour that it is pulled to.
std::vector<CKUtils::CALC_KEY> KeyFinder_Find(CKeySampler* _pSampler, eCK_Type _eSpace,
                                              const CKUtils::CK_DETECT_OPTIONS& _options,
                                              std::vector<CKUtils::CK_BLOCK>* _pBlocksOrNull);
