#include "ZChromaKey/Flat/FlatFrame.h"

#include "Base/ZBorder.h"
#include "Base/ZHelpers.h"
#include "Image/ImgColor.h"
#include "Image/ImgPlane.h"
#include "Image/ImgRowReader.h"
#include "Video/ZConverter.h"
#include "Video/ZFrameMaker.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <utility>

namespace
{

std::atomic<uint64_t> s_nFlatIdentity{0};

HRESULT RefuseFrame(const char* _pszWhat, const zck_frame& _frame, HRESULT _hr, const std::string& _strWhy)
{
    ZLog(eZLog_Error, "The %hs of %dx%d pixels, format %hs: %hs\n", _pszWhat, _frame.width, _frame.height,
         FCC_Name(_frame.format), _strWhy);
    return _hr;
}

/// Takes over how YUV is coded. What is the default anyway counts as such: the pictures are the same.
std::string ColorsTake(const zck_frame& _frame, FLAT_PICTURE* _pPicture)
{
    if (_frame.matrix < ZCK_MATRIX_DEFAULT || _frame.matrix > ZCK_MATRIX_2020)
        return ZFormat("there is no matrix %d", _frame.matrix);
    if (_frame.range < ZCK_RANGE_DEFAULT || _frame.range > ZCK_RANGE_FULL)
        return ZFormat("there is no range %d", _frame.range);
    if (FCC_IsRGB(_frame.format))
        return {};
    const bool b709 = Img_MatrixOf(_pPicture->vidProps) == eZYM_709;
    if (_frame.matrix != (b709 ? ZCK_MATRIX_709 : ZCK_MATRIX_601))
        _pPicture->eMatrix = _frame.matrix;
    if (_frame.range != ZCK_RANGE_STUDIO)
        _pPicture->eRange = _frame.range;
    return {};
}

/// Whether no word of a format of words lies at an odd address.
bool WordsAreWhole(uint32_t _fccType, const ZF_VID_PTR& _vidPtr)
{
    int64_t nAll = 0;
    for (int nPlane = 0; nPlane < 4; ++nPlane)
        nAll |= _vidPtr.lpVideoPlanes[nPlane] | _vidPtr.cbVideoRowBytes[nPlane];
    return (nAll & 1) == 0 || (FCC_Layout(_fccType) != eIL_ARGB64 && FCC_SampleBytes(_fccType) == 1);
}

/// Takes the planes over into a record that has their sizes.
std::string PlanesTake(const zck_frame& _frame, FLAT_PICTURE* _pPicture)
{
    ZF_VID_PTR& vidPtr = _pPicture->vidPtr;
    for (int nPlane = 0; nPlane < 4; ++nPlane)
    {
        const ZF_SIZE& szPlane = vidPtr.szVideoPlanes[nPlane];
        if (szPlane.cx < 1 || szPlane.cy < 1)
            continue;
        const int64_t cbRow = nPlane == 0 ? Img_RowBytesUsed(_frame.format, _frame.width)
                                          : int64_t{szPlane.cx} * FCC_SampleBytes(_frame.format);
        if (!_frame.planes[nPlane] || std::abs(int64_t{_frame.row_bytes[nPlane]}) < cbRow)
            return ZFormat("plane %d has %d bytes a row, and must be there with %I64d or more", nPlane,
                           _frame.planes[nPlane] ? _frame.row_bytes[nPlane] : 0, cbRow);
        vidPtr.lpVideoPlanes[nPlane] = Img_Address(_frame.planes[nPlane]);
        vidPtr.cbVideoRowBytes[nPlane] = _frame.row_bytes[nPlane];
    }
    if (!WordsAreWhole(_frame.format, vidPtr))
        return "addresses and row bytes of words must be even";
    _pPicture->vidProps.nRowBytes = vidPtr.cbVideoRowBytes[0];
    return {};
}

/// The lowest address of a picture, and the one after its highest.
std::pair<int64_t, int64_t> AddressesOf(const FLAT_PICTURE& _picture)
{
    std::pair<int64_t, int64_t> range(std::numeric_limits<int64_t>::max(), 0);
    for (int nPlane = 0; nPlane < 4; ++nPlane)
    {
        const int64_t nRows = _picture.vidPtr.szVideoPlanes[nPlane].cy;
        const int64_t nStride = _picture.vidPtr.cbVideoRowBytes[nPlane];
        const int64_t nTop = _picture.vidPtr.lpVideoPlanes[nPlane];
        if (nTop == 0)
            continue;
        const int64_t nBottom = nTop + (nRows - 1) * nStride;
        range.first = std::min({range.first, nTop, nBottom});
        range.second = std::max({range.second, nTop, nBottom}) + std::abs(nStride);
    }
    return range;
}

} // namespace

