#include "Gpu/UnmixTwin.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace
{

using COLOUR = UNMIX_TWIN::COLOUR;
using PIXEL = UNMIX_TWIN::PIXEL;

template <class T> const T& ItemOf(const std::vector<T>& _vec, int _nAt)
{
    return _vec[static_cast<size_t>(_nAt)];
}

double Unit(double _dbl)
{
    return std::clamp(_dbl, 0.0, 1.0);
}

int FloorRound(double _dbl)
{
    return static_cast<int>(std::floor(_dbl + 0.5));
}

PIXEL WholeLevels(PIXEL _value)
{
    for (double& dbl : _value)
        dbl = std::floor(std::clamp(dbl, 0.0, 255.0) + 0.5);
    return _value;
}

template <class A, class B> double Dot(const A& _a, const B& _b)
{
    return _a[0] * double{_b[0]} + _a[1] * double{_b[1]} + _a[2] * double{_b[2]};
}

/// a + b * factor, of the first three.
template <class A, class B> COLOUR Sum(const A& _a, const B& _b, double _dblFactor)
{
    return {_a[0] + _b[0] * _dblFactor, _a[1] + _b[1] * _dblFactor, _a[2] + _b[2] * _dblFactor};
}

template <class A> double Greatest(const A& _c)
{
    return std::max({_c[0], _c[1], _c[2]});
}

template <class A> double Saturation(const A& _c)
{
    return 1 - std::min({_c[0], _c[1], _c[2]}) / std::max(Greatest(_c), 1.0);
}

template <class A> double Light(const A& _c)
{
    return _c[0] + 2 * _c[1] + _c[2];
}

/// Between four values round a place of a grid; _fnAt answers for any whole place.
template <class FN> auto Bilinear(double _dblX, double _dblY, const FN& _fnAt)
{
    const int nX = static_cast<int>(std::floor(_dblX)), nY = static_cast<int>(std::floor(_dblY));
    const double dblRight = _dblX - nX, dblDown = _dblY - nY;
    const auto a = _fnAt(nX, nY), b = _fnAt(nX + 1, nY), c = _fnAt(nX, nY + 1), d = _fnAt(nX + 1, nY + 1);
    auto result = a;
    for (size_t n = 0; n < result.size(); ++n)
        result[n] = (a[n] * (1 - dblRight) + b[n] * dblRight) * (1 - dblDown) +
                    (c[n] * (1 - dblRight) + d[n] * dblRight) * dblDown;
    return result;
}

/// The middle of a pixel among the middles of cells of so many pixels.
double Among(double _dblPixel, int _nCell)
{
    return (_dblPixel + 0.5) / _nCell - 0.5;
}

COLOUR HueOf(const COLOUR& _c)
{
    const double dblMost = Greatest(_c), dblRange = dblMost - std::min({_c[0], _c[1], _c[2]});
    if (dblRange <= 0)
        return {0, 0, dblMost};
    double dblSixth = 4 + (_c[2] - _c[1]) / dblRange;
    if (dblMost == _c[2])
        dblSixth = (_c[1] - _c[0]) / dblRange;
    else if (dblMost == _c[1])
        dblSixth = 2 + (_c[0] - _c[2]) / dblRange;
    return {std::fmod(dblSixth * 60 + 360, 360), dblRange / dblMost, dblMost};
}

double Glare(const UNMIX_SHADER_RULES& _rules, uint32_t _nCell)
{
    return (_nCell >> 12 & 15) * _rules.anGlare[0] / 16384.0;
}

COLOUR Limited(const UNMIX_SHADER_RULES& _rules, const COLOUR& _colour, double _dblGlare)
{
    const double dblTint = Dot(_rules.arrX, _colour) - _rules.fltLimit * std::abs(Dot(_rules.arrZ, _colour));
    const double dblExcess = std::max(std::min(dblTint, _rules.fltOwn - dblTint), double{_rules.fltLeast}) + _dblGlare;
    return Sum(_colour, _rules.arrTake, -dblExcess);
}

PIXEL Solid(const UNMIX_SHADER_RULES& _rules, const PIXEL& _bytes, double _dblGlare)
{
    const double dblTint = Dot(_rules.anX, _bytes) / 64 - std::abs(Dot(_rules.anZ, _bytes)) / 64 * _rules.nLimit / 256;
    const double dblOwn = _rules.nOwn / 16384.0, dblLeast = _rules.nLeast / 16384.0;
    const double dblTaken = std::max(std::min(dblTint, dblOwn - dblTint), dblLeast) + _dblGlare;
    const double dblExcess = std::floor(dblTaken * 32 + 0.5) / 32;
    PIXEL result = {0, 0, 0, 255};
    for (size_t n = 0; n < 3; ++n)
        result[n] = std::clamp(_bytes[n] - std::floor(dblExcess * _rules.anTake[n] / 1024 + 0.5), 0.0, 255.0);
    return result;
}

} // namespace

