#include "zkhost/Ui/HttpRequest.h"

#include "Props/PropText.h"

#include <algorithm>
#include <charconv>

namespace
{

constexpr std::string_view c_svEndOfHead = "\r\n\r\n";
constexpr std::string_view c_svNameSigns = "!#$%&'*+-.^_`|~"; // RFC 9110, 5.6.2: a token, besides letters and digits

bool IsAlnum(char _ch)
{
    return (_ch >= '0' && _ch <= '9') || (_ch >= 'A' && _ch <= 'Z') || (_ch >= 'a' && _ch <= 'z');
}

bool IsName(std::string_view _svText)
{
    return !_svText.empty() && std::ranges::all_of(_svText, [](char _ch) {
        return IsAlnum(_ch) || c_svNameSigns.find(_ch) != std::string_view::npos;
    });
}

/// No control character but the tab.
bool IsValue(std::string_view _svText)
{
    return std::ranges::all_of(_svText, [](char _ch) {
        const auto nByte = static_cast<uint8_t>(_ch);
        return (nByte >= 0x20 && nByte != 0x7F) || _ch == '\t';
    });
}

char Lower(char _ch)
{
    return _ch >= 'A' && _ch <= 'Z' ? static_cast<char>(_ch - 'A' + 'a') : _ch;
}

std::string_view TakeTo(std::string_view& _svRest, std::string_view _svEnd)
{
    const size_t nEnd = std::min(_svRest.find(_svEnd), _svRest.size());
    const std::string_view svTaken = _svRest.substr(0, nEnd);
    _svRest.remove_prefix(std::min(nEnd + _svEnd.size(), _svRest.size()));
    return svTaken;
}

const std::string* Find(const HTTP_PAIRS& _vecPairs, std::string_view _svName)
{
    const auto it =
        std::ranges::find(_vecPairs, _svName, [](const auto& _pair) { return std::string_view(_pair.first); });
    return it == _vecPairs.end() ? nullptr : &it->second;
}

bool ReadQuery(std::string_view _svQuery, HTTP_PAIRS& _vecQuery)
{
    while (!_svQuery.empty())
    {
        std::string_view svValue = TakeTo(_svQuery, "&");
        const std::string_view svName = TakeTo(svValue, "=");
        auto& [strName, strValue] = _vecQuery.emplace_back();
        if (!Http_Decode(svName, true, strName) || !Http_Decode(svValue, true, strValue))
            return false;
    }
    return true;
}

} // namespace

const std::string* HTTP_REQUEST::Header(std::string_view _svName) const
{
    return Find(vecHeaders, _svName);
}

const std::string* HTTP_REQUEST::Query(std::string_view _svName) const
{
    return Find(vecQuery, _svName);
}

bool Http_Decode(std::string_view _svText, bool _bQuery, std::string& _strOut)
{
    _strOut.clear();
    for (size_t i = 0; i < _svText.size(); ++i)
    {
        char ch = _svText[i];
        if (ch == '+' && _bQuery)
            ch = ' ';
        if (ch == '%')
        {
            uint8_t nByte = 0;
            const std::string_view svDigits = _svText.substr(std::min(i + 1, _svText.size()), 2);
            const auto res = std::from_chars(svDigits.data(), svDigits.data() + svDigits.size(), nByte, 16);
            if (svDigits.size() != 2 || res.ec != std::errc() || res.ptr != svDigits.data() + 2)
                return false;
            ch = static_cast<char>(nByte);
            i += 2;
        }
        _strOut += ch;
    }
    return true;
}

bool CZHttpReader::Refuse(int _nStatus, const char* _pszReason)
{
    m_nStatus = _nStatus;
    m_strReason = _pszReason;
    return false;
}

eHttpRead CZHttpReader::Take(std::string_view _svBytes)
{
    m_strBytes += _svBytes;
    return ReadHead();
}

eHttpRead CZHttpReader::Next()
{
    m_request = {};
    return ReadHead();
}

eHttpRead CZHttpReader::ReadHead()
{
    const size_t nEnd = m_strBytes.find(c_svEndOfHead);
    if (nEnd == std::string::npos)
    {
        if (m_strBytes.size() <= c_cbHttpLine ||
            (m_strBytes.size() <= c_cbHttpHead && m_strBytes.find('\n') < c_cbHttpLine))
            return eHttpRead::More;
        Refuse(431, "the lines of the request are too long");
        return eHttpRead::Refused;
    }
    const bool bFits = nEnd <= c_cbHttpHead || Refuse(431, "the lines of the request are too long");
    if (!bFits || !ReadLines(std::string_view(m_strBytes).substr(0, nEnd)))
        return eHttpRead::Refused;
    m_strBytes.erase(0, nEnd + c_svEndOfHead.size());
    return eHttpRead::Head;
}

