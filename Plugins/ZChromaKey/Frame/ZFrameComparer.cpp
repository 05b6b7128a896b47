#include "ZChromaKey/Frame/ZFrameComparer.h"

#include "Base/ZAssert.h"
#include "Base/ZBstr.h"
#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Interfaces/IZProps.h"

#include <algorithm>
#include <utility>

namespace
{

/// The texts that change what a frame shows without changing its pixels.
constexpr const wchar_t* c_arrTextNames[] = {L"crop", L"mirror", L"rotate"};

/// Keeps the value of a text (empty where there is none) and answers whether it is another than before.
bool TextRemember(IZProps* _pProps, const wchar_t* _pwszName, std::wstring* _pstrLast)
{
    CZBStr bsValue;
    if (FAILED(_pProps->PropsGet(_pwszName, bsValue.Put())))
        bsValue.Detach(); // what a failed call has written is not ours
    const bool bChanged = bsValue.Wide() != *_pstrLast;
    if (bChanged)
        _pstrLast->assign(bsValue.Wide());
    return bChanged;
}

} // namespace

bool ZFrameComparer::IsSameFrame(IZFFrame* _pFrame)
{
    const auto qpZFrameNext = ZQuery<IZFFrame2>(_pFrame);
    uint64_t nIdentity = 0;
    ZF_VID_PROPS vidProps = {};
    if (!qpZFrameNext && !std::exchange(m_bAsserted, true)) // once: the next frame lacks it as well
        (void)Z_VERIFY(qpZFrameNext);
    if (!qpZFrameNext || FAILED(qpZFrameNext->FrameIdGet(&nIdentity)) || FAILED(_pFrame->VideoPropsGet(&vidProps)))
    {
        Reset();
        return false;
    }
    const bool bDuplicate = IsDuplicate(qpZFrameNext.Get(), nIdentity, vidProps);
    if (!bDuplicate)
    {
        m_cpFrameLast = qpZFrameNext;
        m_nIdentityLast = nIdentity;
        m_vidPropsLast = vidProps;
        for (std::wstring& strText : m_arrTextsLast)
            strText.clear();
    }
    const bool bTextsChanged = TextsChanged(_pFrame); // remembers them, so it is called for every frame
    return bDuplicate && !bTextsChanged;
}

void ZFrameComparer::Reset()
{
    m_cpFrameLast.Reset();
}

bool ZFrameComparer::IsDuplicate(IZFFrame2* _pFrame, uint64_t _nIdentity, const ZF_VID_PROPS& _vidProps)
{
    if (!m_cpFrameLast || _nIdentity != m_nIdentityLast || !VidProps_Same(&_vidProps, &m_vidPropsLast, 0))
        return false;
    m_cpFrameLast = CZPtr<IZFFrame2>(_pFrame);
    ZLog(eZLog_Verbose, "ZFrameComparer(%08X)::IsSameFrame() [FRC-X] - SAME FRAME IN (DUP)\n",
         static_cast<const void*>(this));
    return true;
}

bool ZFrameComparer::TextsChanged(IZFFrame* _pFrame)
{
    const auto cpProps = ZQuery<IZProps>(_pFrame);
    bool bChanged = false;
    for (size_t n = 0; cpProps && n < m_arrTextsLast.size(); ++n)
        bChanged |= TextRemember(cpProps.Get(), c_arrTextNames[n], &m_arrTextsLast[n]);
    return bChanged;
}

HRESULT ZFrameComparer_Check(ZFrameComparer* _pComparer, IZFFrame* _pFrame, IZFFrame** _ppFrameRes,
                             ENGINE_SETTINGS _settings, std::vector<std::byte>* _pvecSettingsLast,
                             IZFFrame* _pFrameLastOrNull)
{
    if (!Z_VERIFY_TEXT(_pComparer && _pFrame && _ppFrameRes && !_settings.spanRecord.empty() && _pvecSettingsLast,
                       "_pComparer && _pFrame && _ppFrameRes && _pKey && _pKeyLast"))
        return E_INVALIDARG;
    *_ppFrameRes = nullptr;
    const bool bSameFrame = _pComparer->IsSameFrame(_pFrame); // first: it has to see every frame
    const bool bSameSettings = std::ranges::equal(_settings.spanRecord, *_pvecSettingsLast);
    _pvecSettingsLast->assign(_settings.spanRecord.begin(), _settings.spanRecord.end());
    const auto cpFrameLast = ZQuery<IZFFrame2>(_pFrameLastOrNull);
    if (!bSameFrame || !bSameSettings || !cpFrameLast)
        return S_FALSE;
    CZPtr<IZFFrame> cpClone;
    const HRESULT hrClone = cpFrameLast->FrameClone(eZFC_Cloned, cpClone.Put());
    if (!Z_VERIFY_TEXT(SUCCEEDED(hrClone), "(((HRESULT)(hrClone)) >= 0)"))
        return hrClone;
    *_ppFrameRes = cpClone.Detach();
    return hrClone;
}
