#include "zkhost/Commands/BenchLatency.h"

#include "Bench/BenchTimes.h"
#include "Kit/HostError.h"
#include "Kit/Process.h"
#include "zkhost/Files/OutFile.h"

#include "Base/ZCpu.h"
#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Base/ZSystem.h"

#include <atomic>
#include <cstdio>
#include <optional>
#include <thread>
#include <vector>

namespace
{

constexpr int c_nLatencyWarmUp = 30; // frames: the backdrop is learned, and the busy process has started

int CoreCount()
{
    return static_cast<int>(std::max(std::thread::hardware_concurrency(), 1u));
}

/// A process that keeps all cores busy but one while this lives.
CZChildProcess BusyProcess(int _nThreads)
{
    return CZChildProcess({ZSystem_ProgramPath(), "bench", "--spin", std::to_string(_nThreads)}, eProcess_In);
}

/// With the output thread a call answers the frame before.
CZBenchTimes Measure(CZBenchKeyer& _keyer, int _nFrames, bool _bThread)
{
    using CLOCK = std::chrono::steady_clock;
    CZBenchTimes times;
    CLOCK::time_point timeBefore;
    _keyer.ThreadSet(_bThread);
    for (int n = 0; n < c_nLatencyWarmUp + _nFrames; ++n)
    {
        OutFile_CheckInterrupt();
        const auto timeIn = CLOCK::now();
        const bool bResult = static_cast<bool>(_keyer.PushNext());
        const auto timeOut = CLOCK::now();
        if (n >= c_nLatencyWarmUp)
            times.Add(std::chrono::duration<double>(timeOut - (_bThread ? timeBefore : timeIn)).count());
        if (n >= c_nLatencyWarmUp && !bResult)
            throw CZHostError("the module kept a frame back; measuring it means nothing");
        timeBefore = timeIn;
    }
    return times;
}

void MeasureAll(CZBenchKeyer& _keyer, const BENCH_COMMAND& _command)
{
    const int nBusy = CoreCount() - 1;
    for (const bool bBusy : {false, true})
        for (const bool bThread : {false, true})
        {
            if (bBusy && nBusy == 0)
                continue;
            std::optional<CZChildProcess> optBusy;
            if (bBusy)
                optBusy.emplace(BusyProcess(nBusy));
            CZBenchTimes times = Measure(_keyer, _command.nFrames, bThread);
            OutFile_Print(ZFormat("%d\t%hs\t%hs\t%d\t%.2f\t%.2f\t%.2f\n", _command.nKeyer, bThread ? "on" : "off",
                                  bBusy ? "busy process" : "nothing", times.Count(), times.Quantile(500) * 1e3,
                                  times.Quantile(990) * 1e3, times.Quantile(1000) * 1e3));
        }
}

} // namespace

void BenchLatency_Run(const BENCH_COMMAND& _command)
{
    const int nBusy = CoreCount() - 1;
    OutFile_Print(ZFormat("size\t%dx%d\nformat\t%s\nthreads\t%d\nSIMD in use\t%s\n", _command.nWidth, _command.nHeight,
                          FCC_Name(_command.fccType), _command.nThreads, ZCpu_LevelName(ZCpu_Level())));
    OutFile_Print(nBusy > 0 ? ZFormat("busy process\tzkhost bench --spin %d: %d of %d cores, ended after its rows\n",
                                      nBusy, nBusy, CoreCount())
                            : std::string("busy process\tnone: there is one core\n"));
    OutFile_Print("keyer\toutput.thread\tbeside\tframes\tmedian ms\t99 % ms\tworst ms\n");
    for (const int nKeyer : {1, 2})
    {
        if (_command.nKeyer != 0 && _command.nKeyer != nKeyer)
            continue;
        BENCH_COMMAND command = _command;
        command.nKeyer = nKeyer;
        MeasureAll(*BenchKeyer_Make(command), command);
    }
}

void BenchLatency_Spin(int _nThreads)
{
    std::atomic<bool> bEnd = false;
    std::vector<std::thread> vecThreads;
    vecThreads.reserve(static_cast<size_t>(_nThreads));
    for (int n = 0; n < _nThreads; ++n)
        vecThreads.emplace_back([&bEnd] {
            while (!bEnd.load(std::memory_order_relaxed))
            {
            }
        });
    while (std::getchar() != EOF)
    {
    }
    bEnd = true;
    for (std::thread& thread : vecThreads)
        thread.join();
}
