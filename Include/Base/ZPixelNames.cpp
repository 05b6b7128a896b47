#include "Base/ZPixelNames.h"

#include "Base/ZLog.h"
#include "Base/ZPixelFormats.h"

namespace
{

constexpr uint32_t c_fccARGB4444 = 0x6E6415E6;
constexpr uint32_t c_fccMJPG = 0x47504A4D;

struct FCC_NAME
{
    uint32_t fccType;
    const char* pszName;
};

/// Codes outside the format table whose bytes are no text.
constexpr FCC_NAME c_arrNames[] = {
    {0, "BI_RGB"},        {1, "BI_RLE8"},       {2, "BI_RLE4"},           {3, "BI_BITFIELDS"},
    {0xE436EB78, "RGB1"}, {0xE436EB79, "RGB4"}, {0x297C55AF, "ARGB1555"}, {c_fccARGB4444, "ARGB4444"},
};

/// Those outside the format table that FCC_Parse finds by their names, whatever the case. Fewer than are printed, on
/// purpose.
constexpr uint32_t c_arrParsed[] = {0, 1, 2, 3, c_fccARGB4444, c_fccMJPG};

/// The four characters of a code; false when one is not printable, by ASCII alone: a locale could call the RGB codes'
/// bytes letters.
bool IsText(uint32_t _fccType, char (&_szText)[5])
{
    for (int nByte = 0; nByte < 4; ++nByte, _fccType >>= 8)
    {
        _szText[nByte] = static_cast<char>(_fccType & 0xFF);
        if (_szText[nByte] < 0x20 || _szText[nByte] > 0x7E)
            return false;
    }
    return true;
}

/// Four characters as a code, the first in the lowest byte; 0 when there are not four, or one has no byte of its own.
uint32_t FromCharacters(std::string_view _svText)
{
    const std::wstring wstrText = ZText_ToWide(_svText);
    if (wstrText.size() != 4)
        return 0;
    uint32_t fccType = 0;
    for (int nByte = 3; nByte >= 0; --nByte)
    {
        const char32_t nCharacter = wstrText[nByte];
        if (nCharacter > 0xFF)
            return 0;
        fccType = fccType << 8 | nCharacter;
    }
    return fccType;
}

} // namespace

std::string FCC_Name(uint32_t _fccType)
{
    char szText[5] = {};
    if (IsText(_fccType, szText))
        return szText;
    if (const PIXEL_FORMAT* pFormat = FCC_Lookup(_fccType))
        return pFormat->pszName;
    for (const FCC_NAME& name : c_arrNames)
        if (name.fccType == _fccType)
            return name.pszName;
    return ZFormat("0x%X", _fccType);
}

uint32_t FCC_Parse(std::string_view _svName)
{
    for (const PIXEL_FORMAT& format : FCC_All())
        if (format.bParsed && ZText_IsSame(_svName, format.pszName))
            return format.fccType;
    for (const uint32_t fccType : c_arrParsed)
        if (ZText_IsSame(_svName, FCC_Name(fccType)))
            return fccType;
    return FromCharacters(_svName);
}
