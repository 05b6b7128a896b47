#pragma once

#include "Interfaces/ZVideoTypes.h"

/// How long a number of bytes of sound lasts, in units of 100 ns, rounded half away from zero and exact over the whole
/// range (the ends of 64 bits where it does not fit). 0 for null and for a record that describes no sound.
int64_t Aud_BytesToTime(const ZF_AUD_PROPS* _pAudProps, int64_t _llBytes);
