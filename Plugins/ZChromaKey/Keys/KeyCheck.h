#pragma once

#include "Interfaces/ChromaKeyTypes.h"

/// What callers hand in is checked before it is taken over; what is wrong stands in the log.

/// Whether a key set says that it has 0 to 16 keys.
bool KeyCheck_Count(const CHROMA_KEY_RAW& _key);

/// Whether all adjustments are finite numbers; those outside their ranges act as the nearest end.
bool KeyCheck_Adjust(const CK_ADJUST& _adjust);
