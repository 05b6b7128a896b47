#pragma once

#include <CLI/CLI.hpp>

/// The subcommands. Each function adds one to the program, with its options, help and examples; its callback does the
/// work and throws CZHostError.

void Command_AddKey(CLI::App& _app);
void Command_AddDetect(CLI::App& _app);
void Command_AddSheet(CLI::App& _app);
void Command_AddSample(CLI::App& _app);
void Command_AddFormats(CLI::App& _app);
void Command_AddDescribe(CLI::App& _app);
void Command_AddInfo(CLI::App& _app);
