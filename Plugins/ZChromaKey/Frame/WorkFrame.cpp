#include "ZChromaKey/Frame/WorkFrame.h"

#include "Base/ZAssert.h"
#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Base/ZSaturate.h"
#include "Image/ImgPlane.h"
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
        ZLog(eZLog_Error,
             "%hs::OnMediaReceive: \"%hs\": the frame (%hs) cannot be converted into %hs, hr=%08X; switch the option "
             "off%hs\n",
             _pWork->pszClass, c_szOptionARGB, FrameText(_pWork->cpFrame.Get()), FCC_Name(_fccARGB), hr,
             _fccARGB == eZFCC_ARGB64 ? ", or set \"output.depth\" to 8" : "");
        return FAILED(hr) ? hr : E_UNEXPECTED;
    }
    _pWork->cpFrame = std::move(cpARGB);
    _pWork->bOwnFrame = true;
    _pWork->bOwnPixels = true;
    _pWork->bWidened = false;
    return S_OK;
}

int64_t RoundUpTo8(int64_t _nValue)
{
    return (_nValue + 7) & ~int64_t{7};
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
    const int64_t nHeight = std::abs(int64_t{vidProps.nHeight});
    const int64_t nX1 = RoundUpTo8(std::max(_borders.nLeft, 0));
    const int64_t nX2 = // rounding up may pass the width
        std::min(RoundUpTo8(int64_t{vidProps.nWidth} - std::max(_borders.nRight, 0)), int64_t{vidProps.nWidth});
    const int64_t nY1 = std::max(_borders.nTop, 0);
    const int64_t nY2 = nHeight - std::max(_borders.nBottom, 0);
    CZPtr<IZFFrame> cpRect;
    hr = nX1 < nX2 && nY1 < nY2
             ? cpFrame2->FrameRect(static_cast<int32_t>(nX1), static_cast<int32_t>(nY1), static_cast<int32_t>(nX2),
                                   static_cast<int32_t>(nY2), cpRect.Put())
             : E_INVALIDARG;
    if (FAILED(hr) || !cpRect)
    {
        ZLog(eZLog_Error, "%hs::OnMediaReceive: \"%hs\" %d,%d,%d,%d %hs a frame of %dx%d, hr=%08X\n", _pWork->pszClass,
             c_szOptionBorders, _borders.nLeft, _borders.nTop, _borders.nRight, _borders.nBottom,
             hr == E_INVALIDARG ? "leave nothing (use narrower ones) of" : "cannot be cut from", vidProps.nWidth,
             nHeight, hr);
        return FAILED(hr) ? hr : E_UNEXPECTED;
    }
    hr = cpRect->VideoPropsGet(&vidProps);
    const bool bWidened = vidProps.nWidth != nX2 - nX1 || ZAbs32(vidProps.nHeight) != nY2 - nY1;
    _pWork->cpFrame = std::move(cpRect);
    _pWork->bOwnFrame = true;
    _pWork->bWidened = bWidened;
    return hr;
}

HRESULT WorkFrame_Make(const char* _pszClass, IZFFrame2* _pFrame, const CK_FRAME_OPTIONS& _options, WORK_FRAME* _pWork)
{
    *_pWork = {_pszClass, CZPtr<IZFFrame>(_pFrame)};
    ZF_VID_PROPS vidProps = {};
    HRESULT hr = _pFrame->VideoPropsGet(&vidProps);
    if (SUCCEEDED(hr) && _options.bOutputARGB && vidProps.fccType != _options.fccARGB)
        hr = MakeARGB(eZFC_Converted, _options.fccARGB, _pWork);
    return SUCCEEDED(hr) ? WorkFrame_Cut(_options.rectBorders, _pWork) : hr;
}

HRESULT WorkFrame_MakeFromSource(const char* _pszClass, IZFFrame2* _pFrame, const CK_FRAME_OPTIONS& _options,
                                 WORK_FRAME* _pWork)
{
    *_pWork = {_pszClass, CZPtr<IZFFrame>(_pFrame)};
    const HRESULT hr = WorkFrame_Cut(_options.rectBorders, _pWork);
    if (FAILED(hr))
        return hr;
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
        ZLog(eZLog_Error, "%hs::OnMediaReceive: the frame cannot be cloned, hr=%08X\n", _pWork->pszClass, hr);
        return FAILED(hr) ? hr : E_UNEXPECTED;
    }
    _pWork->cpFrame = std::move(cpClone);
    _pWork->bOwnFrame = true;
    _pWork->bOwnPixels = _bWritten;
    _pWork->bWidened = false;
    return S_OK;
}

HRESULT WorkFrame_MakeMask(const char* _pszClass, IZFFrame2* _pFrame, const ZF_VID_PROPS& _vidProps, WORK_MASK* _pMask)
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
        ZLog(eZLog_Error, "%hs::OnMediaReceive: a mask of %dx%d with rows of %d bytes came as %dx%d(%d), hr=%08X\n",
             _pszClass, vidPropsMask.nWidth, vidPropsMask.nHeight, vidPropsMask.nRowBytes, vidPtr.szVideoPlanes[0].cx,
             vidPtr.szVideoPlanes[0].cy, vidPtr.cbVideoRowBytes[0], hr);
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
