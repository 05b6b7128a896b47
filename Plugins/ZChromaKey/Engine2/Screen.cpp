#include "ZChromaKey/Engine2/Screen.h"

#include <cmath>
#include <cstdlib>
#include <functional>
#include <numeric>

namespace
{
// The rim of a cast shadow is as steep as the soft edge of something dark, but nothing near it is outside the range of
// the key: that many cells off anything else, in cells of little contrast, steps may be so many times as large.
constexpr int c_nDeep = 8;
constexpr int c_nShadowSteps = 4;
constexpr int c_nShadowSpread4 = 60;

// A row in which steps are counted lies with its neighbours in one part of a pass.
static_assert(c_nStepRows >= 3 && c_nPassPart % c_nStepRows == 0);

// The tangent from its series: the library's may differ from system to system in the last bit.
float TanDegrees(float _fltDegrees)
{
    const double dbl = static_cast<double>(std::clamp(_fltDegrees, 0.0f, 80.0f)) * 3.14159265358979323846 / 180;
    double dblSin = 0, dblCos = 0, dblTerm = 1;
    for (int n = 0; n < 24; ++n)
    {
        (n & 1 ? dblSin : dblCos) += n & 2 ? -dblTerm : dblTerm;
        dblTerm *= dbl / (n + 1);
    }
    return static_cast<float>(dblSin / dblCos);
}

// The slope |Z| / X of a hue that many degrees from the key: Z is 1 / sqrt(3) as long as X in the plane of hues.
float SlopeOfHue(float _fltDegrees)
{
    return TanDegrees(_fltDegrees) * .57735f;
}

struct HUE
{
    float fltHue; // degrees
    float fltSaturation;
    float fltValue;
};

HUE HueOf(float _b, float _g, float _r)
{
    const float fltMax = std::max(_r, std::max(_g, _b));
    const float fltDelta = fltMax - std::min(_r, std::min(_g, _b));
    if (fltDelta <= 0)
        return {0, 0, fltMax};
    const float fltSixth = fltMax == _r   ? (_g - _b) / fltDelta
                           : fltMax == _g ? 2 + (_b - _r) / fltDelta
                                          : 4 + (_r - _g) / fltDelta;
    return {fltSixth < 0 ? fltSixth * 60 + 360 : fltSixth * 60, fltDelta / fltMax, fltMax};
}

float HueDistance(float _a, float _b)
{
    const float flt = std::abs(_a - _b);
    return flt > 180 ? 360 - flt : flt;
}

int Sixtyfourths(float _flt)
{
    return static_cast<int>(std::floor(_flt * 64 + .5f));
}

void QuantiseForm(const float* _pForm, int32_t* _pn, float* _pOut)
{
    _pn[0] = Sixtyfourths(_pForm[0]);
    _pn[1] = Sixtyfourths(_pForm[1]);
    _pn[2] = -_pn[0] - _pn[1];
    for (int n = 0; n < 3; ++n)
        _pOut[n] = static_cast<float>(_pn[n]) / 64;
}

// A key as the test for sure backdrop takes it.
SCREEN_RULES RulesOf(const KEY_FORMS& _key, float _fltScale)
{
    SCREEN_RULES rules = {};
    std::copy(_key.anX, _key.anX + 3, rules.anX);
    std::copy(_key.anZ, _key.anZ + 3, rules.anZ);
    rules.fltSlope = _key.fltSlope;
    rules.fltKeySaturation = _key.fltSaturation;
    rules.fltKeyValue = _key.fltValue;
    rules.fltHue = 1 / std::max(SlopeOfHue(_key.key.fltHue * _fltScale), 1e-3f);
    rules.fltSaturation = 1 / std::max(_key.key.fltSaturation * _fltScale, 1e-3f);
    rules.fltValue = 1 / std::max(_key.key.fltValue * _fltScale * _key.fltValue, 1e-3f);
    return rules;
}

// The distance to a protected colour in units of its range; the hue of greys says little.
float DistanceOf(const UNMIX_PROTECTED& _protected, const HUE& _hue)
{
    const HUE centre = HueOf(_protected.arrBGR[0], _protected.arrBGR[1], _protected.arrBGR[2]);
    const float fltGrey = Clamp01(5 * std::min(_hue.fltSaturation, centre.fltSaturation));
    const float h = HueDistance(_hue.fltHue, centre.fltHue) * fltGrey / std::max(_protected.fltHue, 1e-3f);
    const float s = (_hue.fltSaturation - centre.fltSaturation) / std::max(_protected.fltSaturation, 1e-3f);
    const float v = (_hue.fltValue - centre.fltValue) / 255 / std::max(_protected.fltValue, 1e-3f);
    return std::sqrt(h * h + s * s + v * v);
}

bool InBackdropRegion(const UNMIX_STATE& _state, int _nField, int _nX, int _nY)
{
    const UNMIX_REGION& region = _state.setup.backdrop;
    if (!region.pRow0)
        return false;
    for (int y = 0; y < c_nCell; ++y)
    {
        const int nRow = std::min((_nY * c_nCell + y) * _state.nFields + _nField, _state.nHeight - 1);
        for (int x = 0; x < c_nCell; ++x)
            if (region.Row(nRow)[std::min(_nX * c_nCell + x, _state.nWidth - 1)] < 128)
                return false;
    }
    return true;
}

// Cells of a chunk that are wholly of a protected colour, or in the region of the backdrop.
template <class T> uint64_t WhereAll(int _nCells, const T& _isSet)
{
    uint64_t nBits = 0;
    for (int n = 0; n < _nCells; ++n)
        nBits |= uint64_t{_isSet(n)} << n;
    return nBits;
}

// Cells of one hue: what the search for a backdrop weighs.
struct HUE_AREA
{
    double dblWeight = 0;
    double arrBGR[3] = {};
    int nFlat = 0;   // flat cells
    int nBorder = 0; // of them along the upper border
};

constexpr int c_nHueBins = 72;

float KeyWeight(const UNMIX_CELLS& _cells, size_t _nAt, const HUE& _hue)
{
    const float fltSkin = _hue.fltHue < 45 || _hue.fltHue > 330 ? .2f : 1.0f;
    return fltSkin * _hue.fltSaturation * _hue.fltSaturation * std::min(_hue.fltValue, 120.0f) /
           (8 + .25f * static_cast<float>(_cells.Spread4(_nAt)));
}

int BestHue(const UNMIX_CELLS& _cells)
{
    float arrBins[c_nHueBins] = {};
    for (size_t n = 0; n < _cells.vecSum.size(); ++n)
    {
        const VEC4 mean = _cells.Mean(n);
        const HUE hue = HueOf(mean.b, mean.g, mean.r);
        arrBins[static_cast<int>(hue.fltHue / 5) % c_nHueBins] += KeyWeight(_cells, n, hue);
    }
    int nBest = 0;
    float fltBest = -1;
    for (int k = 0; k < c_nHueBins; ++k)
    {
        float flt = 0;
        for (int d = -2; d <= 2; ++d)
            flt += arrBins[(k + d + c_nHueBins) % c_nHueBins];
        if (flt > fltBest)
        {
            fltBest = flt;
            nBest = k;
        }
    }
    return nBest;
}

// The frame's top edge, and its sides down to two thirds: bodies come in from below.
bool IsUpperBorder(const UNMIX_CELLS& _cells, int _nX, int _nY)
{
    return _nY < 2 || ((_nX < 2 || _nX >= _cells.nWidth - 2) && _nY * 3 < _cells.nHeight * 2);
}
} // namespace

