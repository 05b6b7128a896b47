#include "ZChromaKey/Keys2/KeySet2.h"

#include "Base/ZLog.h"
#include "Props/PropText.h"
#include "ZChromaKey/Config/Params2.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>

namespace
{

constexpr KEY2_RANGE c_rangeMost = {180, 1, 1};
/// Wide in value and narrow in saturation: a shadow on the screen is backdrop, a veil before it is not.
constexpr KEY2_RANGE c_rangeBackdrop = {18, 0.18, 0.62};
constexpr KEY2_RANGE c_rangeForeground = {60, 0.6, 1};
/// Narrow, because blue cloth before a blue screen has its hue: only saturation and value tell them apart.
constexpr KEY2_RANGE c_rangeProtected = {12, 0.12, 0.2};

/// Levels between the largest and the smallest channel below which a hue is noise.
constexpr double c_dblLeastChroma = 10;

std::string CheckNumber(const std::string& _strWhat, double _dblValue, double _dblMost)
{
    if (_dblValue >= 0 && _dblValue <= _dblMost) // not so a value that is no number
        return {};
    return ZFormat("%hs is %g, must be a number from 0 to %g", _strWhat, _dblValue, _dblMost);
}

std::string CheckRange(const std::string& _strWhat, const KEY2_RANGE& _range)
{
    std::string strWhy = CheckNumber(_strWhat + " hue", _range.dblHue, c_rangeMost.dblHue);
    if (strWhy.empty())
        strWhy = CheckNumber(_strWhat + " saturation", _range.dblSaturation, c_rangeMost.dblSaturation);
    return strWhy.empty() ? CheckNumber(_strWhat + " value", _range.dblValue, c_rangeMost.dblValue) : strWhy;
}

template <class Key> std::string CheckColor(const std::string& _strWhat, const Key& _key)
{
    std::string strWhy;
    for (const auto& [pszName, dblValue] :
         {std::pair{" red", _key.dblRed}, {" green", _key.dblGreen}, {" blue", _key.dblBlue}})
        if (strWhy.empty())
            strWhy = CheckNumber(_strWhat + pszName, dblValue, 255);
    return strWhy;
}

/// Why a colour is no key; "" where it is one.
std::string CheckHue(const KEY2_COLOR& _color)
{
    if (KeySet2_HasHue(_color))
        return {};
    return ZFormat("the colour R %g G %g B %g is grey, and grey cannot be keyed", _color.dblRed, _color.dblGreen,
                   _color.dblBlue);
}

std::string CheckKeys(const CHROMA_KEY2_RAW& _key)
{
    std::string strWhy;
    for (int32_t n = 0; n < _key.nKeysUsed && strWhy.empty(); ++n)
    {
        const std::string strWhat = ZFormat("key %d:", n);
        const SINGLE_KEY2& key = _key.arrKeys[n];
        strWhy = CheckColor(strWhat, key);
        if (strWhy.empty())
            strWhy = CheckRange(strWhat + " backdrop", key.rangeBackdrop);
        if (strWhy.empty())
            strWhy = CheckRange(strWhat + " foreground", key.rangeForeground);
        if (const std::string strGrey = CheckHue({key.dblRed, key.dblGreen, key.dblBlue});
            strWhy.empty() && !strGrey.empty())
            strWhy = ZFormat("%hs %hs", strWhat, strGrey);
    }
    for (int32_t n = 0; n < _key.nProtectedUsed && strWhy.empty(); ++n)
    {
        const std::string strWhat = ZFormat("protected colour %d:", n);
        strWhy = CheckColor(strWhat, _key.arrProtected[n]);
        if (strWhy.empty())
            strWhy = CheckRange(strWhat, _key.arrProtected[n].range);
    }
    return strWhy;
}

/// Numbers of a record that is nothing but doubles.
template <class Record> std::span<double> Numbers(Record* _pRecord)
{
    constexpr size_t c_cbRecord = sizeof(Record);
    static_assert(c_cbRecord % sizeof(double) == 0);
    return {reinterpret_cast<double*>(_pRecord), c_cbRecord / sizeof(double)};
}

template <class Key> bool IsColor(const Key& _key, const KEY2_COLOR& _color)
{
    return _key.dblRed == _color.dblRed && _key.dblGreen == _color.dblGreen && _key.dblBlue == _color.dblBlue;
}

HRESULT RefuseFull(const char* _pszWhat)
{
    ZLog(eZLog_Error, "Key set: all %d %hs are in use; remove one\n", Z_MAX_KEYS2, _pszWhat);
    return E_UNEXPECTED;
}

HRESULT RefuseIndex(int32_t _nIndex, const char* _pszWhat, int32_t _nCount)
{
    ZLog(eZLog_Error, "Key set: there is no %hs %d; there are %d, counted from 0\n", _pszWhat, _nIndex, _nCount);
    return E_INVALIDARG;
}

/// Moves the entries after one up; the last becomes 0.
template <class Key> void RemoveAt(Key* _pKeys, int32_t _nIndex, int32_t* _pnCount)
{
    std::copy(_pKeys + _nIndex + 1, _pKeys + *_pnCount, _pKeys + _nIndex);
    _pKeys[--*_pnCount] = {};
}

const KEY2_PARAM* FindParam(std::string_view _svName)
{
    const KEY2_PARAM* const pParam = Params2_Find(_svName);
    if (pParam)
        return pParam;
    std::string strNames;
    for (const KEY2_PARAM& param : Params2_Table())
        strNames += ZFormat("%hs%hs", strNames.empty() ? "" : ", ", param.pszName);
    ZLog(eZLog_Error, "Key set: there is no parameter %hs; there are %hs\n", PropText_Quote(_svName), strNames);
    return nullptr;
}

} // namespace

