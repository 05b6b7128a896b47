#include "zkhost/Files/OutFile.h"

#include "Kit/HostError.h"
#include "zkhost/Files/System.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZLog.h"
#include <cerrno>
#include <utility>

namespace
{

/// The output that cannot be taken back, once a byte of it is out.
std::string g_strWrittenInPlace;

} // namespace

CZOutFile::CZOutFile(const std::string& _strPath)
    : m_strName(_strPath == "-" ? "standard output" : _strPath)
{
    if (_strPath == "-")
        m_pStream = System_StandardStream(true);
    else if (!m_file.Open(_strPath))
        throw CZHostError(ZFormat("cannot write %s: %s", _strPath, m_file.Reason()));
}

bool CZOutFile::IsInPlace() const
{
    return m_pStream || m_file.IsInPlace();
}

void CZOutFile::Write(const void* _pBytes, size_t _cbBytes)
{
    OutFile_CheckInterrupt();
    if (IsInPlace() && g_strWrittenInPlace.empty())
        g_strWrittenInPlace = m_strName;
    errno = 0;
    const bool bWritten = m_pStream ? std::fwrite(_pBytes, 1, _cbBytes, m_pStream) == _cbBytes
                                    : m_file.Write({static_cast<const char*>(_pBytes), _cbBytes});
    if (!bWritten)
        Fail();
}

std::string CZOutFile::HandOver(std::function<void()> _fnFinish)
{
    Close();
    if (IsInPlace() && g_strWrittenInPlace.empty())
        g_strWrittenInPlace = m_strName;
    m_fnFinish = std::move(_fnFinish);
    return m_file.Target();
}

void CZOutFile::Close()
{
    if (m_fnFinish)
        m_fnFinish();
    errno = 0;
    if (m_pStream ? std::fflush(m_pStream) != 0 : !m_file.Close())
        Fail();
}

void CZOutFile::Commit()
{
    Close();
    if (!m_pStream && !m_file.Commit())
        throw CZHostError(ZFormat("cannot give %s its name; check that its folder may be written", m_strName));
}

void CZOutFile::Fail() const
{
    throw CZHostError(
        ZFormat("cannot write %s: %s%s", m_strName, m_pStream ? File_LastError() : m_file.Reason(),
                IsInPlace() ? "; what it got so far is incomplete" : "; nothing was left under that name"));
}

CZOutFiles::~CZOutFiles()
{
    m_vecFiles.clear();
    for (const std::string& strFolder : m_vecFolders)
        System_Remove(strFolder);
}

void CZOutFiles::Protect(const std::string& _strInput)
{
    m_strProtected = _strInput == "-" ? "" : File_Target(_strInput).strPath;
}

void CZOutFiles::Check(const std::string& _strPath) const
{
    if (!m_strProtected.empty() && _strPath != "-" && File_Target(_strPath).strPath == m_strProtected)
        throw CZUsageError(ZFormat("%s is what this command reads; give the output another name", _strPath));
}

CZOutFile& CZOutFiles::Create(const std::string& _strPath)
{
    Check(_strPath);
    if (!m_setTargets.insert(_strPath == "-" ? "-" : File_Target(_strPath).strPath).second)
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
