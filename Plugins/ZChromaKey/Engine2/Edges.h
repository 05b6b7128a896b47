#pragma once

#include "ZChromaKey/Engine2/Pixels.h"
#include "ZChromaKey/Engine2/Runner.h"

/// What is done to the edges of a picture that is keyed: they are moved, then blurred.

/// Whether the setup asks for any of it; nothing is read or allocated where it does not.
bool Edges_Wanted(const UNMIX_STATE& _state);

/// Moves the edges of the result by `choke` pixels of the frame, inwards where positive, and blurs them over `soften`
/// pixels; lines of a field count twice. Colours stay, and where alpha grows, what is added has the colour of the
/// foreground plate.
///
/// The edge moves by the least (or greatest) alpha on rings round a pixel, bilinear between pixels: exact for straight
/// edges of any direction and fractions of a pixel. The blur is a tent of sum 1 along both axes. Integers, so that
/// every kernel agrees.
void Edges_Change(UNMIX_STATE& _state, const FIELD_STATE& _field, const UNMIX_PICTURE& _picture,
                  const UNMIX_RESULT& _result, IRowRunner& _runner);
