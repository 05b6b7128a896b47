#pragma once

#include "ZChromaKey/Engine2/State.h"

/// Veiling glare: lenses and air spread a part of the screen's light over what stands before it, most where much of the
/// screen is near. How much is taken for it depends on what share of the surroundings is sure backdrop, weighted by a
/// tent that reaches a seventh of the height of a 16:9 picture each way. The limiter takes it out (LIMIT_RULES).

inline constexpr int c_nGlareSteps = 15; ///< there is backdrop all around

/// Rows of the plate grid: sure cells, blurred along the rows.
void Glare_Pass(UNMIX_STATE& _state, const FIELD_STATE& _field, int _nFirst, int _nRows);
/// Blurs them across the rows, too, and sets vecGlare.
void Glare_Finish(UNMIX_STATE& _state, FIELD_STATE& _field);
