#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

/// A path of the system from a UTF-8 one.
std::filesystem::path File_Path(std::string_view _svPath);
/// Why the C library's last file call failed, as the system says it; set errno to 0 before the call.
std::string File_LastError();

/// Where the bytes for a path go.
struct FILE_TARGET
{
    std::string strPath; ///< the file at the end of all links, as an absolute path; two names of one file give the same
    bool bInPlace;       ///< a device or a pipe: opened under the given name and written, never replaced
};
/// Resolves a UTF-8 path, links to files that do not exist yet included. Never fails: what cannot be resolved stays.
FILE_TARGET File_Target(std::string_view _svPath);

/// One file being written: bytes go to a unique temporary name beside the final one, which appears with Commit, whole,
/// or not at all. A link stays: the file it points at is replaced. Devices and pipes are written in place.
///
/// Paths are UTF-8. Each step answers false when the system refuses; Reason then says why, without the
/// path, and what to do where that is known. After a failure only destruction makes sense. Used by one thread at a
/// time.
class CTempFile
{
public:
    CTempFile() = default;
    /// Removes what was not committed; what was written in place stays.
    ~CTempFile();
    CTempFile(const CTempFile&) = delete;
    CTempFile& operator=(const CTempFile&) = delete;

    /// Makes the file. Once per object. A folder is refused.
    bool Open(std::string_view _svPath);
    bool Write(std::string_view _svBytes);
    /// Writes out what is buffered and closes the file: errors such as a full disk may show only now.
    bool Close();
    /// Closes the file and gives it its final name; a file that had that name before is replaced in one step.
    bool Commit();

    /// Whether bytes go straight to the final name, so that they cannot be taken back.
    bool IsInPlace() const
    {
        return m_pathTemporary.empty();
    }
    /// Where the bytes lie until Commit, for a program that goes on writing there after Close.
    std::string Target() const;
    const std::string& Reason() const
    {
        return m_strReason;
    }

private:
    bool Fail(std::string _strReason);

    std::filesystem::path m_pathFinal;
    std::filesystem::path m_pathTemporary; ///< empty: written in place, or committed
    std::FILE* m_pFile = nullptr;
    std::string m_strReason;
};
