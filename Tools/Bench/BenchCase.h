#pragma once

#include "Sample/KeyScene.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// What is measured.
enum eBenchSubject
{
    eBSub_Engine,   ///< the keying engine
    eBSub_PlugIn,   ///< the object of the plug-in module, as a host calls it
    eBSub_HandOver, ///< the engine with next to no pixels: what handing work to threads and back costs
    eBSub_Steps,    ///< the engine of the second generation, step by step
    eBSub_Convert,  ///< the conversion of a frame to RGB32
    eBSub_FFmpeg,   ///< a filter of FFmpeg
};

/// What is asked of it. The reference is measured frame by frame beside the subject.
enum eBenchAsk
{
    eBA_Nothing,
    eBA_Ratio,  ///< subject / the pass beside it (BenchStream.h): at most
    eBA_PerKey, ///< (subject - one key) / streaming pass / further keys: at most
    eBA_Faster, ///< one thread / subject: at least
    eBA_Over,   ///< subject / reference: at most
    eBA_Times,  ///< subject (another program's) / the engine: at least
    eBA_Micros, ///< microseconds: at most
    eBA_FPS,    ///< frames/s: at least
};

/// A limit for each level; 0: none. The plain path has none.
struct BENCH_LIMIT
{
    double dblAVX2 = 0;
    double dblAVX512 = 0;
};

/// The steps of the second generation's engine, in the order of eUnmixStep.
inline constexpr const char* c_arrBenchSteps[] = {"cells",      "screen", "plate",  "noise", "classes",
                                                  "foreground", "chroma", "pixels", "edges", "views"};

/// A filter of FFmpeg, with its options, and the pixel format that it works in.
struct BENCH_FILTER
{
    const char* pszFilter = "";
    const char* pszPixelFormat = "";
};

struct BENCH_CASE
{
    int nGeneration = 1; ///< 2 keys frames of Bench/MixedScene.h into ARGB32
    eBenchSubject eSubject = eBSub_Engine;
    uint32_t fccType = eZFCC_RGB32;
    eCK_Type eType = eCKT_RGB;
    int nKeys = 1;
    int nThreads = 1;
    int nWidth = 1920;
    int nHeight = 1080;
    eKeyScene eScene = eKS_Screen;
    int nExclude = 0;    ///< the last keys of the set that are exclusion keys
    int nSmooth = 0;     ///< passes of edge smoothing
    bool bClean = false; ///< with colour cancel, which the backdrop half of the screen needs
    eBenchAsk eAsk = eBA_Nothing;
    BENCH_LIMIT limit = {};
    std::array<BENCH_FILTER, 2> arrFilters =
        {};                ///< of FFmpeg: one after the other, without the conversion between them
    int nMixed = 8;        ///< second generation: the share of the picture that is mixed, per cent
    bool bShadows = false; ///< second generation: shadows are kept, which the step "views" does
};

/// All cases, in the order of the table.
const std::vector<BENCH_CASE>& BenchCases();
/// Adds those of the second generation.
void BenchCases2_Add(std::vector<BENCH_CASE>& _cases);
/// Says all that sets a case apart.
std::string BenchCase_Name(const BENCH_CASE& _case);
/// The times in seconds as the number that is asked for. 0 where nothing is.
double BenchCase_Value(const BENCH_CASE& _case, double _dblSubject, double _dblReference, double _dblStream);
/// The number with what it means.
std::string BenchCase_ValueText(const BENCH_CASE& _case, double _dblValue);
std::string BenchCase_LimitText(const BENCH_CASE& _case, double _dblLimit);
bool BenchCase_IsMet(const BENCH_CASE& _case, double _dblValue, double _dblLimit);
