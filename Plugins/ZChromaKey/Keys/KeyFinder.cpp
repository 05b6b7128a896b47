#include "ZChromaKey/Keys/KeyFinder.h"

#include "ZChromaKey/Keys/KeyStats.h"

#include <algorithm>
#include <cstdint>
#include <utility>

using CKUtils::CALC_KEY;
using CKUtils::CK_BLOCK;
using CKUtils::CKeyCalc;

namespace
{

/// The first block that is found decides between green and blue for all. Where less than one in so many blocks is
/// accepted, it may have been a stray one: the search is made again without those blocks, and the larger find counts.
constexpr size_t c_nFewBlocks = 2;

/// The corners of a picture, which are not examined, and blocks of its shadows, which are not flat, are darker than the
/// rest; highlights are brighter.
constexpr double c_dblMargin = 1.15;
constexpr double c_dblDarker = 0.75;
constexpr double c_dblBrighter = 1.15;

/// A frame as detection reads it, from its top row.
struct WORKING_PICTURE
{
    std::vector<uint8_t> vecPixels;
    ZF_VID_PROPS vidProps = {};

    uint8_t* At(int _nX, int _nY)
    {
        return vecPixels.data() + (size_t{4} * vidProps.nWidth * _nY + size_t{4} * _nX);
    }
};

WORKING_PICTURE ReadPicture(CFrameSampler* _pSampler, eCK_Type _eSpace)
{
    WORKING_PICTURE picture;
    picture.vidProps.fccType = _eSpace == eCKT_HLS   ? eZFCC_None
                               : _eSpace == eCKT_RGB ? eZFCC_ARGB32
                                                     : eZFCC_Y444; // stands for bytes Y, U, V, A
    picture.vidProps.nWidth = _pSampler->Width();
    picture.vidProps.nHeight = _eSpace == eCKT_RGB ? -_pSampler->Height() : _pSampler->Height();
    picture.vecPixels.resize(size_t{4} * static_cast<size_t>(_pSampler->Width()) *
                             static_cast<size_t>(_pSampler->Height()));
    for (int y = 0; y < _pSampler->Height(); ++y)
        _pSampler->ReadRow(_eSpace, y, 0, _pSampler->Width(), picture.At(0, y));
    return picture;
}

/// The box of a key, made larger until it holds a point.
void ReachTo(const double (&_adblPoint)[4], CALC_KEY* _pKey)
{
    for (int i = 0; i < 3; ++i)
    {
        const double dblLower = std::min(_pKey->dValue[i] - _pKey->dDelta[i], _adblPoint[i]);
        const double dblUpper = std::max(_pKey->dValue[i] + _pKey->dDelta[i], _adblPoint[i]);
        _pKey->dValue[i] = (dblLower + dblUpper) / 2;
        _pKey->dDelta[i] = (dblUpper - dblLower) / 2;
    }
}

/// What one search gave.
struct FIND
{
    std::vector<CALC_KEY> vecKeys;
    std::vector<CK_BLOCK> vecBlocks;
    size_t nAccepted = 0;
};

size_t NearestKey(const CKeyCalc& _calc, const CALC_KEY& _key)
{
    size_t nNearest = 0;
    double dblLeast = 4; // above any
    for (int32_t nKey = 0; nKey < _calc.nKeys; ++nKey)
    {
        double dblSum = 0;
        for (int i = 0; i < 3; ++i)
        {
            const double dblDiff = _calc.arrKeys[nKey].dValue[i] - _key.dValue[i];
            dblSum += dblDiff * dblDiff;
        }
        if (dblSum < dblLeast)
            nNearest = static_cast<size_t>(nKey);
        dblLeast = std::min(dblLeast, dblSum);
    }
    return nNearest;
}

/// The pixels of accepted blocks that are nearest to one key.
struct FOUND
{
    CKeyStats stats;
    CALC_KEY keySmall = {}; ///< sum of the boxes of single blocks: noise without the unevenness of the light
    int nBlocks = 0;
};

/// Sorts the accepted blocks by keys. The calculator keeps centres where the first block of a key was, and counts every
/// stray block; the pixels tell better.
std::vector<FOUND> SortBlocks(WORKING_PICTURE* _pPicture, const FIND& _find, eCK_Type _eSpace, const CKeyCalc& _calc)
{
    std::vector<FOUND> vecFound(static_cast<size_t>(_calc.nKeys));
    for (const CK_BLOCK& block : _find.vecBlocks)
    {
        if (block.eVerdict != CKUtils::eCKB_Accepted)
            continue;
        CKeyStats stats;
        for (int y = 0; y < block.nHeight; ++y)
            stats.Add(_pPicture->At(block.nX, block.nY + y), block.nWidth);
        const CALC_KEY key = stats.Box(_eSpace);
        FOUND& found = vecFound[NearestKey(_calc, key)];
        found.stats.Add(stats);
        ++found.nBlocks;
        for (int i = 0; i < 4; ++i)
            found.keySmall.dDelta[i] += key.dDelta[i];
    }
    return vecFound;
}

/// One key around all the pixels, widened to the colour that detection pulls it to.
CALC_KEY FittedKey(const FOUND& _found, eCK_Type _eSpace, const CALC_KEY& _keyPulled)
{
    CALC_KEY key = _found.stats.Box(_eSpace);
    for (int i = 0; i < 3; ++i)
        key.dDelta[i] *= c_dblMargin;
    if (_eSpace == eCKT_YUV)
        ReachTo(_keyPulled.dValue, &key);
    KeyStats_Widen(&key, _eSpace);
    return key;
}

/// The keys of a backdrop under the light that was measured on it.
std::vector<CALC_KEY> LitKeys(const FOUND& _found, eCK_Type _eSpace)
{
    CALC_KEY key = _found.stats.Box(_eSpace);
    for (int i = 0; i < 3; ++i)
        key.dDelta[i] = _found.keySmall.dDelta[i] / _found.nBlocks;
    const KEY_LIGHT light = _found.stats.Light(_eSpace);
    return KeyRay_Boxes(key, _eSpace, {light.dblDarkest * c_dblDarker, light.dblBrightest * c_dblBrighter});
}

/// Blackens accepted blocks, so that the next search does not find them again.
void TakeOut(WORKING_PICTURE* _pPicture, const FIND& _find)
{
    for (const CK_BLOCK& block : _find.vecBlocks)
        for (int y = 0; block.eVerdict == CKUtils::eCKB_Accepted && y < block.nHeight; ++y)
            std::fill_n(_pPicture->At(block.nX, block.nY + y), size_t{4} * static_cast<size_t>(block.nWidth),
                        uint8_t{0});
}

FIND Search(WORKING_PICTURE* _pPicture, eCK_Type _eSpace, eZYMatrix _eMatrix, CKUtils::CK_DETECT_OPTIONS _options)
{
    // With and without the pull, which tells what it does to each key.
    FIND find;
    CKeyCalc calcPulled;
    CKeyCalc calc;
    _options.bShowBlocks = false; // no one looks at this picture
    uint8_t* const pPixels = _pPicture->vecPixels.data();
    if (CKUtils::DetectKeys(&calcPulled, pPixels, &_pPicture->vidProps, _options, _eMatrix, &find.vecBlocks))
        return find;
    _options.dblSimilarity = 0;
    CKUtils::DetectKeys(&calc, pPixels, &_pPicture->vidProps, _options, _eMatrix);
    find.nAccepted =
        static_cast<size_t>(std::count_if(find.vecBlocks.begin(), find.vecBlocks.end(), [](const CK_BLOCK& _block) {
            return _block.eVerdict == CKUtils::eCKB_Accepted;
        }));
    const std::vector<FOUND> vecFound = SortBlocks(_pPicture, find, _eSpace, calc);
    for (size_t i = 0; i < vecFound.size(); ++i)
    {
        std::vector<CALC_KEY> vecKeys = {calc.arrKeys[i]};
        if (vecFound[i].nBlocks > 0 && _options.nMaxKeys < 1 && _eSpace != eCKT_HLS)
            vecKeys = LitKeys(vecFound[i], _eSpace);
        else if (vecFound[i].nBlocks > 0)
            vecKeys[0] = FittedKey(vecFound[i], _eSpace, calcPulled.arrKeys[i]);
        find.vecKeys.insert(find.vecKeys.end(), vecKeys.begin(), vecKeys.end());
    }
    return find;
}

} // namespace

std::vector<CALC_KEY> KeyFinder_Find(CFrameSampler* _pSampler, eCK_Type _eSpace,
                                     const CKUtils::CK_DETECT_OPTIONS& _options, std::vector<CK_BLOCK>* _pBlocksOrNull)
{
    WORKING_PICTURE picture = ReadPicture(_pSampler, _eSpace);
    FIND find = Search(&picture, _eSpace, _pSampler->Matrix(), _options);
    if (find.nAccepted > 0 && find.nAccepted < find.vecBlocks.size() / c_nFewBlocks)
    {
        TakeOut(&picture, find);
        FIND findOther = Search(&picture, _eSpace, _pSampler->Matrix(), _options);
        if (findOther.nAccepted > find.nAccepted)
            find = std::move(findOther);
    }
    if (_pBlocksOrNull)
        *_pBlocksOrNull = std::move(find.vecBlocks);
    return std::move(find.vecKeys);
}
