// What a frame carries besides its picture: named texts and attached objects.

#include "Base/ZBorder.h"
#include "Video/ZFrame.h"

#include <algorithm>
#include <string_view>

namespace
{
constexpr size_t c_nMaxName = 256;

// Taken while an attachment is checked and set: two threads that attach two frames to each other must not both pass.
std::mutex s_mtxLinks;

HRESULT NameOf(const char* _pszOperation, const wchar_t* _pwszName, std::string* _pstrName)
{
    if (!_pwszName)
        return E_POINTER;
    const std::wstring_view wsvName(_pwszName);
    if (wsvName.empty() || wsvName.size() > c_nMaxName)
    {
        ZLog(eZLog_Error, "%hs: a name has 1 to %zu characters, not %zu\n", _pszOperation, c_nMaxName, wsvName.size());
        return E_INVALIDARG;
    }
    *_pstrName = ZText_FromWide(wsvName);
    return S_OK;
}

template <class Texts> auto FindText(Texts& _vecTexts, const std::string& _strName)
{
    return std::lower_bound(_vecTexts.begin(), _vecTexts.end(), _strName,
                            [](const auto& _text, const std::string& _str) { return _text.first < _str; });
}
} // namespace

HRESULT CZFrame::AttachmentSet(const wchar_t* _pwszName, IUnknown* _pObjectOrNull)
{
    return ZBorder("CZFrame::AttachmentSet", [&] {
        std::string strName;
        const HRESULT hrName = NameOf("CZFrame::AttachmentSet", _pwszName, &strName);
        if (FAILED(hrName))
            return hrName;
        // released after the locks: the last release of an object runs code of its own
        CZPtr<IUnknown> cpObject = ZQuery<IUnknown>(_pObjectOrNull);
        const CZPtr<IZFrameLinks> cpLinks = ZQuery<IZFrameLinks>(_pObjectOrNull);
        std::lock_guard lockLinks(s_mtxLinks);
        if (cpLinks && cpLinks->Reaches(static_cast<IZFFrame2*>(this)))
        {
            ZLog(eZLog_Error, "CZFrame::AttachmentSet: \"%hs\" would close a cycle of attachments: attach a clone\n",
                 strName);
            return E_INVALIDARG;
        }
        return AttachmentSwap(strName, &cpObject);
    });
}

// What was attached comes back in the pointer.
HRESULT CZFrame::AttachmentSwap(const std::string& _strName, CZPtr<IUnknown>* _pcpObject)
{
    if (_strName == ZText_FromWide(c_wszFrameTexture))
        IdentityRenew();
    std::lock_guard lock(m_mtxState);
    const auto itFound = std::find_if(m_vecAttachments.begin(), m_vecAttachments.end(),
                                      [&](const ATTACHMENT& _entry) { return _entry.strName == _strName; });
    const bool bTake = !*_pcpObject;
    if (itFound == m_vecAttachments.end())
    {
        if (bTake)
            return S_FALSE;
        m_vecAttachments.push_back({_strName, *_pcpObject});
        return S_OK;
    }
    std::swap(itFound->cpObject, *_pcpObject);
    if (bTake)
        m_vecAttachments.erase(itFound);
    return S_OK;
}

HRESULT CZFrame::AttachmentGet(const wchar_t* _pwszName, IUnknown** _ppObject)
{
    if (!_ppObject)
        return E_POINTER;
    *_ppObject = nullptr;
    return ZBorder("CZFrame::AttachmentGet", [&] {
        std::string strName;
        const HRESULT hrName = NameOf("CZFrame::AttachmentGet", _pwszName, &strName);
        if (FAILED(hrName))
            return hrName;
        std::lock_guard lock(m_mtxState);
        for (const ATTACHMENT& entry : m_vecAttachments)
            if (entry.strName == strName)
                *_ppObject = CZPtr<IUnknown>(entry.cpObject).Detach();
        return *_ppObject ? S_OK : S_FALSE;
    });
}

BOOL CZFrame::Reaches(IUnknown* _pObject)
{
    if (_pObject == static_cast<IZFFrame2*>(this))
        return TRUE;
    std::lock_guard lock(m_mtxState);
    for (const ATTACHMENT& entry : m_vecAttachments)
    {
        const CZPtr<IZFrameLinks> cpLinks = ZQuery<IZFrameLinks>(entry.cpObject);
        if (cpLinks && cpLinks->Reaches(_pObject))
            return TRUE;
    }
    return FALSE;
}

HRESULT CZFrame::PropsSet(const wchar_t* _pwszName, const wchar_t* _pwszValue)
{
    return ZBorder("CZFrame::PropsSet", [&] {
        std::string strName;
        const HRESULT hr = NameOf("CZFrame::PropsSet", _pwszName, &strName);
        if (SUCCEEDED(hr))
            TextSet(strName, _pwszValue ? ZText_FromWide(_pwszValue) : std::string());
        return hr;
    });
}

void CZFrame::TextSet(const std::string& _strName, const std::string& _strValue)
{
    std::lock_guard lock(m_mtxState);
    TEXTS vecTexts = m_spTexts ? *m_spTexts : TEXTS();
    const auto itPlace = FindText(vecTexts, _strName);
    const bool bFound = itPlace != vecTexts.end() && itPlace->first == _strName;
    if (_strValue.empty() && bFound)
        vecTexts.erase(itPlace);
    else if (bFound)
        itPlace->second = _strValue;
    else if (!_strValue.empty())
        vecTexts.emplace(itPlace, _strName, _strValue);
    m_spTexts = std::make_shared<const TEXTS>(std::move(vecTexts));
}

std::shared_ptr<const CZFrame::TEXTS> CZFrame::Texts()
{
    std::lock_guard lock(m_mtxState);
    return m_spTexts;
}

HRESULT CZFrame::PropsGet(const wchar_t* _pwszName, BSTR* _pbsValue)
{
    if (!_pbsValue)
        return E_POINTER;
    *_pbsValue = nullptr;
    return ZBorder("CZFrame::PropsGet", [&] {
        std::string strName;
        const HRESULT hr = NameOf("CZFrame::PropsGet", _pwszName, &strName);
        if (FAILED(hr))
            return hr;
        const std::shared_ptr<const TEXTS> spTexts = Texts();
        if (!spTexts)
            return S_FALSE;
        const auto itPlace = FindText(*spTexts, strName);
        return itPlace != spTexts->end() && itPlace->first == strName ? ZText_HandOut(itPlace->second, _pbsValue)
                                                                      : S_FALSE;
    });
}

HRESULT CZFrame::PropsNameGet(UINT _nIndex, BSTR* _pbsName)
{
    if (!_pbsName)
        return E_POINTER;
    *_pbsName = nullptr;
    return ZBorder("CZFrame::PropsNameGet", [&] {
        const std::shared_ptr<const TEXTS> spTexts = Texts();
        return spTexts && _nIndex < spTexts->size() ? ZText_HandOut((*spTexts)[_nIndex].first, _pbsName) : S_FALSE;
    });
}
