#include "Bench/BenchCase.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"

namespace
{

/// How a number that is asked for reads.
struct ASK_TEXT
{
    const char* pszValue;
    bool bAtLeast;
};

constexpr ASK_TEXT c_arrAsks[] = {
    {"", false},
    {"%.2f x streaming", false},
    {"%.2f x streaming a further key", false},
    {"%.2f x one thread", true},
    {"%.2f x", false},
    {"ours is %.0f x as fast", true},
    {"%.1f us", false},
    {"%.0f frames/s", true},
};

constexpr BENCH_LIMIT c_limitOneKey = {2.0, 1.3};
constexpr BENCH_LIMIT c_limitOneKeyRandom = {2.9, 1.9};
constexpr BENCH_LIMIT c_limitFurtherKey = {2.2, 1.2};
constexpr BENCH_LIMIT c_limitOtherSpace = {8, 5};
constexpr int c_nSmoothPasses = 2;

constexpr BENCH_LIMIT Both(double _dblLimit)
{
    return {_dblLimit, _dblLimit};
}

using CASES = std::vector<BENCH_CASE>;

void AddKeys(CASES& _cases)
{
    for (const eKeyScene eScene : {eKS_Screen, eKS_Random})
        for (const int nKeys : {1, 2, 4, 8, 16})
            _cases.push_back({.nKeys = nKeys,
                              .eScene = eScene,
                              .eAsk = nKeys > 1 ? eBA_PerKey : eBA_Ratio,
                              .limit = nKeys > 1              ? c_limitFurtherKey
                                       : eScene == eKS_Random ? c_limitOneKeyRandom
                                                              : c_limitOneKey});
    for (const int nKeys : {1, 2, 4, 8, 16})
        _cases.push_back({.nKeys = nKeys,
                          .nThreads = 2,
                          .eAsk = eBA_Faster,
                          .limit = nKeys == 1   ? Both(1.5)
                                   : nKeys == 4 ? Both(1.8)
                                                : BENCH_LIMIT{}});
}

void AddSizes(CASES& _cases)
{
    for (const auto& [nWidth, nHeight] : {std::pair(1280, 720), {3840, 2160}})
        for (const int nThreads : {1, 2})
            for (const int nKeys : {1, 4})
                _cases.push_back({.nKeys = nKeys,
                                  .nThreads = nThreads,
                                  .nWidth = nWidth,
                                  .nHeight = nHeight,
                                  .eAsk = nThreads > 1 ? eBA_Faster : eBA_Nothing});
}

void AddFormats(CASES& _cases)
{
    for (const uint32_t fccType : {eZFCC_RGB32, eZFCC_UYVY, eZFCC_NV12, eZFCC_v210})
        for (const eCK_Type eType : {eCKT_RGB, eCKT_HLS, eCKT_YUV})
        {
            const bool bAsked = fccType == eZFCC_RGB32 || (fccType == eZFCC_UYVY && eType == eCKT_YUV);
            BENCH_CASE sample = {.fccType = fccType,
                                 .eType = eType,
                                 .eAsk = bAsked ? eBA_Ratio : eBA_Nothing,
                                 .limit = bAsked ? c_limitOtherSpace : BENCH_LIMIT{}};
            if (fccType == eZFCC_RGB32 && eType == eCKT_RGB)
                continue; // among the key counts
            _cases.push_back(sample);
            sample.eScene = eKS_Random;
            if (bAsked)
                _cases.push_back(sample);
        }
}

void AddWork(CASES& _cases)
{
    _cases.push_back({.nKeys = 2, .nExclude = 1});
    for (const int nThreads : {1, 2})
        _cases.push_back({.nThreads = nThreads, .nSmooth = c_nSmoothPasses});
}

void AddPlugIn(CASES& _cases)
{
    for (const int nThreads : {1, 2})
        _cases.push_back({.eSubject = eBSub_PlugIn, .nThreads = nThreads, .eAsk = eBA_Over, .limit = Both(1.1)});
    _cases.push_back({.eSubject = eBSub_PlugIn,
                      .fccType = eZFCC_UYVY,
                      .eType = eCKT_YUV,
                      .nThreads = 2,
                      .eAsk = eBA_Over,
                      .limit = Both(1.1)});
    for (const bool bClean : {false, true})
        _cases.push_back({.eSubject = eBSub_PlugIn,
                          .fccType = eZFCC_UYVY,
                          .eType = eCKT_YUV,
                          .nKeys = 4,
                          .nThreads = 2,
                          .nWidth = 3840,
                          .nHeight = 2160,
                          .nSmooth = c_nSmoothPasses,
                          .bClean = bClean,
                          .eAsk = eBA_FPS,
                          .limit = Both(60)});
    _cases.push_back({.eSubject = eBSub_PlugIn, .eType = eCKT_YUV, .bClean = true});
    for (const int nThreads : {1, 2, 4})
        _cases.push_back({.eSubject = eBSub_HandOver,
                          .nThreads = nThreads,
                          .nWidth = 16,
                          .nHeight = 16,
                          .eAsk = eBA_Micros,
                          .limit = nThreads == 2 ? Both(30) : BENCH_LIMIT{}});
}

void AddOthers(CASES& _cases)
{
    for (const uint32_t fccType : {eZFCC_UYVY, eZFCC_YUY2, eZFCC_I420, eZFCC_NV12, eZFCC_I422, eZFCC_Y444})
        _cases.push_back({.eSubject = eBSub_Convert, .fccType = fccType, .eAsk = eBA_Over, .limit = {1.2, 1.3}});
    const BENCH_CASE filter = {.eSubject = eBSub_FFmpeg, .eAsk = eBA_Times};
    BENCH_CASE sample = filter;
    sample.arrFilters[0] = {"colorkey=0x1E9628:0.2:0.1", "bgra"};
    sample.limit = Both(15);
    _cases.push_back(sample);
    sample.arrFilters[0] = {"chromakey=0x1E9628:0.2:0.1", "yuva444p"};
    sample.limit = Both(60);
    _cases.push_back(sample);
    sample = filter;
    sample.arrFilters[0] = {"despill=green", "bgra"};
    _cases.push_back(sample);
}

std::string KeyText(const BENCH_CASE& _case)
{
    if (_case.nGeneration == 2)
        return ZFormat("mixed %d %%%hs threads %d", _case.nMixed, _case.bShadows ? " shadows" : "", _case.nThreads);
    const char* const pszType = _case.eType == eCKT_RGB ? "RGB" : _case.eType == eCKT_HLS ? "HLS" : "YUV";
    std::string strText = ZFormat("%hs keys %d", pszType, _case.nKeys - _case.nExclude);
    if (_case.nExclude)
        strText += ZFormat(" exclusion %d", _case.nExclude);
    if (_case.nSmooth)
        strText += ZFormat(" smoothing %d", _case.nSmooth);
    if (_case.bClean)
        strText += " colour cancel";
    return strText + ZFormat(" threads %d", _case.nThreads) + (_case.eScene == eKS_Random ? " random" : "");
}

std::string FilterText(const BENCH_CASE& _case)
{
    const BENCH_FILTER& first = _case.arrFilters[0];
    const BENCH_FILTER& second = _case.arrFilters[1];
    if (!*second.pszFilter)
        return ZFormat("FFmpeg: %hs %hs %dp", first.pszFilter, first.pszPixelFormat, _case.nHeight);
    return ZFormat("FFmpeg: %hs %hs, %hs %hs %dp", first.pszFilter, first.pszPixelFormat, second.pszFilter,
                   second.pszPixelFormat, _case.nHeight);
}

} // namespace

