#include "ZChromaKey/Keys/KeyXml.h"

#include "Base/ZLog.h"
#include "Props/PropText.h"
#include "Props/Xml/XmlNode.h"

#include <algorithm>

namespace
{

constexpr const char* c_pszKey = "key";
constexpr const char* c_pszAdjust = "adjust";
constexpr const char* c_pszType = "type";
constexpr const char* c_pszKeys = "keys"; // how many; the elements are "key"

/// A field of a record and the attribute that holds it.
template <class Record, class T> struct XML_FIELD
{
    const char* pszAttr;
    T Record::*pField;
};

constexpr XML_FIELD<SINGLE_KEY, uint32_t> c_arrKeyColors[] = {
    {"value", &SINGLE_KEY::nValue},
    {"delta", &SINGLE_KEY::nDelta},
};
constexpr XML_FIELD<SINGLE_KEY, int32_t> c_arrKeyFields[] = {
    {"smooth", &SINGLE_KEY::nSmoothRange},         {"alpha", &SINGLE_KEY::nAlpha},
    {"cancel.range", &SINGLE_KEY::nCancelRange},   {"cancel.power", &SINGLE_KEY::nCancelPower},
    {"cancel.chroma", &SINGLE_KEY::nCancelChroma}, {"cancel.luma", &SINGLE_KEY::nCancelLuma},
    {"cancel.alpha", &SINGLE_KEY::nCancelAlpha},   {"reverse_key", &SINGLE_KEY::nReverseKey},
};
constexpr XML_FIELD<CHROMA_KEY_RAW, int32_t> c_arrMaskFields[] = {
    {"transparent.min", &CHROMA_KEY_RAW::nMinTransparent},
    {"transparent.max", &CHROMA_KEY_RAW::nMaxTransparent},
    {"edges_smooth", &CHROMA_KEY_RAW::nEdgesSmooth},
};
constexpr const char* c_pszColorCancel = "color_cancel"; // the one switch that reads as 0 or 1 whatever its number
constexpr XML_FIELD<CHROMA_KEY_RAW, int32_t> c_arrSwitchFields[] = {
    {"interlaced", &CHROMA_KEY_RAW::nInterlacedVideo},
    {"inverse", &CHROMA_KEY_RAW::nInverseKey},
};
constexpr XML_FIELD<CK_ADJUST, double> c_arrAdjustFields[] = {
    {"power", &CK_ADJUST::dblPower},
    {"transparent", &CK_ADJUST::dblTransparent},
    {"colors", &CK_ADJUST::dblColors},
    {"smooth", &CK_ADJUST::dblSmooth},
    {"min_trans", &CK_ADJUST::dblMinTransparent},
    {"max_trans", &CK_ADJUST::dblMaxTransparent},
    {"exc_power", &CK_ADJUST::dblExclPower},
    {"exc_transparent", &CK_ADJUST::dblExclTransparent},
};
// The two groups are written as the plain values are, without a writing mode of their own: a name with "::" is an
// ordinary name to the node model, which knows no namespaces, and a value that is left out would not come back.
constexpr XML_FIELD<CK_COLOR_ADJUST, double> c_arrColorFields[] = {
    {"color::range", &CK_COLOR_ADJUST::dblCancelRange},   {"color::power", &CK_COLOR_ADJUST::dblCancelPower},
    {"color::chroma", &CK_COLOR_ADJUST::dblCancelChroma}, {"color::luma", &CK_COLOR_ADJUST::dblCancelLuma},
    {"color::alpha", &CK_COLOR_ADJUST::dblCancelAlpha},
};
constexpr XML_FIELD<CK_RANGE_ADJUST, double> c_arrRangeFields[] = {
    {"range::rhy", &CK_RANGE_ADJUST::dblRangeR_H_Y},
    {"range::glu", &CK_RANGE_ADJUST::dblRangeG_L_U},
    {"range::bsv", &CK_RANGE_ADJUST::dblRangeB_S_V},
};

void Put(CXmlNode& _node, const char* _pszAttr, int32_t _nValue)
{
    _node.AttrSetInt(_pszAttr, _nValue);
}
void Put(CXmlNode& _node, const char* _pszAttr, uint32_t _nValue)
{
    _node.AttrSetUInt(_pszAttr, _nValue);
}
void Put(CXmlNode& _node, const char* _pszAttr, double _dblValue)
{
    _node.AttrSetDouble(_pszAttr, _dblValue);
}

template <class Record, class T, size_t N>
void PutAll(CXmlNode& _node, const XML_FIELD<Record, T> (&_arrFields)[N], const Record& _record)
{
    for (const auto& field : _arrFields)
        Put(_node, field.pszAttr, _record.*field.pField);
}

/// Reads an attribute. False when it is absent; what cannot be read counts as absent.
template <class T> bool Read(const CXmlNode& _node, const char* _pszAttr, bool (*_pfnRead)(std::string_view, T*),
                             const char* _pszWanted, T* _pValue)
{
    const std::string* pstrValue = _node.AttrFind(_pszAttr);
    if (!pstrValue || _pfnRead(*pstrValue, _pValue))
        return pstrValue != nullptr;
    ZLog(eZLog_Warning, "key set: %hs=%hs of element %hs is passed over; %hs is needed\n", _pszAttr,
         PropText_Quote(*pstrValue), PropText_Quote(_node.Name()), _pszWanted);
    return false;
}

/// A count of keys: one that is too large for 32 bits, or for any number of bits, is as good as the most there can be.
bool ReadCount(std::string_view _svText, int32_t* _pnValue)
{
    if (PropText_ReadInt32(_svText, _pnValue))
        return true;
    std::string_view svDigits = PropText_Trim(_svText);
    if (svDigits.starts_with('+'))
        svDigits.remove_prefix(1);
    if (svDigits.empty() || svDigits.find_first_not_of("0123456789") != std::string_view::npos)
        return false;
    *_pnValue = Z_MAX_KEYS;
    return true;
}

void Get(const CXmlNode& _node, const char* _pszAttr, int32_t* _pnValue)
{
    Read(_node, _pszAttr, PropText_ReadInt32, "a whole number of 32 bits", _pnValue);
}
/// Colour words usually have the highest bit set and may also come signed: read wide, then cut.
void Get(const CXmlNode& _node, const char* _pszAttr, uint32_t* _pnValue)
{
    int64_t nValue = *_pnValue;
    Read(_node, _pszAttr, PropText_ReadInt, "a whole number", &nValue);
    *_pnValue = static_cast<uint32_t>(nValue);
}
void Get(const CXmlNode& _node, const char* _pszAttr, double* _pdblValue)
{
    Read(_node, _pszAttr, PropText_ReadDouble, "a number", _pdblValue);
}

template <class Record, class T, size_t N>
void GetAll(const CXmlNode& _node, const XML_FIELD<Record, T> (&_arrFields)[N], Record* _pRecord)
{
    for (const auto& field : _arrFields)
        Get(_node, field.pszAttr, &(_pRecord->*field.pField));
}

void LoadKeys(const CXmlNode& _node, CHROMA_KEY_RAW* _pKey)
{
    _pKey->nKeysUsed = std::min(_pKey->nKeysUsed, Z_MAX_KEYS);
    for (int32_t i = 0; i < _pKey->nKeysUsed; ++i)
        if (const CXmlNode* pChild = _node.ChildFind(c_pszKey, static_cast<size_t>(i)))
        {
            GetAll(*pChild, c_arrKeyColors, &_pKey->arrKeys[i]);
            GetAll(*pChild, c_arrKeyFields, &_pKey->arrKeys[i]);
        }
}

} // namespace

