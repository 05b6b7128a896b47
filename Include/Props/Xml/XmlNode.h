#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// One attribute of an element. Names are plain names: a colon in them ("color::range") has no meaning of its own.
struct XML_ATTR
{
    std::string strName;
    std::string strValue;
};

/// One element of an XML document: name, attributes and children in their order, text. All texts are UTF-8.
///
/// Content that nobody asks for stays and is written again; only where text stands between children, and comments, is
/// lost. What XML cannot hold may be put in and is refused by the writer. Not thread-safe.
class CXmlNode
{
public:
    explicit CXmlNode(std::string_view _svName)
        : m_strName(_svName)
    {
    }

    const std::string& Name() const
    {
        return m_strName;
    }
    /// The character data of this element itself, in one piece.
    const std::string& Text() const
    {
        return m_strText;
    }
    void TextSet(std::string_view _svText)
    {
        m_strText = _svText;
    }

    const std::vector<XML_ATTR>& Attrs() const
    {
        return m_vecAttrs;
    }
    /// The value of an attribute; null when there is none.
    const std::string* AttrFind(std::string_view _svName) const;
    /// Readers answer _default when the attribute is absent or is no such value.
    std::string_view AttrText(std::string_view _svName, std::string_view _svDefault) const;
    int64_t AttrInt(std::string_view _svName, int64_t _nDefault) const;
    /// Replaces the value where the attribute is there, else appends it.
    void AttrSetText(std::string_view _svName, std::string_view _svValue);
    void AttrSetInt(std::string_view _svName, int64_t _nValue);
    void AttrSetUInt(std::string_view _svName, uint64_t _nValue);
    void AttrSetDouble(std::string_view _svName, double _dblValue);
    void AttrSetBool(std::string_view _svName, bool _bValue);
    void AttrRemove(std::string_view _svName);
    /// Appends without looking for the name, for whoever knows that it is new.
    void AttrAppend(std::string _strName, std::string _strValue);

    size_t ChildCount() const
    {
        return m_vecChildren.size();
    }
    /// The child at a place among all children, which must be below ChildCount.
    const CXmlNode& Child(size_t _nIndex) const
    {
        return *m_vecChildren[_nIndex];
    }
    /// The n-th child, from 0, among those of a name; null when there are not so many. It lives until it is removed.
    const CXmlNode* ChildFind(std::string_view _svName, size_t _nIndex = 0) const;
    CXmlNode* ChildFind(std::string_view _svName, size_t _nIndex = 0);
    /// Appends a new child and lends it.
    CXmlNode* ChildAdd(std::string_view _svName);
    /// Appends a tree and lends it.
    CXmlNode* ChildAdopt(std::unique_ptr<CXmlNode> _upChild);
    /// Removes all children of a name.
    void ChildrenRemove(std::string_view _svName);

private:
    XML_ATTR* AttrFindOwn(std::string_view _svName);

    std::string m_strName;
    std::string m_strText;
    std::vector<XML_ATTR> m_vecAttrs;
    std::vector<std::unique_ptr<CXmlNode>> m_vecChildren;
};
