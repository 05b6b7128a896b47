#include "ZChromaKey/Engine2/Chroma.h"

#include "Image/ImgPlane.h"

#include <cmath>

namespace
{
constexpr float c_fltFloor = 60; // of the luma's variance in the fit, levels squared
constexpr float c_fltFactor = 3; // factors beyond are noise

// Luma and two colour differences in levels: B = l + bu, R = l + rv.
struct LUV
{
    float l = 0;
    float bu = 0;
    float rv = 0;
};

uint32_t Word(const uint8_t* _p)
{
    return _p[0] | uint32_t{_p[1]} << 8 | uint32_t{_p[2]} << 16 | uint32_t{_p[3]} << 24;
}

// Sample n of a row of v210, which are U Y V Y U Y ..., three in a word; in 8-bit levels.
float Sample_v210(const uint8_t* _pRow, int _n)
{
    return static_cast<float>(Word(_pRow + ptrdiff_t{4} * (_n / 3)) >> (10 * (_n % 3)) & 0x3ff) / 4;
}

float LumaAt(const UNMIX_SAMPLES& _samples, int _nX, int _nY)
{
    const int x = std::clamp(_nX, 0, _samples.nWidth - 1), y = std::clamp(_nY, 0, _samples.nHeight - 1);
    const uint8_t* const pRow = _samples.arrRow0[0] + y * _samples.anStride[0];
    float flt = 0;
    if (_samples.eLayout == UNMIX_SAMPLES::ev210)
        flt = Sample_v210(pRow, 2 * x + 1);
    else if (_samples.eLayout == UNMIX_SAMPLES::ePacked)
        flt = pRow[ptrdiff_t{2} * x + _samples.nLuma];
    else
        flt = pRow[x];
    return (flt - 16) * (255 / 219.0f);
}

// Chroma sample i, j with the luma of the pixels that share it.
LUV SampleAt(const UNMIX_SAMPLES& _samples, int _nI, int _nJ)
{
    const int i = std::clamp(_nI, 0, _samples.nChromaWidth - 1), j = std::clamp(_nJ, 0, _samples.nChromaHeight - 1);
    float u = 128, v = 128;
    if (_samples.eLayout == UNMIX_SAMPLES::ePlanar)
    {
        u = _samples.arrRow0[1][j * _samples.anStride[1] + ptrdiff_t{i} * _samples.nChromaStep];
        v = _samples.arrRow0[2][j * _samples.anStride[2] + ptrdiff_t{i} * _samples.nChromaStep];
    }
    else
    {
        const uint8_t* const pRow = _samples.arrRow0[0] + j * _samples.anStride[0];
        const bool bDeep = _samples.eLayout == UNMIX_SAMPLES::ev210;
        u = bDeep ? Sample_v210(pRow, 4 * i) : pRow[ptrdiff_t{4} * i + _samples.nU];
        v = bDeep ? Sample_v210(pRow, 4 * i + 2) : pRow[ptrdiff_t{4} * i + _samples.nV];
    }
    LUV luv;
    for (int y = 0; y < _samples.nChromaDiv; ++y)
        luv.l += LumaAt(_samples, 2 * i, j * _samples.nChromaDiv + y) +
                 LumaAt(_samples, 2 * i + 1, j * _samples.nChromaDiv + y);
    luv.l *= _samples.nChromaDiv == 2 ? .25f : .5f;
    luv.bu = (u - 128) * (2 * (1 - _samples.fltKb) * 255 / 224);
    luv.rv = (v - 128) * (2 * (1 - _samples.fltKr) * 255 / 224);
    return luv;
}

VEC4 ToBGR(const UNMIX_SAMPLES& _samples, const LUV& _luv)
{
    const float g =
        _luv.l - (_samples.fltKb * _luv.bu + _samples.fltKr * _luv.rv) / (1 - _samples.fltKb - _samples.fltKr);
    return {_luv.l + _luv.bu, g, _luv.l + _luv.rv, 255};
}

LUV FromBGR(const UNMIX_SAMPLES& _samples, const VEC4& _v)
{
    const float l = _samples.fltKb * _v.b + (1 - _samples.fltKb - _samples.fltKr) * _v.g + _samples.fltKr * _v.r;
    return {l, _v.b - l, _v.r - l};
}

void PutDeep(uint16_t* _pOut, const VEC4& _v)
{
    const float arr[4] = {_v.b, _v.g, _v.r, _v.w};
    for (int c = 0; c < 4; ++c)
        _pOut[c] = static_cast<uint16_t>(Rounded(std::min(std::max(arr[c], 0.0f), 255.0f) * 64));
}

VEC4 Pixel_r210(const UNMIX_SAMPLES& _samples, int _nX, int _nY)
{
    const uint8_t* const p = _samples.arrRow0[0] + _nY * _samples.anStride[0] + ptrdiff_t{4} * _nX;
    const uint32_t n = uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
    return {static_cast<float>(n & 0x3ff) / 4, static_cast<float>(n >> 10 & 0x3ff) / 4,
            static_cast<float>(n >> 20 & 0x3ff) / 4, 255};
}

// The plate where a chroma sample lies.
VEC4 PlateAt(const UNMIX_STATE& _state, const UNMIX_SAMPLES& _samples, int _nI, int _nJ)
{
    const float fltX = (static_cast<float>(_nI) + .5f) * 2;
    const float fltY = (static_cast<float>(_nJ) + .5f) * static_cast<float>(_samples.nChromaDiv);
    const float x = std::clamp(fltX / 8 - .5f, 0.0f, static_cast<float>(_state.nPlateWidth - 1));
    const float y = std::clamp(fltY / 8 - .5f, 0.0f, static_cast<float>(_state.nPlateHeight - 1));
    const int x0 = static_cast<int>(x), y0 = static_cast<int>(y);
    const int x1 = std::min(x0 + 1, _state.nPlateWidth - 1), y1 = std::min(y0 + 1, _state.nPlateHeight - 1);
    const float fx = x - static_cast<float>(x0), fy = y - static_cast<float>(y0);
    const VEC4 above = _state.Plate(x0, y0) + (_state.Plate(x1, y0) - _state.Plate(x0, y0)) * fx;
    const VEC4 below = _state.Plate(x0, y1) + (_state.Plate(x1, y1) - _state.Plate(x0, y1)) * fx;
    return above + (below - above) * fy;
}

float DifferenceOf(const CELL_BACKDROP& _back, const VEC4& _v)
{
    const float fltX = _back.pKey->X(_v.b, _v.g, _v.r);
    return fltX - _back.pKey->fltWedge * std::abs(_back.pKey->Z(_v.b, _v.g, _v.r) - _back.fltRho * fltX);
}

// Six by six chroma samples round a cell, and the factors of the inner four by four.
struct PATCH
{
    LUV arrSamples[6][6];
    LUV arrOff[6][6]; // from the plate
    float arrAlpha[6][6];
    float arrU[4][4];
    float arrV[4][4];
};

// Sums over 3x3 samples with weights 1 2 1.
struct FIT
{
    float y = 0, u = 0, v = 0, yy = 0, yu = 0, yv = 0, a = 0;

