#include "Kit/HostLog.h"

#include "Kit/Platform.h"

#include "Base/ZLog.h"

#include <cstdio>
#include <mutex>

namespace
{

eZLogLevel g_eLevel = eZLog_Warning;

/// A sink that is never deleted: references to it are not counted.
class CZHostSink final : public IZLogSink
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID _iid, void** _ppvObject) override
    {
        if (!_ppvObject)
            return E_POINTER;
        const bool bKnown = _iid == CZIidOf<IUnknown>::Value || _iid == CZIidOf<IZLogSink>::Value;
        *_ppvObject = bKnown ? this : nullptr;
        return bKnown ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override
    {
        return 2;
    }
    ULONG STDMETHODCALLTYPE Release() override
    {
        return 1;
    }
    void STDMETHODCALLTYPE LogLine(int32_t _eLevel, const char* _pszText) override
    {
        constexpr const char* c_arrNames[] = {"", "error: ", "warning: ", "", ""};
        const std::lock_guard lock(m_mtxText);
        if (_eLevel == eZLog_Error)
            m_strLastError = _pszText;
        const bool bNamed = _eLevel >= 0 && _eLevel <= eZLog_Verbose;
        // A line of progress may stand on the terminal.
        std::fprintf(stderr, "%szkhost: %s%s\n", m_bTerminal ? "\r\x1b[K" : "", bNamed ? c_arrNames[_eLevel] : "",
                     HostLog_Harmless(_pszText).c_str());
    }
    std::string LastError()
    {
        const std::lock_guard lock(m_mtxText);
        return m_strLastError;
    }

private:
    const bool m_bTerminal = Platform_IsTerminal(stderr);
    std::mutex m_mtxText;
    std::string m_strLastError;
};

CZHostSink& Sink()
{
    static CZHostSink sink;
    return sink;
}

} // namespace

void HostLog_SetLevel(eZLogLevel _eLevel)
{
    g_eLevel = _eLevel;
    ZLog_Set(&Sink(), _eLevel);
}

eZLogLevel HostLog_Level()
{
    return g_eLevel;
}

IZLogSink* HostLog_Sink()
{
    return &Sink();
}

std::string HostLog_Harmless(std::string _strText)
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

std::string HostLog_LastError()
{
    return Sink().LastError();
}
