#include "Bench/BenchPlain.h"
#include "Bench/BenchResults.h"
#include "Bench/BenchStream.h"
#include "Bench/BenchSubject.h"
#include "Bench/BenchSubject2.h"
#include "Bench/BenchTimes.h"
#include "Bench/FFmpeg.h"
#include "Bench/LibYuv.h"
#include "Bench/MixedScene.h"
#include "Kit/HostError.h"
#include "zkhost/Files/StandardError.h"

#include "Base/ZCpu.h"
#include "Base/ZLog.h"

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
    using WHAT = std::tuple<int, int, int, int, eKeyScene, uint32_t>;
    static WHAT s_what;
    static BENCH_RING s_ring;
    const int nWidth = std::max(_case.nWidth, c_nKeySceneMinSide),
              nHeight = std::max(_case.nHeight, c_nKeySceneMinSide);
    const bool bSecond = _case.nGeneration == 2;
    const WHAT what(_case.nGeneration, nWidth, nHeight, bSecond ? _case.nMixed : _case.nKeys, _case.eScene,
                    _case.fccType);
    if (what != s_what)
    {
        s_ring = {};
        s_ring = bSecond
                     ? MixedScene_Ring(nWidth, nHeight, _case.nMixed, _case.fccType)
                     : BenchRing_OfScene(KeyScene_Picture(nWidth, nHeight, _case.nKeys, _case.eScene), _case.fccType);
        s_what = what;
    }
    return s_ring;
}

CZBenchStream& StreamOf(const BENCH_CASE& _case)
{
    static std::map<std::tuple<int, int, int>, std::unique_ptr<CZBenchStream>> s_mapStreams;
    auto& upStream = s_mapStreams[{_case.nWidth, _case.nHeight, _case.nGeneration}];
    if (!upStream)
        upStream = std::make_unique<CZBenchStream>(_case.nWidth, _case.nHeight,
                                                   _case.nGeneration == 2 ? eBP_Picture : eBP_Mask);
    return *upStream;
}

/// Of the second generation. The largest pictures would take the plain path seconds; they have the kernels of the
/// smaller ones.
bool IsRight2(const BENCH_CASE& _case, const BENCH_RING& _ring, CBenchSubject& _subject)
{
    constexpr double c_dblMostOff = 0.03; // of the picture
    constexpr int c_nPlainHeight = 2160;
    const std::vector<uint8_t> vecPixels = _subject.Answer();
    if (_case.nHeight <= c_nPlainHeight && vecPixels != BenchSubject2_PlainAnswer(_case, _ring))
        throw CZHostError("the pixels are not what the plain kernels make");
    if (const double dblMixed = _subject.Mixed(); std::abs(dblMixed - _case.nMixed / 100.0) > c_dblMostOff)
        throw CZHostError(ZFormat("%.1f %% of the scene are mixed", 100 * dblMixed));
    return true;
}

