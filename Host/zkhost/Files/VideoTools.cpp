#include "zkhost/Files/VideoTools.h"

#include "Kit/HostError.h"
#include "Kit/Process.h"

#include "Base/ZLog.h"

void VideoTools_Need(const char* _pszProgram)
{
    if (Process_IsThere(_pszProgram))
        return;
    throw CZHostError(ZFormat("videos are read and written with the program %hs, which is not in the path; it comes "
                              "with the package ffmpeg (Debian: apt install ffmpeg; Windows: ffmpeg.exe and "
                              "ffprobe.exe in a folder of the path)",
                              _pszProgram));
}

std::string VideoTools_FileName(const std::string& _strPath)
{
    return ZFormat("file:%s", _strPath);
}

namespace
{

std::string Plain(std::string _strLine, const std::string& _strPath)
{
    const size_t nEnd = _strLine.find("] "); // "[h264 @ 0x55d0c8a3a2c0] "
    if (_strLine.starts_with('[') && nEnd != std::string::npos)
        _strLine.erase(0, nEnd + 2);
    const std::string strFile = ZFormat("%s: ", VideoTools_FileName(_strPath));
    if (_strLine.starts_with(strFile))
        _strLine.erase(0, strFile.size());
    return _strLine;
}

} // namespace

std::string VideoTools_Words(const std::vector<std::string>& _vecSaid, const std::string& _strPath)
{
    if (_vecSaid.empty())
        return "it gave no reason";
    const std::string strLast = Plain(_vecSaid.back(), _strPath);
    const std::string strBefore = _vecSaid.size() > 1 ? Plain(_vecSaid[_vecSaid.size() - 2], _strPath) : strLast;
    return strBefore == strLast ? strLast : ZFormat("%s; %s", strBefore, strLast);
}
