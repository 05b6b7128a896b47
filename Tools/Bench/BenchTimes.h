#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

/// How long the calls of one kind took. The methods that answer need one call at least.
class CZBenchTimes
{
public:
    /// Calls, and returns the seconds of real time that it took.
    template <class Call> double Run(Call&& _call)
    {
        const auto timeBegin = std::chrono::steady_clock::now();
        _call();
        Add(std::chrono::duration<double>(std::chrono::steady_clock::now() - timeBegin).count());
        return m_arrSeconds.back();
    }
    void Add(double _dblSeconds)
    {
        m_arrSeconds.push_back(_dblSeconds);
    }
    size_t Count() const
    {
        return m_arrSeconds.size();
    }
    /// The lowest decile, so that what other programs do to the machine counts little.
    double Typical()
    {
        const auto itDecile = m_arrSeconds.begin() + static_cast<ptrdiff_t>(m_arrSeconds.size() / 10);
        std::nth_element(m_arrSeconds.begin(), itDecile, m_arrSeconds.end());
        return *itDecile;
    }
    /// The least time that this many of a thousand calls did not exceed (nearest rank); 1000: the longest.
    double Quantile(size_t _nThousandths)
    {
        const size_t nRank = (m_arrSeconds.size() * _nThousandths + 999) / 1000;
        const auto itRank = m_arrSeconds.begin() + static_cast<ptrdiff_t>(std::max<size_t>(nRank, 1) - 1);
        std::nth_element(m_arrSeconds.begin(), itRank, m_arrSeconds.end());
        return *itRank;
    }

private:
    std::vector<double> m_arrSeconds;
};
