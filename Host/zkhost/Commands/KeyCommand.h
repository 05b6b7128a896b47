#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// What a caller in this program has to do with a run of zkhost key.
struct KEY_COMMAND_HOOKS
{
    std::string strDocument; ///< keys and options, in the place of a file of them
    std::function<void(int64_t _nDone)>
        fnStep; ///< called after each frame that is written; what it throws ends the job
};

/// Does what zkhost key does with these arguments; the log stays the caller's. On failure nothing is left under the
/// output's name. Throws CZHostError.
void KeyCommand_Run(std::vector<std::string> _vecArguments, KEY_COMMAND_HOOKS _hooks);
