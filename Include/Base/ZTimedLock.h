#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

/// How long a lock is waited for that may be held while a host's code runs.
inline constexpr uint32_t c_nLockMs = 10'000;

/// A lock that may be held while a host's code runs, which may hang: each wait for it has an end. It knows the thread
/// that holds it.
class CZTimedLock
{
public:
    CZTimedLock() = default;
    CZTimedLock(const CZTimedLock&) = delete;
    CZTimedLock& operator=(const CZTimedLock&) = delete;

    /// _nMaxMs: milliseconds. False: others have held it all that time, or the caller holds it, who would wait for
    /// himself.
    bool Acquire(uint32_t _nMaxMs);
    void Release();
    /// Whether the calling thread holds it.
    bool IsMine() const
    {
        return m_idHolder == std::this_thread::get_id();
    }

private:
    std::mutex m_mtxHolder;
    std::condition_variable m_cvFree;
    std::atomic<std::thread::id> m_idHolder; ///< nobody's while it is free
};

/// Holds such a lock while it lives, if it came by it.
class [[nodiscard]] CZTimedGuard
{
public:
    explicit CZTimedGuard(CZTimedLock* _pLock, uint32_t _nMaxMs = c_nLockMs)
        : m_pLock(_pLock->Acquire(_nMaxMs) ? _pLock : nullptr)
    {
    }
    ~CZTimedGuard()
    {
        if (m_pLock)
            m_pLock->Release();
    }
    CZTimedGuard(const CZTimedGuard&) = delete;
    CZTimedGuard& operator=(const CZTimedGuard&) = delete;

    explicit operator bool() const
    {
        return m_pLock != nullptr;
    }

private:
    CZTimedLock* m_pLock;
};
