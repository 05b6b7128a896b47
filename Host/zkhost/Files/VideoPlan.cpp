#include "zkhost/Files/VideoPlan.h"

#include "zkhost/Files/VideoTools.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Image/ImgColor.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace
{

/// Pixel formats that come through the pipe as they are, or with no more than their bytes in another order.
struct ROUTE
{
    std::string_view svFile;
    const char* pszPipe;
    uint32_t fccType;
};
constexpr ROUTE c_arrRoutes[] = {
    {"yuv420p", "yuv420p", eZFCC_I420},    {"yuvj420p", "yuvj420p", eZFCC_I420}, {"nv12", "nv12", eZFCC_NV12},
    {"yuv422p", "yuv422p", eZFCC_I422},    {"yuvj422p", "yuvj422p", eZFCC_I422}, {"uyvy422", "uyvy422", eZFCC_UYVY},
    {"yuyv422", "yuyv422", eZFCC_YUY2},    {"yuv411p", "yuv422p", eZFCC_I422}, // luma stays, chroma gets finer
    {"yuv420p10le", "p010le", eZFCC_P010}, {"p010le", "p010le", eZFCC_P010},     {"yuv422p10le", "p210le", eZFCC_P210},
    {"p210le", "p210le", eZFCC_P210},      {"bgra", "bgra", eZFCC_ARGB32},       {"bgr0", "bgr0", eZFCC_RGB32},
};

bool StartsWithAny(std::string_view _svText, std::initializer_list<std::string_view> _arrParts)
{
    return std::ranges::any_of(_arrParts, [&](std::string_view _svPart) { return _svText.starts_with(_svPart); });
}

/// Whether a pixel format of ffmpeg has more than 8 bits: then it has an order of bytes, as have a few small ones.
bool IsDeepName(std::string_view _svPixels)
{
    return (_svPixels.ends_with("le") || _svPixels.ends_with("be")) &&
           !StartsWithAny(_svPixels, {"rgb444", "bgr444", "rgb5", "bgr5"});
}

bool HasAlphaName(std::string_view _svPixels)
{
    return StartsWithAny(_svPixels,
                         {"rgba", "bgra", "argb", "abgr", "ya8", "ya16", "yuva", "gbrap", "pal8", "ayuv", "vuya"});
}

bool IsRgbName(std::string_view _svPixels)
{
    return StartsWithAny(_svPixels, {"rgb", "bgr", "argb", "abgr", "0rgb", "0bgr", "gbr", "pal8", "x2rgb", "x2bgr"});
}

/// Which field is shown first.
int32_t InterlaceOf(const std::string& _strFields)
{
    if (_strFields == "tt" || _strFields == "bt")
        return eZI_TopFirst;
    return _strFields == "bb" || _strFields == "tb" ? eZI_BottomFirst : eZI_Progressive;
}

Z_YUV_FORM YuvFormOf(const PROBE& _probe)
{
    const std::string_view svMatrix = _probe.strMatrix;
    const bool b601 = svMatrix == "bt470bg" || svMatrix == "smpte170m" || svMatrix == "fcc";
    const bool b709 = svMatrix == "bt709" || svMatrix == "smpte240m"; // the latter within two levels of it
    const bool b2020 = svMatrix.starts_with("bt2020");
    return {b601    ? 1 + eZYM_601
            : b709  ? 1 + eZYM_709
            : b2020 ? 1 + eZYM_2020
                    : 0,
            _probe.strRange == "pc" || std::string_view(_probe.strPixels).starts_with("yuvj")};
}

/// Whether two rates give the same number of frames over the whole file, to less than one.
bool IsSameRate(double _dblA, double _dblB, double _dblDuration)
{
    constexpr double c_dblNear = 1e-3; // where the length is not known
    return std::abs(_dblA - _dblB) * _dblDuration < 1 && (_dblDuration > 0 || std::abs(_dblA / _dblB - 1) < c_dblNear);
}

/// A rate for frames whose times are irregular: the least one that their times fit, unless it is one of a mere clock.
void SetLooseRate(const PROBE& _probe, STREAM& _stream)
{
    constexpr double c_dblFastest = 60.1;
    constexpr double c_arrUsual[] = {23.976, 24, 25, 29.97, 30, 48, 50, 59.94, 60};
    if (_probe.rate.Value() <= c_dblFastest || _probe.rateMean.Value() > c_dblFastest)
        return Stream_SetRate(_stream, _probe.rate.nNum, _probe.rate.nDen);
    for (const double dblRate : c_arrUsual)
        if (dblRate >= 0.98 * _probe.rateMean.Value())
            return Stream_SetRate(_stream, dblRate);
}

/// Sets the rate, and whether frames are taken as they come.
void SetRate(const PROBE& _probe, VIDEO_PLAN& _plan)
{
    const double dblRate = _probe.rate.Value(), dblMean = _probe.rateMean.Value();
    if (_probe.rate.IsKnown())
        Stream_SetRate(_plan.stream, _probe.rate.nNum, _probe.rate.nDen);
    if (!_probe.rate.IsKnown() || !_probe.rateMean.IsKnown() || IsSameRate(dblRate, dblMean, _probe.dblDuration))
        return;
    if (IsSameRate(dblRate, 2 * dblMean, _probe.dblDuration)) // the rate of fields
        return Stream_SetRate(_plan.stream, dblRate / 2);
    _plan.bByTime = _plan.bIrregular = true;
    SetLooseRate(_probe, _plan.stream);
}

/// Sets pixel format and record. What no YUV record keeps comes as RGB.
void SetPixels(const PROBE& _probe, int _nWidth, int _nHeight, int32_t _eInterlace, VIDEO_PLAN& _plan)
{
    const auto* const pRoute = std::ranges::find(c_arrRoutes, _probe.strPixels, &ROUTE::svFile);
    if (pRoute != std::end(c_arrRoutes) && !FCC_IsRGB(pRoute->fccType) && !_probe.bSeparateAlpha)
    {
        _plan.stream.vidProps = Stream_Props(pRoute->fccType, _nWidth, _nHeight, _eInterlace);
        ZF_VID_PROPS vidProps = _plan.stream.vidProps;
        VidProps_Normalize(&vidProps, false);
        _plan.strPixels = pRoute->pszPipe;
        if (vidProps.nWidth == _nWidth && vidProps.nHeight == _nHeight)
            return;
    }
    const bool bDeep = IsDeepName(_probe.strPixels), bAlpha = HasAlphaName(_probe.strPixels);
    const uint32_t fccType = bDeep ? eZFCC_ARGB64 : bAlpha || _probe.bSeparateAlpha ? eZFCC_ARGB32 : eZFCC_RGB32;
    _plan.stream.vidProps = Stream_Props(fccType, _nWidth, -_nHeight, _eInterlace);
    _plan.strPixels = fccType == eZFCC_ARGB64 ? "bgra64le" : fccType == eZFCC_ARGB32 ? "bgra" : "bgr0";
    _plan.bMatrix = !IsRgbName(_probe.strPixels) && !_probe.strPixels.starts_with("gray");
}

} // namespace

