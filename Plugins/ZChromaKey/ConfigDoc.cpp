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

bool ReadOptions(const CXmlNode& _nodeOwn, PROP_MAP* _pmapOptions, std::string* _pstrReason)
{
    const CXmlNode* const pOptions = _nodeOwn.ChildFind("options");
    for (size_t i = 0; pOptions && i < pOptions->ChildCount(); ++i)
    {
        const CXmlNode& nodeOption = pOptions->Child(i);
        const std::string strName(nodeOption.AttrText("name", ""));
        const std::string strValue(nodeOption.AttrText("value", ""));
        if (nodeOption.Name() != "option" || strName.empty() || strValue.empty())
            continue;
        const std::string strWhy = ChromaKeyOptions_Validate(strName, strValue);
        if (!strWhy.empty())
        {
            *_pstrReason = ZFormat("option \"%hs\" is \"%hs\", must be %hs", strName, strValue, strWhy);
            return false;
        }
        (*_pmapOptions)[strName] = strValue;
    }
    return true;
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

bool CConfigDoc::Load(std::string_view _svDocument, CONFIG_CONTENT* _pContent, std::string* _pstrReason)
{
    XML_READ_ERROR error;
    std::unique_ptr<CXmlNode> upRoot = XmlReader_Read(_svDocument, &error);
    if (!upRoot)
    {
        *_pstrReason = ZFormat("line %zu, column %zu: %hs", error.nLine, error.nColumn, error.strReason);
        return false;
    }
    const CXmlNode* const pOwn = upRoot->Name() == c_svRoot ? upRoot->ChildFind(c_svOwn) : nullptr;
    if (!pOwn)
    {
        *_pstrReason = ZFormat("line 1, column 1: no element \"%hs\" in a root \"%hs\"", c_svOwn, c_svRoot);
        return false;
    }
    CONFIG_CONTENT content = *_pContent;
    content.mapOptions.clear();
    if (!ReadOptions(*pOwn, &content.mapOptions, _pstrReason))
        return false;
    KeyXml_Load(*pOwn, &content.key, &content.adjust);
    *_pContent = std::move(content);
    m_upRoot = std::move(upRoot);
    return true;
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
    if (!_content.mapOptions.empty())
        WriteOptions(_content.mapOptions, pOwn);
    return XmlWriter_Write(*m_upRoot, _pstrDocument, _pstrReason);
}
