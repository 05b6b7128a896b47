#include "zkhost/Ui/LiveFeed.h"

#include "Base/ZThread.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

namespace
{

using CLOCK = std::chrono::steady_clock;

constexpr uint32_t c_nStopMs = 300;
constexpr double c_dblHaste = 0.9; // of the time between frames: what has piled up is caught up with

std::atomic<bool> g_bLeft{false};

CLOCK::duration TimeBetween(const STREAM& _stream)
{
    const double dblSeconds =
        _stream.nRateNum > 0 ? static_cast<double>(_stream.nRateDen) / static_cast<double>(_stream.nRateNum) : 0;
    return std::chrono::duration_cast<CLOCK::duration>(std::chrono::duration<double>(c_dblHaste * dblSeconds));
}

} // namespace

struct CZLiveFeed::STATE
{
    std::unique_ptr<CZFrameSource> upSource;
    CZEvent evStop;
    CZEvent evEnded;
    std::mutex mtxTake; ///< held during each call; fnTake is empty once nothing is to be called
    TAKE fnTake;

    void Take(CZPtr<IZFFrame> _cpFrame, const std::string& _strReason)
    {
        const std::lock_guard lock(mtxTake);
        if (fnTake)
            fnTake(std::move(_cpFrame), _strReason);
    }
};

CZLiveFeed::CZLiveFeed(std::unique_ptr<CZFrameSource> _upSource, TAKE _fnTake)
    : m_spState(std::make_shared<STATE>())
{
    m_spState->upSource = std::move(_upSource);
    m_spState->fnTake = std::move(_fnTake);
    std::thread([spState = m_spState] {
        Read(*spState);
        spState->evEnded.Set();
    }).detach();
}

CZLiveFeed::~CZLiveFeed()
{
    m_spState->evStop.Set();
    {
        const std::lock_guard lock(m_spState->mtxTake);
        m_spState->fnTake = nullptr;
    }
    if (!m_spState->evEnded.Wait(c_nStopMs))
        g_bLeft = true;
}

void CZLiveFeed::Read(STATE& _state)
{
    std::string strReason;
    try
    {
        const CLOCK::duration timeBetween = TimeBetween(_state.upSource->Stream());
        CLOCK::time_point timeNext = CLOCK::now();
        while (!_state.evStop.Wait(0))
        {
            CZPtr<IZFFrame> cpFrame = _state.upSource->Next();
            if (!cpFrame)
                break;
            _state.Take(std::move(cpFrame), {});
            timeNext = std::max(timeNext, CLOCK::now() - timeBetween) + timeBetween;
            const auto nMs = std::chrono::duration_cast<std::chrono::milliseconds>(timeNext - CLOCK::now()).count();
            _state.evStop.Wait(nMs > 0 ? static_cast<uint32_t>(nMs) : 0);
        }
    }
    catch (const std::exception& error)
    {
        strReason = error.what();
    }
    _state.Take({}, strReason);
}

bool LiveFeed_IsLeft()
{
    return g_bLeft;
}
