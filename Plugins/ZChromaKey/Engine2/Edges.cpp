#include "ZChromaKey/Engine2/Edges.h"

#include "ZChromaKey/Engine2/Views.h"

#include <cmath>

namespace
{
constexpr int c_nEdgeRowsPerPart = 8;

// Alpha of a picture, 0 to 65535.
struct ALPHA
{
    int nWidth;
    int nHeight;
    uint16_t* p;

    uint16_t* Row(int _nRow) const
    {
        return p + static_cast<ptrdiff_t>(_nRow) * nWidth;
    }
};

float Cosine(int _nDirection)
{
    static constexpr float c_arr[] = {1,           .98078528f, .92387953f, .83146961f, .70710678f,
                                      .555570233f, .38268343f, .19509032f, 0};
    const int n = _nDirection & (c_nEdgeDirections - 1);
    const int nHalf = n > 16 ? c_nEdgeDirections - n : n;
    return nHalf <= 8 ? c_arr[nHalf] : -c_arr[16 - nHalf];
}

int Step256(float _flt)
{
    return static_cast<int>(std::floor(_flt * 256 + .5f));
}

float RadiusOf(float _fltChoke)
{
    return std::min(std::abs(_fltChoke), static_cast<float>(c_nEdgeMostPixels));
}

uint32_t AlphaAt(const ALPHA& _alpha, int _nX256, int _nY256)
{
    const int nX = std::clamp(_nX256, 0, (_alpha.nWidth - 1) * 256);
    const int nY = std::clamp(_nY256, 0, (_alpha.nHeight - 1) * 256);
    const int x0 = nX >> 8, x1 = std::min(x0 + 1, _alpha.nWidth - 1);
    const uint16_t* const pAbove = _alpha.Row(nY >> 8);
    const uint16_t* const pBelow = _alpha.Row(std::min((nY >> 8) + 1, _alpha.nHeight - 1));
    const auto nRight = static_cast<uint32_t>(nX & 255), nDown = static_cast<uint32_t>(nY & 255);
    const uint32_t nAbove = pAbove[x0] * (256 - nRight) + pAbove[x1] * nRight;
    const uint32_t nBelow = pBelow[x0] * (256 - nRight) + pBelow[x1] * nRight;
    return (nAbove * (256 - nDown) + nBelow * nDown) >> 16;
}

uint16_t Moved(const ALPHA& _alpha, const EDGE_RINGS& _rings, bool _bInwards, int _nX, int _nY)
{
    uint32_t nAlpha = _alpha.Row(_nY)[_nX];
    const uint32_t nLast = _bInwards ? 0 : 65535;
    for (int n = 0; n < _rings.nSteps && nAlpha != nLast; ++n)
    {
        const EDGE_STEP step = _rings.arr[static_cast<size_t>(n)];
        const uint32_t nThere = AlphaAt(_alpha, _nX * 256 + step.nX, _nY * 256 + step.nY);
        nAlpha = _bInwards ? std::min(nAlpha, nThere) : std::max(nAlpha, nThere);
    }
    return static_cast<uint16_t>(nAlpha);
}

// Rows of cells.
void MovePass(const CBitRows& _bitsPlain, const EDGE_RINGS& _rings, bool _bInwards, const ALPHA& _in, const ALPHA& _out,
              int _nFirst, int _nRows)
{
    for (int nCellY = _nFirst; nCellY < _nFirst + _nRows; ++nCellY)
        for (int nCellX = 0; nCellX < _bitsPlain.Width(); ++nCellX)
        {
            const bool bPlain = _bitsPlain.Get(nCellX, nCellY);
            for (int y = nCellY * c_nCell; y < std::min((nCellY + 1) * c_nCell, _in.nHeight); ++y)
                for (int x = nCellX * c_nCell; x < std::min((nCellX + 1) * c_nCell, _in.nWidth); ++x)
                    _out.Row(y)[x] = bPlain ? _in.Row(y)[x] : Moved(_in, _rings, _bInwards, x, y);
        }
}

// Rows of pixels, along a row or across rows; what lies outside repeats the border.
void BlurPass(const EDGE_TENT& _tent, bool _bAcross, const ALPHA& _in, const ALPHA& _out, int _nFirst, int _nRows)
{
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
        for (int x = 0; x < _in.nWidth; ++x)
        {
            const auto At = [&](int _n) -> uint32_t {
                return _bAcross ? _in.Row(std::clamp(y + _n, 0, _in.nHeight - 1))[x]
                                : _in.Row(y)[std::clamp(x + _n, 0, _in.nWidth - 1)];
            };
            uint32_t nSum = 32768 + _tent.arr[0] * At(0);
            for (int n = 1; n <= _tent.nReach; ++n)
                nSum += _tent.arr[n] * (At(-n) + At(n));
            _out.Row(y)[x] = static_cast<uint16_t>(nSum >> 16);
        }
}

uint16_t AlphaOf(const UNMIX_RESULT& _result, int _nX, int _nY)
{
    return _result.bWords ? _result.Words(_nY)[ptrdiff_t{4} * _nX + 3]
                          : static_cast<uint16_t>(_result.Bytes(_nY)[ptrdiff_t{4} * _nX + 3] * 257);
}

void ReadPass(const UNMIX_RESULT& _result, const ALPHA& _out, int _nFirst, int _nRows)
{
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
        for (int x = 0; x < _out.nWidth; ++x)
            _out.Row(y)[x] = AlphaOf(_result, x, y);
}

// A pixel that becomes more opaque: what is added looks like solid foreground near here.
VEC4 Grown(const UNMIX_STATE& _state, const FIELD_STATE& _field, const VEC4& _value, float _fltAlpha, int _nX, int _nY)
{
    const VEC4 fore = PLATE_AT_PIXEL(_state, _nX, _nY).Of(_field.fore.arrLevels[0].vec);
    if (fore.w <= 1e-6f)
        return _value;
    const size_t nPlate = static_cast<size_t>(_nY / (2 * c_nCell)) * _state.nPlateWidth + _nX / (2 * c_nCell);
    const KEY_FORMS& key = _state.arrKeys[_state.vecOwner[nPlate]];
    const VEC4 clean = Pixels_Limit(Pixels_Limiter(key, _state.setup.params), fore * (1 / fore.w));
    const float fltOwn = _value.w / _fltAlpha;
    return _value * fltOwn + clean * (1 - fltOwn);
}

void WritePass(const UNMIX_STATE& _state, const FIELD_STATE& _field, const ALPHA& _alpha, const UNMIX_RESULT& _result,
               int _nFirst, int _nRows)
{
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
        for (int x = 0; x < _alpha.nWidth; ++x)
        {
            const uint16_t nAlpha = _alpha.Row(y)[x], nBefore = AlphaOf(_result, x, y);
            if (nAlpha == nBefore)
                continue;
            const float fltAlpha = static_cast<float>(nAlpha) / 257;
            VEC4 value = _result.Get(x, y);
            if (nAlpha > nBefore)
                value = Grown(_state, _field, value, fltAlpha, x, y);
            value.w = fltAlpha;
            _result.Put(x, y, value);
        }
}
} // namespace

