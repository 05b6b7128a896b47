#include "zkhost/Files/StandardError.h"

#include "Kit/HostLog.h"
#include "zkhost/Files/System.h"

#include <cstdint>
#include <cstdio>

void StandardError_Print(eZLogLevel _eLevel, const char* _pszText)
{
    constexpr const char* c_arrNames[] = {"", "error: ", "warning: ", "", ""};
    static const bool s_bTerminal = System_IsTerminal(stderr);
    const bool bNamed = _eLevel >= 0 && _eLevel <= eZLog_Verbose;
    // A line of progress may stand on the terminal.
    std::fprintf(stderr, "%szkhost: %s%s\n", s_bTerminal ? "\r\x1b[K" : "", bNamed ? c_arrNames[_eLevel] : "",
                 StandardError_Harmless(_pszText).c_str());
}

void StandardError_LogSet(eZLogLevel _eLevel)
{
    HostLog_Set(_eLevel, StandardError_Print);
}

std::string StandardError_Harmless(std::string _strText)
{
    uint8_t nBefore = 0;
    for (char& ch : _strText)
    {
        const auto nByte = static_cast<uint8_t>(ch);
        const bool bControl = (nByte < 0x20 && ch != '\n' && ch != '\t') || nByte == 0x7F;
        const bool bHighControl = nBefore == 0xC2 && nByte >= 0x80 && nByte < 0xA0; // U+0080 to U+009F
        if (bControl || bHighControl)
            ch = '?';
        nBefore = nByte;
    }
    return _strText;
}
