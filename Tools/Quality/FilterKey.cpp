#include "Quality/FilterKey.h"

#include "Kit/HostError.h"
#include "Kit/Process.h"

#include "Base/ZLog.h"
#include "Image/ImgColor.h"

#include <cmath>
#include <filesystem>
#include <fstream>

namespace
{

namespace fs = std::filesystem;

/// Two raw files, B, G, R, A: what goes into ffmpeg and what comes out. Removed again.
class CRawPair
{
public:
    CRawPair()
        : m_path((fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path()) /
                 ("zkquality_" + std::to_string(reinterpret_cast<uintptr_t>(this))))
    {
    }
    ~CRawPair()
    {
        std::error_code err;
        fs::remove(In(), err);
        fs::remove(Out(), err);
    }
    CRawPair(const CRawPair&) = delete;
    CRawPair& operator=(const CRawPair&) = delete;
    std::string In() const
    {
        return m_path.string() + ".in";
    }
    std::string Out() const
    {
        return m_path.string() + ".out";
    }

private:
    fs::path m_path;
};

void WriteRaw(const std::string& _strPath, const std::vector<PICTURE>& _vecPictures, size_t _nFrames)
{
    std::ofstream file(_strPath, std::ios::binary);
    for (size_t n = 0; n < _nFrames; ++n)
        file.write(reinterpret_cast<const char*>(_vecPictures[n].vecPixels.data()),
                   static_cast<std::streamsize>(_vecPictures[n].vecPixels.size()));
    if (!file.flush())
        throw CZHostError(ZFormat("cannot write %s; is there space?", _strPath));
}

std::vector<PICTURE> ReadRaw(const std::string& _strPath, int _nWidth, int _nHeight, size_t _nFrames)
{
    std::ifstream file(_strPath, std::ios::binary);
    std::vector<PICTURE> vecPictures(_nFrames);
    for (PICTURE& picture : vecPictures)
    {
        picture.Resize(_nWidth, _nHeight, 4);
        picture.bAlpha = true;
        if (!file.read(reinterpret_cast<char*>(picture.vecPixels.data()),
                       static_cast<std::streamsize>(picture.vecPixels.size())))
            throw CZHostError(ZFormat("%s: ffmpeg gave fewer frames than it got", _strPath));
    }
    return vecPictures;
}

/// The backdrop's mean colour where the truth says that nothing is in front of it: B, G, R, A.
std::vector<uint8_t> BackdropMean(const HARD_CLIP& _clip)
{
    uint64_t arrSum[3] = {}, nCount = 0;
    const PICTURE& picture = _clip.vecPictures.front();
    const PICTURE& truth = _clip.vecTruths.front();
    for (size_t n = 0; n < truth.vecPixels.size(); n += 4)
        if (truth.vecPixels[n + 3] == 0)
        {
            for (size_t c = 0; c < 3; ++c)
                arrSum[c] += picture.vecPixels[n + c];
            ++nCount;
        }
    std::vector<uint8_t> vecColour(4, 255);
    for (size_t c = 0; c < 3; ++c)
        vecColour[c] = static_cast<uint8_t>(arrSum[c] / std::max<uint64_t>(nCount, 1));
    return vecColour;
}

/// The part of a filter graph that keys. chromakey takes its colour as Y, U, V: what it makes of R, G, B by itself is
/// not what it makes of the pixels.
std::string KeyFilter(const HARD_CLIP& _clip, eFilter _eFilter, const FILTER_SETTING& _setting)
{
    std::vector<uint8_t> vecColour = BackdropMean(_clip);
    if (_eFilter == eFilter_ColorKey)
        return ZFormat("format=bgra,colorkey=0x%02X%02X%02X:%.3f:%.3f", vecColour[2], vecColour[1], vecColour[0],
                       _setting.dblSimilarity, _setting.dblBlend);
    Img_RowToYUV(vecColour.data(), vecColour.data(), 1, eZYM_601);
    return ZFormat("format=yuva444p,chromakey=0x%02X%02X%02X:%.3f:%.3f:yuv=1", vecColour[0], vecColour[1], vecColour[2],
                   _setting.dblSimilarity, _setting.dblBlend);
}

/// Runs the first frames through a filter graph that gives _nTimes pictures for each.
std::vector<PICTURE> RunGraph(const HARD_CLIP& _clip, size_t _nFrames, const std::string& _strGraph, size_t _nTimes)
{
    const CRawPair files;
    const int nWidth = _clip.vecPictures.front().nWidth, nHeight = _clip.vecPictures.front().nHeight;
    WriteRaw(files.In(), _clip.vecPictures, _nFrames);
    const PROCESS_RESULT result = Process_Run({"ffmpeg",
                                               "-nostdin",
                                               "-v",
                                               "error",
                                               "-y",
                                               "-f",
                                               "rawvideo",
                                               "-pixel_format",
                                               "bgra",
                                               "-video_size",
                                               ZFormat("%dx%d", nWidth, nHeight),
                                               "-i",
                                               files.In(),
                                               "-filter_complex",
                                               _strGraph,
                                               "-map",
                                               "[out]",
                                               "-f",
                                               "rawvideo",
                                               "-pix_fmt",
                                               "bgra",
                                               files.Out()});
    if (result.nExit != 0)
        throw CZHostError(ZFormat("ffmpeg with %s failed: %s", _strGraph,
                                  result.vecSaid.empty() ? std::string("it said nothing") : result.vecSaid.back()));
    return ReadRaw(files.Out(), nWidth, nHeight, _nFrames * _nTimes);
}

std::vector<FILTER_SETTING> Grid(bool _bQuick)
{
    std::vector<FILTER_SETTING> vecGrid;
    const int nSteps = _bQuick ? 7 : 13;
    for (int i = 0; i < nSteps; ++i) // 0.02 to 0.47
        for (const double dblBlend : {0.0, 0.03, 0.06, 0.12, 0.25})
            vecGrid.push_back({0.02 * std::pow(1.3, i * 12.0 / (nSteps - 1)), dblBlend});
    return vecGrid;
}

} // namespace