struct UNMIX_TWIN::PLACE
{
    int nX;
    int nY; ///< in the field
    int nRow;
    int nField;
    uint32_t nCell;
    PIXEL bytes;
    PIXEL back;
    COLOUR fore;
    double dblConfidence;

    COLOUR Colour() const
    {
        return {bytes[0], bytes[1], bytes[2]};
    }
    /// How far a line to the foreground counts at all.
    double Trust() const
    {
        return std::min(6 * dblConfidence, 1.0);
    }
};

UNMIX_TWIN::PIXEL UNMIX_TWIN::BytesAt(int _nX, int _nY, int _nField) const
{
    const int nFields = constants.anPicture[2];
    const int nRows = (constants.anPicture[1] - _nField + nFields - 1) / nFields;
    const int nX = std::clamp(_nX, 0, constants.anPicture[0] - 1), nY = std::clamp(_nY, 0, nRows - 1);
    const uint8_t* const p = &ItemOf(vecPicture, 4 * ((nY * nFields + _nField) * constants.anPicture[0] + nX));
    return {double(p[0]), double(p[1]), double(p[2]), constants.anPicture[3] ? double(p[3]) : 255.0};
}

uint32_t UNMIX_TWIN::CellAt(int _nX, int _nY, int _nField) const
{
    const int nX = std::clamp(_nX, 0, constants.anGrid[0] - 1), nY = std::clamp(_nY, 0, constants.anGrid[1] - 1);
    return ItemOf(vecCells, (nY + _nField * constants.anGrid[1]) * constants.anGrid[0] + nX);
}

UNMIX_TWIN::PIXEL UNMIX_TWIN::PlateAt(const std::vector<float>& _vec, double _dblX, double _dblY, int _nField) const
{
    const int nWidth = constants.anGrid[2], nHeight = constants.anGrid[3];
    return Bilinear(Among(_dblX, 8), Among(_dblY, 8), [&](int _nX, int _nY) {
        const int nX = std::clamp(_nX, 0, nWidth - 1), nY = std::clamp(_nY, 0, nHeight - 1) + _nField * nHeight;
        const float* const p = &ItemOf(_vec, 4 * (nY * nWidth + nX));
        return PIXEL{p[0], p[1], p[2], p[3]};
    });
}

UNMIX_TWIN::PLACE UNMIX_TWIN::PlaceOf(int _nX, int _nRow) const
{
    const int nFields = constants.anPicture[2];
    PLACE place = {_nX, _nRow / nFields, _nRow, _nRow % nFields, 0, {}, {}, {}, 0};
    place.nCell = CellAt(_nX / 4, place.nY / 4, place.nField);
    place.bytes = BytesAt(_nX, place.nY, place.nField);
    place.back = PlateAt(vecBack, _nX, place.nY, 0);
    const PIXEL fore = PlateAt(vecFore, _nX, place.nY, place.nField);
    place.dblConfidence = fore[3];
    if (fore[3] > 1e-9)
        place.fore = {fore[0] / fore[3], fore[1] / fore[3], fore[2] / fore[3]};
    return place;
}