KEY_FORMS Screen_Forms(const UNMIX_KEY& _key)
{
    KEY_FORMS forms;
    forms.key = _key;
    const float b = _key.arrBGR[0], g = _key.arrBGR[1], r = _key.arrBGR[2];
    const HUE hue = HueOf(b, g, r);
    float arrX[3] = {-.5f, 1, -.5f};
    if (HueDistance(hue.fltHue, 240) < 25)
    {
        arrX[0] = 1;
        arrX[1] = -.5f;
    }
    else if (HueDistance(hue.fltHue, 120) >= 25)
    {
        const float fltMean = (b + g + r) / 3;
        const float arrC[3] = {b - fltMean, g - fltMean, r - fltMean};
        const float fltLength = std::sqrt(arrC[0] * arrC[0] + arrC[1] * arrC[1] + arrC[2] * arrC[2]);
        for (int n = 0; n < 3; ++n)
            arrX[n] = arrC[n] / std::max(fltLength, 1.0f) * std::sqrt(1.5f);
    }
    // Z lies across X in the plane of hues, sqrt(1/2) long: (R - B) / 2 for green.
    const float arrAcross[3] = {arrX[1] - arrX[2], arrX[2] - arrX[0], arrX[0] - arrX[1]};
    const float fltAcross =
        std::sqrt(arrAcross[0] * arrAcross[0] + arrAcross[1] * arrAcross[1] + arrAcross[2] * arrAcross[2]);
    const float fltScale = std::sqrt(.5f) / std::max(fltAcross, 1e-3f);
    const float arrZ[3] = {arrAcross[0] * fltScale, arrAcross[1] * fltScale, arrAcross[2] * fltScale};
    QuantiseForm(arrX, forms.anX, forms.arrX);
    QuantiseForm(arrZ, forms.anZ, forms.arrZ);
    forms.fltX = std::max(8.0f, forms.X(b, g, r));
    forms.fltSlope = forms.Z(b, g, r) / forms.fltX;
    forms.fltSaturation = hue.fltSaturation;
    forms.fltValue = hue.fltValue;
    forms.bGreen = HueDistance(hue.fltHue, 120) < 35;
    const UNMIX_KEY wide;
    if (_key.fltSolidHue < wide.fltSolidHue)
        forms.arrBeyond[0] = 1 / std::max(SlopeOfHue(_key.fltSolidHue), 1e-3f);
    if (_key.fltSolidSaturation < wide.fltSolidSaturation)
        forms.arrBeyond[1] = 1 / std::max(_key.fltSolidSaturation, 1e-3f);
    if (_key.fltSolidValue < wide.fltSolidValue)
        forms.arrBeyond[2] = 1 / std::max(_key.fltSolidValue, 1e-3f);
    return forms;
}

