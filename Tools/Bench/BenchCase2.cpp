#include "Bench/BenchCase.h"

#include "Base/ZHelpers.h"

namespace
{

using CASES = std::vector<BENCH_CASE>;

constexpr BENCH_LIMIT c_limitFewMixed = {5, 4.5};
constexpr BENCH_LIMIT c_limitManyMixed = {9, 8};
constexpr BENCH_LIMIT c_limitYUV = {7.5, 6.5};
constexpr BENCH_LIMIT c_limitTwoThreads = {1.75, 1.7};
constexpr BENCH_LIMIT c_limit2160p = {75, 90};
constexpr BENCH_LIMIT c_limitPlugIn = {1.1, 1.1};
constexpr BENCH_LIMIT c_limitFFmpeg = {15, 15};

BENCH_LIMIT LimitOf(int _nMixed)
{
    return _nMixed == 8 ? c_limitFewMixed : _nMixed == 25 ? c_limitManyMixed : BENCH_LIMIT{};
}

/// What is of one clip follows each other: clips are painted anew for each other one.
void AddShare(CASES& _cases, int _nMixed)
{
    const BENCH_CASE common = {.nGeneration = 2, .eAsk = eBA_Ratio, .nMixed = _nMixed};
    BENCH_CASE sample = common;
    sample.limit = LimitOf(_nMixed);
    _cases.push_back(sample);
    sample.nThreads = 2;
    sample.eAsk = eBA_Faster;
    sample.limit = sample.limit.dblAVX2 > 0 ? c_limitTwoThreads : BENCH_LIMIT{};
    _cases.push_back(sample);
    sample = common;
    sample.eSubject = eBSub_Steps;
    if (_nMixed <= 25)
        _cases.push_back(sample);
}

void AddSizes2(CASES& _cases)
{
    for (const auto& [nWidth, nHeight] : {std::pair(1280, 720), {3840, 2160}, {8192, 4320}})
        for (const int nThreads : {1, 2})
            _cases.push_back({.nGeneration = 2,
                              .nThreads = nThreads,
                              .nWidth = nWidth,
                              .nHeight = nHeight,
                              .eAsk = nThreads == 2 ? eBA_Faster : eBA_Ratio});
}

void AddFormats2(CASES& _cases)
{
    _cases.push_back({.nGeneration = 2, .fccType = eZFCC_ARGB32, .eAsk = eBA_Ratio});
    for (const uint32_t fccType : {eZFCC_UYVY, eZFCC_NV12, eZFCC_v210})
    {
        BENCH_CASE sample = {.nGeneration = 2, .fccType = fccType, .eAsk = eBA_Ratio};
        if (fccType != eZFCC_v210)
            sample.limit = c_limitYUV;
        _cases.push_back(sample);
        sample.eSubject = eBSub_Steps;
        sample.limit = {};
        _cases.push_back(sample);
    }
}

void AddPlugIn2(CASES& _cases)
{
    for (const int nThreads : {1, 2})
        _cases.push_back({.nGeneration = 2,
                          .eSubject = eBSub_PlugIn,
                          .nThreads = nThreads,
                          .eAsk = eBA_Over,
                          .limit = c_limitPlugIn});
}

void AddOthers2(CASES& _cases)
{
    _cases.push_back({.nGeneration = 2,
                      .eSubject = eBSub_PlugIn,
                      .fccType = eZFCC_UYVY,
                      .nThreads = 2,
                      .nWidth = 3840,
                      .nHeight = 2160,
                      .eAsk = eBA_FPS,
                      .limit = c_limit2160p});
    _cases.push_back({.nGeneration = 2,
                      .eSubject = eBSub_FFmpeg,
                      .eAsk = eBA_Times,
                      .limit = c_limitFFmpeg,
                      .arrFilters = {{{"chromakey=0x2DAA46:0.2:0.1", "yuva444p"}, {"despill=green", "bgra"}}}});
}

} // namespace

void BenchCases2_Add(CASES& _cases)
{
    AddShare(_cases, 8);
    _cases.push_back({.nGeneration = 2, .eSubject = eBSub_Steps, .eAsk = eBA_Ratio, .bShadows = true});
    AddPlugIn2(_cases);
    for (const int nMixed : {0, 25, 70})
        AddShare(_cases, nMixed);
    AddFormats2(_cases);
    AddSizes2(_cases);
    AddOthers2(_cases);
}
