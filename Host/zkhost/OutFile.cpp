#include "zkhost/OutFile.h"

#include "zkhost/HostError.h"
#include "zkhost/Platform.h"

#include "Base/ZLog.h"

#include <utility>

CZOutFile::CZOutFile(const std::string& _strPath)
    : m_strName(_strPath == "-" ? "standard output" : _strPath)
{
    if (_strPath == "-")
    {
        m_pFile = Platform_StandardStream(true);
        return;
    }
    if (Platform_IsFolder(_strPath))
        throw CZHostError(ZFormat("cannot write %s: it is a folder; name a file in it", _strPath));
    m_strFinal = Platform_ResolveLink(_strPath);
    const bool bInPlace = Platform_IsDevice(m_strFinal);
    const std::string strOpen = bInPlace ? m_strFinal : ZFormat("%s.part-%u", m_strFinal, Platform_ProcessId());
    m_pFile = Platform_Open(strOpen, true);
    if (!m_pFile)
        throw CZHostError(ZFormat("cannot write %s: %s; check that its folder exists and may be written", _strPath,
                                  Platform_LastError()));
    if (!bInPlace)
        m_strTemporary = strOpen;
}

CZOutFile::~CZOutFile()
{
    if (m_pFile && m_pFile != stdout)
        std::fclose(m_pFile);
    if (!m_strTemporary.empty())
        Platform_Remove(m_strTemporary);
}

void CZOutFile::Write(const void* _pBytes, size_t _cbBytes)
{
    if (Platform_WasInterrupted())
        throw CZHostError("interrupted; nothing was written");
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
    if (!Platform_Replace(m_strTemporary, m_strFinal))
        throw CZHostError(ZFormat("cannot give %s its name; check that its folder may be written", m_strName));
    m_strTemporary.clear();
}

void CZOutFile::Fail() const
{
    throw CZHostError(ZFormat("cannot write %s: %s%s", m_strName, Platform_LastError(),
                              m_strTemporary.empty() ? "" : "; nothing was left under that name"));
}

CZOutFile& CZOutFiles::Create(const std::string& _strPath)
{
    m_vecFiles.push_back(std::make_unique<CZOutFile>(_strPath));
    return *m_vecFiles.back();
}

void CZOutFiles::CommitAll()
{
    for (const auto& upFile : m_vecFiles)
        upFile->Close();
    for (const auto& upFile : m_vecFiles)
        upFile->Commit();
    m_vecFiles.clear();
}