float Screen_Protection(const UNMIX_SETUP& _setup, const VEC4& _colour)
{
    const HUE hue = HueOf(_colour.b, _colour.g, _colour.r);
    float fltMost = 0;
    for (int n = 0; n < _setup.nProtected; ++n)
        fltMost = std::max(fltMost, Clamp01(3 - 2 * DistanceOf(_setup.arrProtected[n], hue)));
    return fltMost;
}

void Screen_ProtectedOf(const UNMIX_PROTECTED& _protected, float (&_arrCentre)[4], float (&_arrOne)[4])
{
    const HUE centre = HueOf(_protected.arrBGR[0], _protected.arrBGR[1], _protected.arrBGR[2]);
    _arrCentre[0] = centre.fltHue;
    _arrCentre[1] = centre.fltSaturation;
    _arrCentre[2] = centre.fltValue;
    _arrOne[0] = 1 / std::max(_protected.fltHue, 1e-3f);
    _arrOne[1] = 1 / std::max(_protected.fltSaturation, 1e-3f);
    _arrOne[2] = 1 / (255 * std::max(_protected.fltValue, 1e-3f));
}

bool Screen_FindKey(const UNMIX_CELLS& _cells, UNMIX_KEY* _pKey)
{
    const float fltHue = static_cast<float>(BestHue(_cells)) * 5 + 2.5f;
    HUE_AREA area;
    int nBorder = 0;
    for (int y = 0; y < _cells.nHeight; ++y)
        for (int x = 0; x < _cells.nWidth; ++x)
        {
            const size_t n = _cells.At(x, y);
            const VEC4 mean = _cells.Mean(n);
            const HUE hue = HueOf(mean.b, mean.g, mean.r);
            const bool bBorder = IsUpperBorder(_cells, x, y);
            nBorder += bBorder;
            if (HueDistance(hue.fltHue, fltHue) >= 15)
                continue;
            const double dblWeight = static_cast<double>(KeyWeight(_cells, n, hue));
            area.dblWeight += dblWeight;
            area.arrBGR[0] += dblWeight * static_cast<double>(mean.b);
            area.arrBGR[1] += dblWeight * static_cast<double>(mean.g);
            area.arrBGR[2] += dblWeight * static_cast<double>(mean.r);
            const bool bFlat = hue.fltSaturation > .2f && hue.fltValue > 24 &&
                               static_cast<float>(_cells.Spread4(n)) < 48 + .88f * hue.fltValue;
            area.nFlat += bFlat;
            area.nBorder += bFlat && bBorder;
        }
    const auto nCells = static_cast<int64_t>(_cells.vecSum.size());
    if (area.nFlat * int64_t{20} < nCells || area.nBorder * 8 < nBorder || area.dblWeight <= 0)
        return false;
    *_pKey = {};
    for (int n = 0; n < 3; ++n)
        _pKey->arrBGR[n] = static_cast<float>(area.arrBGR[n] / area.dblWeight);
    return true;
}

