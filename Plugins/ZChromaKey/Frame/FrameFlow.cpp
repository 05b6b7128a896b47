#include "ZChromaKey/Frame/FrameFlow.h"

#include "Base/ZAssert.h"
#include "Base/ZDeadline.h"
#include "Base/ZLog.h"
#include "ZChromaKey/Frame/FrameText.h"

namespace
{
constexpr uint32_t c_nOutputReadyMs = 1000;

thread_local const CFrameFlow* t_pFlow = nullptr; // whose output thread the calling one is
} // namespace

CFrameFlow::CFrameFlow(const char* _pszClass, PROCESS _fnProcess, std::function<void()> _fnFlush)
    : m_pszClass(_pszClass)
    , m_fnProcess(std::move(_fnProcess))
    , m_fnFlush(std::move(_fnFlush))
{
}

HRESULT CFrameFlow::Process(IZFFrame* _pFrame, IZFFrame** _ppFrameRes) const
{
    CZPtr<IZFFrame> cpFrameRes;
    const HRESULT hr = m_fnProcess(_pFrame, cpFrameRes.Put());
    if (FAILED(hr))
        return hr;
    if (!cpFrameRes)
        cpFrameRes = CZPtr<IZFFrame>(_pFrame);
    *_ppFrameRes = cpFrameRes.Detach();
    return S_OK;
}

HRESULT CFrameFlow::ReceiveNow(IZFFrame* _pFrame, IZFFrame** _ppFrameRes)
{
    Drop(); // first: what the thread has not begun is not worth waiting for
    if (!m_evtOutputReady.Wait(c_nOutputReadyMs))
        return Z_E_TIMEOUT;
    return Process(_pFrame, _ppFrameRes);
}

HRESULT CFrameFlow::Receive(IZFFrame* _pFrameOrNull, IZFFrame** _ppFrameRes)
{
    if (!m_evtOutputReady.Wait(c_nOutputReadyMs))
        return Z_E_TIMEOUT;
    std::string strFrame; // before the locks: the host's frame says it
    if (_pFrameOrNull && ZLog_IsOn(eZLog_Verbose))
        strFrame = FrameText(_pFrameOrNull);
    RESULT res = SwapWhenReady(_pFrameOrNull, strFrame);
    if (res.hr == S_OK && Z_VERIFY_TEXT(_ppFrameRes && res.cpFrame, "_ppFrameRes && *_ppFrameRes"))
        *_ppFrameRes = res.cpFrame.Detach();
    return res.hr;
}

/// Of calls from several threads, each waits until those before it are done.
CFrameFlow::RESULT CFrameFlow::SwapWhenReady(IZFFrame* _pFrameOrNull, const std::string& _strFrame)
{
    const CZDeadline deadline(c_nOutputReadyMs);
    do
    {
        const CZTimedGuard guard(&m_lockThread, deadline.LeftMs());
        if (!guard)
            break;
        if (!m_evtOutputReady.Wait(0)) // a call from another thread was faster
            continue;
        if (const HRESULT hr = _pFrameOrNull ? ThreadStart() : S_OK; FAILED(hr))
            return {{}, hr};
        return Swap(_pFrameOrNull, _strFrame);
    } while (m_evtOutputReady.Wait(deadline.LeftMs()));
    return {{}, Z_E_TIMEOUT};
}

HRESULT CFrameFlow::ThreadStart()
{
    if (m_bStopping && FAILED(m_thrOutput->Stop(c_nOutputReadyMs))) // an earlier Close ran out of time
        return Z_E_TIMEOUT;
    m_bStopping = false;
    if (m_thrOutput->IsRunning())
        return S_FALSE;
    return m_thrOutput->Start(this, &CFrameFlow::OutputThread, m_pszClass);
}