bool IsRight(const BENCH_CASE& _case, const BENCH_RING& _ring, CBenchSubject& _subject)
{
    if (_case.nGeneration == 2)
        return IsRight2(_case, _ring, _subject);
    if (_case.eSubject != eBSub_Engine && _case.eSubject != eBSub_PlugIn)
        return true;
    const std::vector<uint8_t> arrMask = _subject.Answer();
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

/// The second generation learns from a few frames before it is measured. The reference is half a ring
/// ahead: neither finds in a cache what the other has just read.
void WarmUp(const BENCH_CASE& _case, size_t _nRing, CBenchSubject& _subject, CBenchSubject* _pReferenceOrNull)
{
    const size_t nFrames = _case.nGeneration == 2 ? 3 : 0;
    for (size_t i = 0; i < nFrames; ++i)
        _subject.Next();
    for (size_t i = 0; i < nFrames + _nRing / 2 && _pReferenceOrNull; ++i)
        _pReferenceOrNull->Next();
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
    WarmUp(_case, ring.size(), *upSubject, upReference.get());
    CZBenchTimes timesSubject, timesReference, timesStream;
    for ([[maybe_unused]] auto _ : _state) // NOLINT(clang-analyzer-deadcode.DeadStores)
    {
        _state.SetIterationTime(timesSubject.Run([&] { upSubject->Next(); }));
        if (upReference)
            timesReference.Run([&] { upReference->Next(); });
        timesStream.Run([&] { stream.Next(); });
    }
    Report(_state, _case, timesSubject.Typical(), upReference ? timesReference.Typical() : 0, timesStream.Typical());
    const std::vector<double> vecSteps = upSubject->StepSeconds();
    for (size_t n = 0; n < vecSteps.size(); ++n)
        _state.counters[std::string(c_pszBenchStep) + c_arrBenchSteps[n]] = vecSteps[n];
}

/// Processor seconds of all filters of a case for a frame.
double FilterSeconds(const BENCH_CASE& _case, const PICTURE& _picture)
{
    double dblSeconds = 0;
    for (const BENCH_FILTER& filter : _case.arrFilters)
        if (*filter.pszFilter)
            dblSeconds += FFmpeg_FilterSeconds(filter, _picture);
    return dblSeconds;
}

/// The other program runs on its own; the engine and the streaming pass follow. A filter of FFmpeg finds a frame that
/// has just been read from a file, so the engine gets frames that have just been written, too.
void MeasureFFmpeg(benchmark::State& _state, const BENCH_CASE& _case)
{
    const BENCH_RING& ring = RingOf(_case);
    const auto fnPicture = [&](int _nFrame) {
        return _case.nGeneration == 2 ? MixedScene_Picture(_case.nWidth, _case.nHeight, _case.nMixed, _nFrame)
                                      : KeyScene_Picture(_case.nWidth, _case.nHeight, 1);
    };
    std::vector<PICTURE> vecPictures;
    for (size_t i = 0; i < ring.size(); ++i)
        vecPictures.push_back(fnPicture(static_cast<int>(i)));
    const auto upEngine = BenchSubject_MakeReference(_case, ring);
    CZBenchStream& stream = StreamOf(_case);
    CZBenchTimes timesEngine, timesStream;
    double dblFilter = 0;
    for ([[maybe_unused]] auto _ : _state) // NOLINT(clang-analyzer-deadcode.DeadStores)
    {
        dblFilter = FilterSeconds(_case, vecPictures[0]);
        _state.SetIterationTime(dblFilter);
        for (size_t i = 1; i <= 10 * ring.size(); ++i)
        {
            const std::vector<uint8_t>& vecPixels = vecPictures[i % ring.size()].vecPixels;
            std::copy(vecPixels.begin(), vecPixels.end(), BenchRing_Bytes(ring[i % ring.size()].Get()));
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

/// 0: as many as the effort asks for. Frames of the second generation take so long that too few would be measured.
int64_t IterationsOf(const BENCH_CASE& _case)
{
    constexpr int64_t c_nPixels = int64_t{16} * 1920 * 1080; // a tenth of a second
    if (_case.eSubject == eBSub_FFmpeg)
        return 1;
    if (_case.nGeneration != 2)
        return 0;
    const int64_t nFrames = c_nPixels / (int64_t{_case.nWidth} * _case.nHeight);
    return std::clamp<int64_t>(ZCpu_Level() == eSIMD_None ? nFrames / 6 : nFrames, 3, 60);
}

/// Whether what a case compares with is on this machine. FFmpeg does not depend on the level: the best one will do.
bool IsThere(const BENCH_CASE& _case)
{
    if (_case.eSubject == eBSub_FFmpeg)
        return ZCpu_Level() == ZCpu_Detected() && FFmpeg_IsThere();
    return _case.eSubject != eBSub_Convert || LibYuv_Has(_case.fccType);
}

/// Whether what a case compares with is on this machine, and worth its time: the second generation's plain path takes
/// fifteen times as long as the others.
bool IsPossible(const BENCH_CASE& _case)
{
    const bool bSlow = _case.nGeneration == 2 && ZCpu_Level() == eSIMD_None;
    return IsThere(_case) && (!bSlow || (_case.eSubject == eBSub_Engine && _case.eAsk == eBA_Ratio &&
                                         _case.fccType == eZFCC_RGB32 && _case.nHeight == 1080));
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
            if (const int64_t nIterations = IterationsOf(benchCase))
                pBenchmark->Iterations(nIterations);
            if (benchCase.eSubject == eBSub_FFmpeg && benchCase.nGeneration == 2)
                pBenchmark->Repetitions(1); // two filters, whose rows before have told the spread
        }
    benchmark::RunSpecifiedBenchmarks();
}
