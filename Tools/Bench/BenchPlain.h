#pragma once

#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/ZVideoTypes.h"

#include <cstdint>
#include <vector>

/// The mask that the plain C++ kernels make of a progressive picture, one row after the other, whatever instructions
/// the engine uses. The planes begin with the top row. Formats: eZFCC_RGB32, UYVY, NV12, v210.
std::vector<uint8_t> BenchPlain_Mask(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr,
                                     const CHROMA_KEY_RAW& _rawKey);
