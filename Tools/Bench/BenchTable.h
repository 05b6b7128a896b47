#pragma once

#include "Bench/BenchResults.h"

/// The results as a table in Markdown, and what became of the budgets.
struct BENCH_TABLE
{
    std::string strText;
    int nMet = 0;
    std::vector<std::string> arrMissed; ///< one line each
    std::vector<std::string> arrFaults; ///< cases that gave no or wrong answers
};

BENCH_TABLE BenchTable_Make(const CBenchResults& _results);
/// The curve over the number of keys as a small table in Markdown.
std::string BenchTable_Keys(const CBenchResults& _results);
/// The second generation: the curve over the mixed share, and where the time of a frame goes.
std::string BenchTable_Shares(const CBenchResults& _results);
std::string BenchTable_Steps(const CBenchResults& _results);