FILTER_SETTING FilterKey_Tune(const HARD_CLIP& _clip, eFilter _eFilter, bool _bQuick)
{
    const std::vector<FILTER_SETTING> vecGrid = Grid(_bQuick);
    std::string strGraph = ZFormat("[0]split=%d", static_cast<int>(vecGrid.size())), strKeys, strStack;
    for (size_t n = 0; n < vecGrid.size(); ++n)
    {
        const int nNumber = static_cast<int>(n);
        strGraph += ZFormat("[i%d]", nNumber);
        strKeys += ZFormat(";[i%d]%s,format=bgra[o%d]", nNumber, KeyFilter(_clip, _eFilter, vecGrid[n]), nNumber);
        strStack += ZFormat("[o%d]", nNumber);
    }
    strGraph += ZFormat("%s;%svstack=inputs=%d[out]", strKeys, strStack, static_cast<int>(vecGrid.size()));
    const std::vector<PICTURE> vecKeyed = RunGraph(_clip, 1, strGraph, vecGrid.size());
    size_t nBest = 0;
    double dblBest = 1e9;
    for (size_t n = 0; n < vecGrid.size(); ++n)
    {
        CScore score(HardClip_Ground(*_clip.pScene), _clip.pScene->bLinear);
        score.Add(vecKeyed[n], _clip.vecTruths.front());
        if (score.Result().dblMse < dblBest)
        {
            dblBest = score.Result().dblMse;
            nBest = n;
        }
    }
    return vecGrid[nBest];
}

std::vector<PICTURE> FilterKey_Run(const HARD_CLIP& _clip, eFilter _eFilter, const FILTER_SETTING& _setting)
{
    constexpr const char* c_arrDespill[] = {",format=bgra,despill=type=green", ",format=bgra,despill=type=blue", ""};
    const std::string strGraph = ZFormat("[0]%s%hs,format=bgra[out]", KeyFilter(_clip, _eFilter, _setting),
                                         c_arrDespill[HardClip_Screen(*_clip.pScene)]);
    return RunGraph(_clip, _clip.vecPictures.size(), strGraph, 1);
}
