#pragma once

#include "Interfaces/IZFFrame.h"

/// Frame processing: the host pushes frames in one at a time and takes results back.
struct IZFProcess : public IUnknown
{
    /// Takes a frame (or null, to fetch what is still under way) and hands out a result frame, which the caller
    /// releases. The input is never written to; a reference to the last one is kept for picking keys and for telling
    /// repeated frames, until the next one or Close. With "input.keep" off none is kept.
    /// S_FALSE and null: no result for this call. Z_E_TIMEOUT and null: the frame before is still being processed
    /// after 1000 ms, and this one was not taken. E_POINTER: no result pointer. Other failures: the frame whose result
    /// it is could not be processed; the log says why, and names that frame. With "output.thread" on that is the frame
    /// before, and this one has been taken; where there is none before, this one was not taken.
    /// Calls come from one thread at a time.
    virtual HRESULT STDMETHODCALLTYPE OnMediaReceive(IZFFrame* _pFrameOrNull, IZFFrame** _ppFrameRes) = 0;
    /// The stream has ended; a result still under way can be fetched with a null frame.
    virtual HRESULT STDMETHODCALLTYPE OnMediaEnd() = 0;
    /// The stream jumps: what is under way is dropped.
    virtual HRESULT STDMETHODCALLTYPE OnMediaFlush() = 0;
};
Z_INTERFACE_ID(IZFProcess, 0x59ba1b0d, 0x5c90, 0x4158, 0xa9, 0x09, 0x40, 0x6c, 0x2e, 0x41, 0x67, 0x88)
