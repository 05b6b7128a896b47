#pragma once

#include "Interfaces/IZPlugin.h"

#include <string>

/// Log lines of this host and of the modules that it loads.

/// Takes a line to where the host shows it; called from any thread, one line at a time.
using HOST_LOG_PRINT = void (*)(eZLogLevel _eLevel, const char* _pszText);

/// Says how much is logged, by objects made from now on, and who prints it. Unless set: errors and warnings, which
/// nobody prints.
void HostLog_Set(eZLogLevel _eLevel, HOST_LOG_PRINT _pfnPrint);
eZLogLevel HostLog_Level();
/// The sink to give to a module; lives as long as the program.
IZLogSink* HostLog_Sink();
/// The last error line; it often says why a call failed. Empty when there was none.
std::string HostLog_LastError();
