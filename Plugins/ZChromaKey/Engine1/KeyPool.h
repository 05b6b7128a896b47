#pragma once

#include "Base/ZModuleRef.h"
#include "Base/ZPtr.h"
#include "Base/ZThread.h"
#include "ZChromaKey/Engine1/KeySlice.h"

#include <array>
#include <atomic>
#include <memory>

/// What the frame thread and one worker share. It lives as long as either of them, so a worker that hangs never
/// touches freed memory. Written by the frame thread before the worker is woken, read again when it is done.
struct KEY_SLOT
{
    CZModuleRef refModule; ///< first: a worker that hangs runs code of this module
    KEY_JOB job = {};
    bool bJob = false; ///< there is a job; the worker clears it
    CKeySlice slice;
    HRESULT hrResult = S_OK;
    std::atomic<bool> bGo = true; ///< false: the worker ends at the next row
    CZEvent evtDone;
    CZPtr<IUnknown> arrHeld[2]; ///< of CKeyPool::Hold
};

/// The worker threads of an engine, which run one slice of a frame each.
class CKeyPool
{
public:
    CKeyPool() = default;
    /// Stops the workers; one that does not stop is reported in the log and left to itself.
    ~CKeyPool();

    /// Makes _nWorkers (at most 16) ready for jobs and stops the others. E_OUTOFMEMORY: no thread.
    HRESULT Prepare(uint32_t _nWorkers);
    /// The slot of a worker that was made ready.
    KEY_SLOT& Slot(uint32_t _nWorker)
    {
        return *m_arrWorkers[_nWorker]->spSlot;
    }
    /// Wakes the workers that were made ready and waits until all are done. Z_E_TIMEOUT: they were not within
    /// c_nThreadStopMs; all workers have then been told to stop and been waited for that long again, each.
    HRESULT Run();
    /// Stops all workers, waiting that long for each.
    void Stop();
    /// Keeps what owns the planes of a job for as long as a worker that could not be stopped may touch them.
    void Hold(IUnknown* _pPicture, IUnknown* _pMask);

private:
    struct WORKER
    {
        CZWorkerThread thread;
        std::shared_ptr<KEY_SLOT> spSlot = std::make_shared<KEY_SLOT>();
        bool bStuck = false; ///< could not be stopped
    };
    HRESULT WorkerStart(std::unique_ptr<WORKER>& _upWorker);
    static void WorkerStop(std::unique_ptr<WORKER>& _upWorker, uint32_t _nMaxMs);
    bool WaitAll();

    uint32_t m_nReady = 0;
    std::array<std::unique_ptr<WORKER>, c_nMaxFrameThreads> m_arrWorkers;
};
