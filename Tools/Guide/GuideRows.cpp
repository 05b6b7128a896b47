#include "Guide/GuideRows.h"

#include "Kit/HostError.h"
#include "Kit/Keyer.h"
#include "Kit/Result.h"
#include "Kit/Tables.h"
#include "Quality/HardClip.h"

#include "Base/ZBstr.h"
#include "Base/ZLog.h"
#include "Props/PropText.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace
{

constexpr uint32_t c_nGrey = 0x808080, c_nMagenta = 0xC814AA, c_nWhite = 0xF4F4F4, c_nNight = 0x101830;
constexpr uint32_t c_nSand = 0xD8C8A0;

constexpr GUIDE_ROW c_arrRows[] = {
    {"backdrop", "backdrop", "shadow", "60 100", {180, 110, 20, 2}, eGS_Ground, c_nMagenta},
    {"backdrop", "backdrop", "glass", "100 200", {360, 385, 195, 2}, eGS_Ground, c_nMagenta},
    {"clean_backdrop", "backdrop", "shadow", "0 6 20", {180, 140, 15, 2}, eGS_Ground, c_nWhite},
    {"noise", "backdrop", "noise", "0 2.2 5", {360, 400, 10, 2}, eGS_Matte},
    {"solid", "solid", "denim", "0 50", {360, 210, 175, 2}, eGS_Ground, c_nMagenta},
    {"solid", "solid", "glass", "0 50", {360, 470, 215, 2}, eGS_Ground, c_nMagenta},
    {"clean_foreground", "solid", "denim", "0 10 30", {180, 100, 80, 2}, eGS_Matte},
    {"choke", "edges", "glass", "-2 0 2", {360, 60, 30, 2}, eGS_Ground, c_nWhite},
    {"soften", "edges", "glass", "0 2 8", {360, 60, 30, 2}, eGS_Ground, c_nWhite},
    {"light", "edges", "motion-blur", "coded linear", {360, 390, 120, 2}, eGS_Light, c_nNight},
    {"spill", "colours", "fair-hair", "0 50 100", {180, 110, 5, 2}, eGS_Ground, c_nGrey},
    {"spill_balance", "colours", "fair-hair", "0 50 100", {180, 110, 5, 2}, eGS_Ground, c_nGrey},
    {"shadows", "colours", "shadow", "0 50 100", {180, 110, 20, 2}, eGS_Ground, c_nSand},
    {"learn", "clip", "lamps", "on hold", {180, 100, 5, 2}, eGS_Matte, 0, 8, eGI_Dimmed},
    {"alpha", "clip", "hair", "replace multiply", {180, 70, 5, 2}, eGS_Ground, c_nMagenta, 1, eGI_CutOut},
    {"view",
     "clip",
     "shadow",
     "result matte status plate foreground confidence",
     {180, 100, 20, 2},
     eGS_Ground,
     c_nGrey},
};

/// The part of a picture that a row shows, enlarged.
PICTURE PartOf(const GUIDE_ROW& _row, const PICTURE& _picture)
{
    const PICTURE part = Picture_Cropped(_picture, _row.part.nLeft, _row.part.nTop, c_nGuideTileWidth / _row.part.nZoom,
                                         c_nGuideTileHeight / _row.part.nZoom);
    return Picture_Scaled(part, c_nGuideTileWidth, c_nGuideTileHeight);
}

void CutOut(PICTURE& _picture)
{
    _picture.bAlpha = true;
    for (int y = 0; y < _picture.nHeight; ++y)
        for (int x = 0; x < _picture.nWidth; ++x)
        {
            const int nU = x - _picture.nWidth / 2, nV = y - _picture.nHeight / 2;
            if (9 * (nU * nU + nV * nV) > _picture.nHeight * _picture.nHeight * 2)
                _picture.Row(y)[4 * x + 3] = 0;
        }
}

void Dim(PICTURE& _picture)
{
    for (int y = 0; y < _picture.nHeight; ++y)
        for (int x = _picture.nWidth / 2; x < _picture.nWidth; ++x)
            for (int c = 0; c < 3; ++c)
                _picture.Row(y)[4 * x + c] = static_cast<uint8_t>(_picture.Row(y)[4 * x + c] * 3 / 4);
}

HARD_CLIP ClipOf(const GUIDE_ROW& _row)
{
    const HARD_SCENE* const pScene = HardScene_Find(_row.pszScene);
    if (!pScene)
        throw CZHostError(ZFormat("there is no scene %hs", _row.pszScene));
    HARD_CLIP clip = HardClip_Paint(*pScene, _row.part.nHeight * 16 / 9, _row.part.nHeight, _row.nFrames);
    for (size_t n = 0; n < clip.vecPictures.size(); ++n)
        if (_row.eInput == eGI_CutOut)
            CutOut(clip.vecPictures[n]);
        else if (_row.eInput == eGI_Dimmed && 2 * n >= clip.vecPictures.size())
            Dim(clip.vecPictures[n]);
    return clip;
}

std::vector<std::string> Words(const char* _pszText)
{
    std::istringstream words(_pszText);
    return {std::istream_iterator<std::string>(words), {}};
}

/// A value as methods take it: the number of a choice.
double NumberOf(const GUIDE_ROW& _row, const std::string& _strValue)
{
    double dblValue = 0;
    if (PropText_ReadDouble(_strValue, &dblValue))
        return dblValue;
    const std::vector<ZTABLE_ROW> vecParams = Tables_Read(CZModule::Own(), eZTable_Params);
    const auto itParam = std::ranges::find(vecParams, std::string_view(_row.pszParam),
                                           [](const ZTABLE_ROW& _param) { return std::string_view(_param.pszName); });
    if (itParam == vecParams.end())
        throw CZHostError(ZFormat("there is no parameter %hs", _row.pszParam));
    const std::vector<std::string> vecNames = Tables_Choices(*itParam);
    return static_cast<double>(std::ranges::find(vecNames, _strValue) - vecNames.begin());
}

/// The last frame, keyed with a value.
PICTURE Keyed(const GUIDE_ROW& _row, const HARD_CLIP& _clip, double _dblValue)
{
    const auto fnBefore = [&](CZKeyer& _keyer, size_t _nFrame) {
        if (_nFrame == static_cast<size_t>(_row.nSetAt))
            Result_Check(_keyer.Key2()->ParamSet(CZBStr(_row.pszParam).Get(), _dblValue), _row.pszParam);
    };
    return HardClip_Key(_clip, 2, fnBefore).back();
}

PICTURE Shown(const GUIDE_ROW& _row, const PICTURE& _keyed)
{
    if (_row.eShow != eGS_Matte)
        return HardClip_Over(_keyed, _row.nGround, _row.eShow == eGS_Light);
    PICTURE matte;
    Picture_TakeAlpha(_keyed, matte);
    return matte;
}

} // namespace

std::span<const GUIDE_ROW> GuideRows_All()
{
    return c_arrRows;
}

std::vector<GUIDE_TILE> GuideRow_Tiles(const GUIDE_ROW& _row)
{
    const HARD_CLIP clip = ClipOf(_row);
    std::vector<GUIDE_TILE> vecTiles = {
        {"source", PartOf(_row, HardClip_Over(clip.vecPictures.back(), _row.nGround, false))}};
    for (const std::string& strValue : Words(_row.pszValues))
        vecTiles.push_back({ZFormat("%hs=%s", _row.pszParam, strValue),
                            PartOf(_row, Shown(_row, Keyed(_row, clip, NumberOf(_row, strValue))))});
    return vecTiles;
}

std::vector<std::string> GuideRows_Sheets()
{
    std::vector<std::string> vecNames;
    for (const GUIDE_ROW& row : GuideRows_All())
        if (vecNames.empty() || vecNames.back() != row.pszSheet)
            vecNames.push_back(row.pszSheet);
    return vecNames;
}
