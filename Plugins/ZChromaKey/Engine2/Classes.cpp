#include "ZChromaKey/Engine2/Classes.h"

#include "ZChromaKey/Engine2/Plate.h"

#include <cmath>

namespace
{
constexpr int c_nCoreDistance = 3;
constexpr float c_fltGuard = .4f; // cells all of whose pixels are more opaque than this may be closed
constexpr int c_nForeLevels = 5;
constexpr float c_fltForeDecay = .7f;

// The difference of a cell's mean, and bounds of that of its pixels.
struct BOUNDS
{
    float fltMean;
    float fltLeast;
    float fltMost;
};

BOUNDS BoundsOf(const CELL_BACKDROP& _back, const UNMIX_CELLS& _cells, size_t _nAt)
{
    const KEY_FORMS& key = *_back.pKey;
    const VEC4 mean = _cells.Mean(_nAt);
    const float fltX = key.X(mean.b, mean.g, mean.r);
    const float fltZ = std::abs(key.Z(mean.b, mean.g, mean.r) - _back.fltRho * fltX);
    int nMostX = 0, nLeastX = 0, nReachZ = 0; // in 64ths: exact
    for (int c = 0; c < 3; ++c)
    {
        const int nMin = _cells.Min(_nAt, c), nMax = _cells.Max(_nAt, c);
        nMostX += key.anX[c] * (key.anX[c] > 0 ? nMax : nMin);
        nLeastX += key.anX[c] * (key.anX[c] > 0 ? nMin : nMax);
        nReachZ += std::abs(key.anZ[c]) * (nMax - nMin);
    }
    const float fltReach = static_cast<float>(nReachZ) / 64;
    return {fltX - key.fltWedge * fltZ, static_cast<float>(nLeastX) / 64 - key.fltWedge * (fltZ + fltReach),
            static_cast<float>(nMostX) / 64 - key.fltWedge * std::max(fltZ - fltReach, 0.0f)};
}

// Grows a row of bits by one cell to all sides, through cells that are not closed.
bool GrowRow(CBitRows& _bits, const CBitRows& _bitsClosed, int _nRow)
{
    bool bGrown = false;
    const uint64_t* const pAbove = _bits.Row(std::max(_nRow - 1, 0));
    const uint64_t* const pBelow = _bits.Row(std::min(_nRow + 1, _bits.Height() - 1));
    uint64_t* const pRow = _bits.Row(_nRow);
    const uint64_t* const pClosed = _bitsClosed.Row(_nRow);
    const int nLast = _bits.Words() - 1;
    const auto All = [&](int _k) { return _k < 0 || _k > nLast ? 0 : pAbove[_k] | pRow[_k] | pBelow[_k]; };
    for (int k = 0; k <= nLast; ++k)
    {
        const uint64_t nOpen = ~pClosed[k] & ~pRow[k] & _bits.Valid(k);
        for (uint64_t nNew = nOpen; nNew != 0;)
        {
            const uint64_t n = All(k);
            nNew = (n | n << 1 | n >> 1 | All(k - 1) >> 63 | All(k + 1) << 63) & nOpen & ~pRow[k];
            pRow[k] |= nNew;
            bGrown |= nNew != 0;
        }
    }
    return bGrown;
}

// Grows bits through all cells that can be reached from them without a closed one.
void Grow(CBitRows& _bits, const CBitRows& _bitsClosed)
{
    for (bool bGrown = true; bGrown;)
    {
        bGrown = false;
        for (int y = 0; y < _bits.Height(); ++y)
            bGrown |= GrowRow(_bits, _bitsClosed, y);
        for (int y = _bits.Height() - 1; y >= 0; --y)
            bGrown |= GrowRow(_bits, _bitsClosed, y);
    }
}

// Cells that nothing doubtful reaches but through core become core.
void CloseHoles(FIELD_STATE& _field)
{
    CBitRows& bits = _field.bitsDoubt;
    for (int y = 0; y < bits.Height(); ++y)
        for (int k = 0; k < bits.Words(); ++k)
            bits.Row(y)[k] &= ~_field.bitsInner.Row(y)[k];
    Grow(bits, _field.bitsInner);
    for (int y = 0; y < bits.Height(); ++y)
        for (int k = 0; k < bits.Words(); ++k)
            _field.bitsInner.Row(y)[k] |= ~bits.Row(y)[k] & bits.Valid(k);
}

// Marks and seams: what lies wholly inside the region of the backdrop, with backdrop all around it, is backdrop of
// whatever colour. What reaches out of the region is a body.
void DropMarks(UNMIX_STATE& _state, FIELD_STATE& _field)
{
    CBitRows& bitsBodies = _state.bitsScratch;
    for (int y = 0; y < bitsBodies.Height(); ++y)
        for (int k = 0; k < bitsBodies.Words(); ++k)
            bitsBodies.Row(y)[k] = ~_field.bitsBackdrop.Row(y)[k] & ~_field.bitsRegion.Row(y)[k] & bitsBodies.Valid(k);
    Grow(bitsBodies, _field.bitsBackdrop);
    for (int y = 0; y < bitsBodies.Height(); ++y)
        for (int k = 0; k < bitsBodies.Words(); ++k)
        {
            const uint64_t nMark = ~_field.bitsBackdrop.Row(y)[k] & _field.bitsRegion.Row(y)[k] &
                                   ~bitsBodies.Row(y)[k] & ~_field.bitsProtected.Row(y)[k];
            _field.bitsBackdrop.Row(y)[k] |= nMark;
            for (CBitRows* const pBits : {&_field.bitsSolid, &_field.bitsMixed, &_field.bitsInner, &_field.bitsSolid0})
                pBits->Row(y)[k] &= ~nMark;
        }
}
} // namespace

