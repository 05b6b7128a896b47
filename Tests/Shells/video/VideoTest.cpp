#include "Host/CommandRunner.h"
#include "Kit/Process.h"
#include "Support/LogCatcher.h"
#include "zkhost/Files/PictureWriter.h"
#include "zkhost/Files/Probe.h"
#include "zkhost/Files/Stream.h"

#include "Base/ZHelpers.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

// Videos of all kinds through the real ffmpeg. It comes with the package ffmpeg; without it these tests fail.

namespace
{

constexpr int c_nWidth = 64, c_nHeight = 48;

class CVideoTest : public CCommandTest
{
protected:
    /// Makes a file of the test pictures: noise, so that each frame is another one.
    void Make(const std::string& _strName, const std::vector<std::string>& _vecOptions,
              const std::string& _strFilter = "null", int _nFrames = 10)
    {
        std::vector<std::string> vecCommand = {"ffmpeg",
                                               "-nostdin",
                                               "-v",
                                               "error",
                                               "-y",
                                               "-f",
                                               "lavfi",
                                               "-i",
                                               ZFormat("testsrc2=s=%dx%d:r=25:d=%.3f,noise=alls=30:allf=t,%s", c_nWidth,
                                                       c_nHeight, _nFrames / 25.0, _strFilter)};
        vecCommand.insert(vecCommand.end(), _vecOptions.begin(), _vecOptions.end());
        vecCommand.push_back(m_folder.Path(_strName));
        const PROCESS_RESULT result = Process_Run(vecCommand);
        ASSERT_EQ(result.nExit, 0) << _strName << (result.vecSaid.empty() ? "" : result.vecSaid.back());
    }
    /// The bytes of all frames from one on.
    std::vector<std::string> Frames(const std::string& _strName, int64_t _nFirst = 0) const
    {
        const auto upSource = Stream_OpenAt(m_folder.Path(_strName), "", _nFirst);
        std::vector<std::string> vecFrames;
        while (const auto cpFrame = upSource->Next())
        {
            ZF_VID_PROPS vidProps = {};
            ZF_VID_PTR vidPtr = {};
            EXPECT_EQ(cpFrame->VideoPropsGet(&vidProps), S_OK);
            EXPECT_EQ(cpFrame->VideoPtrGet(eZFP_Flip, &vidPtr), S_OK);
            vecFrames.emplace_back(reinterpret_cast<const char*>(Img_RowOf(vidPtr, 0, 0)),
                                   static_cast<size_t>(VidProps_ImageSize(&vidProps)));
        }
        return vecFrames;
    }
};

TEST_F(CVideoTest, FramesComeAsTheyWereCoded)
{
    constexpr struct
    {
        const char* pszFile;   // coded without loss
        const char* pszPixels; // as they are coded
        const char* pszRaw;    // as they are here
        const char* pszCodec;
    } c_arrCases[] = {
        {"a.mkv", "yuv420p", "yuv420p", "ffv1"},    {"b.mov", "uyvy422", "uyvy422", "rawvideo"},
        {"c.mkv", "yuv420p10le", "p010le", "ffv1"}, {"d.mkv", "yuv422p10le", "p210le", "ffv1"},
        {"e.mkv", "bgra", "bgra", "ffv1"},          {"f.avi", "yuv422p", "yuv422p", "utvideo"},
        {"g.mkv", "rgb48le", "bgra64le", "ffv1"},   {"h.mov", "yuyv422", "yuyv422", "rawvideo"},
    };
    for (const auto& testCase : c_arrCases)
    {
        SCOPED_TRACE(testCase.pszPixels);
        const std::string strFormat = ZFormat("format=%hs", testCase.pszPixels);
        Make(testCase.pszFile, {"-c:v", testCase.pszCodec, "-pix_fmt", testCase.pszPixels}, strFormat);
        Make("raw", {"-f", "rawvideo", "-pix_fmt", testCase.pszRaw}, strFormat);
        std::string strAll;
        for (const std::string& strFrame : Frames(testCase.pszFile))
            strAll += strFrame;
        EXPECT_TRUE(strAll == m_folder.Read("raw")) << strAll.size();
    }
}

TEST_F(CVideoTest, AFrameIsTheSameHoweverItIsReached)
{
    constexpr int c_nLong = 150; // the file is searched from four seconds on
    constexpr const char* c_pszLoose = "select='gt(mod(n,3)*gt(n,20),0)+lt(n,21)'";
    // Pictures that lean on later ones, groups that lean on each other, and times that are rounded.
    Make("open.mp4", {"-c:v", "libx264", "-g", "12", "-bf", "3", "-x264-params", "open-gop=1"}, "null", c_nLong);
    Make("late.mov", {"-c:v", "mpeg4", "-bf", "2", "-g", "10", "-output_ts_offset", "5", "-r", "30000/1001"}, "null",
         c_nLong);
    Make("group.mpg", {"-c:v", "mpeg2video", "-bf", "2", "-g", "12"}, "null", c_nLong);
    Make("time.mkv", {"-c:v", "libx264", "-g", "12", "-r", "30000/1001"}, "null", c_nLong);
    Make("loose.mp4", {"-c:v", "libx264", "-g", "12", "-fps_mode", "vfr"}, c_pszLoose, c_nLong);
    for (const char* const pszFile : {"open.mp4", "late.mov", "group.mpg", "time.mkv", "loose.mp4"})
    {
        SCOPED_TRACE(pszFile);
        const CLogCatcher log;
        const std::vector<std::string> vecAll = Frames(pszFile);
        EXPECT_GE(vecAll.size(), static_cast<size_t>(c_nLong) - 2);
        EXPECT_EQ(log.Count("irregular"), std::string(pszFile) == "loose.mp4" ? 1u : 0u);
        for (const size_t nFirst : {size_t{11}, size_t{133}, vecAll.size() - 1, vecAll.size()})
            EXPECT_TRUE(Frames(pszFile, static_cast<int64_t>(nFirst)) ==
                        std::vector<std::string>(vecAll.begin() + static_cast<ptrdiff_t>(nFirst), vecAll.end()))
                << nFirst;
    }
}

/// Colours and alpha from 0 to 255, as a clip of three frames has them.
PICTURE Ramp()
{
    PICTURE picture;
    picture.Resize(256, c_nHeight, 4);
    picture.bAlpha = true;
    for (int y = 0; y < c_nHeight; ++y)
        for (int x = 0; x < 256; ++x)
        {
            uint8_t* const pPixel = picture.Row(y) + 4 * x;
            pPixel[0] = 200;
            pPixel[1] = static_cast<uint8_t>(x / 2 + 64);
            pPixel[2] = static_cast<uint8_t>(4 * y);
            pPixel[3] = static_cast<uint8_t>(x);
        }
    return picture;
}

TEST_F(CVideoTest, AlphaComesBackAsItWasWritten)
{
    constexpr struct
    {
        const char* pszFile;
        int nAlpha;  // how far it may be off: VP9 is lossy there as well
        int nColour; // and colours
    } c_arrCases[] = {{"a.mov", 0, 6}, {"a.mkv", 0, 0}, {"a.webm", 6, 24}};
    const PICTURE ramp = Ramp();
    STREAM stream;
    stream.vidProps = Stream_Props(eZFCC_ARGB32, ramp.nWidth, -ramp.nHeight, eZI_Progressive);
    Stream_SetRate(stream, 30000, 1001);
    for (const auto& testCase : c_arrCases)
    {
        SCOPED_TRACE(testCase.pszFile);
        CZOutFiles files;
        const auto upWriter = PictureWriter_Open(m_folder.Path(testCase.pszFile), stream, eZFCC_ARGB32, files);
        for (int i = 0; i < 3; ++i)
            upWriter->Write(ramp);
        files.CommitAll();
        const auto upSource = Stream_Open(m_folder.Path(testCase.pszFile), "");
        EXPECT_EQ(upSource->Stream().nRateNum, 30000);
        int nFrames = 0, nAlpha = 0, nColour = 0;
        PICTURE picture;
        while (const auto cpFrame = upSource->Next())
        {
            Picture_FromFrame(cpFrame.Get(), picture, upSource->Stream().yuv);
            ASSERT_EQ(picture.vecPixels.size(), ramp.vecPixels.size());
            EXPECT_TRUE(picture.bAlpha);
            for (size_t i = 0; i < ramp.vecPixels.size(); ++i)
            {
                int& nMost = i % 4 == 3 ? nAlpha : nColour;
                nMost = std::max(nMost, std::abs(picture.vecPixels[i] - ramp.vecPixels[i]));
            }
            ++nFrames;
        }
        EXPECT_EQ(nFrames, 3);
        EXPECT_LE(nAlpha, testCase.nAlpha);
        EXPECT_LE(nColour, testCase.nColour);
    }
}

TEST_F(CVideoTest, APieceHasItsSoundAndTimeCode)
{
    // The sound says what time it is: its level grows with the seconds.
    Make("in.mov", {"-f",        "lavfi",       "-i",        "aevalsrc=t/10:s=48000:d=2",
                    "-f",        "lavfi",       "-i",        "sine=d=2",
                    "-map",      "0",           "-map",      "1",
                    "-map",      "2",           "-c:v",      "mpeg4",
                    "-c:a:0",    "pcm_s16le",   "-c:a:1",    "aac",
                    "-timecode", "01:00:00:20", "-metadata", "title=A clip"},
         "null", 40);
    ASSERT_EQ(Run("key " + File("in.mov") + " -o " + File("out.mov") + " --first 11 --frames 20 --pick 1,1"), 0)
        << m_strError;
    const PROBE probe = Probe_File(m_folder.Path("out.mov"));
    EXPECT_EQ(probe.nFrames, 20);
    EXPECT_EQ(probe.strTimeCode, "01:00:01:05");
    EXPECT_EQ(probe.vecSounds, (std::vector<std::string>{"pcm_s16le", "aac"}));
    const PROCESS_RESULT result =
        Process_Run({"ffmpeg", "-v", "error", "-i", m_folder.Path("out.mov"), "-map", "0:a:0", "-af",
                     "aresample=async=1:first_pts=0", "-f", "s16le", "-"}); // what is missing at the begin is silent
    std::vector<int16_t> vecSound(result.strOut.size() / 2);
    std::memcpy(vecSound.data(), result.strOut.data(), 2 * vecSound.size());
    ASSERT_GT(vecSound.size(), 30000u);
    EXPECT_LE(vecSound.size(), 48000u * 20 / 25 + 1024);
    const double dblTime = vecSound[24000] / 32768.0 * 10;
    EXPECT_NEAR(dblTime, 0.4 + 0.5, 0.002);
}

TEST_F(CVideoTest, FieldsStayFields)
{
    // DV says nothing of them in its header.
    Make("in.avi", {"-c:v", "dvvideo", "-flags", "+ildct", "-pix_fmt", "yuv420p"}, "scale=720:576,setfield=bff", 2);
    EXPECT_EQ(Stream_Open(m_folder.Path("in.avi"), "")->Stream().vidProps.eInterlace, eZI_BottomFirst);
    ASSERT_EQ(Run("key " + File("in.avi") + " --pick 1,1 -o " + File("out.mov")), 0) << m_strError;
    EXPECT_EQ(Probe_File(m_folder.Path("out.mov")).strFields, "bb");
}

TEST_F(CVideoTest, FailuresLeaveNothingAndSayWhy)
{
    Make("in.mov", {"-c:v", "mjpeg"}, "null", 100);
    m_folder.Write("cut.mov", m_folder.Read("in.mov").substr(0, 5000)); // its index is at its end
    const std::string strOut = " -o " + File("out.mov") + " --pick 1,1";
    ExpectFailures(1, {{"key " + File("cut.mov") + strOut, "moov atom not found"},
                       {"key " + File("in.mov") + strOut + " --codec \"-c:v none-such\"", "none-such"},
                       {"key " + File("in.mov") + strOut + " --first 200", "no frame 200"}});
    ExpectFailures(2, {{"key " + File("in.mov") + " -o " + File("out.mp4") + " --pick 1,1", "holds no alpha"},
                       {"key " + File("in.mov") + " -o " + File("out.webm") + " --pick 1,1 --bits 16", "8 bits"}});
    EXPECT_EQ(Shell("PATH=/nowhere " + Quoted(ZKHOST_PATH) + " key " + File("in.mov") + strOut), 1);
    ExpectLastLine("apt install ffmpeg");
    // Ended from outside at any time: it takes its children and its file along.
    Make("long.mov", {"-c:v", "mjpeg"}, "scale=640:480", 200);
    const size_t nFiles = m_folder.Files();
    EXPECT_NE(Shell("timeout -s INT 0.4 " + Quoted(ZKHOST_PATH) + " key " + File("long.mov") + strOut), 0);
    EXPECT_EQ(m_folder.Files(), nFiles) << m_strError;
    EXPECT_EQ(Shell("pgrep -f 'ffmpe[g].*" + m_folder.Path("out.mov") + "'"), 1) << m_strOut;
}

TEST_F(CVideoTest, FullDisksLeaveNothing)
{
    Make("in.mkv", {"-c:v", "ffv1"}, "null", 30);
    const size_t nFiles = m_folder.Files();
    for (const char* const pszOut : {"out.mov", "out.mkv", "out_%03d.png", "out.png", "out.y4m"})
    {
        EXPECT_EQ(Shell("trap '' XFSZ; ulimit -f 4; " + Quoted(ZKHOST_PATH) + " key -q --pick 1,1 " + File("in.mkv") +
                        " -o " + File(pszOut)),
                  1)
            << pszOut;
        ExpectLastLine("File too large");
        ExpectLastLine("nothing was left under that name");
        EXPECT_EQ(m_folder.Files(), nFiles) << pszOut;
    }
}

TEST_F(CVideoTest, AnFfmpegThatDiesLeavesNothing)
{
    Make("in.mkv", {"-c:v", "ffv1"}, "null", 30);
    const std::string strTool = m_streams.Write("ffmpeg", R"(#!/bin/sh
PATH=${PATH#*:}
case "$DIES $*" in
"reader "*pipe:1) ffmpeg "$@" | head -c 20000; kill -9 $$ ;;
"writer "*pipe:0*) head -c 60000 > /dev/null; kill -9 $$ ;;
esac
exec ffmpeg "$@"
)");
    std::filesystem::permissions(strTool, std::filesystem::perms::owner_all);
    const auto fnKey = [&](const std::string& _strWho, const char* _pszOut) {
        return Shell("DIES=" + _strWho + " PATH=" + Quoted(m_streams.Path("") + ":$PATH") + " " + Quoted(ZKHOST_PATH) +
                     " key -q --pick 1,1 " + File("in.mkv") + " -o " + File(_pszOut));
    };
    for (const char* const pszOut : {"out.mov", "out_%03d.png"})
    {
        EXPECT_EQ(fnKey("reader", pszOut), 1);
        ExpectLastLine("in.mkv: ffmpeg gave up after frame 4 (status 137)");
        EXPECT_EQ(m_folder.Files(), 1u) << pszOut;
    }
    EXPECT_EQ(fnKey("writer", "out.mov"), 1);
    ExpectLastLine("out.mov: ffmpeg gave up (status 137)");
    EXPECT_EQ(m_folder.Files(), 1u);
    EXPECT_EQ(fnKey("nobody", "out.mov"), 0) << m_strError;
}

} // namespace
