#pragma once

#include "ZChromaKey/Engine2/Cells.h"

/// What the bodies of the first picture with a backdrop say about each key; kept until the next start or cut.
///
/// The wedge: the smallest of 1, 1.5, 2, 2.5, 3 (green: up to 2) that makes flat cells inside bodies solid: skin before
/// yellow, some denim before blue.
///
/// How open bodies of the key's own hue look, which no wedge closes: other denim before blue. Cells inside bodies are
/// counted by D / X of the backdrop. Solid things lie near 0; veils, glass and soft edges spread over all of it. A heap
/// of its own between 0.15 and 0.6, with fewer to its left and next to none to its right, is cloth: up to its right
/// end, core is solid (Classes) and its tint is its own (the limiter). Not for green: what looks like that is a floor
/// in the light of the screen far more often than cloth.
void Bodies_Measure(UNMIX_STATE& _state, FIELD_STATE& _field);
