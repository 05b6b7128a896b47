#include "ZChromaKey/Engine2/Pixels.h"

#include "ZChromaKey/Engine2/Screen.h"

#include <cmath>
#include <cstring>

namespace
{
constexpr float c_fltQuiet = .75f; // noise below which nothing is filtered
constexpr float c_fltTimeNoise = 2;
constexpr int c_nTimeWeight = 16384; // of 32768
constexpr int16_t c_nUnknown = INT16_MIN;

int Clamp16(int _n)
{
    return std::clamp(_n, -32768, 32767);
}

// a b / 2^15, rounded: one instruction on vectors of 16 bits.
int MulRound(int _a, int _b)
{
    return (_a * _b + 16384) >> 15;
}

int RoundSigned(float _flt)
{
    return static_cast<int>(_flt + 32768.5f) - 32768;
}

// What a pass over one picture needs, made once.
struct PASS
{
    UNMIX_STATE& state;
    FIELD_STATE& field;
    const UNMIX_PICTURE& picture;
    const UNMIX_RESULT& result;
    PIXEL_RULES arrRules[c_nUnmixMaxKeys];
    bool bSeen;
    bool bFilter;
    bool bPast;
    int nNear;     // 32nds: neighbours this near are averaged
    int nTimeNear; // and values of the frame before
};

VEC4 ColourAt(const UNMIX_PICTURE& _picture, int _nX, int _nY)
{
    if (_picture.pDeep0)
    {
        const uint16_t* const p = _picture.DeepRow(_nY) + ptrdiff_t{4} * _nX;
        return {static_cast<float>(p[0]) / 64, static_cast<float>(p[1]) / 64, static_cast<float>(p[2]) / 64, 0};
    }
    const uint8_t* const p = _picture.Row(_nY) + ptrdiff_t{4} * _nX;
    return {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]), 0};
}

// A form of a pixel in 32nds of a level.
int FormAt(const UNMIX_PICTURE& _picture, const int32_t* _pForm, int _nX, int _nY)
{
    if (_picture.pDeep0)
    {
        const uint16_t* const p = _picture.DeepRow(_nY) + ptrdiff_t{4} * _nX;
        return (_pForm[0] * p[0] + _pForm[1] * p[1] + _pForm[2] * p[2]) >> 7;
    }
    const uint8_t* const p = _picture.Row(_nY) + ptrdiff_t{4} * _nX;
    return (_pForm[0] * p[0] + _pForm[1] * p[1] + _pForm[2] * p[2]) >> 1;
}

// D = X - wedge |Z - rho X| in 32nds of a level; integers, so that every kernel agrees.
int DifferenceAt(const PASS& _pass, const KEY_FORMS& _key, int _nX, int _nY)
{
    const UNMIX_CELLS& cells = _pass.field.cells;
    const int nX = FormAt(_pass.picture, _key.anX, _nX, _nY);
    const int nZ = FormAt(_pass.picture, _key.anZ, _nX, _nY);
    const int nRho = cells.vecRho[cells.At(_nX / c_nCell, _nY / c_nCell)];
    const int nAcross = std::min(std::abs(nZ - MulRound(nX, nRho)), 8191);
    const int nWedge = Rounded(_key.fltWedge * 8192);
    return Clamp16(nX - MulRound(4 * nAcross, nWedge));
}

// The mean of those of 3x3 pixels whose difference is near that of the middle: colours keep their grain. _p: the
// middle in a square of 6x6.
int Filtered(const int* _p, int _nNear)
{
    static constexpr int c_arrShare[10] = {0, 32768, 16384, 10923, 8192, 6554, 5461, 4681, 4096, 3641};
    int nSum = 0, nCount = 1;
    for (int y = -1; y <= 1; ++y)
        for (int x = -1; x <= 1; ++x)
        {
            const int nOff = _p[6 * y + x] - _p[0];
            const bool bNear = (x != 0 || y != 0) && std::abs(nOff) < _nNear;
            nSum += bNear ? nOff : 0;
            nCount += bNear;
        }
    return _p[0] + MulRound(nSum, c_arrShare[nCount]);
}

