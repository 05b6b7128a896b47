#include "Base/ZSaturate.h"
#include "Base/ZVideoProps.h"

#include <cmath>

namespace
{

constexpr int32_t c_nAnyAspect = 1; // the aspect mode that agrees with every aspect

bool IsAspectSame(const ZF_VID_PROPS& _a, const ZF_VID_PROPS& _b)
{
    const bool bUnsetA = _a.nAspectX == 0 || _a.nAspectY == 0;
    const bool bUnsetB = _b.nAspectX == 0 || _b.nAspectY == 0;
    return bUnsetA || bUnsetB || _a.nAspectMode == c_nAnyAspect || _b.nAspectMode == c_nAnyAspect ||
           (_a.nAspectX == _b.nAspectX && _a.nAspectY == _b.nAspectY);
}

bool IsVideoSame(const ZF_VID_PROPS& _a, const ZF_VID_PROPS& _b)
{
    const bool bFormat = _a.eVideoFormat == _b.eVideoFormat && _a.eVideoFormat != 0;
    const bool bPicture = _a.fccType == _b.fccType && _a.nWidth == _b.nWidth && _a.nHeight == _b.nHeight;
    return (bFormat || std::abs(_a.dblRate - _b.dblRate) < 0.01) && bPicture && _a.eInterlace == _b.eInterlace &&
           IsAspectSame(_a, _b);
}

bool IsPictureSame(const ZF_VID_PROPS& _a, const ZF_VID_PROPS& _b, int32_t _nLevel)
{
    if (_a.nWidth != _b.nWidth || ZAbs32(_a.nHeight) != ZAbs32(_b.nHeight))
        return false;
    return (_nLevel < 2 || _a.fccType == _b.fccType) && (_nLevel < 3 || _a.nRowBytes == _b.nRowBytes);
}

} // namespace

bool VidProps_Same(const ZF_VID_PROPS* _pVidPropsA, const ZF_VID_PROPS* _pVidPropsB, int32_t _nLevel)
{
    if (!_pVidPropsA || !_pVidPropsB)
        return _pVidPropsA == _pVidPropsB;
    ZF_VID_PROPS a = *_pVidPropsA;
    ZF_VID_PROPS b = *_pVidPropsB;
    VidProps_Normalize(&a, false);
    VidProps_Normalize(&b, false);
    return _nLevel < 1 ? IsVideoSame(a, b) : IsPictureSame(a, b, _nLevel);
}
