#pragma once

#include "Props/TempFile.h"

#include <cstddef>
#include <string>
#include <string_view>

/// Whole text files, read and written in one piece. Paths are UTF-8.

/// Reads a file of at most so many bytes. False and a reason that names the file when that cannot be done.
bool TextFile_Read(std::string_view _svPath, size_t _cbMax, std::string* _pstrText, std::string* _pstrReason);

/// Another name of File_Target, for hosts that include this header.
using TEXT_FILE_TARGET = FILE_TARGET;
inline TEXT_FILE_TARGET TextFile_Target(std::string_view _svPath)
{
    return File_Target(_svPath);
}

/// Writes a file under a temporary name beside the final one and then replaces it, so that the final name never shows
/// half a file. A link stays: the file it points at is replaced. Devices and pipes are written in place. False and a
/// reason when that cannot be done; a file that was there before is then still there.
bool TextFile_Replace(std::string_view _svPath, std::string_view _svText, std::string* _pstrReason);
