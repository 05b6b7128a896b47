#pragma once

#include "zkhost/Ui/Editor.h"

#include <cstdint>
#include <string>

/// What a command line is made of.
struct COMMAND_FACTS
{
    const CZEditor* pEditor = nullptr;
    std::string strInput;
    std::string strRawSpec;
    std::string strOutput;
    EDITOR_OPTIONS vecOptions;
    int64_t nIn = 0;
    int64_t nOut = -1; ///< the last frame; -1: of the clip
};

/// The command line of zkhost key that does the same, quoted for the shell of this system. Keys that were picked are on
/// frames that it does not see, so they come from a file, which a comment after it says.
std::string CommandText_Make(const COMMAND_FACTS& _facts);

/// An argument as the shell of this system takes it as one.
std::string CommandText_Quoted(const std::string& _strArgument);
