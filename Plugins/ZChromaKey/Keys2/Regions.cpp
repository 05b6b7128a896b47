#include "ZChromaKey/Keys2/Regions.h"

#include "Base/ZLog.h"
#include "ZChromaKey/Keys2/Polygon.h"

#include <atomic>

namespace
{

constexpr const char* c_arrNames[Z_REGIONS] = {"garbage", "holdout", "backdrop"};
constexpr int64_t c_nMostPixels = int64_t{1} << 26;    // twice as many as 7680 x 4320 has
constexpr int64_t c_nMostCrossings = int64_t{1} << 25; // rows times corners: half a second

} // namespace

uint64_t KeyChange_Next()
{
    static std::atomic<uint64_t> s_nLast{0};
    return ++s_nLast;
}

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
    if (_nHeight * static_cast<int64_t>(vecPoints.size()) > c_nMostCrossings)
    {
        *_pstrReason = ZFormat("a polygon of %zu corners in %d rows; one times the other must be at most %d",
                               vecPoints.size(), _nHeight, c_nMostCrossings);
        return nullptr;
    }
    auto spRegion = std::make_shared<KEY2_REGION>();
    spRegion->mask = Polygon_Mask(vecPoints, _nWidth, _nHeight);
    spRegion->strPolygon = _strPolygon;
    return spRegion;
}
