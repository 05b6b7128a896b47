#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

/// Where the workers of a frame wait for each other between two passes.
class CRowBarrier
{
public:
    explicit CRowBarrier(uint32_t _nWorkers);
    uint32_t Workers() const
    {
        return m_nWorkers;
    }
    /// Comes back when all workers have called. False: the frame was given up meanwhile.
    bool Arrive();
    /// Lets all go that wait now or later. The barrier is of no use afterwards.
    void GiveUp();

private:
    bool IsOver(uint32_t _nRound) const;

    const uint32_t m_nWorkers;
    std::mutex m_mtxState;
    std::condition_variable m_cvRound;
    uint32_t m_nAwaited;                // workers that have not come in this round; under the lock
    std::atomic<uint32_t> m_nRound = 0; // written under the lock
    std::atomic<bool> m_bGivenUp = false;
};