double UNMIX_TWIN::ShadeAt(const PLACE& _place) const
{
    const int nWidth = constants.anGrid[2], nHeight = constants.anGrid[3];
    return Bilinear(Among(_place.nX, 8), Among(_place.nY, 8), [&](int _nX, int _nY) {
        const int nAt = std::clamp(_nY, 0, nHeight - 1) * nWidth + std::clamp(_nX, 0, nWidth - 1);
        return std::array<double, 1>{ItemOf(vecShade, nAt)};
    })[0];
}

double UNMIX_TWIN::CoreAt(const PLACE& _place) const
{
    const double dbl = Bilinear(Among(_place.nX, 4), Among(_place.nY, 4), [&](int _nX, int _nY) {
        return std::array<double, 1>{CellAt(_nX, _nY, _place.nField) & eUCell_Inner ? 1.0 : 0.0};
    })[0];
    return Unit(2 * dbl - 1);
}

std::array<uint32_t, 4> UNMIX_TWIN::Cell(int _nX, int _nRow) const
{
    const int nCellRows = constants.anGrid[1], nRows = constants.anGrid[2];
    const int nField = _nRow / nRows, nY = _nRow % nRows, nFine = nY - nCellRows - (nCellRows + 1) / 3;
    const auto Packed = [](const PIXEL& _p) {
        return static_cast<uint32_t>(_p[0]) | static_cast<uint32_t>(_p[1]) << 8 | static_cast<uint32_t>(_p[2]) << 16 |
               static_cast<uint32_t>(_p[3]) << 24;
    };
    const auto At = [&](int _nInCellX, int _nInCellY) {
        return Packed(
            BytesAt(4 * (nFine % 3 + _nX / 2 * 3) + _nInCellX, 4 * nFine * constants.anGrid[3] + _nInCellY, nField));
    };
    if (nFine >= 0)
        return _nX % 2 ? std::array{At(1, 0), At(1, 2), At(1, 3), 0u}
                       : std::array{At(0, 1), At(1, 1), At(2, 1), At(3, 1)};
    if (nY >= nCellRows)
    {
        const int nLine = 4 * (3 * (nY - nCellRows) + 1);
        return {Packed(BytesAt(4 * _nX, nLine, nField)), Packed(BytesAt(4 * _nX + 2, nLine, nField)), 0, 0};
    }
    PIXEL sum = {}, least = {255, 255, 255, 255}, most = {};
    for (int n = 0; n < 16; ++n)
    {
        const PIXEL bytes = BytesAt(4 * _nX + n % 4, 4 * nY + n / 4, nField);
        for (size_t c = 0; c < 4; ++c)
        {
            sum[c] += bytes[c];
            least[c] = std::min(least[c], bytes[c]);
            most[c] = std::max(most[c], bytes[c]);
        }
    }
    return {static_cast<uint32_t>(sum[0] + 65536 * sum[1]), static_cast<uint32_t>(sum[2] + 65536 * sum[3]),
            Packed(least), Packed(most)};
}

/// X less wedge |Z - rho X|, in 32nds of a level.
int UNMIX_TWIN::Difference(const UNMIX_SHADER_RULES& _rules, int _nX, int _nY, int _nField) const
{
    const PIXEL bytes = BytesAt(_nX, _nY, _nField);
    const auto nRho = static_cast<int16_t>(CellAt(_nX < 0 ? -1 : _nX / 4, _nY < 0 ? -1 : _nY / 4, _nField) >> 16);
    const double dblX = std::floor(Dot(_rules.anX, bytes) / 2), dblZ = std::floor(Dot(_rules.anZ, bytes) / 2);
    const double dblAcross = std::min(std::abs(dblZ - FloorRound(dblX * nRho / 32768)), 8191.0);
    return std::clamp(FloorRound(dblX) - FloorRound(dblAcross * _rules.nWedge / 8192), -16384, 16383);
}

