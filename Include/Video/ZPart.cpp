#include "Video/ZPart.h"

#include "Base/ZHelpers.h"
#include "Image/ImgPlane.h"
#include "Video/ZConverter.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>

namespace
{
// The display aspect of a part whose pixels keep their shape.
void ScaleAspect(ZF_VID_PROPS* _pVidProps, int _nWidth, int _nHeight)
{
    if (_pVidProps->nAspectX < 1 || _pVidProps->nAspectY < 1)
        return;
    int64_t nX = int64_t{_pVidProps->nAspectX} * _nWidth * std::abs(int64_t{_pVidProps->nHeight});
    int64_t nY = int64_t{_pVidProps->nAspectY} * _nHeight * _pVidProps->nWidth;
    const int64_t nCommon = std::gcd(nX, nY);
    nX /= nCommon;
    nY /= nCommon;
    for (; std::max(nX, nY) > INT16_MAX; nX = std::max<int64_t>(nX / 2, 1), nY = std::max<int64_t>(nY / 2, 1))
    {
    }
    _pVidProps->nAspectX = static_cast<int16_t>(nX);
    _pVidProps->nAspectY = static_cast<int16_t>(nY);
}

// The order of the fields, said outright: without it, a part would take that of the format its own size suggests.
int32_t InterlaceOf(const ZF_VID_PROPS& _vidProps)
{
    if (_vidProps.eInterlace != eZI_NotSet)
        return _vidProps.eInterlace;
    const int32_t nFieldOrder = VidProps_FieldOrder(&_vidProps);
    return nFieldOrder > 0 ? eZI_TopFirst : nFieldOrder < 0 ? eZI_BottomFirst : eZI_Progressive;
}
} // namespace

bool ZPart_Fit(const ZF_VID_PROPS& _vidProps, Z_PART* _pPart)
{
    const int nWidth = _vidProps.nWidth;
    const int nHeight = std::abs(_vidProps.nHeight);
    Z_PART part = {std::max(_pPart->nX1, 0), std::max(_pPart->nY1, 0), std::min(_pPart->nX2, nWidth),
                   std::min(_pPart->nY2, nHeight)};
    if (part.nX1 >= part.nX2 || part.nY1 >= part.nY2)
        return false;
    const int nUnitX = FCC_IsRGB(_vidProps.fccType) ? 1 : 2;
    const int nUnitY = (VidProps_FieldOrder(&_vidProps) != 0 ? 2 : 1) * FCC_Subsampling(_vidProps.fccType, 1).cy;
    part.nX1 -= part.nX1 % nUnitX;
    part.nY1 -= part.nY1 % nUnitY;
    part.nX2 = std::min((part.nX2 + nUnitX - 1) / nUnitX * nUnitX, nWidth);
    part.nY2 = std::min((part.nY2 + nUnitY - 1) / nUnitY * nUnitY, nHeight);
    *_pPart = part;
    return true;
}

ZF_VID_PROPS ZPart_Props(const ZF_VID_PROPS& _vidProps, const Z_PART& _part)
{
    ZF_VID_PROPS vidProps = _vidProps;
    const int nWidth = _part.nX2 - _part.nX1;
    const int nHeight = _part.nY2 - _part.nY1;
    if (nWidth == _vidProps.nWidth && nHeight == std::abs(_vidProps.nHeight))
        return vidProps;
    ScaleAspect(&vidProps, nWidth, nHeight);
    vidProps.eInterlace = InterlaceOf(_vidProps);
    vidProps.eVideoFormat = eZVF_Custom;
    vidProps.nWidth = nWidth;
    vidProps.nHeight = _vidProps.nHeight < 0 ? -nHeight : nHeight;
    return vidProps;
}

int64_t ZPart_Byte(uint32_t _fccType, int _nX)
{
    if (FCC_Layout(_fccType) == eIL_v210)
        return _nX % 6 == 0 ? int64_t{_nX} / 6 * 16 : -1;
    return FCC_IsPlanar(_fccType) ? int64_t{_nX} * FCC_SampleBytes(_fccType)
                                  : int64_t{_nX} * FCC_BitsPerPixel(_fccType) / 8;
}

int64_t ZPart_Row(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, int64_t _nRow)
{
    const int64_t nStored =
        ZConvert_IsTopFirst(_vidProps, _vidPtr) ? _nRow : std::abs(int64_t{_vidProps.nHeight}) - 1 - _nRow;
    return _vidPtr.lpVideoPlanes[0] + nStored * _vidPtr.cbVideoRowBytes[0];
}

ZF_VID_PTR ZPart_Ptr(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, const ZF_VID_PROPS& _vidPropsPart,
                     const Z_PART& _part)
{
    ZF_VID_PTR vidPtr = VidPtr_Build(&_vidPropsPart, 0, false); // for the sizes of the planes
    const bool bTopFirst = ZConvert_IsTopFirst(_vidProps, _vidPtr);
    vidPtr.lpVideoPlanes[0] =
        ZPart_Row(_vidProps, _vidPtr, bTopFirst ? _part.nY1 : _part.nY2 - 1) + ZPart_Byte(_vidProps.fccType, _part.nX1);
    vidPtr.cbVideoRowBytes[0] = _vidPtr.cbVideoRowBytes[0];
    const int nRowsPerChroma = FCC_Subsampling(_vidProps.fccType, 1).cy;
    for (int nPlane = 1; nPlane < 4; ++nPlane)
    {
        vidPtr.cbVideoRowBytes[nPlane] = _vidPtr.cbVideoRowBytes[nPlane];
        vidPtr.lpVideoPlanes[nPlane] = 0;
        if (!_vidPtr.lpVideoPlanes[nPlane])
            continue;
        const int64_t nSample = FCC_Chroma(_vidProps.fccType) == eZCh_Turns ? _part.nX1 : _part.nX1 / 2;
        vidPtr.lpVideoPlanes[nPlane] = _vidPtr.lpVideoPlanes[nPlane] + nSample * FCC_SampleBytes(_vidProps.fccType) +
                                       int64_t{_part.nY1 / nRowsPerChroma} * _vidPtr.cbVideoRowBytes[nPlane];
    }
    return vidPtr;
}
