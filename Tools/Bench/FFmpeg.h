#pragma once

#include "Bench/BenchCase.h"
#include "zkhost/Files/Picture.h"

/// Whether the ffmpeg command is there.
bool FFmpeg_IsThere();
/// Processor seconds that a filter takes for a frame, all threads (there is one): those of a whole run of the ffmpeg
/// command over raw frames of the picture, less those of the same run with the filter "null", which reads the frames
/// and throws them away as well. Throws CZHostError.
double FFmpeg_FilterSeconds(const BENCH_FILTER& _filter, const PICTURE& _picture);
