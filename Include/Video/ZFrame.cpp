#include "Video/ZFrame.h"

#include "Base/ZBorder.h"
#include "Base/ZHelpers.h"
#include "Video/ZConverter.h"
#include "Video/ZFrameMaker.h"

#include <cstdlib>

namespace
{
std::atomic<uint64_t> s_nLastIdentity{0};

constexpr size_t c_nUsualAttachments = 4;
} // namespace

CZFrame::CZFrame()
{
    m_vecAttachments.reserve(c_nUsualAttachments);
}

HRESULT CZFrame::QueryInterface(REFIID _iid, void** _ppvObject)
{
    if (!_ppvObject)
        return E_POINTER;
    *_ppvObject = nullptr;
    if (_iid == CZIidOf<IUnknown>::Value || _iid == IID_IZFFrame || _iid == IID_IZFFrame2)
        *_ppvObject = static_cast<IZFFrame2*>(this);
    else if (_iid == IID_IZProps)
        *_ppvObject = static_cast<IZProps*>(this);
    else if (_iid == IID_IZFrameLinks)
        *_ppvObject = static_cast<IZFrameLinks*>(this);
    else
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG CZFrame::AddRef()
{
    return ++m_nRefs;
}

ULONG CZFrame::Release()
{
    const ULONG nRefs = --m_nRefs;
    if (nRefs == 0)
    {
        Clear();
        const CZPtr<CZFramePool> cpPool = std::move(m_cpPool);
        cpPool->FrameGive(this);
    }
    return nRefs;
}

void CZFrame::Clear()
{
    m_vecAttachments.clear();
    m_spTexts.reset();
    m_timeCode = {};
    if (CZPicture* const pPicture = std::exchange(m_pPicture, nullptr))
        m_cpPool->PictureRelease(pPicture);
}

HRESULT CZFrame::VideoPropsGet(ZF_VID_PROPS* _pVidProps)
{
    if (!_pVidProps)
        return E_POINTER;
    *_pVidProps = m_vidProps;
    return S_OK;
}

HRESULT CZFrame::VideoPtrGet(uint32_t _nFlags, ZF_VID_PTR* _pVidPtr)
{
    if (!_pVidPtr)
        return E_POINTER;
    *_pVidPtr = {};
    if (!m_pPicture)
        return S_FALSE;
    if (_nFlags & eZFP_Write)
    {
        if (m_pPicture->bReadOnly || m_pPicture->nRefs > 1)
            return E_ACCESSDENIED;
        IdentityRenew();
    }
    *_pVidPtr = m_vidPtr;
    if ((_nFlags & eZFP_Flip) && !ZConvert_IsTopFirst(m_vidProps, m_vidPtr))
    {
        const int64_t nStride = m_vidPtr.cbVideoRowBytes[0];
        _pVidPtr->lpVideoPlanes[0] += (std::abs(int64_t{m_vidProps.nHeight}) - 1) * nStride;
        _pVidPtr->cbVideoRowBytes[0] = static_cast<int32_t>(-nStride);
    }
    return S_OK;
}

HRESULT CZFrame::TimeCodeGet(ZF_TIMECODE* _pTimeCode)
{
    if (!_pTimeCode)
        return E_POINTER;
    std::lock_guard lock(m_mtxState);
    *_pTimeCode = m_timeCode;
    return S_OK;
}

HRESULT CZFrame::FrameIdGet(uint64_t* _pnIdentity)
{
    if (!_pnIdentity)
        return E_POINTER;
    *_pnIdentity = m_nIdentity;
    return S_OK;
}

void CZFrame::IdentityRenew()
{
    m_nIdentity = ++s_nLastIdentity;
}

void CZFrame::TimeCodeSet(const ZF_TIMECODE& _timeCode)
{
    std::lock_guard lock(m_mtxState);
    m_timeCode = _timeCode;
}

// This frame is new and nobody else's yet.
void CZFrame::TakeOver(CZFrame* _pSource, uint32_t _nFlags)
{
    // pixels of its own may be written by whoever gets the frame, so they count as others
    if ((_nFlags & eZFC_Identity) && (_nFlags & eZFC_SharePicture))
        m_nIdentity = _pSource->m_nIdentity.load();
    std::lock_guard lock(_pSource->m_mtxState);
    if (_nFlags & eZFC_Identity)
        m_timeCode = _pSource->m_timeCode;
    if (_nFlags & eZFC_Texts)
        m_spTexts = _pSource->m_spTexts;
    if (_nFlags & eZFC_Attachments)
        m_vecAttachments = _pSource->m_vecAttachments;
}

HRESULT CZFrame::NoPicture(const char* _pszOperation) const
{
    return ZBorder(_pszOperation, [&] { // the text takes memory
        ZLog(eZLog_Error, "%hs: the picture (%hs) is not in system memory; download it first\n", _pszOperation,
             VidProps_Text(&m_vidProps));
        return E_NOTIMPL;
    });
}

HRESULT CZFrame::FrameCreate(const ZF_VID_PROPS* _pVidProps, IZFFrame** _ppFrame)
{
    if (!_ppFrame)
        return E_POINTER;
    *_ppFrame = nullptr;
    if (!_pVidProps)
        return E_POINTER;
    return ZBorder("CZFrame::FrameCreate", [&] {
        CZPtr<CZFrame> cpFrame;
        const HRESULT hr = CZFrameMaker::Create("CZFrame::FrameCreate", *_pVidProps, m_cpPool.Get(), &cpFrame);
        *_ppFrame = cpFrame.Detach();
        return hr;
    });
}

HRESULT CZFrame::FrameClone(uint32_t _nFlags, IZFFrame** _ppFrame)
{
    if (!_ppFrame)
        return E_POINTER;
    *_ppFrame = nullptr;
    const bool bOwn = (_nFlags & eZFC_OwnPicture) != 0;
    const bool bShare = (_nFlags & eZFC_SharePicture) != 0;
    if (bOwn == bShare)
    {
        ZLog(eZLog_Error, "CZFrame::FrameClone: flags 0x%X must ask for one of own and shared pixels\n", _nFlags);
        return E_INVALIDARG;
    }
    if (bOwn && !m_pPicture)
        return NoPicture("CZFrame::FrameClone");
    return ZBorder("CZFrame::FrameClone", [&] {
        HRESULT hr = S_OK;
        CZPtr<CZFrame> cpFrame;
        ZF_VID_PROPS vidProps = m_vidProps;
        vidProps.nRowBytes = 0;
        if (bShare)
            cpFrame = CZFrameMaker::Share(this, m_vidProps, m_vidPtr);
        else
            hr = CZFrameMaker::Convert("CZFrame::FrameClone", this, vidProps, &cpFrame);
        if (SUCCEEDED(hr))
            cpFrame->TakeOver(this, _nFlags);
        *_ppFrame = cpFrame.Detach();
        return hr;
    });
}

HRESULT CZFrame::FrameConvert(uint32_t _nFlags, uint32_t _fccType, IZFFrame** _ppFrame)
{
    if (!_ppFrame)
        return E_POINTER;
    *_ppFrame = nullptr;
    const bool bNew = (_nFlags & eZFC_NewPicture) != 0;
    if (!bNew && !m_pPicture)
        return NoPicture("CZFrame::FrameConvert");
    if (!bNew && !ZConvert_IsKnown(m_vidProps.fccType, _fccType))
        return E_NOTIMPL;
    return ZBorder("CZFrame::FrameConvert", [&] {
        ZF_VID_PROPS vidProps = m_vidProps;
        vidProps.fccType = _fccType;
        vidProps.nRowBytes = 0;
        vidProps.nHeight = -std::abs(vidProps.nHeight); // top-down; formats without orientation lose the sign
        CZPtr<CZFrame> cpFrame;
        const HRESULT hr = bNew ? CZFrameMaker::Create("CZFrame::FrameConvert", vidProps, Pool(), &cpFrame)
                                : CZFrameMaker::Convert("CZFrame::FrameConvert", this, vidProps, &cpFrame);
        if (SUCCEEDED(hr))
            cpFrame->TakeOver(this, _nFlags);
        *_ppFrame = cpFrame.Detach();
        return hr;
    });
}

HRESULT CZFrame::FrameRect(int32_t _nX1, int32_t _nY1, int32_t _nX2, int32_t _nY2, IZFFrame** _ppFrame)
{
    if (!_ppFrame)
        return E_POINTER;
    *_ppFrame = nullptr;
    if (!m_pPicture)
        return NoPicture("CZFrame::FrameRect");
    return ZBorder("CZFrame::FrameRect", [&] {
        CZPtr<CZFrame> cpFrame;
        const HRESULT hr = CZFrameMaker::Rect(this, _nX1, _nY1, _nX2, _nY2, &cpFrame);
        if (SUCCEEDED(hr))
        {
            const uint64_t nIdentity = cpFrame->m_nIdentity;
            cpFrame->TakeOver(this, eZFC_Cloned);
            cpFrame->m_nIdentity = nIdentity; // a part has other pixels, shared or not
        }
        *_ppFrame = cpFrame.Detach();
        return hr;
    });
}
