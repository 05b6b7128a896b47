#include "zkhost/Ui/Render.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

namespace
{

constexpr std::chrono::milliseconds c_timeBetween{250}; // news of a job

/// Ends a job that was cancelled.
struct CANCELLED
{
};

} // namespace

CZRender::CZRender(RENDER_PLAN _plan, std::string _strName, RENDER_RUN _fnRun, std::function<void()> _fnChanged)
    : m_plan(std::move(_plan))
    , m_fnRun(std::move(_fnRun))
    , m_fnChanged(std::move(_fnChanged))
    , m_timeBegin(CLOCK::now())
    , m_timeTold(m_timeBegin)
{
    m_state.strOutput = std::move(_strName);
    m_state.nFrames = m_plan.nFrames;
    m_thread = std::thread([this] { Run(); });
}

CZRender::~CZRender()
{
    Cancel();
    m_thread.join();
}

RENDER_STATE CZRender::State()
{
    const std::lock_guard lock(m_mtxState);
    return m_state;
}

void CZRender::Step(int64_t _nDone)
{
    if (m_bCancel)
        throw CANCELLED();
    const auto timeNow = CLOCK::now();
    {
        const std::lock_guard lock(m_mtxState);
        m_state.nFrame = _nDone;
        m_state.dblRate =
            static_cast<double>(_nDone) / std::max(std::chrono::duration<double>(timeNow - m_timeBegin).count(), 1e-6);
    }
    if (timeNow - m_timeTold < c_timeBetween)
        return;
    m_timeTold = timeNow;
    m_fnChanged();
}

/// Without memory the words are missing, not the end.
void CZRender::End(RENDER_STATE::eState _eNow, const char* _pszError)
{
    {
        const std::lock_guard lock(m_mtxState);
        m_state.eNow = _eNow;
        if (_eNow == RENDER_STATE::eDone)
            m_state.nFrames = m_state.nFrame;
        try
        {
            m_state.strError = _pszError;
        }
        catch (const std::bad_alloc&)
        {
            m_state.strError.clear();
        }
    }
    m_fnChanged();
}

void CZRender::Run()
{
    try
    {
        m_fnRun(m_plan, [this](int64_t _nDone) { Step(_nDone); });
        End(RENDER_STATE::eDone, "");
    }
    catch (const CANCELLED&)
    {
        End(RENDER_STATE::eCancelled, "");
    }
    catch (const std::bad_alloc&)
    {
        End(RENDER_STATE::eFailed, "out of memory; nothing was written");
    }
    catch (const std::exception& error)
    {
        End(RENDER_STATE::eFailed, error.what());
    }
}
