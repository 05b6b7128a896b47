#pragma once

#include "zkhost/Files/Stream.h"
#include "zkhost/Ui/LiveFeed.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>

/// What a clip says to a wish for a frame.
struct CLIP_FRAME
{
    int64_t nFrame = 0;
    CZPtr<IZFFrame> cpFrame; ///< null: there is none
    bool bEnded = false;     ///< and there will be none: the clip ends before it
};

/// The frames of an input, in any order: decoded frames are kept as far as memory allows, and the input is opened again
/// to go back further than that. Of an input that goes on by itself the newest frames are kept. Thread safe. Errors are
/// CZHostError.
class CZClip
{
public:
    /// Stands for the newest frame of a live input.
    static constexpr int64_t c_nNewest = INT64_MAX;

    /// _cbMost: bytes of decoded frames that are kept, besides the one that was asked for last. _fnEnd is called when
    /// the end of an input that did not say how long it is has been seen, on any thread.
    CZClip(std::string _strInput, std::string _strRawSpec, int64_t _cbMost, std::function<void()> _fnEnd);
    ~CZClip();
    CZClip(const CZClip&) = delete;
    CZClip& operator=(const CZClip&) = delete;

    /// What the input says about its frames.
    const STREAM& Stream() const
    {
        return m_stream;
    }
    /// Whether it goes on by itself: standard input, or a pipe.
    bool IsLive() const
    {
        return m_bLive;
    }
    /// How many frames there are; -1 while nobody has seen the last one of an input that does not say.
    int64_t Frames() const
    {
        return m_nFrames;
    }
    /// A frame, counted from 0. Of a live input the newest one where that frame is not kept; for one that has not come
    /// yet, waits up to two seconds while _bWait.
    CLIP_FRAME Frame(int64_t _nFrame, bool _bWait);
    /// Whoever waits comes back, now and from now on.
    void Stop();

private:
    /// A decoded frame.
    struct KEPT
    {
        int64_t nFrame;
        int64_t cbFrame;
        CZPtr<IZFFrame> cpFrame;
    };

    CLIP_FRAME LiveFrame(int64_t _nFrame, bool _bWait);
    CZPtr<IZFFrame> Decode();
    void OpenAt(int64_t _nFrame);
    void FindEnd();
    CZPtr<IZFFrame> Find(int64_t _nFrame);
    void Keep(int64_t _nFrame, CZPtr<IZFFrame> _cpFrame, bool _bAsked);
    void TakeLive(CZPtr<IZFFrame> _cpFrame, const std::string& _strReason);
    void End(int64_t _nFrames);

    std::string m_strInput;
    std::string m_strRawSpec;
    int64_t m_cbMost;
    std::function<void()> m_fnEnd;
    STREAM m_stream;
    bool m_bLive;
    std::atomic<int64_t> m_nFrames{-1};

    std::mutex m_mtxClip; ///< guards what follows, and is held while a frame is decoded
    std::condition_variable m_cvLive;
    std::unique_ptr<CZFrameSource> m_upSource;
    int64_t m_nNext = 0;        ///< the number of the frame that the source gives next
    int64_t m_nSeen = 0;        ///< frames that are known to be there
    std::list<KEPT> m_listKept; ///< the one that was asked for last in front
    int64_t m_cbKept = 0;
    bool m_bStop = false;
    std::unique_ptr<CZLiveFeed> m_upFeed; // the last one: its thread uses the others
};
