// A part of a picture: the pixels are shared where planes allow it, else copied.

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Image/ImgPlane.h"
#include "Image/ImgRowReader.h"
#include "Video/ZConverter.h"
#include "Video/ZFrameMaker.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <numeric>

namespace
{
struct PART
{
    int nX1;
    int nY1;
    int nX2;
    int nY2;
};

// Clips the part and widens it to whole chroma samples, and to whole pairs of field rows.
bool FitPart(const ZF_VID_PROPS& _vidProps, PART* _pPart)
{
    const int nWidth = _vidProps.nWidth;
    const int nHeight = std::abs(_vidProps.nHeight);
    PART part = {std::max(_pPart->nX1, 0), std::max(_pPart->nY1, 0), std::min(_pPart->nX2, nWidth),
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

ZF_VID_PROPS PartProps(const ZF_VID_PROPS& _vidProps, const PART& _part)
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

// Bytes from the start of a row to the column where the part begins; -1 where that is within a word.
int64_t ByteOfColumn(uint32_t _fccType, int _nX)
{
    if (FCC_Layout(_fccType) == eIL_v210)
        return _nX % 6 == 0 ? int64_t{_nX} / 6 * 16 : -1;
    return FCC_IsPlanar(_fccType) ? int64_t{_nX} * FCC_SampleBytes(_fccType)
                                  : int64_t{_nX} * FCC_BitsPerPixel(_fccType) / 8;
}

// Row _nRow of plane 0, counted from the top of the picture.
int64_t RowFromTop(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, int64_t _nRow)
{
    const int64_t nStored =
        ZConvert_IsTopFirst(_vidProps, _vidPtr) ? _nRow : std::abs(int64_t{_vidProps.nHeight}) - 1 - _nRow;
    return _vidPtr.lpVideoPlanes[0] + nStored * _vidPtr.cbVideoRowBytes[0];
}

ZF_VID_PTR PartPtr(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, const ZF_VID_PROPS& _vidPropsPart,
                   const PART& _part)
{
    ZF_VID_PTR vidPtr = VidPtr_Build(&_vidPropsPart, 0, false); // for the sizes of the planes
    const bool bTopFirst = ZConvert_IsTopFirst(_vidProps, _vidPtr);
    vidPtr.lpVideoPlanes[0] = RowFromTop(_vidProps, _vidPtr, bTopFirst ? _part.nY1 : _part.nY2 - 1) +
                              ByteOfColumn(_vidProps.fccType, _part.nX1);
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

// Columns from _nX1 on of a v210 row: its samples (U Y V Y ..., three in a word) move to other places in the words.
void CopyColumns_v210(const uint8_t* _pRow, int _nX1, int _nWidth, uint8_t* _pOut)
{
    uint32_t nWordOut = 0;
    const int nSamples = 2 * _nWidth;
    for (int n = 0; n < nSamples; ++n)
    {
        const int nFrom = 2 * _nX1 + n;
        const uint8_t* const p = _pRow + ptrdiff_t{nFrom} / 3 * 4;
        const uint32_t nWord = uint32_t{p[3]} << 24 | uint32_t{p[2]} << 16 | uint32_t{p[1]} << 8 | p[0];
        nWordOut |= (nWord >> (nFrom % 3 * 10) & 0x3FF) << (n % 3 * 10);
        if (n % 3 < 2 && n + 1 < nSamples)
            continue;
        for (int nByte = 0; nByte < 4; ++nByte, nWordOut >>= 8)
            *_pOut++ = static_cast<uint8_t>(nWordOut);
    }
}

void CopyPart(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, const PART& _part,
              const ZF_VID_PROPS& _vidPropsOut, const ZF_VID_PTR& _vidPtrOut)
{
    const auto cbRow = static_cast<size_t>(Img_RowBytesUsed(_vidPropsOut.fccType, _vidPropsOut.nWidth));
    const int nRows = _part.nY2 - _part.nY1;
    for (int nRow = 0; nRow < nRows; ++nRow)
    {
        const uint8_t* const pRow = Img_Pointer(RowFromTop(_vidProps, _vidPtr, _part.nY1 + nRow));
        uint8_t* const pOut = Img_Pointer(RowFromTop(_vidPropsOut, _vidPtrOut, nRow));
        if (FCC_Layout(_vidProps.fccType) == eIL_v210)
            CopyColumns_v210(pRow, _part.nX1, _vidPropsOut.nWidth, pOut);
        else
            std::memcpy(pOut, pRow + ByteOfColumn(_vidProps.fccType, _part.nX1), cbRow);
    }
}
} // namespace

HRESULT CZFrameMaker::Rect(CZFrame* _pSource, int32_t _nX1, int32_t _nY1, int32_t _nX2, int32_t _nY2,
                           CZPtr<CZFrame>* _pcpFrame)
{
    const ZF_VID_PROPS& vidProps = _pSource->m_vidProps;
    const ZF_VID_PTR& vidPtr = _pSource->m_vidPtr;
    PART part = {_nX1, _nY1, _nX2, _nY2};
    if (!FitPart(vidProps, &part))
    {
        ZLog(eZLog_Error, "CZFrame::FrameRect: nothing of %dx%d lies in (%d, %d) to (%d, %d)\n", vidProps.nWidth,
             vidProps.nHeight, _nX1, _nY1, _nX2, _nY2);
        return E_INVALIDARG;
    }
    ZF_VID_PROPS vidPropsPart = PartProps(vidProps, part);
    const int64_t nByte = ByteOfColumn(vidProps.fccType, part.nX1);
    // whoever reads rows at their full row size must not get past the source's last row
    if (nByte >= 0 && nByte + Img_RowSizeM(&vidPropsPart) <= std::abs(int64_t{vidPtr.cbVideoRowBytes[0]}))
    {
        const HRESULT hr = Complete("CZFrame::FrameRect", &vidPropsPart);
        if (SUCCEEDED(hr))
            *_pcpFrame = Share(_pSource, vidPropsPart, PartPtr(vidProps, vidPtr, vidPropsPart, part));
        return hr;
    }
    vidPropsPart.nRowBytes = 0;
    const HRESULT hr = Create("CZFrame::FrameRect", vidPropsPart, _pSource->Pool(), _pcpFrame);
    if (SUCCEEDED(hr))
        CopyPart(vidProps, vidPtr, part, (*_pcpFrame)->m_vidProps, (*_pcpFrame)->m_vidPtr);
    return hr;
}
