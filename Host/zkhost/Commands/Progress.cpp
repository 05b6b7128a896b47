#include "zkhost/Commands/Progress.h"

#include "zkhost/Files/System.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <utility>

namespace
{

std::string Bar(int64_t _nDone, int64_t _nAll)
{
    constexpr int64_t c_nLength = 24;
    std::string strBar(static_cast<size_t>(c_nLength * _nDone / std::max<int64_t>(_nAll, 1)), '#');
    return strBar.append(c_nLength - strBar.size(), '.');
}

/// "0:07", "1:02:03".
std::string TimeText(double _dblSeconds)
{
    const auto nSeconds = static_cast<int64_t>(std::min(_dblSeconds, 1e9));
    const std::string strHours = nSeconds < 3600 ? std::string() : ZFormat("%d:", nSeconds / 3600);
    return ZFormat(strHours.empty() ? "%s%d:%02d" : "%s%02d:%02d", strHours, nSeconds / 60 % 60, nSeconds % 60);
}

} // namespace

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
    std::string strLine = ZFormat("\r\x1b[K%s ", m_strVerb);
    if (m_nFrames >= m_nDone)
        strLine += ZFormat("[%s] %d of ", Bar(m_nDone, m_nFrames), m_nDone);
    strLine += ZFormat("%d frames, %.1f frames/s", std::max(m_nFrames, m_nDone), dblRate);
    if (m_nFrames >= m_nDone)
        strLine += ZFormat(", %s left", TimeText(static_cast<double>(m_nFrames - m_nDone) / dblRate));
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
