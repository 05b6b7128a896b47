#pragma once

#include "Bench/BenchCase.h"

/// Whether the ffmpeg command is there.
bool FFmpeg_IsThere();
/// Processor seconds that a filter takes for a frame, all threads (there is one): those of a whole run of the ffmpeg
/// command over raw frames of the scene, less those of the same run with the filter "null", which reads the frames and
/// throws them away as well. Throws CZHostError.
double FFmpeg_FilterSeconds(const BENCH_CASE& _case);
