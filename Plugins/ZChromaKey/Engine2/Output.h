#pragma once

#include "ZChromaKey/Engine2/Pixels.h"

#include <cstdint>

/// The result of a picture in the forms that a job asks for besides straight alpha.

/// The alpha of a row of the result as bytes of the mask; 16 bits are rounded to nearest.
void Output_Mask(const UNMIX_RESULT& _result, int _nRow, int _nWidth, uint8_t* _pMask);
/// Multiplies the colours of a row by their alpha, rounded to nearest.
void Output_Premultiply(const UNMIX_RESULT& _result, int _nRow, int _nWidth);
