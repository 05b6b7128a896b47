#include "ZChromaKey/Objects/CoZKey2.h"

#include "Base/ZAssert.h"
#include "Base/ZBorder.h"
#include "Base/ZPtr.h"
#include "ZChromaKey/Keys2/FramePick.h"

#include <cmath>

namespace
{

constexpr const char* c_pszClass = "CCoZKey2";

uint32_t Rounded(double _dblRed, double _dblGreen, double _dblBlue)
{
    const auto fnByte = [](double _dblValue) { return static_cast<uint32_t>(std::lround(_dblValue)); };
    return fnByte(_dblRed) << 16 | fnByte(_dblGreen) << 8 | fnByte(_dblBlue);
}

} // namespace

HRESULT CCoZKey2::Create(REFIID _iid, void** _ppvObject)
{
    const auto cpObject = CZPtr<IZKey2>::Adopt(new CCoZKey2);
    return cpObject->QueryInterface(_iid, _ppvObject);
}

/// Runs a change on a copy of the key set, under the lock, inside the border; a change that fails changes nothing.
template <class Change> HRESULT CCoZKey2::Edit(const char* _pszMethod, Change&& _change) noexcept
{
    return ZBorder({c_pszClass, _pszMethod}, [&]() -> HRESULT {
        const std::lock_guard lock(m_mtxKeys);
        CHROMA_KEY2_RAW key = m_key;
        const HRESULT hr = _change(&key);
        if (SUCCEEDED(hr))
            m_key = key;
        return hr;
    });
}

HRESULT CCoZKey2::Add(const KEY2_COLOR& _color, BOOL _bProtect)
{
    return Edit("Add", [&](CHROMA_KEY2_RAW* _pKey) {
        return _bProtect ? KeySet2_ProtectAdd(_color, _pKey) : KeySet2_KeyAdd(_color, _pKey);
    });
}

HRESULT CCoZKey2::Reset()
{
    return Edit("Reset", [](CHROMA_KEY2_RAW* _pKey) {
        *_pKey = KeySet2_Empty();
        return S_OK;
    });
}

HRESULT CCoZKey2::AddPoint(IZFFrame* _pZFrame, int32_t _nXPosPixels, int32_t _nYPosPixels, BOOL _bProtect)
{
    return ZBorder({c_pszClass, "AddPoint"}, [&] {
        KEY2_COLOR color = {};
        const HRESULT hr = FramePick_Point(_pZFrame, _nXPosPixels, _nYPosPixels, &color);
        return FAILED(hr) ? hr : Add(color, _bProtect);
    });
}

HRESULT CCoZKey2::AddRect(IZFFrame* _pZFrame, int32_t _nX1PosPixels, int32_t _nY1PosPixels, int32_t _nX2PosPixels,
                          int32_t _nY2PosPixels, BOOL _bProtect)
{
    return ZBorder({c_pszClass, "AddRect"}, [&] {
        KEY2_COLOR color = {};
        const HRESULT hr = FramePick_Rect(_pZFrame, _nX1PosPixels, _nY1PosPixels, _nX2PosPixels, _nY2PosPixels, &color);
        return FAILED(hr) ? hr : Add(color, _bProtect);
    });
}

HRESULT CCoZKey2::AddColor(uint32_t _nRGB, BOOL _bProtect)
{
    return Add(KeySet2_Color(_nRGB), _bProtect);
}

HRESULT CCoZKey2::Remove(int32_t _nIndex, BOOL _bProtected)
{
    return Edit("Remove", [&](CHROMA_KEY2_RAW* _pKey) { return KeySet2_Remove(_nIndex, _bProtected != FALSE, _pKey); });
}

HRESULT CCoZKey2::CountGet(BOOL _bProtected, int32_t* _pnCount)
{
    return Edit("CountGet", [&](CHROMA_KEY2_RAW* _pKey) {
        if (!Z_VERIFY(_pnCount))
            return E_POINTER;
        *_pnCount = _bProtected ? _pKey->nProtectedUsed : _pKey->nKeysUsed;
        return S_OK;
    });
}

