#include "zkhost/Files/VideoReader.h"

#include "Kit/HostError.h"
#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/VideoTools.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"

CZVideoReader::CZVideoReader(const std::string& _strPath, int64_t _nFirst)
    : m_strPath(_strPath)
    , m_nFrame(_nFirst)
{
    const PROBE probe = Probe_File(_strPath);
    const VIDEO_PLAN plan = VideoPlan_Make(probe);
    m_stream = plan.stream;
    VidProps_Normalize(&m_stream.vidProps, false);
    m_cbFrame = static_cast<size_t>(VidProps_ImageSize(&m_stream.vidProps));
    if (plan.bIrregular)
        ZLog(eZLog_Warning,
             "%s: its frames come at irregular times; they are taken at %.3f frames/s, some twice or not at all, so "
             "that sound stays in step\n",
             _strPath, m_stream.vidProps.dblRate);
    VideoTools_Need("ffmpeg");
    m_bSeeks = VideoPlan_Seeks(plan, _nFirst);
    std::vector<std::string> vecCommand = VideoPlan_Arguments(plan, probe, _strPath, _nFirst);
    vecCommand.insert(vecCommand.begin(), "ffmpeg");
    m_optDecoder.emplace(vecCommand, eProcess_Out);
    m_optDecoder->OnWait(OutFile_CheckInterrupt);
}

CZPtr<IZFFrame> CZVideoReader::Next()
{
    if (!m_optDecoder)
        return {};
    CZPtr<IZFFrame> cpFrame = NewFrame();
    const size_t cbRead = m_optDecoder->Read(Img_RowOf(WritePtr(cpFrame.Get()), 0, 0), m_cbFrame);
    OutFile_CheckInterrupt();
    if (cbRead < m_cbFrame)
    {
        End();
        if (cbRead > 0)
            throw CZHostError(ZFormat("%s: frame %d came from ffmpeg with %d of its %d bytes", m_strPath, m_nFrame + 1,
                                      cbRead, m_cbFrame));
        return {};
    }
    ++m_nFrame;
    return cpFrame;
}

/// What the decoder had to say. It goes on after damage; whoever needs every frame reads the log.
void CZVideoReader::End()
{
    const int nExit = m_optDecoder->Wait();
    const std::vector<std::string> vecSaid = m_optDecoder->Said();
    m_optDecoder.reset();
    OutFile_CheckInterrupt();
    if (nExit != 0)
        throw CZHostError(ZFormat("%s: ffmpeg gave up after frame %d (status %d): %s", m_strPath, m_nFrame, nExit,
                                  VideoTools_Words(vecSaid, m_strPath)));
    if (!vecSaid.empty() && !m_bSeeks)
        ZLog(eZLog_Warning, "%s is damaged; of its %d frames some may be wrong. ffmpeg: %s\n", m_strPath, m_nFrame,
             VideoTools_Words(vecSaid, m_strPath));
    // A length in seconds is rounded, and so are edits.
    const int64_t nTolerated = 2 + m_stream.nFrames / 100;
    if (m_stream.nFrames > m_nFrame + nTolerated)
        ZLog(eZLog_Warning, "%s ended after %d frames; it says that it has %d\n", m_strPath, m_nFrame,
             m_stream.nFrames);
}
