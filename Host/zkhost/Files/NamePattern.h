#pragma once

#include <cstdint>
#include <string>

/// Names of picture sequences: "name_%05d.png" stands for name_00000.png, name_00001.png ...

/// What follows the last dot, in lower case.
std::string NamePattern_Extension(const std::string& _strPath);
/// True when the name holds a "%d" or "%05d". Throws CZUsageError for two of them or any other use of "%".
bool NamePattern_IsPattern(const std::string& _strPath);
/// The name with a number in place.
std::string NamePattern_Name(const std::string& _strPattern, int64_t _nNumber);
