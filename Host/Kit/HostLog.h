#pragma once

#include "Interfaces/IZPlugin.h"

#include <string>

/// Log lines of this program and of the module, on standard error.

/// Sets how much is shown: errors and warnings unless set.
void HostLog_SetLevel(eZLogLevel _eLevel);
eZLogLevel HostLog_Level();
/// The sink to give to a module; lives as long as the program.
IZLogSink* HostLog_Sink();
/// A text with its control characters, line ends and tabs aside, as question marks: what a file holds must not reach a
/// terminal as a command.
std::string HostLog_Harmless(std::string _strText);
/// The last error line; it often says why a call failed. Empty when there was none.
std::string HostLog_LastError();
