#include "ZChromaKey/Flat/FlatKeyer.h"

#include "Base/ZBstr.h"
#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Base/ZScope.h"
#include "Interfaces/IZKey.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>

// Keys, parameters, documents.

namespace
{

constexpr double c_dblAllOfTheTint = 100; // percent

HRESULT CheckUse(int _eUse)
{
    if (_eUse >= ZCK_USE_KEY && _eUse <= ZCK_USE_ONLY)
        return S_OK;
    ZLog(eZLog_Error, "There is no use %d of a colour; take %d (key) to %d (only key)\n", _eUse, ZCK_USE_KEY,
         ZCK_USE_ONLY);
    return E_INVALIDARG;
}

HRESULT RefuseEdit()
{
    ZLog(eZLog_Error, "Another edit, or a frame, has not come to its end for ten seconds; nothing has changed\n");
    return Z_E_TIMEOUT;
}

} // namespace

/// One edit at a time.
template <class Change> HRESULT CFlatKeyer::Edit(Change&& _change)
{
    const CZTimedGuard guard(&m_lockEdit);
    return guard ? _change() : RefuseEdit();
}

HRESULT CFlatKeyer::AdjustFind(const char* _pszName, eCK_Adjust* _peAdjust)
{
    ZTABLE_ROW row = {};
    std::string strNames;
    for (UINT n = 0; m_cpTables->TableRowGet(eZTable_Adjusts, n, &row) == S_OK; ++n)
    {
        if (std::string_view(row.pszName) == (_pszName ? _pszName : ""))
        {
            *_peAdjust = static_cast<eCK_Adjust>(n);
            return S_OK;
        }
        strNames += ZFormat("%hs%hs", n == 0 ? "" : ", ", row.pszName);
    }
    ZLog(eZLog_Error, "There is no adjustment \"%hs\"; there are %hs\n", _pszName ? _pszName : "", strNames);
    return E_INVALIDARG;
}

HRESULT CFlatKeyer::ParamSet(const char* _pszName, double _dblValue)
{
    return Edit([&]() -> HRESULT {
        if (!IsFirst())
            return m_cpKey2->ParamSet(CZBStr(_pszName ? _pszName : "").Get(), _dblValue);
        eCK_Adjust eAdjust = {};
        const HRESULT hr = AdjustFind(_pszName, &eAdjust);
        return SUCCEEDED(hr) ? m_cpKey1->KeyAdjustSet(eAdjust, _dblValue) : hr;
    });
}

HRESULT CFlatKeyer::ParamGet(const char* _pszName, double* _pdblValue)
{
    if (!IsFirst())
        return m_cpKey2->ParamGet(CZBStr(_pszName ? _pszName : "").Get(), _pdblValue);
    eCK_Adjust eAdjust = {};
    const HRESULT hr = AdjustFind(_pszName, &eAdjust);
    return SUCCEEDED(hr) ? m_cpKey1->KeyAdjustGet(eAdjust, _pdblValue) : hr;
}

HRESULT CFlatKeyer::ParamRow(UINT _nRow, ZTABLE_ROW* _pRow)
{
    return m_cpTables->TableRowGet(ParamTable(), _nRow, _pRow);
}

HRESULT CFlatKeyer::FrameSet(IZFFrame* _pFrameOrNull)
{
    return IsFirst() ? m_cpKey1->KeyFrameSet(_pFrameOrNull, nullptr) : m_cpKey2->FrameSet(_pFrameOrNull);
}

/// An edit that lies between two frames.
template <class Change> HRESULT CFlatKeyer::EditBetween(Change&& _change)
{
    return Edit([&]() -> HRESULT {
        const CZTimedGuard guard(&m_lockFrame);
        return guard ? _change() : RefuseEdit();
    });
}

/// Makes a change while a frame is the one that colours are taken from, and its YUV coded as it says.
template <class Change> HRESULT CFlatKeyer::WithFrame(const zck_frame* _pFrame, Change&& _change)
{
    FLAT_PICTURE picture = {};
    const HRESULT hr = FlatPicture_Read(_pFrame, "picture", &picture);
    if (FAILED(hr))
        return hr;
    const auto cpFrame = CZPtr<CFlatFrame>::Adopt(new CFlatFrame(m_cpPool, {}));
    cpFrame->Aim(picture, nullptr);
    return EditBetween([&]() -> HRESULT {
        const CZScopeExit letGo([&] { FrameSet(nullptr); });
        HRESULT hrSet = ColorsSet(picture);
        if (SUCCEEDED(hrSet))
            hrSet = FrameSet(cpFrame.Get());
        return SUCCEEDED(hrSet) ? _change() : hrSet;
    });
}

