#include "ZChromaKey/CoZChromaKey.h"

#include "Support/AllocCounter.h"
#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "Support/TestFrames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

namespace
{

/// No GPU, on any system.
class CNoGPU final : public CGPUKeyer
{
public:
    HRESULT ProcessFrame(IZFFrame*, const CHROMA_KEY_RAW&, const GPU_KEY_OPTIONS&, IZFFrame**) override
    {
        return E_NOTIMPL;
    }
    void Close() override
    {
    }
};

/// Frames in and results out of a plug-in object with "output.thread" on.
class FrameFlow : public testing::Test
{
protected:
    FrameFlow()
        : m_cpKeyer(CZPtr<CCoZChromaKey>::Adopt(new CCoZChromaKey(std::make_unique<CNoGPU>())))
    {
        KeySet(TestKey(eCKT_RGB));
    }
    void TearDown() override
    {
        m_evtGo.Set();
        m_cpKeyer.Reset();
        EXPECT_TRUE(ZModule_IsIdle());
    }
    void KeySet(const CHROMA_KEY_RAW& _key)
    {
        EXPECT_EQ(m_cpKeyer->KeyRawSet(&_key, nullptr), S_OK);
    }
    /// A frame that is recognised in a result by its width; the hook sees what is done with it.
    CZPtr<CHookFrame> Frame(
        int _nWidth, CHookFrame::HOOK _fnHook = [](const std::string&) { return S_OK; })
    {
        return CHookFrame::Make(TestFrame_Make(eZFCC_RGB32, _nWidth, -32).Get(), std::move(_fnHook));
    }
    /// A frame whose processing waits for m_evtGo.
    CZPtr<CHookFrame> SlowFrame(int _nWidth)
    {
        return Frame(_nWidth, [this](const std::string& _strMethod) {
            if (_strMethod == "FrameCreate")
            {
                m_evtBusy.Set();
                m_evtGo.Wait(20'000);
            }
            return S_OK;
        });
    }
    /// The width of the result, checked to be keyed; 0 where there is none.
    int Receive(IZFFrame* _pFrame, HRESULT _hrExpected = S_OK)
    {
        CZPtr<IZFFrame> cpRes;
        EXPECT_EQ(m_cpKeyer->OnMediaReceive(_pFrame, cpRes.Put()), _hrExpected);
        EXPECT_EQ(static_cast<bool>(cpRes), _hrExpected == S_OK);
        if (!cpRes)
            return 0;
        CZPtr<IUnknown> cpMask;
        EXPECT_EQ(cpRes->AttachmentGet(L"mask", cpMask.Put()), S_OK);
        ZF_VID_PROPS vidProps = {};
        EXPECT_EQ(cpRes->VideoPropsGet(&vidProps), S_OK);
        return vidProps.nWidth;
    }

    CZEvent m_evtBusy;
    CZEvent m_evtGo;
    CZPtr<CCoZChromaKey> m_cpKeyer;
};

ULONG RefsOf(IZFFrame* _pObject)
{
    _pObject->AddRef();
    return _pObject->Release();
}

TEST_F(FrameFlow, GivesEachResultWithTheNextCall)
{
    const CLogCatcher log;
    EXPECT_EQ(Receive(nullptr, S_FALSE), 0);
    EXPECT_EQ(Receive(Frame(64).Get(), S_FALSE), 0);
    EXPECT_EQ(Receive(Frame(72).Get()), 64);
    EXPECT_EQ(Receive(Frame(80).Get()), 72);
    EXPECT_EQ(Receive(nullptr), 80);
    EXPECT_EQ(Receive(nullptr, S_FALSE), 0);
    EXPECT_EQ(m_cpKeyer->OnMediaEnd(), S_OK);
    EXPECT_EQ(Receive(Frame(88).Get(), S_FALSE), 0);
    EXPECT_EQ(log.Count("CK::OnMediaReceive() m_cpFrameIn=", eZLog_Verbose), 4u);
    EXPECT_EQ(log.Count("CCoZChromaKey::OnMediaEnd()"), 1u);
}

TEST_F(FrameFlow, HandsBackAFrameThatIsNotKeyed)
{
    KeySet(TestKey(eCKT_None));
    const auto cpFrame = Frame(64);
    CZPtr<IZFFrame> cpRes;
    EXPECT_EQ(m_cpKeyer->OnMediaReceive(cpFrame.Get(), cpRes.Put()), S_FALSE);
    EXPECT_EQ(m_cpKeyer->OnMediaReceive(nullptr, cpRes.Put()), S_OK);
    EXPECT_EQ(cpRes.Get(), cpFrame.Get());
}

TEST_F(FrameFlow, ReportsAFailureWithTheCallThatFetchesTheFrame)
{
    const CLogCatcher log(eZLog_Error);
    const auto cpFails =
        Frame(72, [](const std::string& _strMethod) { return _strMethod == "FrameCreate" ? E_OUTOFMEMORY : S_OK; });
    EXPECT_EQ(Receive(cpFails.Get(), S_FALSE), 0);
    EXPECT_EQ(Receive(Frame(80).Get(), E_OUTOFMEMORY), 0);
    EXPECT_EQ(Receive(nullptr), 80) << "the frame given with the failing call was taken";

    EXPECT_EQ(m_cpKeyer->PropsSet(L"gpu_mode", L"1"), S_OK);
    EXPECT_EQ(Receive(Frame(64).Get(), S_FALSE), 0);
    EXPECT_EQ(Receive(nullptr, E_NOTIMPL), 0) << "there is no GPU";
}

TEST_F(FrameFlow, TimesOutWithoutTakingTheFrame)
{
    EXPECT_EQ(Receive(SlowFrame(64).Get(), S_FALSE), 0);
    const auto cpRefused = Frame(72);
    const auto timeBegin = std::chrono::steady_clock::now();
    EXPECT_EQ(Receive(cpRefused.Get(), Z_E_TIMEOUT), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - timeBegin, std::chrono::milliseconds(1000));
    m_evtGo.Set();
    EXPECT_EQ(Receive(Frame(80).Get()), 64);
    EXPECT_EQ(Receive(nullptr), 80);
}

TEST_F(FrameFlow, DropsWhatIsUnderWayWhenTheThreadIsSwitchedOff)
{
    EXPECT_EQ(Receive(Frame(64).Get(), S_FALSE), 0);
    EXPECT_EQ(m_cpKeyer->PropsSet(L"output.thread", L"false"), S_OK);
    EXPECT_EQ(Receive(Frame(72).Get()), 72);
    EXPECT_EQ(Receive(Frame(80).Get()), 80);
    EXPECT_EQ(Receive(nullptr, S_FALSE), 0);
    EXPECT_EQ(m_cpKeyer->PropsSet(L"output.thread", L"true"), S_OK);
    EXPECT_EQ(Receive(Frame(88).Get(), S_FALSE), 0) << "nothing old comes back";
    EXPECT_EQ(m_cpKeyer->PropsSet(L"output.thread", L"false"), S_OK);
    EXPECT_EQ(Receive(nullptr), 88) << "a null frame still fetches it";
}

TEST_F(FrameFlow, WaitsForTheThreadWhenItIsSwitchedOff)
{
    for (const bool bFlush : {false, true})
    {
        m_evtGo.Reset();
        m_evtBusy.Reset();
        EXPECT_EQ(m_cpKeyer->PropsSet(L"output.thread", L"true"), S_OK);
        EXPECT_EQ(Receive(SlowFrame(64).Get(), S_FALSE), 0);
        ASSERT_TRUE(m_evtBusy.Wait(10'000));
        EXPECT_EQ(m_cpKeyer->PropsSet(L"output.thread", L"false"), S_OK);
        if (bFlush)
        {
            EXPECT_EQ(m_cpKeyer->OnMediaFlush(), S_OK);
        }
        const auto timeBegin = std::chrono::steady_clock::now();
        EXPECT_EQ(Receive(Frame(72).Get(), Z_E_TIMEOUT), 0);
        EXPECT_GE(std::chrono::steady_clock::now() - timeBegin, std::chrono::milliseconds(1000));
        m_evtGo.Set();
        EXPECT_EQ(Receive(Frame(80).Get()), 80);
        EXPECT_EQ(Receive(nullptr, S_FALSE), 0);
    }
}

TEST_F(FrameFlow, FlushAndCloseDropWhatIsUnderWay)
{
    const CLogCatcher log;
    const auto cpFrame = SlowFrame(64);
    EXPECT_EQ(Receive(cpFrame.Get(), S_FALSE), 0);
    ASSERT_TRUE(m_evtBusy.Wait(10'000));
    EXPECT_EQ(m_cpKeyer->OnMediaFlush(), S_OK); // while it is processed
    m_evtGo.Set();
    EXPECT_EQ(Receive(Frame(72).Get(), S_FALSE), 0);
    while (Receive(nullptr) != 72) // the second one is not dropped
        ASSERT_FALSE(HasFailure());
    const auto cpDropped = Frame(80);
    EXPECT_EQ(Receive(cpDropped.Get(), S_FALSE), 0);
    EXPECT_EQ(m_cpKeyer->Close(), S_OK);
    EXPECT_EQ(Receive(nullptr, S_FALSE), 0);
    EXPECT_EQ(RefsOf(cpFrame.Get()), 1u);
    EXPECT_EQ(RefsOf(cpDropped.Get()), 1u);

    const auto cpLast = Frame(88);
    EXPECT_EQ(Receive(cpLast.Get(), S_FALSE), 0) << "works again after Close";
    EXPECT_EQ(Receive(cpLast.Get()), 88);
    m_cpKeyer.Reset();
    EXPECT_EQ(RefsOf(cpLast.Get()), 1u);
    EXPECT_EQ(log.Count("CCoZChromaKey::OnMediaFlush()"), 1u);
    EXPECT_EQ(log.Count("CCoZChromaKey::FinalRelease()"), 1u);
    EXPECT_EQ(log.Count("CCoZChromaKey::Close()"), 2u);
    EXPECT_EQ(log.Count("WARNING"), 0u);
}

TEST(FrameFlowThread, OutlivesAStopThatTakesTooLong)
{
    CZEvent evtGo;
    CZEvent evtBusy;
    std::atomic<int> nProcessed{0};
    CFrameFlow flow([&](IZFFrame*, IZFFrame**) {
        evtBusy.Set();
        evtGo.Wait(20'000);
        ++nProcessed;
        return S_FALSE;
    });
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 32, 16);
    CZPtr<IZFFrame> cpRes;
    EXPECT_EQ(flow.Receive(cpFrame.Get(), cpRes.Put()), S_FALSE);
    ASSERT_TRUE(evtBusy.Wait(10'000));
    EXPECT_EQ(flow.Close(10), Z_E_TIMEOUT);
    evtGo.Set();
    EXPECT_EQ(flow.Receive(cpFrame.Get(), cpRes.Put()), S_FALSE) << "starts again; the frame before was dropped";
    EXPECT_EQ(flow.Receive(nullptr, cpRes.Put()), S_OK);
    EXPECT_EQ(cpRes.Get(), cpFrame.Get());
    EXPECT_EQ(nProcessed, 2);

    evtGo.Reset();
    evtBusy.Reset();
    EXPECT_EQ(flow.Receive(cpFrame.Get(), cpRes.Put()), S_FALSE);
    ASSERT_TRUE(evtBusy.Wait(10'000));
    EXPECT_EQ(flow.Close(10), Z_E_TIMEOUT);
    const CLogCatcher log;
    CZEvent evtGone;
    EXPECT_TRUE(flow.Abandon([&] { evtGone.Set(); }));
    EXPECT_EQ(log.Count("NOT STOPPED before destroying", eZLog_Warning), 1u);
    EXPECT_FALSE(evtGone.Wait(0));
    evtGo.Set();
    EXPECT_TRUE(evtGone.Wait(10'000)) << "the thread's last act";
    EXPECT_EQ(RefsOf(cpFrame.Get()), 1u);
}

TEST(FrameFlowThread, DoesNotWaitForACloseThatTakesLong)
{
    CZEvent evtGo;
    CZEvent evtBusy;
    CFrameFlow flow([&](IZFFrame*, IZFFrame**) {
        evtBusy.Set();
        evtGo.Wait(20'000);
        return S_FALSE;
    });
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 32, 16);
    CZPtr<IZFFrame> cpRes;
    EXPECT_EQ(flow.Receive(cpFrame.Get(), cpRes.Put()), S_FALSE);
    ASSERT_TRUE(evtBusy.Wait(10'000));
    std::thread thrClose([&] { EXPECT_EQ(flow.Close(), S_OK); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50)); // it waits for the frame by now
    const auto timeBegin = std::chrono::steady_clock::now();
    EXPECT_EQ(flow.Receive(cpFrame.Get(), cpRes.Put()), Z_E_TIMEOUT);
    EXPECT_EQ(flow.ReceiveNow(cpFrame.Get(), cpRes.Put()), Z_E_TIMEOUT);
    EXPECT_LT(std::chrono::steady_clock::now() - timeBegin, std::chrono::milliseconds(4000));
    evtGo.Set();
    thrClose.join();
}

TEST_F(FrameFlow, DoesNotAllocateOnceItIsWarm)
{
    for (const wchar_t* pwszThread : {L"true", L"false"})
        for (const uint32_t fccType : {eZFCC_RGB24, eZFCC_RGB32, eZFCC_ARGB32, eZFCC_UYVY})
        {
            SCOPED_TRACE(testing::Message() << std::hex << fccType);
            CHROMA_KEY_RAW key = TestKey(eCKT_RGB);
            key.arrKeys[0].nCancelPower = 64;
            key.bColorCancel = fccType == eZFCC_RGB24 || fccType == eZFCC_UYVY;
            KeySet(key);
            EXPECT_EQ(m_cpKeyer->PropsSet(L"output.thread", pwszThread), S_OK);
            EXPECT_EQ(m_cpKeyer->PropsSet(L"output.argb", fccType == eZFCC_UYVY ? L"true" : L"false"), S_OK);
            // The first results are kept for a while, so that as many frames are made as can be under way at a time.
            CZPtr<IZFFrame> arrRes[4];
            std::vector<CZPtr<CZFrame>> vecFrames; // two, in turn, with a new identity each time
            vecFrames.push_back(TestFrame_Make(fccType, 320, -96));
            vecFrames.push_back(TestFrame_Make(fccType, 320, -96, vecFrames[0]->Pool()));
            uint64_t nWarm = 0;
            for (int n = 0; n < 40; ++n)
            {
                if (n == 4)
                    nWarm = AllocCount();
                CZFrame* const pFrame = vecFrames[n % 2].Get();
                pFrame->IdentityRenew();
                m_cpKeyer->OnMediaReceive(pFrame, arrRes[n < 4 ? n : 0].Put());
                if (n == 3)
                    std::ranges::for_each(arrRes, &CZPtr<IZFFrame>::Reset);
            }
            m_cpKeyer->OnMediaReceive(nullptr, arrRes[0].Put());
            EXPECT_EQ(AllocCount() - nWarm, 0u);
        }
    EXPECT_GT(AllocCount(), 0u);
}

TEST_F(FrameFlow, KeepsItsThreadsWhateverTheirNumber)
{
    EXPECT_EQ(m_cpKeyer->PropsSet(L"output.thread", L"false"), S_OK);
    const auto cpFrame = TestFrame_Make(eZFCC_RGB32, 64, -96);
    for (const wchar_t* pwszThreads : {L"40", L"0", L"-3", L"-2147483648"})
    {
        EXPECT_EQ(m_cpKeyer->PropsSet(L"process.threads", pwszThreads), S_OK);
        uint64_t nWarm = 0;
        for (int n = 0; n < 12; ++n)
        {
            if (n == 4)
                nWarm = AllocCount();
            cpFrame->IdentityRenew();
            EXPECT_EQ(Receive(cpFrame.Get()), 64);
        }
        EXPECT_EQ(AllocCount() - nWarm, 0u) << "a thread that starts takes memory";
    }
}

TEST_F(FrameFlow, LetsGoOfFramesBehindItsLocks)
{
    int nReleased = 0;
    EXPECT_EQ(m_cpKeyer->PropsSet(L"output.thread", L"false"), S_OK);
    for (const int nWidth : {64, 72, 80})
    {
        // Called when the frame ends, with its hook: the host calls back, which takes the lock of processing.
        const auto fnEnd = [this, &nReleased](void*) {
            ++nReleased;
            EXPECT_EQ(m_cpKeyer->Close(), S_OK);
        };
        std::shared_ptr<void> spEnd(nullptr, fnEnd);
        EXPECT_EQ(Receive(Frame(nWidth, [spEnd](const std::string&) { return S_OK; }).Get()), nWidth);
    }
    EXPECT_EQ(nReleased, 2);
    EXPECT_EQ(m_cpKeyer->Close(), S_OK);
    EXPECT_EQ(nReleased, 3);
}

TEST_F(FrameFlow, StandsCallsFromOtherThreadsWhileFramesRun)
{
    const CLogCatcher log(eZLog_Error);
    std::atomic<bool> bStop{false};
    const auto Loop = [&](auto _fnStep) {
        return std::thread([&bStop, _fnStep] {
            for (int n = 0; !bStop; ++n)
                _fnStep(n);
        });
    };
    const wchar_t* const arrNumbers[] = {L"1", L"2", L"3", L"4"};
    std::thread arrThreads[] = {
        Loop([this](int _n) {
            KeySet(TestKey(_n % 3 ? eCKT_RGB + _n % 4 : eCKT_None));
            CHROMA_KEY_RAW key = {};
            m_cpKeyer->KeyRawGet(&key, nullptr);
        }),
        Loop([this, &arrNumbers](int _n) {
            m_cpKeyer->PropsSet(L"process.threads", arrNumbers[_n % 4]);
            m_cpKeyer->PropsSet(L"output.argb", arrNumbers[_n % 2]);
            m_cpKeyer->PropsSet(L"output.thread", _n % 8 < 4 ? L"true" : L"false");
            m_cpKeyer->PropsSet(L"keying.borders", _n % 3 ? L"" : L"8,2,8,2");
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }),
        Loop([this](int _n) {
            EXPECT_EQ(_n % 2 ? m_cpKeyer->OnMediaFlush() : m_cpKeyer->Close(), S_OK);
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }),
    };
    const auto cpRGB = TestFrame_Make(eZFCC_RGB32, 64, 32);
    const auto cpYUV = TestFrame_Make(eZFCC_UYVY, 64, 32);
    int nResults = 0;
    for (int n = 0; n < 1500; ++n)
    {
        IZFFrame* const pFrame = n % 7 == 6 ? nullptr : static_cast<IZFFrame*>(n % 3 ? cpRGB.Get() : cpYUV.Get());
        CZPtr<IZFFrame> cpRes;
        const HRESULT hr = m_cpKeyer->OnMediaReceive(pFrame, cpRes.Put());
        EXPECT_TRUE(hr == S_OK || hr == S_FALSE) << std::hex << hr;
        nResults += hr == S_OK;
    }
    bStop = true;
    for (std::thread& thrOther : arrThreads)
        thrOther.join();
    EXPECT_GT(nResults, 100);
    EXPECT_EQ(log.Count(""), 0u);
}

TEST_F(FrameFlow, AsksAFrameForItsTextUnderNoLock)
{
    const CLogCatcher log;
    std::atomic<bool> bAsked = false;
    CZEvent evtFlushed;
    std::thread thrFlush;
    const auto cpFrame = Frame(64, [&](const std::string& _strMethod) {
        if (_strMethod == "TimeCodeGet" && !bAsked.exchange(true))
        {
            thrFlush = std::thread([&] {
                m_cpKeyer->OnMediaFlush();
                evtFlushed.Set();
            });
            EXPECT_TRUE(evtFlushed.Wait(5000));
        }
        return S_OK;
    });
    Receive(cpFrame.Get(), S_FALSE);
    thrFlush.join();
    EXPECT_EQ(Receive(nullptr), 64);
}

} // namespace
