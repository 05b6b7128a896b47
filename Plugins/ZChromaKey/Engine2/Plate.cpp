#include "ZChromaKey/Engine2/Plate.h"

#include <cstdlib>

namespace
{
constexpr float c_fltMostSeen = 8;
constexpr float c_fltCellsOfPlate = 4;
constexpr int c_nAllLevels = UNMIX_PYRAMID::c_nMaxLevels - 1;

size_t AtRow(const UNMIX_STATE& _state, int _nRow)
{
    return static_cast<size_t>(_nRow) * _state.nPlateWidth;
}

VEC4 Scaled(const VEC4& _v, const VEC4& _gain)
{
    return {_v.b * _gain.b, _v.g * _gain.g, _v.r * _gain.r, _v.w};
}
} // namespace

void Plate_Mean(const UNMIX_KERNELS& _kernels, const UNMIX_CELLS& _cells, const CBitRows& _bits, int _nRow,
                float _fltMost, VEC4* _pOut)
{
    const int nUpper = 2 * _nRow, nLower = std::min(nUpper + 1, _cells.nHeight - 1);
    for (int k = 0; k < _bits.Words(); ++k, _pOut += c_nChunkPlates)
    {
        const int x = k * c_nChunkCells;
        const uint64_t nLowerBits = nLower > nUpper ? _bits.Row(nLower)[k] : 0;
        const CELL_CHUNK cells = _cells.Chunk(x, nUpper);
        if ((_bits.Row(nUpper)[k] | nLowerBits) == 0)
        {
            std::fill_n(_pOut, (cells.nCells + 1) / 2, VEC4{});
            continue;
        }
        _kernels.pfnMeans({{cells.pSum, &_cells.vecSum[_cells.At(x, nLower)]},
                           {_bits.Row(nUpper)[k], nLowerBits},
                           cells.nCells,
                           _fltMost,
                           &_pOut->b});
    }
}

namespace
{
// Calls _body(first, chunk) for the chunks of a row of the plate.
template <class T> void ForEachChunk(UNMIX_STATE& _state, int _nRow, const T& _body)
{
    const size_t nRow = AtRow(_state, _nRow);
    for (int x = 0; x < _state.nPlateWidth; x += c_nChunkPlates)
        _body(x, PLATE_CHUNK{&_state.vecSeen[nRow + x].b, &_state.vecPlate[nRow + x].b,
                             &_state.vecReference[nRow + x].b, std::min(c_nChunkPlates, _state.nPlateWidth - x)});
}

// How far off what is seen is of another scene.
float FarOff(const KEY_FORMS& _key)
{
    return .3f * _key.fltX;
}

using LIMIT_ROOM = float[c_nLampBlock][4 * c_nChunkPlates];

// Where there are several keys, how far off is far depends on whose a cell is.
const float* LimitsOf(const UNMIX_STATE& _state, size_t _nAt, const COMPARE_CHUNK& _chunk, LIMIT_ROOM& _arrRoom)
{
    if (_state.nKeys == 1)
        return nullptr;
    for (int y = 0; y < _chunk.nRows; ++y)
        for (int x = 0; x < _chunk.plates.nPlates; ++x)
        {
            const uint8_t nOwner = _state.vecOwner[_nAt + static_cast<size_t>(y * _state.nPlateWidth + x)];
            const float flt = FarOff(_state.arrKeys[nOwner]);
            std::fill_n(&_arrRoom[y][4 * x], 4, flt);
        }
    return _arrRoom[0];
}

ROW_SUMS CompareBlocks(UNMIX_STATE& _state, int _nBlockRow)
{
    const int y = _nBlockRow * c_nLampBlock;
    BLOCK_SUMS* pBlocks = &_state.vecBlocks[static_cast<size_t>(_nBlockRow) * _state.lamps.arrLevels[0].nWidth];
    ROW_SUMS sums;
    ForEachChunk(_state, y, [&](int _nX, const PLATE_CHUNK& _plates) {
        LIMIT_ROOM arrLimits;
        COMPARE_CHUNK chunk = {};
        chunk.plates = _plates;
        chunk.nRows = std::min(c_nLampBlock, _state.nPlateHeight - y);
        chunk.nStride = ptrdiff_t{4} * _state.nPlateWidth;
        chunk.fltLimit = FarOff(_state.arrKeys[0]);
        chunk.pLimits = LimitsOf(_state, AtRow(_state, y) + static_cast<size_t>(_nX), chunk, arrLimits);
        chunk.pBlocks = &pBlocks->seen.b;
        _state.pKernels->pfnCompare(chunk);
        const float* const s = chunk.arrSeen;
        const float* const p = chunk.arrReference;
        sums.seen = sums.seen + VEC4{s[0], s[1], s[2], s[3]};
        sums.reference = sums.reference + VEC4{p[0], p[1], p[2], 0};
        sums.fltOff += p[3];
        pBlocks += c_nChunkPlates / c_nLampBlock;
    });
    return sums;
}
} // namespace

