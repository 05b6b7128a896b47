#pragma once

#include "ZChromaKey/Engine2/Runner.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

/// Runs the passes of one picture on the workers of a pool: one of them drives and calls Run, the others serve. Parts
/// of a pass are taken from a counter, so that a worker that comes late, or not at all, holds nobody up.
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
    /// The other workers': takes part in passes until there are no more.
    void Serve();
    /// From any thread: the result is not wanted any more.
    void GiveUp();

private:
    void TakeParts(const CRowPass& _pass, int _nRows, int _nPart);
    void Publish(const CRowPass* _pPass, int _nRows, int _nPart);
    void WaitForHelpers();

    bool m_bHelpers = false;
    std::atomic<bool> m_bGivenUp = false;
    std::atomic<int> m_nNextRow = 0; ///< of the pass, that nobody has taken yet

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