void KeyXml_Save(const CHROMA_KEY_RAW& _key, const CK_ADJUST& _adjust, CXmlNode& _node)
{
    Put(_node, c_pszType, _key.eType);
    Put(_node, c_pszKeys, _key.nKeysUsed);
    _node.ChildrenRemove(c_pszKey);
    for (int32_t i = 0; i < std::min(_key.nKeysUsed, Z_MAX_KEYS); ++i)
    {
        CXmlNode* pChild = _node.ChildAdd(c_pszKey);
        PutAll(*pChild, c_arrKeyColors, _key.arrKeys[i]);
        PutAll(*pChild, c_arrKeyFields, _key.arrKeys[i]);
    }
    PutAll(_node, c_arrMaskFields, _key);
    _node.AttrSetBool(c_pszColorCancel, _key.bColorCancel != 0);
    PutAll(_node, c_arrSwitchFields, _key);
    _node.ChildrenRemove(c_pszAdjust);
    CXmlNode* pAdjust = _node.ChildAdd(c_pszAdjust);
    PutAll(*pAdjust, c_arrAdjustFields, _adjust);
    PutAll(*pAdjust, c_arrColorFields, _adjust.colAdjust);
    PutAll(*pAdjust, c_arrRangeFields, _adjust.rangeAdjust);
}

void KeyXml_Load(const CXmlNode& _node, CHROMA_KEY_RAW* _pKey, CK_ADJUST* _pAdjust)
{
    *_pKey = {};
    Get(_node, c_pszType, &_pKey->eType);
    Read(_node, c_pszKeys, ReadCount, "a whole number of 32 bits", &_pKey->nKeysUsed);
    LoadKeys(_node, _pKey);
    GetAll(_node, c_arrMaskFields, _pKey);
    bool bColorCancel = false;
    Read(_node, c_pszColorCancel, PropText_ReadBool, "true or false", &bColorCancel);
    _pKey->bColorCancel = bColorCancel;
    GetAll(_node, c_arrSwitchFields, _pKey);
    if (const CXmlNode* pAdjust = _node.ChildFind(c_pszAdjust))
    {
        GetAll(*pAdjust, c_arrAdjustFields, _pAdjust);
        GetAll(*pAdjust, c_arrColorFields, &_pAdjust->colAdjust);
        GetAll(*pAdjust, c_arrRangeFields, &_pAdjust->rangeAdjust);
    }
}
