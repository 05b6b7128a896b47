#include "Host/TempFolder.h"
#include "zkhost/Files/VideoOutput.h"
#include "zkhost/Files/VideoPlan.h"
#include "zkhost/Files/VideoTimeCode.h"

#include "Base/ZLog.h"
#include "Base/ZMatrix.h"

#include <algorithm>

// What is made of the words of ffprobe.

namespace
{

/// A track of pictures, and what a case says instead; the last line of a name counts.
PROBE ProbeOf(const std::string& _strLines)
{
    return Probe_Parse("streams.stream.0.index=0\n"
                       "streams.stream.0.codec_type=\"audio\"\n"
                       "streams.stream.0.codec_name=\"aac\"\n"
                       "streams.stream.1.index=1\n"
                       "streams.stream.1.codec_type=\"video\"\n"
                       "streams.stream.1.width=1920\n"
                       "streams.stream.1.height=1080\n"
                       "streams.stream.1.pix_fmt=\"yuv420p\"\n"
                       "streams.stream.1.r_frame_rate=\"25/1\"\n"
                       "streams.stream.1.avg_frame_rate=\"25/1\"\n"
                       "streams.stream.1.duration=\"4.000000\"\n"
                       "streams.stream.1.nb_frames=\"100\"\n"
                       "format.format_name=\"mov,mp4\"\n" +
                           _strLines,
                       "clip");
}

VIDEO_PLAN PlanOf(const std::string& _strLines)
{
    return VideoPlan_Make(ProbeOf(_strLines));
}

TEST(Probe, TakesValuesApart)
{
    const PROBE probe = ProbeOf("streams.stream.1.sample_aspect_ratio=\"N/A\"\n"
                                "streams.stream.2.index=2\r\n"
                                "streams.stream.2.codec_type=\"data\"\r\n"
                                "streams.stream.2.tags.timecode=\"01:00:00;00\"\n"
                                "streams.stream.2.tags.x=\"width=1\\nstreams.stream.1.width=1 \\\"\\\\\"\n"
                                "streams.stream.3.index=3\n"
                                "streams.stream.3.codec_type=\"video\"\n"
                                "streams.stream.3.width=7");
    EXPECT_EQ(probe.nTrack, 1);
    EXPECT_EQ(probe.nWidth, 1920) << "what a person wrote into the file is no line of its own";
    EXPECT_EQ(probe.strTimeCode, "01:00:00;00");
    EXPECT_EQ(probe.vecSounds, std::vector<std::string>{"aac"});
    EXPECT_FALSE(probe.pixelShape.IsKnown());
    EXPECT_EQ(Probe_Parse("format.duration=\"1\"\n", "clip").nTrack, -1);
    for (const char* const pszBad : {"no value", "a=\"open", "a=\"x\"y\n", "=1\n", "a=\"\\", "a\"b=1\n"})
        EXPECT_NE(Host_FailureOf([&] { Probe_Parse(pszBad, "clip"); }).find("clip"), std::string::npos) << pszBad;
    for (const char* const pszBad : {"0", "40000", "99999999999999999999", "N/A"})
        EXPECT_NE(Host_FailureOf([&] { ProbeOf("streams.stream.1.width=" + std::string(pszBad) + "\n"); }), "");
}

TEST(VideoPlan, PixelsComeAsTheyAreCodedWhereARecordKeepsThem)
{
    constexpr struct
    {
        const char* pszLines;
        const char* pszPixels;
        uint32_t fccType;
    } c_arrCases[] = {
        {"", "yuv420p", eZFCC_I420},
        {"streams.stream.1.pix_fmt=\"yuv422p10le\"\n", "p210le", eZFCC_P210},
        {"streams.stream.1.pix_fmt=\"yuvj420p\"\n", "yuvj420p", eZFCC_I420},
        {"streams.stream.1.width=1919\n", "bgr0", eZFCC_RGB32},
        {"streams.stream.1.pix_fmt=\"yuv420p10le\"\nstreams.stream.1.height=1079\n", "bgra64le", eZFCC_ARGB64},
        {"streams.stream.1.pix_fmt=\"yuva444p\"\n", "bgra", eZFCC_ARGB32},
        {"streams.stream.1.pix_fmt=\"rgb565le\"\n", "bgr0", eZFCC_RGB32},
        {"streams.stream.1.tags.alpha_mode=\"1\"\n", "bgra", eZFCC_ARGB32},
    };
    for (const auto& testCase : c_arrCases)
    {
        const VIDEO_PLAN plan = PlanOf(testCase.pszLines);
        EXPECT_EQ(plan.strPixels, testCase.pszPixels) << testCase.pszLines;
        EXPECT_EQ(plan.stream.vidProps.fccType, testCase.fccType) << testCase.pszLines;
    }
    const VIDEO_PLAN plan = PlanOf("streams.stream.1.color_space=\"bt2020nc\"\nstreams.stream.1.color_range=\"pc\"\n"
                                   "streams.stream.1.field_order=\"tb\"\n");
    EXPECT_EQ(plan.stream.yuv.nMatrix, 1 + eZYM_2020);
    EXPECT_TRUE(plan.stream.yuv.bFull);
    EXPECT_EQ(plan.stream.vidProps.eInterlace, eZI_BottomFirst) << "the bottom field is shown first";
    const std::string strFrame = "\n\nframes.frame.0.interlaced_frame=1\nframes.frame.0.top_field_first=1\n";
    EXPECT_EQ(PlanOf(strFrame).stream.vidProps.eInterlace, eZI_TopFirst);
    EXPECT_EQ(PlanOf("streams.stream.1.field_order=\"progressive\"\n" + strFrame).stream.vidProps.eInterlace,
              eZI_Progressive);
}

TEST(VideoPlan, TurnedClipsStandUpright)
{
    const VIDEO_PLAN plan =
        PlanOf("streams.stream.1.side_data_list.side_data.1.rotation=-90\n"
               "streams.stream.1.sample_aspect_ratio=\"4:3\"\nstreams.stream.1.field_order=\"tt\"\n");
    EXPECT_EQ(plan.stream.vidProps.nWidth, 1080);
    EXPECT_EQ(plan.stream.vidProps.nHeight, 1920);
    EXPECT_EQ(plan.stream.nPixelX, 3);
    EXPECT_EQ(plan.stream.vidProps.eInterlace, eZI_Progressive);
}

TEST(VideoPlan, RatesAndWhetherFramesKeepThem)
{
    constexpr struct
    {
        const char* pszLines;
        int64_t nNum;
        int64_t nDen;
        bool bIrregular;
        int64_t nFrames;
    } c_arrCases[] = {
        {"", 25, 1, false, 100},
        {"streams.stream.1.r_frame_rate=\"30000/1001\"\nstreams.stream.1.avg_frame_rate=\"2997/100\"\n", 30000, 1001,
         false, 100},
        {"streams.stream.1.r_frame_rate=\"50/1\"\n", 25, 1, false, 100},
        {"streams.stream.1.r_frame_rate=\"30/1\"\n", 30, 1, true, 120},
        {"streams.stream.1.r_frame_rate=\"1000/1\"\nstreams.stream.1.avg_frame_rate=\"293/10\"\n", 30000, 1001, true,
         120},
        {"streams.stream.1.r_frame_rate=\"0/0\"\nstreams.stream.1.nb_frames=\"N/A\"\n", 0, 1, false, -1},
    };
    for (const auto& testCase : c_arrCases)
    {
        SCOPED_TRACE(testCase.pszLines);
        const VIDEO_PLAN plan = PlanOf(testCase.pszLines);
        EXPECT_EQ(plan.stream.nRateNum, testCase.nNum);
        EXPECT_EQ(plan.stream.nRateDen, testCase.nDen);
        EXPECT_EQ(plan.bIrregular, testCase.bIrregular);
        EXPECT_EQ(plan.stream.nFrames, testCase.nFrames);
    }
}

/// What ffmpeg is called with to write a clip, with blanks between the words.
std::string OutputWords(const std::string& _strLines)
{
    const PROBE probe = ProbeOf(_strLines);
    std::string strWords;
    for (const std::string& strWord : VideoOutput_Arguments("out.mov", "out.tmp", eVideoKind::Alpha, 64, 48,
                                                            VideoPlan_Make(probe).stream, {}, probe))
        strWords += strWord + " ";
    return strWords;
}

TEST(VideoOutput, ColoursGoAlongUnderNamesThatFfmpegTakes)
{
    EXPECT_NE(OutputWords("streams.stream.1.color_primaries=\"bt2020\"\n").find(" -color_primaries bt2020 "),
              std::string::npos);
    EXPECT_NE(OutputWords("streams.stream.1.color_transfer=\"smpte2084\"\n").find(":color_trc=smpte2084 "),
              std::string::npos);
    for (const char* const pszName : {"reserved", "bt709:range", "bt709 bt470m"}) // the first is what ffprobe prints
    {
        const std::string strWords = OutputWords(ZFormat("streams.stream.1.color_primaries=\"%hs\"\n"
                                                         "streams.stream.1.color_transfer=\"%hs\"\n",
                                                         pszName, pszName));
        EXPECT_EQ(strWords.find("primaries"), std::string::npos) << strWords;
        EXPECT_EQ(strWords.find("trc"), std::string::npos) << strWords;
    }
}

TEST(VideoTimeCode, CountsOnAsTheRateDoes)
{
    EXPECT_EQ(VideoTimeCode_Later("01:00:59:24", 1, 25, 1), "01:01:00:00");
    EXPECT_EQ(VideoTimeCode_Later("23:59:59:24", 1, 25, 1), "00:00:00:00");
    EXPECT_EQ(VideoTimeCode_Later("00:00:59;29", 1, 30000, 1001), "00:01:00;02") << "two numbers are dropped";
    EXPECT_EQ(VideoTimeCode_Later("00:09:59;29", 1, 30000, 1001), "00:10:00;00") << "but not here";
    EXPECT_EQ(VideoTimeCode_Later("00:00:00;00", 107892, 30000, 1001), "01:00:00;00") << "an hour";
    EXPECT_EQ(VideoTimeCode_Later("10:03:59;59", 1, 60000, 1001), "10:04:00;04");
    EXPECT_EQ(VideoTimeCode_Later("00:00:59:29", 1, 30000, 1001), "00:01:00:00") << "nothing is dropped";
    for (const char* const pszBad : {"", "1:00:00:00", "01:00:00:0x", "01-00:00:00", "-1:00:00:00"})
        EXPECT_EQ(VideoTimeCode_Later(pszBad, 1, 25, 1), "") << pszBad;
}

} // namespace
