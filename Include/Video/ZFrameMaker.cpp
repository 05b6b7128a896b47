#include "Video/ZFrameMaker.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Image/ImgPlane.h"
#include "Image/ImgRowReader.h"
#include "Video/ZConverter.h"

#include <cstdlib>

namespace
{
// Sizes beyond it are mistakes, and products of two of them still fit 64 bits.
constexpr int64_t c_nMaxSize = 1 << 26;
constexpr int64_t c_cbMaxPicture = int64_t{1} << 34;

bool IsSane(const ZF_VID_PROPS& _vidProps)
{
    return std::abs(int64_t{_vidProps.nWidth}) <= c_nMaxSize && std::abs(int64_t{_vidProps.nHeight}) <= c_nMaxSize &&
           std::abs(int64_t{_vidProps.nRowBytes}) <= 16 * c_nMaxSize;
}

HRESULT WrongRecord(const char* _pszOperation, const ZF_VID_PROPS& _vidProps, const char* _pszWhy)
{
    ZLog(eZLog_Error, "%hs: a record of %dx%d, format %hs, %d bytes a row: %hs\n", _pszOperation, _vidProps.nWidth,
         _vidProps.nHeight, FCC_Name(_vidProps.fccType), _vidProps.nRowBytes, _pszWhy);
    return E_INVALIDARG;
}
} // namespace

HRESULT CZFrameMaker::Complete(const char* _pszOperation, ZF_VID_PROPS* _pVidProps)
{
    ZF_VID_PROPS vidProps = *_pVidProps;
    if (!IsSane(vidProps))
        return WrongRecord(_pszOperation, *_pVidProps, "the size is beyond any picture");
    VidProps_Normalize(&vidProps, false);
    if (vidProps.nWidth < 1 || vidProps.nHeight == 0)
        return WrongRecord(_pszOperation, *_pVidProps, "there is no pixel in it; give width and height");
    if (Img_RowSizeM(&vidProps) < 1 || !Img_IsReadable(vidProps.fccType))
        return WrongRecord(_pszOperation, *_pVidProps,
                           "the format has no known row size; give one of the format table");
    if (!IsSane(vidProps) || VidProps_ImageSize(&vidProps) > c_cbMaxPicture)
        return WrongRecord(_pszOperation, *_pVidProps, "the size is beyond any picture");
    *_pVidProps = vidProps;
    return S_OK;
}

CZPtr<CZFrame> CZFrameMaker::NewFrame(CZFramePool* _pPool)
{
    CZFrame* pFrame = _pPool->FrameTake();
    if (!pFrame)
        pFrame = new CZFrame;
    pFrame->m_nRefs = 1;
    pFrame->m_cpPool = _pPool;
    pFrame->m_vidProps = {};
    pFrame->m_vidPtr = {};
    pFrame->IdentityRenew();
    return CZPtr<CZFrame>::Adopt(pFrame);
}

HRESULT CZFrameMaker::Create(const char* _pszOperation, const ZF_VID_PROPS& _vidProps, CZFramePool* _pPool,
                             CZPtr<CZFrame>* _pcpFrame)
{
    ZF_VID_PROPS vidProps = _vidProps;
    const HRESULT hr = Complete(_pszOperation, &vidProps);
    if (FAILED(hr))
        return hr;
    if (vidProps.nRowBytes < 0 && FCC_IsPlanar(vidProps.fccType))
        return WrongRecord(_pszOperation, vidProps, "planes in one block of memory have no negative stride");
    CZPtr<CZFrame> cpFrame = NewFrame(_pPool);
    cpFrame->m_vidProps = vidProps;
    if (vidProps.nGPUFlags != 0)
    {
        *_pcpFrame = std::move(cpFrame);
        return S_OK;
    }
    const int64_t cbPicture = VidProps_ImageSize(&vidProps);
    cpFrame->m_pPicture = _pPool->PictureTake(static_cast<size_t>(cbPicture));
    if (!cpFrame->m_pPicture)
    {
        ZLog(eZLog_Error, "%hs: no memory for a picture of %I64d bytes\n", _pszOperation, cbPicture);
        return E_OUTOFMEMORY;
    }
    const int64_t nFirst =
        vidProps.nRowBytes < 0 ? -int64_t{vidProps.nRowBytes} * (std::abs(int64_t{vidProps.nHeight}) - 1) : 0;
    const auto nAddress = Img_Address(cpFrame->m_pPicture->pData) + nFirst;
    cpFrame->m_vidPtr = VidPtr_Build(&vidProps, nAddress, false);
    *_pcpFrame = std::move(cpFrame);
    return S_OK;
}

CZPtr<CZFrame> CZFrameMaker::Wrap(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, bool _bWrite,
                                  std::function<void()> _fnRelease, CZFramePool* _pPool)
{
    CZPtr<CZFrame> cpFrame = NewFrame(_pPool);
    auto* const pPicture = new CZPicture;
    pPicture->bReadOnly = !_bWrite;
    pPicture->fnRelease = std::move(_fnRelease);
    cpFrame->m_pPicture = pPicture;
    cpFrame->m_vidProps = _vidProps;
    cpFrame->m_vidPtr = _vidPtr;
    return cpFrame;
}

CZPtr<CZFrame> CZFrameMaker::Share(CZFrame* _pSource, const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr)
{
    CZPtr<CZFrame> cpFrame = NewFrame(_pSource->Pool());
    if (_pSource->m_pPicture)
        ++_pSource->m_pPicture->nRefs;
    cpFrame->m_pPicture = _pSource->m_pPicture;
    cpFrame->m_vidProps = _vidProps;
    cpFrame->m_vidPtr = _vidPtr;
    return cpFrame;
}

HRESULT CZFrameMaker::Convert(const char* _pszOperation, CZFrame* _pSource, const ZF_VID_PROPS& _vidProps,
                              CZPtr<CZFrame>* _pcpFrame)
{
    CZPtr<CZFrame> cpFrame;
    HRESULT hr = Create(_pszOperation, _vidProps, _pSource->Pool(), &cpFrame);
    if (SUCCEEDED(hr))
        hr = ZConvert_Frame(_pSource->m_vidProps, _pSource->m_vidPtr, cpFrame->m_vidProps, cpFrame->m_vidPtr);
    if (SUCCEEDED(hr))
        *_pcpFrame = std::move(cpFrame);
    return hr;
}
