#include "Base/ZLog.h"
#include "Base/ZThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace
{

using CLOCK = std::chrono::steady_clock;

double SecondsSince(CLOCK::time_point _tpStart)
{
    return std::chrono::duration<double>(CLOCK::now() - _tpStart).count();
}

/// Keeps the last line while it is the module's sink.
class CLastLine : public IZLogSink
{
public:
    CLastLine()
    {
        ZLog_Set(this, eZLog_Warning);
    }
    ~CLastLine()
    {
        ZLog_Set(nullptr, eZLog_Warning);
    }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** _ppvObject) override
    {
        *_ppvObject = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override
    {
        return 2;
    }
    ULONG STDMETHODCALLTYPE Release() override
    {
        return 1;
    }
    void STDMETHODCALLTYPE LogLine(int32_t, const char* _pszText) override
    {
        m_strLine = _pszText;
    }
    std::string m_strLine;
};

TEST(Event, StaysSignalledUntilReset)
{
    CZEvent evtDone;
    const auto tpStart = CLOCK::now();
    EXPECT_FALSE(evtDone.Wait(30));
    EXPECT_GE(SecondsSince(tpStart), 0.029);
    evtDone.Set();
    EXPECT_TRUE(evtDone.Wait(0));
    EXPECT_TRUE(evtDone.Wait(0));
    evtDone.Reset();
    EXPECT_FALSE(evtDone.Wait(0));
    EXPECT_TRUE(CZEvent(true).Wait(0));
}

TEST(Thread, RunsTheBodyOncePerWakeUp)
{
    struct OWNER
    {
        int nRuns = 0; // no lock: the hand-over through the event must be enough
        CZEvent evtDone;
        void Body()
        {
            ++nRuns;
            evtDone.Set();
        }
    } owner;
    CSimpleThreadBase<OWNER> thread;
    EXPECT_EQ(thread.Stop(), S_FALSE);
    for (int nStarts = 0; nStarts < 3; ++nStarts)
    {
        owner.nRuns = 0;
        EXPECT_EQ(thread.Start(&owner, &OWNER::Body, "owner"), S_OK);
        EXPECT_EQ(thread.Start(&owner, &OWNER::Body, "owner"), S_FALSE);
        for (int nRun = 1; nRun <= 50; ++nRun)
        {
            owner.evtDone.Reset();
            thread.Wake();
            ASSERT_TRUE(owner.evtDone.Wait(10'000));
            EXPECT_EQ(owner.nRuns, nRun);
        }
        EXPECT_TRUE(thread.IsRunning());
        EXPECT_EQ(thread.Stop(), S_OK);
        EXPECT_FALSE(thread.IsRunning());
        thread.Wake(); // nobody there: nothing happens
    }
}

TEST(Thread, CountsWakeUpsThatComeEarly)
{
    std::atomic<int> nRuns = 0;
    CZEvent evtGo;
    CZEvent evtThird;
    CZWorkerThread thread;
    ASSERT_EQ(thread.Start(
                  [&] {
                      evtGo.Wait(10'000);
                      if (++nRuns == 3)
                          evtThird.Set();
                  },
                  "counter"),
              S_OK);
    for (int i = 0; i < 3; ++i)
        thread.Wake();
    evtGo.Set();
    EXPECT_TRUE(evtThird.Wait(10'000));
    EXPECT_EQ(thread.Stop(), S_OK);
    EXPECT_EQ(nRuns, 3);
}

TEST(Thread, StopIsBoundedWhileTheBodyHangs)
{
    CZEvent evtInside;
    CZEvent evtGo;
    CZWorkerThread thread;
    ASSERT_EQ(thread.Start(
                  [&] {
                      evtInside.Set();
                      evtGo.Wait(60'000);
                  },
                  "hanger"),
              S_OK);
    thread.Wake();
    ASSERT_TRUE(evtInside.Wait(10'000));
    const auto tpStart = CLOCK::now();
    EXPECT_EQ(thread.Stop(50), Z_E_TIMEOUT);
    EXPECT_LT(SecondsSince(tpStart), 5.0);
    EXPECT_TRUE(thread.IsRunning());
    evtGo.Set();
    EXPECT_EQ(thread.Stop(), S_OK);
}

TEST(Thread, DestroyedWhileRunningWarnsAndLeavesTheThreadItsState)
{
    CLastLine line;
    // Held by the body alone once the thread object has gone, so a thread that lost its state would be seen here.
    const auto spRuns = std::make_shared<std::atomic<int>>(0);
    const auto spInside = std::make_shared<CZEvent>();
    const auto spGo = std::make_shared<CZEvent>();
    {
        CZWorkerThread thread;
        ASSERT_EQ(thread.Start(
                      [spRuns, spInside, spGo] {
                          ++*spRuns;
                          spInside->Set();
                          spGo->Wait(60'000);
                      },
                      "CThreadTest"),
                  S_OK);
        thread.Wake();
        thread.Wake(); // must not run any more
        ASSERT_TRUE(spInside->Wait(10'000));
    }
    spGo->Set();
    for (int i = 0; spRuns.use_count() > 1 && i < 10'000; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(spRuns.use_count(), 1) << "the thread did not come to its end";
    EXPECT_EQ(*spRuns, 1);

    unsigned nId = 0;
    unsigned nCurrentId = 0;
    int nDecimal = 0;
    int nCurrentDecimal = 0;
    char szOwner[64] = "";
    ASSERT_EQ(std::sscanf(line.m_strLine.c_str(),
                          "WARNING !!! Thread %X(%d) NOT STOPPED before destroying.\nCurrent:%X(%d) %63s", &nId,
                          &nDecimal, &nCurrentId, &nCurrentDecimal, szOwner),
              5)
        << line.m_strLine;
    EXPECT_EQ(nId, static_cast<unsigned>(nDecimal));
    EXPECT_EQ(nCurrentId, static_cast<unsigned>(nCurrentDecimal));
    EXPECT_NE(nId, nCurrentId);
    EXPECT_STREQ(szOwner, "CThreadTest");
    const size_t nExe = line.m_strLine.find("\nEXE: ");
    const size_t nDll = line.m_strLine.find("\nDLL: ");
    ASSERT_NE(nExe, std::string::npos);
    ASSERT_NE(nDll, std::string::npos);
    EXPECT_GT(nDll - nExe, 8u) << "no path of the program";
    EXPECT_GT(line.m_strLine.size() - nDll, 8u) << "no path of the module";
}

} // namespace