bool Edges_Wanted(const UNMIX_STATE& _state)
{
    return _state.setup.params.fltChoke != 0 || _state.setup.params.fltSoften > 0;
}

// Rings a pixel apart, so that nothing thin slips through; small ones take every second direction.
EDGE_RINGS Edges_Rings(float _fltChoke, int _nFields)
{
    EDGE_RINGS rings;
    for (float flt = RadiusOf(_fltChoke); flt > 0 && rings.nSteps + c_nEdgeDirections <= c_nEdgeMostSteps; flt -= 1)
        for (int k = 0; k<c_nEdgeDirections; k += flt> 2 ? 1 : 2)
            rings.arr[static_cast<size_t>(rings.nSteps++)] = {
                Step256(flt * Cosine(k)), Step256(flt * Cosine(k - 8) / static_cast<float>(_nFields))};
    return rings;
}

EDGE_TENT Edges_Tent(float _fltPixels)
{
    const float fltFoot = std::min(_fltPixels, static_cast<float>(c_nEdgeMostPixels)) + 1;
    float fltSum = 1;
    for (int n = 1; static_cast<float>(n) < fltFoot; ++n)
        fltSum += 2 * (1 - static_cast<float>(n) / fltFoot);
    EDGE_TENT tent;
    tent.arr[0] = 65536;
    for (int n = 1; n <= c_nEdgeMostPixels && static_cast<float>(n) < fltFoot; ++n)
    {
        tent.arr[n] = static_cast<uint32_t>(Rounded((1 - static_cast<float>(n) / fltFoot) / fltSum * 65536));
        tent.arr[0] -= 2 * tent.arr[n];
        tent.nReach = n;
    }
    return tent;
}