int UNMIX_TWIN::Filtered(const UNMIX_SHADER_RULES& _rules, const PLACE& _place) const
{
    const int nMiddle = Difference(_rules, _place.nX, _place.nY, _place.nField);
    int nSum = 0, nCount = 1;
    for (int n = 0; n < 9; ++n)
    {
        const int nOff = Difference(_rules, _place.nX + n % 3 - 1, _place.nY + n / 3 - 1, _place.nField) - nMiddle;
        if (n == 4 || std::abs(nOff) >= constants.anFilter[0])
            continue;
        nSum += nOff;
        ++nCount;
    }
    return nMiddle + FloorRound(double(nSum) * FloorRound(32768.0 / nCount) / 32768);
}

/// 8192ths of the backdrop's X at the middle of the cell, in 32nds of a level.
double UNMIX_TWIN::PastScale(const UNMIX_SHADER_RULES& _rules, const PLACE& _place) const
{
    const PIXEL back = PlateAt(vecBack, (_place.nX & ~3) + 1.5, (_place.nY & ~3) + 1.5, 0);
    return std::max(Dot(_rules.arrX, back), double{_rules.fltLeastX}) * 32 / 8192;
}

int UNMIX_TWIN::Past(int _nX, int _nRow) const
{
    const PLACE place = PlaceOf(_nX, _nRow);
    const int nPast = ItemOf(vecPast, _nRow * constants.anPicture[0] + _nX);
    if (!(place.nCell & eUCell_Mixed))
        return nPast;
    const UNMIX_SHADER_RULES& rules = constants.arrRules[place.nCell >> 8 & 15];
    const double dblScale = PastScale(rules, place);
    const int nBefore = std::clamp(FloorRound(nPast * dblScale), -32768, 32767);
    int nNow = Filtered(rules, place);
    if (nPast != -32768 && std::abs(nBefore - nNow) < constants.anFilter[3])
    {
        if (constants.anFilter[2])
            return nPast;
        nNow += FloorRound((nBefore - nNow) / 2.0);
    }
    return FloorRound(std::clamp(nNow / dblScale, -32767.0, 32767.0));
}

double UNMIX_TWIN::Protection(const COLOUR& _colour) const
{
    const COLOUR hue = HueOf(_colour);
    double dblMost = 0;
    for (int n = 0; n < constants.anMore[0]; ++n)
    {
        const UNMIX_SHADER_PROTECTED& colour = constants.arrProtected[n];
        double dblHue = std::abs(hue[0] - colour.arrCentre[0]);
        dblHue = std::min(dblHue, 360 - dblHue) * Unit(5 * std::min(hue[1], double{colour.arrCentre[1]}));
        const COLOUR off = {dblHue * colour.arrOne[0], (hue[1] - colour.arrCentre[1]) * colour.arrOne[1],
                            (hue[2] - colour.arrCentre[2]) * colour.arrOne[2]};
        dblMost = std::max(dblMost, Unit(3 - 2 * std::sqrt(Dot(off, off))));
    }
    return dblMost;
}

