#include "Props/Xml/XmlReader.h"

#include "Base/ZText.h"
#include "Props/PropText.h"
#include "Props/Xml/XmlChars.h"
#include "Props/Xml/XmlLimits.h"
#include "Props/Xml/XmlScanner.h"

#include <utility>

namespace
{

constexpr std::string_view c_svByteOrderMark = "\xEF\xBB\xBF";

/// An element whose end has not come yet.
struct OPEN_NODE
{
    CXmlNode* pNode;
    std::string strText;
    bool bOnlyBlanks = true;
};

/// Builds the tree. Open elements are on a stack of its own: no recursion.
class CXmlTreeReader
{
public:
    explicit CXmlTreeReader(std::string_view _svDocument)
        : m_scan(_svDocument)
    {
    }

    std::unique_ptr<CXmlNode> Read()
    {
        TakeDeclaration();
        SkipOutside();
        if (m_scan.AtEnd())
            m_scan.Fail(m_scan.Pos(), "the document has no element");
        TakeStartTag();
        while (!m_vecOpen.empty())
            TakeContent();
        SkipOutside();
        if (!m_scan.AtEnd())
            m_scan.Fail(m_scan.Pos(), "only comments may follow the root element");
        return std::move(m_upRoot);
    }

private:
    void TakeDeclaration();
    void SkipOutside();
    void TakeContent();
    bool TakeComment();
    bool TakeCData();
    void RefuseOther();
    void TakeStartTag();
    void TakeAttr(CXmlNode* _pNode);
    void TakeEndTag();
    CXmlNode* AddNode(std::string_view _svName, size_t _nPos);

