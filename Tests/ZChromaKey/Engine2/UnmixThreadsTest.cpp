#include "Base/ZThread.h"
#include "Support/GuardedPicture.h"
#include "Video/ZFrameWriter.h"
#include "ZChromaKey/Engine2/PoolRunner.h"
#include "ZChromaKey/Engine2/UnmixScenes.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{

/// A CPoolRunner with threads of its own; the test is the driver.
class CPoolThreads
{
public:
    explicit CPoolThreads(uint32_t _nWorkers)
    {
        m_runner.Begin(_nWorkers);
        for (uint32_t n = 1; n < _nWorkers; ++n)
            m_vecThreads.emplace_back([this, n] { m_runner.Serve(n); });
    }
    ~CPoolThreads()
    {
        m_runner.End();
        for (std::thread& thread : m_vecThreads)
            thread.join();
    }
    CPoolThreads(const CPoolThreads&) = delete;
    CPoolThreads& operator=(const CPoolThreads&) = delete;

    CPoolRunner m_runner;

private:
    std::vector<std::thread> m_vecThreads;
};

SCENE BlueBody(int _nWidth, int _nHeight, uint32_t _nSeed)
{
    return {_nWidth, _nHeight, [=](int _x, int _y) {
                const float flt = 6 * Grain(_x, _y, _nSeed);
                return _x > _nWidth / 3 && _x < _nWidth * 2 / 3 && _y > _nHeight / 3 ? SCENE_PIXEL{60 + flt, 90, 180}
                                                                                     : SCENE_PIXEL{190, 70 + flt, 40};
            }};
}

/// A moving body in noise, then a cut.
std::vector<GUARDED_PICTURE> Clip(uint32_t _fccType, int _nWidth, int _nHeight, int _eInterlace)
{
    std::vector<GUARDED_PICTURE> vecClip;
    for (uint32_t n = 0; n < 6; ++n)
    {
        const SCENE scene =
            n < 4 ? BodyScene(_nWidth, _nHeight, 6, n, .02f * static_cast<float>(n)) : BlueBody(_nWidth, _nHeight, n);
        GUARDED_PICTURE& picture =
            vecClip.emplace_back(Props(_fccType, _nWidth, -_nHeight, _eInterlace), 0, eZGuard_Fence);
        EXPECT_EQ(S_OK, ZFrameWriter_Write(picture.vidProps, picture.vidPtr, scene.vecBGRA.data(), 4 * _nWidth));
    }
    return vecClip;
}

/// The results of a clip, one behind the other.
std::vector<uint8_t> KeyedClip(UNMIX_STATE& _state, const std::vector<GUARDED_PICTURE>& _vecClip, IRowRunner& _runner,
                               const UNMIX_SETUP& _setup, bool _bKeepDeep = false)
{
    const size_t nWidth = _vecClip[0].vidProps.nWidth, nHeight = -_vecClip[0].vidProps.nHeight;
    std::vector<uint8_t> vecOut(4 * nWidth * nHeight * _vecClip.size());
    uint8_t* pOut = vecOut.data();
    for (const GUARDED_PICTURE& picture : _vecClip)
    {
        UNMIX_RESULT result = {pOut, static_cast<ptrdiff_t>(4 * nWidth), false};
        result.bKeepDeep = _bKeepDeep;
        EXPECT_EQ(S_OK, Unmix_Frame(_state, _setup, {picture.vidProps, picture.vidPtr}, result, _runner));
        pOut += 4 * nWidth * nHeight;
    }
    return vecOut;
}

struct CLIP_KIND
{
    uint32_t fccType;
    int nWidth;
    int nHeight;
    int eInterlace;
    bool bPlate;
};

} // namespace