void Plate_SeenPass(UNMIX_STATE& _state, const FIELD_STATE& _field, int _nFirst, int _nRows)
{
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
        Plate_Mean(*_state.pKernels, _field.cells, _field.bitsSure, y, c_fltCellsOfPlate,
                   &_state.vecSeen[AtRow(_state, y)]);
    for (int n = _nFirst / c_nLampBlock; n * c_nLampBlock < _nFirst + _nRows; ++n)
        _state.vecSums[static_cast<size_t>(n)] = CompareBlocks(_state, n);
}

namespace
{
// A channel that the backdrop hardly has tells nothing.
float Exposure(float _fltSeen, float _fltReference)
{
    return _fltReference > 1 ? std::clamp(_fltSeen / _fltReference, .125f, 8.0f) : 1;
}
} // namespace

PLATE_CHANGE Plate_Compare(const UNMIX_STATE& _state)
{
    ROW_SUMS all;
    for (const ROW_SUMS& sums : _state.vecSums)
    {
        all.seen = all.seen + sums.seen;
        all.reference = all.reference + sums.reference;
        all.fltOff += sums.fltOff;
    }
    PLATE_CHANGE change;
    change.nSeen = static_cast<int>(all.seen.w);
    change.bEnough = change.nSeen >= std::min(16, static_cast<int>(_state.vecPlate.size() + 3) / 4);
    if (!change.bEnough)
        return change;
    change.bCut = all.fltOff * 3 > all.seen.w;
    change.gain = {Exposure(all.seen.b, all.reference.b), Exposure(all.seen.g, all.reference.g),
                   Exposure(all.seen.r, all.reference.r), 1};
    return change;
}

void Plate_FindLamps(UNMIX_STATE& _state)
{
    std::vector<VEC4>& vecLamps = _state.lamps.arrLevels[0].vec;
    std::transform(_state.vecBlocks.begin(), _state.vecBlocks.end(), vecLamps.begin(), [&](const BLOCK_SUMS& _sums) {
        const float fltCells = _sums.seen.w;
        VEC4 off = _sums.seen - Scaled(_sums.reference, _state.gain);
        off.w = fltCells;
        // A block counts full once a quarter of its 64 cells is seen.
        return fltCells > 0 ? off * (std::min(fltCells / 16, 1.0f) / fltCells) : VEC4{};
    });
    _state.lamps.PushPull(c_nAllLevels, 1);
    for (VEC4& block : vecLamps)
    {
        block = block * (block.w > 1e-9f ? 1 / block.w : 0.0f);
        block.w = 0;
    }
}

namespace
{
// What the lamps add to the cells of a chunk, in room for a whole one.
void TakeLamps(const UNMIX_STATE& _state, int _nX, int _nRow, VEC4 (&_arrOut)[c_nChunkPlates])
{
    const UNMIX_PYRAMID::LEVEL& blocks = _state.lamps.arrLevels[0];
    const int nEighths = 2 * (_nRow % c_nLampBlock) + 1; // from the upper border of the block
    const int nAbove = _nRow / c_nLampBlock - (nEighths < c_nLampBlock);
    float arrRooms[2][4 * c_nLampRoom];
    const auto Blocks = [&](int _nBlockRow, float(&_arrRoom)[4 * c_nLampRoom]) {
        const int nAt = std::clamp(_nBlockRow, 0, blocks.nHeight - 1) * blocks.nWidth;
        return Grid_CellsAt(&blocks.vec[static_cast<size_t>(nAt)], blocks.nWidth, _nX / c_nLampBlock - 1, _arrRoom);
    };
    _state.pKernels->pfnLamps({{Blocks(nAbove, arrRooms[0]), Blocks(nAbove + 1, arrRooms[1])},
                               static_cast<float>((nEighths + c_nLampBlock) % 8) * .125f,
                               &_arrOut[0].b});
}

// How many cells of a row were seen for the first time.
int LearnRow(UNMIX_STATE& _state, int _nY)
{
    const VEC4& gain = _state.gain;
    int nGrown = 0;
    ForEachChunk(_state, _nY, [&](int _nX, const PLATE_CHUNK& _plates) {
        VEC4 arrLamps[c_nChunkPlates];
        TakeLamps(_state, _nX, _nY, arrLamps);
        LEARN_CHUNK chunk = {_plates,
                             {gain.b, gain.g, gain.r, 1},
                             {1 / gain.b, 1 / gain.g, 1 / gain.r, 1},
                             &arrLamps[0].b,
                             c_fltMostSeen,
                             0};
        _state.pKernels->pfnLearn(chunk);
        nGrown += chunk.nGrown;
    });
    return nGrown;
}
} // namespace

