#include "ZChromaKey/Keys2/KeyXml2.h"

#include "Base/ZLog.h"
#include "Props/PropText.h"
#include "Props/Xml/XmlNode.h"
#include "ZChromaKey/Config/Params2.h"

#include <algorithm>

namespace
{

constexpr const char* c_pszKey = "key";
constexpr const char* c_pszProtected = "protected";
constexpr const char* c_pszParams = "params";
constexpr const char* c_pszRegion = "region";
constexpr const char* c_pszAutomatic = "automatic";
constexpr const char* c_pszFormat = "format";
constexpr int32_t c_nFormat = 1; // grows when a reader of before would take a document for something else

/// A number of a record and the attribute that holds it.
template <class Record> struct XML_NUMBER
{
    const char* pszAttr;
    double* (*pfnNumber)(Record* _pRecord);
};

constexpr XML_NUMBER<SINGLE_KEY2> c_arrKeyNumbers[] = {
    {"red", [](SINGLE_KEY2* _p) { return &_p->dblRed; }},
    {"green", [](SINGLE_KEY2* _p) { return &_p->dblGreen; }},
    {"blue", [](SINGLE_KEY2* _p) { return &_p->dblBlue; }},
    {"backdrop.hue", [](SINGLE_KEY2* _p) { return &_p->rangeBackdrop.dblHue; }},
    {"backdrop.saturation", [](SINGLE_KEY2* _p) { return &_p->rangeBackdrop.dblSaturation; }},
    {"backdrop.value", [](SINGLE_KEY2* _p) { return &_p->rangeBackdrop.dblValue; }},
    {"foreground.hue", [](SINGLE_KEY2* _p) { return &_p->rangeForeground.dblHue; }},
    {"foreground.saturation", [](SINGLE_KEY2* _p) { return &_p->rangeForeground.dblSaturation; }},
    {"foreground.value", [](SINGLE_KEY2* _p) { return &_p->rangeForeground.dblValue; }},
};
constexpr XML_NUMBER<PROTECTED_KEY2> c_arrProtectedNumbers[] = {
    {"red", [](PROTECTED_KEY2* _p) { return &_p->dblRed; }},
    {"green", [](PROTECTED_KEY2* _p) { return &_p->dblGreen; }},
    {"blue", [](PROTECTED_KEY2* _p) { return &_p->dblBlue; }},
    {"hue", [](PROTECTED_KEY2* _p) { return &_p->range.dblHue; }},
    {"saturation", [](PROTECTED_KEY2* _p) { return &_p->range.dblSaturation; }},
    {"value", [](PROTECTED_KEY2* _p) { return &_p->range.dblValue; }},
};

template <class Record, size_t N> void PutAll(const char* _pszChild, const XML_NUMBER<Record> (&_arrNumbers)[N],
                                              std::span<const Record> _arrRecords, CXmlNode& _node)
{
    _node.ChildrenRemove(_pszChild);
    for (Record record : _arrRecords)
    {
        CXmlNode* const pChild = _node.ChildAdd(_pszChild);
        for (const auto& number : _arrNumbers)
            pChild->AttrSetDouble(number.pszAttr, *number.pfnNumber(&record));
    }
}

template <class Record, size_t N> bool GetAll(const CXmlNode& _node, const char* _pszChild,
                                              const XML_NUMBER<Record> (&_arrNumbers)[N], Record* _pRecords,
                                              int32_t* _pnCount, std::string* _pstrReason)
{
    *_pnCount = 0;
    while (const CXmlNode* const pChild = _node.ChildFind(_pszChild, static_cast<size_t>(*_pnCount)))
    {
        if (*_pnCount == Z_MAX_KEYS2)
        {
            *_pstrReason = ZFormat("there are more than %d elements \"%hs\"", Z_MAX_KEYS2, _pszChild);
            return false;
        }
        Record* const pRecord = &_pRecords[(*_pnCount)++];
        for (const auto& number : _arrNumbers)
        {
            const std::string* const pstrValue = pChild->AttrFind(number.pszAttr);
            if (!pstrValue || PropText_ReadDouble(*pstrValue, number.pfnNumber(pRecord)))
                continue;
            *_pstrReason = ZFormat("element \"%hs\" %d: %hs=%hs is no number", _pszChild, *_pnCount, number.pszAttr,
                                   PropText_Quote(*pstrValue));
            return false;
        }
    }
    return true;
}

void PutParams(const KEY2_PARAMS& _params, CXmlNode& _node)
{
    _node.ChildrenRemove(c_pszParams);
    CXmlNode* const pParams = _node.ChildAdd(c_pszParams);
    for (const KEY2_PARAM& param : Params2_Table())
        if (!param.bOfPresent)
            pParams->AttrSetText(param.pszName, Params2_Text(param, _params.*param.pdblField));
}

bool GetParams(const CXmlNode& _node, KEY2_PARAMS* _pParams, std::string* _pstrReason)
{
    const CXmlNode* const pParams = _node.ChildFind(c_pszParams);
    if (!pParams)
        return true;
    for (const KEY2_PARAM& param : Params2_Table())
    {
        const std::string* const pstrValue = pParams->AttrFind(param.pszName);
        if (!pstrValue || param.bOfPresent || Params2_Read(param, *pstrValue, &(_pParams->*param.pdblField)))
            continue;
        *_pstrReason = ZFormat("parameter \"%hs\" is %hs, must be %hs", param.pszName, PropText_Quote(*pstrValue),
                               Params2_Check(param, param.dblMost + 1));
        return false;
    }
    return true;
}

void PutRegions(const KEY2_REGIONS& _arrRegions, CXmlNode& _node)
{
    _node.ChildrenRemove(c_pszRegion);
    for (int32_t eWhich = 0; eWhich < Z_REGIONS; ++eWhich)
    {
        const auto& spRegion = _arrRegions[static_cast<size_t>(eWhich)];
        if (!spRegion || spRegion->strPolygon.empty())
            continue;
        CXmlNode* const pRegion = _node.ChildAdd(c_pszRegion);
        pRegion->AttrSetText("name", Region_Name(eWhich));
        pRegion->AttrSetInt("width", spRegion->mask.nWidth);
        pRegion->AttrSetInt("height", spRegion->mask.nHeight);
        pRegion->AttrSetText("polygon", spRegion->strPolygon);
    }
}

/// The region that an element is about; -1 for none of ours.
int32_t RegionOf(const CXmlNode& _region)
{
    int32_t eWhich = Z_REGIONS - 1;
    while (eWhich >= 0 && _region.AttrText("name", "") != Region_Name(eWhich))
        --eWhich;
    return eWhich;
}

bool GetRegions(const CXmlNode& _node, KEY2_REGIONS* _parrRegions, std::string* _pstrReason)
{
    for (size_t n = 0; const CXmlNode* const pRegion = _node.ChildFind(c_pszRegion, n); ++n)
    {
        const int32_t eWhich = RegionOf(*pRegion);
        int32_t nWidth = 0;
        int32_t nHeight = 0;
        PropText_ReadInt32(pRegion->AttrText("width", ""), &nWidth);
        PropText_ReadInt32(pRegion->AttrText("height", ""), &nHeight);
        std::string strWhy = eWhich < 0 ? "its name must be garbage, holdout or backdrop" : "there is one of its name";
        std::shared_ptr<KEY2_REGION> spRegion;
        if (eWhich >= 0 && !(*_parrRegions)[static_cast<size_t>(eWhich)])
            spRegion = Region_OfPolygon(std::string(pRegion->AttrText("polygon", "")), nWidth, nHeight, &strWhy);
        if (!spRegion)
        {
            *_pstrReason = ZFormat("element \"%hs\" %zu: %hs", c_pszRegion, n + 1, strWhy);
            return false;
        }
        (*_parrRegions)[static_cast<size_t>(eWhich)] = std::move(spRegion);
    }
    return true;
}

/// Documents without a number are of the first format.
bool CheckFormat(const CXmlNode& _node, std::string* _pstrReason)
{
    const std::string* const pstrFormat = _node.AttrFind(c_pszFormat);
    int32_t nFormat = c_nFormat;
    if (pstrFormat && (!PropText_ReadInt32(*pstrFormat, &nFormat) || nFormat < 1))
        *_pstrReason = ZFormat("%hs=%hs is no number from 1 up", c_pszFormat, PropText_Quote(*pstrFormat));
    else if (nFormat > c_nFormat)
        *_pstrReason = ZFormat("it is of format %d and this version reads up to %d: take a newer version of the keyer",
                               nFormat, c_nFormat);
    return _pstrReason->empty();
}

/// A set whose unused keys have the ranges that a document need not name.
CHROMA_KEY2_RAW Defaults()
{
    CHROMA_KEY2_RAW key = KeySet2_Empty();
    std::fill(std::begin(key.arrKeys), std::end(key.arrKeys), KeySet2_Key({}));
    std::fill(std::begin(key.arrProtected), std::end(key.arrProtected), KeySet2_Protected({}));
    return key;
}

} // namespace

