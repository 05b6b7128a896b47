#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

/// How long the calls of one kind took.
class CZBenchTimes
{
public:
    /// Calls, and returns the seconds of real time that it took.
    template <class Call> double Run(Call&& _call)
    {
        const auto timeBegin = std::chrono::steady_clock::now();
        _call();
        m_arrSeconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - timeBegin).count());
        return m_arrSeconds.back();
    }
    size_t Count() const
    {
        return m_arrSeconds.size();
    }
    /// The lowest decile, so that what other programs do to the machine counts little. Needs one call at least.
    double Typical()
    {
        const auto itDecile = m_arrSeconds.begin() + static_cast<ptrdiff_t>(m_arrSeconds.size() / 10);
        std::nth_element(m_arrSeconds.begin(), itDecile, m_arrSeconds.end());
        return *itDecile;
    }

private:
    std::vector<double> m_arrSeconds;
};
