#include "ZChromaKey/Engine2/Plate.h"

#include <cstdlib>

namespace
{
constexpr int c_nLampBlock = 4; // plate cells along a block
constexpr float c_fltMostSeen = 8;
constexpr int c_nAllLevels = UNMIX_PYRAMID::c_nMaxLevels - 1;

size_t AtRow(const UNMIX_STATE& _state, int _nRow)
{
    return static_cast<size_t>(_nRow) * _state.nPlateWidth;
}

VEC4 Scaled(const VEC4& _v, const VEC4& _gain)
{
    return {_v.b * _gain.b, _v.g * _gain.g, _v.r * _gain.r, _v.w};
}

// Where a cell lies between the middles of blocks of c_nLampBlock cells.
BETWEEN BlockBetween(int _nCell, int _nBlocks)
{
    const float flt =
        std::clamp((static_cast<float>(_nCell) + .5f) / c_nLampBlock - .5f, 0.0f, static_cast<float>(_nBlocks - 1));
    const int n = static_cast<int>(flt);
    return {n, std::min(n + 1, _nBlocks - 1), flt - static_cast<float>(n)};
}
} // namespace

void Plate_Mean(const UNMIX_CELLS& _cells, const CBitRows& _bits, int _nRow, int _nPlateWidth, VEC4* _pOut)
{
    static constexpr float c_arrShare[5] = {0, 1 / 16.0f, 1 / 32.0f, 1 / 48.0f, 1 / 64.0f};
    for (int x = 0; x < _nPlateWidth; ++x)
    {
        uint64_t nSum = 0; // four sums of up to 64 bytes fit 16 bits each
        int nCount = 0;
        for (int y = 2 * _nRow; y < std::min(2 * _nRow + 2, _cells.nHeight); ++y)
            for (int i = 2 * x; i < std::min(2 * x + 2, _cells.nWidth); ++i)
                if (_bits.Get(i, y))
                {
                    nSum += _cells.vecSum[_cells.At(i, y)];
                    ++nCount;
                }
        const float flt = c_arrShare[nCount];
        _pOut[x] = {static_cast<float>(nSum & 0xffff) * flt, static_cast<float>(nSum >> 16 & 0xffff) * flt,
                    static_cast<float>(nSum >> 32 & 0xffff) * flt, static_cast<float>(nCount)};
    }
}

void Plate_SeenPass(UNMIX_STATE& _state, const FIELD_STATE& _field, int _nFirst, int _nRows)
{
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
    {
        const size_t nRow = AtRow(_state, y);
        Plate_Mean(_field.cells, _field.bitsSure, y, _state.nPlateWidth, &_state.vecSeen[nRow]);
        ROW_SUMS sums;
        for (int x = 0; x < _state.nPlateWidth; ++x)
        {
            const VEC4 seen = _state.vecSeen[nRow + x];
            const VEC4 plate = _state.vecPlate[nRow + x];
            if (seen.w == 0 || plate.w == 0)
                continue;
            const VEC4 off = seen - plate;
            sums.seen = sums.seen + VEC4{seen.b, seen.g, seen.r, 1};
            sums.plate = sums.plate + plate;
            sums.fltOff += std::abs(off.b) + std::abs(off.g) + std::abs(off.r) >
                           .3f * _state.arrKeys[_state.vecOwner[nRow + x]].fltX;
        }
        _state.vecSums[static_cast<size_t>(y)] = sums;
    }
}

PLATE_CHANGE Plate_Compare(const UNMIX_STATE& _state)
{
    ROW_SUMS all;
    for (const ROW_SUMS& sums : _state.vecSums)
    {
        all.seen = all.seen + sums.seen;
        all.plate = all.plate + sums.plate;
        all.fltOff += sums.fltOff;
    }
    PLATE_CHANGE change;
    change.nSeen = static_cast<int>(all.seen.w);
    change.bEnough = change.nSeen >= std::min(16, static_cast<int>(_state.vecPlate.size() + 3) / 4);
    if (!change.bEnough)
        return change;
    change.bCut = all.fltOff * 3 > all.seen.w;
    change.gain = {all.plate.b > 1 ? all.seen.b / all.plate.b : 1, all.plate.g > 1 ? all.seen.g / all.plate.g : 1,
                   all.plate.r > 1 ? all.seen.r / all.plate.r : 1, 1};
    return change;
}

