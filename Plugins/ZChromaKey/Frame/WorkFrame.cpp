#include "ZChromaKey/Frame/WorkFrame.h"

#include "Base/ZAssert.h"
#include "Base/ZHelpers.h"
#include "Base/ZSaturate.h"
#include "Image/ImgPlane.h"
#include "Image/ImgRowReader.h"
#include "ZChromaKey/Frame/FrameText.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace
{

/// _nFlags: eZFCopy, whether the pixels are converted or left for others to write.
HRESULT MakeARGB(uint32_t _nFlags, uint32_t _fccARGB, WORK_FRAME* _pWork)
{
    const auto cpFrame2 = ZQuery<IZFFrame2>(_pWork->cpFrame);
    CZPtr<IZFFrame> cpARGB;
    const HRESULT hr = cpFrame2 ? cpFrame2->FrameConvert(_nFlags, _fccARGB, cpARGB.Put()) : E_NOINTERFACE;
    if (FAILED(hr) || !cpARGB)
    {
        _pWork->pLog->Say(eZLog_Error, hr,
                          "%hs::OnMediaReceive: \"%hs\": the frame (%hs) cannot be converted into %hs, hr=%08X; switch "
                          "the option off%hs\n",
                          _pWork->pLog->Class(), c_szOptionARGB, FrameText(_pWork->cpFrame.Get()), FCC_Name(_fccARGB),
                          hr, _fccARGB == eZFCC_ARGB64 ? ", or set \"output.depth\" to 8" : "");
        return FAILED(hr) ? hr : E_UNEXPECTED;
    }
    _pWork->cpFrame = std::move(cpARGB);
    _pWork->bOwnFrame = true;
    _pWork->bOwnPixels = true;
    return S_OK;
}

int64_t RoundUpTo8(int64_t _nValue)
{
    return (_nValue + 7) & ~int64_t{7};
}

/// What borders leave of a picture; nothing where a second corner is not beyond the first.
WORK_PART PartOf(const PROP_RECT& _borders, const ZF_VID_PROPS& _vidProps)
{
    const int64_t nWidth = _vidProps.nWidth;
    const int64_t nHeight = std::abs(int64_t{_vidProps.nHeight});
    return {ZSaturate32(RoundUpTo8(_borders.nLeft)), _borders.nTop,
            ZSaturate32(std::min(RoundUpTo8(nWidth - _borders.nRight), nWidth)), // rounding up may pass the width
            ZSaturate32(nHeight - _borders.nBottom)};
}

/// Where a part lies in the picture that was cut out for it, which begins with a whole chroma sample of each field. Its
/// columns are those of the part: multiples of 8, or the even width.
WORK_PART InsideOf(const WORK_PART& _part, const ZF_VID_PROPS& _vidProps)
{
    const int32_t nUnit = (VidProps_FieldOrder(&_vidProps) != 0 ? 2 : 1) * FCC_Subsampling(_vidProps.fccType, 1).cy;
    const int32_t nY = _part.nY1 % nUnit;
    return {0, nY, _part.nX2 - _part.nX1, nY + _part.nY2 - _part.nY1};
}

/// Puts a part of a frame in its place.
HRESULT Trim(CFrameLog* _pLog, const WORK_PART& _part, CZPtr<IZFFrame>* _pcpFrame)
{
    const auto cpFrame2 = ZQuery<IZFFrame2>(*_pcpFrame);
    CZPtr<IZFFrame> cpPart;
    const HRESULT hr =
        cpFrame2 ? cpFrame2->FrameRect(_part.nX1, _part.nY1, _part.nX2, _part.nY2, cpPart.Put()) : E_NOINTERFACE;
    if (FAILED(hr) || !cpPart)
    {
        _pLog->Say(eZLog_Error, hr, "%hs::OnMediaReceive: \"%hs\" cannot be cut from the result (%hs), hr=%08X\n",
                   _pLog->Class(), c_szOptionBorders, FrameText(_pcpFrame->Get()), hr);
        return FAILED(hr) ? hr : E_UNEXPECTED;
    }
    *_pcpFrame = std::move(cpPart);
    return S_OK;
}

/// A host may not let the pixels of a part be written, although those of the whole are ours.
bool IsWritable(IZFFrame* _pFrame)
{
    ZF_VID_PTR vidPtr = {};
    return _pFrame->VideoPtrGet(eZFP_Flip | eZFP_Write, &vidPtr) != E_ACCESSDENIED;
}

/// The engine takes the stride of a mask from the frame's properties, so the mask made has to agree.
bool IsMaskUsable(const ZF_VID_PROPS& _vidPropsMask, const ZF_VID_PTR& _vidPtr)
{
    return _vidPtr.lpVideoPlanes[0] && _vidPtr.cbVideoRowBytes[0] == _vidPropsMask.nRowBytes &&
           _vidPtr.szVideoPlanes[0].cx == _vidPropsMask.nWidth &&
           _vidPtr.szVideoPlanes[0].cy == ZAbs32(_vidPropsMask.nHeight);
}

} // namespace

