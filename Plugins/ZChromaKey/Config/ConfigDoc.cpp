#include "ZChromaKey/Config/ConfigDoc.h"

#include "Base/ZLog.h"
#include "Props/Xml/XmlReader.h"
#include "Props/Xml/XmlWriter.h"
#include "ZChromaKey/Config/ChromaKeyOptions.h"

namespace
{

constexpr std::string_view c_svRoot = "zl-root";

/// The element that an object reads: its own, else that of the first generation, which has the same options.
const CXmlNode* ReadNode(const CXmlNode& _root, const char* _pszOwn)
{
    const CXmlNode* const pOwn = CConfigDoc::Find(_root, _pszOwn);
    return pOwn ? pOwn : CConfigDoc::Find(_root, c_pszConfigKeyer1);
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

/// What is wrong makes the document wrong; what is no option may be one of another version, and is kept.
bool CheckOptions(const CXmlNode& _options, PROPS_VALIDATE _pfnCheckOrNull, std::string* _pstrReason)
{
    return ForOptions(_options, [&](std::string_view _svName, std::string_view _svValue) {
        const std::string strWhy = ChromaKeyOptions_Validate(_svName, _svValue);
        if (!strWhy.empty())
            *_pstrReason = ZFormat("option \"%hs\" is \"%hs\", must be %hs", _svName, _svValue, strWhy);
        const std::string strUnknown = strWhy.empty() && _pfnCheckOrNull ? _pfnCheckOrNull(_svName, _svValue) : "";
        if (!strUnknown.empty())
            ZLog(eZLog_Warning, "The document's option %hs has no effect, and is kept: %hs\n", PropText_Quote(_svName),
                 strUnknown);
        return strWhy.empty();
    });
}

void WriteOptions(const PROP_MAP& _mapOptions, CXmlNode* _pOwn)
{
    _pOwn->ChildrenRemove("options");
    CXmlNode* const pOptions = _pOwn->ChildAdd("options");
    for (const auto& [strName, strValue] : _mapOptions)
    {
        CXmlNode* const pOption = pOptions->ChildAdd("option");
        pOption->AttrSetText("name", strName);
        pOption->AttrSetText("value", strValue);
    }
}

} // namespace

std::unique_ptr<CXmlNode> CConfigDoc::Read(std::string_view _svDocument, std::string* _pstrReason, const char* _pszOwn,
                                           PROPS_VALIDATE _pfnCheckOrNull)
{
    XML_READ_ERROR error;
    std::unique_ptr<CXmlNode> upRoot = XmlReader_Read(_svDocument, &error);
    if (!upRoot)
    {
        *_pstrReason = ZFormat("line %zu, column %zu: %hs", error.nLine, error.nColumn, error.strReason);
        return nullptr;
    }
    const CXmlNode* const pOwn = ReadNode(*upRoot, _pszOwn);
    if (!pOwn)
    {
        *_pstrReason = ZFormat("line 1, column 1: no element \"%hs\" in a root \"%hs\"", _pszOwn, c_svRoot);
        return nullptr;
    }
    const CXmlNode* const pOptions = pOwn->ChildFind("options");
    return !pOptions || CheckOptions(*pOptions, _pfnCheckOrNull, _pstrReason) ? std::move(upRoot) : nullptr;
}

const CXmlNode* CConfigDoc::Find(const CXmlNode& _root, const char* _pszOwn)
{
    return _root.Name() == c_svRoot ? _root.ChildFind(_pszOwn) : nullptr;
}

void CConfigDoc::OptionsGet(const CXmlNode& _root, PROP_MAP* _pmapOptions, const char* _pszOwn)
{
    const CXmlNode* const pOptions = ReadNode(_root, _pszOwn)->ChildFind("options");
    if (!pOptions)
        return;
    _pmapOptions->clear();
    ForOptions(*pOptions, [&](std::string_view _svName, std::string_view _svValue) {
        (*_pmapOptions)[std::string(_svName)] = _svValue;
        return true;
    });
}

CXmlNode* CConfigDoc::OwnFind()
{
    if (!m_upRoot)
        m_upRoot = std::make_unique<CXmlNode>(c_svRoot);
    CXmlNode* const pOwn = m_upRoot->ChildFind(m_pszOwn);
    return pOwn ? pOwn : m_upRoot->ChildAdd(m_pszOwn);
}

CXmlNode* CConfigDoc::OwnBegin()
{
    CXmlNode* const pOwn = OwnFind();
    pOwn->ChildrenRemove("options");
    return pOwn;
}

bool CConfigDoc::Save(const PROP_MAP* _pmapOptionsOrNull, std::string* _pstrDocument, std::string* _pstrReason)
{
    if (_pmapOptionsOrNull)
        WriteOptions(*_pmapOptionsOrNull, OwnFind());
    return XmlWriter_Write(*m_upRoot, _pstrDocument, _pstrReason);
}
