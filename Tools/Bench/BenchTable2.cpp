#include "Bench/BenchTable.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"

namespace
{

/// Cells as a table in Markdown; the first row is its head.
std::string MarkdownOf(const std::vector<std::vector<std::string>>& _vecRows)
{
    std::string strText;
    for (const std::vector<std::string>& vecRow : _vecRows)
    {
        for (const std::string& strCell : vecRow)
            strText += ZFormat("| %s ", strCell);
        strText += "|\n";
        for (size_t n = 0; n < vecRow.size() && &vecRow == &_vecRows[0]; ++n)
            strText += n + 1 < vecRow.size() ? "|---" : "|---|\n";
    }
    return strText;
}

/// Times of a step over the pass beside it.
double RatioOf(const BENCH_RESULT& _result, const std::vector<double>& _arrSeconds)
{
    const double dblPass = Bench_Median(_result.arrSeconds) / Bench_Median(_result.arrRatios);
    return Bench_Median(_arrSeconds) / dblPass;
}

/// What the cases of a level say about a step.
std::vector<std::string> StepRow(const char* _pszStep, const std::vector<const BENCH_RESULT*>& _vecResults)
{
    std::vector<std::string> vecRow = {_pszStep};
    for (const BENCH_RESULT* const pResult : _vecResults)
    {
        const auto it = pResult->mapSteps.find(_pszStep);
        vecRow.push_back(it == pResult->mapSteps.end() ? "-" : ZFormat("%.2f", RatioOf(*pResult, it->second)));
    }
    return vecRow;
}

std::string StepsOfLevel(const CBenchResults& _results, eSIMD_Level _eLevel)
{
    std::vector<const BENCH_RESULT*> vecResults;
    std::vector<std::string> vecHead = {ZCpu_LevelName(_eLevel)}, vecWhole = {"whole frame"};
    for (const BENCH_CASE& benchCase : BenchCases())
    {
        const BENCH_RESULT* const pResult = _results.Find(benchCase, _eLevel);
        if (benchCase.eSubject != eBSub_Steps || !pResult || !pResult->strFault.empty())
            continue;
        vecResults.push_back(pResult);
        vecHead.push_back(ZFormat("%s, %d %%%hs",
                                  benchCase.fccType == eZFCC_RGB32 ? std::string("BGRA") : FCC_Name(benchCase.fccType),
                                  benchCase.nMixed, benchCase.bShadows ? ", shadows" : ""));
        vecWhole.push_back(ZFormat("%.2f", Bench_Median(pResult->arrRatios)));
    }
    std::vector<std::vector<std::string>> vecRows = {vecHead};
    for (const char* const pszStep : c_arrBenchSteps)
        vecRows.push_back(StepRow(pszStep, vecResults));
    vecRows.push_back(vecWhole);
    return vecResults.empty() ? "" : "\n" + MarkdownOf(vecRows);
}

} // namespace

std::string BenchTable_Shares(const CBenchResults& _results)
{
    std::vector<std::vector<std::string>> vecRows = {
        {"mixed", "none", "avx2", "avx512", "avx2, 2 threads", "avx512, 2 threads"}};
    constexpr std::pair<eSIMD_Level, int> c_arrColumns[] = {
        {eSIMD_None, 1}, {eSIMD_AVX2, 1}, {eSIMD_AVX512, 1}, {eSIMD_AVX2, 2}, {eSIMD_AVX512, 2}};
    for (const int nMixed : {0, 8, 25, 70})
    {
        std::vector<std::string> vecRow = {ZFormat("%d %%", nMixed)};
        for (const auto& [eLevel, nThreads] : c_arrColumns)
        {
            const auto seconds = _results.Seconds({.nGeneration = 2, .nThreads = nThreads, .nMixed = nMixed}, eLevel);
            vecRow.push_back(seconds ? ZFormat("%.2f", *seconds * 1e3) : "-");
        }
        vecRows.push_back(vecRow);
    }
    return MarkdownOf(vecRows);
}

std::string BenchTable_Steps(const CBenchResults& _results)
{
    return StepsOfLevel(_results, eSIMD_AVX2) + StepsOfLevel(_results, eSIMD_AVX512);
}
