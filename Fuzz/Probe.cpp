// What a video makes ffprobe print, as any bytes: refused with a message, or a stream with a record that holds. No text
// of the file's comes into the words that ffmpeg is called with, but names and numbers.

#include "Support/FuzzTarget.h"

#include "Base/ZHelpers.h"
#include "Kit/HostError.h"
#include "zkhost/Files/UsageError.h"
#include "zkhost/Files/VideoOutput.h"
#include "zkhost/Files/VideoPlan.h"
#include "zkhost/Files/VideoTimeCode.h"
#include "zkhost/Files/VideoTools.h"

#include <algorithm>
#include <cmath>

namespace
{

/// A clip that is right; lines that follow take the place of its own.
constexpr std::string_view c_svClip = "streams.stream.0.index=0\nstreams.stream.0.codec_type=\"video\"\n"
                                      "streams.stream.0.width=64\nstreams.stream.0.height=48\n"
                                      "streams.stream.0.pix_fmt=\"yuv420p\"\nstreams.stream.0.r_frame_rate=\"25/1\"\n"
                                      "streams.stream.0.avg_frame_rate=\"25/1\"\nformat.format_name=\"mov,mp4\"\n"
                                      "streams.stream.1.index=1\nstreams.stream.1.codec_type=\"audio\"\n";

void CheckRatio(const PROBE_RATIO& _ratio)
{
    FUZZ_REQUIRE(std::isfinite(_ratio.Value()) && _ratio.Value() >= 0);
    FUZZ_REQUIRE(_ratio.nNum <= INT32_MAX && _ratio.nDen <= INT32_MAX);
}

void CheckPlan(const PROBE& _probe, const VIDEO_PLAN& _plan)
{
    const STREAM& stream = _plan.stream;
    ZF_VID_PROPS vidProps = stream.vidProps;
    FUZZ_REQUIRE(vidProps.nWidth == _probe.nWidth || vidProps.nWidth == _probe.nHeight);
    VidProps_Normalize(&vidProps, false);
    const int64_t cbImage = VidProps_ImageSize(&vidProps), nPixels = _probe.nWidth * _probe.nHeight;
    FUZZ_REQUIRE(vidProps.nWidth == stream.vidProps.nWidth && vidProps.nHeight == stream.vidProps.nHeight);
    FUZZ_REQUIRE(cbImage >= nPixels && cbImage <= 8 * nPixels);
    FUZZ_REQUIRE(std::isfinite(vidProps.dblRate) && vidProps.dblRate >= 0 && stream.nRateDen > 0);
    FUZZ_REQUIRE((stream.nRateNum > 0) == (vidProps.dblRate > 0));
    FUZZ_REQUIRE(stream.nFrames >= -1 && std::isfinite(_plan.dblOffset));
    FUZZ_REQUIRE(stream.nPixelX >= 0 && (stream.nPixelX > 0) == (stream.nPixelY > 0));
    FUZZ_REQUIRE(stream.yuv.nMatrix >= 0 && stream.yuv.nMatrix <= 3);
}

/// Names, numbers, and what our own filters and options are written with.
void CheckWords(const std::vector<std::string>& _vecWords)
{
    constexpr std::string_view c_svFilter = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+=:,./;";
    for (const std::string& strWord : _vecWords)
        FUZZ_REQUIRE(strWord.find_first_not_of(c_svFilter) == std::string::npos && strWord.size() < 400);
}

/// Every filter and every parameter of one is among those that are written here.
void CheckFilters(const std::vector<std::string>& _vecWords)
{
    constexpr std::string_view c_arrNames[] = {
        "setpts",          "fps",      "trim",     "start_frame", "scale",      "flags",
        "in_color_matrix", "in_range", "format",   "start",       "setsar",     "out_color_matrix",
        "out_range",       "interl",   "setfield", "setparams",   "colorspace", "range",
        "color_primaries", "color_trc"};
    for (size_t n = 0; n + 1 < _vecWords.size(); ++n)
    {
        const std::string_view svFilters = _vecWords[n] == "-vf" ? std::string_view(_vecWords[n + 1]) : "";
        for (size_t nEqual = svFilters.find('='); nEqual < svFilters.size(); nEqual = svFilters.find('=', nEqual + 1))
        {
            const size_t nBefore = svFilters.substr(0, nEqual).find_last_of(":,=") + 1;
            const std::string_view svName = svFilters.substr(nBefore, nEqual - nBefore);
            FUZZ_REQUIRE(std::ranges::find(c_arrNames, svName) != std::end(c_arrNames));
        }
    }
}

void CheckOutput(CByteReader& _in, const PROBE& _probe, const VIDEO_PLAN& _plan)
{
    constexpr const char* c_arrFiles[] = {"out.mov", "out.mkv", "out.webm", "out.mp4"};
    constexpr eVideoKind c_arrKinds[] = {eVideoKind::Alpha, eVideoKind::DeepAlpha, eVideoKind::Opaque,
                                         eVideoKind::Grey};
    OUTPUT_WISHES wishes;
    wishes.strSource = "in.mov";
    wishes.nFirst = _in.Take<uint16_t>();
    wishes.nFrames = _in.Byte();
    const char* const pszFile = _in.OneOf(c_arrFiles);
    const auto vecWords =
        VideoOutput_Arguments(pszFile, "out.tmp", _in.OneOf(c_arrKinds), 64, 48, _plan.stream, wishes, _probe);
    CheckWords(vecWords);
    CheckFilters(vecWords);
}

void CheckText(CByteReader& _in)
{
    const int64_t nFirst = _in.Take<uint16_t>();
    const auto nOutput = _in.Take<uint64_t>(); // how it is written
    std::string strText(_in.Flag() ? c_svClip : "");
    strText += _in.Rest();
    const PROBE probe = Probe_Parse(strText, "clip");
    static_cast<void>(VideoTools_Words({strText.substr(0, strText.find('\n')), strText}, "clip"));
    FUZZ_REQUIRE(std::isfinite(probe.dblDuration) && std::isfinite(probe.dblStart) &&
                 std::isfinite(probe.dblFileStart));
    if (probe.nTrack < 0)
        return;
    for (const PROBE_RATIO& ratio : {probe.rate, probe.rateMean, probe.pixelShape})
        CheckRatio(ratio);
    const VIDEO_PLAN plan = VideoPlan_Make(probe);
    CheckPlan(probe, plan);
    const auto vecWords = VideoPlan_Arguments(plan, probe, "in.mov", nFirst);
    CheckWords(vecWords);
    CheckFilters(vecWords);
    CByteReader inOutput(reinterpret_cast<const uint8_t*>(&nOutput), sizeof(nOutput));
    CheckOutput(inOutput, probe, plan);
}

/// A time code that was counted on is one that can be counted back.
void CheckTimeCode(CByteReader& _in)
{
    const int64_t nRateNum = _in.Take<int32_t>(), nRateDen = 1 + _in.Take<uint16_t>(), nFrames = _in.Take<uint32_t>();
    const std::string strTimeCode(_in.Rest());
    const std::string strLater = VideoTimeCode_Later(strTimeCode, nFrames, nRateNum, nRateDen);
    FUZZ_REQUIRE(strLater.empty() || strLater.size() == 11);
    FUZZ_REQUIRE(strLater.empty() || VideoTimeCode_Later(strLater, 0, nRateNum, nRateDen) == strLater);
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    try
    {
        if (_in.Byte() % 8 == 0)
            CheckTimeCode(_in);
        else
            CheckText(_in);
    }
    catch (const CZHostError& error)
    {
        FUZZ_REQUIRE(*error.what());
    }
}
