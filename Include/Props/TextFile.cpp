#include "Props/TextFile.h"

#include "Base/ZLog.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

namespace
{

std::filesystem::path PathOf(std::string_view _svPath)
{
    return std::filesystem::path(std::u8string(_svPath.begin(), _svPath.end()));
}

std::string TextOf(const std::filesystem::path& _path)
{
    const std::u8string u8Text = _path.u8string();
    return {u8Text.begin(), u8Text.end()};
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

/// Removes a file when it goes, also when memory runs out on the way; unless the path is empty.
struct FILE_REMOVER
{
    std::filesystem::path path;

    explicit FILE_REMOVER(std::filesystem::path _path)
        : path(std::move(_path))
    {
    }
    FILE_REMOVER(const FILE_REMOVER&) = delete;
    FILE_REMOVER& operator=(const FILE_REMOVER&) = delete;
    ~FILE_REMOVER()
    {
        std::error_code err;
        if (!path.empty())
            std::filesystem::remove(path, err);
    }
};

/// Writes a whole file; the reason when that fails, else empty.
std::string Write(const std::filesystem::path& _path, std::string_view _svText)
{
    errno = 0;
    std::ofstream file(_path, std::ios::binary | std::ios::trunc);
    file.write(_svText.data(), static_cast<std::streamsize>(_svText.size()));
    file.close();
    return file ? std::string() : LastError();
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

TEXT_FILE_TARGET TextFile_Target(std::string_view _svPath)
{
    namespace fs = std::filesystem;
    constexpr int c_nMaxLinks = 40;
    std::error_code err;
    fs::path path = fs::absolute(PathOf(_svPath), err);
    const fs::file_status status = fs::status(path, err);
    // The system follows links only to files that are there already.
    for (int i = 0; i < c_nMaxLinks && !fs::exists(status) && fs::is_symlink(path, err); ++i)
        path = path.parent_path() / fs::read_symlink(path, err);
    const fs::path pathTarget = fs::weakly_canonical(path, err);
    const bool bInPlace = fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
    return {TextOf(err ? path : pathTarget), bInPlace};
}

bool TextFile_Replace(std::string_view _svPath, std::string_view _svText, std::string* _pstrReason)
{
    std::error_code err;
    if (std::filesystem::is_directory(PathOf(_svPath), err))
        return Fail(_pstrReason, "write", _svPath, "it is a folder; name a file in it");
    const TEXT_FILE_TARGET target = TextFile_Target(_svPath);
    const std::filesystem::path pathFinal = PathOf(target.bInPlace ? _svPath : std::string_view(target.strPath));
    FILE_REMOVER temporary(target.bInPlace ? std::filesystem::path() : TemporaryBeside(pathFinal));
    const std::string strWhy = Write(target.bInPlace ? pathFinal : temporary.path, _svText);
    if (!strWhy.empty())
        return Fail(_pstrReason, "write", _svPath, strWhy + "; check that its folder exists and may be written");
    if (target.bInPlace)
        return true;
    std::filesystem::rename(temporary.path, pathFinal, err);
    if (err)
        return Fail(_pstrReason, "replace", _svPath, err.message());
    temporary.path.clear();
    return true;
}
