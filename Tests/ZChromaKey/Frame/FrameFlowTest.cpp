#include "Support/AllocCounter.h"
#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "ZChromaKey/Objects/TestKeyer.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

namespace
{

/// Frames in and results out of a plug-in object with "output.thread" on.
class FrameFlow : public CKeyerTest
{
protected:
    FrameFlow()
    {
        Set(L"output.thread", L"true");
    }
    void TearDown() override
    {
        m_evtGo.Set();
        CKeyerTest::TearDown();
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
        const auto cpRes = CKeyerTest::Receive(_pFrame, _hrExpected);
        EXPECT_EQ(static_cast<bool>(MaskOf(cpRes.Get())), _hrExpected == S_OK);
        return cpRes ? PropsOf(cpRes.Get()).nWidth : 0;
    }

    CZEvent m_evtBusy;
    CZEvent m_evtGo;
};

TEST_F(FrameFlow, GivesEachResultOrFailureWithTheNextCall)
{
    const CLogCatcher log;
    const auto cpFails =
        Frame(72, [](const std::string& _strMethod) { return _strMethod == "FrameCreate" ? E_OUTOFMEMORY : S_OK; });
    EXPECT_EQ(Receive(nullptr, S_FALSE), 0);
    EXPECT_EQ(Receive(Frame(64).Get(), S_FALSE), 0);
    EXPECT_EQ(Receive(Frame(72).Get()), 64);
    EXPECT_EQ(Receive(Frame(80).Get()), 72);
    EXPECT_EQ(Receive(nullptr), 80);
    EXPECT_EQ(Receive(nullptr, S_FALSE), 0);
    EXPECT_EQ(m_cpKeyer->OnMediaEnd(), S_OK);
    EXPECT_EQ(Receive(cpFails.Get(), S_FALSE), 0);
    EXPECT_EQ(Receive(Frame(88).Get(), E_OUTOFMEMORY), 0);
    uint64_t nIdentity = 0;
    EXPECT_EQ(cpFails->FrameIdGet(&nIdentity), S_OK);
    EXPECT_EQ(log.Count("there is no result for the frame of identity " + std::to_string(nIdentity)), 1u);
    EXPECT_EQ(Receive(nullptr), 88) << "the frame given with the failing call was taken";
    EXPECT_EQ(log.Count("CK::OnMediaReceive() m_cpFrameIn=", eZLog_Verbose), 5u);
    EXPECT_EQ(log.Count("CCoZChromaKey::OnMediaEnd()"), 1u);
}

TEST_F(FrameFlow, TimesOutWithoutTakingTheFrameAndDropsWhenTheThreadIsSwitchedOff)
{
    for (const auto& [bSwitchOff, bFlush] : {std::pair{false, false}, {true, false}, {true, true}})
    {
        SCOPED_TRACE(testing::Message() << "switched off " << bSwitchOff << ", flushed " << bFlush);
        m_evtGo.Reset();
        m_evtBusy.Reset();
        Set(L"output.thread", L"true");
        EXPECT_EQ(Receive(SlowFrame(64).Get(), S_FALSE), 0);
        ASSERT_TRUE(m_evtBusy.Wait(10'000));
        Set(L"output.thread", bSwitchOff ? L"false" : L"true");
        EXPECT_EQ(bFlush ? m_cpKeyer->OnMediaFlush() : S_OK, S_OK);
        const auto timeBegin = std::chrono::steady_clock::now();
        EXPECT_EQ(Receive(Frame(72).Get(), Z_E_TIMEOUT), 0);
        EXPECT_GE(std::chrono::steady_clock::now() - timeBegin, std::chrono::milliseconds(1000));
        m_evtGo.Set();
        EXPECT_EQ(Receive(Frame(80).Get()), bSwitchOff ? 80 : 64);
        Set(L"output.thread", L"false"); // a null frame still fetches what has not been dropped
        EXPECT_EQ(Receive(nullptr, bSwitchOff ? S_FALSE : S_OK), bSwitchOff ? 0 : 80);
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
    EXPECT_EQ(Receive(nullptr), 72) << "the second one is not dropped";
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

TEST_F(FrameFlow, DoesNotWaitForACloseThatTakesLong)
{
    const CLogCatcher log;
    EXPECT_EQ(Receive(SlowFrame(64).Get(), S_FALSE), 0);
    ASSERT_TRUE(m_evtBusy.Wait(10'000));
    std::atomic<bool> bClosed = false;
    std::thread thrClose([&] {
        EXPECT_EQ(m_cpKeyer->Close(), S_OK);
        bClosed = true;
    });
    EXPECT_TRUE(log.Wait("CCoZChromaKey::Close()", 10'000)); // the last step before it waits for the frame
    const auto timeBegin = std::chrono::steady_clock::now();
    for (const wchar_t* pwszThread : {L"true", L"false"})
    {
        Set(L"output.thread", pwszThread);
        EXPECT_EQ(Receive(Frame(72).Get(), Z_E_TIMEOUT), 0);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - timeBegin, std::chrono::milliseconds(4000));
    EXPECT_FALSE(bClosed);
    m_evtGo.Set();
    thrClose.join();
}

TEST_F(FrameFlow, DoesNotAllocateOnceItIsWarm)
{
    const std::pair<const wchar_t*, const wchar_t*> arrThreads[] = {
        {L"true", nullptr}, {L"true", L"1"},   {L"true", L"40"},          {L"false", L"40"},
        {L"false", L"0"},   {L"false", L"-3"}, {L"false", L"-2147483648"}};
    const uint32_t arrFormats[] = {eZFCC_RGB24, eZFCC_RGB32, eZFCC_ARGB32, eZFCC_UYVY};
    int nRun = 0;
    for (const auto& [pwszOutput, pwszProcess] : arrThreads)
        for (const uint32_t fccType : arrFormats)
        {
            SCOPED_TRACE(testing::Message() << "run " << nRun << " format " << std::hex << fccType);
            CHROMA_KEY_RAW key = TestKey(eCKT_RGB + nRun % 3);
            key.nKeysUsed = 2;
            key.arrKeys[0].nCancelPower = 64;
            key.arrKeys[1] = {0x102030, 0x101010, 0, 0, 0, 0, 0, 0, 0, 1};
            key.nEdgesSmooth = 1;
            key.bColorCancel = nRun % 2;
            KeySet(key);
            Set(L"output.thread", pwszOutput);
            Set(L"process.threads", pwszProcess);
            Set(L"output.argb", nRun++ % 5 ? L"false" : L"true");
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
                vecFrames[n % 2]->IdentityRenew();
                m_cpKeyer->OnMediaReceive(vecFrames[n % 2].Get(), arrRes[n < 4 ? n : 0].Put());
                if (n == 3)
                    std::ranges::for_each(arrRes, &CZPtr<IZFFrame>::Reset);
            }
            m_cpKeyer->OnMediaReceive(nullptr, arrRes[0].Put());
            EXPECT_EQ(AllocCount() - nWarm, 0u) << "a thread that starts takes memory, too";
        }
    EXPECT_GT(AllocCount(), 0u);
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
