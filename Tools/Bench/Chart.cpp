#include "Bench/Chart.h"

#include "zkhost/Files/Label.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace
{

constexpr uint32_t c_nInk = 0x202020;
constexpr uint32_t c_nGrid = 0xD8D8D8;
constexpr int c_nMargin = 56;
constexpr int c_nLetter = 7; // pixels, about
constexpr int c_nLegendRow = 14;

struct POINT
{
    double dblX, dblY;
};

/// Where the chart's inside lies, and how heights become rows.
struct FRAME
{
    int nLeft, nTop, nRight, nBottom;
    double dblLow, dblHigh; ///< logarithms of the lowest and highest height
    size_t nTicks;

    double Column(size_t _nTick) const
    {
        const auto nGaps = static_cast<double>(std::max<size_t>(nTicks, 2) - 1);
        return nLeft + (nRight - nLeft) * (0.06 + 0.88 * static_cast<double>(_nTick) / nGaps);
    }
    double Line(double _dblHeight) const
    {
        return nBottom - (nBottom - nTop) * (std::log10(_dblHeight) - dblLow) / (dblHigh - dblLow);
    }
};

void DrawLine(PICTURE& _picture, POINT _from, POINT _to, uint32_t _nRGB)
{
    const double dblLength = std::max(std::abs(_to.dblX - _from.dblX), std::abs(_to.dblY - _from.dblY));
    const int nSteps = std::max(static_cast<int>(dblLength), 1);
    for (int i = 0; i <= nSteps; ++i)
    {
        const double dblPart = static_cast<double>(i) / nSteps;
        const int nX = static_cast<int>(std::lround(_from.dblX + (_to.dblX - _from.dblX) * dblPart));
        const int nY = static_cast<int>(std::lround(_from.dblY + (_to.dblY - _from.dblY) * dblPart));
        Picture_Fill(_picture, nX - 1, nY - 1, nX + 1, nY + 1, _nRGB);
    }
}

FRAME FrameOf(int _nLeft, int _nTop, int _nWidth, int _nHeight, const CHART& _chart)
{
    double dblLeast = 1e30, dblMost = 1e-30;
    for (const CHART_LINE& line : _chart.arrLines)
        for (const auto& [nTick, dblHeight] : line.arrPoints)
        {
            dblLeast = std::min(dblLeast, dblHeight);
            dblMost = std::max(dblMost, dblHeight);
        }
    if (dblMost < dblLeast)
        dblLeast = dblMost = 1;
    const int nLegend = c_nLegendRow * static_cast<int>(_chart.arrLines.size());
    return {_nLeft + c_nMargin,          _nTop + 40 + nLegend,       _nLeft + _nWidth - 12, _nTop + _nHeight - 30,
            std::log10(dblLeast) - 0.05, std::log10(dblMost) + 0.05, _chart.arrTicks.size()};
}

/// Lines at 1, 2 and 5 times the powers of ten.
void DrawGrid(PICTURE& _picture, const FRAME& _frame)
{
    for (int nPower = static_cast<int>(std::floor(_frame.dblLow)); nPower <= _frame.dblHigh; ++nPower)
        for (const int nDigit : {1, 2, 5})
        {
            const double dblHeight = nDigit * std::pow(10.0, nPower);
            if (std::log10(dblHeight) < _frame.dblLow || std::log10(dblHeight) > _frame.dblHigh)
                continue;
            const int nLine = static_cast<int>(_frame.Line(dblHeight));
            Picture_Fill(_picture, _frame.nLeft, nLine, _frame.nRight, nLine + 1, c_nGrid);
            const std::string strHeight = ZFormat("%g", dblHeight);
            Label_Draw(_picture, _frame.nLeft - 6 - c_nLetter * static_cast<int>(strHeight.size()), nLine - 4, 1,
                       c_nInk, strHeight);
        }
}

} // namespace

void Chart_Draw(PICTURE& _picture, int _nLeft, int _nTop, int _nWidth, int _nHeight, const CHART& _chart)
{
    const FRAME frame = FrameOf(_nLeft, _nTop, _nWidth, _nHeight, _chart);
    Label_Draw(_picture, frame.nLeft, _nTop + 8, 2, c_nInk, _chart.strTitle);
    DrawGrid(_picture, frame);
    Picture_Fill(_picture, frame.nLeft, frame.nTop, frame.nLeft + 1, frame.nBottom, c_nInk);
    Picture_Fill(_picture, frame.nLeft, frame.nBottom, frame.nRight, frame.nBottom + 1, c_nInk);
    for (size_t i = 0; i < _chart.arrTicks.size(); ++i)
        Label_Draw(_picture,
                   static_cast<int>(frame.Column(i)) - c_nLetter * static_cast<int>(_chart.arrTicks[i].size()) / 2,
                   frame.nBottom + 8, 1, c_nInk, _chart.arrTicks[i]);
    int nLegend = _nTop + 30;
    for (const CHART_LINE& line : _chart.arrLines)
    {
        Picture_Fill(_picture, frame.nLeft, nLegend + 3, frame.nLeft + 20, nLegend + 5, line.nRGB);
        Label_Draw(_picture, frame.nLeft + 28, nLegend, 1, c_nInk, line.strName);
        nLegend += c_nLegendRow;
        for (size_t i = 0; i < line.arrPoints.size(); ++i)
        {
            const auto fnPoint = [&](size_t _nPoint) {
                const auto& [nTick, dblHeight] = line.arrPoints[_nPoint];
                return POINT{frame.Column(nTick), frame.Line(dblHeight)};
            };
            const POINT point = fnPoint(i);
            const int nX = static_cast<int>(point.dblX), nY = static_cast<int>(point.dblY);
            Picture_Fill(_picture, nX - 3, nY - 3, nX + 3, nY + 3, line.nRGB);
            if (i > 0)
                DrawLine(_picture, fnPoint(i - 1), point, line.nRGB);
        }
    }
}