void Plate_LearnPass(UNMIX_STATE& _state, int _nFirst, int _nRows)
{
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
        _state.vecSums[static_cast<size_t>(y / c_nLampBlock)].nGrown += LearnRow(_state, y);
    Plate_OwnerPass(_state, _nFirst, _nRows);
}

namespace
{
// Whether a cell's least values look like the backdrop there and its greatest do not: backdrop seen between threads.
bool IsBetweenThreads(const KEY_FORMS& _key, const UNMIX_CELLS& _cells, size_t _nAt, const VEC4& _plate)
{
    const VEC4 least{static_cast<float>(_cells.Min(_nAt, 0)), static_cast<float>(_cells.Min(_nAt, 1)),
                     static_cast<float>(_cells.Min(_nAt, 2)), 0};
    const float fltX = _key.X(_plate.b, _plate.g, _plate.r);
    const float fltZ = _key.Z(_plate.b, _plate.g, _plate.r);
    const float fltLeastX = _key.X(least.b, least.g, least.r);
    const float fltLeastZ = _key.Z(least.b, least.g, least.r);
    const float fltMostX = _key.X(static_cast<float>(_cells.Max(_nAt, 0)), static_cast<float>(_cells.Max(_nAt, 1)),
                                  static_cast<float>(_cells.Max(_nAt, 2)));
    constexpr float c_fltHue = .1227f; // 12 degrees
    return fltLeastX > .7f * fltX && fltLeastX < 1.1f * fltX && fltMostX < .7f * fltLeastX &&
           std::abs(fltLeastZ * fltX - fltZ * fltLeastX) < c_fltHue * fltLeastX * fltX &&
           least.Max() < 1.1f * _plate.Max();
}

// The mean of the least values of those cells of a plate cell that show backdrop between threads; w: how many.
VEC4 BetweenThreads(const UNMIX_STATE& _state, const FIELD_STATE& _field, int _nX, int _nY)
{
    const size_t nAt = AtRow(_state, _nY) + _nX;
    const UNMIX_CELLS& cells = _field.cells;
    VEC4 sum;
    for (int y = 2 * _nY; y < std::min(2 * _nY + 2, cells.nHeight); ++y)
        for (int x = 2 * _nX; x < std::min(2 * _nX + 2, cells.nWidth); ++x)
        {
            const size_t n = cells.At(x, y);
            if (IsBetweenThreads(_state.arrKeys[_state.vecOwner[nAt]], cells, n, _state.vecPlate[nAt]))
                sum = sum + VEC4{static_cast<float>(cells.Min(n, 0)), static_cast<float>(cells.Min(n, 1)),
                                 static_cast<float>(cells.Min(n, 2)), 1};
        }
    return sum;
}

// Where nothing is known, the backdrop as the pyramid has it.
void TakeFilled(UNMIX_STATE& _state)
{
    const std::vector<VEC4>& vecFilled = _state.fill.arrLevels[0].vec;
    for (size_t n = 0; n < vecFilled.size(); ++n)
        if (_state.vecPlate[n].w == 0)
        {
            _state.vecPlate[n] = vecFilled[n] * (vecFilled[n].w > 1e-9f ? 1 / vecFilled[n].w : 0.0f);
            _state.vecPlate[n].w = 0;
        }
}

void SeedWithSeen(UNMIX_STATE& _state)
{
    for (size_t n = 0; n < _state.vecPlate.size(); ++n)
    {
        VEC4 v = _state.vecPlate[n];
        v.w = 1;
        _state.fill.arrLevels[0].vec[n] = _state.vecPlate[n].w > 0 ? v : VEC4{};
    }
}

// Nets fill a picture with no sure backdrop between their threads, though every mesh shows it: where that is so for a
// twelfth of the picture, far from what was seen, the meshes feed a second filling.
void FillThroughNets(UNMIX_STATE& _state, const FIELD_STATE& _field)
{
    CBitRows& bits = _state.bitsPlate;
    for (int y = 0; y < _state.nPlateHeight; ++y)
        for (int x = 0; x < _state.nPlateWidth; ++x)
            bits.Set(x, y, _state.Plate(x, y).w == 0);
    bits.Erode(3, _state.vecScratch);
    SeedWithSeen(_state);
    int nFound = 0;
    for (int y = 0; y < _state.nPlateHeight; ++y)
        for (int x = 0; x < _state.nPlateWidth; ++x)
            if (bits.Get(x, y))
            {
                const VEC4 sum = BetweenThreads(_state, _field, x, y);
                nFound += static_cast<int>(sum.w);
                if (sum.w > 0)
                    _state.fill.arrLevels[0].vec[AtRow(_state, y) + x] = sum * (.5f / sum.w);
            }
    if (static_cast<float>(nFound) <= .08f * static_cast<float>(_field.cells.vecSum.size()))
        return;
    _state.fill.PushPull(c_nAllLevels, 1);
    TakeFilled(_state);
}

// Fills in what was never seen from what was.
void FillFromSeen(UNMIX_STATE& _state)
{
    SeedWithSeen(_state);
    _state.fill.PushPull(c_nAllLevels, 1);
    TakeFilled(_state);
    Plate_OwnerPass(_state, 0, _state.nPlateHeight);
}

void TakeKeyColour(UNMIX_STATE& _state)
{
    const float* const p = _state.arrKeys[0].key.arrBGR;
    std::fill(_state.vecPlate.begin(), _state.vecPlate.end(), VEC4{p[0], p[1], p[2], 0});
}

// The reference of what was filled in: the plate there, were it in the light of the first picture.
void ReferToFilled(UNMIX_STATE& _state)
{
    const VEC4 inverse = {1 / _state.gain.b, 1 / _state.gain.g, 1 / _state.gain.r, 1};
    for (int y = 0; y < _state.nPlateHeight; ++y)
        ForEachChunk(_state, y, [&](int _nX, const PLATE_CHUNK& _plates) {
            VEC4 arrLamps[c_nChunkPlates];
            TakeLamps(_state, _nX, y, arrLamps);
            for (int n = 0; n < _plates.nPlates; ++n)
            {
                const size_t nAt = AtRow(_state, y) + _nX + n;
                if (_state.vecPlate[nAt].w == 0)
                    _state.vecReference[nAt] = Scaled(_state.vecPlate[nAt] - arrLamps[n], inverse);
            }
        });
}
} // namespace

