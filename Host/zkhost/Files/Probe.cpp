#include "zkhost/Files/Probe.h"

#include "Kit/HostError.h"
#include "Kit/Process.h"
#include "zkhost/Files/InFile.h"
#include "zkhost/Files/Picture.h"
#include "zkhost/Files/VideoTools.h"

#include "Base/ZLog.h"
#include "Props/PropText.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>

namespace
{

using PROBE_VALUES = std::map<std::string, std::string, std::less<>>;

constexpr std::string_view c_svStream = "streams.stream.";

/// Takes the value of a line apart: quoted with escapes, or a bare word to the line's end.
bool TakeValue(std::string_view& _svText, std::string& _strValue)
{
    const bool bQuoted = _svText.starts_with('"');
    if (!bQuoted)
    {
        const std::string_view svWord = _svText.substr(0, _svText.find('\n'));
        _strValue = svWord.substr(0, svWord.find('\r'));
        _svText.remove_prefix(svWord.size());
        return true;
    }
    for (size_t i = 1; i < _svText.size(); ++i)
    {
        if (_svText[i] == '"')
        {
            _svText.remove_prefix(i + 1);
            return true;
        }
        if (_svText[i] == '\\' && ++i == _svText.size())
            return false;
        const bool bLineEnd = _svText[i - 1] == '\\' && (_svText[i] == 'n' || _svText[i] == 'r');
        _strValue += bLineEnd ? ' ' : _svText[i];
    }
    return false;
}

/// Takes a line; false where it is none.
bool TakeLine(std::string_view& _svText, PROBE_VALUES& _mapValues)
{
    const size_t nEqual = _svText.find('=');
    const std::string_view svName = _svText.substr(0, nEqual);
    if (nEqual == std::string_view::npos || svName.empty() || svName.find_first_of("\n\"") != std::string_view::npos)
        return false;
    _svText.remove_prefix(nEqual + 1);
    std::string strValue;
    if (!TakeValue(_svText, strValue))
        return false;
    _mapValues[std::string(svName)] = strValue == "N/A" || strValue == "unknown" ? "" : strValue;
    if (_svText.starts_with('\r'))
        _svText.remove_prefix(1);
    if (!_svText.empty() && !_svText.starts_with('\n'))
        return false;
    _svText.remove_prefix(std::min<size_t>(_svText.size(), 1));
    return true;
}

/// The values of one part of the output.
class CProbePart
{
public:
    CProbePart(const PROBE_VALUES& _mapValues, std::string _strPrefix)
        : m_mapValues(_mapValues)
        , m_strPrefix(std::move(_strPrefix))
    {
    }
    std::string Text(const char* _pszName) const
    {
        const auto itFound = m_mapValues.find(ZFormat("%s%hs", m_strPrefix, _pszName));
        return itFound == m_mapValues.end() ? std::string() : itFound->second;
    }
    int64_t Int(const char* _pszName, int64_t _nUnknown) const
    {
        PropText_ReadInt(Text(_pszName), &_nUnknown);
        return _nUnknown;
    }
    double Seconds(const char* _pszName) const
    {
        double dblValue = 0;
        PropText_ReadDouble(Text(_pszName), &dblValue);
        return std::abs(dblValue) < 1e9 ? dblValue : 0; // thirty years: nobody's clip
    }
    PROBE_RATIO Ratio(const char* _pszName, char _chBetween) const
    {
        constexpr int64_t c_nMost = INT32_MAX; // what ffmpeg's own ratios hold
        const std::string strText = Text(_pszName);
        const size_t nBetween = std::min(strText.find(_chBetween), strText.size());
        PROBE_RATIO ratio;
        const bool bRead = nBetween < strText.size() && PropText_ReadInt(strText.substr(0, nBetween), &ratio.nNum) &&
                           PropText_ReadInt(strText.substr(nBetween + 1), &ratio.nDen);
        return bRead && ratio.IsKnown() && ratio.nNum <= c_nMost && ratio.nDen <= c_nMost ? ratio : PROBE_RATIO();
    }

private:
    const PROBE_VALUES& m_mapValues;
    std::string m_strPrefix;
};

void ReadPictures(const CProbePart& _part, PROBE& _probe)
{
    _probe.nTrack = static_cast<int>(std::clamp<int64_t>(_part.Int("index", 0), 0, INT16_MAX));
    _probe.strCodec = _part.Text("codec_name");
    _probe.strPixels = _part.Text("pix_fmt");
    _probe.nWidth = _part.Int("width", 0);
    _probe.nHeight = _part.Int("height", 0);
    _probe.strFields = _part.Text("field_order");
    _probe.strMatrix = _part.Text("color_space");
    _probe.strRange = _part.Text("color_range");
    _probe.strPrimaries = _part.Text("color_primaries");
    _probe.strTransfer = _part.Text("color_transfer");
    _probe.rate = _part.Ratio("r_frame_rate", '/');
    _probe.rateMean = _part.Ratio("avg_frame_rate", '/');
    _probe.pixelShape = _part.Ratio("sample_aspect_ratio", ':');
    _probe.nFrames = _part.Int("nb_frames", -1);
    _probe.dblDuration = _part.Seconds("duration");
    _probe.dblStart = _part.Seconds("start_time");
    _probe.bSeparateAlpha = _part.Text("tags.alpha_mode") == "1";
    for (int i = 0; i < 8 && !_probe.nRotation; ++i) // whatever else lies beside it
        _probe.nRotation = _part.Int(ZFormat("side_data_list.side_data.%d.rotation", i).c_str(), 0) % 360;
}

constexpr const char* c_pszEntries =
    "stream=index,codec_type,codec_name,pix_fmt,width,height,field_order,color_space,color_range,color_primaries,"
    "color_transfer,r_frame_rate,avg_frame_rate,sample_aspect_ratio,nb_frames,duration,start_time:"
    "stream_disposition=attached_pic:stream_side_data=rotation:stream_tags=timecode,alpha_mode:"
    "format=format_name,start_time,duration:format_tags=timecode";

/// What ffprobe prints of a file.
std::string ProbeText(const std::string& _strPath, const std::vector<std::string>& _vecArguments)
{
    std::vector<std::string> vecCommand = {"ffprobe", "-v", "error", "-of", "flat"};
    vecCommand.insert(vecCommand.end(), _vecArguments.begin(), _vecArguments.end());
    vecCommand.push_back(VideoTools_FileName(_strPath));
    const PROCESS_RESULT result = Process_Run(vecCommand);
    if (result.nExit != 0)
        throw CZHostError(
            ZFormat("%s is nothing that ffmpeg reads: %s", _strPath, VideoTools_Words(result.vecSaid, _strPath)));
    return result.strOut;
}

} // namespace

