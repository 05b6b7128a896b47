#include "Bench/BenchKept.h"

#include "Kit/HostError.h"

#include "Base/ZLog.h"

#include <cmath>
#include <cstdlib>
#include <sstream>

namespace
{

constexpr char c_szMachine[] = "machine";
constexpr char c_szHead[] =
    "# What rows of the benchmark took, over the pass beside them. \"./zk bench --check\" holds a run against this;\n"
    "# \"./zk bench --keep\" makes it anew. It belongs to one kind of machine.\n";

/// The parts of a line between its tabs.
std::vector<std::string> PartsOf(const std::string& _strLine)
{
    std::vector<std::string> vecParts;
    std::istringstream stream(_strLine);
    for (std::string strPart; std::getline(stream, strPart, '\t');)
        vecParts.push_back(strPart);
    return vecParts;
}

/// 0 where a text is no number above 0.
double RatioOf(const std::string& _strText)
{
    char* pszEnd = nullptr;
    const double dblRatio = std::strtod(_strText.c_str(), &pszEnd);
    const bool bNumber = !_strText.empty() && *pszEnd == 0 && std::isfinite(dblRatio);
    return bNumber && dblRatio > 0 ? dblRatio : 0;
}

/// False where a line is none of a table.
bool TakeLine(const std::string& _strLine, KEPT_TABLE* _pTable)
{
    const std::vector<std::string> vecParts = PartsOf(_strLine);
    if (vecParts.size() == 2 && vecParts[0] == c_szMachine)
    {
        _pTable->strMachine = vecParts[1];
        return true;
    }
    const double dblRatio = vecParts.size() == 3 ? RatioOf(vecParts[2]) : 0;
    return dblRatio > 0 && _pTable->mapRatios.try_emplace({vecParts[0], vecParts[1]}, dblRatio).second;
}

bool HasLevel(const KEPT_TABLE& _table, const std::string& _strLevel)
{
    const auto it = _table.mapRatios.lower_bound({_strLevel, ""});
    return it != _table.mapRatios.end() && it->first.first == _strLevel;
}

void CompareRow(const std::string& _strRow, double _dblKept, double _dblMeasured, KEPT_COMPARISON* _pResult)
{
    const std::string strLine = ZFormat("%s: %.2f x the pass, kept %.2f x (%+.0f %%)", _strRow, _dblMeasured, _dblKept,
                                        100 * (_dblMeasured / _dblKept - 1));
    if (_dblMeasured > _dblKept * (1 + c_dblKeptMargin))
        _pResult->arrSlower.push_back(strLine);
    else if (_dblMeasured * (1 + c_dblKeptMargin) < _dblKept)
        _pResult->arrFaster.push_back(strLine);
    else
        ++_pResult->nSame;
}

} // namespace

std::string BenchKept_Text(const KEPT_TABLE& _table)
{
    std::string strText = ZFormat("%hs%hs\t%s\n", c_szHead, c_szMachine, _table.strMachine);
    for (const auto& [row, dblRatio] : _table.mapRatios)
        strText += ZFormat("%s\t%s\t%.3f\n", row.first, row.second, dblRatio);
    return strText;
}

KEPT_TABLE BenchKept_Read(const std::string& _strText)
{
    KEPT_TABLE table;
    std::istringstream stream(_strText);
    int nLine = 0;
    for (std::string strLine; std::getline(stream, strLine);)
    {
        ++nLine;
        if (!strLine.empty() && strLine.back() == '\r')
            strLine.pop_back();
        if (!strLine.empty() && strLine[0] != '#' && !TakeLine(strLine, &table))
            throw CZHostError(ZFormat("line %d: expected level, name and ratio with tabs between, once for each row; "
                                      "make the table anew with \"./zk bench --keep\"",
                                      nLine));
    }
    if (table.mapRatios.empty())
        throw CZHostError("there is no row in it; make the table anew with \"./zk bench --keep\"");
    return table;
}

KEPT_COMPARISON BenchKept_Compare(const KEPT_TABLE& _kept, const KEPT_TABLE& _measured)
{
    KEPT_COMPARISON result;
    std::map<std::string, int> mapLevels; // of which nothing was measured: rows
    for (const auto& [row, dblKept] : _kept.mapRatios)
    {
        const std::string strRow = ZFormat("%s, %s", row.second, row.first);
        const auto it = _measured.mapRatios.find(row);
        if (it != _measured.mapRatios.end())
            CompareRow(strRow, dblKept, it->second, &result);
        else if (HasLevel(_measured, row.first))
            result.arrMissing.push_back(strRow);
        else
            ++mapLevels[row.first];
    }
    for (const auto& [strLevel, nRows] : mapLevels)
        result.arrMissing.push_back(
            ZFormat("all %d rows of %s, which this machine or ZCK_SIMD lacks", nRows, strLevel));
    for (const auto& [row, dblRatio] : _measured.mapRatios)
        if (!_kept.mapRatios.contains(row))
            result.arrNew.push_back(ZFormat("%s, %s", row.second, row.first));
    return result;
}
