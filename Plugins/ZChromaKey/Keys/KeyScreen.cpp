#include "ZChromaKey/Keys/KeyScreen.h"

#include "Helpers/CKPixelBlock.h"

#include <algorithm>
#include <cmath>
#include <utility>

using CKUtils::CK_BLOCK;

namespace
{

constexpr double c_dblLeastColour = 16; // levels from grey: below that there is no hue to go by
constexpr size_t c_nLeastBlocks = 20;   // one in so many blocks,
constexpr size_t c_nLeastBorder = 8;    // and one in so many along the upper border
constexpr int c_nSearches = 2;          // the second one with the colour that the first one found
constexpr int c_nMaxThreshold = 256;    // greater ones say nothing more

/// A colour beside that of the screen.
struct RELATION
{
    double dblAlong;  ///< its tint along that of the screen; 1: as strong
    double dblAcross; ///< and across it
    double dblLight;  ///< its brightness; 1: the same
};

RELATION RelationOf(const TINT& _tint, const TINT& _screen)
{
    const double dblSquare = std::max(_screen.dblU * _screen.dblU + _screen.dblV * _screen.dblV, 1.0);
    return {(_tint.dblU * _screen.dblU + _tint.dblV * _screen.dblV) / dblSquare,
            std::abs(_tint.dblU * _screen.dblV - _tint.dblV * _screen.dblU) / dblSquare,
            _tint.dblY / std::max(_screen.dblY, 1.0)};
}

/// The screen under some light: light changes brightness and tint alike.
bool IsScreen(const RELATION& _relation)
{
    return _relation.dblAlong > 0.3 && _relation.dblAcross < 0.25 * _relation.dblAlong &&
           _relation.dblAlong > 0.75 * _relation.dblLight && _relation.dblAlong < 1.33 * _relation.dblLight;
}

/// What is nearer to the screen than that, and yet not the screen, may be something that it shines through.
bool IsForeground(const RELATION& _relation)
{
    return _relation.dblAlong < 0.6 && !IsScreen(_relation);
}

CKeyStats StatsOf(const WORKING_PICTURE& _picture, const CK_BLOCK& _block)
{
    CKeyStats stats;
    for (int y = 0; y < _block.nHeight; ++y)
        stats.Add(_picture.At(_block.nX, _block.nY + y), _block.nWidth);
    return stats;
}

bool IsBlockFlat(const WORKING_PICTURE& _yuv, const CK_BLOCK& _block, int32_t _nThreshold)
{
    const CKUtils::PIXEL_BLOCK pixels = {_yuv.At(_block.nX, _block.nY), _block.nWidth, _block.nHeight,
                                         ptrdiff_t{4} * _yuv.vidProps.nWidth};
    const int32_t nThreshold = std::clamp(_nThreshold, -c_nMaxThreshold, c_nMaxThreshold);
    return _block.eVerdict == CKUtils::eCKB_Accepted ||
           (_block.nWidth > 1 && CKUtils::IsFlat(pixels, 3 * nThreshold * nThreshold));
}

/// The middle of some values; 0 of none.
double MiddleOf(std::vector<double>* _pvecValues)
{
    const auto itMiddle = _pvecValues->begin() + static_cast<ptrdiff_t>(_pvecValues->size() / 2);
    std::nth_element(_pvecValues->begin(), itMiddle, _pvecValues->end());
    return _pvecValues->empty() ? 0 : *itMiddle;
}

} // namespace

WORKING_PICTURE WorkingPicture_Read(CFrameSampler* _pSampler, eCK_Type _eSpace)
{
    WORKING_PICTURE picture;
    picture.vidProps.fccType = _eSpace == eCKT_HLS   ? eZFCC_None
                               : _eSpace == eCKT_RGB ? eZFCC_ARGB32
                                                     : eZFCC_Y444; // stands for bytes Y, U, V, A
    picture.vidProps.nWidth = _pSampler->Width();
    picture.vidProps.nHeight = _eSpace == eCKT_RGB ? -_pSampler->Height() : _pSampler->Height();
    picture.vecPixels.resize(picture.Offset(0, _pSampler->Height()));
    for (int y = 0; y < _pSampler->Height(); ++y)
        _pSampler->ReadRow(_eSpace, y, 0, _pSampler->Width(), picture.At(0, y));
    return picture;
}