void KeyXml2_Save(const KEY2_EDIT& _edit, CXmlNode& _node)
{
    const CHROMA_KEY2_RAW& key = _edit.key;
    _node.AttrSetInt(c_pszFormat, c_nFormat);
    _node.AttrSetBool(c_pszAutomatic, key.bAutomatic != 0);
    PutAll(c_pszKey, c_arrKeyNumbers, std::span(key.arrKeys, static_cast<size_t>(key.nKeysUsed)), _node);
    PutAll(c_pszProtected, c_arrProtectedNumbers, std::span(key.arrProtected, static_cast<size_t>(key.nProtectedUsed)),
           _node);
    PutParams(key.params, _node);
    PutRegions(_edit.arrRegions, _node);
}

bool KeyXml2_Load(const CXmlNode& _node, KEY2_EDIT* _pEdit, std::string* _pstrReason)
{
    KEY2_EDIT edit = {Defaults(), {}};
    CHROMA_KEY2_RAW& key = edit.key;
    _pstrReason->clear();
    if (!CheckFormat(_node, _pstrReason) ||
        !GetAll(_node, c_pszKey, c_arrKeyNumbers, key.arrKeys, &key.nKeysUsed, _pstrReason) ||
        !GetAll(_node, c_pszProtected, c_arrProtectedNumbers, key.arrProtected, &key.nProtectedUsed, _pstrReason) ||
        !GetParams(_node, &key.params, _pstrReason) || !GetRegions(_node, &edit.arrRegions, _pstrReason))
        return false;
    bool bAutomatic = false;
    PropText_ReadBool(_node.AttrText(c_pszAutomatic, ""), &bAutomatic);
    key.bAutomatic = bAutomatic;
    *_pstrReason = KeySet2_Check(key);
    if (!_pstrReason->empty())
        return false;
    KeySet2_Clean(&key);
    *_pEdit = std::move(edit);
    return true;
}
