#include "zkhost/Ui/Json.h"

#include "Base/ZText.h"
#include "Props/PropText.h"

#include <cmath>

/// A comma, where a value or a name follows one.
void CZJson::Separate()
{
    if (!m_strText.empty() && std::string_view("{[:").find(m_strText.back()) == std::string_view::npos)
        m_strText += ',';
}

void CZJson::Quote(std::string_view _svText)
{
    constexpr char c_arrDigits[] = "0123456789abcdef";
    m_strText += '"';
    for (const char ch : ZText_FromWide(ZText_ToWide(_svText))) // what is no UTF-8 is replaced on the way
        if (ch == '"' || ch == '\\')
            (m_strText += '\\') += ch;
        else if (const auto nByte = static_cast<uint8_t>(ch); nByte < 0x20 || nByte == 0x7F)
            ((m_strText += "\\u00") += c_arrDigits[nByte >> 4]) += c_arrDigits[nByte & 15];
        else
            m_strText += ch;
    m_strText += '"';
}

CZJson& CZJson::Begin(char _chBracket)
{
    Separate();
    m_strText += _chBracket;
    return *this;
}

CZJson& CZJson::End(char _chBracket)
{
    m_strText += _chBracket;
    return *this;
}

CZJson& CZJson::Name(std::string_view _svName)
{
    Separate();
    Quote(_svName);
    m_strText += ':';
    return *this;
}

CZJson& CZJson::Text(std::string_view _svText)
{
    Separate();
    Quote(_svText);
    return *this;
}

CZJson& CZJson::Whole(int64_t _nValue)
{
    Separate();
    m_strText += PropText_FromInt(_nValue);
    return *this;
}

CZJson& CZJson::Number(double _dblValue)
{
    if (!std::isfinite(_dblValue))
        return Null();
    Separate();
    m_strText += PropText_FromDouble(_dblValue);
    return *this;
}

CZJson& CZJson::Bool(bool _bValue)
{
    Separate();
    m_strText += PropText_FromBool(_bValue);
    return *this;
}

CZJson& CZJson::Null()
{
    Separate();
    m_strText += "null";
    return *this;
}
