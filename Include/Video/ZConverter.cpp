#include "Video/ZConverter.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Image/ImgPlane.h"
#include "Image/ImgPixel.h"
#include "Image/ImgRowReader.h"

#include <cstdlib>
#include <cstring>

namespace
{
bool IsTarget(uint32_t _fccType)
{
    return _fccType == eZFCC_RGB32 || FCC_HasAlpha(_fccType);
}

// Bytes of a row that hold samples, in a plane of one format.
int64_t SampleBytes(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, int _nPlane)
{
    return _nPlane == 0 ? Img_RowBytesUsed(_vidProps.fccType, _vidProps.nWidth)
                        : int64_t{_vidPtr.szVideoPlanes[_nPlane].cx} * FCC_SampleBytes(_vidProps.fccType);
}

HRESULT WrongPicture(const ZF_VID_PROPS& _vidPropsIn, const ZF_VID_PROPS& _vidPropsOut, const char* _pszWhat)
{
    ZLog(eZLog_Error, "ZConvert_Frame: %hs: %dx%d (%hs) to %dx%d (%hs)\n", _pszWhat, _vidPropsIn.nWidth,
         _vidPropsIn.nHeight, FCC_Name(_vidPropsIn.fccType), _vidPropsOut.nWidth, _vidPropsOut.nHeight,
         FCC_Name(_vidPropsOut.fccType));
    return E_INVALIDARG;
}

bool IsPlaneUsable(const ZF_VID_PTR& _vidPtr, int _nPlane, int64_t _cbRow)
{
    return _vidPtr.lpVideoPlanes[_nPlane] &&
           (_vidPtr.szVideoPlanes[_nPlane].cy < 2 || std::abs(int64_t{_vidPtr.cbVideoRowBytes[_nPlane]}) >= _cbRow);
}

void CopyPlane(const ZF_VID_PTR& _vidPtrIn, const ZF_VID_PTR& _vidPtrOut, int _nPlane, int64_t _cbRow, bool _bTurn)
{
    const int nRows = _vidPtrOut.szVideoPlanes[_nPlane].cy;
    for (int64_t nRow = 0; nRow < nRows; ++nRow)
        std::memcpy(Img_RowOf(_vidPtrOut, _nPlane, nRow),
                    Img_RowOf(_vidPtrIn, _nPlane, _bTurn ? nRows - 1 - nRow : nRow), static_cast<size_t>(_cbRow));
}

// Both pictures have one format: the samples go over as they are.
HRESULT CopyPicture(const ZF_VID_PROPS& _vidPropsIn, const ZF_VID_PTR& _vidPtrIn, const ZF_VID_PROPS& _vidPropsOut,
                    const ZF_VID_PTR& _vidPtrOut)
{
    const bool bTurn = ZConvert_IsTopFirst(_vidPropsIn, _vidPtrIn) != ZConvert_IsTopFirst(_vidPropsOut, _vidPtrOut);
    int64_t arrBytes[4] = {};
    for (int nPlane = 0; nPlane < 4; ++nPlane)
    {
        const ZF_SIZE& szIn = _vidPtrIn.szVideoPlanes[nPlane];
        const ZF_SIZE& szOut = _vidPtrOut.szVideoPlanes[nPlane];
        arrBytes[nPlane] = szOut.cy > 0 ? SampleBytes(_vidPropsOut, _vidPtrOut, nPlane) : 0;
        if (szIn.cx != szOut.cx || szIn.cy != szOut.cy)
            return WrongPicture(_vidPropsIn, _vidPropsOut, "the planes differ in size");
        if (arrBytes[nPlane] > 0 && (!IsPlaneUsable(_vidPtrIn, nPlane, arrBytes[nPlane]) ||
                                     !IsPlaneUsable(_vidPtrOut, nPlane, arrBytes[nPlane])))
            return WrongPicture(_vidPropsIn, _vidPropsOut, "a plane is missing, or its stride shorter than a row");
    }
    for (int nPlane = 0; nPlane < 4; ++nPlane)
        if (arrBytes[nPlane] > 0)
            CopyPlane(_vidPtrIn, _vidPtrOut, nPlane, arrBytes[nPlane], bTurn);
    return S_OK;
}

/// Writes a row of the source as the target has it. _bDropAlpha: the source has alpha, and the target does not.
void ConvertRow(const CImgRowReader& _reader, int _nRow, uint32_t _fccOut, bool _bDropAlpha, uint8_t* _pOut)
{
    const int nWidth = _reader.Width();
    const bool bWords = _fccOut == eZFCC_ARGB64;
    uint8_t* const pBGRA = bWords ? _pOut + ptrdiff_t{4} * nWidth : _pOut; // at the row's end, to grow forward from
    _reader.ReadRow(_nRow, pBGRA);
    if (bWords)
        Img_Widen(pBGRA, nWidth, _pOut);
    for (int x = 0; x < nWidth && _bDropAlpha; ++x)
        pBGRA[4 * x + 3] = 255;
    if (_fccOut == eZFCC_RGBA32)
        Img_SwapRedBlue(pBGRA, nWidth, pBGRA);
}

HRESULT ConvertToBGRA(const ZF_VID_PROPS& _vidPropsIn, const ZF_VID_PTR& _vidPtrIn, const ZF_VID_PROPS& _vidPropsOut,
                      const ZF_VID_PTR& _vidPtrOut)
{
    CImgRowReader reader;
    const HRESULT hr = reader.Init(_vidPropsIn, _vidPtrIn);
    if (FAILED(hr))
        return hr;
    if (!IsPlaneUsable(_vidPtrOut, 0, SampleBytes(_vidPropsOut, _vidPtrOut, 0)))
        return WrongPicture(_vidPropsIn, _vidPropsOut,
                            "the target's plane is missing, or its stride shorter than a row");
    const bool bTurn = ZConvert_IsTopFirst(_vidPropsIn, _vidPtrIn) != ZConvert_IsTopFirst(_vidPropsOut, _vidPtrOut);
    const bool bDropAlpha = FCC_HasAlpha(_vidPropsIn.fccType) && !FCC_HasAlpha(_vidPropsOut.fccType);
    const int nRows = reader.Height();
    for (int nRow = 0; nRow < nRows; ++nRow)
        ConvertRow(reader, bTurn ? nRows - 1 - nRow : nRow, _vidPropsOut.fccType, bDropAlpha,
                   Img_RowOf(_vidPtrOut, 0, nRow));
    return S_OK;
}
} // namespace