bool CZHttpReader::ReadLines(std::string_view _svHead)
{
    if (!ReadFirstLine(TakeTo(_svHead, "\r\n")))
        return false;
    const bool bVersion11 = m_request.bKeepAlive;
    while (!_svHead.empty())
        if (!ReadHeader(TakeTo(_svHead, "\r\n")))
            return false;
    ReadKeepAlive(bVersion11);
    if (bVersion11 && !m_request.Header("host"))
        return Refuse(400, "the header Host is missing");
    return ReadLength();
}

bool CZHttpReader::ReadFirstLine(std::string_view _svLine)
{
    if (_svLine.size() > c_cbHttpLine)
        return Refuse(414, "the address of the request is too long");
    m_request.strMethod = TakeTo(_svLine, " ");
    const std::string_view svTarget = TakeTo(_svLine, " ");
    if (!IsName(m_request.strMethod) || !_svLine.starts_with("HTTP/"))
        return Refuse(400, "this is no request of HTTP");
    if (_svLine != "HTTP/1.1" && _svLine != "HTTP/1.0")
        return Refuse(505, "HTTP/1.1 is spoken here");
    m_request.bKeepAlive = _svLine == "HTTP/1.1";
    if (m_request.strMethod != "GET" && m_request.strMethod != "POST")
        return Refuse(501, "there are GET and POST here");
    return ReadTarget(svTarget);
}

bool CZHttpReader::ReadTarget(std::string_view _svTarget)
{
    const bool bPlain = std::ranges::all_of(_svTarget, [](char _ch) { return _ch > 0x20 && _ch < 0x7F && _ch != '#'; });
    if (!_svTarget.starts_with('/') || !bPlain)
        return Refuse(400, "the address of the request is no path");
    const std::string_view svPath = TakeTo(_svTarget, "?");
    if (!Http_Decode(svPath, false, m_request.strPath) || !ReadQuery(_svTarget, m_request.vecQuery))
        return Refuse(400, "the address of the request has a percent sign without two digits");
    return true;
}

bool CZHttpReader::ReadHeader(std::string_view _svLine)
{
    const std::string_view svName = TakeTo(_svLine, ":");
    const std::string_view svValue = PropText_Trim(_svLine);
    if (!IsName(svName) || !IsValue(svValue))
        return Refuse(400, "a header of the request is damaged");
    if (m_request.vecHeaders.size() == c_nHttpHeaders)
        return Refuse(431, "the request has too many headers");
    std::string strName(svName);
    std::ranges::transform(strName, strName.begin(), Lower);
    const bool bOnce = strName == "host" || strName == "content-length" || strName == "origin";
    if (bOnce && m_request.Header(strName))
        return Refuse(400, "a header of the request is there twice");
    m_request.vecHeaders.emplace_back(std::move(strName), svValue);
    return true;
}

bool CZHttpReader::ReadLength()
{
    if (m_request.Header("transfer-encoding"))
        return Refuse(501, "a body needs its length, in the header Content-Length");
    const std::string* const pLength = m_request.Header("content-length");
    if (!pLength)
        return true;
    const char* const pEnd = pLength->data() + pLength->size();
    const auto res = std::from_chars(pLength->data(), pEnd, m_request.cbBody);
    if (res.ec == std::errc::result_out_of_range)
        return Refuse(413, "the body is too large");
    return (res.ec == std::errc() && res.ptr == pEnd) || Refuse(400, "the header Content-Length is no number");
}

void CZHttpReader::ReadKeepAlive(bool _bVersion11)
{
    const std::string* const pConnection = m_request.Header("connection");
    std::string strWord = pConnection ? *pConnection : "";
    std::ranges::transform(strWord, strWord.begin(), Lower);
    m_request.bKeepAlive =
        _bVersion11 ? strWord.find("close") == std::string::npos : strWord.find("keep-alive") != std::string::npos;
}

eHttpRead CZHttpReader::TakeBody(std::string_view _svBytes)
{
    m_strBytes += _svBytes;
    const size_t cbWanted = m_request.cbBody - m_request.strBody.size();
    if (m_request.strBody.empty() && m_strBytes.size() <= cbWanted)
        m_request.strBody.swap(m_strBytes);
    else
    {
        const size_t cbTaken = std::min(cbWanted, m_strBytes.size());
        m_request.strBody.append(m_strBytes, 0, cbTaken);
        m_strBytes.erase(0, cbTaken);
    }
    return m_request.strBody.size() == m_request.cbBody ? eHttpRead::Done : eHttpRead::More;
}
