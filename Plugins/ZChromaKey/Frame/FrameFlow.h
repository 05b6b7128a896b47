#pragma once

#include "Base/ZPtr.h"
#include "Base/ZThread.h"
#include "Base/ZTimedLock.h"
#include "Interfaces/IZFFrame.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

/// The one-slot hand-over between the host's thread and the output thread.
///
/// Each call of Receive takes one frame in and gives the result of the frame before: output runs one frame behind, so
/// that keying overlaps the host's own work. Any thread may call at any time; where several hand frames in, each result
/// comes with whichever call is the next.
class CFrameFlow
{
public:
    /// What is done with a frame: hands out the result frame, or a failure, or success and null. Must not throw.
    using PROCESS = std::function<HRESULT(IZFFrame* _pFrame, IZFFrame** _ppFrameRes)>;

    /// _pszClass: the plug-in object's class, which the output thread is named after; a literal.
    /// _fnFlush: tells the processing that the next frame begins a new stream; must not throw, lock or wait.
    CFrameFlow(const char* _pszClass, PROCESS _fnProcess, std::function<void()> _fnFlush);

    /// Processes a frame on the calling thread and hands out its result: S_OK and a frame, or the failure of processing
    /// it. Where processing gave no frame, the frame itself is the result.
    ///
    /// What is under way from calls of Receive is dropped. Z_E_TIMEOUT: the output thread is busy with it for more than
    /// 1000 ms; the given frame has not been processed.
    HRESULT ReceiveNow(IZFFrame* _pFrame, IZFFrame** _ppFrameRes);

    /// Hands out the result of the frame before, and takes a frame (or null) for the output thread.
    ///
    /// S_OK: a frame; S_FALSE: none was under way. A failure code is that of processing the frame before; the given
    /// frame has been taken all the same. Z_E_TIMEOUT: the output thread is busy for more than 1000 ms, and
    /// E_OUTOFMEMORY: it could not be started; the given frame has not been taken.
    HRESULT Receive(IZFFrame* _pFrameOrNull, IZFFrame** _ppFrameRes);

    /// Drops what is under way: a finished result now, a frame being processed as soon as it is done. The next frame
    /// begins a new stream.
    void Flush();

    /// Stops the output thread and drops what is under way; the next Receive starts it again. Z_E_TIMEOUT: processing
    /// did not end within ten seconds, and the thread still uses this object.
    HRESULT Close();

    /// Whether the caller is the output thread: the host calls back while a frame is processed or let go.
    bool IsOutputThread() const;

    /// Close for the output thread itself, which cannot wait for its own end: it stops after the frame under way, and
    /// calls _fnAfter as its last act. Other threads' Close waits for that, too.
    void CloseFromWithin(std::function<void()> _fnAfter);

    /// Lets go of a thread that Close could not stop, and that still uses this object: it calls _fnAfter as its last
    /// act. False: the thread has come to its end after all, and does not. The object may be gone when this comes back.
    bool Abandon(std::function<void()> _fnAfter);

private:
    struct RESULT
    {
        CZPtr<IZFFrame> cpFrame;
        HRESULT hr = S_FALSE;
    };

    HRESULT Process(IZFFrame* _pFrame, IZFFrame** _ppFrameRes) const;
    RESULT SwapWhenReady(IZFFrame* _pFrameOrNull, const std::string& _strFrame);
    HRESULT ThreadStart();
    RESULT Swap(IZFFrame* _pFrameOrNull, const std::string& _strFrame);
    RESULT Drop();
    void OutputThread();

    const char* m_pszClass;
    PROCESS m_fnProcess;
    std::function<void()> m_fnFlush;
    CZEvent m_evtOutputReady{true}; // signalled: the pending slot is empty

    CZTimedLock m_lockThread; // guards the thread object; Close holds it while it waits for the thread
    std::optional<CSimpleThreadBase<CFrameFlow>> m_thrOutput{std::in_place};
    std::atomic<bool> m_bStopping = false; // told to stop, and not waited for

    std::mutex m_mtxSlots; // guards what follows; never held while a frame is processed or released
    CZPtr<IZFFrame> m_cpFrameIn;
    RESULT m_resOut;
    bool m_bDrop = false;    // the result of the frame under way is not wanted
    bool m_bFlushed = false; // nor what it leaves behind in the stream
    int m_nUnderWay = 0;     // frames that the thread was woken for and is not done with
    std::function<void()> m_fnAbandoned;
};
