#include "ZChromaKey/Work/RowBarrier.h"

#include <chrono>

namespace
{

/// Workers come at nearly the same time, and sleeping takes longer than that. A worker that is still alone then may be
/// waiting for the processor, which it would only take away from the other one.
constexpr std::chrono::microseconds c_timeSpin{20};

} // namespace

CRowBarrier::CRowBarrier(uint32_t _nWorkers)
    : m_nWorkers(_nWorkers)
    , m_nAwaited(_nWorkers)
{
}

bool CRowBarrier::IsOver(uint32_t _nRound) const
{
    return m_nRound != _nRound || m_bGivenUp;
}

void CRowBarrier::Begin()
{
    const std::lock_guard lock(m_mtxState);
    m_nInside = m_nWorkers;
}

bool CRowBarrier::Arrive()
{
    std::unique_lock lock(m_mtxState);
    const uint32_t nRound = m_nRound;
    if (--m_nAwaited == 0)
    {
        m_nAwaited = m_nWorkers;
        ++m_nRound;
        m_cvRound.notify_all();
        return !m_bGivenUp;
    }
    lock.unlock();
    const auto tpEnd = std::chrono::steady_clock::now() + c_timeSpin;
    while (!IsOver(nRound) && std::chrono::steady_clock::now() < tpEnd)
    {
    }
    lock.lock();
    m_cvRound.wait(lock, [&] { return IsOver(nRound); });
    return !m_bGivenUp;
}

void CRowBarrier::Leave()
{
    {
        const std::lock_guard lock(m_mtxState);
        if (--m_nInside > 0)
            return;
    }
    m_cvLeft.notify_one();
}

bool CRowBarrier::WaitForAll(uint32_t _nMaxMs)
{
    std::unique_lock lock(m_mtxState);
    return m_cvLeft.wait_for(lock, std::chrono::milliseconds(_nMaxMs), [this] { return m_nInside == 0; });
}

void CRowBarrier::GiveUp()
{
    const std::lock_guard lock(m_mtxState);
    m_bGivenUp = true;
    m_cvRound.notify_all();
}
