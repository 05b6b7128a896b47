#include "ZChromaKey/Keys2/Polygon.h"

#include "Base/ZLog.h"
#include "Props/PropText.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr size_t c_nLeastPoints = 3;
constexpr size_t c_nMostPoints = 4096;
constexpr double c_dblMost = 100000; // pixels, far outside any picture
constexpr std::string_view c_svBetween = " \t\r\n;";

bool ReadPoint(std::string_view _svPoint, POLYGON_POINT* _pPoint)
{
    const size_t nComma = _svPoint.find(',');
    return nComma != std::string_view::npos && PropText_ReadDouble(_svPoint.substr(0, nComma), &_pPoint->dblX) &&
           PropText_ReadDouble(_svPoint.substr(nComma + 1), &_pPoint->dblY) && std::abs(_pPoint->dblX) <= c_dblMost &&
           std::abs(_pPoint->dblY) <= c_dblMost;
}

/// Where a row's centre line meets the polygon, from left to right.
void Crossings(const std::vector<POLYGON_POINT>& _vecPoints, double _dblY, std::vector<double>* _pvecX)
{
    _pvecX->clear();
    const POLYGON_POINT* pFrom = &_vecPoints.back();
    for (const POLYGON_POINT& to : _vecPoints)
    {
        if ((pFrom->dblY <= _dblY) != (to.dblY <= _dblY))
            _pvecX->push_back(pFrom->dblX + (_dblY - pFrom->dblY) / (to.dblY - pFrom->dblY) * (to.dblX - pFrom->dblX));
        pFrom = &to;
    }
    std::ranges::sort(*_pvecX);
}

/// The first column whose centre is at or behind a place.
int32_t ColumnFrom(double _dblX, int32_t _nWidth)
{
    return static_cast<int32_t>(std::clamp(std::ceil(_dblX - 0.5), 0.0, static_cast<double>(_nWidth)));
}

} // namespace

bool Polygon_Read(std::string_view _svText, std::vector<POLYGON_POINT>* _pvecPoints, std::string* _pstrReason)
{
    std::vector<POLYGON_POINT> vecPoints;
    size_t nPos = _svText.find_first_not_of(c_svBetween);
    while (nPos != std::string_view::npos)
    {
        const size_t nEnd = std::min(_svText.find_first_of(c_svBetween, nPos), _svText.size());
        const std::string_view svPoint = _svText.substr(nPos, nEnd - nPos);
        POLYGON_POINT point = {};
        if (!ReadPoint(svPoint, &point) || vecPoints.size() == c_nMostPoints)
        {
            *_pstrReason = ZFormat("character %zu: %hs, write %zu to %zu corners as x,y x,y x,y in pixels up to %g",
                                   nPos + 1, PropText_Quote(svPoint), c_nLeastPoints, c_nMostPoints, c_dblMost);
            return false;
        }
        vecPoints.push_back(point);
        nPos = _svText.find_first_not_of(c_svBetween, nEnd);
    }
    if (vecPoints.size() < c_nLeastPoints)
    {
        *_pstrReason = ZFormat("character %zu: the text ends after %zu corners, a polygon has at least %zu",
                               _svText.size() + 1, vecPoints.size(), c_nLeastPoints);
        return false;
    }
    *_pvecPoints = std::move(vecPoints);
    return true;
}

IMG_MASK Polygon_Mask(const std::vector<POLYGON_POINT>& _vecPoints, int32_t _nWidth, int32_t _nHeight)
{
    IMG_MASK mask = {_nWidth, _nHeight, {}};
    mask.vecBytes.resize(static_cast<size_t>(_nWidth) * static_cast<size_t>(_nHeight));
    std::vector<double> vecX;
    for (int32_t y = 0; y < _nHeight; ++y)
    {
        Crossings(_vecPoints, y + 0.5, &vecX);
        uint8_t* const pRow = mask.vecBytes.data() + static_cast<size_t>(y) * static_cast<size_t>(_nWidth);
        for (size_t n = 0; n + 1 < vecX.size(); n += 2)
            std::fill(pRow + ColumnFrom(vecX[n], _nWidth), pRow + ColumnFrom(vecX[n + 1], _nWidth), uint8_t{255});
    }
    return mask;
}
