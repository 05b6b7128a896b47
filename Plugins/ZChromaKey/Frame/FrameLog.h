#pragma once

#include "Base/ZLog.h"

#include <cstddef>
#include <utility>
#include <vector>

/// Log lines of the frame path. What goes wrong with one frame goes wrong with the next one as well, so each line is
/// said aloud once, and at verbose level from then on. Not thread safe: the lock of the frame path guards it.
class CFrameLog
{
public:
    /// _pszClass: the plug-in object's class as lines name it, a literal.
    explicit CFrameLog(const char* _pszClass)
        : m_pszClass(_pszClass)
    {
    }
    const char* Class() const
    {
        return m_pszClass;
    }
    /// The level of a line about a cause: its format, a literal, and its result code.
    eZLogLevel Level(eZLogLevel _eLevel, const char* _pszFormat, HRESULT _hr)
    {
        const std::pair cause(_pszFormat, _hr);
        for (const auto& causeSaid : m_vecSaid)
            if (causeSaid == cause)
                return eZLog_Verbose;
        if (m_vecSaid.size() >= c_nMaxCauses) // a host may make up result codes
            return eZLog_Verbose;
        m_vecSaid.push_back(cause);
        return _eLevel;
    }
    template <class... Args> void Say(eZLogLevel _eLevel, HRESULT _hr, const char* _pszFormat, const Args&... _args)
    {
        ZLog(Level(_eLevel, _pszFormat, _hr), _pszFormat, _args...);
    }
    /// Things have changed: what goes wrong from now on is said aloud again.
    void Begin()
    {
        m_vecSaid.clear();
    }

private:
    static constexpr size_t c_nMaxCauses = 64;

    const char* m_pszClass;
    std::vector<std::pair<const char*, HRESULT>> m_vecSaid;
};
