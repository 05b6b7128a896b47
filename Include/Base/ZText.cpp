#include "Base/ZText.h"

#include <algorithm>

namespace
{

constexpr char32_t c_chReplacement = 0xFFFD;

bool IsScalar(char32_t _ch)
{
    return _ch < 0xD800 || (_ch > 0xDFFF && _ch < 0x110000);
}

char LowerOf(char _ch)
{
    return _ch >= 'A' && _ch <= 'Z' ? static_cast<char>(_ch - 'A' + 'a') : _ch;
}

/// Takes one character off the front of UTF-8 text; a byte that starts no valid character counts as one.
char32_t TakeUtf8(std::string_view& _svText)
{
    const auto chLead = static_cast<unsigned char>(_svText.front());
    const size_t nFollow = chLead < 0x80 ? 0 : chLead < 0xC2 ? 4 : chLead < 0xE0 ? 1 : chLead < 0xF0 ? 2 : 3;
    char32_t ch = nFollow == 0 ? chLead : chLead & (0x3F >> nFollow);
    bool bValid = nFollow < _svText.size() && nFollow < 4 && chLead < 0xF5;
    for (size_t i = 1; bValid && i <= nFollow; ++i)
    {
        const auto chNext = static_cast<unsigned char>(_svText[i]);
        bValid = (chNext & 0xC0) == 0x80;
        ch = (ch << 6) | (chNext & 0x3F);
    }
    constexpr char32_t arrLeast[] = {0, 0x80, 0x800, 0x10000};
    bValid = bValid && IsScalar(ch) && ch >= arrLeast[nFollow];
    _svText.remove_prefix(bValid ? nFollow + 1 : 1);
    return bValid ? ch : c_chReplacement;
}

} // namespace

std::string ZText_FromWide(std::wstring_view _wsvText)
{
    std::string strOut;
    for (size_t i = 0; i < _wsvText.size(); ++i)
    {
        char32_t ch = static_cast<char32_t>(_wsvText[i]);
        const bool bHigh = sizeof(wchar_t) == 2 && ch >= 0xD800 && ch < 0xDC00 && i + 1 < _wsvText.size();
        const char32_t chLow = bHigh ? static_cast<char32_t>(_wsvText[i + 1]) : 0;
        if (bHigh && chLow >= 0xDC00 && chLow < 0xE000)
        {
            ch = 0x10000 + ((ch - 0xD800) << 10) + (chLow - 0xDC00);
            ++i;
        }
        ZText_Append(&strOut, IsScalar(ch) ? ch : c_chReplacement);
    }
    return strOut;
}

std::wstring ZText_ToWide(std::string_view _svText)
{
    std::wstring wstrOut;
    while (!_svText.empty())
    {
        char32_t ch = TakeUtf8(_svText);
        if (sizeof(wchar_t) == 2 && ch >= 0x10000)
        {
            ch -= 0x10000;
            wstrOut += static_cast<wchar_t>(0xD800 + (ch >> 10));
            ch = 0xDC00 + (ch & 0x3FF);
        }
        wstrOut += static_cast<wchar_t>(ch);
    }
    return wstrOut;
}

HRESULT ZText_HandOut(std::string_view _svText, BSTR* _pbsText)
{
    const std::wstring wstrText = ZText_ToWide(_svText);
    *_pbsText = SysAllocStringLen(wstrText.data(), static_cast<UINT>(wstrText.size()));
    return *_pbsText ? S_OK : E_OUTOFMEMORY;
}

void ZText_Append(std::string* _pstrText, char32_t _ch)
{
    if (_ch < 0x80)
    {
        *_pstrText += static_cast<char>(_ch);
        return;
    }
    const int nFollow = _ch < 0x800 ? 1 : _ch < 0x10000 ? 2 : 3;
    constexpr char32_t c_arrLead[] = {0, 0xC0, 0xE0, 0xF0};
    *_pstrText += static_cast<char>(c_arrLead[nFollow] | (_ch >> (6 * nFollow)));
    for (int i = nFollow - 1; i >= 0; --i)
        *_pstrText += static_cast<char>(0x80 | ((_ch >> (6 * i)) & 0x3F));
}

bool ZText_IsSame(std::string_view _svA, std::string_view _svB)
{
    return std::equal(_svA.begin(), _svA.end(), _svB.begin(), _svB.end(),
                      [](char _chA, char _chB) { return LowerOf(_chA) == LowerOf(_chB); });
}
