#pragma once

#include "Base/ZLog.h"
#include "Base/ZPtr.h"
#include "Base/ZUnknown.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// Takes the log lines of this program while it lives.
class CLogCatcher
{
public:
    explicit CLogCatcher(eZLogLevel _eLevel = eZLog_Verbose)
        : m_cpSink(CZPtr<CSink>::Adopt(new CSink))
    {
        ZLog_Set(m_cpSink.Get(), _eLevel);
    }
    ~CLogCatcher()
    {
        ZLog_Set(nullptr, eZLog_Warning);
    }
    CLogCatcher(const CLogCatcher&) = delete;
    CLogCatcher& operator=(const CLogCatcher&) = delete;

    /// Lines of a level (0 = any) that have a text in them.
    size_t Count(const std::string& _strText, int _eLevel = 0) const
    {
        const std::lock_guard lock(m_cpSink->m_mtxLines);
        return m_cpSink->Count(_strText, _eLevel);
    }
    /// Whether a line with a text in it has come, or comes within the time in milliseconds.
    bool Wait(const std::string& _strText, uint32_t _nMaxMs) const
    {
        std::unique_lock lock(m_cpSink->m_mtxLines);
        return m_cpSink->m_cvLine.wait_for(lock, std::chrono::milliseconds(_nMaxMs),
                                           [&] { return m_cpSink->Count(_strText, 0) > 0; });
    }
    /// All lines, each with its level and a colon in front.
    std::vector<std::string> Lines() const
    {
        const std::lock_guard lock(m_cpSink->m_mtxLines);
        std::vector<std::string> vecLines;
        for (const auto& [eLevel, strLine] : m_cpSink->m_vecLines)
            vecLines.push_back(std::to_string(eLevel) + ":" + strLine);
        return vecLines;
    }
    IZLogSink* Sink() const
    {
        return m_cpSink.Get();
    }

private:
    class CSink final : public CZUnknown<IZLogSink>
    {
    public:
        void STDMETHODCALLTYPE LogLine(int32_t _eLevel, const char* _pszText) override
        {
            const std::lock_guard lock(m_mtxLines);
            m_vecLines.emplace_back(_eLevel, _pszText);
            m_cvLine.notify_all();
        }
        size_t Count(const std::string& _strText, int _eLevel) const
        {
            size_t nCount = 0;
            for (const auto& [eLevel, strLine] : m_vecLines)
                nCount += (_eLevel == 0 || eLevel == _eLevel) && strLine.find(_strText) != std::string::npos;
            return nCount;
        }
        std::mutex m_mtxLines;
        std::condition_variable m_cvLine;
        std::vector<std::pair<int32_t, std::string>> m_vecLines;
    };

    CZPtr<CSink> m_cpSink;
};
