#include "ZChromaKey/Licence/Base64.h"

namespace
{

constexpr std::string_view c_svDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

} // namespace

std::string Base64_Write(std::span<const uint8_t> _spanBytes)
{
    std::string strText;
    for (size_t n = 0; n < _spanBytes.size(); n += 3)
    {
        uint32_t nGroup = 0;
        for (size_t i = 0; i < 3; ++i)
            nGroup = nGroup << 8 | (n + i < _spanBytes.size() ? _spanBytes[n + i] : 0u);
        for (size_t i = 0; i < 4; ++i)
            strText += n + i > _spanBytes.size() ? '=' : c_svDigits[nGroup >> (18 - 6 * i) & 63];
    }
    return strText;
}

bool Base64_Read(std::string_view _svText, std::vector<uint8_t>* _pvecBytes)
{
    _pvecBytes->clear();
    uint32_t nBits = 0;
    int nHeld = 0;
    for (const char ch : _svText.substr(0, _svText.find('=')))
    {
        const size_t nDigit = c_svDigits.find(ch);
        if (nDigit == std::string_view::npos)
            return false;
        nBits = nBits << 6 | static_cast<uint32_t>(nDigit);
        nHeld += 6;
        if (nHeld < 8)
            continue;
        nHeld -= 8;
        _pvecBytes->push_back(static_cast<uint8_t>(nBits >> nHeld));
        nBits &= (1u << nHeld) - 1;
    }
    return Base64_Write(*_pvecBytes) == _svText; // one text for the bytes: else padding or bits left over are odd
}
