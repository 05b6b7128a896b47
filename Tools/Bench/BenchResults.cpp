#include "Bench/BenchResults.h"

#include "Kit/HostError.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace
{

/// The benchmark library writes one field a line: "name": value, with quotes around texts. No text of ours has any.
bool ReadField(const std::string& _strLine, std::string* _pstrName, std::string* _pstrValue)
{
    const size_t nName = _strLine.find('"');
    const size_t nColon = _strLine.find("\": ");
    if (nName == std::string::npos || nColon == std::string::npos || nColon <= nName)
        return false;
    *_pstrName = _strLine.substr(nName + 1, nColon - nName - 1);
    std::string strValue = _strLine.substr(nColon + 3);
    while (!strValue.empty() && (strValue.back() == ',' || strValue.back() == '"' || strValue.back() == '\r'))
        strValue.pop_back();
    *_pstrValue = strValue.substr(!strValue.empty() && strValue[0] == '"');
    return true;
}

std::string FieldOf(const std::map<std::string, std::string>& _mapFields, const char* _pszName)
{
    const auto it = _mapFields.find(_pszName);
    return it == _mapFields.end() ? std::string() : it->second;
}

} // namespace

double Bench_Median(std::vector<double> _arrNumbers)
{
    std::sort(_arrNumbers.begin(), _arrNumbers.end());
    return _arrNumbers[_arrNumbers.size() / 2];
}

void CBenchResults::Read(const std::string& _strPath)
{
    std::ifstream file(_strPath);
    std::map<std::string, std::string> mapFields;
    const size_t nBefore = m_mapResults.size();
    for (std::string strLine, strName, strValue; std::getline(file, strLine);)
    {
        if (ReadField(strLine, &strName, &strValue))
            mapFields[strName] = strValue;
        if (strLine.find('}') == std::string::npos)
            continue;
        Take(mapFields);
        mapFields.clear();
    }
    if (m_mapResults.size() == nBefore)
        throw CZHostError(ZFormat("%s has no result; run the benchmark again", _strPath));
}

void CBenchResults::Take(const std::map<std::string, std::string>& _mapFields)
{
    if (const std::string strCpus = FieldOf(_mapFields, "num_cpus"); !strCpus.empty())
        m_strMachine = ZFormat("%s processor cores at %s MHz, %s", strCpus, FieldOf(_mapFields, "mhz_per_cpu"),
                               FieldOf(_mapFields, "date").substr(0, 10));
    if (FieldOf(_mapFields, "run_type") != "iteration")
        return;
    const std::string strName = FieldOf(_mapFields, "name");
    BENCH_RESULT& result = m_mapResults[{strName.substr(0, strName.find('/')), FieldOf(_mapFields, "label")}];
    result.strFault += FieldOf(_mapFields, "error_message");
    if (!result.strFault.empty())
        return;
    const auto fnNumber = [&](const char* _pszField) { return std::atof(FieldOf(_mapFields, _pszField).c_str()); };
    result.arrSeconds.push_back(fnNumber("seconds"));
    result.arrRatios.push_back(fnNumber("ratio"));
    result.arrValues.push_back(fnNumber("value"));
    for (const auto& [strField, strSeconds] : _mapFields)
        if (strField.rfind(c_pszBenchStep, 0) == 0)
            result.mapSteps[strField.substr(std::strlen(c_pszBenchStep))].push_back(std::atof(strSeconds.c_str()));
}

const BENCH_RESULT* CBenchResults::Find(const BENCH_CASE& _case, eSIMD_Level _eLevel) const
{
    const auto it = m_mapResults.find({BenchCase_Name(_case), ZCpu_LevelName(_eLevel)});
    return it == m_mapResults.end() ? nullptr : &it->second;
}

std::optional<double> CBenchResults::Seconds(const BENCH_CASE& _case, eSIMD_Level _eLevel) const
{
    const BENCH_RESULT* const pResult = Find(_case, _eLevel);
    if (!pResult || pResult->arrSeconds.empty())
        return {};
    return Bench_Median(pResult->arrSeconds);
}
