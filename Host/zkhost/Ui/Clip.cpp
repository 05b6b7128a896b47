#include "zkhost/Ui/Clip.h"

#include "Kit/HostError.h"

#include "Base/ZLog.h"
#include "Base/ZPlanes.h"
#include "Props/TempFile.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <utility>

namespace
{

constexpr std::chrono::seconds c_timeWait{2};
constexpr int64_t c_nBefore = 12; // frames that are decoded on the way back
constexpr int64_t c_nFar = 48;    // frames after which a jump is quicker than reading on

bool IsPipe(const std::string& _strPath)
{
    std::error_code error;
    return _strPath == "-" || std::filesystem::is_fifo(File_Path(_strPath), error);
}

} // namespace

CZClip::CZClip(std::string _strInput, std::string _strRawSpec, int64_t _cbMost, std::function<void()> _fnEnd)
    : m_strInput(std::move(_strInput))
    , m_strRawSpec(std::move(_strRawSpec))
    , m_cbMost(_cbMost)
    , m_fnEnd(std::move(_fnEnd))
    , m_bLive(IsPipe(m_strInput))
    , m_upSource(Stream_Open(m_strInput, m_strRawSpec))
{
    m_stream = m_upSource->Stream();
    m_nFrames = m_bLive ? -1 : m_stream.nFrames;
    if (m_bLive)
        m_upFeed = std::make_unique<CZLiveFeed>(std::move(m_upSource),
                                                [this](CZPtr<IZFFrame> _cpFrame, const std::string& _strReason) {
                                                    TakeLive(std::move(_cpFrame), _strReason);
                                                });
}

CZClip::~CZClip()
{
    Stop();
    m_upFeed.reset();
}

void CZClip::Stop()
{
    const std::lock_guard lock(m_mtxClip);
    m_bStop = true;
    m_cvLive.notify_all();
}

CZPtr<IZFFrame> CZClip::Find(int64_t _nFrame)
{
    const auto it = std::ranges::find(m_listKept, _nFrame, &KEPT::nFrame);
    if (it == m_listKept.end())
        return {};
    m_listKept.splice(m_listKept.begin(), m_listKept, it);
    return m_listKept.front().cpFrame;
}

/// Nobody has asked for the frames of a live input: they come after the one that somebody looks at.
void CZClip::Keep(int64_t _nFrame, CZPtr<IZFFrame> _cpFrame, bool _bAsked)
{
    ZF_VID_PROPS vidProps = {};
    _cpFrame->VideoPropsGet(&vidProps);
    const int64_t cbFrame = VidProps_ImageSize(&vidProps);
    const auto itPlace = _bAsked || m_listKept.empty() ? m_listKept.begin() : std::next(m_listKept.begin());
    m_listKept.insert(itPlace, {_nFrame, cbFrame, std::move(_cpFrame)});
    m_cbKept += cbFrame;
    while (m_cbKept > m_cbMost && m_listKept.size() > 2)
    {
        m_cbKept -= m_listKept.back().cbFrame;
        m_listKept.pop_back();
    }
}

void CZClip::End(int64_t _nFrames)
{
    m_nFrames = _nFrames;
    m_cvLive.notify_all();
    m_fnEnd();
}

void CZClip::TakeLive(CZPtr<IZFFrame> _cpFrame, const std::string& _strReason)
{
    if (!_strReason.empty())
        ZLog(eZLog_Warning, "the live input has ended: %s\n", _strReason);
    const std::lock_guard lock(m_mtxClip);
    if (!_cpFrame)
        return End(m_nNext);
    Keep(m_nNext++, std::move(_cpFrame), false);
    m_cvLive.notify_all();
}

/// The next frame, which is kept; null at the end, or where the rest is damaged.
CZPtr<IZFFrame> CZClip::Decode()
{
    CZPtr<IZFFrame> cpFrame;
    try
    {
        cpFrame = m_upSource->Next();
    }
    catch (const CZHostError& error)
    {
        ZLog(eZLog_Warning, "the clip is taken to end before frame %d: %s\n", m_nNext, error.what());
    }
    if (!cpFrame)
        return {};
    Keep(m_nNext++, cpFrame, true);
    m_nSeen = std::max(m_nSeen, m_nNext);
    return cpFrame;
}

void CZClip::OpenAt(int64_t _nFrame)
{
    m_upSource = Stream_OpenAt(m_strInput, m_strRawSpec, _nFrame);
    m_nNext = _nFrame;
}

/// There is no next frame: counts those that there are, where a jump has gone past them.
void CZClip::FindEnd()
{
    if (m_nNext > m_nSeen)
    {
        OpenAt(m_nSeen);
        while (Decode())
            ;
    }
    End(m_nNext);
}

CLIP_FRAME CZClip::LiveFrame(int64_t _nFrame, bool _bWait)
{
    std::unique_lock lock(m_mtxClip);
    if (CZPtr<IZFFrame> cpFrame = Find(_nFrame))
        return {_nFrame, std::move(cpFrame)};
    const int64_t nAwaited = _bWait && _nFrame != c_nNewest ? _nFrame : 0;
    m_cvLive.wait_for(lock, c_timeWait, [&] { return m_bStop || m_nFrames >= 0 || m_nNext > nAwaited; });
    if (m_nNext > nAwaited)
        return {m_nNext - 1, Find(m_nNext - 1)};
    return {_nFrame, {}, m_nFrames >= 0};
}

CLIP_FRAME CZClip::Frame(int64_t _nFrame, bool _bWait)
{
    if (m_bLive)
        return LiveFrame(_nFrame, _bWait);
    const std::lock_guard lock(m_mtxClip);
    if (_nFrame < 0 || (m_nFrames >= 0 && _nFrame >= m_nFrames))
        return {_nFrame, {}, true};
    if (CZPtr<IZFFrame> cpFrame = Find(_nFrame))
        return {_nFrame, std::move(cpFrame)};
    if (_nFrame < m_nNext) // what is before it may be asked for next
        OpenAt(std::max<int64_t>(_nFrame - c_nBefore, 0));
    else if (_nFrame > m_nNext + c_nFar)
        OpenAt(_nFrame);
    CZPtr<IZFFrame> cpFrame;
    while (m_nNext <= _nFrame)
    {
        cpFrame = Decode();
        if (!cpFrame)
        {
            FindEnd();
            return {_nFrame, {}, true};
        }
    }
    return {_nFrame, std::move(cpFrame)};
}
