#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <string>
#include <utility>

/// The subcommands. Each function adds one to the program, with its options, help and examples; its callback does the
/// work and throws CZHostError.

void Command_AddKey(CLI::App& _app);
void Command_AddDetect(CLI::App& _app);
void Command_AddSheet(CLI::App& _app);
void Command_AddSample(CLI::App& _app);
void Command_AddBench(CLI::App& _app);
void Command_AddSoak(CLI::App& _app);
void Command_AddFormats(CLI::App& _app);
void Command_AddOptions(CLI::App& _app);
void Command_AddDescribe(CLI::App& _app);
void Command_AddInfo(CLI::App& _app);
void Command_AddLicence(CLI::App& _app);
void Command_AddUi(CLI::App& _app);

/// Checks that an option is a whole number in a range; its message names the range, where it has an end.
CLI::Validator Command_Whole(int64_t _nMin, int64_t _nMax = INT64_MAX);

/// Checks that an option that names a file has not taken the next option for one.
CLI::Validator Command_File();

/// Takes "NAME=VALUE" apart. Throws CZUsageError, naming the option, where there is no name or no "=".
std::pair<std::string, std::string> Command_Pair(const std::string& _strText, const char* _pszOption);
