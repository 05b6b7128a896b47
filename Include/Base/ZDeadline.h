#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

/// The end of a wait that may consist of several: what is left of the time, however the parts went.
class CZDeadline
{
public:
    /// Begins now. _nMs: milliseconds.
    explicit CZDeadline(uint32_t _nMs)
        : m_tpEnd(CLOCK::now() + std::chrono::milliseconds(_nMs))
    {
    }
    bool IsPast() const
    {
        return CLOCK::now() >= m_tpEnd;
    }
    /// Whole milliseconds; 0 once it is past.
    uint32_t LeftMs() const
    {
        const auto nLeft = std::chrono::duration_cast<std::chrono::milliseconds>(m_tpEnd - CLOCK::now()).count();
        return static_cast<uint32_t>(std::max<int64_t>(nLeft, 0));
    }

private:
    using CLOCK = std::chrono::steady_clock;
    CLOCK::time_point m_tpEnd;
};
