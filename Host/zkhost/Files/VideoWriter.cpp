#include "zkhost/Files/VideoWriter.h"

#include "Kit/HostError.h"
#include "Kit/Process.h"
#include "zkhost/Files/UsageError.h"
#include "zkhost/Files/VideoTools.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <utility>

/// The program that codes.
class CZVideoEncoder
{
public:
    explicit CZVideoEncoder(std::string _strPath)
        : m_strPath(std::move(_strPath))
    {
    }
    void Write(const std::vector<std::string>& _vecArguments, const void* _pBytes, size_t _cbBytes)
    {
        m_optChild.emplace(_vecArguments, eProcess_In);
        m_optChild->OnWait(OutFile_CheckInterrupt);
        WriteMore(_pBytes, _cbBytes);
    }
    bool IsRunning() const
    {
        return m_optChild.has_value();
    }
    void WriteMore(const void* _pBytes, size_t _cbBytes)
    {
        OutFile_CheckInterrupt();
        if (m_optChild->Write(_pBytes, _cbBytes))
            return;
        OutFile_CheckInterrupt(); // which ends the child as well
        Fail(m_optChild->Wait());
    }
    void Finish()
    {
        if (!m_optChild)
            return;
        const int nExit = m_optChild->Wait();
        OutFile_CheckInterrupt();
        const std::vector<std::string> vecSaid = m_optChild->Said();
        if (nExit != 0 || std::ranges::any_of(vecSaid, IsEndMissing))
            Fail(nExit);
        if (!vecSaid.empty())
            ZLog(eZLog_Warning, "writing %s, ffmpeg said: %s\n", m_strPath, VideoTools_Words(vecSaid, m_strPath));
        m_optChild.reset();
    }

private:
    /// Whether a line says that the last of the file did not fit on the disk, after which some versions of ffmpeg end
    /// as if all were well.
    static bool IsEndMissing(const std::string& _strLine)
    {
        return _strLine.find("Error writing trailer") != std::string::npos ||
               _strLine.find("Error closing file") != std::string::npos;
    }
    [[noreturn]] void Fail(int _nExit) const
    {
        throw CZHostError(ZFormat("cannot write %s: ffmpeg gave up (status %d): %s; nothing was left under that name",
                                  m_strPath, _nExit, VideoTools_Words(m_optChild->Said(), m_strPath)));
    }

    std::string m_strPath;
    std::optional<CZChildProcess> m_optChild;
};

CZVideoWriter::CZVideoWriter(const std::string& _strPath, const STREAM& _stream, bool _bDeep,
                             const OUTPUT_WISHES& _wishes, CZOutFiles& _files)
    : m_strPath(_strPath)
    , m_stream(_stream)
    , m_wishes(_wishes)
    , m_spEncoder(std::make_shared<CZVideoEncoder>(_strPath))
{
    VideoTools_Need("ffmpeg");
    // Tells now what cannot be, before a frame is keyed.
    const eVideoKind eKind = _bDeep ? eVideoKind::DeepAlpha : _wishes.bOpaque ? eVideoKind::Opaque : eVideoKind::Alpha;
    VideoOutput_Arguments(m_strPath, "", eKind, 16, 16, m_stream, m_wishes, {});
    m_strTarget = _files.Create(_strPath).HandOver([spEncoder = m_spEncoder] { spEncoder->Finish(); });
}

void CZVideoWriter::Write(const PICTURE& _picture)
{
    const eVideoKind eKind = _picture.nChannels == 1 ? eVideoKind::Grey
                             : _picture.bAlpha       ? eVideoKind::Alpha
                                                     : eVideoKind::Opaque;
    WriteBytes(eKind, _picture.nWidth, _picture.nHeight, _picture.vecPixels.data(), _picture.vecPixels.size());
}

void CZVideoWriter::Write(const DEEP_PICTURE& _picture)
{
    WriteBytes(eVideoKind::DeepAlpha, _picture.nWidth, _picture.nHeight, _picture.vecWords.data(),
               _picture.vecWords.size() * sizeof(uint16_t)); // little-endian, as every machine this runs on
}

void CZVideoWriter::WriteBytes(eVideoKind _eKind, int _nWidth, int _nHeight, const void* _pBytes, size_t _cbBytes)
{
    if (m_spEncoder->IsRunning())
        return m_spEncoder->WriteMore(_pBytes, _cbBytes);
    std::optional<PROBE> optSource;
    if (!m_wishes.strSource.empty())
        optSource = Probe_File(m_wishes.strSource);
    std::vector<std::string> vecCommand = {"ffmpeg"};
    for (std::string& strArgument :
         VideoOutput_Arguments(m_strPath, m_strTarget, _eKind, _nWidth, _nHeight, m_stream, m_wishes, optSource))
        vecCommand.push_back(std::move(strArgument));
    m_spEncoder->Write(vecCommand, _pBytes, _cbBytes);
}
