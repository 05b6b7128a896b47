#pragma once

#include "Interfaces/IZPlugin.h"

#include <string>

/// Log lines on standard error, each after "zkhost: " and its level.

/// Sets how much of the log is shown, this program's and the module's.
void StandardError_LogSet(eZLogLevel _eLevel);
/// Shows one line of it; a HOST_LOG_PRINT.
void StandardError_Print(eZLogLevel _eLevel, const char* _pszText);
/// A text with its control characters, line ends and tabs aside, as question marks: what a file holds must not reach a
/// terminal as a command.
std::string StandardError_Harmless(std::string _strText);
