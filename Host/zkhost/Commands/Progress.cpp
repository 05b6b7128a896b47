#include "zkhost/Commands/Progress.h"

#include "zkhost/Files/System.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <utility>

CZProgress::CZProgress(std::string _strVerb, int64_t _nFrames, bool _bQuiet)
    : m_strVerb(std::move(_strVerb))
    , m_nFrames(_nFrames)
    , m_bQuiet(_bQuiet)
    , m_bTerminal(!_bQuiet && System_IsTerminal(stderr))
    , m_timeBegin(CLOCK::now())
    , m_timeShown(m_timeBegin)
{
}

CZProgress::~CZProgress()
{
    ClearLine();
}

double CZProgress::Seconds() const
{
    return std::max(std::chrono::duration<double>(CLOCK::now() - m_timeBegin).count(), 1e-6);
}

void CZProgress::ClearLine()
{
    if (std::exchange(m_bLine, false))
        std::fputs("\r\x1b[K", stderr);
}

void CZProgress::Step()
{
    ++m_nDone;
    const auto timeNow = CLOCK::now();
    if (!m_bTerminal || timeNow - m_timeShown < std::chrono::milliseconds(200))
        return;
    m_timeShown = timeNow;
    const double dblRate = static_cast<double>(m_nDone) / Seconds();
    std::string strLine = ZFormat("\r\x1b[K%s %d", m_strVerb, m_nDone);
    if (m_nFrames > 0)
        strLine += ZFormat(" of %d", m_nFrames);
    strLine += ZFormat(" frames, %.1f frames/s", dblRate);
    if (m_nFrames >= m_nDone)
        strLine += ZFormat(", %.0f s left", static_cast<double>(m_nFrames - m_nDone) / dblRate);
    std::fputs(strLine.c_str(), stderr);
    m_bLine = true;
}

void CZProgress::Summary(const std::string& _strWhat)
{
    ClearLine();
    if (m_bQuiet)
        return;
    const double dblSeconds = Seconds();
    std::fputs(ZFormat("%s %d frame%s in %.2f s (%.1f frames/s): %s\n", m_strVerb, m_nDone, m_nDone == 1 ? "" : "s",
                       dblSeconds, static_cast<double>(m_nDone) / dblSeconds, _strWhat)
                   .c_str(),
               stderr);
}
