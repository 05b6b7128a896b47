#include "Props/PropStore.h"

#include "Base/ZBorder.h"
#include "Props/Xml/XmlChars.h"

namespace
{

constexpr size_t c_nMaxNameChars = 256;

/// The length of a text, or the limit when it is longer.
size_t LengthUpTo(const wchar_t* _pwszText, size_t _nLimit)
{
    size_t nLength = 0;
    while (nLength < _nLimit && _pwszText[nLength])
        ++nLength;
    return nLength;
}

HRESULT Refuse(const std::string& _strName, const std::string& _strReason)
{
    ZLog(eZLog_Error, "PropsSet %hs: %hs\n", PropText_Quote(_strName), _strReason);
    return E_INVALIDARG;
}

HRESULT SetChecked(CPropStore* _pStore, const std::string& _strName, const std::string& _strValue,
                   PROPS_VALIDATE _pfnValidateOrNull)
{
    // A value that could be set but not saved would surface as a failure long after the mistake.
    if (XmlChars_FindBad(_strName) != std::string::npos || XmlChars_FindBad(_strValue) != std::string::npos)
        return Refuse(_strName, "control characters are not allowed in names and values");
    if (_pfnValidateOrNull)
        if (const std::string strWhy = _pfnValidateOrNull(_strName, _strValue); !strWhy.empty())
            return Refuse(_strName, strWhy);
    _pStore->Set(_strName, _strValue);
    return S_OK;
}

} // namespace

HRESULT PropStore_PropsSet(CPropStore* _pStore, const wchar_t* _pwszName, const wchar_t* _pwszValue,
                           PROPS_VALIDATE _pfnValidateOrNull) noexcept
{
    return ZBorder("PropsSet", [&]() -> HRESULT {
        if (!_pwszName)
            return E_POINTER;
        const size_t nNameChars = LengthUpTo(_pwszName, c_nMaxNameChars + 1);
        const std::string strName = ZText_FromWide({_pwszName, nNameChars});
        if (nNameChars == 0 || nNameChars > c_nMaxNameChars)
            return Refuse(strName, ZFormat("a name has 1 to %d characters", c_nMaxNameChars));
        return SetChecked(_pStore, strName, ZText_FromWide(_pwszValue ? _pwszValue : L""), _pfnValidateOrNull);
    });
}

HRESULT PropStore_PropsGet(const CPropStore& _store, const wchar_t* _pwszName, BSTR* _pbsValue) noexcept
{
    return ZBorder("PropsGet", [&]() -> HRESULT {
        if (_pbsValue)
            *_pbsValue = nullptr;
        if (!_pwszName || !_pbsValue)
            return E_POINTER;
        const std::wstring_view wsvName(_pwszName, LengthUpTo(_pwszName, c_nMaxNameChars + 1));
        std::string strValue;
        return _store.Find(ZText_FromWide(wsvName), &strValue) ? ZText_HandOut(strValue, _pbsValue) : S_FALSE;
    });
}

HRESULT PropStore_PropsNameGet(const CPropStore& _store, UINT _nIndex, BSTR* _pbsName) noexcept
{
    return ZBorder("PropsNameGet", [&]() -> HRESULT {
        if (!_pbsName)
            return E_POINTER;
        *_pbsName = nullptr;
        std::string strName;
        return _store.NameGet(_nIndex, &strName) ? ZText_HandOut(strName, _pbsName) : S_FALSE;
    });
}
