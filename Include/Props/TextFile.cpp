#include "Props/TextFile.h"

#include "Base/ZLog.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace
{

std::filesystem::path PathOf(std::string_view _svPath)
{
    return std::filesystem::path(std::u8string(_svPath.begin(), _svPath.end()));
}

std::string LastError()
{
    return errno ? std::generic_category().message(errno) : "unknown error";
}

bool Fail(std::string* _pstrReason, const char* _pszWhat, std::string_view _svPath, const std::string& _strWhy)
{
    *_pstrReason = ZFormat("cannot %hs \"%hs\": %hs", _pszWhat, _svPath, _strWhy);
    return false;
}

/// A name beside the final one that no other writer uses, in this process or another.
std::filesystem::path TemporaryBeside(const std::filesystem::path& _path)
{
    static std::atomic<uint32_t> s_nCount{0};
    const auto nTime = std::chrono::steady_clock::now().time_since_epoch().count();
    std::filesystem::path pathTemp = _path;
    pathTemp += ZFormat(".%I64x-%x.tmp", nTime, ++s_nCount);
    return pathTemp;
}

} // namespace

bool TextFile_Read(std::string_view _svPath, size_t _cbMax, std::string* _pstrText, std::string* _pstrReason)
{
    std::error_code err;
    if (std::filesystem::is_directory(PathOf(_svPath), err))
        return Fail(_pstrReason, "read", _svPath, "it is a folder");
    errno = 0;
    std::ifstream file(PathOf(_svPath), std::ios::binary);
    if (!file)
        return Fail(_pstrReason, "read", _svPath, LastError());
    std::string strText;
    char arrPart[16384];
    while (file.read(arrPart, sizeof(arrPart)) || file.gcount() > 0)
    {
        strText.append(arrPart, static_cast<size_t>(file.gcount()));
        if (strText.size() > _cbMax)
            return Fail(_pstrReason, "read", _svPath, ZFormat("it has more than %zu bytes", _cbMax));
    }
    if (file.bad())
        return Fail(_pstrReason, "read", _svPath, LastError());
    *_pstrText = std::move(strText);
    return true;
}

bool TextFile_Replace(std::string_view _svPath, std::string_view _svText, std::string* _pstrReason)
{
    const std::filesystem::path pathFinal = PathOf(_svPath);
    const std::filesystem::path pathTemp = TemporaryBeside(pathFinal);
    std::error_code err;
    errno = 0;
    std::ofstream file(pathTemp, std::ios::binary | std::ios::trunc);
    file.write(_svText.data(), static_cast<std::streamsize>(_svText.size()));
    file.close();
    if (!file)
    {
        const std::string strWhy = LastError();
        std::filesystem::remove(pathTemp, err);
        return Fail(_pstrReason, "write", _svPath, strWhy);
    }
    std::filesystem::rename(pathTemp, pathFinal, err);
    if (!err)
        return true;
    const std::string strWhy = err.message();
    std::filesystem::remove(pathTemp, err);
    return Fail(_pstrReason, "replace", _svPath, strWhy);
}