    void Add(const LUV& _off, float _fltAlpha, float _fltWeight)
    {
        y += _fltWeight * _off.l;
        u += _fltWeight * _off.bu;
        v += _fltWeight * _off.rv;
        yy += _fltWeight * _off.l * _off.l;
        yu += _fltWeight * _off.l * _off.bu;
        yv += _fltWeight * _off.l * _off.rv;
        a += _fltWeight * _fltAlpha;
    }
};

void FitFactors(PATCH& _patch)
{
    static constexpr float c_arrWeights[3] = {.25f, .5f, .25f};
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 4; ++i)
        {
            FIT fit;
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < 3; ++x)
                    fit.Add(_patch.arrOff[j + y][i + x], _patch.arrAlpha[j + y][i + x],
                            c_arrWeights[y] * c_arrWeights[x]);
            const float k = fit.a * fit.a; // how far the intercept is free
            const float fltShare = 1 / (std::max(fit.yy - k * fit.y * fit.y, 0.0f) + c_fltFloor);
            _patch.arrU[j][i] = std::clamp((fit.yu - k * fit.y * fit.u) * fltShare, -c_fltFactor, c_fltFactor);
            _patch.arrV[j][i] = std::clamp((fit.yv - k * fit.y * fit.v) * fltShare, -c_fltFactor, c_fltFactor);
        }
}

