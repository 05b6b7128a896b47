#pragma once

#include "Base/ZThread.h"
#include "ZChromaKey/Engine2/Runner.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

/// Runs the passes of one picture on the workers of a pool: one of them drives and calls Run, the others serve. Each
/// has a share of the rows, the same in every pass, for it still has what they need in its cache. Parts of a share are
/// taken from a counter, by its owner and then by whoever is done with his own, so that a worker that comes late, or
/// not at all, holds nobody up.
///
/// A worker that waits spins briefly and then sleeps. The bodies of passes must not throw.
class CPoolRunner final : public IRowRunner
{
public:
    /// Before the workers are woken for a picture.
    void Begin(uint32_t _nWorkers);
    /// The driver's. Once the picture was given up, passes are left out in part or whole.
    void Run(int _nRows, int _nLeast, const CRowPass& _pass) override;
    /// The driver's, after its last pass, whatever became of it: lets the helpers go.
    void End();
    /// The other workers', 1, 2 ...: takes part in passes until there are no more.
    void Serve(uint32_t _nWorker);
    /// From any thread: the result is not wanted any more.
    void GiveUp();

private:
    int ShareBegin(uint32_t _nShare, int _nRows, int _nPart) const;
    void TakeParts(const CRowPass& _pass, int _nRows, int _nPart, uint32_t _nWorker);
    void Publish(const CRowPass* _pPass, int _nRows, int _nPart);
    void WaitForHelpers();

    /// Where a share goes on.
    struct NEXT
    {
        std::atomic<int> nRow = 0;
        int anApart[31] = {}; ///< a line of the cache to itself: mostly one worker writes it
    };
    uint32_t m_nWorkers = 1;
    std::atomic<bool> m_bGivenUp = false;
    std::array<NEXT, c_nMaxFrameThreads> m_arrNext; ///< rows of the pass that nobody has taken yet, by share

    std::mutex m_mtxPass; ///< guards what follows; atomic is what is looked at without it as well
    std::condition_variable m_cvPass;
    std::condition_variable m_cvDone;
    std::atomic<uint32_t> m_nPasses = 0; ///< of the picture, until now
    std::atomic<int> m_nBusy = 0;        ///< helpers inside the pass
    std::atomic<bool> m_bOver = false;
    const CRowPass* m_pPass = nullptr; ///< null: between two passes
    int m_nRows = 0;
    int m_nPart = 0;
};
