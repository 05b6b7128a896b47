#include "ZChromaKey/ConfigDoc.h"

#include "Base/ZLog.h"
#include "Props/Xml/XmlReader.h"
#include "Props/Xml/XmlWriter.h"
#include "ZChromaKey/ChromaKeyOptions.h"
#include "ZChromaKey/KeyXml.h"

namespace
{

constexpr std::string_view c_svRoot = "zl-root";
constexpr std::string_view c_svOwn = "ZChromaKey";

constexpr const char* c_pszTakenType = "taken.type";

const CXmlNode* OwnNode(const CXmlNode& _root)
{
    return _root.Name() == c_svRoot ? _root.ChildFind(c_svOwn) : nullptr;
}

/// Calls _fnOption(name, value) for every option of a document until it answers false.
template <class Option> bool ForOptions(const CXmlNode& _options, Option&& _fnOption)
{
    for (size_t i = 0; i < _options.ChildCount(); ++i)
    {
        const CXmlNode& nodeOption = _options.Child(i);
        const std::string_view svName = nodeOption.AttrText("name", "");
        const std::string_view svValue = nodeOption.AttrText("value", "");
        if (nodeOption.Name() == "option" && !svName.empty() && !svValue.empty() && !_fnOption(svName, svValue))
            return false;
    }
    return true;
}

bool CheckOptions(const CXmlNode& _options, std::string* _pstrReason)
{
    return ForOptions(_options, [&](std::string_view _svName, std::string_view _svValue) {
        const std::string strWhy = ChromaKeyOptions_Validate(_svName, _svValue);
        if (!strWhy.empty())
            *_pstrReason = ZFormat("option \"%hs\" is \"%hs\", must be %hs", _svName, _svValue, strWhy);
        return strWhy.empty();
    });
}

void WriteOptions(const PROP_MAP& _mapOptions, CXmlNode* _pOwn)
{
    CXmlNode* const pOptions = _pOwn->ChildAdd("options");
    for (const auto& [strName, strValue] : _mapOptions)
    {
        CXmlNode* const pOption = pOptions->ChildAdd("option");
        pOption->AttrSetText("name", strName);
        pOption->AttrSetText("value", strValue);
    }
}

} // namespace

std::unique_ptr<CXmlNode> CConfigDoc::Read(std::string_view _svDocument, std::string* _pstrReason)
{
    XML_READ_ERROR error;
    std::unique_ptr<CXmlNode> upRoot = XmlReader_Read(_svDocument, &error);
    if (!upRoot)
    {
        *_pstrReason = ZFormat("line %zu, column %zu: %hs", error.nLine, error.nColumn, error.strReason);
        return nullptr;
    }
    const CXmlNode* const pOwn = OwnNode(*upRoot);
    if (!pOwn)
    {
        *_pstrReason = ZFormat("line 1, column 1: no element \"%hs\" in a root \"%hs\"", c_svOwn, c_svRoot);
        return nullptr;
    }
    const CXmlNode* const pOptions = pOwn->ChildFind("options");
    return !pOptions || CheckOptions(*pOptions, _pstrReason) ? std::move(upRoot) : nullptr;
}

void CConfigDoc::ContentGet(const CXmlNode& _root, CONFIG_CONTENT* _pContent)
{
    const CXmlNode& nodeOwn = *OwnNode(_root);
    KeyXml_Load(nodeOwn, &_pContent->key, &_pContent->adjust);
    _pContent->eTakenType = static_cast<int32_t>(nodeOwn.AttrInt(c_pszTakenType, eCKT_Auto));
    if (const CXmlNode* const pOptions = nodeOwn.ChildFind("options"))
    {
        _pContent->mapOptions.clear();
        ForOptions(*pOptions, [&](std::string_view _svName, std::string_view _svValue) {
            _pContent->mapOptions[std::string(_svName)] = _svValue;
            return true;
        });
    }
}

bool CConfigDoc::Save(const CONFIG_CONTENT& _content, std::string* _pstrDocument, std::string* _pstrReason)
{
    if (!m_upRoot)
        m_upRoot = std::make_unique<CXmlNode>(c_svRoot);
    CXmlNode* pOwn = m_upRoot->ChildFind(c_svOwn);
    if (!pOwn)
        pOwn = m_upRoot->ChildAdd(c_svOwn);
    pOwn->ChildrenRemove("options");
    KeyXml_Save(_content.key, _content.adjust, *pOwn);
    pOwn->AttrRemove(c_pszTakenType);
    if (_content.eTakenType != _content.key.eType)
        pOwn->AttrSetInt(c_pszTakenType, _content.eTakenType);
    WriteOptions(_content.mapOptions, pOwn);
    return XmlWriter_Write(*m_upRoot, _pstrDocument, _pstrReason);
}
