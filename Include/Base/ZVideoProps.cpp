#include "Base/ZVideoProps.h"

#include "Base/ZAssert.h"
#include "Base/ZPixelFormats.h"
#include "Base/ZSaturate.h"
#include "Base/ZVideoFormats.h"

namespace
{

int32_t Negative(int32_t _nValue)
{
    return _nValue > 0 ? -_nValue : _nValue;
}

uint32_t DefaultCode(const VIDEO_FORMAT& _format)
{
    return _format.nSizeClass != 0 ? eZFCC_HDYC : eZFCC_UYVY;
}

/// Bytes of a mask row that holds so many pixels.
int32_t MaskRowBytes(int64_t _nPixels)
{
    return ZSaturate32(_nPixels + 7) & ~7;
}

/// The picture's row length in pixels; the record's stride may be negative or left to be derived.
int32_t PixelsPerRow(const ZF_VID_PROPS& _vidProps)
{
    const int32_t nRowBytes = _vidProps.nRowBytes != 0 ? ZAbs32(_vidProps.nRowBytes) : Img_RowSizeM(&_vidProps);
    return Img_WidthFromRowBytes(_vidProps.fccType, nRowBytes);
}

} // namespace

ZF_VID_PROPS VidProps_FromFormat(int32_t _eVideoFormat, uint32_t _fccType, int32_t _eInterlace)
{
    ZF_VID_PROPS vidProps = {};
    const VIDEO_FORMAT* pFormat = VidFormat_Lookup(_eVideoFormat & 0xFF);
    if (_eVideoFormat == eZVF_Custom || !pFormat)
        return vidProps;
    vidProps.eVideoFormat = _eVideoFormat;
    vidProps.fccType = _fccType ? _fccType : DefaultCode(*pFormat);
    vidProps.nWidth = pFormat->nWidth;
    vidProps.nHeight = FCC_IsRGB(vidProps.fccType) ? -pFormat->nHeight : pFormat->nHeight;
    vidProps.dblRate = VidFormat_Rate(_eVideoFormat);
    vidProps.eInterlace = _eInterlace ? _eInterlace : pFormat->eInterlace;
    vidProps.nRowBytes = Img_RowSizeM(&vidProps);
    vidProps.nAspectX = pFormat->nAspectX;
    vidProps.nAspectY = pFormat->nAspectY;
    return vidProps;
}

ZF_VID_PROPS VidProps_Mask(const ZF_VID_PROPS* _pVidProps)
{
    if (!Z_VERIFY(_pVidProps))
        return {};
    ZF_VID_PROPS vidProps = *_pVidProps;
    vidProps.fccType = eZFCC_RGB8;
    vidProps.nHeight = Negative(_pVidProps->nHeight);
    if (!FCC_IsRGB(_pVidProps->fccType))
        vidProps.nWidth &= ~1;
    // The longer one: whatever the record says, a row must fit.
    const int32_t nRowBytes = std::max(MaskRowBytes(PixelsPerRow(*_pVidProps)), Img_RowSizeM(&vidProps));
    (void)(Z_VERIFY(nRowBytes != 0) && Z_VERIFY(nRowBytes % 8 == 0));
    vidProps.nRowBytes = nRowBytes;
    return vidProps;
}

int32_t VidProps_FieldOrder(const ZF_VID_PROPS* _pVidProps)
{
    if (!Z_VERIFY(_pVidProps))
        return 0;
    const int32_t eInterlace =
        _pVidProps->eInterlace ? _pVidProps->eInterlace : VidFormat_Interlace(_pVidProps->eVideoFormat);
    if (eInterlace == eZI_TopFirst)
        return 1;
    return eInterlace == eZI_BottomFirst ? -1 : 0;
}

double VidProps_DisplayAspect(const ZF_VID_PROPS* _pVidProps)
{
    if (!Z_VERIFY(_pVidProps))
        return 1.0;
    if (_pVidProps->nAspectX > 0 && _pVidProps->nAspectY > 0)
        return static_cast<double>(_pVidProps->nAspectX) / _pVidProps->nAspectY;
    if (_pVidProps->nHeight != 0)
        return _pVidProps->nWidth / std::abs(static_cast<double>(_pVidProps->nHeight));
    return 16.0 / 9.0;
}

double VidProps_PixelAspect(const ZF_VID_PROPS* _pVidProps)
{
    if (!Z_VERIFY(_pVidProps) || _pVidProps->nWidth < 1)
        return 1.0;
    return VidProps_DisplayAspect(_pVidProps) * std::abs(static_cast<double>(_pVidProps->nHeight)) / _pVidProps->nWidth;
}

bool VidProps_IsBottomUp(const ZF_VID_PROPS* _pVidProps)
{
    return Z_VERIFY(_pVidProps) && FCC_IsRGB(_pVidProps->fccType) && _pVidProps->fccType != eZFCC_RGB8 &&
           _pVidProps->nHeight > 0 && _pVidProps->nRowBytes >= 0;
}

bool VidProps_IsSet(const ZF_VID_PROPS* _pVidProps, bool _bStrict)
{
    if (!Z_VERIFY(_pVidProps) || _pVidProps->eVideoFormat == eZVF_Disabled)
        return false;
    const bool bSize = _pVidProps->nWidth > 0 && _pVidProps->nHeight != 0;
    if (_bStrict)
        return _pVidProps->eVideoFormat > 0 || (bSize && _pVidProps->fccType != 0);
    return _pVidProps->dblRate > 0 || _pVidProps->eVideoFormat != 0 || _pVidProps->fccType != 0 || bSize ||
           (_pVidProps->nAspectX > 0 && _pVidProps->nAspectY > 0) || _pVidProps->eInterlace != 0;
}
