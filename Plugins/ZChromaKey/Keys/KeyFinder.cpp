#include "ZChromaKey/Keys/KeyFinder.h"

#include "ZChromaKey/Keys/KeyScreen.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <utility>

using CKUtils::CALC_KEY;
using CKUtils::CK_BLOCK;
using CKUtils::CKeyCalc;

namespace
{

/// The first block that is found decides between green and blue for all. Where the screen is less than one in so many
/// blocks, it may have been a stray one: the search is made again without those that were accepted, and the larger
/// screen counts.
constexpr size_t c_nFewBlocks = 2;

/// The corners of a picture, which are not examined, and shadows, which are not flat, are darker than the rest;
/// highlights are brighter. Keys in YUV reach further into the dark by themselves.
constexpr KEY_LIGHT c_lightMargin = {0.75, 1.15};
constexpr KEY_LIGHT c_lightMarginYUV = {0.93, 1.13};
constexpr double c_dblMargin = 1.15; // of half-widths that hold all the light

/// A soft edge ends at this share of the level of all but one in twenty blocks of the foreground; with fewer blocks
/// than that it is left to the key alone.
constexpr double c_dblShareOfWay = 0.74;
constexpr double c_dblShareOfWayRGB = 0.5; // these keys are long and thin, and near much that is no backdrop
constexpr size_t c_nNearest = 20;
constexpr size_t c_nLeastForeground = 14;
/// A sample's hue in fewer blocks of a frame than that is no screen.
constexpr size_t c_nLeastScreen = 14;

/// One search by the calculator.
struct SEARCH
{
    CKeyCalc calc;
    std::vector<CK_BLOCK> vecBlocks;
    bool bFound = false;
};

SEARCH Search(WORKING_PICTURE* _pPicture, eZYMatrix _eMatrix, CKUtils::CK_DETECT_OPTIONS _options)
{
    _options.bShowBlocks = false; // no one looks at this picture
    SEARCH search;
    search.bFound = !CKUtils::DetectKeys(&search.calc, _pPicture->vecPixels.data(), &_pPicture->vidProps, _options,
                                         _eMatrix, &search.vecBlocks);
    return search;
}

/// Blackens accepted blocks, so that the next search does not find them again.
void TakeOut(WORKING_PICTURE* _pPicture, const std::vector<CK_BLOCK>& _vecBlocks)
{
    for (const CK_BLOCK& block : _vecBlocks)
        for (int y = 0; block.eVerdict == CKUtils::eCKB_Accepted && y < block.nHeight; ++y)
            std::fill_n(_pPicture->At(block.nX, block.nY + y), size_t{4} * static_cast<size_t>(block.nWidth),
                        uint8_t{0});
}

/// How far soft edges go to the level of the nearest grey where the foreground is not known: where there is at least a
/// screen, and where there is nothing but a sample.
constexpr double c_dblWayOfScreen = 0.85;
constexpr double c_dblWayOfSample = 0.5;

/// The smooth range that leaves the foreground opaque.
int32_t SmoothRange(const CALC_KEY& _key, eCK_Type _eSpace, const KEY_SCREEN& _screen)
{
    if (_screen.vecForeground.size() < c_nLeastForeground)
        return KeyRay_SmoothRange(
            _key, KeyRay_ShareOfWay(_key, _eSpace, _screen.nBlocks ? c_dblWayOfScreen : c_dblWayOfSample));
    std::vector<double> vecLevels;
    for (const CALC_KEY& key : _screen.vecForeground)
        vecLevels.push_back(KeyRay_Level(_key, key));
    const auto itNearest = vecLevels.begin() + static_cast<ptrdiff_t>(vecLevels.size() / c_nNearest);
    std::nth_element(vecLevels.begin(), itNearest, vecLevels.end());
    const double dblShare = _eSpace == eCKT_RGB ? c_dblShareOfWayRGB : c_dblShareOfWay;
    return KeyRay_SmoothRange(_key, KeyRay_ClampOuter(_key, _eSpace, dblShare * *itNearest));
}

/// The keys of a screen around a sample of it, which it holds.
FOUND_KEYS ScreenKeys(const CALC_KEY& _sample, eCK_Type _eSpace, const KEY_SCREEN& _screen, const KEY_LIGHT& _light,
                      int32_t _nMaxKeys)
{
    FOUND_KEYS found;
    found.vecKeys = KeyRay_Boxes(_sample, _eSpace, _light, _nMaxKeys > 0 ? _nMaxKeys : Z_MAX_KEYS);
    for (const CALC_KEY& key : found.vecKeys)
        found.vecSmooth.push_back(SmoothRange(key, _eSpace, _screen));
    return found;
}

/// The light on a screen, compared with a sample of it, with a margin.
KEY_LIGHT LightOf(const KEY_SCREEN& _screen, eCK_Type _eSpace, const CALC_KEY& _sample)
{
    const KEY_LIGHT light = _screen.stats.Light(_eSpace, _sample);
    const KEY_LIGHT& margin = _eSpace == eCKT_YUV ? c_lightMarginYUV : c_lightMargin;
    return {light.dblDarkest * margin.dblDarkest, light.dblBrightest * margin.dblBrightest};
}

/// A grid over a whole picture, of blocks of some pixels at least.
std::vector<CK_BLOCK> WholeGrid(int _nWidth, int _nHeight)
{
    constexpr int c_nMostBlocks = 48;
    constexpr int c_nLeastPixels = 4;
    const int nBlocks = std::clamp(std::min(_nWidth, _nHeight) / c_nLeastPixels, 1, c_nMostBlocks);
    const int nWidth = _nWidth / nBlocks;
    const int nHeight = _nHeight / nBlocks;
    std::vector<CK_BLOCK> vecBlocks;
    vecBlocks.reserve(static_cast<size_t>(nBlocks) * static_cast<size_t>(nBlocks));
    for (int i = 0; i < nBlocks * nBlocks; ++i)
        vecBlocks.push_back({i % nBlocks * nWidth, i / nBlocks * nHeight, nWidth, nHeight, CKUtils::eCKB_NotFlat});
    return vecBlocks;
}

/// The larger of the screens of both searches; empty: there is none.
std::optional<KEY_SCREEN> FindScreen(const WORKING_PICTURE& _picture, const WORKING_PICTURE& _yuv, eCK_Type _eSpace,
                                     eZYMatrix _eMatrix, const CKUtils::CK_DETECT_OPTIONS& _options,
                                     std::vector<CK_BLOCK>* _pBlocks)
{
    // The rim, where nothing is searched, is often the darkest part.
    const CFlatBlocks blocks(_yuv, _picture, _eSpace, WholeGrid(_yuv.vidProps.nWidth, std::abs(_yuv.vidProps.nHeight)),
                             _options.nThreshold);
    WORKING_PICTURE pictureRest = _picture;
    std::optional<KEY_SCREEN> screen;
    for (int i = 0; i < 2 && (!screen || screen->nBlocks < blocks.Count() / c_nFewBlocks); ++i)
    {
        const SEARCH search = Search(&pictureRest, _eMatrix, _options);
        if (i == 0)
            *_pBlocks = search.vecBlocks;
        if (!search.bFound)
            break;
        TakeOut(&pictureRest, search.vecBlocks);
        const auto tint = CFlatBlocks(_yuv, _picture, _eSpace, search.vecBlocks, _options.nThreshold).AcceptedScreen();
        if (!tint)
            continue;
        KEY_SCREEN found = blocks.ScreenOf(*tint);
        if (screen && found.nBlocks <= screen->nBlocks)
            continue;
        screen = std::move(found);
        *_pBlocks = search.vecBlocks;
    }
    return screen;
}

FOUND_KEYS Fit(const WORKING_PICTURE& _picture, const WORKING_PICTURE& _yuv, eCK_Type _eSpace, eZYMatrix _eMatrix,
               const CKUtils::CK_DETECT_OPTIONS& _options, std::vector<CK_BLOCK>* _pBlocks)
{
    const auto screen = FindScreen(_picture, _yuv, _eSpace, _eMatrix, _options, _pBlocks);
    if (!screen)
        return {};
    CALC_KEY key = screen->stats.Box(_eSpace);
    for (int i = 0; i < 3; ++i) // HLS has one box around all the light
        key.dDelta[i] = _eSpace == eCKT_HLS ? c_dblMargin * key.dDelta[i] : screen->keyNoise.dDelta[i];
    return ScreenKeys(key, _eSpace, *screen, LightOf(*screen, _eSpace, key), _options.nMaxKeys);
}

} // namespace

