#include "Kit/HostLog.h"

#include "Base/ZLog.h"

#include <atomic>
#include <mutex>

namespace
{

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
        const std::lock_guard lock(m_mtxText);
        if (_eLevel == eZLog_Error)
            m_strLastError = _pszText;
        if (m_pfnPrint)
            m_pfnPrint(static_cast<eZLogLevel>(_eLevel), _pszText);
    }
    void PrintSet(HOST_LOG_PRINT _pfnPrint)
    {
        const std::lock_guard lock(m_mtxText);
        m_pfnPrint = _pfnPrint;
    }
    std::string LastError()
    {
        const std::lock_guard lock(m_mtxText);
        return m_strLastError;
    }

private:
    std::mutex m_mtxText;
    HOST_LOG_PRINT m_pfnPrint = nullptr;
    std::string m_strLastError;
};

std::atomic<eZLogLevel> g_eLevel{eZLog_Warning};

CZHostSink& Sink()
{
    static CZHostSink& s_sink = *new CZHostSink; // modules may log while the program's own objects are going
    return s_sink;
}

} // namespace

void HostLog_Set(eZLogLevel _eLevel, HOST_LOG_PRINT _pfnPrint)
{
    g_eLevel = _eLevel;
    Sink().PrintSet(_pfnPrint);
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

std::string HostLog_LastError()
{
    return Sink().LastError();
}
