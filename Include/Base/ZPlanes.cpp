#include "Base/ZPlanes.h"

#include "Base/ZAssert.h"
#include "Base/ZPixelFormats.h"
#include "Base/ZSaturate.h"
#include "Base/ZVideoProps.h"

namespace
{

/// The address so many rows after another; wraps instead of overflowing, for records that are no pictures.
int64_t Advance(int64_t _nAddress, int32_t _nStride, int32_t _nRows)
{
    return static_cast<int64_t>(static_cast<uint64_t>(_nAddress) + static_cast<uint64_t>(int64_t{_nStride} * _nRows));
}

void PlaneSet(ZF_VID_PTR* _pVidPtr, int _nPlane, int64_t _nAddress, ZF_SIZE _szPlane, int32_t _nStride)
{
    _pVidPtr->lpVideoPlanes[_nPlane] = _nAddress;
    _pVidPtr->szVideoPlanes[_nPlane] = _szPlane;
    _pVidPtr->cbVideoRowBytes[_nPlane] = _nStride;
}

void ChromaSet(const ZF_VID_PROPS& _vidProps, ZF_VID_PTR* _pVidPtr)
{
    const int32_t nLines = _pVidPtr->szVideoPlanes[0].cy;
    const int32_t nStride = _pVidPtr->cbVideoRowBytes[0];
    const int64_t nChroma = Advance(_pVidPtr->lpVideoPlanes[0], nStride, nLines);
    if (FCC_Chroma(_vidProps.fccType) == eZCh_Turns)
        return PlaneSet(_pVidPtr, 1, nChroma, {_vidProps.nWidth, nLines / FCC_Subsampling(_vidProps.fccType, 1).cy},
                        nStride);
    // Half as wide in every other planar format, Y422 and Y444 included, on purpose: image sizes count on it.
    const bool bHalfHeight = FCC_Subsampling(_vidProps.fccType, 1).cy == 2;
    const ZF_SIZE szChroma = {_vidProps.nWidth / 2, bHalfHeight ? nLines / 2 : nLines};
    PlaneSet(_pVidPtr, 1, nChroma, szChroma, nStride / 2);
    PlaneSet(_pVidPtr, 2, Advance(nChroma, nStride / 2, szChroma.cy), szChroma, nStride / 2);
}

/// Addresses a picture that is stored bottom-up from its top row.
void Flip(ZF_VID_PTR* _pVidPtr)
{
    const int32_t nStride = _pVidPtr->cbVideoRowBytes[0];
    _pVidPtr->lpVideoPlanes[0] = Advance(_pVidPtr->lpVideoPlanes[0], nStride, _pVidPtr->szVideoPlanes[0].cy - 1);
    _pVidPtr->cbVideoRowBytes[0] = -nStride;
}

/// Two planes at most count in full and each factor has 31 bits, so the sum fits.
int64_t SizeOf(const ZF_VID_PROPS& _vidProps)
{
    const ZF_VID_PTR vidPtr = VidPtr_Build(&_vidProps, 0, false);
    int64_t nBytes = 0;
    for (int nPlane = 0; nPlane < 4; ++nPlane)
        nBytes += std::abs(int64_t{vidPtr.cbVideoRowBytes[nPlane]}) * vidPtr.szVideoPlanes[nPlane].cy;
    return nBytes;
}

} // namespace

int32_t VidProps_Stride(const ZF_VID_PROPS* _pVidProps)
{
    if (!Z_VERIFY(_pVidProps))
        return 0;
    const int32_t nStride = std::max(ZAbs32(_pVidProps->nRowBytes), Img_RowSizeM(_pVidProps));
    return _pVidProps->nRowBytes < 0 ? -nStride : nStride;
}

ZF_VID_PTR VidPtr_Build(const ZF_VID_PROPS* _pVidProps, int64_t _nAddress, bool _bFlip)
{
    ZF_VID_PTR vidPtr = {};
    if (!Z_VERIFY(_pVidProps))
        return vidPtr;
    const ZF_SIZE szPicture = {_pVidProps->nWidth, ZAbs32(_pVidProps->nHeight)};
    PlaneSet(&vidPtr, 0, _nAddress, szPicture, VidProps_Stride(_pVidProps));
    const bool bValid = _nAddress != 0 && _nAddress != -1;
    if (FCC_IsPlanar(_pVidProps->fccType))
        ChromaSet(*_pVidProps, &vidPtr);
    else if (bValid && _bFlip && VidProps_IsBottomUp(_pVidProps))
        Flip(&vidPtr);
    return vidPtr;
}

int64_t VidProps_ImageSize(const ZF_VID_PROPS* _pVidProps)
{
    if (!Z_VERIFY(_pVidProps))
        return 0;
    ZF_VID_PROPS vidProps = *_pVidProps;
    if (vidProps.nRowBytes <= 0 || vidProps.nHeight == 0)
        VidProps_Normalize(&vidProps, false);
    return SizeOf(vidProps);
}
