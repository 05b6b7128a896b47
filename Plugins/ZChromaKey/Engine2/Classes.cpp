#include "ZChromaKey/Engine2/Classes.h"

#include "ZChromaKey/Engine2/Plate.h"

namespace
{
constexpr int c_nCoreDistance = 3;
constexpr int c_nForeLevels = 5;
constexpr float c_fltForeDecay = .7f;

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

namespace
{
CLASS_RULES RulesOf(const UNMIX_STATE& _state, const KEY_FORMS& _key)
{
    const UNMIX_PARAMS& params = _state.setup.params;
    CLASS_RULES rules = {};
    static_cast<DIFFERENCE_RULES&>(rules) = KeyForms_Difference(_key);
    rules.fltNoise = params.fltNoise > 0 ? _state.fltNoise : 0;
    rules.fltClip = params.fltNoise * rules.fltNoise * .6f;
    rules.fltClean = params.fltCleanBackdrop / 100;
    // What may be open in the core: 0.18 by default.
    rules.fltOpen = std::max(params.fltSolid * .0036f, std::min(params.fltSolid * .02f * _key.fltCloth, .7f));
    return rules;
}

// What a pass over rows needs.
struct CLASS_PASS
{
    const UNMIX_STATE& state;
    FIELD_STATE& field;
    CLASS_RULES arrRules[c_nUnmixMaxKeys];
};

// The cells of a chunk that belong to a key.
uint64_t OwnedBy(const UNMIX_STATE& _state, int _nKey, int _nX, int _nY)
{
    if (_state.nKeys == 1)
        return ~uint64_t{0};
    const uint8_t* const pOwner = &_state.vecOwner[static_cast<size_t>(_nY / 2) * _state.nPlateWidth + _nX / 2];
    const int nPlateCells = std::min(c_nChunkPlates, _state.nPlateWidth - _nX / 2);
    uint64_t nOwned = 0;
    for (int n = 0; n < nPlateCells; ++n)
        nOwned |= (pOwner[n] == _nKey ? uint64_t{3} : 0) << 2 * n;
    return nOwned;
}

// Takes over what was found of the cells of one key.
void PutClasses(FIELD_STATE& _field, const CLASS_CHUNK& _chunk, uint64_t _nOwned, int _nX, int _nY)
{
    const int k = _nX / c_nChunkCells;
    const auto Put = [&](CBitRows& _bits, uint64_t _nBits) {
        _bits.Row(_nY)[k] = (_bits.Row(_nY)[k] & ~_nOwned) | (_nBits & _nOwned);
    };
    Put(_field.bitsSolid0, _chunk.nSolid0);
    Put(_field.bitsInner, _chunk.nInner);
    Put(_field.bitsDoubt, _chunk.nDoubt);
    Put(_field.bitsBackdrop, _chunk.nBackdrop);
    Put(_field.bitsSolid, _chunk.nSolid);
    int16_t* const pRho = &_field.cells.vecRho[_field.cells.At(_nX, _nY)];
    if (_nOwned == ~uint64_t{0})
        std::copy_n(_chunk.pRho, _chunk.cells.nCells, pRho);
    else
        for (int n = 0; n < _chunk.cells.nCells; ++n)
            pRho[n] = _nOwned >> n & 1 ? _chunk.pRho[n] : pRho[n];
}

void ClassifyChunk(CLASS_PASS& _pass, int _nX, int _nY)
{
    const UNMIX_STATE& state = _pass.state;
    const BETWEEN rows = Grid_Between(_nY, state.nPlateHeight);
    float arrRooms[2][4 * c_nPlateRoom];
    const auto PlateAt = [&](int _nRow, float(&_arrRoom)[4 * c_nPlateRoom]) {
        const VEC4* const pRow = &state.vecPlate[static_cast<size_t>(_nRow) * state.nPlateWidth];
        return Grid_CellsAt(pRow, state.nPlateWidth, _nX / 2 - 1, _arrRoom);
    };
    const float* const pAbove = PlateAt(rows.nFirst, arrRooms[0]);
    const float* const pBelow = PlateAt(rows.nSecond, arrRooms[1]);
    int16_t arrRho[c_nChunkCells];
    for (int k = 0; k < state.nKeys; ++k)
    {
        const uint64_t nOwned = OwnedBy(state, k, _nX, _nY);
        if (nOwned == 0)
            continue;
        CLASS_CHUNK chunk = {};
        chunk.cells = _pass.field.cells.Chunk(_nX, _nY);
        chunk.pRules = &_pass.arrRules[k];
        chunk.arrPlate[0] = pAbove;
        chunk.arrPlate[1] = pBelow;
        chunk.fltBelow = rows.fltSecond;
        chunk.nSure = _pass.field.bitsSure.Row(_nY)[_nX / c_nChunkCells];
        chunk.pRho = arrRho;
        state.pKernels->pfnClasses(chunk);
        PutClasses(_pass.field, chunk, nOwned, _nX, _nY);
    }
}
} // namespace

void Classes_Pass(UNMIX_STATE& _state, FIELD_STATE& _field, int _nFirst, int _nRows)
{
    CLASS_PASS pass{_state, _field, {}};
    for (int k = 0; k < _state.nKeys; ++k)
        pass.arrRules[k] = RulesOf(_state, _state.arrKeys[k]);
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
        for (int x = 0; x < _field.cells.nWidth; x += c_nChunkCells)
            ClassifyChunk(pass, x, y);
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

int Foreground_Pairs(const FIELD_STATE& _field)
{
    return _field.fore.arrLevels[1].nHeight;
}

void Foreground_Pass(const UNMIX_STATE& _state, FIELD_STATE& _field, int _nFirst, int _nPairs)
{
    UNMIX_PYRAMID::LEVEL& level = _field.fore.arrLevels[0];
    for (int y = 2 * _nFirst; y < std::min(2 * (_nFirst + _nPairs), level.nHeight); ++y)
    {
        VEC4* const pRow = level.vec.data() + static_cast<ptrdiff_t>(y) * level.nWidth;
        Plate_Mean(*_state.pKernels, _field.cells, _field.bitsSolid0, y, 1, pRow);
    }
    _field.fore.ReduceRows(_nFirst, _nPairs);
}

void Foreground_Spread(FIELD_STATE& _field)
{
    _field.fore.PushPullAbove(c_nForeLevels, c_fltForeDecay);
}

void Foreground_FillPass(FIELD_STATE& _field, int _nFirst, int _nRows)
{
    _field.fore.CompleteRows(_nFirst, _nRows, c_fltForeDecay);
}
