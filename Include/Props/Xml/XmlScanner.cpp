#include "Props/Xml/XmlScanner.h"

#include "Base/ZNumber.h"
#include "Base/ZText.h"
#include "Props/PropText.h"
#include "Props/Xml/XmlChars.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace
{

constexpr size_t c_nMaxReference = 16; ///< bytes between '&' and ';', more than any reference needs

constexpr std::pair<std::string_view, char> c_arrEntities[] = {
    {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};

} // namespace

void CXmlScanner::Fail(size_t _nPos, std::string _strReason) const
{
    throw XML_SCAN_FAILURE{_nPos, std::move(_strReason)};
}

bool CXmlScanner::Take(std::string_view _svToken)
{
    if (!At(_svToken))
        return false;
    m_nPos += _svToken.size();
    return true;
}

void CXmlScanner::Expect(std::string_view _svToken, const char* _pszReason)
{
    if (!Take(_svToken))
        Fail(m_nPos, _pszReason);
}

bool CXmlScanner::SkipBlanks()
{
    const size_t nStart = m_nPos;
    while (!AtEnd() && XmlChars_IsBlank(m_svDocument[m_nPos]))
        ++m_nPos;
    return m_nPos > nStart;
}

std::string_view CXmlScanner::TakeName(const char* _pszReason)
{
    const std::string_view svRest = m_svDocument.substr(m_nPos);
    const size_t nLength = XmlChars_NameLength(svRest);
    if (nLength == 0)
        Fail(m_nPos, _pszReason);
    m_nPos += nLength;
    return svRest.substr(0, nLength);
}

std::string CXmlScanner::TakeAttrValue()
{
    SkipBlanks();
    Expect("=", "'=' is missing after the name of an attribute");
    SkipBlanks();
    const size_t nStart = m_nPos;
    const std::string_view svQuote = At("'") ? "'" : "\"";
    Expect(svQuote, "the value of an attribute must be in quotes");
    const std::string_view svStops = svQuote == "'" ? "'&<\t\r\n" : "\"&<\t\r\n";
    std::string strValue;
    while (!Take(svQuote))
    {
        const size_t nStop = m_svDocument.find_first_of(svStops, m_nPos);
        if (nStop == std::string_view::npos)
            Fail(nStart, "this quote is not closed");
        strValue += m_svDocument.substr(m_nPos, nStop - m_nPos);
        m_nPos = nStop;
        if (At("&"))
            TakeReference(&strValue);
        else if (At("<"))
            Fail(m_nPos, "'<' cannot stand in the value of an attribute; write &lt;");
        else if (Take("\r\n") || Take("\t") || Take("\r") || Take("\n"))
            strValue += ' ';
    }
    return strValue;
}

bool CXmlScanner::TakeText(std::string* _pstrText)
{
    bool bMore = false;
    while (!AtEnd() && !At("<"))
    {
        const size_t nStop = std::min(m_svDocument.find_first_of("<&", m_nPos), m_svDocument.size());
        const std::string_view svRun = m_svDocument.substr(m_nPos, nStop - m_nPos);
        if (const size_t nEnd = svRun.find("]]>"); nEnd != std::string_view::npos)
            Fail(m_nPos + nEnd, "\"]]>\" cannot stand in text; write ]]&gt;");
        bMore = bMore || !std::all_of(svRun.begin(), svRun.end(), XmlChars_IsBlank);
        AppendLines(_pstrText, svRun);
        m_nPos = nStop;
        if (At("&"))
        {
            TakeReference(_pstrText);
            bMore = true;
        }
    }
    return bMore;
}

std::string_view CXmlScanner::TakeUntil(std::string_view _svEnd, size_t _nStart, const char* _pszReason)
{
    const size_t nEnd = m_svDocument.find(_svEnd, m_nPos);
    if (nEnd == std::string_view::npos)
        Fail(_nStart, _pszReason);
    const std::string_view svTaken = m_svDocument.substr(m_nPos, nEnd - m_nPos);
    m_nPos = nEnd + _svEnd.size();
    return svTaken;
}

void CXmlScanner::AppendLines(std::string* _pstrText, std::string_view _svRaw)
{
    for (size_t nReturn = _svRaw.find('\r'); nReturn != std::string_view::npos; nReturn = _svRaw.find('\r'))
    {
        _pstrText->append(_svRaw.substr(0, nReturn)).append(1, '\n');
        _svRaw.remove_prefix(nReturn + (_svRaw.substr(nReturn).starts_with("\r\n") ? 2 : 1));
    }
    _pstrText->append(_svRaw);
}

void CXmlScanner::TakeReference(std::string* _pstrText)
{
    const size_t nStart = m_nPos++;
    const size_t nLength = m_svDocument.substr(m_nPos, c_nMaxReference + 1).find(';');
    if (nLength == std::string_view::npos)
        Fail(nStart, "this '&' begins no reference; write &amp;");
    const std::string_view svReference = m_svDocument.substr(m_nPos, nLength);
    m_nPos += nLength + 1;
    if (svReference.starts_with('#'))
        return ZText_Append(_pstrText, CharOf(svReference.substr(1), nStart));
    for (const auto& [svName, ch] : c_arrEntities)
        if (svReference == svName)
        {
            *_pstrText += ch;
            return;
        }
    Fail(nStart, "the entity " + PropText_Quote(svReference) + " is not known; there are amp, lt, gt, quot and apos");
}

char32_t CXmlScanner::CharOf(std::string_view _svReference, size_t _nPos) const
{
    const bool bHex = _svReference.starts_with('x');
    const std::string_view svDigits = _svReference.substr(bHex ? 1 : 0);
    uint32_t nChar = 0;
    if (!ZNumber_Read(svDigits, &nChar, bHex ? 16 : 10) || !XmlChars_IsLegal(nChar))
        Fail(_nPos, "this reference names no character that XML can hold");
    return nChar;
}