double UNMIX_TWIN::Alpha(const UNMIX_SHADER_RULES& _rules, const PLACE& _place, int _nDifference, double _dblQuieted,
                         double _dblCore) const
{
    const COLOUR colour = _place.Colour(), &fore = _place.fore;
    const PIXEL& back = _place.back;
    const double dblX = std::max(Dot(_rules.arrX, back), double{_rules.fltLeastX});
    const double dblRho = std::clamp(Dot(_rules.arrZ, back) / dblX, -0.5, 0.5);
    const double dblNoise = _rules.fltClip / dblX;
    const double dblLow = std::max(double{constants.arrClips[0]}, std::min(0.25, 0.6 * dblNoise));
    const double dblHigh = std::min(double{constants.arrClips[1]}, 1 - std::min(0.2, 0.4 * dblNoise));

    // By the difference alone
    const double dblForeX = Dot(_rules.arrX, fore);
    const double dblForeD = dblForeX - _rules.fltWedge * std::abs(Dot(_rules.arrZ, fore) - dblRho * dblForeX);
    const double dblFar = 0.15 * std::min(dblForeD, 0.0) * _place.Trust();
    const double dblClassic = Unit(((dblX - _nDifference / 32.0) / (dblX - dblFar) - dblLow) / (dblHigh - dblLow));

    // On the line from the backdrop to the foreground, for a foreground whose brightness varies
    const COLOUR e = Sum(fore, back, -1),
                 d = Sum(Sum(colour, back, -1), _rules.arrX, _dblQuieted * _rules.fltOneSquareX);
    const double dblKappa = 1 / (Dot(fore, fore) + 100 / (0.2 * 0.2));
    const COLOUR w = Sum(e, fore, -Dot(e, fore) * dblKappa);
    const double dblT = Dot(w, d) / std::max(Dot(w, e), 1.0);
    const COLOUR off = Sum(d, e, -dblT);
    const double dblQ = (Dot(off, off) - Dot(off, fore) * Dot(off, fore) * dblKappa) / (20 * 20);
    const double dblLineLow = std::max(double{constants.arrClips[0]}, 0.7 * dblLow);
    const double dblLine = Unit((dblT - dblLineLow) / (constants.arrClips[1] - dblLineLow));
    const double dblA = dblClassic + (dblLine - dblClassic) * _place.Trust() / (1 + dblQ * dblQ);

    // Cameras mix in linear light; nothing dark is backdrop; core is solid
    const double p = Light(back);
    const double f = Light(fore) * _place.dblConfidence + Light(colour) * (1 - _place.dblConfidence);
    const double dblShare = f < p || constants.arrClips[2] != 0 ? 1.15 : 0.4;
    const double dblLit = Unit(dblA + dblShare * dblA * (1 - dblA) * (p - f) / (p + f + 8));
    const double dblBright = Greatest(colour) / std::max(Greatest(back), 1.0);
    double dblFound = std::max(1 - (1 - dblLit) * Unit((dblBright - 0.2) * 5), _dblCore);

    // Beyond the range of what may be anything but solid
    const double dblColourX = std::max(Dot(_rules.arrX, colour), 0.0);
    const double dblHue = std::abs(Dot(_rules.arrZ, colour) - dblRho * dblColourX) / (dblColourX + 0.05 * dblX);
    const COLOUR far = {dblHue * _rules.arrBeyond[0],
                        std::max(Saturation(back) - Saturation(colour), 0.0) * _rules.arrBeyond[1],
                        std::max(1 - dblBright, 0.0) * _rules.arrBeyond[2]};
    return std::max(dblFound, Unit(4 * std::sqrt(Dot(far, far)) - 4));
}

UNMIX_TWIN::COLOUR UNMIX_TWIN::Unmixed(const UNMIX_SHADER_RULES& _rules, const PLACE& _place, double _dblAlpha) const
{
    const bool bLinear = constants.arrClips[2] != 0;
    const auto Linear = [&](double _dbl) { return bLinear ? _dbl * _dbl / 255 : _dbl; };
    const double dblOpen = 1 - _dblAlpha, dblKnown = _place.dblConfidence;
    const double dblGain = _dblAlpha / (_dblAlpha * _dblAlpha + dblOpen * (0.02 * dblKnown + 0.001));
    COLOUR result = {};
    for (size_t n = 0; n < 3; ++n)
    {
        const double dblColour = Linear(_place.bytes[n]);
        const double dblGuess = Linear(_place.fore[n]) * dblKnown + dblColour * (1 - dblKnown);
        result[n] = dblGuess + (dblColour - dblGuess * _dblAlpha - Linear(_place.back[n]) * dblOpen) * dblGain;
        if (bLinear)
            result[n] = std::sqrt(std::max(result[n], 0.0) * 255);
    }
    return Limited(_rules, result, Glare(_rules, _place.nCell) * Unit((_dblAlpha - 0.8) / 0.15));
}