TINT Tint_Of(const CKeyStats& _statsYUV)
{
    return {_statsYUV.Median(0) - 16.0, _statsYUV.Median(1) - 128.0, _statsYUV.Median(2) - 128.0};
}

CFlatBlocks::CFlatBlocks(const WORKING_PICTURE& _yuv, const WORKING_PICTURE& _picture, eCK_Type _eSpace,
                         std::vector<CK_BLOCK> _vecBlocks, int32_t _nThreshold)
    : m_picture(_picture)
    , m_eSpace(_eSpace)
    , m_vecBlocks(std::move(_vecBlocks))
{
    for (const CK_BLOCK& block : m_vecBlocks)
        if (IsBlockFlat(_yuv, block, _nThreshold))
            m_vecFlat.push_back({block, Tint_Of(StatsOf(_yuv, block))});
}

template <class Take> TINT CFlatBlocks::Middle(Take _fnTake) const
{
    std::vector<double> arrValues[3];
    for (const FLAT& flat : m_vecFlat)
        if (_fnTake(flat))
        {
            arrValues[0].push_back(flat.tint.dblY);
            arrValues[1].push_back(flat.tint.dblU);
            arrValues[2].push_back(flat.tint.dblV);
        }
    return {MiddleOf(&arrValues[0]), MiddleOf(&arrValues[1]), MiddleOf(&arrValues[2])};
}

/// The upper border of the grid: its two upper rows of blocks, and two columns at each side down to two thirds.
bool CFlatBlocks::IsUpperBorder(const CK_BLOCK& _block) const
{
    const CK_BLOCK& first = m_vecBlocks.front();
    const CK_BLOCK& last = m_vecBlocks.back();
    const int nDown = _block.nY - first.nY;
    const bool bSide = _block.nX < first.nX + 2 * first.nWidth || _block.nX > last.nX - 2 * last.nWidth;
    return nDown < 2 * first.nHeight || (bSide && nDown * 3 < (last.nY - first.nY) * 2);
}

bool CFlatBlocks::ReachesUp(const TINT& _tint) const
{
    const auto nBorder = std::count_if(m_vecBlocks.begin(), m_vecBlocks.end(),
                                       [&](const CK_BLOCK& _block) { return IsUpperBorder(_block); });
    const auto nScreen = std::count_if(m_vecFlat.begin(), m_vecFlat.end(), [&](const FLAT& _flat) {
        return IsUpperBorder(_flat.block) && IsScreen(RelationOf(_flat.tint, _tint));
    });
    return nScreen * static_cast<ptrdiff_t>(c_nLeastBorder) >= nBorder;
}

KEY_SCREEN CFlatBlocks::ScreenOf(const TINT& _tint) const
{
    KEY_SCREEN screen;
    for (const FLAT& flat : m_vecFlat)
    {
        const RELATION relation = RelationOf(flat.tint, _tint);
        const bool bScreen = IsScreen(relation);
        if (!bScreen && !IsForeground(relation))
            continue;
        const CKeyStats stats = StatsOf(m_picture, flat.block);
        const CKUtils::CALC_KEY key = stats.Box(m_eSpace);
        if (!bScreen)
        {
            screen.vecForeground.push_back(key);
            continue;
        }
        ++screen.nBlocks;
        screen.stats.Add(stats);
        for (int i = 0; i < 4; ++i)
            screen.keyNoise.dDelta[i] += key.dDelta[i];
    }
    for (double& dblDelta : screen.keyNoise.dDelta)
        dblDelta /= static_cast<double>(std::max<size_t>(screen.nBlocks, 1));
    return screen;
}

std::optional<TINT> CFlatBlocks::AcceptedScreen() const
{
    TINT tint = Middle([](const FLAT& _flat) { return _flat.block.eVerdict == CKUtils::eCKB_Accepted; });
    for (int i = 0; i < c_nSearches; ++i)
        tint = Middle([&](const FLAT& _flat) { return IsScreen(RelationOf(_flat.tint, tint)); });
    const auto nScreen = static_cast<size_t>(std::count_if(
        m_vecFlat.begin(), m_vecFlat.end(), [&](const FLAT& _flat) { return IsScreen(RelationOf(_flat.tint, tint)); }));
    const bool bGrey = tint.dblU * tint.dblU + tint.dblV * tint.dblV < c_dblLeastColour * c_dblLeastColour;
    if (bGrey || nScreen * c_nLeastBlocks < m_vecBlocks.size() || !ReachesUp(tint))
        return {};
    return tint;
}
