#include "ZChromaKey/Engine2/PoolRunner.h"

#include <algorithm>
#include <chrono>

namespace
{

// Most waits between two passes are shorter than falling asleep and waking up takes. One that is longer may be for a
// thread that waits for the processor, which spinning would keep from it.
constexpr std::chrono::microseconds c_timeWaitSpin{50};

template <class Condition> void SpinFor(const Condition& _isMet)
{
    const auto tpEnd = std::chrono::steady_clock::now() + c_timeWaitSpin;
    while (!_isMet() && std::chrono::steady_clock::now() < tpEnd)
    {
    }
}

} // namespace

void CPoolRunner::Begin(uint32_t _nWorkers)
{
    m_nWorkers = _nWorkers;
    m_bGivenUp = false;
    m_bOver = false;
    m_nPasses = 0;
}

// Whole parts for all but the last.
int CPoolRunner::ShareBegin(uint32_t _nShare, int _nRows, int _nPart) const
{
    const int nParts = (_nRows + _nPart - 1) / _nPart;
    return std::min(static_cast<int>(int64_t{nParts} * _nShare / m_nWorkers) * _nPart, _nRows);
}

void CPoolRunner::TakeParts(const CRowPass& _pass, int _nRows, int _nPart, uint32_t _nWorker)
{
    for (uint32_t n = 0; n < m_nWorkers; ++n)
    {
        const uint32_t nShare = (_nWorker + n) % m_nWorkers;
        const int nEnd = ShareBegin(nShare + 1, _nRows, _nPart);
        while (!m_bGivenUp.load(std::memory_order_relaxed))
        {
            const int nFirst = m_arrNext[nShare].nRow.fetch_add(_nPart, std::memory_order_relaxed);
            if (nFirst >= nEnd)
                break;
            _pass(nFirst, std::min(_nPart, nEnd - nFirst));
        }
    }
}

void CPoolRunner::Publish(const CRowPass* _pPass, int _nRows, int _nPart)
{
    const std::lock_guard lock(m_mtxPass);
    m_pPass = _pPass;
    m_nRows = _nRows;
    m_nPart = _nPart;
    m_nPasses += _pPass != nullptr;
}

void CPoolRunner::WaitForHelpers()
{
    const auto IsDone = [this] { return m_nBusy == 0; };
    SpinFor(IsDone);
    std::unique_lock lock(m_mtxPass);
    m_cvDone.wait(lock, IsDone);
}

void CPoolRunner::Run(int _nRows, int _nLeast, const CRowPass& _pass)
{
    for (uint32_t n = 0; n < m_nWorkers; ++n)
        m_arrNext[n].nRow = ShareBegin(n, _nRows, _nLeast);
    if (m_nWorkers == 1 || _nRows <= _nLeast)
    {
        TakeParts(_pass, _nRows, _nLeast, 0);
        return;
    }
    Publish(&_pass, _nRows, _nLeast);
    m_cvPass.notify_all();
    TakeParts(_pass, _nRows, _nLeast, 0);
    Publish(nullptr, 0, 0); // nobody enters any more
    WaitForHelpers();
}

void CPoolRunner::Serve(uint32_t _nWorker)
{
    for (uint32_t nSeen = 0;;)
    {
        const auto IsNew = [&] { return m_nPasses != nSeen; };
        const auto IsOver = [&] { return m_bOver || m_bGivenUp; };
        SpinFor([&] { return IsNew() || IsOver(); });
        std::unique_lock lock(m_mtxPass);
        m_cvPass.wait(lock, [&] { return IsOver() || (IsNew() && m_pPass); });
        if (IsOver())
            return;
        nSeen = m_nPasses;
        const CRowPass& pass = *m_pPass;
        const int nRows = m_nRows, nPart = m_nPart;
        ++m_nBusy;
        lock.unlock();
        TakeParts(pass, nRows, nPart, _nWorker);
        lock.lock();
        if (--m_nBusy == 0)
            m_cvDone.notify_one();
    }
}

void CPoolRunner::End()
{
    const std::lock_guard lock(m_mtxPass);
    m_bOver = true;
    m_cvPass.notify_all();
}

void CPoolRunner::GiveUp()
{
    const std::lock_guard lock(m_mtxPass);
    m_bGivenUp = true;
    m_cvPass.notify_all();
}