/// Takes the finished result out, and puts the next frame in.
CFrameFlow::RESULT CFrameFlow::Swap(IZFFrame* _pFrameOrNull, const std::string& _strFrame)
{
    const std::lock_guard lock(m_mtxSlots);
    if (_pFrameOrNull && !Z_VERIFY_TEXT(!m_cpFrameIn, "!m_cpFrameIn"))
        return {{}, E_UNEXPECTED};
    if (!_strFrame.empty())
        ZLog(eZLog_Verbose, "CK::OnMediaReceive() m_cpFrameIn=%ws\n", _strFrame);
    RESULT res = std::exchange(m_resOut, {});
    if (_pFrameOrNull)
    {
        m_cpFrameIn = CZPtr<IZFFrame>(_pFrameOrNull);
        m_bDrop = false;
        m_bFlushed = false;
        m_evtOutputReady.Reset();
        ++m_nUnderWay;
        m_thrOutput->Wake();
    }
    return res;
}

void CFrameFlow::OutputThread()
{
    t_pFlow = this;
    CZPtr<IZFFrame> cpFrameIn;
    {
        const std::lock_guard lock(m_mtxSlots);
        if (Z_VERIFY_TEXT(m_cpFrameIn && !m_resOut.cpFrame, "m_cpFrameIn && !m_cpFrameOut") && !m_bDrop)
            cpFrameIn = m_cpFrameIn;
    }
    RESULT res;
    if (cpFrameIn)
        res.hr = Process(cpFrameIn.Get(), res.cpFrame.Put());
    {
        const std::lock_guard lock(m_mtxSlots);
        cpFrameIn = std::exchange(m_cpFrameIn, {});
        if (!m_bDrop)
            m_resOut = std::exchange(res, {});
        if (m_bFlushed)
            m_fnFlush(); // once more: the frame may have begun the new stream, to which it does not belong
    }
    // What is let go is let go before the host can see that the frame is done.
    cpFrameIn.Reset();
    res.cpFrame.Reset();
    m_evtOutputReady.Set();
    const std::lock_guard lock(m_mtxSlots); // last: an abandoned object may be gone after it
    --m_nUnderWay;
    if (m_fnAbandoned)
        CZWorkerThread::EndCurrent(std::exchange(m_fnAbandoned, {}));
}

/// Takes out what is finished, and marks what is under way.
CFrameFlow::RESULT CFrameFlow::Drop()
{
    const std::lock_guard lock(m_mtxSlots);
    m_bDrop = true;
    return std::exchange(m_resOut, {});
}

void CFrameFlow::Flush()
{
    const RESULT resDropped = Drop(); // let go of after the locks are released
    const std::lock_guard lock(m_mtxSlots);
    m_bFlushed = static_cast<bool>(m_cpFrameIn);
    m_fnFlush();
}

HRESULT CFrameFlow::Close()
{
    CZPtr<IZFFrame> cpDropped; // both are let go of after the lock is released: the host's frames may call back
    RESULT resDropped;
    const CZDeadline deadline(c_nThreadStopMs);
    const CZTimedGuard guard(&m_lockThread, deadline.LeftMs());
    resDropped = Drop();
    if (!guard)
        return Z_E_TIMEOUT;
    const HRESULT hr = m_thrOutput->Stop(deadline.LeftMs());
    m_bStopping = FAILED(hr);
    if (m_bStopping)
        return hr;
    {
        const std::lock_guard lockSlots(m_mtxSlots);
        cpDropped = std::exchange(m_cpFrameIn, {}); // a frame that the thread had not begun
        m_nUnderWay = 0;
    }
    m_evtOutputReady.Set();
    return S_OK;
}

bool CFrameFlow::IsOutputThread() const
{
    return t_pFlow == this;
}

void CFrameFlow::CloseFromWithin(std::function<void()> _fnAfter)
{
    Drop();
    // Before the event is set, and so before the next frame can come in. Without the lock, which another thread's Close
    // may hold while it waits for this one.
    m_bStopping = true;
    CZWorkerThread::EndCurrent(std::move(_fnAfter));
}

bool CFrameFlow::Abandon(std::function<void()> _fnAfter)
{
    {
        const CZTimedGuard guard(&m_lockThread); // free: this is the last who has the object
        m_thrOutput.reset();                     // logs that the thread was not stopped
    }
    const std::lock_guard lock(m_mtxSlots);
    if (m_nUnderWay == 0)
        return false;
    m_fnAbandoned = std::move(_fnAfter);
    return true;
}
