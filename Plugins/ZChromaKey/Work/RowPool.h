#pragma once

#include "Base/ZModuleRef.h"
#include "Base/ZPtr.h"
#include "Base/ZThread.h"

#include <array>
#include <atomic>
#include <initializer_list>
#include <memory>

class CRowBarrier;

/// What a pool's workers do together: one or more passes over the rows of a frame. An engine derives its own, with all
/// that the passes need in it, so that a worker that hangs never touches freed memory.
class CRowWork
{
public:
    CRowWork() = default;
    virtual ~CRowWork() = default;
    CRowWork(const CRowWork&) = delete;
    CRowWork& operator=(const CRowWork&) = delete;

    /// One worker's share of one pass, 0, 1 ...: which rows that are is the work's own rule. All workers run the same
    /// pass at the same time, and none begins one before all have done the pass before. Once _bGo is false the result
    /// is not wanted any more, and the call is to return soon.
    virtual void Run(int _nPass, uint32_t _nWorker, const std::atomic<bool>& _bGo) noexcept = 0;
    /// The frame is given up: workers that wait for each other inside of Run are to come back. Called by the pool's
    /// owner while they run.
    virtual void GiveUp() noexcept
    {
    }
};

/// The worker threads of an engine. Knows nothing of what they do. Calls come from one thread at a time.
class CRowPool
{
public:
    /// _pszOwner: a literal; names the threads' owner in the log.
    explicit CRowPool(const char* _pszOwner);
    /// Stops the workers; one that does not stop is reported in the log and left to itself.
    ~CRowPool();

    /// Makes _nWorkers (at most c_nMaxFrameThreads) ready for work and stops the others. E_OUTOFMEMORY: no thread.
    HRESULT Prepare(uint32_t _nWorkers);
    /// Has the workers that were made ready run the passes of a work, and waits until all are done. Z_E_TIMEOUT: they
    /// were not within c_nThreadStopMs; all workers have then been told to stop and been waited for that long again,
    /// each. One that still runs keeps the work: the caller is to make another one for the next frame.
    HRESULT Run(const std::shared_ptr<CRowWork>& _spWork, int _nPasses);
    /// Stops all workers, waiting that long for each.
    void Stop();
    /// Keeps what owns the memory of a work, at most three objects, for as long as a worker that could not be stopped
    /// may touch it. A worker that hangs since an earlier frame keeps what it has.
    void Hold(std::initializer_list<IUnknown*> _listOwners) noexcept;

private:
    /// What the pool and one worker share; it lives as long as either of them. Written by the pool before the worker is
    /// woken.
    struct SLOT
    {
        CZModuleRef refModule; ///< first: a worker that hangs runs code of this module
        std::shared_ptr<CRowWork> spWork;
        std::shared_ptr<CRowBarrier> spBarrier;
        int nPasses = 0;
        uint32_t nWorker = 0;
        std::atomic<bool> bGo = true;           ///< false: the worker ends at the next row
        std::array<CZPtr<IUnknown>, 3> arrHeld; ///< of CRowPool::Hold

        void Work();
    };
    struct WORKER
    {
        CZWorkerThread thread;
        std::shared_ptr<SLOT> spSlot = std::make_shared<SLOT>();
        bool bStuck = false; ///< could not be stopped
        bool bHolds = false; ///< since it could not
    };
    HRESULT WorkerStart(std::unique_ptr<WORKER>& _upWorker);
    static void WorkerStop(std::unique_ptr<WORKER>& _upWorker, uint32_t _nMaxMs);

    const char* m_pszOwner;
    uint32_t m_nReady = 0;
    std::shared_ptr<CRowBarrier> m_spBarrier; // of the workers that are ready
    std::array<std::unique_ptr<WORKER>, c_nMaxFrameThreads> m_arrWorkers;
};
