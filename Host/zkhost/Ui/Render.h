#pragma once

#include "zkhost/Ui/Editor.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

/// What is to be written.
struct RENDER_PLAN
{
    int nGeneration = 2;
    EDITOR_OPTIONS vecOptions;
    std::string strDocument; ///< keys and options
    std::string strInput;
    std::string strRawSpec;
    std::string strOutput; ///< a path
    int64_t nIn = 0;       ///< the first frame
    int64_t nFrames = -1;  ///< how many; -1: to the end
};

/// Keys a piece of a clip and writes it; on failure nothing is left under the output's name. Calls _fnStep after every
/// frame and while it waits; what that throws ends it. Throws CZHostError.
using RENDER_RUN = std::function<void(const RENDER_PLAN& _plan, const std::function<void(int64_t _nDone)>& _fnStep)>;

/// How far a job is.
struct RENDER_STATE
{
    enum eState
    {
        eRunning,
        eDone,
        eFailed,
        eCancelled,
    };
    eState eNow = eRunning;
    std::string strOutput; ///< the name alone
    int64_t nFrame = 0;    ///< that are done
    int64_t nFrames = -1;  ///< -1: not known
    double dblRate = 0;    ///< frames a second
    std::string strError;
};

/// A job on a thread of its own. Thread safe.
class CZRender
{
public:
    /// _fnChanged is called a few times a second, and at the end, on the job's thread.
    CZRender(RENDER_PLAN _plan, std::string _strName, RENDER_RUN _fnRun, std::function<void()> _fnChanged);
    /// Cancels the job and waits for its end.
    ~CZRender();
    CZRender(const CZRender&) = delete;
    CZRender& operator=(const CZRender&) = delete;

    void Cancel()
    {
        m_bCancel = true;
    }
    RENDER_STATE State();

private:
    using CLOCK = std::chrono::steady_clock;

    void Run();
    void Step(int64_t _nDone);
    void End(RENDER_STATE::eState _eNow, const char* _pszError);

    const RENDER_PLAN m_plan;
    const RENDER_RUN m_fnRun;
    const std::function<void()> m_fnChanged;
    std::atomic<bool> m_bCancel{false};
    const CLOCK::time_point m_timeBegin;
    CLOCK::time_point m_timeTold;
    std::mutex m_mtxState;
    RENDER_STATE m_state;
    std::thread m_thread; // the last one: it uses the others
};