TEST(UnmixThreads, EveryCountGivesTheSameBytes)
{
    constexpr CLIP_KIND c_arrKinds[] = {
        {eZFCC_ARGB32, 203, 117, eZI_Progressive, false}, {eZFCC_ARGB32, 203, 117, eZI_TopFirst, true},
        {eZFCC_NV12, 203, 151, eZI_Progressive, false},   {eZFCC_UYVY, 174, 150, eZI_BottomFirst, false},
        {eZFCC_v210, 204, 141, eZI_Progressive, false},   {eZFCC_r210, 204, 141, eZI_Progressive, false}};
    const SCENE plate(60, 90, [](int _x, int) { return SCENE_PIXEL{50, 170 - .3f * static_cast<float>(_x), 60}; });
    for (const CLIP_KIND& kind : c_arrKinds)
    {
        SCOPED_TRACE(FCC_Name(kind.fccType));
        const auto vecClip = Clip(kind.fccType, kind.nWidth, kind.nHeight, kind.eInterlace);
        UNMIX_SETUP setup;
        if (kind.bPlate)
            setup.plate = {plate.vecBGRA.data(), plate.nWidth, plate.nHeight};
        UNMIX_STATE stateOne;
        CSerialRunner serial;
        const std::vector<uint8_t> vecOne = KeyedClip(stateOne, vecClip, serial, setup);
        EXPECT_EQ(stateOne.nCuts, 1);
        EXPECT_FALSE(stateOne.arrFields[0].vecPast.empty()) << "the filter over time is at work";
        for (const uint32_t nWorkers : {1u, 2u, 3u, 8u})
        {
            CPoolThreads pool(nWorkers);
            UNMIX_STATE state;
            EXPECT_TRUE(KeyedClip(state, vecClip, pool.m_runner, setup) == vecOne) << nWorkers;
            EXPECT_TRUE(UnmixState_Same(stateOne, state)) << nWorkers;
        }
        CThreadRunner backwards(3); // the least parts, from the last
        UNMIX_STATE state;
        EXPECT_TRUE(KeyedClip(state, vecClip, backwards, setup) == vecOne);
        EXPECT_TRUE(UnmixState_Same(stateOne, state));
        UNMIX_STATE stateKept;
        EXPECT_TRUE(KeyedClip(stateKept, vecClip, serial, setup, true) == vecOne) << "chroma rebuilt in its own pass";
    }
}
TEST(UnmixThreads, EachRowIsTakenOnceInEveryPass)
{
    for (const uint32_t nWorkers : {1u, 2u, 5u})
    {
        CPoolThreads pool(nWorkers);
        for (const int nRows : {1, 7, 8, 9, 100, 1000})
            for (int n = 0; n < 50; ++n)
            {
                std::vector<int> vecTaken(static_cast<size_t>(nRows));
                const auto Take = [&](int _nFirst, int _nRows) {
                    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
                        ++vecTaken[static_cast<size_t>(y)];
                };
                pool.m_runner.Run(nRows, 8, CRowPass(Take));
                ASSERT_EQ(std::count(vecTaken.begin(), vecTaken.end(), 1), nRows) << nWorkers;
            }
    }
}
TEST(UnmixThreads, AWorkerThatHangsHoldsNoHelperUp)
{
    CPoolRunner runner;
    runner.Begin(3);
    CZEvent evtInside, evtGo;
    std::atomic<int> nHelpersLeft = 0;
    std::atomic<bool> bHung = false;
    const auto Hang = [&](int, int) {
        if (bHung.exchange(true))
            return;
        evtInside.Set();
        EXPECT_TRUE(evtGo.Wait(60'000));
    };
    std::thread thrDriver([&] {
        runner.Run(1000, 8, CRowPass(Hang));
        runner.End();
    });
    ASSERT_TRUE(evtInside.Wait(60'000));
    std::vector<std::thread> vecHelpers;
    for (uint32_t n = 1; n < 3; ++n)
        vecHelpers.emplace_back([&, n] {
            runner.Serve(n);
            ++nHelpersLeft;
        });
    runner.GiveUp();
    for (int n = 0; n < 60'000 && nHelpersLeft < 2; ++n)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(nHelpersLeft, 2);
    evtGo.Set();
    thrDriver.join();
    for (std::thread& thread : vecHelpers)
        thread.join();
}