void Plate_Fill(UNMIX_STATE& _state, const FIELD_STATE& _field)
{
    int nGrown = 0;
    for (const ROW_SUMS& sums : _state.vecSums)
        nGrown += sums.nGrown;
    const bool bFew = static_cast<float>(nGrown) <= .002f * static_cast<float>(_state.vecPlate.size());
    if (_state.bPlateSet && bFew && (nGrown == 0 || ++_state.nUnfilled < 8))
        return;
    _state.nUnfilled = 0;
    if (!_state.bPlateSet && nGrown == 0)
        TakeKeyColour(_state);
    else
    {
        _state.bPlateSet = true;
        FillFromSeen(_state);
        FillThroughNets(_state, _field);
    }
    Plate_OwnerPass(_state, 0, _state.nPlateHeight);
    ReferToFilled(_state);
}

namespace
{
// What a cell of the plate covers of the given picture along one axis, in parts of a pixel: any size is met exactly.
struct COVER
{
    int64_t nFirst;
    int64_t nLast;
    int64_t nUnit; // parts in a pixel

    COVER(int _nCell, int _nCellSize, int _nSize, int _nPictureSize)
        : nFirst(int64_t{_nCell} * _nCellSize * _nPictureSize)
        , nLast(std::min(int64_t{_nCell + 1} * _nCellSize, int64_t{_nSize}) * _nPictureSize)
        , nUnit(_nSize)
    {
    }
    int FirstPixel() const
    {
        return static_cast<int>(nFirst / nUnit);
    }
    int EndPixel() const
    {
        return static_cast<int>((nLast + nUnit - 1) / nUnit);
    }
    int64_t Parts(int _nPixel) const
    {
        return std::min(nLast, (_nPixel + 1) * nUnit) - std::max(nFirst, _nPixel * nUnit);
    }
};

VEC4 GivenMean(const UNMIX_PLATE& _plate, const COVER& _cols, const COVER& _rows)
{
    int64_t anSum[3] = {};
    for (int y = _rows.FirstPixel(); y < _rows.EndPixel(); ++y)
    {
        const uint8_t* const pRow = _plate.pBGRA + ptrdiff_t{4} * _plate.nWidth * y;
        for (int x = _cols.FirstPixel(); x < _cols.EndPixel(); ++x)
            for (int c = 0; c < 3; ++c)
                anSum[c] += _rows.Parts(y) * _cols.Parts(x) * pRow[ptrdiff_t{4} * x + c];
    }
    const double dblShare = 1 / static_cast<double>((_rows.nLast - _rows.nFirst) * (_cols.nLast - _cols.nFirst));
    const auto Mean = [&](int64_t _n) { return static_cast<float>(static_cast<double>(_n) * dblShare); };
    return {Mean(anSum[0]), Mean(anSum[1]), Mean(anSum[2]), 0};
}

// Whether a colour of the given plate has the tint of a key, however dark it is. What the screen only shines on loses
// saturation.
bool LooksLikeKey(const UNMIX_STATE& _state, const VEC4& _v)
{
    constexpr float c_fltHue = .3333f; // 30 degrees
    for (int k = 0; k < _state.nKeys; ++k)
    {
        const KEY_FORMS& key = _state.arrKeys[k];
        const float fltX = key.X(_v.b, _v.g, _v.r);
        if (fltX > .1f * key.fltX && fltX * key.fltValue > .5f * key.fltX * _v.Max() &&
            std::abs(key.Z(_v.b, _v.g, _v.r) - key.fltSlope * fltX) < c_fltHue * fltX)
            return true;
    }
    return false;
}
} // namespace

