#include "Base/ZThread.h"

#include "Support/LogCatcher.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <regex>
#include <string>
#include <thread>

namespace
{

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
    const auto fnBody = [&] {
        evtGo.Wait(10'000);
        if (++nRuns == 3)
            evtThird.Set();
    };
    ASSERT_EQ(thread.Start(fnBody, "counter"), S_OK);
    for (int i = 0; i < 3; ++i)
        thread.Wake();
    evtGo.Set();
    EXPECT_TRUE(evtThird.Wait(10'000));
    EXPECT_EQ(thread.Stop(), S_OK);
    EXPECT_EQ(nRuns, 3);
}

TEST(Thread, DestroyedWhileRunningWarnsAndLeavesTheThreadItsState)
{
    const CLogCatcher log(eZLog_Warning);
    // Held by the body alone once the thread object has gone, so a thread that lost its state would be seen here.
    const auto spRuns = std::make_shared<std::atomic<int>>(0);
    const auto spInside = std::make_shared<CZEvent>();
    const auto spGo = std::make_shared<CZEvent>();
    {
        CZWorkerThread thread;
        const auto fnBody = [spRuns, spInside, spGo] {
            ++*spRuns;
            spInside->Set();
            spGo->Wait(60'000);
        };
        ASSERT_EQ(thread.Start(fnBody, "CThreadTest"), S_OK);
        thread.Wake();
        thread.Wake(); // must not run any more
        ASSERT_TRUE(spInside->Wait(10'000));
    }
    EXPECT_FALSE(CZWorkerThread::LeftJoin()) << "it still runs code of the module";
    spGo->Set();
    for (int i = 0; spRuns.use_count() > 1 && i < 10'000; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(spRuns.use_count(), 1) << "the thread did not come to its end";
    EXPECT_EQ(*spRuns, 1);
    for (int i = 0; !CZWorkerThread::LeftJoin() && i < 10'000; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(CZWorkerThread::LeftJoin());

    ASSERT_EQ(log.Count(""), 1u);
    const std::string strLine = log.Lines()[0];
    // The thread's identifier in both bases, that of the caller, the owner, and two paths that are not empty.
    std::smatch match;
    ASSERT_TRUE(std::regex_search(
        strLine, match,
        std::regex("WARNING !!! Thread ([0-9A-F]+)\\(([0-9]+)\\) NOT STOPPED before destroying\\.\nCurrent:([0-9A-F]+)"
                   "\\(([0-9]+)\\) CThreadTest\nEXE: .{2,}\nDLL: .{2,}")))
        << strLine;
    EXPECT_EQ(std::stoul(match[1], nullptr, 16), std::stoul(match[2]));
    EXPECT_EQ(std::stoul(match[3], nullptr, 16), std::stoul(match[4]));
    EXPECT_NE(match[1], match[3]);
}

} // namespace
