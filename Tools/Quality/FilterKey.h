#pragma once

#include "Quality/HardClip.h"

/// FFmpeg's keying filters on frames of a hard scene, through the ffmpeg command.

enum eFilter
{
    eFilter_ChromaKey, ///< by distance in U and V
    eFilter_ColorKey,  ///< by distance in R, G and B
};

/// How a filter is set: the two numbers that it takes.
struct FILTER_SETTING
{
    double dblSimilarity;
    double dblBlend;
};

/// Tries a grid of settings on the first frame and answers the one whose alpha is nearest to the truth. The key is the
/// backdrop's true mean colour. _bQuick: a coarser grid. Throws CZHostError where ffmpeg fails.
FILTER_SETTING FilterKey_Tune(const HARD_CLIP& _clip, eFilter _eFilter, bool _bQuick);

/// Keys the frames with a setting, and then takes the spill out with FFmpeg's despill filter where it knows the screen.
std::vector<PICTURE> FilterKey_Run(const HARD_CLIP& _clip, eFilter _eFilter, const FILTER_SETTING& _setting);