bool ZConvert_IsTopFirst(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr)
{
    return !VidProps_IsBottomUp(&_vidProps) || _vidPtr.cbVideoRowBytes[0] < 0;
}

bool ZConvert_IsKnown(uint32_t _fccIn, uint32_t _fccOut)
{
    return Img_IsReadable(_fccIn) && (_fccIn == _fccOut || IsTarget(_fccOut));
}

HRESULT ZConvert_Frame(const ZF_VID_PROPS& _vidPropsIn, const ZF_VID_PTR& _vidPtrIn, const ZF_VID_PROPS& _vidPropsOut,
                       const ZF_VID_PTR& _vidPtrOut)
{
    if (!ZConvert_IsKnown(_vidPropsIn.fccType, _vidPropsOut.fccType))
        return E_NOTIMPL;
    if (_vidPropsIn.nWidth != _vidPropsOut.nWidth || _vidPropsIn.nWidth < 1 ||
        std::abs(int64_t{_vidPropsIn.nHeight}) != std::abs(int64_t{_vidPropsOut.nHeight}) || _vidPropsIn.nHeight == 0)
        return WrongPicture(_vidPropsIn, _vidPropsOut, "both pictures must have one size, with a pixel in it");
    // RGB32 is not copied as it is: its fourth byte is undefined
    const bool bCopy = _vidPropsIn.fccType == _vidPropsOut.fccType && _vidPropsIn.fccType != eZFCC_RGB32;
    return (bCopy ? CopyPicture : ConvertToBGRA)(_vidPropsIn, _vidPtrIn, _vidPropsOut, _vidPtrOut);
}