HRESULT WorkFrame_Cut(const PROP_RECT& _borders, WORK_FRAME* _pWork)
{
    if (_borders == PROP_RECT{})
        return S_OK;
    ZF_VID_PROPS vidProps = {};
    const auto cpFrame2 = ZQuery<IZFFrame2>(_pWork->cpFrame);
    HRESULT hr = cpFrame2 ? cpFrame2->VideoPropsGet(&vidProps) : E_NOINTERFACE;
    if (FAILED(hr))
        return hr;
    const WORK_PART part = PartOf(_borders, vidProps);
    CZPtr<IZFFrame> cpRect;
    hr = part.nX1 < part.nX2 && part.nY1 < part.nY2
             ? cpFrame2->FrameRect(part.nX1, part.nY1, part.nX2, part.nY2, cpRect.Put())
             : E_INVALIDARG;
    if (FAILED(hr) || !cpRect)
    {
        _pWork->pLog->Say(eZLog_Error, hr, "%hs::OnMediaReceive: \"%hs\" %d,%d,%d,%d %hs a frame of %dx%d, hr=%08X\n",
                          _pWork->pLog->Class(), c_szOptionBorders, _borders.nLeft, _borders.nTop, _borders.nRight,
                          _borders.nBottom,
                          hr == E_INVALIDARG ? "leave nothing (use narrower ones) of" : "cannot be cut from",
                          vidProps.nWidth, ZAbs32(vidProps.nHeight), hr);
        return FAILED(hr) ? hr : E_UNEXPECTED;
    }
    ZF_VID_PROPS vidPropsRect = {};
    hr = cpRect->VideoPropsGet(&vidPropsRect);
    if (vidPropsRect.nWidth != part.nX2 - part.nX1 || ZAbs32(vidPropsRect.nHeight) != part.nY2 - part.nY1)
        _pWork->part = InsideOf(part, vidProps);
    _pWork->cpFrame = std::move(cpRect); // lets go of the whole, so that no two frames share the pixels
    _pWork->bOwnFrame = true;
    _pWork->bOwnPixels = _pWork->bOwnPixels && IsWritable(_pWork->cpFrame.Get());
    return hr;
}

HRESULT WorkFrame_Convert(uint32_t _fccARGB, WORK_FRAME* _pWork)
{
    return MakeARGB(eZFC_Converted, _fccARGB, _pWork);
}

HRESULT WorkFrame_ConvertWith(eZYMatrix _eMatrix, WORK_FRAME* _pWork)
{
    const CZPtr<IZFFrame> cpSource = _pWork->cpFrame;
    ZF_VID_PROPS vidProps = {};
    ZF_VID_PTR vidPtr = {};
    ZF_VID_PTR vidPtrARGB = {};
    CImgRowReader reader;
    HRESULT hr = cpSource->VideoPropsGet(&vidProps);
    if (SUCCEEDED(hr))
        hr = cpSource->VideoPtrGet(eZFP_Flip, &vidPtr);
    if (SUCCEEDED(hr))
        hr = reader.Init(vidProps, vidPtr, _eMatrix);
    if (SUCCEEDED(hr))
        hr = MakeARGB(eZFC_Renewed, eZFCC_ARGB32, _pWork);
    if (SUCCEEDED(hr))
        hr = _pWork->cpFrame->VideoPtrGet(eZFP_Flip | eZFP_Write, &vidPtrARGB);
    if (FAILED(hr))
        return hr;
    if (vidPtrARGB.szVideoPlanes[0].cx != reader.Width() || vidPtrARGB.szVideoPlanes[0].cy != reader.Height() ||
        !vidPtrARGB.lpVideoPlanes[0])
        return E_UNEXPECTED; // a host that makes other frames than it is asked for
    for (int nRow = 0; nRow < reader.Height(); ++nRow)
        reader.ReadRow(nRow, Img_RowOf(vidPtrARGB, 0, nRow));
    return S_OK;
}

