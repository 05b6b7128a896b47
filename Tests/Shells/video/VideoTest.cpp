#include "Host/CommandRunner.h"
#include "Kit/Process.h"
#include "Support/LogCatcher.h"
#include "zkhost/Files/Stream.h"

#include "Base/ZHelpers.h"

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

} // namespace