void Classes_Pass(UNMIX_STATE& _state, FIELD_STATE& _field, int _nFirst, int _nRows)
{
    const UNMIX_PARAMS& params = _state.setup.params;
    const float fltNoise = params.fltNoise > 0 ? _state.fltNoise : 0;
    const float fltClip = params.fltNoise * fltNoise * .6f;
    const float fltCore = params.fltSolid * .0036f; // what may be open in the core: 0.18 by default
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
        for (int x = 0; x < _field.cells.nWidth; ++x)
        {
            const CELL_BACKDROP back = Plate_Backdrop(_state, x, y);
            const BOUNDS bounds = BoundsOf(back, _field.cells, _field.cells.At(x, y));
            _field.cells.vecRho[_field.cells.At(x, y)] = static_cast<int16_t>(static_cast<int>(back.fltRho * 32767));
            const float fltX = back.fltX;
            const float fltLow = std::max(std::min(fltClip, .25f * fltX), params.fltCleanBackdrop / 100 * fltX);
            // In sure backdrop contrast is noise or dirt.
            const float fltReach = _field.bitsSure.Get(x, y) ? std::max(3 * fltLow, .18f * fltX) : fltLow;
            // A little below 0: mixtures with colourful foreground reach 0 before they are solid.
            _field.bitsSolid0.Set(x, y, bounds.fltMean < fltNoise - .05f * fltX);
            const float fltOpen = std::max(fltCore, std::min(params.fltSolid * .02f * back.pKey->fltCloth, .7f));
            _field.bitsInner.Set(x, y, params.fltSolid > 0 && bounds.fltMean < fltOpen * fltX);
            _field.bitsDoubt.Set(x, y, bounds.fltMost >= (1 - c_fltGuard) * fltX);
            _field.bitsBackdrop.Set(x, y, bounds.fltLeast > fltX - fltReach);
            _field.bitsSolid.Set(x, y, bounds.fltMost < .03f * fltX);
        }
}

void Classes_Finish(UNMIX_STATE& _state, FIELD_STATE& _field)
{
    if (_state.setup.params.fltSolid > 0)
        CloseHoles(_field);
    _field.bitsInner.Erode(c_nCoreDistance, _state.vecScratch);
    _field.bitsSolid0.Erode(1, _state.vecScratch);
    CBitRows& bitsDeep = _state.bitsScratch; // core whose neighbours are core
    bitsDeep = _field.bitsInner;
    bitsDeep.Erode(1, _state.vecScratch);
    for (int y = 0; y < bitsDeep.Height(); ++y)
        for (int k = 0; k < bitsDeep.Words(); ++k)
        {
            const uint64_t nProtected = _field.bitsProtected.Row(y)[k];
            uint64_t& nSolid0 = _field.bitsSolid0.Row(y)[k];
            uint64_t& nSolid = _field.bitsSolid.Row(y)[k];
            uint64_t& nBackdrop = _field.bitsBackdrop.Row(y)[k];
            nSolid0 |= _field.bitsInner.Row(y)[k] | nProtected;
            nSolid = bitsDeep.Row(y)[k] | (nSolid & nSolid0) | nProtected;
            nBackdrop &= ~nSolid;
            _field.bitsMixed.Row(y)[k] = ~(nSolid | nBackdrop) & bitsDeep.Valid(k);
        }
    if (_state.setup.backdrop.pRow0)
        DropMarks(_state, _field);
}

void Foreground_Pass(FIELD_STATE& _field, int _nFirst, int _nRows)
{
    UNMIX_PYRAMID::LEVEL& level = _field.fore.arrLevels[0];
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
    {
        VEC4* const pRow = level.vec.data() + static_cast<ptrdiff_t>(y) * level.nWidth;
        Plate_Mean(_field.cells, _field.bitsSolid0, y, level.nWidth, pRow);
        for (int x = 0; x < level.nWidth; ++x)
            pRow[x].w = std::min(pRow[x].w, 1.0f);
    }
}

void Foreground_Fill(FIELD_STATE& _field)
{
    _field.fore.PushPull(c_nForeLevels, c_fltForeDecay);
}
