#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

/// Where the workers of a frame wait for each other between two passes, and their owner for all of them.
class CRowBarrier
{
public:
    explicit CRowBarrier(uint32_t _nWorkers);
    uint32_t Workers() const
    {
        return m_nWorkers;
    }
    /// The owner's, before it wakes the workers for a frame.
    void Begin();
    /// Comes back when all workers have called. False: the frame was given up meanwhile.
    bool Arrive();
    /// Each worker's last call for a frame. Only the last worker of all wakes the owner.
    void Leave();
    /// The owner's. False: after this many milliseconds there were workers that had not left.
    bool WaitForAll(uint32_t _nMaxMs);
    /// Lets all go that wait now or later. The barrier is of no use afterwards.
    void GiveUp();

private:
    bool IsOver(uint32_t _nRound) const;

    const uint32_t m_nWorkers;
    std::mutex m_mtxState;
    std::condition_variable m_cvRound;
    std::condition_variable m_cvLeft;
    uint32_t m_nAwaited;                // workers that have not come in this round; under the lock
    uint32_t m_nInside = 0;             // workers that have not left the frame; under the lock
    std::atomic<uint32_t> m_nRound = 0; // written under the lock
    std::atomic<bool> m_bGivenUp = false;
};
