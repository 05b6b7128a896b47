#pragma once

#include "ZChromaKey/Engine2/State.h"

/// Rows of cells: |difference of D| between pixels two apart in sure backdrop, summed up in vecNoise.
void Noise_Pass(UNMIX_STATE& _state, const FIELD_STATE& _field, int _nFirst, int _nRows);
/// Brings the noise of the stream a fifth of the way to that of the picture; all the way for its first. Noise is the
/// mean of the differences x 0.886, which is the standard deviation where it is normal.
void Noise_Learn(UNMIX_STATE& _state);