KEY2_COLOR KeySet2_Color(uint32_t _nRGB)
{
    return {static_cast<double>(_nRGB >> 16 & 0xFF), static_cast<double>(_nRGB >> 8 & 0xFF),
            static_cast<double>(_nRGB & 0xFF)};
}

bool KeySet2_HasColor(const CHROMA_KEY2_RAW& _key, uint32_t _nRGB, bool _bProtected)
{
    const auto fnIs = [&](const auto& _color) {
        return std::lround(_color.dblRed) == static_cast<long>(_nRGB >> 16 & 0xFF) &&
               std::lround(_color.dblGreen) == static_cast<long>(_nRGB >> 8 & 0xFF) &&
               std::lround(_color.dblBlue) == static_cast<long>(_nRGB & 0xFF);
    };
    return _bProtected ? std::any_of(_key.arrProtected, _key.arrProtected + _key.nProtectedUsed, fnIs)
                       : std::any_of(_key.arrKeys, _key.arrKeys + _key.nKeysUsed, fnIs);
}

bool KeySet2_HasHue(const KEY2_COLOR& _color)
{
    const auto [dblMin, dblMax] = std::minmax({_color.dblRed, _color.dblGreen, _color.dblBlue});
    return dblMax - dblMin >= c_dblLeastChroma;
}

SINGLE_KEY2 KeySet2_Key(const KEY2_COLOR& _color)
{
    return {_color.dblRed, _color.dblGreen, _color.dblBlue, c_rangeBackdrop, c_rangeForeground};
}

PROTECTED_KEY2 KeySet2_Protected(const KEY2_COLOR& _color)
{
    return {_color.dblRed, _color.dblGreen, _color.dblBlue, c_rangeProtected};
}

CHROMA_KEY2_RAW KeySet2_Empty()
{
    CHROMA_KEY2_RAW key = {};
    key.nSize = sizeof(key);
    key.params = Params2_Defaults();
    return key;
}

std::string KeySet2_Check(const CHROMA_KEY2_RAW& _key)
{
    if (_key.nSize != sizeof(_key))
        return ZFormat("its size is %u, must be %zu", _key.nSize, sizeof(_key));
    for (const int32_t nCount : {_key.nKeysUsed, _key.nProtectedUsed})
        if (nCount < 0 || nCount > Z_MAX_KEYS2)
            return ZFormat("it has %d colours of one kind, must be 0 to %d", nCount, Z_MAX_KEYS2);
    std::string strWhy = CheckKeys(_key);
    for (const KEY2_PARAM& param : Params2_Table())
        if (strWhy.empty())
        {
            const double dblValue = _key.params.*param.pdblField;
            const std::string strRight = Params2_Check(param, dblValue);
            if (!strRight.empty())
                strWhy = ZFormat("parameter \"%hs\" is %g, must be %hs", param.pszName, dblValue, strRight);
        }
    return strWhy;
}

void KeySet2_Clean(CHROMA_KEY2_RAW* _pKey)
{
    std::fill(_pKey->arrKeys + _pKey->nKeysUsed, std::end(_pKey->arrKeys), SINGLE_KEY2{});
    std::fill(_pKey->arrProtected + _pKey->nProtectedUsed, std::end(_pKey->arrProtected), PROTECTED_KEY2{});
    _pKey->bAutomatic = _pKey->bAutomatic != 0 && _pKey->nKeysUsed > 0;
    const auto fnNoSign = [](std::span<double> _arrNumbers) {
        for (double& dblNumber : _arrNumbers)
            dblNumber += 0.0; // -0 becomes 0
    };
    fnNoSign(Numbers(&_pKey->arrKeys));
    fnNoSign(Numbers(&_pKey->arrProtected));
    fnNoSign(Numbers(&_pKey->params));
}