UNMIX_TWIN::PIXEL UNMIX_TWIN::Mixed(const UNMIX_SHADER_RULES& _rules, const PLACE& _place) const
{
    const int nOwn = Difference(_rules, _place.nX, _place.nY, _place.nField);
    int nDifference = nOwn;
    if (constants.anFilter[1]) // as the pass of the differences left it
        nDifference = std::clamp(
            FloorRound(ItemOf(vecPast, _place.nRow * constants.anPicture[0] + _place.nX) * PastScale(_rules, _place)),
            -32768, 32767);
    else if (constants.anFilter[0] > 0)
        nDifference = Filtered(_rules, _place);
    const COLOUR colour = _place.Colour();
    const double dblKeep = Protection(colour);
    const double dblAlpha =
        Alpha(_rules, _place, nDifference, (nDifference - nOwn) / 32.0, std::max(CoreAt(_place), dblKeep));
    COLOUR result = Unmixed(_rules, _place, dblAlpha);
    result = Sum(result, Sum(colour, result, -1), dblKeep);
    return WholeLevels({result[0], result[1], result[2], dblAlpha * 255});
}

UNMIX_TWIN::PIXEL UNMIX_TWIN::Keyed(int _nX, int _nRow) const
{
    const PLACE place = PlaceOf(_nX, _nRow);
    const UNMIX_SHADER_RULES& rules = constants.arrRules[place.nCell >> 8 & 15];
    if (place.nCell & eUCell_Mixed)
        return Mixed(rules, place);
    if (place.nCell & eUCell_Protected)
        return {place.bytes[0], place.bytes[1], place.bytes[2], 255};
    return place.nCell & eUCell_Solid ? Solid(rules, place.bytes, Glare(rules, place.nCell)) : PIXEL{};
}

UNMIX_TWIN::PIXEL UNMIX_TWIN::Edged(const PIXEL& _keyed, int _nAlpha, int _nX, int _nRow) const
{
    const PLACE place = PlaceOf(_nX, _nRow);
    const double dblAlpha = _nAlpha / 257.0, dblOwn = _keyed[3] / dblAlpha;
    PIXEL result = {_keyed[0], _keyed[1], _keyed[2], dblAlpha};
    if (dblAlpha > _keyed[3] && place.dblConfidence > 1e-6)
    {
        const COLOUR clean = Limited(constants.arrRules[place.nCell >> 8 & 15], place.fore, 0);
        for (size_t n = 0; n < 3; ++n)
            result[n] = _keyed[n] * dblOwn + clean[n] * (1 - dblOwn);
    }
    return WholeLevels(result);
}

UNMIX_TWIN::PIXEL UNMIX_TWIN::Viewed(const PIXEL& _value, const PLACE& _place) const
{
    const auto Grey = [](double _dbl) { return PIXEL{_dbl, _dbl, _dbl, 255}; };
    const int nAt = _place.nRow * constants.anPicture[0] + _place.nX;
    const int nAfter = constants.anMore[2];
    const bool bMarked = (nAfter & eUAfter_Garbage && ItemOf(vecGarbage, nAt)) ||
                         (nAfter & eUAfter_HoldOut && ItemOf(vecHoldOut, nAt)) ||
                         (nAfter & eUAfter_Marked && ItemOf(vecMarked, nAt));
    switch (constants.anMore[1])
    {
    case 1: // matte
        return Grey(_value[3]);
    case 2: // status
        if (bMarked)
            return {255, 64, 0, 255};
        if (_place.nCell & eUCell_Inner)
            return {0, 200, 0, 255};
        if (_place.nCell & eUCell_Solid)
            return Grey(255);
        return _place.nCell & eUCell_Mixed ? PIXEL{0, 140, 255, 255} : Grey(0);
    case 3: // plate
        return {_place.back[0], _place.back[1], _place.back[2], 255};
    case 4: // foreground
        return {_place.fore[0], _place.fore[1], _place.fore[2], 255};
    case 5: // confidence
        return Grey(_place.dblConfidence * 255);
    case 6: // source
        return _place.bytes;
    default:
        return _value;
    }
}

