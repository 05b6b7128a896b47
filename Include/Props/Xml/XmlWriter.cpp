#include "Props/Xml/XmlWriter.h"

#include "Props/Xml/XmlChars.h"
#include "Props/Xml/XmlLimits.h"

#include <algorithm>

namespace
{

constexpr size_t c_nIndent = 2;

struct ESCAPE
{
    char ch;
    std::string_view svWritten;
};
/// '>' stands for the whole of "]]>"; a carriage return would be read as a line feed.
constexpr ESCAPE c_arrTextEscapes[] = {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'\r', "&#13;"}};
/// Plain line ends and tabs would be read as spaces here.
constexpr ESCAPE c_arrValueEscapes[] = {{'&', "&amp;"}, {'<', "&lt;"},   {'"', "&quot;"},
                                        {'\t', "&#9;"}, {'\n', "&#10;"}, {'\r', "&#13;"}};

template <size_t N> void AppendEscaped(std::string* _pstrOut, std::string_view _svText, const ESCAPE (&_arrEscapes)[N])
{
    for (const char ch : _svText)
    {
        const auto pEscape = std::find_if(_arrEscapes, _arrEscapes + N, [ch](const ESCAPE& _e) { return _e.ch == ch; });
        if (pEscape == _arrEscapes + N)
            *_pstrOut += ch;
        else
            *_pstrOut += pEscape->svWritten;
    }
}

class CXmlTreeWriter
{
public:
    CXmlTreeWriter(std::string* _pstrOut, std::string* _pstrReason)
        : m_pstrOut(_pstrOut)
        , m_pstrReason(_pstrReason)
    {
    }

    /// Recurses as deep as the tree, which is bounded.
    bool Write(const CXmlNode& _node)
    {
        if (!Check(_node))
            return false;
        m_vecPath.push_back(&_node);
        if (!CheckAttrs(_node))
            return false;
        *m_pstrOut += "<" + _node.Name();
        for (const XML_ATTR& attr : _node.Attrs())
        {
            *m_pstrOut += " " + attr.strName + "=\"";
            AppendEscaped(m_pstrOut, attr.strValue, c_arrValueEscapes);
            *m_pstrOut += '"';
        }
        if (!WriteContent(_node))
            return false;
        m_vecPath.pop_back();
        return m_pstrOut->size() < c_nXmlMaxBytes || Fail("the document becomes too long");
    }

private:
    bool Fail(const char* _pszReason)
    {
        m_pstrReason->clear();
        for (const CXmlNode* pNode : m_vecPath)
            *m_pstrReason += (m_pstrReason->empty() ? "" : "/") + pNode->Name();
        *m_pstrReason += (m_pstrReason->empty() ? "" : ": ") + std::string(_pszReason);
        return false;
    }
    /// Checks depth and name first, because messages quote the name.
    bool Check(const CXmlNode& _node)
    {
        if (m_vecPath.size() == c_nXmlMaxDepth)
            return Fail("too many elements inside each other");
        if (++m_nNodes > c_nXmlMaxNodes)
            return Fail("too many elements");
        return XmlChars_IsName(_node.Name()) || Fail("an element has a name that XML does not allow");
    }
    bool CheckAttrs(const CXmlNode& _node)
    {
        m_nAttrs += _node.Attrs().size();
        if (_node.Attrs().size() > c_nXmlMaxAttrs || m_nAttrs > c_nXmlMaxAttrsAll)
            return Fail("too many attributes");
        bool bLegal = XmlChars_FindBad(_node.Text()) == std::string::npos;
        for (const XML_ATTR& attr : _node.Attrs())
        {
            if (!XmlChars_IsName(attr.strName))
                return Fail("an attribute has a name that XML does not allow");
            if (_node.AttrFind(attr.strName) != &attr.strValue)
                return Fail("an attribute is there twice");
            bLegal = bLegal && XmlChars_FindBad(attr.strValue) == std::string::npos;
        }
        return bLegal || Fail("a text is not UTF-8, or has a control character that XML cannot hold");
    }
    bool WriteContent(const CXmlNode& _node)
    {
        if (_node.ChildCount() == 0 && _node.Text().empty())
        {
            *m_pstrOut += "/>";
            return true;
        }
        *m_pstrOut += '>';
        WriteText(_node);
        const bool bIndent = _node.ChildCount() > 0 && _node.Text().empty(); // next to text it would become part of it
        for (size_t i = 0; i < _node.ChildCount(); ++i)
        {
            if (bIndent)
                BreakLine(m_vecPath.size());
            if (!Write(_node.Child(i)))
                return false;
        }
        if (bIndent)
            BreakLine(m_vecPath.size() - 1);
        *m_pstrOut += "</" + _node.Name() + ">";
        return true;
    }
    void WriteText(const CXmlNode& _node)
    {
        std::string_view svText = _node.Text();
        if (_node.ChildCount() > 0 && !svText.empty() && XmlChars_IsBlank(svText[0]))
        {
            // Blanks before children would be taken for indentation, unless one of them is a reference.
            *m_pstrOut += "&#" + std::to_string(int{svText[0]}) + ";";
            svText.remove_prefix(1);
        }
        AppendEscaped(m_pstrOut, svText, c_arrTextEscapes);
    }
    void BreakLine(size_t _nDepth)
    {
        m_pstrOut->append(1, '\n').append(c_nIndent * _nDepth, ' ');
    }

    std::string* m_pstrOut;
    std::string* m_pstrReason;
    std::vector<const CXmlNode*> m_vecPath;
    size_t m_nNodes = 0;
    size_t m_nAttrs = 0;
};

} // namespace

bool XmlWriter_Write(const CXmlNode& _root, std::string* _pstrDocument, std::string* _pstrReason)
{
    *_pstrDocument = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    CXmlTreeWriter writer(_pstrDocument, _pstrReason);
    if (!writer.Write(_root))
    {
        _pstrDocument->clear();
        return false;
    }
    *_pstrDocument += '\n';
    return true;
}