const CBitRows& Edges_PlainCells(UNMIX_STATE& _state, const FIELD_STATE& _field)
{
    const int nReach = static_cast<int>(std::ceil(RadiusOf(_state.setup.params.fltChoke) / c_nCell)) + 1;
    CBitRows& bits = _state.bitsScratch;
    bits = _field.bitsSolid;
    bits.Erode(nReach, _state.vecScratch);
    CBitRows& bitsBackdrop = _state.bitsScratch2;
    bitsBackdrop = _field.bitsBackdrop;
    bitsBackdrop.Erode(nReach, _state.vecScratch);
    for (int y = 0; y < bits.Height(); ++y)
        for (int k = 0; k < bits.Words(); ++k)
            bits.Row(y)[k] |= bitsBackdrop.Row(y)[k];
    return bits;
}

void Edges_Change(UNMIX_STATE& _state, const FIELD_STATE& _field, const UNMIX_PICTURE& _picture,
                  const UNMIX_RESULT& _result, IRowRunner& _runner)
{
    const UNMIX_PARAMS& params = _state.setup.params;
    const int nWidth = _picture.nWidth, nHeight = _picture.nHeight;
    for (std::vector<uint16_t>& vec : _state.arrAlpha)
        vec.resize(static_cast<size_t>(_state.nWidth) * _state.nHeight);
    ALPHA alpha{nWidth, nHeight, _state.arrAlpha[0].data()};
    ALPHA other{nWidth, nHeight, _state.arrAlpha[1].data()};
    const auto Rows = [&](int _nRows, const auto& _body) { _runner.Run(_nRows, c_nEdgeRowsPerPart, CRowPass(_body)); };
    Rows(nHeight, [&](int _nFirst, int _nRows) { ReadPass(_result, alpha, _nFirst, _nRows); });
    if (params.fltChoke != 0)
    {
        const EDGE_RINGS rings = Edges_Rings(params.fltChoke, _state.nFields);
        const CBitRows& bitsPlain = Edges_PlainCells(_state, _field);
        Rows(_field.cells.nHeight, [&](int _nFirst, int _nRows) {
            MovePass(bitsPlain, rings, params.fltChoke > 0, alpha, other, _nFirst, _nRows);
        });
        std::swap(alpha, other);
    }
    if (params.fltSoften > 0)
    {
        const EDGE_TENT along = Edges_Tent(params.fltSoften);
        const EDGE_TENT across = Edges_Tent(params.fltSoften / static_cast<float>(_state.nFields));
        Rows(nHeight, [&](int _nFirst, int _nRows) { BlurPass(along, false, alpha, other, _nFirst, _nRows); });
        Rows(nHeight, [&](int _nFirst, int _nRows) { BlurPass(across, true, other, alpha, _nFirst, _nRows); });
    }
    Rows(nHeight, [&](int _nFirst, int _nRows) { WritePass(_state, _field, alpha, _result, _nFirst, _nRows); });
}
