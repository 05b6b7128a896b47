#pragma once

#include "zkhost/Files/Picture.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

struct CHART_LINE
{
    std::string strName;
    uint32_t nRGB;
    std::vector<std::pair<size_t, double>> arrPoints; ///< tick and height; heights are above 0
};

/// Lines over a few ticks that stand equally far apart; heights are on a logarithmic scale.
struct CHART
{
    std::string strTitle;
    std::vector<std::string> arrTicks;
    std::vector<CHART_LINE> arrLines;
};

/// Draws a chart into a part of a picture.
void Chart_Draw(PICTURE& _picture, int _nLeft, int _nTop, int _nWidth, int _nHeight, const CHART& _chart);