// The filter over time. What is kept is the difference over that of the backdrop, so that light that changes does not
// linger. A picture that was seen before gets what it got then, unless another setup has moved it.
int WithPast(const PASS& _pass, int16_t& _nPast, int _nDifference, float _fltX)
{
    const float fltScale = _fltX * (32 / 8192.0f);
    if (_nPast != c_nUnknown)
    {
        const int nBefore = Clamp16(RoundSigned(static_cast<float>(_nPast) * fltScale));
        const bool bNear = std::abs(nBefore - _nDifference) < _pass.nTimeNear;
        if (bNear && _pass.bSeen)
            return nBefore;
        if (bNear)
            _nDifference += MulRound(nBefore - _nDifference, c_nTimeWeight);
    }
    const int nKept = RoundSigned(std::clamp(static_cast<float>(_nDifference) / fltScale, -32767.0f, 32767.0f));
    _nPast = static_cast<int16_t>(nKept);
    return Clamp16(RoundSigned(static_cast<float>(nKept) * fltScale));
}

// A field of the plate's cells inside a cell of 4x4 pixels: bilinear between four of them.
struct BLOCK_FIELD
{
    VEC4 arrCorner[4];
    float fltX0;
    float fltY0;

    VEC4 At(int _nX, int _nY) const
    {
        const float x = fltX0 + static_cast<float>(_nX) * .125f;
        const float y = fltY0 + static_cast<float>(_nY) * .125f;
        const VEC4 above = arrCorner[0] + (arrCorner[1] - arrCorner[0]) * x;
        const VEC4 below = arrCorner[2] + (arrCorner[3] - arrCorner[2]) * x;
        return above + (below - above) * y;
    }
};

BLOCK_FIELD FieldOf(const VEC4* _pGrid, int _nWidth, int _nHeight, int _nX, int _nY)
{
    const BETWEEN cols = Grid_Between(_nX, _nWidth);
    const BETWEEN rows = Grid_Between(_nY, _nHeight);
    const VEC4* const pAbove = _pGrid + static_cast<ptrdiff_t>(rows.nFirst) * _nWidth;
    const VEC4* const pBelow = _pGrid + static_cast<ptrdiff_t>(rows.nSecond) * _nWidth;
    return {{pAbove[cols.nFirst], pAbove[cols.nSecond], pBelow[cols.nFirst], pBelow[cols.nSecond]},
            _nX & 1 ? .0625f : .5625f,
            _nY & 1 ? .0625f : .5625f};
}

// How far a pixel is inside core: the cells' bits, bilinear between their middles, doubled and cut.
struct CORE_FIELD
{
    float arr[3][3];
    bool bAny;

    float At(int _nX, int _nY) const
    {
        static constexpr float c_arrOther[4] = {.375f, .125f, .125f, .375f};
        const int nColumn = _nX < 2 ? 0 : 2, nRow = _nY < 2 ? 0 : 2;
        const float x = c_arrOther[_nX], y = c_arrOther[_nY];
        const float fltHere = arr[1][1] + (arr[1][nColumn] - arr[1][1]) * x;
        const float fltThere = arr[nRow][1] + (arr[nRow][nColumn] - arr[nRow][1]) * x;
        return Clamp01(2 * (fltHere + (fltThere - fltHere) * y) - 1);
    }
};

CORE_FIELD CoreOf(const CBitRows& _bits, int _nX, int _nY)
{
    CORE_FIELD core;
    core.bAny = false;
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 3; ++x)
        {
            const bool b = _bits.Get(std::clamp(_nX + x - 1, 0, _bits.Width() - 1),
                                     std::clamp(_nY + y - 1, 0, _bits.Height() - 1));
            core.arr[y][x] = b ? 1.0f : 0.0f;
            core.bAny |= b;
        }
    return core;
}

