#pragma once

#include "Helpers/CKDetect.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "ZChromaKey/KeySampler.h"

#include <vector>

/// Runs detection over the frame of a sampler in one space and makes keys of what it finds; none when that is nothing.
///
/// A single key is made of all pixels in accepted blocks, so that it holds an unevenly lit backdrop whatever block came
/// first, and stray blocks do not move it; several keys are those of the calculator. In YUV each reaches on to the
/// colour that it is pulled to.
std::vector<CKUtils::CALC_KEY> KeyFinder_Find(CKeySampler* _pSampler, eCK_Type _eSpace,
                                              const CKUtils::CK_DETECT_OPTIONS& _options,
                                              std::vector<CKUtils::CK_BLOCK>* _pBlocksOrNull);
