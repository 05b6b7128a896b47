#pragma once

#include "Sdk/ZChromaKeyC.h"

#include <string>

/// What shells, the plug-ins of other programs that key by this module, have in common: how they find it.

/// The module's functions by their names: pApi->zck_open(...).
struct SHELL_API
{
#define ZCK_SHELL_ENTRY(name) decltype(&::name) name; // NOLINT(bugprone-macro-parentheses): a declaration
    ZCK_FUNCTIONS(ZCK_SHELL_ENTRY)
#undef ZCK_SHELL_ENTRY
};

/// Loads the module at the first call, for all shells of the process, and keeps it: hosts unload shells, but what came
/// from the module may still be held. From any thread.
///
/// The file that the variable ZCHROMAKEY_MODULE of the environment names; or else the module beside the shell (links
/// are followed), in the folder above that, or where the system looks for libraries.
///
/// Null where there is none, or one without these functions; _strWhy then says what was tried and what to do. It is
/// looked for again with the next call.
const SHELL_API* ShellModule_Get(std::string& _strWhy);