namespace
{
void ScreenChunk(UNMIX_STATE& _state, FIELD_STATE& _field, int _nField, const SCREEN_RULES* _pKeys, int _nX, int _nY)
{
    SCREEN_CHUNK chunk = {};
    chunk.cells = _field.cells.Chunk(_nX, _nY);
    chunk.pKeys = _pKeys;
    chunk.nKeys = _state.nKeys;
    chunk.nCalm4 = c_nShadowSpread4;
    chunk.pX = &_field.cells.vecX[_field.cells.At(_nX, _nY)];
    _state.pKernels->pfnScreen(chunk);
    const int nCells = chunk.cells.nCells;
    const size_t nAt = _field.cells.At(_nX, _nY);
    uint64_t nProtected = 0, nRegion = 0;
    if (_state.setup.nProtected > 0)
        nProtected = WhereAll(nCells, [&](int _n) {
            return Screen_Protection(_state.setup, _field.cells.Mean(nAt + static_cast<size_t>(_n))) >= 1;
        });
    if (_state.setup.backdrop.pRow0)
        nRegion = WhereAll(nCells, [&](int _n) { return InBackdropRegion(_state, _nField, _nX + _n, _nY); });
    const int k = _nX / c_nChunkCells;
    _field.bitsProtected.Row(_nY)[k] = nProtected;
    _field.bitsRegion.Row(_nY)[k] = nRegion;
    _field.bitsCalm.Row(_nY)[k] = chunk.nCalm;
    _field.bitsWide.Row(_nY)[k] = chunk.nWithin & (chunk.nFlat | nRegion) & ~nProtected;
}

// A row of bits and those above and below it; beyond the grid as at its border.
void ErodeOnce(const CBitRows& _bits, int _nY, uint64_t* _pOut)
{
    const auto Row = [&](int _y) { return _bits.Row(std::clamp(_y, 0, _bits.Height() - 1)); };
    _bits.ErodedOnce(Row(_nY - 1), Row(_nY), Row(_nY + 1), _pOut);
}

// How far X of a cell's neighbours lies apart. The rows above, here and below.
int StepAt(const int16_t* const (&_arrRows)[3], int _nX, int _nWidth)
{
    const int nAcross = _arrRows[1][std::max(_nX - 1, 0)] - _arrRows[1][std::min(_nX + 1, _nWidth - 1)];
    return std::max(std::abs(nAcross), std::abs(_arrRows[0][_nX] - _arrRows[2][_nX]));
}

// The steps of a row, between cells in range that have such cells all around them.
void CountSteps(UNMIX_STATE& _state, FIELD_STATE& _field, int _nY)
{
    CBitRows& bits = _state.bitsScratch;
    ErodeOnce(_field.bitsWide, _nY, bits.Row(_nY));
    const auto Row = [&](int _y) {
        return &_field.cells.vecX[_field.cells.At(0, std::clamp(_y, 0, bits.Height() - 1))];
    };
    const int16_t* const arrRows[3] = {Row(_nY - 1), Row(_nY), Row(_nY + 1)};
    STEP_COUNTS& counts = _field.vecSteps[static_cast<size_t>(_nY / c_nStepRows)];
    counts.fill(0);
    bits.ForEachRun(_nY, [&](int _nX, int _nEnd) {
        for (int x = _nX; x < _nEnd; x += 2)
            ++counts[static_cast<size_t>(std::min(StepAt(arrRows, x, bits.Width()) >> 5, 64))];
    });
}
} // namespace

void Screen_Pass(UNMIX_STATE& _state, FIELD_STATE& _field, int _nField, int _nFirst, int _nRows)
{
    SCREEN_RULES arrRules[c_nUnmixMaxKeys];
    for (int k = 0; k < _state.nKeys; ++k)
        arrRules[k] = RulesOf(_state.arrKeys[k], _state.setup.params.fltBackdrop / 100);
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
        for (int x = 0; x < _field.cells.nWidth; x += c_nChunkCells)
            ScreenChunk(_state, _field, _nField, arrRules, x, y);
    for (int y = _nFirst + 1; y < _nFirst + _nRows; y += c_nStepRows)
        CountSteps(_state, _field, y);
}

