#pragma once

#include <string>
#include <vector>

/// The programs that read and write videos: ffmpeg and ffprobe.

/// Throws CZHostError where a program is not in the path: says how to get it.
void VideoTools_Need(const char* _pszProgram);
/// How the programs are given the name of a file, so that nothing in it means an option or a protocol.
std::string VideoTools_FileName(const std::string& _strPath);
/// The last two things that a program said on standard error, without the file's name and the address of its part that
/// said it: often the last one only repeats that it failed.
std::string VideoTools_Words(const std::vector<std::string>& _vecSaid, const std::string& _strPath);
