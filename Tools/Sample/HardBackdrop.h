#pragma once

#include "Sample/HardScene.h"

/// How backdrops of hard scenes are lit: a factor a channel, mostly 0.7 to 1.1.

/// Cloth lit by two lamps, a fifth darker towards its edges, with soft creases.
SAMPLE_COLOR HardBackdrop_Cloth(SAMPLE_POINT _p, const HARD_MOMENT& _moment);
/// A painted wall, lit from one side.
SAMPLE_COLOR HardBackdrop_Wall(SAMPLE_POINT _p, const HARD_MOMENT& _moment);
/// The person in front throws a shadow on it.
SAMPLE_COLOR HardBackdrop_Shadow(SAMPLE_POINT _p, const HARD_MOMENT& _moment);
/// With crosses of tape and a few dots for a tracking program.
SAMPLE_COLOR HardBackdrop_Marks(SAMPLE_POINT _p, const HARD_MOMENT& _moment);
/// Lamps on alternating current: bands roll through, and the whole beats.
SAMPLE_COLOR HardBackdrop_Lamps(SAMPLE_POINT _p, const HARD_MOMENT& _moment);
