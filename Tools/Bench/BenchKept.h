#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

/// What the rows of a run of the benchmark took, to hold later runs against: by level and name, their time over that of
/// the pass beside them. Ratios, because times belong to one machine; these belong to one kind of machine still.
struct KEPT_TABLE
{
    std::string strMachine; ///< in words
    std::map<std::pair<std::string, std::string>, double> mapRatios;
};

/// As the text of a small file, and back: lines of level, name and ratio with tabs between. Throws CZHostError, saying
/// where, when that is not what it holds.
std::string BenchKept_Text(const KEPT_TABLE& _table);
KEPT_TABLE BenchKept_Read(const std::string& _strText);

/// A row is slower, or faster, when it is so by more than this.
inline constexpr double c_dblKeptMargin = 0.15;

/// How a run compares with what was kept; a line for each row.
struct KEPT_COMPARISON
{
    int nSame = 0;
    std::vector<std::string> arrSlower;
    std::vector<std::string> arrFaster;
    std::vector<std::string> arrNew;     ///< measured, not kept
    std::vector<std::string> arrMissing; ///< kept, not measured; a level of which nothing was measured is one line
};
KEPT_COMPARISON BenchKept_Compare(const KEPT_TABLE& _kept, const KEPT_TABLE& _measured);
