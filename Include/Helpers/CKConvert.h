#pragma once

#include "Image/ImgColor.h"
#include "Interfaces/ChromaKeyTypes.h"

namespace CKUtils
{

/// The keys of a set in another key type's space. Centres are converted; the half-width of each component becomes the
/// farthest that the six ends of the old half-axes lie from the new centre, at least 1, so that a key keeps about the
/// colours it had. Everything else stays.
///
/// Between types that are not RGB, HLS or YUV only the type changes. _eMatrix: the one that YUV keys are measured in.
/// The same bytes on every machine: sums, products and quotients only.
CHROMA_KEY_RAW ConvertKeys(const CHROMA_KEY_RAW& _key, eCK_Type _eType, eZYMatrix _eMatrix);

} // namespace CKUtils