const std::vector<BENCH_CASE>& BenchCases()
{
    static const CASES cases = [] {
        CASES res;
        AddKeys(res);
        AddSizes(res);
        AddFormats(res);
        AddWork(res);
        AddPlugIn(res);
        AddOthers(res);
        BenchCases2_Add(res);
        return res;
    }();
    return cases;
}

std::string BenchCase_Name(const BENCH_CASE& _case)
{
    const std::string strPicture =
        ZFormat("%s %dp", _case.fccType == eZFCC_RGB32 ? std::string("BGRA") : FCC_Name(_case.fccType), _case.nHeight);
    const char* const pszGeneration = _case.nGeneration == 2 ? " 2" : "";
    switch (_case.eSubject)
    {
    case eBSub_HandOver:
        return ZFormat("hand-over: threads %d", _case.nThreads);
    case eBSub_Convert:
        return ZFormat("convert: %s to BGRA", strPicture);
    case eBSub_FFmpeg:
        return FilterText(_case);
    case eBSub_PlugIn:
        return ZFormat("plug-in%hs: %s %s", pszGeneration, strPicture, KeyText(_case));
    case eBSub_Steps:
        return ZFormat("steps%hs: %s %s", pszGeneration, strPicture, KeyText(_case));
    default:
        return ZFormat("engine%hs: %s %s", pszGeneration, strPicture, KeyText(_case));
    }
}

double BenchCase_Value(const BENCH_CASE& _case, double _dblSubject, double _dblReference, double _dblStream)
{
    switch (_case.eAsk)
    {
    case eBA_Ratio:
        return _dblSubject / _dblStream;
    case eBA_PerKey:
        return (_dblSubject - _dblReference) / _dblStream / (_case.nKeys - 1);
    case eBA_Faster:
        return _dblReference / _dblSubject;
    case eBA_Over:
    case eBA_Times:
        return _dblReference > 0 ? _dblSubject / _dblReference : 0;
    case eBA_Micros:
        return 1e6 * _dblSubject;
    case eBA_FPS:
        return 1 / _dblSubject;
    default:
        return 0;
    }
}

std::string BenchCase_ValueText(const BENCH_CASE& _case, double _dblValue)
{
    if (_case.eAsk == eBA_Ratio && _case.nGeneration == 2)
        return ZFormat("%.2f x copying", _dblValue);
    std::string strText = _case.eAsk == eBA_Nothing ? "" : ZFormat(c_arrAsks[_case.eAsk].pszValue, _dblValue);
    if (_case.eAsk == eBA_Over)
        strText += _case.eSubject == eBSub_Convert ? " libyuv" : " the engine alone";
    return strText;
}

std::string BenchCase_LimitText(const BENCH_CASE& _case, double _dblLimit)
{
    return ZFormat(c_arrAsks[_case.eAsk].bAtLeast ? ">= %.4g" : "<= %.4g", _dblLimit);
}

bool BenchCase_IsMet(const BENCH_CASE& _case, double _dblValue, double _dblLimit)
{
    return c_arrAsks[_case.eAsk].bAtLeast ? _dblValue >= _dblLimit : _dblValue <= _dblLimit;
}
