#include "Bench/BenchPlot.h"
#include "Bench/BenchTable.h"
#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/PictureFile.h"

#include <cstdio>
#include <exception>

/// Usage: zck_bench_table FOLDER RESULT.json...: writes FOLDER/table.md and FOLDER/plot.png. Exit status 1 when a case
/// gave a wrong answer; a budget that is not met is said and no failure, because it may be the machine's.

namespace
{

int Run(const std::string& _strFolder, int _nFiles, char** _ppszFiles)
{
    CBenchResults results;
    for (int i = 0; i < _nFiles; ++i)
        results.Read(_ppszFiles[i]);
    const BENCH_TABLE table = BenchTable_Make(results);
    CZOutFiles files;
    CZOutFile& fileTable = files.Create(_strFolder + "/table.md");
    fileTable.Write(table.strText + "\nns/pixel over keys, RGB, 1080p BGRA:\n\n" + BenchTable_Keys(results));
    CZOutFile& filePlot = files.Create(_strFolder + "/plot.png");
    PictureFile_WritePng(BenchPlot_Draw(results), filePlot);
    files.CommitAll();
    for (const std::string& strMissed : table.arrMissed)
        std::printf("not met: %s\n", strMissed.c_str());
    for (const std::string& strFault : table.arrFaults)
        std::printf("WRONG: %s\n", strFault.c_str());
    std::printf("%d budgets met, %zu not\n", table.nMet, table.arrMissed.size());
    return table.arrFaults.empty() ? 0 : 1;
}

} // namespace

int main(int _nArgs, char** _ppszArgs)
{
    if (_nArgs < 3)
    {
        std::fprintf(stderr, "usage: zck_bench_table FOLDER RESULT.json...\n");
        return 2;
    }
    try
    {
        return Run(_ppszArgs[1], _nArgs - 2, _ppszArgs + 2);
    }
    catch (const std::exception& ex)
    {
        std::fprintf(stderr, "zck_bench_table: %s\n", ex.what());
        return 1;
    }
}