FOUND_KEYS KeyFinder_Find(CFrameSampler* _pSampler, eCK_Type _eSpace, const CKUtils::CK_DETECT_OPTIONS& _options,
                          std::vector<CK_BLOCK>* _pBlocksOrNull)
{
    WORKING_PICTURE picture = WorkingPicture_Read(_pSampler, _eSpace);
    FOUND_KEYS found;
    std::vector<CK_BLOCK> vecBlocks;
    if (_options.bFit && _eSpace == eCKT_YUV)
        found = Fit(picture, picture, _eSpace, _pSampler->Matrix(), _options, &vecBlocks);
    else if (_options.bFit)
        found =
            Fit(picture, WorkingPicture_Read(_pSampler, eCKT_YUV), _eSpace, _pSampler->Matrix(), _options, &vecBlocks);
    else
    {
        SEARCH search = Search(&picture, _pSampler->Matrix(), _options);
        if (search.bFound)
            found.vecKeys.assign(search.calc.arrKeys, search.calc.arrKeys + search.calc.nKeys);
        vecBlocks = std::move(search.vecBlocks);
    }
    if (_pBlocksOrNull)
        *_pBlocksOrNull = std::move(vecBlocks);
    return found;
}

KEY_SCREEN KeyFinder_ScreenOf(CFrameSampler* _pSampler, eCK_Type _eSpace, const TINT& _tint)
{
    const WORKING_PICTURE yuv = WorkingPicture_Read(_pSampler, eCKT_YUV);
    const WORKING_PICTURE pictureOther =
        _eSpace == eCKT_YUV ? WORKING_PICTURE() : WorkingPicture_Read(_pSampler, _eSpace);
    const CFlatBlocks blocks(yuv, _eSpace == eCKT_YUV ? yuv : pictureOther, _eSpace,
                             WholeGrid(_pSampler->Width(), _pSampler->Height()),
                             CKUtils::CK_DETECT_OPTIONS().nThreshold);
    KEY_SCREEN screen = blocks.ScreenOf(_tint);
    return screen.nBlocks < c_nLeastScreen ? KEY_SCREEN() : screen;
}

FOUND_KEYS KeyFinder_KeysOf(const CALC_KEY& _sample, eCK_Type _eSpace, const KEY_SCREEN& _screen)
{
    KEY_LIGHT light = c_lightUnknown;
    CALC_KEY sample = _sample;
    if (_screen.nBlocks > 0)
        light = LightOf(_screen, _eSpace, _sample);
    for (int i = 0; i < 3 && _screen.nBlocks > 0 && _eSpace != eCKT_HLS; ++i)
        sample.dDelta[i] = std::min(sample.dDelta[i], _screen.keyNoise.dDelta[i]); // a sample may hold light as well
    // The sample may be the darkest or the brightest spot.
    light = {std::min(light.dblDarkest, 1.0), std::max(light.dblBrightest, 1.0)};
    return ScreenKeys(sample, _eSpace, _screen, light, Z_MAX_KEYS);
}