void Plate_FindLamps(UNMIX_STATE& _state, const PLATE_CHANGE& _change)
{
    UNMIX_PYRAMID::LEVEL& blocks = _state.lamps.arrLevels[0];
    std::fill(blocks.vec.begin(), blocks.vec.end(), VEC4{});
    for (int y = 0; y < _state.nPlateHeight; ++y)
        for (int x = 0; x < _state.nPlateWidth; ++x)
        {
            const VEC4 seen = _state.vecSeen[AtRow(_state, y) + x];
            const VEC4 plate = _state.vecPlate[AtRow(_state, y) + x];
            if (seen.w == 0 || plate.w == 0)
                continue;
            const VEC4 off = (seen - Scaled(plate, _change.gain)) * seen.w;
            VEC4& block = blocks.vec[static_cast<size_t>(y / c_nLampBlock) * blocks.nWidth + x / c_nLampBlock];
            block = block + VEC4{off.b, off.g, off.r, seen.w};
        }
    for (VEC4& block : blocks.vec)
        if (block.w > 0) // a block counts full once a quarter of its 64 cells is seen
        {
            const float fltWeight = std::min(block.w / 16, 1.0f);
            block = block * (fltWeight / block.w);
        }
    _state.lamps.PushPull(c_nAllLevels, 1);
    for (VEC4& block : blocks.vec)
        block = block * (block.w > 1e-9f ? 1 / block.w : 0.0f);
}

namespace
{
VEC4 LampsAt(const UNMIX_PYRAMID::LEVEL& _blocks, int _nX, int _nY)
{
    const BETWEEN cols = BlockBetween(_nX, _blocks.nWidth);
    const BETWEEN rows = BlockBetween(_nY, _blocks.nHeight);
    const VEC4* const pAbove = _blocks.vec.data() + static_cast<ptrdiff_t>(rows.nFirst) * _blocks.nWidth;
    const VEC4* const pBelow = _blocks.vec.data() + static_cast<ptrdiff_t>(rows.nSecond) * _blocks.nWidth;
    const VEC4 first = pAbove[cols.nFirst] * (1 - rows.fltSecond) + pBelow[cols.nFirst] * rows.fltSecond;
    const VEC4 second = pAbove[cols.nSecond] * (1 - rows.fltSecond) + pBelow[cols.nSecond] * rows.fltSecond;
    return first * (1 - cols.fltSecond) + second * cols.fltSecond;
}
} // namespace

void Plate_LearnPass(UNMIX_STATE& _state, const PLATE_CHANGE& _change, int _nFirst, int _nRows)
{
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
    {
        int nGrown = 0;
        for (int x = 0; x < _state.nPlateWidth; ++x)
        {
            const VEC4 seen = _state.vecSeen[AtRow(_state, y) + x];
            VEC4& plate = _state.vecPlate[AtRow(_state, y) + x];
            VEC4 value = Scaled(plate, _change.gain);
            if (_change.bEnough)
            {
                const VEC4 lamps = LampsAt(_state.lamps.arrLevels[0], x, y);
                value = {value.b + lamps.b, value.g + lamps.g, value.r + lamps.r, value.w};
            }
            if (seen.w > 0)
            {
                nGrown += plate.w == 0;
                const float fltCount = std::min(plate.w + 1, c_fltMostSeen);
                value = value + (seen - value) * (1 / fltCount);
                value.w = fltCount;
            }
            plate = value;
        }
        _state.vecSums[static_cast<size_t>(y)].nGrown = nGrown;
    }
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
        return TakeKeyColour(_state);
    _state.bPlateSet = true;
    FillFromSeen(_state);
    FillThroughNets(_state, _field);
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
    Plate_OwnerPass(_state, 0, _state.nPlateHeight);
}

void Plate_OwnerPass(UNMIX_STATE& _state, int _nFirst, int _nRows)
{
    for (size_t n = AtRow(_state, _nFirst); n < AtRow(_state, _nFirst + _nRows); ++n)
    {
        const VEC4& v = _state.vecPlate[n];
        int nBest = 0;
        float fltBest = 1e9f;
        for (int k = 0; k < _state.nKeys && _state.nKeys > 1; ++k)
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