HRESULT FlatPicture_Read(const zck_frame* _pFrame, const char* _pszWhat, FLAT_PICTURE* _pPicture)
{
    if (!_pFrame)
    {
        ZLog(eZLog_Error, "The %hs is missing\n", _pszWhat);
        return E_POINTER;
    }
    const zck_frame& frame = *_pFrame;
    if (frame.size < sizeof(zck_frame))
    {
        ZLog(eZLog_Error, "The %hs has a record of %u bytes, must be %zu: set zck_frame::size\n", _pszWhat, frame.size,
             sizeof(zck_frame));
        return E_INVALIDARG;
    }
    if (!Img_IsReadable(frame.format))
        return RefuseFrame(_pszWhat, frame, E_NOTIMPL, "the format is not known");
    if (frame.width < 1 || frame.height < 1)
        return RefuseFrame(_pszWhat, frame, E_INVALIDARG, "it must have a pixel");
    if (frame.fields < ZCK_FIELDS_DEFAULT || frame.fields > ZCK_FIELDS_NONE)
        return RefuseFrame(_pszWhat, frame, E_INVALIDARG, ZFormat("there is no field order %d", frame.fields));
    ZF_VID_PROPS vidProps = {};
    vidProps.fccType = frame.format;
    vidProps.nWidth = frame.width;
    vidProps.nHeight = FCC_IsRGB(frame.format) ? -frame.height : frame.height; // the top row comes first
    vidProps.eInterlace = frame.fields;
    const HRESULT hr = CZFrameMaker::Complete(_pszWhat, &vidProps);
    if (FAILED(hr))
        return hr;
    if (vidProps.nWidth != frame.width || std::abs(vidProps.nHeight) != frame.height)
        return RefuseFrame(_pszWhat, frame, E_INVALIDARG, "sizes must be even where pixels or lines share chroma");
    *_pPicture = {vidProps, VidPtr_Build(&vidProps, 0, false), ZCK_MATRIX_DEFAULT, ZCK_RANGE_DEFAULT};
    std::string strWhy = ColorsTake(frame, _pPicture);
    if (!strWhy.empty())
        return RefuseFrame(_pszWhat, frame, E_NOTIMPL, strWhy);
    strWhy = PlanesTake(frame, _pPicture);
    return strWhy.empty() ? S_OK : RefuseFrame(_pszWhat, frame, E_INVALIDARG, strWhy);
}

bool FlatPicture_Overlap(const FLAT_PICTURE& _a, const FLAT_PICTURE& _b)
{
    const auto [nBeginA, nEndA] = AddressesOf(_a);
    const auto [nBeginB, nEndB] = AddressesOf(_b);
    return nBeginA < nEndB && nBeginB < nEndA;
}

HRESULT FlatPicture_Copy(const FLAT_PICTURE& _from, const FLAT_PICTURE& _to)
{
    if (_from.vidPtr.lpVideoPlanes[0] == _to.vidPtr.lpVideoPlanes[0] && _from.vidProps.fccType == _to.vidProps.fccType)
        return S_OK; // it is there already
    const HRESULT hr = ZConvert_Frame(_from.vidProps, _from.vidPtr, _to.vidProps, _to.vidPtr);
    if (hr == E_NOTIMPL)
        ZLog(eZLog_Error, "Results cannot be converted from %hs into %hs\n", FCC_Name(_from.vidProps.fccType),
             FCC_Name(_to.vidProps.fccType));
    return hr;
}

CFlatFrame::CFlatFrame(CZPtr<CZFramePool> _cpPool, CZPtr<CFlatFrame> _cpTargetOrNull)
    : m_cpPool(std::move(_cpPool))
    , m_cpTarget(std::move(_cpTargetOrNull))
{
}

void CFlatFrame::Aim(const FLAT_PICTURE& _picture, const FLAT_PICTURE* _pTargetOrNull)
{
    m_picture = _picture;
    m_nIdentity = ++s_nFlatIdentity;
    m_bTarget = m_cpTarget && _pTargetOrNull;
    if (m_bTarget)
        m_cpTarget->Aim(*_pTargetOrNull, nullptr);
}

void CFlatFrame::TargetClear()
{
    m_bTarget = false;
    m_cpTarget->m_cpMask.Reset();
}

bool CFlatFrame::IsFree()
{
    AddRef();
    return Release() == 1 && (!m_cpTarget || m_cpTarget->IsFree());
}

HRESULT CFlatFrame::VideoPropsGet(ZF_VID_PROPS* _pVidProps)
{
    if (!_pVidProps)
        return E_POINTER;
    *_pVidProps = m_picture.vidProps;
    return S_OK;
}

HRESULT CFlatFrame::VideoPtrGet(uint32_t _nFlags, ZF_VID_PTR* _pVidPtr)
{
    if (!_pVidPtr)
        return E_POINTER;
    *_pVidPtr = {};
    if ((_nFlags & eZFP_Write) && m_cpTarget)
        return E_ACCESSDENIED; // an input
    *_pVidPtr = m_picture.vidPtr;
    return S_OK;
}

