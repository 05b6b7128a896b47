#pragma once

#include "zkhost/Files/Picture.h"

#include <string>

/// One frame of a clip before a green screen, keyed by FFmpeg's chromakey with its despill, by the first generation and
/// by the second: whole, and two parts enlarged. Each sees this frame alone. Both generations find the
/// backdrop by themselves; FFmpeg gets its true mean colour and the best of a grid of settings, chosen against the
/// truth. Where ffmpeg is not installed its column is missing, which a line on standard error says.
///
/// _strTruth: the true alpha of the clip's frames, grey. _nFrame: counted from 1. Throws CZHostError.
PICTURE Comparison_Draw(const std::string& _strClip, const std::string& _strTruth, int64_t _nFrame);
