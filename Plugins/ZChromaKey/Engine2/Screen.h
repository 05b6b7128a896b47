#pragma once

#include "ZChromaKey/Engine2/State.h"

/// Step 2: the key, and which cells are certainly backdrop.

/// The forms of a key; wedge 1.
KEY_FORMS Screen_Forms(const UNMIX_KEY& _key);

/// How far a colour is protected, 0 to 1: wholly inside a protected colour's range, not at all from 1.5 times it on.
float Screen_Protection(const UNMIX_SETUP& _setup, const VEC4& _colour);

/// A protected colour's hue, saturation and value, and 1 over its half axes, for who works that out elsewhere; of
/// value, in levels. The last of four numbers stays.
void Screen_ProtectedOf(const UNMIX_PROTECTED& _protected, float (&_arrCentre)[4], float (&_arrOne)[4]);

/// Finds the backdrop of a picture whose cells are known: the hue with the largest flat, saturated area; hues of skin
/// count a fifth. False, with nothing changed: no such area is large enough and reaches along the picture's upper
/// border, so nothing in the picture behaves like a backdrop.
bool Screen_FindKey(const UNMIX_CELLS& _cells, UNMIX_KEY* _pKey);

/// Marks the cells within the range of a key (bitsWide), the protected ones, keeps X of the nearest key, and counts the
/// steps of X between the neighbours of cells in range. With hue, saturation and value of the key's colour as centre, a
/// cell is in range where
///     (dh / hue)^2 + (ds / saturation)^2 + (dv / value)^2 < 1
/// and its contrast is that of a flat surface with noise. Less saturated and darker count only, for light that falls
/// on the screen makes it neither. _nFirst: a multiple of c_nPassPart.
void Screen_Pass(UNMIX_STATE& _state, FIELD_STATE& _field, int _nField, int _nFirst, int _nRows);

/// The greatest step of a sure cell: five medians, in 128ths. A screen changes slowly.
int Screen_StepLimit(const UNMIX_STATE& _state, const FIELD_STATE& _field);

/// Rows of sure cells: cells in range with such cells all around them, without such a step, and all of that once more.
/// _nFirst: as above.
void Screen_SurePass(UNMIX_STATE& _state, FIELD_STATE& _field, int _nLimit, int _nFirst, int _nRows);
