#pragma once

#include "Interfaces/ZPlatform.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

/// How long a thread is waited for when it is told to stop.
inline constexpr uint32_t c_nThreadStopMs = 10'000;

/// The most threads that work on one frame.
inline constexpr uint32_t c_nMaxFrameThreads = 16;

/// A manual-reset event: stays signalled until it is reset. Safe from any thread.
class CZEvent
{
public:
    explicit CZEvent(bool _bSignalled = false)
        : m_bSignalled(_bSignalled)
    {
    }
    void Set();
    void Reset();
    /// True when the event is or becomes signalled within the time, in milliseconds.
    bool Wait(uint32_t _nMaxMs);

private:
    std::mutex m_mtxState;
    std::condition_variable m_cvState;
    bool m_bSignalled;
};

/// A worker thread that runs one body per wake-up, and is initialised for COM while it lives (on Windows).
///
/// Start, Wake and Stop are the owner's and come from one thread at a time. The body must not throw. A thread object
/// that is destroyed while its thread still runs logs a warning and leaves the thread to itself, with its own state;
/// it counts as running the module's code until LeftJoin has seen it end.
class CZWorkerThread
{
public:
    CZWorkerThread() = default;
    ~CZWorkerThread();
    CZWorkerThread(const CZWorkerThread&) = delete;
    CZWorkerThread& operator=(const CZWorkerThread&) = delete;

    /// Starts the thread; it waits for Wake. S_FALSE when it runs already; E_OUTOFMEMORY when the system refuses.
    HRESULT Start(std::function<void()> _fnBody, const char* _pszOwner);
    /// Runs the body once more.
    void Wake();
    /// Ends the thread after the body under way. S_FALSE when none ran; Z_E_TIMEOUT when the body did not end in time:
    /// the thread then counts as running until a later Stop succeeds.
    HRESULT Stop(uint32_t _nMaxMs = c_nThreadStopMs);
    bool IsRunning() const;

    /// For the body itself: its thread ends when the body under way is done, and calls _fnAfter as its last act, from
    /// which the thread object may be destroyed. A later call takes the place of this one. Stop then only has to wait.
    /// Nothing happens on a thread that is no worker's.
    static void EndCurrent(std::function<void()> _fnAfter);

    /// Joins the threads that were left to themselves and have come to their end. True: there are no others. A module
    /// that asks this before it may be unloaded has no thread that still has to return through its code.
    static bool LeftJoin();

private:
    struct STATE;
    struct LEFT;
    void Leave() noexcept;

    std::shared_ptr<STATE> m_spState;
};

/// The worker thread of an owner of type Owner whose member function runs once per wake-up.
template <class Owner> class CSimpleThreadBase : public CZWorkerThread
{
public:
    /// _pOwner: a pointer that is borrowed, or a std::shared_ptr, which keeps the owner as long as the thread runs.
    template <class OwnerPtr> HRESULT Start(const OwnerPtr& _pOwner, void (Owner::*_pfnBody)(), const char* _pszOwner)
    {
        if (IsRunning())
            return S_FALSE; // before the body is wrapped, which takes memory
        return CZWorkerThread::Start([_pOwner, _pfnBody] { ((*_pOwner).*_pfnBody)(); }, _pszOwner);
    }
};
