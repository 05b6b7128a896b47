#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

/// One file being written: bytes go to a temporary name beside the final one, which appears with Commit, whole, or
/// not at all. "-" (standard output), devices and pipes are written in place.
class CZOutFile
{
public:
    /// Throws CZHostError when the file cannot be made.
    explicit CZOutFile(const std::string& _strPath);
    /// Removes what was not committed.
    ~CZOutFile();
    CZOutFile(const CZOutFile&) = delete;
    CZOutFile& operator=(const CZOutFile&) = delete;

    /// Throws CZHostError on a full disk or a closed pipe.
    void Write(const void* _pBytes, size_t _cbBytes);
    /// Flushes and closes; errors that show only now throw.
    void Close();
    /// Gives the closed file its final name.
    void Commit();
    const std::string& Name() const
    {
        return m_strName;
    }

private:
    [[noreturn]] void Fail() const;

    std::string m_strName;
    std::string m_strFinal;
    std::string m_strTemporary; ///< empty: written in place, or committed
    std::FILE* m_pFile = nullptr;
};

/// All files of a job: they get their final names together, once the job is done.
class CZOutFiles
{
public:
    /// The file belongs to this collection.
    CZOutFile& Create(const std::string& _strPath);
    void CommitAll();

private:
    std::vector<std::unique_ptr<CZOutFile>> m_vecFiles;
};