HRESULT CFlatFrame::TimeCodeGet(ZF_TIMECODE* _pTimeCode)
{
    if (!_pTimeCode)
        return E_POINTER;
    *_pTimeCode = {};
    return S_OK;
}

HRESULT CFlatFrame::AttachmentSet(const wchar_t* _pwszName, IUnknown* _pObjectOrNull)
{
    if (!_pwszName)
        return E_POINTER;
    if (std::wstring_view(_pwszName) != L"mask")
        return _pObjectOrNull ? E_INVALIDARG : S_FALSE;
    m_cpMask = CZPtr<IUnknown>(_pObjectOrNull);
    return S_OK;
}

HRESULT CFlatFrame::AttachmentGet(const wchar_t* _pwszName, IUnknown** _ppObject)
{
    if (!_pwszName || !_ppObject)
        return E_POINTER;
    *_ppObject = std::wstring_view(_pwszName) == L"mask" ? CZPtr<IUnknown>(m_cpMask).Detach() : nullptr;
    return *_ppObject ? S_OK : S_FALSE;
}

HRESULT CFlatFrame::FrameIdGet(uint64_t* _pnIdentity)
{
    if (!_pnIdentity)
        return E_POINTER;
    *_pnIdentity = m_nIdentity;
    return S_OK;
}

HRESULT CFlatFrame::FrameCreate(const ZF_VID_PROPS* _pVidProps, IZFFrame** _ppFrame)
{
    if (!_pVidProps || !_ppFrame)
        return E_POINTER;
    *_ppFrame = nullptr;
    CZFrame* pFrame = nullptr;
    const HRESULT hr = ZFrame_Create(*_pVidProps, &pFrame, m_cpPool.Get());
    *_ppFrame = pFrame;
    return hr;
}

/// Pixels are never shared: what is handed out may outlive the caller's memory.
HRESULT CFlatFrame::FrameClone(uint32_t _nFlags, IZFFrame** _ppFrame)
{
    return FrameConvert(_nFlags & eZFC_NewPicture ? eZFC_NewPicture : eZFC_OwnPicture, m_picture.vidProps.fccType,
                        _ppFrame);
}

HRESULT CFlatFrame::FrameConvert(uint32_t _nFlags, uint32_t _fccType, IZFFrame** _ppFrame)
{
    if (!_ppFrame)
        return E_POINTER;
    *_ppFrame = nullptr;
    const ZF_VID_PROPS& vidPropsIn = m_picture.vidProps;
    if (m_bTarget && _fccType == m_cpTarget->m_picture.vidProps.fccType &&
        m_cpTarget->m_picture.vidProps.nWidth == vidPropsIn.nWidth &&
        std::abs(m_cpTarget->m_picture.vidProps.nHeight) == std::abs(vidPropsIn.nHeight))
    {
        m_bTarget = false;
        *_ppFrame = CZPtr<IZFFrame>(m_cpTarget.Get()).Detach();
    }
    else
    {
        ZF_VID_PROPS vidProps = vidPropsIn;
        vidProps.fccType = _fccType;
        vidProps.nRowBytes = 0;
        vidProps.nHeight = FCC_IsRGB(_fccType) ? -std::abs(vidPropsIn.nHeight) : std::abs(vidPropsIn.nHeight);
        const HRESULT hr = FrameCreate(&vidProps, _ppFrame);
        if (FAILED(hr))
            return hr;
    }
    const HRESULT hr = Fill(_nFlags, *_ppFrame);
    if (FAILED(hr))
        std::exchange(*_ppFrame, nullptr)->Release();
    return hr;
}

/// Writes the pixels that a new frame is to have.
HRESULT CFlatFrame::Fill(uint32_t _nFlags, IZFFrame* _pFrame) const
{
    if (_nFlags & eZFC_NewPicture)
        return S_OK;
    FLAT_PICTURE picture = {};
    HRESULT hr = _pFrame->VideoPropsGet(&picture.vidProps);
    if (SUCCEEDED(hr))
        hr = _pFrame->VideoPtrGet(eZFP_Flip | eZFP_Write, &picture.vidPtr);
    return SUCCEEDED(hr) ? FlatPicture_Copy(m_picture, picture) : hr;
}

HRESULT CFlatFrame::FrameRect(int32_t _nX1, int32_t _nY1, int32_t _nX2, int32_t _nY2, IZFFrame** _ppFrame)
{
    if (!_ppFrame)
        return E_POINTER;
    *_ppFrame = nullptr;
    CZPtr<IZFFrame> cpWhole;
    const bool bTarget = std::exchange(m_bTarget, false); // a part of it is not what is asked for
    const HRESULT hr = FrameConvert(eZFC_OwnPicture, m_picture.vidProps.fccType, cpWhole.Put());
    m_bTarget = bTarget;
    const auto cpWhole2 = ZQuery<IZFFrame2>(cpWhole);
    return SUCCEEDED(hr) ? cpWhole2->FrameRect(_nX1, _nY1, _nX2, _nY2, _ppFrame) : hr;
}