PROBE Probe_Parse(std::string_view _svText, const std::string& _strWhere)
{
    constexpr int c_nMaxTracks = 1000;
    PROBE_VALUES mapValues;
    while (!_svText.empty())
        if (_svText.starts_with('\n'))
            _svText.remove_prefix(1);
        else if (!TakeLine(_svText, mapValues))
            throw CZHostError(ZFormat("%s: ffprobe says what is not understood: %s", _strWhere,
                                      PropText_Quote(_svText.substr(0, _svText.find('\n')))));
    PROBE probe;
    const CProbePart file(mapValues, "format.");
    probe.strContainer = file.Text("format_name");
    probe.dblFileStart = file.Seconds("start_time");
    probe.strTimeCode = file.Text("tags.timecode");
    for (int i = 0; i < c_nMaxTracks; ++i)
    {
        const CProbePart track(mapValues, ZFormat("%s%d.", c_svStream, i));
        const std::string strType = track.Text("codec_type");
        if (strType.empty() && track.Text("index").empty())
            break;
        if (probe.strTimeCode.empty())
            probe.strTimeCode = track.Text("tags.timecode");
        if (strType == "audio")
            probe.vecSounds.push_back(track.Text("codec_name"));
        if (strType == "video" && probe.nTrack < 0 && track.Int("disposition.attached_pic", 0) == 0)
            ReadPictures(track, probe);
    }
    if (probe.dblDuration <= 0)
        probe.dblDuration = std::max(file.Seconds("duration"), 0.0);
    const CProbePart frame(mapValues, "frames.frame.0.");
    if (probe.strFields.empty() && frame.Int("interlaced_frame", 0) == 1)
        probe.strFields = frame.Int("top_field_first", 0) == 1 ? "tt" : "bb";
    if (probe.nTrack >= 0)
        Picture_CheckSize(probe.nWidth, probe.nHeight, _strWhere);
    return probe;
}

PROBE Probe_File(const std::string& _strPath)
{
    { // says what is wrong with the file itself, in words of ours
        const CZInFile file(_strPath);
    }
    VideoTools_Need("ffprobe");
    const std::string strText = ProbeText(_strPath, {"-show_entries", c_pszEntries});
    PROBE probe = Probe_Parse(strText, _strPath);
    if (probe.nTrack < 0)
        throw CZHostError(ZFormat("%s holds no pictures%hs", _strPath, probe.vecSounds.empty() ? "" : ", only sound"));
    if (!probe.strFields.empty())
        return probe;
    // Where the header is silent, the first frames know: those of DV, for instance.
    const std::string strFrames =
        ProbeText(_strPath, {"-select_streams", std::to_string(probe.nTrack), "-read_intervals", "%+#3",
                             "-show_entries", "frame=interlaced_frame,top_field_first"});
    return Probe_Parse(ZFormat("%s\n%s", strText, strFrames), _strPath);
}
