#include "ZChromaKey/Work/RowPool.h"

#include "ZChromaKey/Work/RowBarrier.h"

#include <algorithm>
#include <utility>

void CRowPool::SLOT::Work()
{
    std::shared_ptr<CRowWork> spFrameWork = std::exchange(spWork, {});
    for (int nPass = 0; spFrameWork && nPass < nPasses; ++nPass)
        if (nPass == 0 || spBarrier->Arrive())
            spFrameWork->Run(nPass, nWorker, bGo);
    spFrameWork.reset();                                   // before the pool can see that it is done
    const std::shared_ptr<CRowBarrier> spLeft = spBarrier; // the slot is the pool's again before this returns
    spLeft->Leave();
}

CRowPool::CRowPool(const char* _pszOwner)
    : m_pszOwner(_pszOwner)
{
}

CRowPool::~CRowPool()
{
    Stop();
}

HRESULT CRowPool::WorkerStart(std::unique_ptr<WORKER>& _upWorker)
{
    if (_upWorker && _upWorker->bStuck)
    {
        WorkerStop(_upWorker, 0);
        _upWorker.reset(); // a thread that hangs on keeps its slot; the log says so
    }
    if (_upWorker)
        return S_OK;
    auto upWorker = std::make_unique<WORKER>();
    const HRESULT hr = upWorker->thread.Start([spSlot = upWorker->spSlot] { spSlot->Work(); }, m_pszOwner);
    if (SUCCEEDED(hr))
        _upWorker = std::move(upWorker);
    return hr;
}

void CRowPool::WorkerStop(std::unique_ptr<WORKER>& _upWorker, uint32_t _nMaxMs)
{
    if (!_upWorker)
        return;
    _upWorker->spSlot->bGo = false;
    if (SUCCEEDED(_upWorker->thread.Stop(_upWorker->bStuck ? 0 : _nMaxMs))) // waited for once, not every frame
        _upWorker.reset();
    else
        _upWorker->bStuck = true;
}

HRESULT CRowPool::Prepare(uint32_t _nWorkers)
{
    m_nReady = 0;
    const uint32_t nWorkers = std::min(_nWorkers, c_nMaxFrameThreads);
    for (uint32_t i = 0; i < nWorkers; ++i)
        if (const HRESULT hr = WorkerStart(m_arrWorkers[i]); FAILED(hr))
            return hr;
    for (uint32_t i = nWorkers; i < c_nMaxFrameThreads; ++i)
        WorkerStop(m_arrWorkers[i], c_nThreadStopMs);
    if (!m_spBarrier || m_spBarrier->Workers() != nWorkers)
        m_spBarrier = std::make_shared<CRowBarrier>(nWorkers);
    m_nReady = nWorkers;
    return S_OK;
}

HRESULT CRowPool::Run(const std::shared_ptr<CRowWork>& _spWork, int _nPasses)
{
    for (uint32_t i = 0; i < m_nReady; ++i)
    {
        SLOT& slot = *m_arrWorkers[i]->spSlot;
        slot.spWork = _spWork;
        slot.spBarrier = m_spBarrier;
        slot.nPasses = _nPasses;
        slot.nWorker = i;
    }
    m_spBarrier->Begin();
    // From the last: a processor that is asleep takes long to wake up, and the one that the caller leaves does not. So
    // the worker that is told last starts first, and that is to be the first worker, which may have the others wait.
    for (uint32_t i = m_nReady; i-- > 0;)
        m_arrWorkers[i]->thread.Wake();
    if (m_spBarrier->WaitForAll(c_nThreadStopMs))
        return S_OK;
    _spWork->GiveUp();
    Stop();
    return Z_E_TIMEOUT;
}

void CRowPool::Stop()
{
    for (auto& upWorker : m_arrWorkers)
        if (upWorker)
            upWorker->spSlot->bGo = false; // told all at once, so that they stop side by side
    if (m_spBarrier)
        m_spBarrier->GiveUp();
    m_spBarrier.reset();
    for (auto& upWorker : m_arrWorkers)
        WorkerStop(upWorker, c_nThreadStopMs);
    m_nReady = 0;
}

void CRowPool::Hold(std::initializer_list<IUnknown*> _listOwners) noexcept
{
    for (auto& upWorker : m_arrWorkers)
    {
        if (!upWorker || !upWorker->bStuck || std::exchange(upWorker->bHolds, true))
            continue;
        const size_t nOwners = std::min(_listOwners.size(), upWorker->spSlot->arrHeld.size());
        std::copy_n(_listOwners.begin(), nOwners, upWorker->spSlot->arrHeld.begin());
    }
}
