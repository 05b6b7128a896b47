#include "ZChromaKey/Work/RowBarrier.h"
#include "ZChromaKey/Work/RowPool.h"

#include <gtest/gtest.h>

#include <thread>

namespace
{

/// Counts who was where: each worker looks whether all have done the pass before.
class CCountingWork final : public CRowWork
{
public:
    explicit CCountingWork(uint32_t _nWorkers)
        : m_nWorkers(_nWorkers)
    {
    }
    void Run(int _nPass, uint32_t _nWorker, const std::atomic<bool>& _bGo) noexcept override
    {
        m_nEarly += m_nDone < static_cast<uint32_t>(_nPass) * m_nWorkers;
        m_nStopped += !_bGo;
        for (uint32_t n = 0; n < _nWorker * 2000; ++n) // later workers take longer
            m_nIdle = m_nIdle + 1;
        ++m_nDone;
    }

    const uint32_t m_nWorkers;
    std::atomic<uint32_t> m_nDone = 0;
    std::atomic<uint32_t> m_nEarly = 0;
    std::atomic<uint32_t> m_nStopped = 0;

private:
    std::atomic<uint32_t> m_nIdle = 0;
};

TEST(RowPool, AllWorkersEndAPassBeforeTheNextBegins)
{
    CRowPool pool("RowPoolTest");
    for (const uint32_t nWorkers : {1u, 2u, 5u, 2u, 16u})
    {
        ASSERT_EQ(pool.Prepare(nWorkers), S_OK);
        for (int nFrame = 0; nFrame < 20; ++nFrame)
        {
            ASSERT_EQ(pool.Prepare(nWorkers), S_OK);
            const auto spWork = std::make_shared<CCountingWork>(nWorkers);
            ASSERT_EQ(pool.Run(spWork, 4), S_OK);
            EXPECT_EQ(spWork->m_nDone, 4 * nWorkers);
            EXPECT_EQ(spWork->m_nEarly, 0u);
            EXPECT_EQ(spWork->m_nStopped, 0u);
            EXPECT_EQ(spWork.use_count(), 1) << "a worker that is done keeps nothing";
        }
    }
    EXPECT_TRUE(pool.Prepare(0) == S_OK && pool.Run(std::make_shared<CCountingWork>(0), 4) == S_OK);
}

TEST(RowBarrier, LetsAllGoWhenTheFrameIsGivenUp)
{
    CRowBarrier barrier(3); // one of them hangs and never comes
    std::atomic<int> nLeft = 0;
    std::thread arrThreads[2];
    for (std::thread& thread : arrThreads)
        thread = std::thread([&] { nLeft += barrier.Arrive() ? 100 : 1; });
    barrier.GiveUp();
    for (std::thread& thread : arrThreads)
        thread.join();
    EXPECT_EQ(nLeft, 2);
    EXPECT_FALSE(barrier.Arrive()) << "the one that comes after all";
}

} // namespace
