#include "Guide/Comparison.h"

#include "Guide/GuideSheet.h"
#include "Kit/HostError.h"
#include "Kit/Process.h"
#include "Quality/FilterKey.h"
#include "zkhost/Files/Background.h"
#include "zkhost/Files/Stream.h"

#include "Base/ZLog.h"

#include <cstdio>

namespace
{

/// A part of a frame in shares of its size.
struct COMPARED_PART
{
    double dblLeft, dblTop;
    double dblWidth;
};
constexpr COMPARED_PART c_arrParts[] = {{0.07, 0, 0.86}, {0.385, 0.29, 0.09}, {0.23, 0.57, 0.09}};

/// What FilterKey asks of a scene: the hue of its backdrop.
constexpr HARD_SCENE c_sceneGreen{
    .pszName = "clip", .pszSummary = "", .pfnLight = nullptr, .colBack = {0.2f, 0.7f, 0.3f}};

PICTURE FrameOf(const std::string& _strPath, int64_t _nFrame)
{
    if (_nFrame < 1)
        throw CZHostError("frames are counted from 1");
    const auto upSource = Stream_OpenAt(_strPath, "", _nFrame - 1);
    const CZPtr<IZFFrame> cpFrame = upSource->Next();
    if (!cpFrame)
        throw CZHostError(ZFormat("%s has no frame %d", _strPath, _nFrame));
    PICTURE picture;
    Picture_FromFrame(cpFrame.Get(), picture, upSource->Stream().yuv);
    return picture;
}

HARD_CLIP ClipOf(const std::string& _strClip, const std::string& _strTruth, int64_t _nFrame)
{
    HARD_CLIP clip{&c_sceneGreen, {FrameOf(_strClip, _nFrame)}, {FrameOf(_strTruth, _nFrame)}};
    PICTURE& truth = clip.vecTruths.front();
    for (size_t n = 0; n < truth.vecPixels.size(); n += 4)
        truth.vecPixels[n + 3] = truth.vecPixels[n];
    return clip;
}

PICTURE PartOf(const COMPARED_PART& _part, const PICTURE& _picture)
{
    const auto fnShare = [](double _dblShare, int _nOf) { return static_cast<int>(_dblShare * _nOf); };
    const int nWidth = fnShare(_part.dblWidth, _picture.nWidth);
    const int nHeight = nWidth * c_nGuideTileHeight / c_nGuideTileWidth;
    const PICTURE part = Picture_Cropped(_picture, fnShare(_part.dblLeft, _picture.nWidth),
                                         fnShare(_part.dblTop, _picture.nHeight), nWidth, nHeight);
    return Picture_Scaled(part, c_nGuideTileWidth, c_nGuideTileHeight);
}

/// The keyed frames, each under its name.
std::vector<GUIDE_TILE> KeyAll(const HARD_CLIP& _clip)
{
    std::vector<GUIDE_TILE> vecKeyed;
    if (Process_IsThere("ffmpeg"))
    {
        const FILTER_SETTING setting = FilterKey_Tune(_clip, eFilter_ChromaKey, true);
        vecKeyed.push_back({"FFmpeg", FilterKey_Run(_clip, eFilter_ChromaKey, setting).front()});
    }
    else
        std::fprintf(stderr, "ffmpeg is not installed: its column is left out\n");
    vecKeyed.push_back({"generation 1", HardClip_Key(_clip, 1).front()});
    vecKeyed.push_back({"generation 2", HardClip_Key(_clip, 2).front()});
    return vecKeyed;
}

} // namespace

PICTURE Comparison_Draw(const std::string& _strClip, const std::string& _strTruth, int64_t _nFrame)
{
    const HARD_CLIP clip = ClipOf(_strClip, _strTruth, _nFrame);
    std::vector<GUIDE_TILE> vecWhole = KeyAll(clip);
    const PICTURE background = Background_Scenery(clip.vecPictures.front().nWidth, clip.vecPictures.front().nHeight);
    for (GUIDE_TILE& tile : vecWhole)
        Picture_Over(tile.picture, background);
    vecWhole.insert(vecWhole.begin(), {"source", clip.vecPictures.front()});
    std::vector<std::vector<GUIDE_TILE>> vecRows;
    for (const COMPARED_PART& part : c_arrParts)
        for (std::vector<GUIDE_TILE>& vecRow = vecRows.emplace_back(); const GUIDE_TILE& whole : vecWhole)
            vecRow.push_back({whole.strLabel, PartOf(part, whole.picture)});
    return GuideSheet_Draw(vecRows);
}