    CXmlScanner m_scan;
    std::unique_ptr<CXmlNode> m_upRoot;
    std::vector<OPEN_NODE> m_vecOpen;
    size_t m_nNodes = 0;
    size_t m_nAttrs = 0;
};

void CXmlTreeReader::TakeDeclaration()
{
    if (!m_scan.Take("<?xml"))
        return;
    const size_t nVersion = m_scan.Pos();
    if (!m_scan.SkipBlanks() || !m_scan.Take("version") || m_scan.TakeAttrValue() != "1.0")
        m_scan.Fail(nVersion, "the XML declaration must say version=\"1.0\"");
    bool bBlank = m_scan.SkipBlanks();
    const size_t nEncoding = m_scan.Pos();
    if (bBlank && m_scan.Take("encoding"))
    {
        if (!ZText_IsSame(m_scan.TakeAttrValue(), "utf-8"))
            m_scan.Fail(nEncoding, "the encoding must be UTF-8");
        bBlank = m_scan.SkipBlanks();
    }
    if (bBlank && m_scan.Take("standalone"))
        m_scan.TakeAttrValue();
    m_scan.SkipBlanks();
    m_scan.Expect("?>", "the XML declaration does not end with \"?>\"");
}

/// Skips blanks and comments; stops at an element or the end.
void CXmlTreeReader::SkipOutside()
{
    do
        m_scan.SkipBlanks();
    while (TakeComment());
    if (!m_scan.AtEnd() && !m_scan.At("<"))
        m_scan.Fail(m_scan.Pos(), "text cannot stand outside the root element");
    RefuseOther();
}

void CXmlTreeReader::TakeContent()
{
    OPEN_NODE& open = m_vecOpen.back();
    if (m_scan.TakeText(&open.strText))
        open.bOnlyBlanks = false;
    if (m_scan.AtEnd())
        m_scan.Fail(m_scan.Pos(), "the document ends inside the element " + PropText_Quote(open.pNode->Name()));
    if (TakeComment() || TakeCData())
        return;
    if (m_scan.At("</"))
        return TakeEndTag();
    RefuseOther();
    TakeStartTag();
}

bool CXmlTreeReader::TakeComment()
{
    const size_t nStart = m_scan.Pos();
    if (!m_scan.Take("<!--"))
        return false;
    m_scan.TakeUntil("--", nStart, "this comment is not closed");
    m_scan.Expect(">", "\"--\" cannot stand in a comment");
    return true;
}

bool CXmlTreeReader::TakeCData()
{
    const size_t nStart = m_scan.Pos();
    if (!m_scan.Take("<![CDATA["))
        return false;
    OPEN_NODE& open = m_vecOpen.back();
    CXmlScanner::AppendLines(&open.strText, m_scan.TakeUntil("]]>", nStart, "this CDATA section is not closed"));
    open.bOnlyBlanks = false; // blanks in a CDATA section or reference are intended
    return true;
}

/// Refuses markup that is neither an element, a comment nor a CDATA section.
void CXmlTreeReader::RefuseOther()
{
    if (m_scan.At("<!DOCTYPE"))
        m_scan.Fail(m_scan.Pos(), "a document type is not allowed here");
    if (m_scan.At("<?xml "))
        m_scan.Fail(m_scan.Pos(), "the XML declaration must be the first thing in the document");
    if (m_scan.At("<?"))
        m_scan.Fail(m_scan.Pos(), "processing instructions are not allowed here");
    if (m_scan.At("<!"))
        m_scan.Fail(m_scan.Pos(), "only elements, comments and CDATA sections in elements are allowed here");
}

void CXmlTreeReader::TakeStartTag()
{
    const size_t nStart = m_scan.Pos();
    m_scan.Take("<");
    CXmlNode* pNode =
        AddNode(m_scan.TakeName("the name of an element is missing after '<'; write &lt; in text"), nStart);
    for (;;)
    {
        const bool bBlank = m_scan.SkipBlanks();
        if (m_scan.Take("/>"))
            return;
        if (m_scan.Take(">"))
        {
            m_vecOpen.push_back({pNode, {}});
            return;
        }
        if (m_scan.AtEnd())
            m_scan.Fail(nStart, "the start tag of " + PropText_Quote(pNode->Name()) + " is not closed");
        if (!bBlank)
            m_scan.Fail(m_scan.Pos(), "this character cannot stand in the start tag here");
        TakeAttr(pNode);
    }
}

void CXmlTreeReader::TakeAttr(CXmlNode* _pNode)
{
    const size_t nStart = m_scan.Pos();
    const std::string_view svName = m_scan.TakeName("an attribute, '>' or '/>' is missing in the start tag");
    if (_pNode->AttrFind(svName))
        m_scan.Fail(nStart, "the attribute " + PropText_Quote(svName) + " is there twice");
    if (_pNode->Attrs().size() == c_nXmlMaxAttrs || ++m_nAttrs > c_nXmlMaxAttrsAll)
        m_scan.Fail(nStart, "too many attributes");
    _pNode->AttrAppend(std::string(svName), m_scan.TakeAttrValue());
}

void CXmlTreeReader::TakeEndTag()
{
    const size_t nStart = m_scan.Pos();
    m_scan.Take("</");
    const std::string_view svName = m_scan.TakeName("the name of an element is missing after '</'");
    OPEN_NODE& open = m_vecOpen.back();
    if (svName != open.pNode->Name())
        m_scan.Fail(nStart, "the end of " + PropText_Quote(svName) + " stands where that of " +
                                PropText_Quote(open.pNode->Name()) + " is expected");
    m_scan.SkipBlanks();
    m_scan.Expect(">", "'>' is missing in the end tag");
    if (!open.bOnlyBlanks || open.pNode->ChildCount() == 0) // otherwise the blanks only indent the children
        open.pNode->TextSet(open.strText);
    m_vecOpen.pop_back();
}

CXmlNode* CXmlTreeReader::AddNode(std::string_view _svName, size_t _nPos)
{
    if (m_vecOpen.size() == c_nXmlMaxDepth)
        m_scan.Fail(_nPos, "too many elements inside each other");
    if (++m_nNodes > c_nXmlMaxNodes)
        m_scan.Fail(_nPos, "too many elements");
    auto upNode = std::make_unique<CXmlNode>(_svName);
    if (!m_vecOpen.empty())
        return m_vecOpen.back().pNode->ChildAdopt(std::move(upNode));
    m_upRoot = std::move(upNode);
    return m_upRoot.get();
}

/// Refuses bytes that are not UTF-8 or that XML cannot hold.
void CheckBytes(std::string_view _svDocument)
{
    if (_svDocument.size() > c_nXmlMaxBytes)
        throw XML_SCAN_FAILURE{0, "the document has more than " + PropText_FromUInt(c_nXmlMaxBytes) + " bytes"};
    if (_svDocument.starts_with("\xFF\xFE") || _svDocument.starts_with("\xFE\xFF"))
        throw XML_SCAN_FAILURE{0, "the document is UTF-16; save it as UTF-8"};
    if (const size_t nBad = XmlChars_FindBad(_svDocument); nBad != std::string_view::npos)
        throw XML_SCAN_FAILURE{nBad, "this byte is not valid UTF-8, or a character that XML cannot hold"};
}

XML_READ_ERROR ErrorAt(std::string_view _svDocument, const XML_SCAN_FAILURE& _failure)
{
    XML_READ_ERROR error{1, 1, _failure.strReason};
    for (size_t nPos = 0; nPos < _failure.nPos; ++nPos)
    {
        const char ch = _svDocument[nPos];
        const bool bPair = ch == '\r' && _svDocument.substr(nPos + 1).starts_with('\n');
        if (ch == '\n' || (ch == '\r' && !bPair))
        {
            ++error.nLine;
            error.nColumn = 1;
        }
        else if ((static_cast<unsigned char>(ch) & 0xC0) != 0x80) // the first byte of a character
            ++error.nColumn;
    }
    return error;
}

} // namespace

std::unique_ptr<CXmlNode> XmlReader_Read(std::string_view _svDocument, XML_READ_ERROR* _pError)
{
    if (_svDocument.starts_with(c_svByteOrderMark))
        _svDocument.remove_prefix(c_svByteOrderMark.size());
    try
    {
        CheckBytes(_svDocument);
        return CXmlTreeReader(_svDocument).Read();
    }
    catch (const XML_SCAN_FAILURE& failure)
    {
        *_pError = ErrorAt(_svDocument, failure);
        return nullptr;
    }
}