int Screen_StepLimit(const UNMIX_STATE& _state, const FIELD_STATE& _field)
{
    STEP_COUNTS anQuarters = {};
    for (const STEP_COUNTS& counts : _field.vecSteps)
        std::transform(counts.begin(), counts.end(), anQuarters.begin(), anQuarters.begin(), std::plus<>());
    const int nCells = std::accumulate(anQuarters.begin(), anQuarters.end(), 0);
    int nMedian = 0;
    for (int nSeen = anQuarters[0]; nMedian < 64 && nSeen * 2 < nCells;
         nSeen += anQuarters[static_cast<size_t>(nMedian)])
        ++nMedian;
    float fltLeast = 1e6f;
    for (int k = 0; k < _state.nKeys; ++k)
        fltLeast = std::min(fltLeast, .10f * _state.arrKeys[k].fltX);
    const float fltSteps = 5 * std::max(1.0f, (static_cast<float>(nMedian) + .5f) * .375f);
    return static_cast<int>(std::min(std::max(fltSteps, fltLeast) * 128, 65000.0f));
}

namespace
{
// X of the cells of a chunk and one to either side, where they lie; beyond the grid as at its border, then copied.
using STEP_ROOM = int16_t[c_nChunkCells + 2];
const int16_t* XAt(const UNMIX_CELLS& _cells, int _nX, int _nY, STEP_ROOM& _arrRoom)
{
    const int16_t* const pRow = &_cells.vecX[_cells.At(0, std::clamp(_nY, 0, _cells.nHeight - 1))];
    if (_nX > 0 && _nX + c_nChunkCells < _cells.nWidth)
        return pRow + _nX - 1;
    const int nEnd = std::min(_nX + c_nChunkCells, _cells.nWidth);
    _arrRoom[0] = pRow[std::max(_nX - 1, 0)];
    int16_t* const pEnd = std::copy(pRow + _nX, pRow + nEnd, _arrRoom + 1);
    std::fill(pEnd, _arrRoom + c_nChunkCells + 2, pRow[std::min(nEnd, _cells.nWidth - 1)]);
    return _arrRoom;
}

// Those of 64 cells that have no step larger than the limit.
uint64_t SmoothOf(const UNMIX_STATE& _state, const FIELD_STATE& _field, int _nLimit, int _nWord, int _nY,
                  uint64_t _nCells)
{
    STEP_ROOM arrRooms[3];
    const int nX = _nWord * c_nChunkCells;
    STEP_CHUNK chunk = {};
    for (int n = 0; n < 3; ++n)
        chunk.arrX[n] = XAt(_field.cells, nX, _nY + n - 1, arrRooms[n]);
    chunk.nLimit = _nLimit;
    chunk.nWideLimit = c_nShadowSteps * _nLimit;
    _state.pKernels->pfnSteps(chunk);
    uint64_t nShadows = _nCells & ~chunk.nSmooth & chunk.nCalm & _field.bitsCalm.Row(_nY)[_nWord];
    if (nShadows != 0)
        nShadows &= _field.bitsWide.ErodedWord(_nY, _nWord, c_nDeep);
    return (_nCells & chunk.nSmooth) | nShadows;
}
} // namespace

void Screen_SurePass(UNMIX_STATE& _state, FIELD_STATE& _field, int _nLimit, int _nFirst, int _nRows)
{
    CBitRows& bits = _field.bitsSure;
    uint64_t* const pRing = &_state.vecRing[size_t{3} * bits.Words() * (_nFirst / c_nPassPart)];
    const auto Row = [&](int _y) { return pRing + ptrdiff_t{_y % 3} * bits.Words(); };
    const int nEnd = _nFirst + _nRows, nLast = bits.Height() - 1;
    const auto Erode = [&](int _y) {
        bits.ErodedOnce(Row(std::max(_y - 1, 0)), Row(_y), Row(std::min(_y + 1, nLast)), bits.Row(_y));
    };
    for (int y = std::max(_nFirst - 1, 0); y <= std::min(nEnd, nLast); ++y)
    {
        uint64_t* const pRow = Row(y);
        ErodeOnce(_field.bitsWide, y, pRow);
        for (int k = 0; k < bits.Words(); ++k)
            if (pRow[k] != 0)
                pRow[k] = SmoothOf(_state, _field, _nLimit, k, y, pRow[k]);
        if (y > _nFirst)
            Erode(y - 1);
    }
    if (nEnd > nLast)
        Erode(nLast);
}