/// The keys without those of the backdrop.
HRESULT CFlatKeyer::KeysDrop()
{
    if (!IsFirst())
    {
        CHROMA_KEY2_RAW key = {};
        const HRESULT hr = m_cpKey2->KeyRawGet(&key);
        key.nKeysUsed = 0;
        return SUCCEEDED(hr) ? m_cpKey2->KeyRawSet(&key) : hr;
    }
    CHROMA_KEY_RAW key = {};
    const HRESULT hr = m_cpKey1->KeyRawGet(&key, nullptr);
    const auto pEnd = std::remove_if(key.arrKeys, key.arrKeys + key.nKeysUsed,
                                     [](const SINGLE_KEY& _key) { return _key.nReverseKey <= 0; });
    key.nKeysUsed = static_cast<int32_t>(pEnd - key.arrKeys);
    return SUCCEEDED(hr) ? m_cpKey1->KeyRawSet(&key, nullptr) : hr;
}

/// Takes the keys away and makes others, as one step. Under m_lockFrame: no frame sees half of it.
template <class Add> HRESULT CFlatKeyer::Only(Add&& _add)
{
    CHROMA_KEY_RAW key1 = {};
    CHROMA_KEY2_RAW key2 = {};
    HRESULT hr = IsFirst() ? m_cpKey1->KeyRawGet(&key1, nullptr) : m_cpKey2->KeyRawGet(&key2);
    if (SUCCEEDED(hr))
        hr = m_cpSteps->GroupBegin();
    if (FAILED(hr))
        return hr;
    hr = KeysDrop();
    if (SUCCEEDED(hr))
        hr = _add();
    if (FAILED(hr)) // a step that has come back to where it began is none
        IsFirst() ? m_cpKey1->KeyRawSet(&key1, nullptr) : m_cpKey2->KeyRawSet(&key2);
    m_cpSteps->GroupEnd();
    CHROMA_KEY_RAW keyNow = {};
    const bool bSame = IsFirst() && SUCCEEDED(hr) && SUCCEEDED(m_cpKey1->KeyRawGet(&keyNow, nullptr)) &&
                       std::memcmp(&key1, &keyNow, sizeof(keyNow)) == 0; // nothing but whole numbers
    return bSame ? S_FALSE : hr;
}

/// Takes a sample with a frame set.
template <class Add> HRESULT CFlatKeyer::Sample(const zck_frame* _pFrame, int _eUse, Add&& _add)
{
    const HRESULT hr = CheckUse(_eUse);
    if (FAILED(hr))
        return hr;
    return WithFrame(_pFrame, [&] { return _eUse == ZCK_USE_ONLY ? Only(_add) : _add(); });
}

HRESULT CFlatKeyer::KeyPoint(const zck_frame* _pFrame, int _nX, int _nY, int _eUse)
{
    return Sample(_pFrame, _eUse, [&] {
        if (_eUse == ZCK_USE_PROTECT)
            return IsFirst() ? m_cpKey1->KeyExcludePoint(_nX, _nY) : m_cpKey2->KeyProtectPoint(_nX, _nY);
        return IsFirst() ? m_cpKey1->KeyAddPoint(_nX, _nY) : m_cpKey2->KeyAddPoint(_nX, _nY);
    });
}

/// The first generation protects rectangles in its key objects alone.
HRESULT CFlatKeyer::RectProtectFirst(int _nX1, int _nY1, int _nX2, int _nY2)
{
    CZPtr<IZFFrame> cpFrame;
    CZPtr<IZFFrame> cpBG;
    CZPtr<IZKey> cpKey;
    HRESULT hr = m_cpKey1->KeyFrameGet(cpFrame.Put(), cpBG.Put());
    if (SUCCEEDED(hr))
        hr = m_cpKey1->KeyGet(cpFrame.Get(), cpKey.Put());
    if (SUCCEEDED(hr))
        hr = cpKey->AddRect(cpFrame.Get(), _nX1, _nY1, _nX2, _nY2, TRUE);
    return SUCCEEDED(hr) ? m_cpKey1->KeySet(cpKey.Get()) : hr;
}

HRESULT CFlatKeyer::KeyRect(const zck_frame* _pFrame, int _nX1, int _nY1, int _nX2, int _nY2, int _eUse)
{
    return Sample(_pFrame, _eUse, [&] {
        if (_eUse == ZCK_USE_PROTECT)
            return IsFirst() ? RectProtectFirst(_nX1, _nY1, _nX2, _nY2)
                             : m_cpKey2->KeyProtectRect(_nX1, _nY1, _nX2, _nY2);
        return IsFirst() ? m_cpKey1->KeyAddRect(_nX1, _nY1, _nX2, _nY2) : m_cpKey2->KeyAddRect(_nX1, _nY1, _nX2, _nY2);
    });
}

