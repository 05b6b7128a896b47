#pragma once

#include "Bench/BenchCase.h"

#include "Base/ZCpu.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

/// What the fields begin with that say how long a step took; its name follows.
inline constexpr char c_pszBenchStep[] = "step ";

/// What the repetitions of a case gave.
struct BENCH_RESULT
{
    std::vector<double> arrSeconds;
    std::vector<double> arrRatios;
    std::vector<double> arrValues;
    std::map<std::string, std::vector<double>> mapSteps; ///< seconds by step
    std::string strFault;                                ///< why it could not be measured
};

/// What runs of the benchmark program wrote as JSON, one file for each level.
class CBenchResults
{
public:
    /// Adds a file. Throws CZHostError when it cannot be read or has no result.
    void Read(const std::string& _strPath);
    /// Null: not measured.
    const BENCH_RESULT* Find(const BENCH_CASE& _case, eSIMD_Level _eLevel) const;
    /// The median time of a case.
    std::optional<double> Seconds(const BENCH_CASE& _case, eSIMD_Level _eLevel) const;
    /// What the files say about the machine.
    const std::string& Machine() const
    {
        return m_strMachine;
    }

private:
    void Take(const std::map<std::string, std::string>& _mapFields);

    std::map<std::pair<std::string, std::string>, BENCH_RESULT> m_mapResults; ///< by name and level
    std::string m_strMachine;
};

double Bench_Median(std::vector<double> _arrNumbers);
