#include "Base/ZThread.h"

#include "Base/ZLog.h"
#include "Base/ZSystem.h"

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <list>
#include <new>
#include <string>
#include <thread>
#include <utility>

#if defined(_WIN32)
#include <objbase.h>
#else
#include <unistd.h>
#endif

namespace
{

/// The system's number of the calling thread, as debuggers and process viewers show it. Takes no memory: each thread
/// begins with it, where nobody could catch a failure.
uint32_t CurrentThreadId()
{
#if defined(_WIN32)
    return GetCurrentThreadId();
#else
    char szPath[64] = {}; // "PROCESS/task/THREAD"
    const char* const pszSlash =
        readlink("/proc/thread-self", szPath, sizeof(szPath) - 1) > 0 ? std::strrchr(szPath, '/') : nullptr;
    const size_t nHash = std::hash<std::thread::id>()(std::this_thread::get_id());
    return static_cast<uint32_t>(pszSlash ? std::strtoul(pszSlash + 1, nullptr, 10) : nHash);
#endif
}

void WarnNotStopped(uint32_t _nThreadId, const std::string& _strOwner) noexcept
{
    try
    {
        const uint32_t nCurrentId = CurrentThreadId();
        ZLog(eZLog_Warning,
             "WARNING !!! Thread %04X(%d) NOT STOPPED before destroying.\nCurrent:%04X(%d) %hs\nEXE: %ws\nDLL: %ws",
             _nThreadId, _nThreadId, nCurrentId, nCurrentId, _strOwner, ZSystem_ProgramPath(), ZSystem_ModulePath());
    }
    catch (...) // out of memory: the destructor that warns must come to its end
    {
    }
}

/// COM is ready on a thread while this lives.
class CComApartment
{
public:
    CComApartment(const CComApartment&) = delete;
    CComApartment& operator=(const CComApartment&) = delete;
#if defined(_WIN32)
    CComApartment()
        : m_hr(CoInitializeEx(nullptr, COINIT_MULTITHREADED))
    {
    }
    ~CComApartment()
    {
        if (SUCCEEDED(m_hr))
            CoUninitialize();
    }

private:
    HRESULT m_hr;
#else
    CComApartment() = default;
#endif
};

} // namespace

void CZEvent::Set()
{
    const std::lock_guard lock(m_mtxState);
    m_bSignalled = true;
    m_cvState.notify_all(); // under the lock: a waiter may destroy the event as soon as it can see it signalled
}

void CZEvent::Reset()
{
    const std::lock_guard lock(m_mtxState);
    m_bSignalled = false;
}

bool CZEvent::Wait(uint32_t _nMaxMs)
{
    std::unique_lock lock(m_mtxState);
    return m_cvState.wait_for(lock, std::chrono::milliseconds(_nMaxMs), [this] { return m_bSignalled; });
}

/// What owner and thread share; it lives as long as either of them.
struct CZWorkerThread::STATE
{
    std::mutex mtxState;
    std::condition_variable cvWork; ///< the thread waits here
    std::condition_variable cvDone; ///< Stop waits here
    uint32_t nWakeUps = 0;          ///< bodies asked for and not begun
    bool bStop = false;
    bool bDone = false; ///< the thread touches nothing but this state from here on
    uint32_t nThreadId = 0;
    std::function<void()> fnBody;
    std::function<void()> fnAfter; ///< the thread's own
    std::string strOwner;
    std::thread thrWorker; ///< the owner's; joined before the owner lets go, or left
    /// Itself, to be put among the threads that are left: that takes no memory, of which there may be none by then.
    std::list<std::shared_ptr<STATE>> listLeft;

    void Run();
    bool IsDone()
    {
        const std::lock_guard lock(mtxState);
        return bDone;
    }
    bool NextWakeUp();

    static inline thread_local STATE* t_pCurrent = nullptr; ///< of the calling thread
};

bool CZWorkerThread::STATE::NextWakeUp()
{
    std::unique_lock lock(mtxState);
    cvWork.wait(lock, [this] { return bStop || nWakeUps; });
    if (bStop)
        return false;
    --nWakeUps;
    return true;
}

