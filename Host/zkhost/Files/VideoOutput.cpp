#include "zkhost/Files/VideoOutput.h"

#include "zkhost/Files/NamePattern.h"
#include "zkhost/Files/UsageError.h"
#include "zkhost/Files/VideoPlan.h"
#include "zkhost/Files/VideoTimeCode.h"
#include "zkhost/Files/VideoTools.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace
{

/// How pictures are coded. Options are words with blanks between them.
struct CODING
{
    const char* pszCodec;  ///< null: the file cannot hold them
    const char* pszPixels; ///< ffmpeg's pixel format
};

struct CONTAINER
{
    const char* pszExtension;
    const char* pszMuxer;
    const char* pszName; ///< of the codec of pictures with alpha
    bool bDeep;
    CODING arrCodings[4];      ///< by eVideoKind
    const char* pszSounds;     ///< codecs of sound that it takes as they are, each with blanks around it; "*": any
    const char* pszOtherSound; ///< the codec that the others become
};

constexpr const char* c_pszProRes4444 = "-c:v prores_ks -profile:v 4444 -alpha_bits 16 -vendor apl0";
constexpr const char* c_pszProRes = "-c:v prores_ks -profile:v hq -vendor apl0";
constexpr const char* c_pszFfv1 = "-c:v ffv1 -level 3 -slices 12 -slicecrc 1";
constexpr const char* c_pszVp9 = "-c:v libvpx-vp9 -crf 18 -b:v 0 -row-mt 1 -cpu-used 4 -auto-alt-ref 0";
constexpr const char* c_pszX264 = "-c:v libx264 -crf 16";
constexpr CONTAINER c_arrContainers[] = {
    {"mov",
     "mov",
     "ProRes 4444",
     true,
     {{c_pszProRes4444, "yuva444p10le"},
      {c_pszProRes4444, "yuva444p10le"},
      {c_pszProRes, "yuv422p10le"},
      {c_pszProRes, "yuv422p10le"}},
     " aac alac mp3 ac3 eac3 pcm_s16le pcm_s16be pcm_s24le pcm_s24be pcm_s32le pcm_s32be pcm_f32le pcm_f64le pcm_u8 ",
     "pcm_s24le"},
    {"mkv",
     "matroska",
     "FFV1",
     true,
     {{c_pszFfv1, "bgra"}, {c_pszFfv1, "rgba64le"}, {c_pszFfv1, "bgr0"}, {c_pszFfv1, "gray"}},
     "*",
     "flac"},
    {"webm",
     "webm",
     "VP9",
     false,
     {{c_pszVp9, "yuva420p"}, {nullptr, nullptr}, {c_pszVp9, "yuv420p"}, {c_pszVp9, "yuv420p"}},
     " opus vorbis ",
     "libopus"},
    {"mp4",
     "mp4",
     nullptr,
     false,
     {{nullptr, nullptr}, {nullptr, nullptr}, {c_pszX264, "yuv420p"}, {c_pszX264, "yuv420p"}},
     " aac alac mp3 ac3 eac3 ",
     "aac"},
};

/// What a source may say of its colours: the names that ffprobe and the filter setparams have in common. What else
/// ffprobe prints, such as "reserved", would make ffmpeg give up.
constexpr std::string_view c_svPrimaries = " bt709 bt470m bt470bg smpte170m smpte240m film bt2020 smpte428 smpte431 "
                                           "smpte432 ebu3213 jedec-p22 ";
constexpr std::string_view c_svTransfers =
    " bt709 bt470m bt470bg smpte170m smpte240m linear log100 log316 iec61966-2-4 bt1361e iec61966-2-1 bt2020-10 "
    "bt2020-12 smpte2084 smpte428 arib-std-b67 ";

/// Whether a word is one of those that stand in a text with blanks around them.
bool IsOneOf(std::string_view _svWords, const std::string& _strWord)
{
    return _strWord.find(' ') == std::string::npos && _svWords.find(ZFormat(" %s ", _strWord)) != std::string::npos;
}

const CONTAINER* FindContainer(const std::string& _strPath)
{
    const std::string strExtension = NamePattern_Extension(_strPath);
    const auto* const pFound = std::ranges::find(c_arrContainers, strExtension, [](const CONTAINER& _container) {
        return std::string_view(_container.pszExtension);
    });
    return pFound == std::end(c_arrContainers) ? nullptr : pFound;
}

using ARGUMENTS = std::vector<std::string>;

void Append(ARGUMENTS& _vecArguments, std::initializer_list<std::string> _arrMore)
{
    _vecArguments.insert(_vecArguments.end(), _arrMore);
}

void AppendWords(ARGUMENTS& _vecArguments, std::string_view _svWords)
{
    while (!_svWords.empty())
    {
        const size_t nEnd = std::min(_svWords.find(' '), _svWords.size());
        if (nEnd > 0)
            _vecArguments.emplace_back(_svWords.substr(0, nEnd));
        _svWords.remove_prefix(std::min(nEnd + 1, _svWords.size()));
    }
}

/// The pictures in the pipe. Their first time is that of the source's, so that sound of the source fits.
void AppendPictures(ARGUMENTS& _vecArguments, eVideoKind _eKind, int _nWidth, int _nHeight, const STREAM& _stream,
                    double _dblOffset)
{
    constexpr const char* c_arrPixels[] = {"bgra", "bgra64le", "bgr0", "gray"};
    // In whole frames: files have no place for a part of one.
    const double dblRate = _stream.vidProps.dblRate;
    const double dblFrames = dblRate > 0 ? std::round(_dblOffset * dblRate) : 0;
    if (dblFrames >= 1)
        Append(_vecArguments, {"-itsoffset", ZFormat("%.6f", dblFrames / dblRate)});
    const bool bRate = _stream.nRateNum > 0;
    Append(_vecArguments,
           {"-f", "rawvideo", "-pixel_format", c_arrPixels[static_cast<int>(_eKind)], "-video_size",
            ZFormat("%dx%d", _nWidth, _nHeight), "-framerate",
            ZFormat("%d/%d", bRate ? _stream.nRateNum : 25, bRate ? _stream.nRateDen : 1), "-i", "pipe:0"});
}

/// The source as the second input: its sound from the first picture on, as long as there are pictures.
void AppendSource(ARGUMENTS& _vecArguments, const OUTPUT_WISHES& _wishes, const STREAM& _stream, double _dblOffset)
{
    const double dblRate = _stream.vidProps.dblRate;
    if (_wishes.nFirst > 0 && dblRate > 0)
        Append(_vecArguments, {"-ss", ZFormat("%.6f", _dblOffset + static_cast<double>(_wishes.nFirst) / dblRate)});
    if (_wishes.nFrames > 0 && dblRate > 0)
        Append(_vecArguments, {"-t", ZFormat("%.6f", static_cast<double>(_wishes.nFrames) / dblRate)});
    Append(_vecArguments, {"-i", VideoTools_FileName(_wishes.strSource)});
}

void AppendSound(ARGUMENTS& _vecArguments, const CONTAINER& _container, const PROBE& _source)
{
    const std::string_view svSounds = _container.pszSounds;
    int nOut = 0;
    for (size_t i = 0; i < _source.vecSounds.size(); ++i)
    {
        if (_source.vecSounds[i].empty()) // nothing that ffmpeg knows
            continue;
        const bool bCopy = svSounds == "*" || IsOneOf(svSounds, _source.vecSounds[i]);
        Append(_vecArguments,
               {"-map", ZFormat("1:a:%d", i), ZFormat("-c:a:%d", nOut), bCopy ? "copy" : _container.pszOtherSound});
        ++nOut;
    }
    if (nOut > 0)
        Append(_vecArguments, {"-copypriorss:a", "0"}); // no packet from before the first picture
}

void AppendMetadata(ARGUMENTS& _vecArguments, const OUTPUT_WISHES& _wishes, const STREAM& _stream, const PROBE& _source)
{
    Append(_vecArguments, {"-map_metadata", "1", "-map_chapters", "1"});
    const std::string strTimeCode =
        VideoTimeCode_Later(_source.strTimeCode, _wishes.nFirst, _stream.nRateNum, _stream.nRateDen);
    if (!strTimeCode.empty())
        Append(_vecArguments, {"-metadata", ZFormat("timecode=%s", strTimeCode)});
}

/// What is done to the pictures before they are coded, and what the file says of them.
void AppendForm(ARGUMENTS& _vecArguments, const char* _pszPixels, const STREAM& _stream,
                const std::optional<PROBE>& _optSource)
{
    const bool bYuv = std::string_view(_pszPixels).starts_with("yuv");
    const char* const pszMatrix = VideoPlan_MatrixName(_stream.yuv.nMatrix, _stream.vidProps);
    const int32_t eInterlace = _stream.vidProps.eInterlace;
    const bool bFields = eInterlace == eZI_TopFirst || eInterlace == eZI_BottomFirst;
    std::string strFilters;
    if (bYuv)
        strFilters = ZFormat("scale=flags=bicubic+accurate_rnd+full_chroma_int+full_chroma_inp:out_color_matrix=%hs:"
                             "out_range=limited%hs,",
                             pszMatrix, bFields ? ":interl=1" : "");
    strFilters += ZFormat("format=%hs", _pszPixels);
    if (_stream.nPixelX > 0)
        strFilters += ZFormat(",setsar=%d/%d", _stream.nPixelX, _stream.nPixelY);
    if (bFields)
        strFilters += ZFormat(",setfield=%hs", eInterlace == eZI_TopFirst ? "tff" : "bff");
    // Coders look at the frames, containers at the options.
    std::string strParams;
    const auto fnSay = [&](const char* _pszParam, const char* _pszOption, const std::string& _strValue) {
        strParams += ZFormat("%hs%hs=%s", strParams.empty() ? "" : ":", _pszParam, _strValue);
        Append(_vecArguments, {_pszOption, _strValue});
    };
    if (bYuv)
    {
        fnSay("colorspace", "-colorspace", pszMatrix);
        fnSay("range", "-color_range", "tv");
    }
    if (_optSource && IsOneOf(c_svPrimaries, _optSource->strPrimaries))
        fnSay("color_primaries", "-color_primaries", _optSource->strPrimaries);
    if (_optSource && IsOneOf(c_svTransfers, _optSource->strTransfer))
        fnSay("color_trc", "-color_trc", _optSource->strTransfer);
    if (!strParams.empty())
        strFilters += ZFormat(",setparams=%s", strParams);
    Append(_vecArguments, {"-vf", strFilters, "-pix_fmt", _pszPixels});
    if (bFields)
        Append(_vecArguments, {"-flags:v", "+ildct", "-field_order", eInterlace == eZI_TopFirst ? "tt" : "bb"});
}

} // namespace