VIDEO_PLAN VideoPlan_Make(const PROBE& _probe)
{
    constexpr double c_dblMostFrames = 1e12;
    VIDEO_PLAN plan;
    const bool bTurned = std::abs(_probe.nRotation) == 90 || std::abs(_probe.nRotation) == 270;
    const auto nWidth = static_cast<int>(bTurned ? _probe.nHeight : _probe.nWidth);
    const auto nHeight = static_cast<int>(bTurned ? _probe.nWidth : _probe.nHeight);
    // Fields are rows of the picture as it was taken.
    SetPixels(_probe, nWidth, nHeight, _probe.nRotation ? eZI_Progressive : InterlaceOf(_probe.strFields), plan);
    plan.stream.yuv = YuvFormOf(_probe);
    SetRate(_probe, plan);
    const PROBE_RATIO& shape = _probe.pixelShape;
    Stream_SetPixelShape(plan.stream, bTurned ? shape.nDen : shape.nNum, bTurned ? shape.nNum : shape.nDen);
    const double dblFrames = _probe.dblDuration * plan.stream.vidProps.dblRate;
    if (!plan.bIrregular && _probe.nFrames > 0)
        plan.stream.nFrames = _probe.nFrames;
    else if (dblFrames >= 1 && dblFrames < c_dblMostFrames)
        plan.stream.nFrames = std::llround(dblFrames);
    plan.dblOffset = _probe.dblStart - _probe.dblFileStart;
    const bool bRate = plan.stream.nRateNum > 0;
    // Their headers name a rate that the frames need not keep.
    plan.bByTime = plan.bByTime || (bRate && StartsWithAny(_probe.strContainer, {"matroska,", "flv", "asf"}));
    plan.bSeeks = bRate && !plan.bByTime && _probe.strContainer.starts_with("mov,");
    return plan;
}