HRESULT KeySet2_KeyAdd(const KEY2_COLOR& _color, CHROMA_KEY2_RAW* _pKey)
{
    if (const std::string strWhy = CheckHue(_color); !strWhy.empty())
    {
        ZLog(eZLog_Error, "Key set: %hs; pick a place of the backdrop that is lit\n", strWhy);
        return E_INVALIDARG;
    }
    if (_pKey->bAutomatic)
    {
        _pKey->nKeysUsed = 0;
        _pKey->bAutomatic = 0;
        KeySet2_Clean(_pKey);
    }
    for (int32_t n = 0; n < _pKey->nKeysUsed; ++n)
        if (IsColor(_pKey->arrKeys[n], _color))
            return S_FALSE;
    if (_pKey->nKeysUsed >= Z_MAX_KEYS2)
        return RefuseFull("keys");
    _pKey->arrKeys[_pKey->nKeysUsed++] = KeySet2_Key(_color);
    return S_OK;
}

HRESULT KeySet2_ProtectAdd(const KEY2_COLOR& _color, CHROMA_KEY2_RAW* _pKey)
{
    for (int32_t n = 0; n < _pKey->nProtectedUsed; ++n)
        if (IsColor(_pKey->arrProtected[n], _color))
            return S_FALSE;
    if (_pKey->nProtectedUsed >= Z_MAX_KEYS2)
        return RefuseFull("protected colours");
    _pKey->arrProtected[_pKey->nProtectedUsed++] = KeySet2_Protected(_color);
    return S_OK;
}

HRESULT KeySet2_Remove(int32_t _nIndex, bool _bProtected, CHROMA_KEY2_RAW* _pKey)
{
    int32_t& nCount = _bProtected ? _pKey->nProtectedUsed : _pKey->nKeysUsed;
    if (_nIndex < 0 || _nIndex >= nCount)
        return RefuseIndex(_nIndex, _bProtected ? "protected colour" : "key", nCount);
    if (_bProtected)
        RemoveAt(_pKey->arrProtected, _nIndex, &nCount);
    else
    {
        RemoveAt(_pKey->arrKeys, _nIndex, &nCount);
        _pKey->bAutomatic = 0; // what is left was left on purpose
    }
    return S_OK;
}

KEY2_RANGE* KeySet2_Range(int32_t _nIndex, eRange _eRange, CHROMA_KEY2_RAW* _pKey)
{
    const bool bProtected = _eRange == eRange_Protected;
    const int32_t nCount = bProtected ? _pKey->nProtectedUsed : _pKey->nKeysUsed;
    if (_eRange < eRange_Backdrop || _eRange > eRange_Protected)
        ZLog(eZLog_Error, "Key set: there is no range %d; use %d to %d\n", _eRange, eRange_Backdrop, eRange_Protected);
    else if (_nIndex < 0 || _nIndex >= nCount)
        RefuseIndex(_nIndex, bProtected ? "protected colour" : "key", nCount);
    else if (bProtected)
        return &_pKey->arrProtected[_nIndex].range;
    else
        return _eRange == eRange_Backdrop ? &_pKey->arrKeys[_nIndex].rangeBackdrop
                                          : &_pKey->arrKeys[_nIndex].rangeForeground;
    return nullptr;
}

HRESULT KeySet2_ParamSet(std::string_view _svName, double _dblValue, CHROMA_KEY2_RAW* _pKey)
{
    const KEY2_PARAM* const pParam = FindParam(_svName);
    if (!pParam)
        return E_INVALIDARG;
    const std::string strRight = Params2_Check(*pParam, _dblValue);
    if (!strRight.empty())
    {
        ZLog(eZLog_Error, "Key set: parameter \"%hs\" cannot be %g; use %hs\n", pParam->pszName, _dblValue, strRight);
        return E_INVALIDARG;
    }
    double& dblField = _pKey->params.*pParam->pdblField;
    const bool bSame = dblField == _dblValue;
    dblField = _dblValue + 0.0; // -0 becomes 0
    return bSame ? S_FALSE : S_OK;
}

HRESULT KeySet2_ParamGet(const CHROMA_KEY2_RAW& _key, std::string_view _svName, double* _pdblValue)
{
    const KEY2_PARAM* const pParam = FindParam(_svName);
    if (!pParam)
        return E_INVALIDARG;
    *_pdblValue = _key.params.*pParam->pdblField;
    return S_OK;
}
