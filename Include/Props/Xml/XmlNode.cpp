#include "Props/Xml/XmlNode.h"

#include "Props/PropText.h"

#include <algorithm>
#include <utility>

XML_ATTR* CXmlNode::AttrFindOwn(std::string_view _svName)
{
    const auto it = std::find_if(m_vecAttrs.begin(), m_vecAttrs.end(),
                                 [&](const XML_ATTR& _attr) { return _attr.strName == _svName; });
    return it == m_vecAttrs.end() ? nullptr : &*it;
}

const std::string* CXmlNode::AttrFind(std::string_view _svName) const
{
    const XML_ATTR* pAttr = const_cast<CXmlNode*>(this)->AttrFindOwn(_svName);
    return pAttr ? &pAttr->strValue : nullptr;
}

std::string_view CXmlNode::AttrText(std::string_view _svName, std::string_view _svDefault) const
{
    const std::string* pstrValue = AttrFind(_svName);
    return pstrValue ? std::string_view(*pstrValue) : _svDefault;
}

int64_t CXmlNode::AttrInt(std::string_view _svName, int64_t _nDefault) const
{
    int64_t nValue = _nDefault;
    PropText_ReadInt(AttrText(_svName, ""), &nValue);
    return nValue;
}

void CXmlNode::AttrSetText(std::string_view _svName, std::string_view _svValue)
{
    if (XML_ATTR* pAttr = AttrFindOwn(_svName))
        pAttr->strValue = _svValue;
    else
        AttrAppend(std::string(_svName), std::string(_svValue));
}

void CXmlNode::AttrSetInt(std::string_view _svName, int64_t _nValue)
{
    AttrSetText(_svName, PropText_FromInt(_nValue));
}

void CXmlNode::AttrSetUInt(std::string_view _svName, uint64_t _nValue)
{
    AttrSetText(_svName, PropText_FromUInt(_nValue));
}

void CXmlNode::AttrSetDouble(std::string_view _svName, double _dblValue)
{
    AttrSetText(_svName, PropText_FromDouble(_dblValue));
}

void CXmlNode::AttrSetBool(std::string_view _svName, bool _bValue)
{
    AttrSetText(_svName, PropText_FromBool(_bValue));
}

void CXmlNode::AttrRemove(std::string_view _svName)
{
    std::erase_if(m_vecAttrs, [&](const XML_ATTR& _attr) { return _attr.strName == _svName; });
}

void CXmlNode::AttrAppend(std::string _strName, std::string _strValue)
{
    m_vecAttrs.push_back({std::move(_strName), std::move(_strValue)});
}

const CXmlNode* CXmlNode::ChildFind(std::string_view _svName, size_t _nIndex) const
{
    for (const auto& upChild : m_vecChildren)
        if (upChild->Name() == _svName && _nIndex-- == 0)
            return upChild.get();
    return nullptr;
}

CXmlNode* CXmlNode::ChildFind(std::string_view _svName, size_t _nIndex)
{
    return const_cast<CXmlNode*>(std::as_const(*this).ChildFind(_svName, _nIndex));
}

CXmlNode* CXmlNode::ChildAdd(std::string_view _svName)
{
    return ChildAdopt(std::make_unique<CXmlNode>(_svName));
}

CXmlNode* CXmlNode::ChildAdopt(std::unique_ptr<CXmlNode> _upChild)
{
    m_vecChildren.push_back(std::move(_upChild));
    return m_vecChildren.back().get();
}

void CXmlNode::ChildrenRemove(std::string_view _svName)
{
    std::erase_if(m_vecChildren, [&](const auto& _upChild) { return _upChild->Name() == _svName; });
}
