#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Whole text files, read and written in one piece. Paths are UTF-8.

/// Reads a file of at most so many bytes. False and a reason that names the file when that cannot be done.
bool TextFile_Read(std::string_view _svPath, size_t _cbMax, std::string* _pstrText, std::string* _pstrReason);

/// Where the bytes for a path go.
struct TEXT_FILE_TARGET
{
    std::string strPath; ///< the file at the end of all links, as an absolute path; two names of one file give the same
    bool bInPlace;       ///< a device or a pipe: opened under the given name and written, never replaced
};
TEXT_FILE_TARGET TextFile_Target(std::string_view _svPath);

/// Writes a file under a temporary name beside the final one and then replaces it, so that the final name never shows
/// half a file. A link stays: the file it points at is replaced. Devices and pipes are written in place. False and a
/// reason when that cannot be done; a file that was there before is then still there.
bool TextFile_Replace(std::string_view _svPath, std::string_view _svText, std::string* _pstrReason);
