#include "Bench/BenchPlain.h"
#include "Bench/BenchStream.h"
#include "Bench/BenchSubject.h"
#include "Bench/BenchTimes.h"
#include "Bench/FFmpeg.h"
#include "Bench/LibYuv.h"
#include "zkhost/Files/StandardError.h"

#include "Base/ZCpu.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <exception>
#include <map>
#include <memory>
#include <tuple>

/// Measures all cases at the level that ZCK_SIMD allows. A frame of the subject, one of what it is compared with and
/// one of the streaming pass take turns, so that what other programs do to the machine hits all three.

namespace
{

/// Making frames takes longer than measuring them: the last ring, and a streaming pass for each size, are kept.
const BENCH_RING& RingOf(const BENCH_CASE& _case)
{
    using WHAT = std::tuple<int, int, int, eKeyScene, uint32_t>;
    static WHAT s_what;
    static BENCH_RING s_ring;
    const int nWidth = std::max(_case.nWidth, c_nKeySceneMinSide),
              nHeight = std::max(_case.nHeight, c_nKeySceneMinSide);
    const WHAT what(nWidth, nHeight, _case.nKeys, _case.eScene, _case.fccType);
    if (what != s_what)
    {
        s_ring = {};
        s_ring = BenchRing_OfScene(KeyScene_Picture(nWidth, nHeight, _case.nKeys, _case.eScene), _case.fccType);
        s_what = what;
    }
    return s_ring;
}

CZBenchStream& StreamOf(const BENCH_CASE& _case)
{
    static std::map<std::pair<int, int>, std::unique_ptr<CZBenchStream>> s_mapStreams;
    auto& upStream = s_mapStreams[{_case.nWidth, _case.nHeight}];
    if (!upStream)
        upStream = std::make_unique<CZBenchStream>(_case.nWidth, _case.nHeight);
    return *upStream;
}

bool IsRight(const BENCH_CASE& _case, const BENCH_RING& _ring, CBenchSubject& _subject)
{
    if (_case.eSubject != eBSub_Engine && _case.eSubject != eBSub_PlugIn)
        return true;
    const std::vector<uint8_t> arrMask = _subject.Mask();
    ZF_VID_PROPS vidProps = {};
    ZF_VID_PTR vidPtr = {};
    _ring[0]->VideoPropsGet(&vidProps);
    _ring[0]->VideoPtrGet(eZFP_Flip, &vidPtr);
    const auto nKeyed = static_cast<size_t>(std::count(arrMask.begin(), arrMask.end(), uint8_t{0}));
    return nKeyed > 0 && nKeyed < arrMask.size() &&
           arrMask == BenchPlain_Mask(vidProps, vidPtr, BenchSubject_Keys(_case, _ring));
}

void Report(benchmark::State& _state, const BENCH_CASE& _case, double _dblSubject, double _dblReference,
            double _dblStream)
{
    _state.counters["seconds"] = _dblSubject;
    _state.counters["ratio"] = _dblSubject / _dblStream;
    _state.counters["stream"] = _dblStream;
    _state.counters["value"] = BenchCase_Value(_case, _dblSubject, _dblReference, _dblStream);
}

/// Keeps the answer, so that a case is checked once and not with every repetition.
bool IsRightOnce(const BENCH_CASE& _case, const BENCH_RING& _ring, CBenchSubject& _subject)
{
    static std::map<std::string, bool> s_mapRight;
    const auto [it, bNew] = s_mapRight.try_emplace(BenchCase_Name(_case), false);
    if (bNew)
        it->second = IsRight(_case, _ring, _subject);
    return it->second;
}

void Measure(benchmark::State& _state, const BENCH_CASE& _case)
{
    const BENCH_RING& ring = RingOf(_case);
    const auto upSubject = BenchSubject_Make(_case, ring);
    const auto upReference = BenchSubject_MakeReference(_case, ring);
    CZBenchStream& stream = StreamOf(_case);
    if (!IsRightOnce(_case, ring, *upSubject))
    {
        _state.SkipWithError("the mask is not what the plain kernels make");
        return;
    }
    for (size_t i = 0; i < c_nBenchRing / 2 && upReference; ++i)
        upReference->Next(); // half a ring ahead: neither finds in a cache what the other has just read
    CZBenchTimes timesSubject, timesReference, timesStream;
    for ([[maybe_unused]] auto _ : _state) // NOLINT(clang-analyzer-deadcode.DeadStores)
    {
        _state.SetIterationTime(timesSubject.Run([&] { upSubject->Next(); }));
        if (upReference)
            timesReference.Run([&] { upReference->Next(); });
        timesStream.Run([&] { stream.Next(); });
    }
    Report(_state, _case, timesSubject.Typical(), upReference ? timesReference.Typical() : 0, timesStream.Typical());
}

/// The other program runs on its own; the engine and the streaming pass follow. A filter of FFmpeg finds a frame that
/// has just been read from a file, so the engine gets frames that have just been written, too.
void MeasureFFmpeg(benchmark::State& _state, const BENCH_CASE& _case)
{
    const BENCH_RING& ring = RingOf(_case);
    const std::vector<uint8_t> arrPixels = KeyScene_Picture(_case.nWidth, _case.nHeight, 1).vecPixels;
    const auto upEngine = BenchSubject_MakeReference(_case, ring);
    CZBenchStream& stream = StreamOf(_case);
    CZBenchTimes timesEngine, timesStream;
    double dblFilter = 0;
    for ([[maybe_unused]] auto _ : _state) // NOLINT(clang-analyzer-deadcode.DeadStores)
    {
        dblFilter = FFmpeg_FilterSeconds(_case);
        _state.SetIterationTime(dblFilter);
        for (size_t i = 0; i < 10 * c_nBenchRing; ++i)
        {
            std::copy(arrPixels.begin(), arrPixels.end(), BenchRing_Bytes(ring[(i + 1) % c_nBenchRing].Get()));
            timesEngine.Run([&] { upEngine->Next(); });
            timesStream.Run([&] { stream.Next(); });
        }
    }
    Report(_state, _case, dblFilter, timesEngine.Typical(), timesStream.Typical());
}

void Run(benchmark::State& _state, const BENCH_CASE& _case)
{
    _state.SetLabel(ZCpu_LevelName(ZCpu_Level()));
    try
    {
        if (_case.eSubject == eBSub_FFmpeg)
            MeasureFFmpeg(_state, _case);
        else
            Measure(_state, _case);
    }
    catch (const std::exception& ex)
    {
        _state.SkipWithError(ex.what());
    }
}

/// Whether what a case compares with is on this machine. FFmpeg does not depend on the level: the best one will do.
bool IsPossible(const BENCH_CASE& _case)
{
    if (_case.eSubject == eBSub_FFmpeg)
        return ZCpu_Level() == ZCpu_Detected() && FFmpeg_IsThere();
    return _case.eSubject != eBSub_Convert || LibYuv_Has(_case.fccType);
}

} // namespace

int main(int _nArgs, char** _ppszArgs)
{
    StandardError_LogSet(eZLog_Warning);
    benchmark::Initialize(&_nArgs, _ppszArgs);
    if (benchmark::ReportUnrecognizedArguments(_nArgs, _ppszArgs))
        return 2;
    for (const BENCH_CASE& benchCase : BenchCases())
        if (IsPossible(benchCase))
        {
            auto* const pBenchmark = benchmark::RegisterBenchmark(BenchCase_Name(benchCase).c_str(), Run, benchCase)
                                         ->UseManualTime()
                                         ->Unit(benchmark::kMicrosecond);
            if (benchCase.eSubject == eBSub_FFmpeg)
                pBenchmark->Iterations(1);
        }
    benchmark::RunSpecifiedBenchmarks();
}