HRESULT WorkFrame_SourceTake(const CK_FRAME_OPTIONS& _options, WORK_FRAME* _pWork)
{
    _pWork->cpSource = _pWork->cpFrame;
    return _options.bOutputARGB ? MakeARGB(eZFC_Renewed, _options.fccARGB, _pWork) : S_OK;
}

HRESULT WorkFrame_MakeOwn(bool _bWritten, WORK_FRAME* _pWork)
{
    if (_pWork->bOwnFrame && (_pWork->bOwnPixels || !_bWritten))
        return S_OK;
    const auto cpFrame2 = ZQuery<IZFFrame2>(_pWork->cpFrame);
    CZPtr<IZFFrame> cpClone;
    const HRESULT hr =
        cpFrame2 ? cpFrame2->FrameClone(_bWritten ? eZFC_Converted : eZFC_Cloned, cpClone.Put()) : E_NOINTERFACE;
    if (FAILED(hr) || !cpClone)
    {
        _pWork->pLog->Say(eZLog_Error, hr, "%hs::OnMediaReceive: the frame cannot be cloned, hr=%08X\n",
                          _pWork->pLog->Class(), hr);
        return FAILED(hr) ? hr : E_UNEXPECTED;
    }
    _pWork->cpFrame = std::move(cpClone);
    _pWork->bOwnFrame = true;
    _pWork->bOwnPixels = _bWritten;
    return S_OK;
}

HRESULT WorkFrame_MakeMask(CFrameLog* _pLog, IZFFrame2* _pFrame, const ZF_VID_PROPS& _vidProps, WORK_MASK* _pMask)
{
    ZF_VID_PROPS vidPropsMask = VidProps_Mask(&_vidProps);
    vidPropsMask.nGPUFlags = 0;
    CZPtr<IZFFrame> cpZFFrameMask;
    HRESULT hr = _pFrame->FrameCreate(&vidPropsMask, cpZFFrameMask.Put());
    if (!Z_VERIFY(cpZFFrameMask))
        return FAILED(hr) ? hr : E_OUTOFMEMORY;
    ZF_VID_PTR vidPtr = {};
    hr = cpZFFrameMask->VideoPtrGet(eZFP_Flip | eZFP_Write, &vidPtr);
    if (FAILED(hr) || !IsMaskUsable(vidPropsMask, vidPtr))
    {
        _pLog->Say(eZLog_Error, hr,
                   "%hs::OnMediaReceive: a mask of %dx%d with rows of %d bytes came as %dx%d(%d), hr=%08X\n",
                   _pLog->Class(), vidPropsMask.nWidth, vidPropsMask.nHeight, vidPropsMask.nRowBytes,
                   vidPtr.szVideoPlanes[0].cx, vidPtr.szVideoPlanes[0].cy, vidPtr.cbVideoRowBytes[0], hr);
        return FAILED(hr) ? hr : E_UNEXPECTED;
    }
    _pMask->pbAlpha = Img_Pointer(vidPtr.lpVideoPlanes[0]);
    const auto nWidth = static_cast<size_t>(vidPropsMask.nWidth);
    const auto nRowBytes = static_cast<size_t>(vidPtr.cbVideoRowBytes[0]);
    for (int nRow = 0; nRow < vidPtr.szVideoPlanes[0].cy && nRowBytes > nWidth; ++nRow)
        std::memset(_pMask->pbAlpha + static_cast<size_t>(nRow) * nRowBytes + nWidth, 255, nRowBytes - nWidth);
    _pMask->cpFrame = std::move(cpZFFrameMask);
    return S_OK;
}

HRESULT WorkFrame_Trim(WORK_FRAME* _pWork, WORK_MASK* _pMask)
{
    if (!_pWork->part)
        return S_OK;
    const HRESULT hr = Trim(_pWork->pLog, *_pWork->part, &_pWork->cpFrame);
    return FAILED(hr) ? hr : Trim(_pWork->pLog, *_pWork->part, &_pMask->cpFrame);
}
