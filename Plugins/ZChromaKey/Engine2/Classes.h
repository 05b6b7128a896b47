#pragma once

#include "ZChromaKey/Engine2/State.h"

/// Steps 6 and 7: which cells are backdrop, which are solid, and which need the full maths; and what solid foreground
/// looks like.

/// Rows of cells: bounds of the difference from the cell's least and greatest values say what no pixel of it can be.
/// Sets bitsSolid0, bitsInner, bitsDoubt, bitsBackdrop and bitsSolid as they are before neighbours are looked at.
void Classes_Pass(UNMIX_STATE& _state, FIELD_STATE& _field, int _nFirst, int _nRows);

/// The rest, with neighbours: holes inside bodies close, the core keeps three cells away from anything open.
void Classes_Finish(UNMIX_STATE& _state, FIELD_STATE& _field);

/// \name The foreground plate with its confidence: means of solid cells, spread
///@{
/// Pairs of rows of the plate grid, Foreground_Pairs of them: means.
void Foreground_Pass(const UNMIX_STATE& _state, FIELD_STATE& _field, int _nFirst, int _nPairs);
int Foreground_Pairs(const FIELD_STATE& _field);
void Foreground_Spread(FIELD_STATE& _field);
/// Rows of the plate grid: what was spread is put where there was nothing.
void Foreground_FillPass(FIELD_STATE& _field, int _nFirst, int _nRows);
///@}
