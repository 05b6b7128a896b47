#include "Props/TempFile.h"

#include "Base/ZLog.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace
{

std::string TextOf(const fs::path& _path)
{
    const std::u8string u8Text = _path.u8string();
    return {u8Text.begin(), u8Text.end()};
}

/// A name beside the final one that no other writer uses, in this process or another.
fs::path TemporaryBeside(const fs::path& _path)
{
    static std::atomic<uint32_t> s_nCount{0};
    const auto nTime = std::chrono::steady_clock::now().time_since_epoch().count();
    fs::path pathTemp = _path;
    pathTemp += ZFormat(".%I64x-%x.tmp", nTime, ++s_nCount);
    return pathTemp;
}

std::FILE* OpenToWrite(const fs::path& _path)
{
    errno = 0;
#if defined(_WIN32)
    return _wfopen(_path.c_str(), L"wb");
#else
    return std::fopen(_path.c_str(), "wb");
#endif
}

} // namespace

fs::path File_Path(std::string_view _svPath)
{
    return fs::path(std::u8string(_svPath.begin(), _svPath.end()));
}

std::string File_LastError()
{
    return errno ? std::generic_category().message(errno) : "unknown error";
}

FILE_TARGET File_Target(std::string_view _svPath)
{
    constexpr int c_nMaxLinks = 40;
    std::error_code err;
    fs::path path = fs::absolute(File_Path(_svPath), err);
    const fs::file_status status = fs::status(path, err);
    // The system follows links only to files that are there already.
    for (int i = 0; i < c_nMaxLinks && !fs::exists(status) && fs::is_symlink(path, err); ++i)
        path = path.parent_path() / fs::read_symlink(path, err);
    const fs::path pathTarget = fs::weakly_canonical(path, err);
    const bool bInPlace = fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
    return {TextOf(err ? path : pathTarget), bInPlace};
}

CTempFile::~CTempFile()
{
    if (m_pFile)
        std::fclose(m_pFile);
    std::error_code err;
    if (!m_pathTemporary.empty())
        fs::remove(m_pathTemporary, err);
}

bool CTempFile::Open(std::string_view _svPath)
{
    std::error_code err;
    if (fs::is_directory(File_Path(_svPath), err))
        return Fail("it is a folder; name a file in it");
    const FILE_TARGET target = File_Target(_svPath);
    m_pathFinal = File_Path(target.bInPlace ? _svPath : std::string_view(target.strPath));
    fs::path pathTemporary = target.bInPlace ? fs::path() : TemporaryBeside(m_pathFinal);
    m_pFile = OpenToWrite(target.bInPlace ? m_pathFinal : pathTemporary);
    if (!m_pFile)
        return Fail(File_LastError() + "; check that its folder exists and may be written");
    m_pathTemporary = std::move(pathTemporary);
    return true;
}

bool CTempFile::Write(std::string_view _svBytes)
{
    errno = 0;
    return std::fwrite(_svBytes.data(), 1, _svBytes.size(), m_pFile) == _svBytes.size() || Fail(File_LastError());
}

bool CTempFile::Close()
{
    errno = 0;
    std::FILE* const pFile = std::exchange(m_pFile, nullptr);
    return !pFile || std::fclose(pFile) == 0 || Fail(File_LastError());
}

bool CTempFile::Commit()
{
    if (!Close())
        return false;
    if (IsInPlace())
        return true;
    std::error_code err;
    fs::rename(m_pathTemporary, m_pathFinal, err);
    if (err)
        return Fail(err.message());
    m_pathTemporary.clear();
    return true;
}

std::string CTempFile::Target() const
{
    return TextOf(IsInPlace() ? m_pathFinal : m_pathTemporary);
}

bool CTempFile::Fail(std::string _strReason)
{
    m_strReason = std::move(_strReason);
    return false;
}
