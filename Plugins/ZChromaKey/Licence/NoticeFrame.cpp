#include "ZChromaKey/Licence/NoticeFrame.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

namespace
{

constexpr const wchar_t* c_pwszMask = L"mask";

/// The lowest address of a picture's planes, and the one after the highest; nothing where there is no picture.
std::pair<int64_t, int64_t> AddressesOf(IZFFrame* _pFrame)
{
    std::pair<int64_t, int64_t> range(std::numeric_limits<int64_t>::max(), 0);
    ZF_VID_PTR vidPtr = {};
    if (FAILED(_pFrame->VideoPtrGet(eZFP_Stored, &vidPtr)))
        return range;
    for (int nPlane = 0; nPlane < 4; ++nPlane)
    {
        const int64_t nFirst = vidPtr.lpVideoPlanes[nPlane];
        const int64_t nStride = vidPtr.cbVideoRowBytes[nPlane];
        if (nFirst == 0)
            continue;
        const int64_t nLast = nFirst + (vidPtr.szVideoPlanes[nPlane].cy - 1) * nStride;
        range.first = std::min({range.first, nFirst, nLast});
        range.second = std::max({range.second, nFirst + std::abs(nStride), nLast + std::abs(nStride)});
    }
    return range;
}

/// Whether two frames have a byte in common. A host's frame may let shared pixels be written, so it is not asked.
bool IsShared(IZFFrame* _pFrame, IZFFrame* _pHosts)
{
    const auto [nBegin, nEnd] = AddressesOf(_pFrame);
    const auto [nBeginHosts, nEndHosts] = AddressesOf(_pHosts);
    return nBegin < nEndHosts && nBeginHosts < nEnd;
}

HRESULT Copy(IZFFrame* _pFrame, CZPtr<IZFFrame>* _pcpCopy)
{
    const auto cpFrame2 = ZQuery<IZFFrame2>(_pFrame);
    const HRESULT hr = cpFrame2 ? cpFrame2->FrameClone(eZFC_Converted, _pcpCopy->Put()) : E_NOINTERFACE;
    return SUCCEEDED(hr) && !*_pcpCopy ? E_UNEXPECTED : hr;
}

HRESULT Draw(CNotice* _pNotice, IZFFrame* _pFrame, bool _bMask)
{
    ZF_VID_PROPS vidProps = {};
    ZF_VID_PTR vidPtr = {};
    HRESULT hr = _pFrame->VideoPropsGet(&vidProps);
    if (SUCCEEDED(hr))
        hr = _pFrame->VideoPtrGet(eZFP_Flip | eZFP_Write, &vidPtr);
    if (SUCCEEDED(hr) && !vidPtr.lpVideoPlanes[0])
        hr = E_NOTIMPL;
    return SUCCEEDED(hr) ? _pNotice->Draw(vidProps, vidPtr, _bMask) : hr;
}

/// Draws onto a picture, or onto a copy that takes its place where it is the host's or shared with another frame.
HRESULT DrawOwn(CNotice* _pNotice, IZFFrame* _pHostsOrNull, bool _bMask, CZPtr<IZFFrame>* _pcpFrame)
{
    HRESULT hr = _pHostsOrNull && IsShared(_pcpFrame->Get(), _pHostsOrNull) ? E_ACCESSDENIED
                                                                            : Draw(_pNotice, _pcpFrame->Get(), _bMask);
    if (hr != E_ACCESSDENIED)
        return hr;
    CZPtr<IZFFrame> cpCopy;
    hr = Copy(_pcpFrame->Get(), &cpCopy);
    if (SUCCEEDED(hr) && _pHostsOrNull && IsShared(cpCopy.Get(), _pHostsOrNull))
        hr = E_ACCESSDENIED; // a host that shares what it was asked to copy
    if (SUCCEEDED(hr))
        hr = Draw(_pNotice, cpCopy.Get(), _bMask);
    if (SUCCEEDED(hr))
        *_pcpFrame = std::move(cpCopy);
    return hr;
}

CZPtr<IZFFrame> MaskOf(IZFFrame* _pFrame)
{
    CZPtr<IUnknown> cpObject;
    _pFrame->AttachmentGet(c_pwszMask, cpObject.Put());
    return ZQuery<IZFFrame>(cpObject);
}

/// The mask of a result, which a frame that passed has brought along where there is one.
HRESULT MaskPut(CNotice* _pNotice, IZFFrame* _pFrame, IZFFrame* _pFrameRes, std::vector<CZPtr<IZFFrame>>* _pvecGone)
{
    const CZPtr<IZFFrame> cpMask = MaskOf(_pFrameRes);
    if (!cpMask)
        return S_OK;
    const CZPtr<IZFFrame> cpMaskHosts = MaskOf(_pFrame);
    CZPtr<IZFFrame> cpDrawn = cpMask;
    const HRESULT hr = DrawOwn(_pNotice, cpMaskHosts.Get(), true, &cpDrawn);
    _pvecGone->push_back(cpMask);
    _pvecGone->push_back(cpMaskHosts);
    return SUCCEEDED(hr) && cpDrawn.Get() != cpMask.Get() ? _pFrameRes->AttachmentSet(c_pwszMask, cpDrawn.Get()) : hr;
}

} // namespace

HRESULT NoticeFrame_Put(CNotice* _pNotice, IZFFrame* _pFrame, IZFFrame** _ppFrameRes,
                        std::vector<CZPtr<IZFFrame>>* _pvecGone)
{
    CZPtr<IZFFrame> cpRes = *_ppFrameRes ? CZPtr<IZFFrame>(*_ppFrameRes) : CZPtr<IZFFrame>(_pFrame);
    HRESULT hr = NoticeTexture_Put(_pNotice, _pFrame, &cpRes);
    if (hr == S_FALSE)
        hr = DrawOwn(_pNotice, _pFrame, false, &cpRes);
    if (cpRes.Get() == _pFrame)
        return hr; // no copy could be made
    const auto cpBefore = CZPtr<IZFFrame>::Adopt(std::exchange(*_ppFrameRes, CZPtr<IZFFrame>(cpRes).Detach()));
    _pvecGone->push_back(cpBefore);
    const HRESULT hrMask = MaskPut(_pNotice, _pFrame, cpRes.Get(), _pvecGone);
    return FAILED(hr) ? hr : hrMask;
}