void Plate_GivenPass(UNMIX_STATE& _state, int _nFirst, int _nRows)
{
    const UNMIX_PLATE& plate = _state.setup.plate;
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
    {
        const COVER rows(y, 2 * c_nCell * _state.nFields, _state.nHeight, plate.nHeight);
        for (int x = 0; x < _state.nPlateWidth; ++x)
        {
            VEC4& cell = _state.vecPlate[AtRow(_state, y) + x];
            cell = GivenMean(plate, COVER(x, 2 * c_nCell, _state.nWidth, plate.nWidth), rows);
            _state.bitsPlate.Set(x, y, LooksLikeKey(_state, cell));
        }
    }
}

void Plate_GivenFinish(UNMIX_STATE& _state)
{
    _state.bitsPlate.Erode(1, _state.vecScratch);
    for (int y = 0; y < _state.nPlateHeight; ++y)
        for (int x = 0; x < _state.nPlateWidth; ++x)
            _state.vecPlate[AtRow(_state, y) + x].w = _state.bitsPlate.Get(x, y) ? c_fltMostSeen : 0;
    _state.bPlateSet = true;
    if (_state.bitsPlate.Count() > 0)
        FillFromSeen(_state);
    else
        TakeKeyColour(_state);
    _state.vecReference = _state.vecPlate;
    Plate_OwnerPass(_state, 0, _state.nPlateHeight);
}

void Plate_Forget(UNMIX_STATE& _state)
{
    std::fill(_state.vecPlate.begin(), _state.vecPlate.end(), VEC4{});
    std::fill(_state.vecReference.begin(), _state.vecReference.end(), VEC4{});
    _state.gain = {1, 1, 1, 1};
    std::vector<VEC4>& vecLamps = _state.lamps.arrLevels[0].vec;
    std::fill(vecLamps.begin(), vecLamps.end(), VEC4{});
}

void Plate_OwnerPass(UNMIX_STATE& _state, int _nFirst, int _nRows)
{
    if (_state.nKeys == 1)
    {
        std::fill_n(&_state.vecOwner[AtRow(_state, _nFirst)], static_cast<size_t>(_nRows) * _state.nPlateWidth, 0);
        return;
    }
    for (size_t n = AtRow(_state, _nFirst); n < AtRow(_state, _nFirst + _nRows); ++n)
    {
        const VEC4& v = _state.vecPlate[n];
        int nBest = 0;
        float fltBest = 1e9f;
        for (int k = 0; k < _state.nKeys; ++k)
        {
            const float* const p = _state.arrKeys[k].key.arrBGR;
            const float flt = (v.b - p[0]) * (v.b - p[0]) + (v.g - p[1]) * (v.g - p[1]) + (v.r - p[2]) * (v.r - p[2]);
            if (flt < fltBest)
            {
                fltBest = flt;
                nBest = k;
            }
        }
        _state.vecOwner[n] = static_cast<uint8_t>(nBest);
    }
}