// First row of the samples that arrSamples[1] holds, counted from the cell's first.
PATCH MakePatch(const UNMIX_STATE& _state, const UNMIX_SAMPLES& _samples, int _nX, int _nY)
{
    PATCH patch;
    const CELL_BACKDROP back = Plate_Backdrop(_state, _nX, _nY);
    const int i0 = 2 * _nX - 2;
    const int j0 = _samples.nChromaDiv == 2 ? 2 * _nY - 2 : 4 * _nY - 1;
    for (int j = 0; j < 6; ++j)
        for (int i = 0; i < 6; ++i)
        {
            const LUV sample = SampleAt(_samples, i0 + i, j0 + j);
            const VEC4 plate = PlateAt(_state, _samples, i0 + i, j0 + j);
            const LUV there = FromBGR(_samples, plate);
            patch.arrSamples[j][i] = sample;
            patch.arrOff[j][i] = {sample.l - there.l, sample.bu - there.bu, sample.rv - there.rv};
            patch.arrAlpha[j][i] =
                Clamp01(1 - DifferenceOf(back, ToBGR(_samples, sample)) / std::max(10.0f, DifferenceOf(back, plate)));
        }
    FitFactors(patch);
    return patch;
}

LUV RebuiltAt(const PATCH& _patch, bool _bHalfRows, int _nX, int _nY, float _fltLuma)
{
    // Columns -1/4, 1/4, 3/4, 5/4 of the cell's first sample, which is column 1 of the factors; rows alike where they
    // are shared.
    const int i = (_nX + 1) / 2;
    const int j = _bHalfRows ? (_nY + 1) / 2 : _nY;
    const float fx = _nX & 1 ? .25f : .75f;
    const float fy = !_bHalfRows ? 0 : _nY & 1 ? .25f : .75f;
    const int j1 = _bHalfRows ? j + 1 : j;
    const auto Between = [&](const auto& _at) {
        const float above = _at(j, i) + (_at(j, i + 1) - _at(j, i)) * fx;
        const float below = _at(j1, i) + (_at(j1, i + 1) - _at(j1, i)) * fx;
        return above + (below - above) * fy;
    };
    const float fltDetail = _fltLuma - Between([&](int _y, int _x) { return _patch.arrSamples[_y + 1][_x + 1].l; });
    return {_fltLuma, Between([&](int _y, int _x) {
                          return _patch.arrSamples[_y + 1][_x + 1].bu;
                      }) + Between([&](int _y, int _x) { return _patch.arrU[_y][_x]; }) * fltDetail,
            Between([&](int _y, int _x) { return _patch.arrSamples[_y + 1][_x + 1].rv; }) +
                Between([&](int _y, int _x) { return _patch.arrV[_y][_x]; }) * fltDetail};
}

bool NearMixed(const CBitRows& _bits, int _nX, int _nY)
{
    for (int y = std::max(_nY - 1, 0); y <= std::min(_nY + 1, _bits.Height() - 1); ++y)
        for (int x = std::max(_nX - 1, 0); x <= std::min(_nX + 1, _bits.Width() - 1); ++x)
            if (_bits.Get(x, y))
                return true;
    return false;
}
} // namespace