UNMIX_TWIN::PIXEL UNMIX_TWIN::Finished(const PIXEL& _keyed, int _nX, int _nRow) const
{
    const PLACE place = PlaceOf(_nX, _nRow);
    const int nAt = _nRow * constants.anPicture[0] + _nX;
    const int nAfter = constants.anMore[2];
    PIXEL value = _keyed;
    if (nAfter & eUAfter_Shadows) // black laid under the pixel
    {
        const double dblOwn = value[3] / 255, dblShade = ShadeAt(place);
        const double dblAlpha = 1 - (1 - dblOwn) * (1 - dblShade);
        for (size_t n = 0; n < 3; ++n)
            value[n] = dblAlpha > 0 ? value[n] * dblOwn / dblAlpha : 0;
        value[3] = dblAlpha * 255;
    }
    if (nAfter & eUAfter_InputAlpha)
        value[3] *= place.bytes[3] / 255;
    if (nAfter & eUAfter_Garbage)
        value[3] *= (255 - ItemOf(vecGarbage, nAt)) / 255.0;
    if (nAfter & eUAfter_HoldOut && ItemOf(vecHoldOut, nAt)) // the picture laid over it
    {
        const double dblHold = ItemOf(vecHoldOut, nAt) / 255.0;
        const double dblAlpha = dblHold + (1 - dblHold) * value[3] / 255;
        for (size_t n = 0; n < 3; ++n)
            value[n] += (place.bytes[n] - value[n]) * dblHold / dblAlpha;
        value[3] = dblAlpha * 255;
    }
    value = WholeLevels(Viewed(WholeLevels(value), place));
    for (size_t n = 0; n < 3 && constants.anMore[3]; ++n)
        value[n] = std::floor(value[n] * value[3] / 255 + 0.5);
    return value;
}

int ALPHA_TWIN::Rows(int _nField) const
{
    return (picture.nHeight - _nField + picture.nFields - 1) / picture.nFields;
}

int64_t ALPHA_TWIN::At(int _nX, int _nY, int _nField) const
{
    const int nX = std::clamp(_nX, 0, picture.nWidth - 1), nY = std::clamp(_nY, 0, Rows(_nField) - 1);
    return int64_t{picture.nFactor} * ItemOf(vecAlpha, (nY * picture.nFields + _nField) * picture.nWidth + nX);
}

int ALPHA_TWIN::Choked(const UNMIX_CHOKE_CONSTANTS& _choke, bool _bPlain, int _nX, int _nRow) const
{
    const int nField = _nRow % picture.nFields, nY = _nRow / picture.nFields;
    int64_t nFound = At(_nX, nY, nField);
    for (int n = 0; n < _choke.anMove[0] && !_bPlain; ++n)
    {
        const double dblX = std::clamp(_nX + _choke.arrSteps[n][0] / 256.0, 0.0, picture.nWidth - 1.0);
        const double dblY = std::clamp(nY + _choke.arrSteps[n][1] / 256.0, 0.0, Rows(nField) - 1.0);
        const double dblThere = Bilinear(dblX, dblY, [&](int _x, int _y) {
            return std::array<double, 1>{static_cast<double>(At(_x, _y, nField))};
        })[0];
        const auto nThere = static_cast<int64_t>(std::floor(dblThere)); // exact: whole 65536ths
        nFound = _choke.anMove[1] ? std::min(nFound, nThere) : std::max(nFound, nThere);
    }
    return static_cast<int>(nFound);
}

int ALPHA_TWIN::Blurred(const UNMIX_BLUR_CONSTANTS& _blur, int _nX, int _nRow) const
{
    const int nField = _nRow % picture.nFields, nY = _nRow / picture.nFields;
    int64_t nSum = 0;
    for (int n = -_blur.anWay[2]; n <= _blur.anWay[2]; ++n)
        nSum += _blur.arrWeights[std::abs(n)][0] * At(_nX + n * _blur.anWay[0], nY + n * _blur.anWay[1], nField);
    return FloorRound(static_cast<double>(nSum) / 65536);
}
