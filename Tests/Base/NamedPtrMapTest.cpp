#include "DirectX/Device/NamedPtrMap.h"

#include "Base/ZThread.h"
#include "Base/ZUnknown.h"
#include "Support/LogCatcher.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

namespace
{

std::atomic<int> g_nAlive{0};
CZEvent g_evtMayEnd{true}; // else objects do not come to their end

class CThing final : public CZUnknown<IUnknown>
{
public:
    CThing()
    {
        ++g_nAlive;
    }

private:
    ~CThing() override
    {
        g_evtMayEnd.Wait(c_nThreadStopMs);
        --g_nAlive;
    }
};

using MAP = CNamedPtrMap_GC<CThing>;

CZPtr<CThing> Get(MAP* _pMap, const char* _pszName)
{
    CZPtr<CThing> cpThing;
    const auto fnMake = [](CThing** _ppThing) {
        *_ppThing = new CThing;
        return S_OK;
    };
    EXPECT_EQ(_pMap->GetOrMake(_pszName, fnMake, cpThing.Put()), S_OK);
    return cpThing;
}

/// Whether something becomes true within ten seconds.
template <class Condition> bool Within10s(Condition _fnCondition)
{
    for (int n = 0; n < 1000 && !_fnCondition(); ++n)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return _fnCondition();
}

} // namespace

TEST(NamedPtrMap, KeepsWhatIsUsedAndLetsGoOfTheRest)
{
    const CLogCatcher log;
    MAP map(60);
    CThing* const pIdle = Get(&map, "idle").Get();
    EXPECT_EQ(Get(&map, "idle").Get(), pIdle);
    CZPtr<CThing> cpHeld = Get(&map, "held");
    EXPECT_NE(cpHeld.Get(), pIdle);
    EXPECT_TRUE(Within10s([&] { return map.Count() == 1; }));
    EXPECT_EQ(g_nAlive, 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    EXPECT_EQ(Get(&map, "held").Get(), cpHeld.Get()) << "somebody holds it, so it is in use";
    cpHeld.Reset();
    EXPECT_TRUE(Within10s([&] { return map.Count() == 0 && g_nAlive == 0; }));
    Get(&map, "after the collector has rested");
    EXPECT_TRUE(Within10s([&] { return map.Count() == 0; }));
    EXPECT_EQ(log.Count("", eZLog_Warning) + log.Count("", eZLog_Error), 0u);
}

TEST(NamedPtrMap, ClosesAndOpensAgain)
{
    const CLogCatcher log;
    {
        MAP map;
        for (int n = 0; n < 3; ++n)
        {
            Get(&map, "a");
            Get(&map, "b");
            EXPECT_EQ(g_nAlive, 2);
            EXPECT_EQ(map.Close(), S_OK);
            EXPECT_EQ(g_nAlive, 0);
        }
        Get(&map, "a");
    }
    EXPECT_EQ(g_nAlive, 0);
    EXPECT_EQ(log.Count("NOT STOPPED"), 0u);
    MAP map;
    CZPtr<CThing> cpThing;
    for (const auto& [hrMade, hrExpected] : {std::pair{E_FAIL, E_FAIL}, {S_OK, E_UNEXPECTED}}) // and no object
    {
        const auto fnMake = [hr = hrMade](CThing**) { return hr; };
        EXPECT_EQ(map.GetOrMake("x", fnMake, cpThing.Put()), hrExpected);
    }
    EXPECT_EQ(map.Count(), 0u);
}

TEST(NamedPtrMap, ServesManyThreads)
{
    MAP map(1);
    std::thread arrThreads[4];
    for (std::thread& thrEach : arrThreads)
        thrEach = std::thread([&] {
            for (int n = 0; n < 300; ++n)
            {
                const auto cpThing = Get(&map, n % 2 ? "odd" : "even");
                if (n % 50 == 0)
                    std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
        });
    for (std::thread& thrEach : arrThreads)
        thrEach.join();
    EXPECT_TRUE(Within10s([&] { return g_nAlive == 0; }));
}

TEST(NamedPtrMap, GoesThoughItsThreadCannotBeStopped)
{
    const CLogCatcher log;
    alignas(MAP) std::byte arrMemory[sizeof(MAP)];
    MAP* const pMap = new (arrMemory) MAP(1, 50);
    g_evtMayEnd.Reset();
    Get(pMap, "stuck");
    EXPECT_TRUE(Within10s([&] { return pMap->Count() == 0; })) << "the thread is about to release it";
    EXPECT_EQ(pMap->Close(), Z_E_TIMEOUT);
    pMap->~MAP();
    std::memset(arrMemory, 0xA5, sizeof(arrMemory)); // what the thread may not touch from here on
    EXPECT_EQ(log.Count("NOT STOPPED"), 1u);
    EXPECT_EQ(g_nAlive, 1);
    g_evtMayEnd.Set();
    EXPECT_TRUE(Within10s([&] { return g_nAlive == 0; }));
    EXPECT_TRUE(Within10s([] { return CZWorkerThread::LeftJoin(); })) << "the thread itself";
}
