#include "ZChromaKey/Keys2/Regions.h"

#include "Base/ZLog.h"
#include "ZChromaKey/Keys2/Polygon.h"

namespace
{

constexpr const char* c_arrNames[Z_REGIONS] = {"garbage", "holdout", "backdrop"};
constexpr int64_t c_nMostPixels = int64_t{1} << 26; // twice as many as 7680 x 4320 has

} // namespace

const char* Region_Name(int32_t _eRegion)
{
    return c_arrNames[_eRegion];
}

std::shared_ptr<KEY2_REGION> Region_OfPolygon(const std::string& _strPolygon, int32_t _nWidth, int32_t _nHeight,
                                              std::string* _pstrReason)
{
    if (_nWidth < 1 || _nHeight < 1 || int64_t{_nWidth} * _nHeight > c_nMostPixels)
    {
        *_pstrReason = ZFormat("a polygon in a picture of %d x %d pixels; there must be 1 to %d of them", _nWidth,
                               _nHeight, c_nMostPixels);
        return nullptr;
    }
    std::vector<POLYGON_POINT> vecPoints;
    if (!Polygon_Read(_strPolygon, &vecPoints, _pstrReason))
        return nullptr;
    auto spRegion = std::make_shared<KEY2_REGION>();
    spRegion->mask = Polygon_Mask(vecPoints, _nWidth, _nHeight);
    spRegion->strPolygon = _strPolygon;
    return spRegion;
}
