#pragma once

#include "zkhost/Files/Stream.h"

#include <functional>
#include <memory>
#include <string>

/// Reads a source that goes on by itself, such as a camera behind a pipe, on a thread of its own. Frames of a source
/// that could be read faster than its rate come at little more than its rate.
class CZLiveFeed
{
public:
    /// Gets each frame, and null after the last one with the reason where it was not the end; on the thread.
    using TAKE = std::function<void(CZPtr<IZFFrame> _cpFrameOrNull, const std::string& _strReason)>;

    CZLiveFeed(std::unique_ptr<CZFrameSource> _upSource, TAKE _fnTake);
    /// Nothing is called any more. A thread that waits in a read, which cannot be taken back, is left to itself.
    ~CZLiveFeed();
    CZLiveFeed(const CZLiveFeed&) = delete;
    CZLiveFeed& operator=(const CZLiveFeed&) = delete;

private:
    struct STATE;
    static void Read(STATE& _state);

    std::shared_ptr<STATE> m_spState;
};

/// Whether a thread was left to itself: the program must end without the ends of its global objects then.
bool LiveFeed_IsLeft();
