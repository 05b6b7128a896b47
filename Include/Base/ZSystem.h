#pragma once

#include <string>

/// \name What runs here, for log lines
/// UTF-8; "unknown" where the system does not tell.
///@{

/// The program's file.
std::string ZSystem_ProgramPath();
/// The file that this code was loaded from: the module's, or the program's where it is linked in.
std::string ZSystem_ModulePath();
/// Name and version of the operating system: "Windows 10.0.19045", "Linux 6.1.0 x86_64".
std::string ZSystem_Name();
/// The processor's own name: "AMD EPYC 9R14".
std::string ZSystem_Processor();

/// Logs what a reader of a log from another machine asks first: the plug-in's version, module and program, operating
/// system, processor, and the instruction sets in use.
void ZSystem_Log(const char* _pszVersion);

///@}
