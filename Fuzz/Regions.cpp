// Regions of the second generation: any text as a polygon, corners of any kind, in pictures of any small size. Masks
// are held against asking every pixel whether it is inside; a document with a region loads into the same region.

#include "Support/FuzzTarget.h"

#include "Base/ZBstr.h"
#include "Base/ZLog.h"
#include "Base/ZText.h"
#include "Image/ImgPlane.h"
#include "Interfaces/IZChromaKey2.h"
#include "Interfaces/IZFPersist.h"
#include "Video/ZFrame.h"
#include "ZChromaKey/Keys2/Polygon.h"
#include "ZChromaKey/Keys2/Regions.h"
#include "ZChromaKey/Objects/Module.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace
{

constexpr int c_nMostCorners = 40;

/// How far a place is from the line between two corners.
double Distance(const POLYGON_POINT& _from, const POLYGON_POINT& _to, double _dblX, double _dblY)
{
    const double dblX = _to.dblX - _from.dblX, dblY = _to.dblY - _from.dblY;
    const double dblLength = dblX * dblX + dblY * dblY;
    const double dblAlong = dblLength > 0 ? ((_dblX - _from.dblX) * dblX + (_dblY - _from.dblY) * dblY) / dblLength : 0;
    const double dblAt = dblAlong < 0 ? 0 : dblAlong > 1 ? 1 : dblAlong;
    return std::hypot(_from.dblX + dblAt * dblX - _dblX, _from.dblY + dblAt * dblY - _dblY);
}

/// 1 inside, 0 outside, by how often the polygon goes around a place: an odd number of times is inside. -1 where the
/// place lies so near a side that rounding decides.
int IsInside(const std::vector<POLYGON_POINT>& _vecPoints, double _dblX, double _dblY)
{
    constexpr double c_dblNear = 1e-6;
    int nTurns = 0;
    for (size_t n = 0; n < _vecPoints.size(); ++n)
    {
        const POLYGON_POINT& from = _vecPoints[n];
        const POLYGON_POINT& to = _vecPoints[(n + 1) % _vecPoints.size()];
        if (Distance(from, to, _dblX, _dblY) < c_dblNear)
            return -1;
        const double dblSide =
            (to.dblX - from.dblX) * (_dblY - from.dblY) - (_dblX - from.dblX) * (to.dblY - from.dblY);
        nTurns += from.dblY <= _dblY && to.dblY > _dblY && dblSide > 0;
        nTurns -= from.dblY > _dblY && to.dblY <= _dblY && dblSide < 0;
    }
    return nTurns & 1;
}

void CheckMask(const std::vector<POLYGON_POINT>& _vecPoints, const IMG_MASK& _mask)
{
    FUZZ_REQUIRE(_mask.vecBytes.size() == static_cast<size_t>(_mask.nWidth) * static_cast<size_t>(_mask.nHeight));
    const auto nWidth = static_cast<size_t>(_mask.nWidth);
    for (size_t n = 0; n < _mask.vecBytes.size(); ++n)
    {
        const size_t nX = n % nWidth, nY = n / nWidth;
        const int nInside = IsInside(_vecPoints, static_cast<double>(nX) + 0.5, static_cast<double>(nY) + 0.5);
        FUZZ_REQUIRE(_mask.vecBytes[n] == 0 || _mask.vecBytes[n] == 255);
        FUZZ_REQUIRE(nInside < 0 || (_mask.vecBytes[n] == 255) == (nInside == 1));
    }
}

/// A corner: on a coarse grid, so that sides lie on each other, near the picture, or any double there is.
std::string TakeCorner(CByteReader& _in)
{
    const uint8_t nKind = _in.Byte();
    if (nKind < 0x80)
        return ZFormat("%d,%d", nKind % 12, _in.Byte() % 12 - 2);
    if (nKind < 0xE0)
        return ZFormat("%.17g,%.17g", _in.Take<int16_t>() / 512.0, _in.Take<int16_t>() / 512.0);
    if (nKind < 0xF0)
        return ZFormat("%g,%g", _in.Take<double>(), _in.Take<double>());
    constexpr const char* c_arrOdd[] = {"nan,1",  "1,inf", "-1e5,1e5", "1e5,-1e5", "1e5.1",
                                        "0x10,1", ",",     "1,2,3",    "1e-320,-0"};
    return _in.OneOf(c_arrOdd);
}

std::string TakePolygon(CByteReader& _in)
{
    if (_in.Byte() % 4 == 0)
        return std::string(_in.Line());
    std::string strPolygon;
    for (int n = _in.Range(0, c_nMostCorners); n > 0; --n)
        strPolygon += ZFormat("%hs%hs", TakeCorner(_in), n % 5 ? " " : "\n;");
    if (_in.Byte() % 32 != 0)
        return strPolygon;
    std::string strMany; // about as many as are taken, or more
    for (int n = _in.Range(4090, 4200); n > 0; --n)
        strMany += n % 3 ? "1,1 " : "7,9;";
    return strMany + strPolygon;
}

void CheckPolygon(CByteReader& _in)
{
    const int nWidth = _in.Range(1, 24), nHeight = _in.Range(1, 24);
    const std::string strPolygon = TakePolygon(_in);
    std::vector<POLYGON_POINT> vecPoints;
    std::string strReason;
    if (!Polygon_Read(strPolygon, &vecPoints, &strReason))
    {
        FUZZ_REQUIRE(vecPoints.empty() && strReason.starts_with("character "));
        return;
    }
    FUZZ_REQUIRE(vecPoints.size() >= 3 && vecPoints.size() <= 4096);
    for (const POLYGON_POINT& point : vecPoints)
        FUZZ_REQUIRE(std::abs(point.dblX) <= 1e5 && std::abs(point.dblY) <= 1e5); // which no NaN is
    if (vecPoints.size() <= c_nMostCorners)
        CheckMask(vecPoints, Polygon_Mask(vecPoints, nWidth, nHeight));
}

/// Sizes as documents have them: any numbers. Those over the limits are refused before memory is taken.
void CheckSizes(CByteReader& _in)
{
    const bool bAny = _in.Flag();
    const int nWidth = bAny ? _in.Take<int32_t>() : _in.Range(-1, 300);
    const int nHeight = bAny ? _in.Take<int32_t>() : _in.Range(-1, 300);
    if (nWidth > 0 && nHeight > 0 && int64_t{nWidth} * nHeight <= 1 << 26 && int64_t{nWidth} * nHeight > 1 << 18)
        return; // right, but it teaches nothing
    const std::string strPolygon = TakePolygon(_in);
    std::string strReason;
    const auto spRegion = Region_OfPolygon(strPolygon, nWidth, nHeight, &strReason);
    FUZZ_REQUIRE(static_cast<bool>(spRegion) == strReason.empty());
    if (spRegion)
        FUZZ_REQUIRE(spRegion->mask.nWidth == nWidth && spRegion->mask.nHeight == nHeight);
}

CZPtr<IZChromaKey2> MakeKeyer()
{
    CZPtr<IClassFactory> cpFactory;
    CZPtr<IZChromaKey2> cpKeyer;
    FUZZ_REQUIRE(ZModule_GetClassObject(CLSID_ZChromaKey2, CZIidOf<IClassFactory>::Value, cpFactory.PutVoid()) == S_OK);
    FUZZ_REQUIRE(cpFactory->CreateInstance(nullptr, CZIidOf<IZChromaKey2>::Value, cpKeyer.PutVoid()) == S_OK);
    return cpKeyer;
}

/// The bytes of a region, none where there is none.
std::vector<uint8_t> RegionBytes(IZChromaKey2* _pKeyer, eRegion _eRegion)
{
    CZPtr<IZFFrame> cpMask;
    std::vector<uint8_t> vecBytes;
    if (_pKeyer->RegionGet(_eRegion, cpMask.Put()) != S_OK)
        return vecBytes;
    ZF_VID_PROPS vidProps = {};
    ZF_VID_PTR vidPtr = {};
    FUZZ_REQUIRE(cpMask->VideoPropsGet(&vidProps) == S_OK && cpMask->VideoPtrGet(eZFP_Flip, &vidPtr) == S_OK);
    for (int y = 0; y < std::abs(vidProps.nHeight); ++y)
        vecBytes.insert(vecBytes.end(), Img_RowOf(vidPtr, 0, y), Img_RowOf(vidPtr, 0, y) + vidProps.nWidth);
    return vecBytes;
}

/// Through the object's calls: a frame, polygons that count its pixels, and a document that another object loads.
void CheckObject(CByteReader& _in)
{
    const auto cpKeyer = MakeKeyer(), cpOther = MakeKeyer();
    ZF_VID_PROPS vidProps = {};
    vidProps.fccType = eZFCC_RGB32;
    vidProps.nWidth = _in.Range(1, 24);
    vidProps.nHeight = _in.Range(1, 24) * (_in.Flag() ? -1 : 1);
    CZPtr<CZFrame> cpFrame;
    FUZZ_REQUIRE(ZFrame_Create(vidProps, cpFrame.Put()) == S_OK && cpKeyer->FrameSet(cpFrame.Get()) == S_OK);
    const auto eWhich = static_cast<eRegion>(_in.Range(0, 2));
    std::string strPolygon = TakePolygon(_in);
    strPolygon.resize(std::min(strPolygon.find('\0'), strPolygon.size())); // where texts of the interface end
    const CZBStr bsPolygon(strPolygon);
    std::vector<POLYGON_POINT> vecPoints;
    std::string strReason;
    const bool bRight = Polygon_Read(strPolygon, &vecPoints, &strReason);
    const HRESULT hr = cpKeyer->RegionSet(eWhich, nullptr, bsPolygon.Get());
    FUZZ_REQUIRE(hr == (bRight ? S_OK : strPolygon.empty() ? S_FALSE : E_INVALIDARG));
    const std::vector<uint8_t> vecBytes = RegionBytes(cpKeyer.Get(), eWhich);
    FUZZ_REQUIRE(vecBytes.empty() != bRight);
    if (bRight)
        FUZZ_REQUIRE(vecBytes == Polygon_Mask(vecPoints, vidProps.nWidth, std::abs(vidProps.nHeight)).vecBytes);
    BSTR bsDocument = nullptr;
    FUZZ_REQUIRE(ZQuery<IZFPersist>(cpKeyer)->PersistSaveToString(&bsDocument) == S_OK);
    FUZZ_REQUIRE(SUCCEEDED(ZQuery<IZFPersist>(cpOther)->PersistLoad(bsDocument)));
    SysFreeString(bsDocument);
    FUZZ_REQUIRE(RegionBytes(cpOther.Get(), eWhich) == vecBytes);
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    switch (_in.Byte() % 8)
    {
    case 0:
        return CheckSizes(_in);
    case 1:
        CheckObject(_in);
        FUZZ_REQUIRE(ZModule_IsIdle());
        return;
    default:
        return CheckPolygon(_in);
    }
}
