#pragma once

#include <chrono>
#include <cstdint>
#include <string>

/// Progress on standard error: a bar that is written over while the job runs, when standard error is a terminal, and
/// a summary at its end.
class CZProgress
{
public:
    /// _strVerb: what is done with the frames ("keyed"). _nFrames: how many there will be; -1 when not known.
    CZProgress(std::string _strVerb, int64_t _nFrames, bool _bQuiet);
    ~CZProgress();
    CZProgress(const CZProgress&) = delete;
    CZProgress& operator=(const CZProgress&) = delete;

    void Step();
    /// Ends the line and prints "keyed 60 frames in 0.8 s (75.0 frames/s): " and what is given.
    void Summary(const std::string& _strWhat);
    int64_t Frames() const
    {
        return m_nDone;
    }

private:
    using CLOCK = std::chrono::steady_clock;
    double Seconds() const;
    void ClearLine();

    std::string m_strVerb;
    int64_t m_nFrames;
    bool m_bQuiet;
    bool m_bTerminal;
    bool m_bLine = false; ///< a line stands on the terminal
    int64_t m_nDone = 0;
    CLOCK::time_point m_timeBegin;
    CLOCK::time_point m_timeShown;
};
