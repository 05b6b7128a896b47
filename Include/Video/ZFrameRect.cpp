// A part of a picture: the pixels are shared where planes allow it, else copied.

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Image/ImgPlane.h"
#include "Image/ImgRowReader.h"
#include "Video/ZConverter.h"
#include "Video/ZFrameMaker.h"
#include "Video/ZPart.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace
{
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

void CopyPart(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, const Z_PART& _part,
              const ZF_VID_PROPS& _vidPropsOut, const ZF_VID_PTR& _vidPtrOut)
{
    const auto cbRow = static_cast<size_t>(Img_RowBytesUsed(_vidPropsOut.fccType, _vidPropsOut.nWidth));
    const int nRows = _part.nY2 - _part.nY1;
    for (int nRow = 0; nRow < nRows; ++nRow)
    {
        const uint8_t* const pRow = Img_Pointer(ZPart_Row(_vidProps, _vidPtr, _part.nY1 + nRow));
        uint8_t* const pOut = Img_Pointer(ZPart_Row(_vidPropsOut, _vidPtrOut, nRow));
        if (FCC_Layout(_vidProps.fccType) == eIL_v210)
            CopyColumns_v210(pRow, _part.nX1, _vidPropsOut.nWidth, pOut);
        else
            std::memcpy(pOut, pRow + ZPart_Byte(_vidProps.fccType, _part.nX1), cbRow);
    }
}
} // namespace

HRESULT CZFrameMaker::Rect(CZFrame* _pSource, int32_t _nX1, int32_t _nY1, int32_t _nX2, int32_t _nY2,
                           CZPtr<CZFrame>* _pcpFrame)
{
    const ZF_VID_PROPS& vidProps = _pSource->m_vidProps;
    const ZF_VID_PTR& vidPtr = _pSource->m_vidPtr;
    Z_PART part = {_nX1, _nY1, _nX2, _nY2};
    if (!ZPart_Fit(vidProps, &part))
    {
        ZLog(eZLog_Error, "CZFrame::FrameRect: nothing of %dx%d lies in (%d, %d) to (%d, %d)\n", vidProps.nWidth,
             vidProps.nHeight, _nX1, _nY1, _nX2, _nY2);
        return E_INVALIDARG;
    }
    ZF_VID_PROPS vidPropsPart = ZPart_Props(vidProps, part);
    const int64_t nByte = ZPart_Byte(vidProps.fccType, part.nX1);
    // whoever reads rows at their full row size must not get past the source's last row
    if (nByte >= 0 && nByte + Img_RowSizeM(&vidPropsPart) <= std::abs(int64_t{vidPtr.cbVideoRowBytes[0]}))
    {
        const HRESULT hr = Complete("CZFrame::FrameRect", &vidPropsPart);
        if (SUCCEEDED(hr))
            *_pcpFrame = Share(_pSource, vidPropsPart, ZPart_Ptr(vidProps, vidPtr, vidPropsPart, part));
        return hr;
    }
    vidPropsPart.nRowBytes = 0;
    const HRESULT hr = Create("CZFrame::FrameRect", vidPropsPart, _pSource->Pool(), _pcpFrame);
    if (SUCCEEDED(hr))
        CopyPart(vidProps, vidPtr, part, (*_pcpFrame)->m_vidProps, (*_pcpFrame)->m_vidPtr);
    return hr;
}
