#pragma once

#include "Bench/BenchResults.h"

/// The results as curves: over the number of keys, the size, the number of threads and the level.
PICTURE BenchPlot_Draw(const CBenchResults& _results);
