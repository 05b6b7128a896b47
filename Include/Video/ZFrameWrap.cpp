// Frames from outside: new ones, and ones around memory of the host.

#include "Base/ZBorder.h"
#include "Base/ZHelpers.h"
#include "Image/ImgPlane.h"
#include "Video/ZFrameMaker.h"

#include <cstdlib>

namespace
{
CZPtr<CZFramePool> PoolOr(CZFramePool* _pPoolOrNull)
{
    return _pPoolOrNull ? CZPtr<CZFramePool>(_pPoolOrNull) : CZFramePool::Create();
}

// Memory lies as it lies: a record may be completed, but not changed so that it describes other memory.
HRESULT CompleteForMemory(const char* _pszOperation, ZF_VID_PROPS* _pVidProps)
{
    _pVidProps->nGPUFlags = 0;
    const ZF_VID_PROPS vidGiven = *_pVidProps;
    const int nRowSize = Img_RowSizeM(_pVidProps); // before an odd width becomes even
    if (vidGiven.nRowBytes == 0)
        _pVidProps->nRowBytes = nRowSize;
    else if (std::abs(int64_t{vidGiven.nRowBytes}) < nRowSize)
    {
        ZLog(eZLog_Error, "%hs: rows of %d pixels in format %hs take %d bytes, but they lie %d bytes apart\n",
             _pszOperation, vidGiven.nWidth, FCC_Name(vidGiven.fccType), nRowSize, vidGiven.nRowBytes);
        return E_INVALIDARG;
    }
    const HRESULT hr = CZFrameMaker::Complete(_pszOperation, _pVidProps);
    if (FAILED(hr) || !FCC_IsPlanar(_pVidProps->fccType))
        return hr;
    // A height of 0 is that of the named format.
    const bool bLinesKept =
        vidGiven.nHeight == 0 || std::abs(int64_t{vidGiven.nHeight}) == std::abs(_pVidProps->nHeight);
    if (bLinesKept && _pVidProps->nRowBytes > 0)
        return S_OK;
    ZLog(eZLog_Error, "%hs: planar pictures in one block need an even height (not %d) and a positive stride (not %d)\n",
         _pszOperation, vidGiven.nHeight, vidGiven.nRowBytes);
    return E_INVALIDARG;
}

HRESULT CheckPlanes(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr)
{
    for (int nPlane = 0; nPlane < 4; ++nPlane)
    {
        const ZF_SIZE& szPlane = _vidPtr.szVideoPlanes[nPlane];
        const int64_t cbRow =
            nPlane == 0 ? Img_RowSizeM(&_vidProps) : int64_t{szPlane.cx} * FCC_SampleBytes(_vidProps.fccType);
        if (szPlane.cx < 1 || szPlane.cy < 1)
            continue;
        if (_vidPtr.lpVideoPlanes[nPlane] && std::abs(int64_t{_vidPtr.cbVideoRowBytes[nPlane]}) >= cbRow)
            continue;
        ZLog(eZLog_Error,
             "ZFrame_WrapPlanes: plane %d of %dx%d, format %hs: address 0x%I64X, stride %d, %I64d bytes a row\n",
             nPlane, _vidProps.nWidth, _vidProps.nHeight, FCC_Name(_vidProps.fccType), _vidPtr.lpVideoPlanes[nPlane],
             _vidPtr.cbVideoRowBytes[nPlane], cbRow);
        return E_INVALIDARG;
    }
    return S_OK;
}
} // namespace

HRESULT ZFrame_Create(const ZF_VID_PROPS& _vidProps, CZFrame** _ppFrame, CZFramePool* _pPoolOrNull)
{
    if (!_ppFrame)
        return E_POINTER;
    *_ppFrame = nullptr;
    return ZBorder("ZFrame_Create", [&] {
        const CZPtr<CZFramePool> cpPool = PoolOr(_pPoolOrNull);
        CZPtr<CZFrame> cpFrame;
        const HRESULT hr = CZFrameMaker::Create("ZFrame_Create", _vidProps, cpPool.Get(), &cpFrame);
        *_ppFrame = cpFrame.Detach();
        return hr;
    });
}

HRESULT ZFrame_Wrap(const ZF_VID_PROPS& _vidProps, void* _pMemory, size_t _cbMemory, std::function<void()> _fnRelease,
                    CZFrame** _ppFrame, uint32_t _nWrap, CZFramePool* _pPoolOrNull)
{
    if (!_ppFrame)
        return E_POINTER;
    *_ppFrame = nullptr;
    if (!_pMemory)
        return E_POINTER;
    return ZBorder("ZFrame_Wrap", [&] {
        ZF_VID_PROPS vidProps = _vidProps;
        const HRESULT hr = CompleteForMemory("ZFrame_Wrap", &vidProps);
        if (FAILED(hr))
            return hr;
        const int64_t cbPicture = VidProps_ImageSize(&vidProps);
        if (_cbMemory < static_cast<uint64_t>(cbPicture))
        {
            ZLog(eZLog_Error, "ZFrame_Wrap: %dx%d, format %hs, %d bytes a row takes %I64d bytes, the buffer has %zu\n",
                 vidProps.nWidth, vidProps.nHeight, FCC_Name(vidProps.fccType), vidProps.nRowBytes, cbPicture,
                 _cbMemory);
            return E_INVALIDARG;
        }
        const CZPtr<CZFramePool> cpPool = PoolOr(_pPoolOrNull);
        int64_t nAddress = Img_Address(_pMemory);
        if (vidProps.nRowBytes < 0) // the row walked first is the highest
            nAddress -= int64_t{vidProps.nRowBytes} * (std::abs(int64_t{vidProps.nHeight}) - 1);
        *_ppFrame = CZFrameMaker::Wrap(vidProps, VidPtr_Build(&vidProps, nAddress, false), (_nWrap & eZWrap_Write) != 0,
                                       std::move(_fnRelease), cpPool.Get())
                        .Detach();
        return S_OK;
    });
}

HRESULT ZFrame_WrapPlanes(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, std::function<void()> _fnRelease,
                          CZFrame** _ppFrame, uint32_t _nWrap, CZFramePool* _pPoolOrNull)
{
    if (!_ppFrame)
        return E_POINTER;
    *_ppFrame = nullptr;
    return ZBorder("ZFrame_WrapPlanes", [&] {
        ZF_VID_PROPS vidProps = _vidProps;
        vidProps.nRowBytes = 0; // the strides of the planes count
        vidProps.nGPUFlags = 0;
        HRESULT hr = CZFrameMaker::Complete("ZFrame_WrapPlanes", &vidProps);
        if (FAILED(hr))
            return hr;
        ZF_VID_PTR vidPtr = VidPtr_Build(&vidProps, 0, false); // for the sizes
        for (int nPlane = 0; nPlane < 4; ++nPlane)
        {
            vidPtr.lpVideoPlanes[nPlane] = vidPtr.szVideoPlanes[nPlane].cy > 0 ? _vidPtr.lpVideoPlanes[nPlane] : 0;
            vidPtr.cbVideoRowBytes[nPlane] = _vidPtr.cbVideoRowBytes[nPlane];
        }
        hr = CheckPlanes(vidProps, vidPtr);
        if (FAILED(hr))
            return hr;
        vidProps.nRowBytes = vidPtr.cbVideoRowBytes[0];
        const CZPtr<CZFramePool> cpPool = PoolOr(_pPoolOrNull);
        *_ppFrame =
            CZFrameMaker::Wrap(vidProps, vidPtr, (_nWrap & eZWrap_Write) != 0, std::move(_fnRelease), cpPool.Get())
                .Detach();
        return S_OK;
    });
}
