#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

/// A file that is read front to back; "-" is standard input, which may be a pipe.
class CZInFile
{
public:
    /// Throws CZHostError when the file cannot be opened.
    explicit CZInFile(const std::string& _strPath);
    ~CZInFile();
    CZInFile(const CZInFile&) = delete;
    CZInFile& operator=(const CZInFile&) = delete;

    /// Reads up to this many bytes; fewer only at the end of the file. Throws on a read error or an interrupt.
    size_t Read(void* _pBytes, size_t _cbBytes);
    /// Reads a line without its end. False at the end of the file before the first byte. Throws when the line is
    /// longer than allowed, or the file ends inside it: _pszWhat names what the line is.
    bool ReadLine(std::string& _strLine, size_t _nMaxLength, const char* _pszWhat);
    /// Bytes in the file; -1 for a pipe or a device.
    int64_t Size() const;
    /// How messages call the file.
    const std::string& Name() const
    {
        return m_strName;
    }

private:
    std::string m_strPath;
    std::string m_strName;
    std::FILE* m_pFile = nullptr;
};

/// Throws CZHostError where a folder is named instead of a file.
void InFile_CheckNoFolder(const std::string& _strPath);

/// A whole file in memory; throws CZHostError when it cannot be read or is larger than allowed.
std::vector<uint8_t> InFile_ReadAll(const std::string& _strPath, size_t _nMaxBytes);
