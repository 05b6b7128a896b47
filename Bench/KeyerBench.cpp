#include "BenchScene.h"
#include "Stream.h"
#include "ZChromaKey/ChromaKey.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <string>
#include <vector>

/// The CPU engine on 1080p pictures, at the level that ZCK_SIMD allows, beside the streaming pass of the same run: one
/// that only reads a BGRA picture and writes a mask, with the best instructions that the processor has.
///
/// Each frame is followed by a streaming pass, and the lower quartiles of both are compared, so that what other
/// programs do to the machine counts little. "ratio" goes by the clock on the wall, "cpu_ratio" by the processor time
/// of all threads.

namespace
{

constexpr int c_nRing = 10; // 100 MB of frames

using CLOCK = std::chrono::steady_clock;

double Seconds(CLOCK::duration _duration)
{
    return std::chrono::duration<double>(_duration).count();
}

void Stream(BENCH_SCENE& _scene)
{
    auto* pfnStream = Stream_C;
#if defined(ZCK_X86)
    if (ZCpu_Detected() >= eSIMD_AVX2)
        pfnStream = ZCpu_Detected() >= eSIMD_AVX512 ? Stream_AVX512 : Stream_AVX2;
#endif
    pfnStream(_scene.arrMask.data(), _scene.arrPicture.data(), _scene.arrMask.size());
}

double LowerQuartile(std::vector<double>& _arrTimes)
{
    const auto itQuartile = _arrTimes.begin() + static_cast<ptrdiff_t>(_arrTimes.size() / 4);
    std::nth_element(_arrTimes.begin(), itQuartile, _arrTimes.end());
    return *itQuartile;
}

/// Wall and processor seconds of every run of something.
class CTimes
{
public:
    template <class Fn> double Run(Fn&& _fnRun)
    {
        const CLOCK::time_point tpStart = CLOCK::now();
        const std::clock_t nStart = std::clock();
        _fnRun();
        m_arrCpu.push_back(static_cast<double>(std::clock() - nStart) / CLOCKS_PER_SEC);
        m_arrWall.push_back(Seconds(CLOCK::now() - tpStart));
        return m_arrWall.back();
    }
    double Wall()
    {
        return LowerQuartile(m_arrWall);
    }
    double Cpu()
    {
        return LowerQuartile(m_arrCpu);
    }

private:
    std::vector<double> m_arrWall;
    std::vector<double> m_arrCpu;
};

bool IsRight(BENCH_SCENE& _scene, const CHROMA_KEY_RAW& _rawKey)
{
    const auto nKeyed = std::count(_scene.arrMask.begin(), _scene.arrMask.end(), uint8_t{0});
    bool bRight = nKeyed > 0 && static_cast<size_t>(nKeyed) < _scene.arrMask.size();
    for (int nRow = 0; nRow < c_nBenchHeight && _rawKey.nEdgesSmooth == 0; nRow += 90)
    {
        const std::vector<uint8_t> arrPlain = Bench_PlainRow(_scene, _rawKey, nRow);
        bRight &= std::equal(arrPlain.begin(), arrPlain.end(), _scene.MaskRow(nRow));
    }
    return bRight;
}

/// Arguments: format, key type, keys, smoothing passes, threads, scene, frames: as in a video, where every frame comes
/// from memory, when there are more than the caches hold; 1: one that stays in the cache.
void Engine(benchmark::State& _state)
{
    const auto eScene = static_cast<eBenchScene>(_state.range(5));
    const auto nFrames = static_cast<size_t>(_state.range(6));
    std::vector<BENCH_SCENE> arrScenes(nFrames, BENCH_SCENE(static_cast<uint32_t>(_state.range(0)), eScene));
    std::vector<BENCH_SCENE> arrStreamed(nFrames, BENCH_SCENE(eZFCC_RGB32, eScene));
    for (BENCH_SCENE& scene : arrScenes)
        scene.Address();
    const CHROMA_KEY_RAW rawKey = Bench_KeySet(_state.range(1), _state.range(2), _state.range(3));
    CChromaKey engine;
    engine.ThreadsSet(static_cast<uint32_t>(_state.range(4)));
    CTimes timesEngine;
    CTimes timesStream;
    HRESULT hr = S_OK;
    size_t nFrame = 0;
    for ([[maybe_unused]] auto _ : _state) // NOLINT(clang-analyzer-deadcode.DeadStores)
    {
        nFrame = (nFrame + 1) % nFrames;
        BENCH_SCENE& scene = arrScenes[nFrame];
        _state.SetIterationTime(timesEngine.Run(
            [&] { hr |= engine.ProcessFrame(&scene.vidPtr, scene.arrMask.data(), &scene.vidProps, &rawKey); }));
        timesStream.Run([&] { Stream(arrStreamed[nFrame]); });
        benchmark::ClobberMemory();
    }
    if (hr != S_OK || !IsRight(arrScenes[nFrame], rawKey))
        _state.SkipWithError("the mask is not what the plain kernels make");
    _state.counters["ratio"] = timesEngine.Wall() / timesStream.Wall();
    _state.counters["cpu_ratio"] = timesEngine.Cpu() / timesStream.Wall();
    _state.counters["us"] = 1e6 * timesEngine.Wall();
    _state.counters["stream_us"] = 1e6 * timesStream.Wall();
    _state.SetLabel(ZCpu_LevelName(ZCpu_Level()));
}

/// A frame with next to no pixels: what handing work to threads and back costs. Arguments: threads.
void HandOver(benchmark::State& _state)
{
    BENCH_SCENE scene(eZFCC_RGB32, eBS_Screen);
    scene.vidProps.nWidth = 16;
    scene.vidProps.nHeight = -16;
    const CHROMA_KEY_RAW rawKey = Bench_KeySet(eCKT_RGB, 1, 0);
    CChromaKey engine;
    engine.ThreadsSet(static_cast<uint32_t>(_state.range(0)));
    CTimes times;
    for ([[maybe_unused]] auto _ : _state) // NOLINT(clang-analyzer-deadcode.DeadStores)
        _state.SetIterationTime(
            times.Run([&] { engine.ProcessFrame(&scene.vidPtr, scene.arrMask.data(), &scene.vidProps, &rawKey); }));
    _state.counters["us"] = 1e6 * times.Wall();
}

BENCHMARK(HandOver)->ArgNames({"threads"})->Arg(1)->Arg(2)->Arg(4)->UseManualTime();
BENCHMARK(Engine)
    ->ArgNames({"fcc", "type", "keys", "smooth", "threads", "scene", "frames"})
    ->ArgsProduct({{eZFCC_RGB32}, {eCKT_RGB}, {1, 2, 4, 16}, {0}, {1, 2}, {eBS_Screen, eBS_Random}, {c_nRing}})
    ->ArgsProduct({{eZFCC_RGB32}, {eCKT_HLS, eCKT_YUV}, {1}, {0}, {1, 2}, {eBS_Screen, eBS_Random}, {c_nRing}})
    ->ArgsProduct({{eZFCC_UYVY}, {eCKT_RGB, eCKT_YUV}, {1}, {0}, {1, 2}, {eBS_Screen, eBS_Random}, {c_nRing}})
    ->ArgsProduct({{eZFCC_RGB32, eZFCC_ARGB32}, {eCKT_RGB}, {1}, {2}, {1, 2}, {eBS_Screen}, {c_nRing}})
    ->ArgsProduct({{eZFCC_RGB32}, {eCKT_RGB}, {1, 4}, {0}, {1}, {eBS_Screen}, {1}})
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime();

} // namespace

BENCHMARK_MAIN();
