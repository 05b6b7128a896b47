#include "Base/ZAssert.h"
#include "Base/ZPixelFormats.h"
#include "Base/ZPlanes.h"
#include "Base/ZSaturate.h"
#include "Base/ZVideoFormats.h"
#include "Base/ZVideoProps.h"

namespace
{

constexpr int32_t c_nMaxLinesSD = 625;

/// A magnitude with the sign of another value; 0 counts as positive.
int32_t WithSign(int32_t _nMagnitude, int32_t _nSign)
{
    return _nSign < 0 ? -_nMagnitude : _nMagnitude;
}

bool IsNTSC(const VIDEO_FORMAT& _format)
{
    return _format.eVideoFormat >= eZVF_NTSC && _format.eVideoFormat <= eZVF_NTSC_16x9;
}

/// Lines of a picture made to fit its format: at least the active ones, at most those with blanking.
int32_t StrictHeight(const ZF_VID_PROPS& _given, const VIDEO_FORMAT& _format)
{
    const int32_t nLines = ZAbs32(_given.nHeight);
    const bool bNTSC480 = IsNTSC(_format) && nLines == 480; // the usual crop of NTSC
    const bool bTooFew = nLines < _format.nHeight && !bNTSC480;
    const bool bTooMany = nLines > _format.nHeight + _format.nExtraLines;
    return bTooFew || bTooMany ? WithSign(_format.nHeight, _given.nHeight) : _given.nHeight;
}

/// A height of +1 or -1 only says which way up the picture is.
int32_t LooseHeight(const ZF_VID_PROPS& _given, const VIDEO_FORMAT& _format)
{
    return ZAbs32(_given.nHeight) == 1 ? WithSign(_format.nHeight, _given.nHeight) : _given.nHeight;
}

/// In a record that describes memory, its own values take precedence over those of its format.
void TakeGiven(const ZF_VID_PROPS& _given, ZF_VID_PROPS* _pBuilt)
{
    if (_given.dblRate != 0 && _given.nWidth != 0 && _given.nHeight != 0)
        _pBuilt->eVideoFormat = VidProps_DetectFormat(&_given, false);
    if (_given.nAspectX != 0)
    {
        _pBuilt->nAspectX = _given.nAspectX;
        _pBuilt->nAspectY = _given.nAspectY;
    }
    if (_given.nWidth != 0)
    {
        _pBuilt->nWidth = _given.nWidth;
        _pBuilt->nRowBytes = Img_RowSizeM(_pBuilt);
    }
    if (_given.nRowBytes != 0)
        _pBuilt->nRowBytes = _given.nRowBytes;
}

/// Makes the record of a named format complete; false when that format has no rate.
bool CompleteFromFormat(ZF_VID_PROPS* _pVidProps, bool _bStrict)
{
    const VIDEO_FORMAT* pFormat = VidFormat_Lookup(_pVidProps->eVideoFormat & 0xFF);
    if (!pFormat || pFormat->nRate == 0)
        return false;
    const ZF_VID_PROPS given = *_pVidProps;
    ZF_VID_PROPS built = VidProps_FromFormat(given.eVideoFormat, given.fccType, given.eInterlace);
    built.dblRate = given.dblRate < 0 ? -built.dblRate : built.dblRate;
    built.nAspectMode = given.nAspectMode;
    built.nGPUFlags = given.nGPUFlags;
    if (!_bStrict)
        TakeGiven(given, &built);
    if (given.nHeight != 0)
        built.nHeight = _bStrict ? StrictHeight(given, *pFormat) : LooseHeight(given, *pFormat);
    *_pVidProps = built;
    return true;
}

void FillDefaults(ZF_VID_PROPS* _pVidProps)
{
    if (_pVidProps->nWidth < 1 || _pVidProps->nHeight == 0)
        return;
    if (_pVidProps->eInterlace < eZI_TopFirst || _pVidProps->eInterlace > eZI_Progressive)
        _pVidProps->eInterlace = eZI_Progressive;
    if (_pVidProps->fccType == eZFCC_None)
        _pVidProps->fccType = ZAbs32(_pVidProps->nHeight) > c_nMaxLinesSD ? eZFCC_HDYC : eZFCC_UYVY;
}

/// Sizes as the pixel format and the fields need them.
void FitSize(ZF_VID_PROPS* _pVidProps)
{
    if (!FCC_IsRGB(_pVidProps->fccType))
    {
        _pVidProps->nWidth &= ~1;
        _pVidProps->nHeight = ZAbs32(_pVidProps->nHeight);
    }
    if (_pVidProps->fccType == eZFCC_r210)
        _pVidProps->nHeight = -ZAbs32(_pVidProps->nHeight);
    if (VidProps_FieldOrder(_pVidProps) != 0 || FCC_Subsampling(_pVidProps->fccType, 1).cy == 2)
        _pVidProps->nHeight = _pVidProps->nHeight / 2 * 2; // toward zero: the sign stays
}

void FitStride(ZF_VID_PROPS* _pVidProps)
{
    (void)Z_VERIFY_TEXT(_pVidProps->nRowBytes == 0 || ZAbs32(_pVidProps->nRowBytes) >= Img_RowSizeM(_pVidProps),
                        "_pVidProps->nRowBytes == 0 || ( ((_pVidProps->nRowBytes) >= 0)? (_pVidProps->nRowBytes) : "
                        "-(_pVidProps->nRowBytes) ) >= (int)Img_RowSizeM( _pVidProps )");
    _pVidProps->nRowBytes = VidProps_Stride(_pVidProps);
}

} // namespace

int32_t VidProps_Normalize(ZF_VID_PROPS* _pVidProps, bool _bStrict)
{
    if (!Z_VERIFY(_pVidProps))
        return 0;
    if (_pVidProps->eVideoFormat == eZVF_Disabled)
        return eZVF_Disabled;
    if (_pVidProps->nAspectX == 0 || _pVidProps->nAspectY == 0)
        _pVidProps->nAspectX = _pVidProps->nAspectY = 0;
    if (_pVidProps->eVideoFormat != eZVF_Custom && !CompleteFromFormat(_pVidProps, _bStrict))
        return 0;
    if (_pVidProps->eVideoFormat == eZVF_Custom) // also when the picture proves not to be of its named format
        _pVidProps->eVideoFormat = VidProps_DetectFormat(_pVidProps, !_bStrict);
    if (_bStrict)
        FillDefaults(_pVidProps);
    FitSize(_pVidProps);
    FitStride(_pVidProps);
    return _pVidProps->eVideoFormat;
}