bool VideoOutput_IsOne(const std::string& _strPath)
{
    return FindContainer(_strPath) != nullptr;
}

bool VideoOutput_IsDeep(const std::string& _strPath)
{
    const CONTAINER* const pContainer = FindContainer(_strPath);
    return pContainer && pContainer->bDeep;
}

std::string VideoOutput_AlphaNames()
{
    std::string strNames;
    for (const CONTAINER& container : c_arrContainers)
        if (container.pszName)
            strNames +=
                ZFormat("%hs*.%hs (%hs)", strNames.empty() ? "" : ", ", container.pszExtension, container.pszName);
    return strNames;
}

std::vector<std::string> VideoOutput_Arguments(const std::string& _strPath, const std::string& _strTarget,
                                               eVideoKind _eKind, int _nWidth, int _nHeight, const STREAM& _stream,
                                               const OUTPUT_WISHES& _wishes, const std::optional<PROBE>& _optSource)
{
    const CONTAINER& container = *FindContainer(_strPath);
    const CODING& coding = container.arrCodings[static_cast<int>(_eKind)];
    if (!coding.pszCodec && !container.pszName)
        throw CZUsageError(
            ZFormat("%s: a video of this kind holds no alpha; %s and name_%%05d.png do. Opaque pictures, "
                    "as --background makes them, go there",
                    _strPath, VideoOutput_AlphaNames()));
    if (!coding.pszCodec)
        throw CZUsageError(
            ZFormat("%s: a video of this kind has 8 bits a channel; write 16 to *.mov or *.mkv", _strPath));
    // What the first picture has to wait for: sound of the source that begins earlier.
    const double dblOffset = _optSource ? _optSource->dblStart - _optSource->dblFileStart : 0;
    ARGUMENTS vecArguments = {"-nostdin", "-v", "error", "-y"};
    AppendPictures(vecArguments, _eKind, _nWidth, _nHeight, _stream, _wishes.nFirst > 0 ? 0 : dblOffset);
    if (_optSource)
        AppendSource(vecArguments, _wishes, _stream, dblOffset);
    Append(vecArguments, {"-map", "0:v", "-fps_mode", "passthrough"});
    if (_optSource)
        AppendSound(vecArguments, container, *_optSource);
    if (_optSource)
        AppendMetadata(vecArguments, _wishes, _stream, *_optSource);
    AppendForm(vecArguments, coding.pszPixels, _stream, _optSource);
    AppendWords(vecArguments, _wishes.strCodec.empty() ? std::string_view(coding.pszCodec) : _wishes.strCodec);
    Append(vecArguments, {"-f", container.pszMuxer, VideoTools_FileName(_strTarget)});
    return vecArguments;
}