/// Whether the second generation has this colour, rounded, and no other one.
bool CFlatKeyer::IsOnlyColor(uint32_t _nRGB)
{
    CHROMA_KEY2_RAW key = {};
    if (IsFirst() || FAILED(m_cpKey2->KeyRawGet(&key)) || key.nKeysUsed != 1)
        return false;
    const SINGLE_KEY2& only = key.arrKeys[0];
    return std::lround(only.dblRed) == static_cast<long>(_nRGB >> 16 & 0xFF) &&
           std::lround(only.dblGreen) == static_cast<long>(_nRGB >> 8 & 0xFF) &&
           std::lround(only.dblBlue) == static_cast<long>(_nRGB & 0xFF);
}

HRESULT CFlatKeyer::KeyColor(uint32_t _nRGB, int _eUse)
{
    const HRESULT hr = CheckUse(_eUse);
    if (FAILED(hr))
        return hr;
    if (_eUse == ZCK_USE_ONLY)
        return EditBetween(
            [&] { return IsOnlyColor(_nRGB) ? S_FALSE : Only([&] { return m_cpKeys->KeyAddColor(_nRGB); }); });
    return Edit(
        [&] { return _eUse == ZCK_USE_PROTECT ? m_cpKeys->KeyProtectColor(_nRGB) : m_cpKeys->KeyAddColor(_nRGB); });
}

/// Has the first generation take the backdrop's tint out, which the second does by itself; HLS knows no direction away
/// from a tint.
HRESULT CFlatKeyer::CleanColors()
{
    CHROMA_KEY_RAW key = {};
    CK_ADJUST adjust = {};
    const HRESULT hr = m_cpKey1->KeyRawGet(&key, &adjust);
    if (FAILED(hr) || adjust.dblColors != 0 || key.eType == eCKT_HLS)
        return hr;
    return m_cpKey1->KeyAdjustSet(eCKA_Colors, c_dblAllOfTheTint);
}

HRESULT CFlatKeyer::KeyAuto(const zck_frame* _pFrame)
{
    return WithFrame(_pFrame, [&]() -> HRESULT {
        if (!IsFirst())
            return m_cpKey2->KeyAuto();
        const CZBStr bsOptions("detect.fit=true");
        HRESULT hr = m_cpSteps->GroupBegin();
        if (FAILED(hr))
            return hr;
        hr = m_cpKey1->KeyDetect(bsOptions.Get());
        if (hr == S_FALSE)
            ZLog(eZLog_Warning, "No backdrop was found in the picture, the keys stay as they are\n");
        if (hr == S_OK)
            hr = CleanColors();
        m_cpSteps->GroupEnd();
        return hr;
    });
}

HRESULT CFlatKeyer::Reset()
{
    return Edit([&] { return IsFirst() ? m_cpKey1->KeyReset() : m_cpKey2->KeyReset(); });
}

HRESULT CFlatKeyer::Step(int _nSteps, int* _pnDoneOrNull)
{
    const auto nSteps = static_cast<int32_t>(std::min(std::abs(int64_t{_nSteps}), int64_t{INT32_MAX}));
    int32_t nDone = 0;
    const HRESULT hr =
        Edit([&] { return _nSteps < 0 ? m_cpSteps->StepBack(nSteps, &nDone) : m_cpSteps->StepFwd(nSteps, &nDone); });
    if (_pnDoneOrNull)
        *_pnDoneOrNull = nDone;
    return hr == S_OK && nDone == 0 ? S_FALSE : hr;
}

HRESULT CFlatKeyer::Load(const char* _pszDocument)
{
    std::string_view svDocument = _pszDocument ? _pszDocument : "";
    svDocument.remove_prefix(std::min(svDocument.find('<'), svDocument.size())); // blanks and a byte order mark
    if (svDocument.empty()) // the object would take it for the name of a file
    {
        ZLog(eZLog_Error, "This is no document: it has no \"<\"\n");
        return E_INVALIDARG;
    }
    const std::wstring wstrDocument = ZText_ToWide(svDocument);
    return Edit([&] { return m_cpKeys->KeysLoad(wstrDocument.c_str()); });
}

HRESULT CFlatKeyer::Save(std::string* _pstrDocument)
{
    CZBStr bsDocument;
    const HRESULT hr = m_cpKeys->KeysSaveToString(bsDocument.Put());
    *_pstrDocument = bsDocument.Text();
    return hr;
}