void CZWorkerThread::STATE::Run()
{
    t_pCurrent = this;
    {
        const std::lock_guard lock(mtxState);
        nThreadId = CurrentThreadId();
    }
    {
        [[maybe_unused]] const CComApartment apartment;
        while (NextWakeUp())
            fnBody();
        while (const std::function<void()> fnLast = std::exchange(fnAfter, {}))
            fnLast();
        fnBody = {}; // what it holds goes with the thread, however long this state is kept
    }
    const std::lock_guard lock(mtxState);
    bDone = true;
    cvDone.notify_all();
}

/// Threads whose objects have gone before them. Never destroyed, for one that hangs may outlive the program's end; and
/// not on the heap, where there may be no room when they are asked for.
struct CZWorkerThread::LEFT
{
    std::mutex mtxThreads;
    std::list<std::shared_ptr<STATE>> listThreads;

    static LEFT& Own()
    {
        alignas(LEFT) static std::byte s_arrPlace[sizeof(LEFT)];
        static LEFT* const s_pLeft = new (s_arrPlace) LEFT;
        return *s_pLeft;
    }
};

bool CZWorkerThread::LeftJoin()
{
    LEFT& left = LEFT::Own();
    const std::lock_guard lock(left.mtxThreads);
    std::erase_if(left.listThreads, [](const std::shared_ptr<STATE>& _spState) {
        const bool bDone = _spState->IsDone();
        if (bDone)
            _spState->thrWorker.join(); // nothing but its return is left of it, so this is short
        return bDone;
    });
    return left.listThreads.empty();
}

void CZWorkerThread::Leave() noexcept
{
    LEFT& left = LEFT::Own();
    const std::lock_guard lock(left.mtxThreads);
    left.listThreads.splice(left.listThreads.end(), m_spState->listLeft);
}

CZWorkerThread::~CZWorkerThread()
{
    if (!m_spState)
        return;
    if (m_spState.get() == STATE::t_pCurrent) // the thread's own last act
    {
        Leave();
        return;
    }
    uint32_t nId = 0;
    {
        const std::lock_guard lock(m_spState->mtxState);
        m_spState->bStop = true; // no further body: the owner is about to go
        m_spState->cvWork.notify_all();
        nId = m_spState->nThreadId;
    }
    WarnNotStopped(nId, m_spState->strOwner);
    Leave();
}

HRESULT CZWorkerThread::Start(std::function<void()> _fnBody, const char* _pszOwner)
{
    if (m_spState)
        return S_FALSE;
    LeftJoin(); // so that there are never many
    try
    {
        auto spState = std::make_shared<STATE>();
        spState->fnBody = std::move(_fnBody);
        spState->strOwner = _pszOwner ? _pszOwner : "";
        std::list<std::shared_ptr<STATE>> listLeft = {spState};
        spState->thrWorker = std::thread([spState] { spState->Run(); });
        spState->listLeft.swap(listLeft);
        m_spState = std::move(spState);
        return S_OK;
    }
    catch (const std::exception& ex) // no memory, or the system has no thread left
    {
        ZLog(eZLog_Error, "CZWorkerThread::Start: no thread for %hs: %hs\n", _pszOwner, ex.what());
        return E_OUTOFMEMORY;
    }
}

void CZWorkerThread::Wake()
{
    if (!m_spState)
        return;
    const std::lock_guard lock(m_spState->mtxState);
    ++m_spState->nWakeUps;
    m_spState->cvWork.notify_one();
}

HRESULT CZWorkerThread::Stop(uint32_t _nMaxMs)
{
    if (!m_spState)
        return S_FALSE;
    {
        std::unique_lock lock(m_spState->mtxState);
        m_spState->bStop = true;
        m_spState->cvWork.notify_all();
        if (!m_spState->cvDone.wait_for(lock, std::chrono::milliseconds(_nMaxMs), [this] { return m_spState->bDone; }))
            return Z_E_TIMEOUT;
    }
    m_spState->thrWorker.join(); // its body is over, so this is short
    m_spState->listLeft.clear();
    m_spState.reset();
    return S_OK;
}

void CZWorkerThread::EndCurrent(std::function<void()> _fnAfter)
{
    STATE* const pState = STATE::t_pCurrent;
    if (!pState)
        return;
    pState->fnAfter = std::move(_fnAfter);
    const std::lock_guard lock(pState->mtxState);
    pState->bStop = true;
}

bool CZWorkerThread::IsRunning() const
{
    return m_spState != nullptr;
}
