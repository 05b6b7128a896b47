#pragma once

#include "Props/TempFile.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

/// One file being written: bytes go to a temporary name beside the final one, which appears with Commit, whole, or
/// not at all. "-" (standard output), devices and pipes are written in place; a link stays, its target is written.
class CZOutFile
{
public:
    /// Throws CZHostError when the file cannot be made.
    explicit CZOutFile(const std::string& _strPath);
    /// Throws CZHostError on a full disk, a closed pipe or an interrupt.
    void Write(const void* _pBytes, size_t _cbBytes);
    void Write(const std::string& _strText)
    {
        Write(_strText.data(), _strText.size());
    }
    /// Lets another program write the file, whose name for now this answers. _fnFinish is called when the file is
    /// closed: it waits until the program is done, or throws.
    std::string HandOver(std::function<void()> _fnFinish);
    /// Flushes and closes; errors that show only now throw.
    void Close();
    /// Gives the closed file its final name.
    void Commit();
    const std::string& Name() const
    {
        return m_strName;
    }

private:
    bool IsInPlace() const;
    [[noreturn]] void Fail() const;

    std::string m_strName;
    CTempFile m_file;                 ///< removes what was not committed
    std::FILE* m_pStream = nullptr;   ///< standard output, instead of a file
    std::function<void()> m_fnFinish; ///< gone before the file is removed
};

/// All files of a job: they get their final names together, once the job is done.
class CZOutFiles
{
public:
    CZOutFiles() = default;
    /// Removes what was not committed, folders made for it included.
    ~CZOutFiles();
    CZOutFiles(const CZOutFiles&) = delete;
    CZOutFiles& operator=(const CZOutFiles&) = delete;

    /// What the job reads (a file, "-" or the name of a sequence) is not to be written.
    void Protect(const std::string& _strInput);
    /// Throws CZUsageError for what is protected, whatever name it is given. Create does so by itself.
    void Check(const std::string& _strPath) const;
    /// The file belongs to this collection. Throws CZUsageError for one that the job writes already, whatever name it
    /// is given.
    CZOutFile& Create(const std::string& _strPath);
    /// Makes a folder for files of the job, unless it is there.
    void MakeFolder(const std::string& _strPath);
    void CommitAll();

private:
    std::vector<std::unique_ptr<CZOutFile>> m_vecFiles;
    std::string m_strProtected;            ///< with links resolved; empty: nothing
    std::set<std::string> m_setTargets;    ///< what is written, with links resolved
    std::vector<std::string> m_vecFolders; ///< made, and not yet in use
};

/// Writes a text to standard output, to its last byte, or throws CZHostError.
void OutFile_Print(const std::string& _strText);

/// Throws when the program was asked to end, and says what has become of the output.
void OutFile_CheckInterrupt();