void MixedCell(PASS& _pass, int _nX, int _nY)
{
    const UNMIX_STATE& state = _pass.state;
    const UNMIX_PICTURE& picture = _pass.picture;
    const CELL_BACKDROP here = Plate_Backdrop(state, _nX, _nY);
    const PIXEL_RULES& rules = _pass.arrRules[here.pKey - state.arrKeys];
    const int x0 = _nX * c_nCell, y0 = _nY * c_nCell;
    int anDifference[6][6];
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 6; ++x)
            anDifference[y][x] = DifferenceAt(_pass, *here.pKey, std::clamp(x0 + x - 1, 0, picture.nWidth - 1),
                                              std::clamp(y0 + y - 1, 0, picture.nHeight - 1));
    const BLOCK_FIELD back = FieldOf(state.vecPlate.data(), state.nPlateWidth, state.nPlateHeight, _nX, _nY);
    const UNMIX_PYRAMID::LEVEL& level = _pass.field.fore.arrLevels[0];
    const BLOCK_FIELD fore = FieldOf(level.vec.data(), level.nWidth, level.nHeight, _nX, _nY);
    const CORE_FIELD core = CoreOf(_pass.field.bitsInner, _nX, _nY);
    for (int y = 0; y < std::min(c_nCell, picture.nHeight - y0); ++y)
        for (int x = 0; x < std::min(c_nCell, picture.nWidth - x0); ++x)
        {
            const int* const pDifference = &anDifference[y + 1][x + 1];
            int nDifference = _pass.bFilter ? Filtered(pDifference, _pass.nNear) : *pDifference;
            if (_pass.bPast)
                nDifference =
                    WithPast(_pass, _pass.field.vecPast[static_cast<size_t>(y0 + y) * picture.nWidth + x0 + x],
                             nDifference, here.fltX);
            const VEC4 colour = ColourAt(picture, x0 + x, y0 + y);
            PIXEL_PLACE place;
            place.back = back.At(x, y);
            place.fore = fore.At(x, y);
            const float fltWeight = place.fore.w;
            place.fore = place.fore * (fltWeight > 1e-9f ? 1 / fltWeight : 0.0f);
            place.fore.w = fltWeight;
            place.fltCore = core.bAny ? core.At(x, y) : 0;
            const float fltProtected = state.setup.nProtected > 0 ? Screen_Protection(state.setup, colour) : 0;
            place.fltCore =
                std::max(std::max(place.fltCore, fltProtected), Pixel_Beyond(*rules.pKey, place.back, colour));
            place.fltQuieted = static_cast<float>(nDifference - *pDifference) / 32;
            const float a = Pixel_Alpha(rules, place, colour, static_cast<float>(nDifference) / 32);
            VEC4 out = Pixel_Colour(rules, place, colour, a);
            out = out + VEC4{colour.b - out.b, colour.g - out.g, colour.r - out.r, 0} * fltProtected;
            _pass.result.Put(x0 + x, y0 + y, out);
        }
}

// The limiter on bytes, in integers: X and Z in 64ths, the excess in 32nds.
void SolidBytes(const UNMIX_LIMITER& _limiter, const KEY_FORMS& _key, const uint8_t* _pIn, uint8_t* _pOut)
{
    const int nX = _key.anX[0] * _pIn[0] + _key.anX[1] * _pIn[1] + _key.anX[2] * _pIn[2];
    const int nZ = std::abs(_key.anZ[0] * _pIn[0] + _key.anZ[1] * _pIn[1] + _key.anZ[2] * _pIn[2]);
    const int nTint = nX * 256 - nZ * _limiter.nLimit;
    const int nExcess = (std::max(std::min(nTint, _limiter.nOwn - nTint), _limiter.nLeast) + 256) >> 9;
    for (int c = 0; c < 3; ++c)
        _pOut[c] = static_cast<uint8_t>(std::clamp(_pIn[c] - MulRound(nExcess, _limiter.anTake[c]), 0, 255));
    _pOut[3] = 255;
}

