#pragma once

#include "ZChromaKey/Engine2/Pixels.h"

/// What comes after the key: shadows that are kept, regions, the input's own alpha, and the views of an operator.

/// Step 13: the density of shadows on the backdrop, 0 to 1, on the plate's grid (vecShade): how far X of the plate is
/// below a wide upper envelope of itself, less an eighth that uneven light takes.
void Views_FindShadows(UNMIX_STATE& _state);

/// Whether Views_Pass has anything to do.
bool Views_Wanted(const UNMIX_STATE& _state, const UNMIX_PICTURE& _picture);

/// Rows of cells, after Pixels_Pass: changes the result.
void Views_Pass(const UNMIX_STATE& _state, const FIELD_STATE& _field, int _nField, const UNMIX_PICTURE& _picture,
                const UNMIX_RESULT& _result, int _nFirst, int _nRows);
