#include "zkhost/Files/OutFile.h"

#include "Kit/HostError.h"
#include "zkhost/Files/System.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZLog.h"
#include "Props/TextFile.h"

#include <atomic>
#include <utility>

namespace
{

/// The output that cannot be taken back, once a byte of it is out.
std::string g_strWrittenInPlace;

/// A name beside the final one that no other file being written has.
std::string TemporaryName(const std::string& _strFinal)
{
    static std::atomic<uint32_t> s_nCount{0};
    return ZFormat("%s.part-%u-%u", _strFinal, System_ProcessId(), ++s_nCount);
}

} // namespace

CZOutFile::CZOutFile(const std::string& _strPath)
    : m_strName(_strPath == "-" ? "standard output" : _strPath)
{
    if (_strPath == "-")
    {
        m_pFile = System_StandardStream(true);
        return;
    }
    if (System_IsFolder(_strPath))
        throw CZHostError(ZFormat("cannot write %s: it is a folder; name a file in it", _strPath));
    const TEXT_FILE_TARGET target = TextFile_Target(_strPath);
    m_strFinal = target.strPath;
    const std::string strOpen = target.bInPlace ? _strPath : TemporaryName(m_strFinal);
    m_pFile = System_Open(strOpen, true);
    if (!m_pFile)
        throw CZHostError(ZFormat("cannot write %s: %s; check that its folder exists and may be written", _strPath,
                                  System_LastError()));
    if (!target.bInPlace)
        m_strTemporary = strOpen;
}

CZOutFile::~CZOutFile()
{
    if (m_pFile && m_pFile != stdout)
        std::fclose(m_pFile);
    if (!m_strTemporary.empty())
        System_Remove(m_strTemporary);
}

void CZOutFile::Write(const void* _pBytes, size_t _cbBytes)
{
    OutFile_CheckInterrupt();
    if (m_strTemporary.empty() && g_strWrittenInPlace.empty())
        g_strWrittenInPlace = m_strName;
    if (std::fwrite(_pBytes, 1, _cbBytes, m_pFile) != _cbBytes)
        Fail();
}

void CZOutFile::Close()
{
    std::FILE* pFile = std::exchange(m_pFile, nullptr);
    if (pFile && (pFile == stdout ? std::fflush(pFile) : std::fclose(pFile)) != 0)
        Fail();
}

void CZOutFile::Commit()
{
    Close();
    if (m_strTemporary.empty())
        return;
    if (!System_Replace(m_strTemporary, m_strFinal))
        throw CZHostError(ZFormat("cannot give %s its name; check that its folder may be written", m_strName));
    m_strTemporary.clear();
}

void CZOutFile::Fail() const
{
    throw CZHostError(
        ZFormat("cannot write %s: %s%s", m_strName, System_LastError(),
                m_strTemporary.empty() ? "; what it got so far is incomplete" : "; nothing was left under that name"));
}

CZOutFiles::~CZOutFiles()
{
    m_vecFiles.clear();
    for (const std::string& strFolder : m_vecFolders)
        System_Remove(strFolder);
}

void CZOutFiles::Protect(const std::string& _strInput)
{
    m_strProtected = _strInput == "-" ? "" : TextFile_Target(_strInput).strPath;
}

void CZOutFiles::Check(const std::string& _strPath) const
{
    if (!m_strProtected.empty() && _strPath != "-" && TextFile_Target(_strPath).strPath == m_strProtected)
        throw CZUsageError(ZFormat("%s is what this command reads; give the output another name", _strPath));
}

CZOutFile& CZOutFiles::Create(const std::string& _strPath)
{
    Check(_strPath);
    if (!m_setTargets.insert(_strPath == "-" ? "-" : TextFile_Target(_strPath).strPath).second)
        throw CZUsageError(ZFormat("two outputs of this command are one: %s; give each its own name", _strPath));
    m_vecFiles.push_back(std::make_unique<CZOutFile>(_strPath));
    return *m_vecFiles.back();
}

void CZOutFiles::MakeFolder(const std::string& _strPath)
{
    if (System_IsFolder(_strPath))
        return;
    if (!System_MakeFolder(_strPath))
        throw CZHostError(ZFormat("cannot make the folder %s; check that the folder around it exists and may be "
                                  "written",
                                  _strPath));
    m_vecFolders.push_back(_strPath);
}

void CZOutFiles::CommitAll()
{
    for (const auto& upFile : m_vecFiles)
        upFile->Close();
    for (const auto& upFile : m_vecFiles)
        upFile->Commit();
    m_vecFiles.clear();
    m_vecFolders.clear();
}

void OutFile_Print(const std::string& _strText)
{
    CZOutFile file("-");
    file.Write(_strText);
    file.Commit();
}

void OutFile_CheckInterrupt()
{
    if (!System_WasInterrupted())
        return;
    if (g_strWrittenInPlace.empty())
        throw CZHostError("interrupted; nothing was written");
    throw CZHostError(ZFormat("interrupted; what %s got so far is incomplete", g_strWrittenInPlace));
}
