#include "Bench/BenchKept.h"
#include "Bench/BenchPlot.h"
#include "Bench/BenchTable.h"
#include "Kit/HostError.h"
#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/PictureFile.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <string_view>

/// Usage: zck_bench_table [--keep|--check KEPT.txt] FOLDER RESULT.json...: writes FOLDER/table.md and FOLDER/plot.png,
/// and the ratios of the run into KEPT.txt, or holds them against those that are in it. Exit status 1 when a case gave
/// a wrong answer or became slower; a budget that is not met is said and no failure, because it may be the machine's.

namespace
{

/// What a run says about its rows, as far as it is ours: the medians of the repetitions, or the least, which says what
/// the machine can do while something disturbs it.
KEPT_TABLE KeptOf(const CBenchResults& _results, bool _bLeast)
{
    KEPT_TABLE table = {_results.Machine(), {}};
    for (const BENCH_CASE& benchCase : BenchCases())
        for (const eSIMD_Level eLevel : {eSIMD_None, eSIMD_AVX2, eSIMD_AVX512})
        {
            const BENCH_RESULT* const pResult = _results.Find(benchCase, eLevel);
            const bool bOurs = benchCase.eSubject != eBSub_FFmpeg && benchCase.eSubject != eBSub_HandOver;
            if (!bOurs || !pResult || pResult->arrRatios.empty())
                continue;
            const std::vector<double>& arrRatios = pResult->arrRatios;
            table.mapRatios[{ZCpu_LevelName(eLevel), BenchCase_Name(benchCase)}] =
                _bLeast ? *std::min_element(arrRatios.begin(), arrRatios.end()) : Bench_Median(arrRatios);
        }
    return table;
}

void Print(const char* _pszWhat, const std::vector<std::string>& _arrLines)
{
    for (const std::string& strLine : _arrLines)
        std::printf("%s: %s\n", _pszWhat, strLine.c_str());
}

/// Whether no row became slower: not even its fastest repetition is as fast as what was kept.
bool Check(const CBenchResults& _results, const std::string& _strPath)
{
    std::ifstream file(_strPath, std::ios::binary);
    if (!file)
        throw CZHostError(ZFormat("cannot read %s; \"./zk bench --keep\" makes it", _strPath));
    const std::string strText(std::istreambuf_iterator<char>(file), {});
    const KEPT_TABLE kept = BenchKept_Read(strText);
    std::printf("kept on:     %s\nmeasured on: %s\n", kept.strMachine.c_str(), _results.Machine().c_str());
    const KEPT_COMPARISON comparison = BenchKept_Compare(kept, KeptOf(_results, true));
    Print("not kept", comparison.arrNew);
    Print("not measured", comparison.arrMissing);
    Print("faster", comparison.arrFaster);
    Print("SLOWER", comparison.arrSlower);
    std::printf("%zu rows slower by more than %.0f %%, %zu faster, %d the same\n", comparison.arrSlower.size(),
                100 * c_dblKeptMargin, comparison.arrFaster.size(), comparison.nSame);
    return comparison.arrSlower.empty();
}

/// What becomes of the ratios of a run.
struct KEPT_COMMAND
{
    std::string strVerb; ///< "--keep", "--check" or nothing
    std::string strPath;
};

int Run(const KEPT_COMMAND& _kept, const std::string& _strFolder, int _nFiles, char** _ppszFiles)
{
    CBenchResults results;
    for (int i = 0; i < _nFiles; ++i)
        results.Read(_ppszFiles[i]);
    const BENCH_TABLE table = BenchTable_Make(results);
    CZOutFiles files;
    CZOutFile& fileTable = files.Create(_strFolder + "/table.md");
    fileTable.Write(
        ZFormat("%s\nns/pixel over keys, RGB, 1080p BGRA:\n\n%s\nSecond generation, ms a frame over the share "
                "that is mixed, 1080p BGRA:\n\n%s\nSecond generation, steps of a 1080p frame, x copying:\n%s",
                table.strText, BenchTable_Keys(results), BenchTable_Shares(results), BenchTable_Steps(results)));
    CZOutFile& filePlot = files.Create(_strFolder + "/plot.png");
    PictureFile_WritePng(BenchPlot_Draw(results), filePlot);
    if (_kept.strVerb == "--keep")
        files.Create(_kept.strPath).Write(BenchKept_Text(KeptOf(results, false)));
    files.CommitAll();
    for (const std::string& strMissed : table.arrMissed)
        std::printf("not met: %s\n", strMissed.c_str());
    for (const std::string& strFault : table.arrFaults)
        std::printf("WRONG: %s\n", strFault.c_str());
    std::printf("%d budgets met, %zu not\n", table.nMet, table.arrMissed.size());
    const bool bSlower = _kept.strVerb == "--check" && !Check(results, _kept.strPath);
    return table.arrFaults.empty() && !bSlower ? 0 : 1;
}

} // namespace

int main(int _nArgs, char** _ppszArgs)
{
    KEPT_COMMAND kept;
    if (_nArgs > 2 && (_ppszArgs[1] == std::string_view("--keep") || _ppszArgs[1] == std::string_view("--check")))
    {
        kept = {_ppszArgs[1], _ppszArgs[2]};
        _nArgs -= 2;
        _ppszArgs += 2;
    }
    if (_nArgs < 3)
    {
        std::fprintf(stderr, "usage: zck_bench_table [--keep|--check KEPT.txt] FOLDER RESULT.json...\n");
        return 2;
    }
    try
    {
        return Run(kept, _ppszArgs[1], _nArgs - 2, _ppszArgs + 2);
    }
    catch (const std::exception& ex)
    {
        std::fprintf(stderr, "zck_bench_table: %s\n", ex.what());
        return 1;
    }
}
