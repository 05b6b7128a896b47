#include "Bench/BenchTable.h"

#include "Base/ZLog.h"

#include <algorithm>

namespace
{

constexpr const char* c_pszHead =
    "Every row: the median over the repetitions of the fastest tenth of the frames; the spread is that between the "
    "slowest and the fastest repetition. The pass reads the picture as BGRA, on one thread, in turn with the frames of "
    "the row, and writes a mask (streaming) or, beside the second generation, a BGRA picture (copying). Before it is "
    "timed, a result is held against the plain path's, byte by byte. Frames come from a ring of ten. Of FFmpeg's "
    "filters the processor time counts, less that of a run with the filter \"null\".\n\n"
    "| work | level | ns/pixel | spread | frames/s | x pass | measured | asked | met |\n"
    "|---|---|---|---|---|---|---|---|---|\n";

std::string TimeText(const BENCH_CASE& _case, const BENCH_RESULT& _result)
{
    const double dblSeconds = Bench_Median(_result.arrSeconds);
    const auto [itLeast, itMost] = std::minmax_element(_result.arrSeconds.begin(), _result.arrSeconds.end());
    const std::string strSpread = ZFormat("%.0f %%", (*itMost - *itLeast) / dblSeconds * 100);
    if (_case.eSubject == eBSub_HandOver)
        return ZFormat("- | %s | - | -", strSpread);
    const double dblPixels = static_cast<double>(_case.nWidth) * _case.nHeight;
    return ZFormat("%.3f | %s | %.1f | %.2f", dblSeconds / dblPixels * 1e9, strSpread, 1 / dblSeconds,
                   Bench_Median(_result.arrRatios));
}

double LimitOf(const BENCH_CASE& _case, eSIMD_Level _eLevel)
{
    if (_eLevel == eSIMD_AVX512)
        return _case.limit.dblAVX512;
    return _eLevel == eSIMD_AVX2 ? _case.limit.dblAVX2 : 0;
}

void AddRow(const BENCH_CASE& _case, eSIMD_Level _eLevel, const BENCH_RESULT& _result, BENCH_TABLE* _pTable)
{
    const std::string strWork = ZFormat("%s | %hs", BenchCase_Name(_case), ZCpu_LevelName(_eLevel));
    if (!_result.strFault.empty())
    {
        _pTable->arrFaults.push_back(ZFormat("%s: %s", strWork, _result.strFault));
        return;
    }
    const double dblValue = Bench_Median(_result.arrValues);
    const double dblLimit = LimitOf(_case, _eLevel);
    const std::string strValue = BenchCase_ValueText(_case, dblValue);
    std::string strRow = ZFormat("| %s | %s | %s | ", strWork, TimeText(_case, _result), strValue);
    if (dblLimit > 0)
    {
        const bool bMet = BenchCase_IsMet(_case, dblValue, dblLimit);
        strRow += BenchCase_LimitText(_case, dblLimit) + (bMet ? " | yes" : " | NO");
        _pTable->nMet += bMet;
        if (!bMet)
            _pTable->arrMissed.push_back(
                ZFormat("%s: %s, asked %s", strWork, strValue, BenchCase_LimitText(_case, dblLimit)));
    }
    else
    {
        strRow += " | ";
    }
    _pTable->strText += strRow + " |\n";
}

} // namespace

BENCH_TABLE BenchTable_Make(const CBenchResults& _results)
{
    BENCH_TABLE table;
    table.strText = _results.Machine() + ".\n\n" + c_pszHead;
    int nAbsent = 0;
    for (const BENCH_CASE& benchCase : BenchCases())
    {
        bool bThere = false;
        for (const eSIMD_Level eLevel : {eSIMD_None, eSIMD_AVX2, eSIMD_AVX512})
            if (const BENCH_RESULT* const pResult = _results.Find(benchCase, eLevel))
            {
                bThere = true;
                AddRow(benchCase, eLevel, *pResult, &table);
            }
        nAbsent += !bThere;
    }
    table.strText += ZFormat("\n%d budgets met, %d not.\n", table.nMet, table.arrMissed.size());
    if (nAbsent)
        table.strText += ZFormat(
            "%d rows were not measured: they compare with ffmpeg or libyuv (Debian: ffmpeg, libyuv-dev).\n", nAbsent);
    return table;
}

std::string BenchTable_Keys(const CBenchResults& _results)
{
    struct COLUMN
    {
        const char* pszName;
        eSIMD_Level eLevel;
        int nThreads;
        eKeyScene eScene;
    };
    constexpr COLUMN c_arrColumns[] = {{"none", eSIMD_None, 1, eKS_Screen},
                                       {"avx2", eSIMD_AVX2, 1, eKS_Screen},
                                       {"avx2, random", eSIMD_AVX2, 1, eKS_Random},
                                       {"avx512", eSIMD_AVX512, 1, eKS_Screen},
                                       {"avx512, random", eSIMD_AVX512, 1, eKS_Random},
                                       {"avx512, 2 threads", eSIMD_AVX512, 2, eKS_Screen}};
    std::string strHead = "| keys |", strRule = "|---|", strRows;
    for (const COLUMN& column : c_arrColumns)
    {
        strHead += ZFormat(" %hs |", column.pszName);
        strRule += "---|";
    }
    for (const int nKeys : {1, 2, 4, 8, 16})
    {
        strRows += ZFormat("| %d |", nKeys);
        for (const COLUMN& column : c_arrColumns)
        {
            const BENCH_CASE benchCase = {.nKeys = nKeys, .nThreads = column.nThreads, .eScene = column.eScene};
            const double dblPixels = static_cast<double>(benchCase.nWidth) * benchCase.nHeight;
            const auto seconds = _results.Seconds(benchCase, column.eLevel);
            strRows += seconds ? ZFormat(" %.2f |", *seconds / dblPixels * 1e9) : " - |";
        }
        strRows += "\n";
    }
    return strHead + "\n" + strRule + "\n" + strRows;
}
