#pragma once

#include <string>

/// Runs a command line of the system's shell to its end and answers what it says, on standard output and on standard
/// error. _pnExit: 0 where it was done. Throws CZHostError where the system cannot start anything.
std::string Process_Run(const std::string& _strCommand, int* _pnExit);
