#include "zkhost/Files/InFile.h"

#include "Kit/HostError.h"
#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/System.h"

#include "Base/ZLog.h"
#include "Props/TempFile.h"

CZInFile::CZInFile(const std::string& _strPath)
    : m_strPath(_strPath)
    , m_strName(_strPath == "-" ? "standard input" : _strPath)
{
    if (_strPath == "-")
        m_pFile = System_StandardStream(false);
    else
    {
        InFile_CheckNoFolder(_strPath);
        m_pFile = System_Open(_strPath);
    }
    if (!m_pFile)
        throw CZHostError(ZFormat("cannot open %s: %s", _strPath, File_LastError()));
}

CZInFile::~CZInFile()
{
    if (m_pFile && m_pFile != stdin)
        std::fclose(m_pFile);
}

int64_t CZInFile::Size() const
{
    return m_pFile == stdin ? -1 : System_FileSize(m_strPath);
}

size_t CZInFile::Read(void* _pBytes, size_t _cbBytes)
{
    const size_t cbRead = std::fread(_pBytes, 1, _cbBytes, m_pFile);
    OutFile_CheckInterrupt();
    if (cbRead < _cbBytes && std::ferror(m_pFile))
        throw CZHostError(ZFormat("cannot read %s: %s", m_strName, File_LastError()));
    return cbRead;
}

bool CZInFile::ReadLine(std::string& _strLine, size_t _nMaxLength, const char* _pszWhat)
{
    _strLine.clear();
    for (char ch = 0; Read(&ch, 1) == 1;)
    {
        if (ch == '\n')
            return true;
        if (_strLine.size() == _nMaxLength)
            throw CZHostError(ZFormat("%s: %s is longer than %d characters; this is no Y4M stream, or a damaged one",
                                      m_strName, _pszWhat, _nMaxLength));
        _strLine += ch;
    }
    if (_strLine.empty())
        return false;
    throw CZHostError(ZFormat("%s ends inside %s, after %d bytes of it", m_strName, _pszWhat, _strLine.size()));
}

void InFile_CheckNoFolder(const std::string& _strPath)
{
    if (System_IsFolder(_strPath))
        throw CZHostError(
            ZFormat("%s is a folder; name a file, or a picture sequence as \"%s/name_%%05d.png\"", _strPath, _strPath));
}

std::vector<uint8_t> InFile_ReadAll(const std::string& _strPath, size_t _nMaxBytes)
{
    CZInFile file(_strPath);
    std::vector<uint8_t> vecBytes;
    constexpr size_t c_cbStep = size_t{1} << 20;
    for (size_t cbRead = c_cbStep; cbRead == c_cbStep;)
    {
        const size_t cbBefore = vecBytes.size();
        vecBytes.resize(cbBefore + c_cbStep);
        cbRead = file.Read(vecBytes.data() + cbBefore, c_cbStep);
        vecBytes.resize(cbBefore + cbRead);
        if (vecBytes.size() > _nMaxBytes)
            throw CZHostError(ZFormat("%s is larger than %d MB; no picture of a size that is read here is that large",
                                      _strPath, _nMaxBytes >> 20));
    }
    return vecBytes;
}
