#include "Props/Xml/XmlChars.h"

#include <algorithm>
#include <iterator>

namespace
{

struct CHAR_RANGE
{
    char32_t chFirst;
    char32_t chLast;
};

constexpr CHAR_RANGE c_arrNameStart[] = {
    {':', ':'},       {'A', 'Z'},       {'_', '_'},       {'a', 'z'},         {0xC0, 0xD6},     {0xD8, 0xF6},
    {0xF8, 0x2FF},    {0x370, 0x37D},   {0x37F, 0x1FFF},  {0x200C, 0x200D},   {0x2070, 0x218F}, {0x2C00, 0x2FEF},
    {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};
/// What a name may also hold after its first character.
constexpr CHAR_RANGE c_arrNameMore[] = {
    {'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040},
};

template <size_t N> bool IsIn(const CHAR_RANGE (&_arrRanges)[N], char32_t _ch)
{
    return std::any_of(std::begin(_arrRanges), std::end(_arrRanges),
                       [_ch](const CHAR_RANGE& _range) { return _ch >= _range.chFirst && _ch <= _range.chLast; });
}

/// The bytes of the character that begins with this byte, by its first bits; 0 for a byte that begins none.
size_t LengthOf(unsigned char _chLead)
{
    if (_chLead < 0x80)
        return 1;
    if (_chLead < 0xC2 || _chLead > 0xF4)
        return 0;
    return _chLead < 0xE0 ? 2 : _chLead < 0xF0 ? 3 : 4;
}

/// The character at the front of a text and its bytes; 0 bytes when it is not valid UTF-8.
size_t Decode(std::string_view _svText, char32_t* _pch)
{
    const auto chLead = static_cast<unsigned char>(_svText.front());
    const size_t nLength = LengthOf(chLead);
    if (nLength == 0 || nLength > _svText.size())
        return 0;
    char32_t ch = nLength == 1 ? chLead : chLead & (0x7Fu >> nLength);
    for (size_t i = 1; i < nLength; ++i)
    {
        const auto chNext = static_cast<unsigned char>(_svText[i]);
        if ((chNext & 0xC0) != 0x80)
            return 0;
        ch = (ch << 6) | (chNext & 0x3F);
    }
    constexpr char32_t c_arrLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    *_pch = ch;
    return ch < c_arrLeast[nLength] ? 0 : nLength;
}

} // namespace

bool XmlChars_IsLegal(char32_t _ch)
{
    if (_ch < 0x20)
        return _ch == '\t' || _ch == '\n' || _ch == '\r';
    const bool bSurrogate = _ch >= 0xD800 && _ch <= 0xDFFF;
    return _ch <= 0x10FFFF && !bSurrogate && _ch != 0xFFFE && _ch != 0xFFFF;
}

size_t XmlChars_FindBad(std::string_view _svText)
{
    for (size_t nPos = 0; nPos < _svText.size();)
    {
        char32_t ch = 0;
        const size_t nLength = Decode(_svText.substr(nPos), &ch);
        if (nLength == 0 || !XmlChars_IsLegal(ch))
            return nPos;
        nPos += nLength;
    }
    return std::string_view::npos;
}

size_t XmlChars_NameLength(std::string_view _svText)
{
    size_t nPos = 0;
    while (nPos < _svText.size())
    {
        char32_t ch = 0;
        const size_t nLength = Decode(_svText.substr(nPos), &ch);
        if (nLength == 0 || !(IsIn(c_arrNameStart, ch) || (nPos > 0 && IsIn(c_arrNameMore, ch))))
            break;
        nPos += nLength;
    }
    return nPos;
}

bool XmlChars_IsName(std::string_view _svText)
{
    return !_svText.empty() && XmlChars_NameLength(_svText) == _svText.size();
}

bool XmlChars_IsBlank(char _ch)
{
    return _ch == ' ' || _ch == '\t' || _ch == '\n' || _ch == '\r';
}