HRESULT CCoZKey2::ColorGet(int32_t _nIndex, BOOL _bProtected, uint32_t* _pnRGB)
{
    return Edit("ColorGet", [&](CHROMA_KEY2_RAW* _pKey) {
        if (!Z_VERIFY(_pnRGB))
            return E_POINTER;
        *_pnRGB = 0;
        if (!KeySet2_Range(_nIndex, _bProtected ? eRange_Protected : eRange_Backdrop, _pKey)) // logs
            return E_INVALIDARG;
        const SINGLE_KEY2& key = _pKey->arrKeys[_nIndex];
        const PROTECTED_KEY2& keep = _pKey->arrProtected[_nIndex];
        *_pnRGB = _bProtected ? Rounded(keep.dblRed, keep.dblGreen, keep.dblBlue)
                              : Rounded(key.dblRed, key.dblGreen, key.dblBlue);
        return S_OK;
    });
}

HRESULT CCoZKey2::RangeSet(int32_t _nIndex, eRange _eRange, double _dblHue, double _dblSaturation, double _dblValue)
{
    return Edit("RangeSet", [&](CHROMA_KEY2_RAW* _pKey) {
        KEY2_RANGE* const pRange = KeySet2_Range(_nIndex, _eRange, _pKey);
        if (!pRange)
            return E_INVALIDARG;
        *pRange = {_dblHue, _dblSaturation, _dblValue};
        const std::string strWhy = KeySet2_Check(*_pKey);
        if (strWhy.empty())
            return S_OK;
        ZLog(eZLog_Error, "CCoZKey2::RangeSet: %hs\n", strWhy);
        return E_INVALIDARG;
    });
}

HRESULT CCoZKey2::RangeGet(int32_t _nIndex, eRange _eRange, double* _pdblHue, double* _pdblSaturation,
                           double* _pdblValue)
{
    return Edit("RangeGet", [&](CHROMA_KEY2_RAW* _pKey) {
        for (double* const pdblOut : {_pdblHue, _pdblSaturation, _pdblValue})
            if (pdblOut)
                *pdblOut = 0;
        if (!Z_VERIFY(_pdblHue && _pdblSaturation && _pdblValue))
            return E_POINTER;
        const KEY2_RANGE* const pRange = KeySet2_Range(_nIndex, _eRange, _pKey);
        if (!pRange)
            return E_INVALIDARG;
        *_pdblHue = pRange->dblHue;
        *_pdblSaturation = pRange->dblSaturation;
        *_pdblValue = pRange->dblValue;
        return S_OK;
    });
}

HRESULT CCoZKey2::ParamSet(BSTR _bsName, double _dblValue)
{
    return Edit("ParamSet", [&](CHROMA_KEY2_RAW* _pKey) {
        return KeySet2_ParamSet(ZText_FromWide(_bsName ? _bsName : L""), _dblValue, _pKey);
    });
}

HRESULT CCoZKey2::ParamGet(BSTR _bsName, double* _pdblValue)
{
    return Edit("ParamGet", [&](CHROMA_KEY2_RAW* _pKey) {
        if (!Z_VERIFY(_pdblValue))
            return E_POINTER;
        *_pdblValue = 0;
        return KeySet2_ParamGet(*_pKey, ZText_FromWide(_bsName ? _bsName : L""), _pdblValue);
    });
}

HRESULT CCoZKey2::RawSet(const CHROMA_KEY2_RAW* _pKey)
{
    return Edit("RawSet", [&](CHROMA_KEY2_RAW* _pKeyOwn) {
        if (!Z_VERIFY(_pKey))
            return E_POINTER;
        const std::string strWhy = KeySet2_Check(*_pKey);
        if (!strWhy.empty())
        {
            ZLog(eZLog_Error, "CCoZKey2::RawSet: not taken over: %hs\n", strWhy);
            return E_INVALIDARG;
        }
        *_pKeyOwn = *_pKey;
        KeySet2_Clean(_pKeyOwn);
        return S_OK;
    });
}

HRESULT CCoZKey2::RawGet(CHROMA_KEY2_RAW* _pKey)
{
    return Edit("RawGet", [&](CHROMA_KEY2_RAW* _pKeyOwn) {
        if (!Z_VERIFY(_pKey))
            return E_POINTER;
        *_pKey = *_pKeyOwn;
        return S_OK;
    });
}