void SolidCell(const PASS& _pass, int _nX, int _nY)
{
    const UNMIX_PICTURE& picture = _pass.picture;
    const size_t nPlate = static_cast<size_t>(_nY >> 1) * _pass.state.nPlateWidth + (_nX >> 1);
    const PIXEL_RULES& rules = _pass.arrRules[_pass.state.vecOwner[nPlate]];
    const UNMIX_LIMITER limiter = _pass.field.bitsProtected.Get(_nX, _nY) ? UNMIX_LIMITER{} : rules.limiter;
    const int x1 = std::min((_nX + 1) * c_nCell, picture.nWidth);
    for (int y = _nY * c_nCell; y < std::min((_nY + 1) * c_nCell, picture.nHeight); ++y)
        for (int x = _nX * c_nCell; x < x1; ++x)
        {
            if (!_pass.result.bWords && !picture.bDeepSolid)
            {
                SolidBytes(limiter, *rules.pKey, picture.Row(y) + ptrdiff_t{4} * x,
                           _pass.result.Bytes(y) + ptrdiff_t{4} * x);
                continue;
            }
            UNMIX_PICTURE bytes = picture;
            bytes.pDeep0 = picture.bDeepSolid ? picture.pDeep0 : nullptr;
            VEC4 colour = Pixels_Limit(limiter, *rules.pKey, ColourAt(bytes, x, y));
            colour.w = 255;
            _pass.result.Put(x, y, colour);
        }
}

void BackdropCell(const PASS& _pass, int _nX, int _nY)
{
    const int x0 = _nX * c_nCell;
    const auto nPixels = static_cast<size_t>(std::min(c_nCell, _pass.picture.nWidth - x0));
    const size_t cbPixel = _pass.result.bWords ? 8 : 4;
    for (int y = _nY * c_nCell; y < std::min((_nY + 1) * c_nCell, _pass.picture.nHeight); ++y)
        std::memset(_pass.result.Bytes(y) + x0 * cbPixel, 0, nPixels * cbPixel);
}
} // namespace

void UNMIX_RESULT::Put(int _nX, int _nY, const VEC4& _value) const
{
    const float arr[4] = {_value.b, _value.g, _value.r, _value.w};
    for (int c = 0; c < 4; ++c)
    {
        const float flt = std::min(std::max(arr[c], 0.0f), 255.0f);
        if (bWords)
            Words(_nY)[ptrdiff_t{4} * _nX + c] = static_cast<uint16_t>(Rounded(flt * 257));
        else
            Bytes(_nY)[ptrdiff_t{4} * _nX + c] = static_cast<uint8_t>(Rounded(flt));
    }
}

VEC4 UNMIX_RESULT::Get(int _nX, int _nY) const
{
    if (bWords)
    {
        const uint16_t* const p = Words(_nY) + ptrdiff_t{4} * _nX;
        return VEC4{static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]),
                    static_cast<float>(p[3])} *
               (1 / 257.0f);
    }
    const uint8_t* const p = Bytes(_nY) + ptrdiff_t{4} * _nX;
    return {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]), static_cast<float>(p[3])};
}

void Pixels_ForgetPast(FIELD_STATE& _field, const UNMIX_PICTURE& _picture)
{
    _field.vecPast.assign(static_cast<size_t>(_picture.nWidth) * _picture.nHeight, c_nUnknown);
}

void Pixels_Pass(UNMIX_STATE& _state, FIELD_STATE& _field, const UNMIX_PICTURE& _picture, const UNMIX_RESULT& _result,
                 bool _bSeen, int _nFirst, int _nRows)
{
    PASS pass{_state, _field, _picture, _result, {}, _bSeen, false, false, 0, 0};
    const float fltNoise = _state.setup.params.fltNoise > 0 ? std::min(_state.fltNoise, 60.0f) : 0;
    pass.bFilter = fltNoise > c_fltQuiet;
    pass.bPast = pass.bFilter && !_field.vecPast.empty();
    pass.nNear = Rounded(2 * fltNoise * 32);
    pass.nTimeNear = Rounded(c_fltTimeNoise * fltNoise * 32);
    for (int k = 0; k < _state.nKeys; ++k)
        pass.arrRules[k] = Pixels_Rules(_state, _state.arrKeys[k]);
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
        for (int x = 0; x < _field.cells.nWidth; ++x)
        {
            if (_field.bitsMixed.Get(x, y))
                MixedCell(pass, x, y);
            else if (_field.bitsSolid.Get(x, y))
                SolidCell(pass, x, y);
            else
                BackdropCell(pass, x, y);
        }
}
