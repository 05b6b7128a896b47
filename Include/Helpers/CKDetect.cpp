#include "Helpers/CKDetect.h"

#include "Helpers/CKBlockKeys.h"

#include "Base/ZAssert.h"
#include "Base/ZHelpers.h"
#include "Base/ZLog.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace CKUtils
{

namespace
{

/// Pixels of the pure backdrop colours, as bytes B, G, R, A. Blue is 180 in the byte of blue.
constexpr uint8_t c_arrPureGreen[c_nPixelBytes] = {0x00, 0x80, 0x00, 0xFF};
constexpr uint8_t c_arrPureBlue[c_nPixelBytes] = {0xB4, 0x00, 0x00, 0xFF};

/// The working picture, addressed from its top row.
struct PICTURE
{
    uint8_t* pbTop;
    ptrdiff_t nRowBytes;
    int32_t nWidth;
    int32_t nHeight;
    uint32_t fccType;
};

/// The blocks that are examined: nFirst to nLast in both directions.
struct GRID
{
    int32_t nBlockWidth;
    int32_t nBlockHeight;
    int32_t nFirst;
    int32_t nLast;
};

bool OpenPicture(uint8_t* _pbInput, const ZF_VID_PROPS& _props, PICTURE* _pPicture)
{
    const int64_t nHeight = std::abs(int64_t{_props.nHeight});
    const int64_t nTight = int64_t{_props.nWidth} * c_nPixelBytes;
    const int64_t nRowBytes = _props.nRowBytes ? _props.nRowBytes : nTight;
    if (_props.nWidth < 1 || nHeight < 1 || nHeight > INT32_MAX || std::abs(nRowBytes) < nTight)
    {
        ZLog(eZLog_Error, "DetectKeys: no picture of 4 bytes a pixel: %d x %d pixels in rows of %d bytes\n",
             _props.nWidth, _props.nHeight, _props.nRowBytes);
        return false;
    }
    const bool bBottomUp = VidProps_IsBottomUp(&_props);
    _pPicture->pbTop = _pbInput + (bBottomUp ? (nHeight - 1) * nRowBytes : 0);
    _pPicture->nRowBytes = static_cast<ptrdiff_t>(bBottomUp ? -nRowBytes : nRowBytes);
    _pPicture->nWidth = _props.nWidth;
    _pPicture->nHeight = static_cast<int32_t>(nHeight);
    _pPicture->fccType = _props.fccType;
    return true;
}

/// False when there is no block to examine. With a block of at least one pixel the grid is no finer than the picture.
bool MakeGrid(const PICTURE& _picture, const CK_DETECT_OPTIONS& _options, GRID* _pGrid)
{
    const int32_t nBlocks = _options.nBlocks;
    if (nBlocks < 1 || nBlocks > _picture.nWidth || nBlocks > _picture.nHeight)
        return false;
    const double dblBorder = nBlocks * _options.dblBorders;
    if (dblBorder >= nBlocks)
        return false;
    _pGrid->nBlockWidth = _picture.nWidth / nBlocks;
    _pGrid->nBlockHeight = _picture.nHeight / nBlocks;
    _pGrid->nFirst = dblBorder > 0 ? static_cast<int32_t>(std::lround(dblBorder)) : 0;
    _pGrid->nLast = nBlocks - _pGrid->nFirst - 1;
    return _pGrid->nFirst <= _pGrid->nLast;
}

/// Adds to the bytes that make up brightness, saturating.
void MarkBlock(uint8_t* _pbBlock, const GRID& _grid, const PICTURE& _picture, int _nLevels)
{
    const bool bRGB = FCC_IsRGB(_picture.fccType);
    const int nFrom = _picture.fccType == eZFCC_None ? 1 : 0; // L of H, L, S; Y of Y, U, V; all three of B, G, R
    const int nTo = bRGB ? 3 : nFrom + 1;
    for (int32_t y = 0; y < _grid.nBlockHeight; ++y)
    {
        uint8_t* pbPixel = _pbBlock + y * _picture.nRowBytes;
        for (int32_t x = 0; x < _grid.nBlockWidth; ++x, pbPixel += c_nPixelBytes)
            for (int i = nFrom; i < nTo; ++i)
                pbPixel[i] = static_cast<uint8_t>(std::clamp(pbPixel[i] + _nLevels, 0, 255));
    }
}

int MarkLevels(eCKBlock _eVerdict)
{
    switch (_eVerdict)
    {
    case eCKB_Accepted:
        return 64;
    case eCKB_Refused:
        return -64;
    case eCKB_NotFlat:
        break;
    }
    return -32;
}

/// The colour in the channel order of a Y, U, V picture's keys: V, U, Y.
void BlendToPure(CKeyCalc* _pKey, int32_t _nSign, double _dblSimilarity, eZYMatrix _eMatrix)
{
    uint8_t abYUVA[c_nPixelBytes];
    Img_RowToYUV(_nSign > 0 ? c_arrPureGreen : c_arrPureBlue, abYUVA, 1, _eMatrix);
    _pKey->BlendValues({abYUVA[2] / 255.0, abYUVA[1] / 255.0, abYUVA[0] / 255.0}, _dblSimilarity);
}

/// One run over the grid of a picture.
struct SEARCH
{
    CKeyCalc* pKey;
    PICTURE picture;
    GRID grid;
    CBlockKeys keys;
    int32_t nSign;
};

eCKBlock ExamineBlock(SEARCH* _pSearch, const uint8_t* _pbBlock, double _dblKeyDiff)
{
    const GRID& grid = _pSearch->grid;
    CALC_KEY key;
    if (!_pSearch->keys.KeyFromBlock(_pbBlock, grid.nBlockWidth, grid.nBlockHeight, _pSearch->picture.nRowBytes, &key,
                                     &_pSearch->nSign))
        return eCKB_NotFlat;
    const bool bWeightedSize = _pSearch->picture.fccType == eZFCC_None;
    return _pSearch->pKey->AddKey(key, _dblKeyDiff, bWeightedSize) < 0 ? eCKB_Refused : eCKB_Accepted;
}

/// True when a key was found.
bool SearchGrid(SEARCH* _pSearch, const CK_DETECT_OPTIONS& _options, std::vector<CK_BLOCK>* _pBlocks)
{
    const GRID& grid = _pSearch->grid;
    bool bFound = false;
    for (int32_t nRow = grid.nFirst; nRow <= grid.nLast; ++nRow)
        for (int32_t nCol = grid.nFirst; nCol <= grid.nLast; ++nCol)
        {
            const int32_t nX = nCol * grid.nBlockWidth;
            const int32_t nY = nRow * grid.nBlockHeight;
            uint8_t* const pbBlock =
                _pSearch->picture.pbTop + nY * _pSearch->picture.nRowBytes + ptrdiff_t{nX} * c_nPixelBytes;
            const eCKBlock eVerdict = ExamineBlock(_pSearch, pbBlock, _options.dblKeyDiff);
            bFound = bFound || eVerdict == eCKB_Accepted;
            if (_options.bShowBlocks)
                MarkBlock(pbBlock, grid, _pSearch->picture, MarkLevels(eVerdict));
            if (_pBlocks)
                _pBlocks->push_back({nX, nY, grid.nBlockWidth, grid.nBlockHeight, eVerdict});
        }
    return bFound;
}

} // namespace

bool DetectKeys(CKeyCalc* _pKey, uint8_t* _pbInput, const ZF_VID_PROPS* _pInputProps, const CK_DETECT_OPTIONS& _options,
                eZYMatrix _eMatrix, std::vector<CK_BLOCK>* _pBlocks)
{
    if (_pBlocks)
        _pBlocks->clear();
    if (!Z_VERIFY(_pKey && _pbInput && _pInputProps))
        return true;
    _pKey->SetMaxKeys(_options.nMaxKeys);
    SEARCH search = {_pKey, {}, {}, CBlockKeys(_pInputProps->fccType, _options.nThreshold), 0};
    if (!OpenPicture(_pbInput, *_pInputProps, &search.picture) || !MakeGrid(search.picture, _options, &search.grid))
        return true;
    const auto nSide = static_cast<size_t>(search.grid.nLast - search.grid.nFirst) + 1;
    if (_pBlocks)
        _pBlocks->reserve(nSide * nSide);
    if (!SearchGrid(&search, _options, _pBlocks))
        return true;
    if (search.picture.fccType != eZFCC_None && !FCC_IsRGB(search.picture.fccType))
        BlendToPure(_pKey, search.nSign, _options.dblSimilarity, _eMatrix);
    return false;
}

} // namespace CKUtils