UNMIX_SAMPLES Chroma_Samples(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, eZYMatrix _eMatrix)
{
    UNMIX_SAMPLES samples;
    samples.nWidth = _vidProps.nWidth;
    samples.nHeight = std::abs(_vidProps.nHeight);
    samples.fltKb = _eMatrix == eZYM_709 ? .0722f : .114f;
    samples.fltKr = _eMatrix == eZYM_709 ? .2126f : .299f;
    for (int n = 0; n < 3; ++n)
    {
        samples.arrRow0[n] = Img_RowOf(_vidPtr, n, 0);
        samples.anStride[n] = _vidPtr.cbVideoRowBytes[n];
    }
    samples.nChromaWidth = (samples.nWidth + 1) / 2;
    samples.nChromaHeight = samples.nHeight;
    const auto Packed = [&](int _nLuma, int _nU, int _nV) {
        samples.eLayout = UNMIX_SAMPLES::ePacked;
        samples.nLuma = _nLuma;
        samples.nU = _nU;
        samples.nV = _nV;
    };
    const auto Planar = [&](int _nChromaDiv, bool _bVFirst) {
        samples.eLayout = UNMIX_SAMPLES::ePlanar;
        samples.nChromaDiv = _nChromaDiv;
        samples.nChromaWidth = std::min(_vidPtr.szVideoPlanes[1].cx, samples.nChromaWidth);
        samples.nChromaHeight =
            std::min(_vidPtr.szVideoPlanes[1].cy, (samples.nHeight + _nChromaDiv - 1) / _nChromaDiv);
        if (_bVFirst)
        {
            std::swap(samples.arrRow0[1], samples.arrRow0[2]);
            std::swap(samples.anStride[1], samples.anStride[2]);
        }
    };
    switch (_vidProps.fccType)
    {
    case eZFCC_r210:
        samples.eLayout = UNMIX_SAMPLES::er210;
        break;
    case eZFCC_v210:
        samples.eLayout = UNMIX_SAMPLES::ev210;
        break;
    case eZFCC_YUY2:
        Packed(0, 1, 3);
        break;
    case eZFCC_YVYU:
        Packed(0, 3, 1);
        break;
    case eZFCC_UYVY:
    case eZFCC_HDYC:
        Packed(1, 0, 2);
        break;
    case eZFCC_I420:
    case eZFCC_YV12:
        Planar(2, _vidProps.fccType == eZFCC_YV12);
        break;
    case eZFCC_I422:
    case eZFCC_Y422:
    case eZFCC_Y444: // addressed with half-width chroma
    case eZFCC_YV16:
        Planar(1, _vidProps.fccType == eZFCC_YV16);
        break;
    case eZFCC_NV12:
        Planar(2, false);
        samples.nChromaWidth = std::min(_vidPtr.szVideoPlanes[1].cx / 2, (samples.nWidth + 1) / 2);
        samples.nChromaStep = 2;
        samples.arrRow0[2] = samples.arrRow0[1] ? samples.arrRow0[1] + 1 : nullptr;
        samples.anStride[2] = samples.anStride[1];
        break;
    default:
        break;
    }
    if (samples.nChromaWidth < 1 || samples.nChromaHeight < 1)
        samples.eLayout = UNMIX_SAMPLES::eNone;
    return samples;
}

UNMIX_SAMPLES Chroma_Field(const UNMIX_SAMPLES& _samples, int _nField, int _nFields)
{
    UNMIX_SAMPLES samples = _samples;
    for (int n = 0; n < 3; ++n)
    {
        if (samples.arrRow0[n])
            samples.arrRow0[n] += _nField * samples.anStride[n];
        samples.anStride[n] *= _nFields;
    }
    samples.nHeight = (_samples.nHeight + _nFields - 1 - _nField) / _nFields;
    samples.nChromaHeight = (_samples.nChromaHeight + _nFields - 1 - _nField) / _nFields;
    if (samples.nChromaHeight < 1) // a picture too small for chroma of both fields
        samples.eLayout = UNMIX_SAMPLES::eNone;
    return samples;
}

void Chroma_Pass(const UNMIX_STATE& _state, const FIELD_STATE& _field, const UNMIX_SAMPLES& _samples, uint16_t* _pDeep0,
                 ptrdiff_t _nDeepStride, int _nFirst, int _nRows)
{
    const bool bDirect = _samples.eLayout == UNMIX_SAMPLES::er210;
    for (int nY = _nFirst; nY < _nFirst + _nRows; ++nY)
        for (int nX = 0; nX < _field.cells.nWidth; ++nX)
        {
            if (!NearMixed(_field.bitsMixed, nX, nY) && !(_samples.IsDeep() && _field.bitsSolid.Get(nX, nY)))
                continue;
            const PATCH patch = bDirect ? PATCH{} : MakePatch(_state, _samples, nX, nY);
            for (int y = nY * c_nCell; y < std::min((nY + 1) * c_nCell, _samples.nHeight); ++y)
                for (int x = nX * c_nCell; x < std::min((nX + 1) * c_nCell, _samples.nWidth); ++x)
                    PutDeep(_pDeep0 + y * _nDeepStride + ptrdiff_t{4} * x,
                            bDirect ? Pixel_r210(_samples, x, y)
                                    : ToBGR(_samples, RebuiltAt(patch, _samples.nChromaDiv == 2, x - nX * c_nCell,
                                                                y - nY * c_nCell, LumaAt(_samples, x, y))));
        }
}
