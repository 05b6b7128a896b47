#include "Kit/Process.h"

#include "Kit/HostError.h"
#include "Kit/ProcessSystem.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>

namespace
{

constexpr size_t c_cbSaid = 8192; // of standard error that is kept
constexpr auto c_timeStep = std::chrono::milliseconds(100);

std::vector<std::string> LinesOf(std::string_view _svText)
{
    std::vector<std::string> vecLines;
    while (!_svText.empty())
    {
        const size_t nEnd = std::min(_svText.find_first_of("\r\n"), _svText.size());
        const std::string_view svLine = _svText.substr(0, nEnd);
        const size_t nBegin = svLine.find_first_not_of(" \t");
        if (nBegin != std::string_view::npos)
            vecLines.emplace_back(svLine.substr(nBegin, svLine.find_last_not_of(" \t") + 1 - nBegin));
        _svText.remove_prefix(std::min(nEnd + 1, _svText.size()));
    }
    return vecLines;
}

} // namespace

/// The child and the thread that listens to its standard error, so that it never waits for a reader.
struct CZChildProcess::STATE
{
    CHILD_HANDLES child;
    std::string strName;
    std::function<void()> fnWait;
    std::thread thread;
    mutable std::mutex mtx;
    std::condition_variable cond;
    std::string strSaid;
    bool bSilent = false; ///< standard error has ended

    STATE() = default;
    STATE(const STATE&) = delete;
    STATE& operator=(const STATE&) = delete;
    ~STATE()
    {
        if (child.nProcess != c_nNoHandle)
            ProcessSystem_Kill(child.nProcess);
        Reap();
    }
    void Listen()
    {
        std::array<char, 4096> arrBytes;
        while (const int64_t cbRead = ProcessSystem_Read(child.nError, arrBytes.data(), arrBytes.size()))
        {
            const std::lock_guard lock(mtx);
            strSaid.append(arrBytes.data(), static_cast<size_t>(std::max<int64_t>(cbRead, 0)));
            if (strSaid.size() > c_cbSaid)
                strSaid.erase(0, strSaid.size() - c_cbSaid);
        }
        const std::lock_guard lock(mtx);
        bSilent = true;
        cond.notify_all();
    }
    void Wait() const
    {
        if (fnWait)
            fnWait();
    }
    /// Waits until the child has let go of its standard error, which is when it ends.
    void AwaitSilence()
    {
        std::unique_lock lock(mtx);
        while (!cond.wait_for(lock, c_timeStep, [this] { return bSilent; }))
        {
            lock.unlock();
            Wait();
            lock.lock();
        }
    }
    int Reap()
    {
        ProcessSystem_Close(child.nIn);
        ProcessSystem_Close(child.nOut);
        const int nExit = child.nProcess == c_nNoHandle ? -1 : ProcessSystem_Reap(child.nProcess);
        if (thread.joinable())
            thread.join();
        ProcessSystem_Close(child.nError);
        return nExit;
    }
};

CZChildProcess::CZChildProcess(const std::vector<std::string>& _vecCommand, int _nPipes)
    : m_upState(std::make_unique<STATE>())
{
    m_upState->strName = _vecCommand.at(0);
    m_upState->child = ProcessSystem_Start(_vecCommand, _nPipes);
    m_upState->thread = std::thread([pState = m_upState.get()] { pState->Listen(); });
}

CZChildProcess::~CZChildProcess() = default;
CZChildProcess::CZChildProcess(CZChildProcess&&) noexcept = default;

void CZChildProcess::OnWait(std::function<void()> _fnWait)
{
    m_upState->fnWait = std::move(_fnWait);
}

size_t CZChildProcess::Read(void* _pBytes, size_t _cbBytes)
{
    size_t cbDone = 0;
    while (cbDone < _cbBytes)
    {
        ProcessSystem_Await(m_upState->child.nOut, false);
        const int64_t cbRead =
            ProcessSystem_Read(m_upState->child.nOut, static_cast<char*>(_pBytes) + cbDone, _cbBytes - cbDone);
        if (cbRead == 0)
            break;
        if (cbRead < 0)
            m_upState->Wait();
        else
            cbDone += static_cast<size_t>(cbRead);
    }
    return cbDone;
}

bool CZChildProcess::Write(const void* _pBytes, size_t _cbBytes)
{
    for (size_t cbDone = 0; cbDone < _cbBytes;)
    {
        const int64_t cbWritten =
            ProcessSystem_Write(m_upState->child.nIn, static_cast<const char*>(_pBytes) + cbDone, _cbBytes - cbDone);
        if (cbWritten < 0)
            return false;
        cbDone += static_cast<size_t>(cbWritten);
        if (cbWritten > 0)
            continue;
        ProcessSystem_Await(m_upState->child.nIn, true);
        m_upState->Wait();
    }
    return true;
}

void CZChildProcess::CloseInput()
{
    ProcessSystem_Close(m_upState->child.nIn);
}

int CZChildProcess::Wait()
{
    CloseInput();
    ProcessSystem_Close(m_upState->child.nOut);
    m_upState->AwaitSilence();
    return m_upState->Reap();
}

std::vector<std::string> CZChildProcess::Said() const
{
    const std::lock_guard lock(m_upState->mtx);
    return LinesOf(m_upState->strSaid);
}

bool Process_IsThere(const std::string& _strProgram)
{
    return !ProcessSystem_Find(_strProgram).empty();
}

PROCESS_RESULT Process_Run(const std::vector<std::string>& _vecCommand, size_t _nMaxBytes)
{
    CZChildProcess child(_vecCommand, eProcess_Out);
    PROCESS_RESULT result;
    std::vector<char> vecBytes(size_t{1} << 16);
    while (const size_t cbRead = child.Read(vecBytes.data(), vecBytes.size()))
    {
        if (result.strOut.size() + cbRead > _nMaxBytes)
            throw CZHostError(ZFormat("%s says more than %d bytes", _vecCommand.front(), _nMaxBytes));
        result.strOut.append(vecBytes.data(), cbRead);
    }
    result.nExit = child.Wait();
    result.vecSaid = child.Said();
    return result;
}

std::string ProcessSystem_Quoted(const std::string& _strArgument)
{
    if (!_strArgument.empty() && _strArgument.find_first_of(" \t\n\v\"") == std::string::npos)
        return _strArgument;
    std::string strQuoted = "\"";
    size_t nSlashes = 0; // they count before a quote alone
    for (const char ch : _strArgument)
    {
        if (ch == '"')
            strQuoted.append(nSlashes + 1, '\\');
        nSlashes = ch == '\\' ? nSlashes + 1 : 0;
        strQuoted += ch;
    }
    return strQuoted.append(nSlashes, '\\') + '"';
}