const char* VideoPlan_MatrixName(int32_t _nMatrix, const ZF_VID_PROPS& _vidProps)
{
    constexpr const char* c_arrNames[] = {"smpte170m", "bt709", "bt2020nc"};
    return c_arrNames[_nMatrix ? _nMatrix - 1 : int32_t{Img_MatrixOf(_vidProps)}];
}

bool VideoPlan_Seeks(const VIDEO_PLAN& _plan, int64_t _nFirst)
{
    constexpr double c_dblWorthIt = 4; // seconds
    return _plan.bSeeks && static_cast<double>(_nFirst) > c_dblWorthIt * _plan.stream.vidProps.dblRate;
}

std::vector<std::string> VideoPlan_Arguments(const VIDEO_PLAN& _plan, const PROBE& _probe, const std::string& _strPath,
                                             int64_t _nFirst)
{
    const STREAM& stream = _plan.stream;
    std::vector<std::string> vecArguments = {"-nostdin", "-v", "error"};
    if (_probe.bSeparateAlpha) // the decoders that ffmpeg would take leave alpha out
        vecArguments.insert(vecArguments.end(), {"-c:v", _probe.strCodec == "vp8" ? "libvpx" : "libvpx-vp9"});
    // Some pictures lean on those before them, past the place that is jumped to: the jump goes further back than need
    // be. The frame is known by its time, of which half a frame less is asked for, so that rounding does not matter.
    constexpr double c_dblRunUp = 3;
    const double dblTime = (static_cast<double>(_nFirst) - 0.5) / stream.vidProps.dblRate;
    const bool bSeeks = VideoPlan_Seeks(_plan, _nFirst);
    if (bSeeks)
        vecArguments.insert(vecArguments.end(), {"-copyts", "-noaccurate_seek", "-ss",
                                                 ZFormat("%.6f", _plan.dblOffset + dblTime - c_dblRunUp)});
    std::string strFilters;
    if (_plan.bByTime)
        strFilters += ZFormat("setpts=PTS-STARTPTS,fps=%d/%d,", stream.nRateNum, stream.nRateDen);
    if (bSeeks)
        strFilters += ZFormat("trim=start=%.6f,", _probe.dblStart + dblTime);
    else if (_nFirst > 0)
        strFilters += ZFormat("trim=start_frame=%d,", _nFirst);
    // The size holds where pictures change theirs on the way.
    strFilters += ZFormat("scale=%d:%d:flags=bicubic+accurate_rnd+full_chroma_int+full_chroma_inp",
                          stream.vidProps.nWidth, std::abs(stream.vidProps.nHeight));
    if (_plan.bMatrix)
        strFilters +=
            ZFormat(":in_color_matrix=%hs:in_range=%hs", VideoPlan_MatrixName(stream.yuv.nMatrix, stream.vidProps),
                    stream.yuv.bFull ? "full" : "limited");
    strFilters += ZFormat(",format=%s", _plan.strPixels);
    vecArguments.insert(vecArguments.end(),
                        {"-i", VideoTools_FileName(_strPath), "-map", ZFormat("0:%d", _probe.nTrack), "-fps_mode",
                         "passthrough", "-vf", strFilters, "-f", "rawvideo", "-pix_fmt", _plan.strPixels, "pipe:1"});
    return vecArguments;
}
