#include "ZChromaKey/Engine2/Views.h"

namespace
{
constexpr int c_nBlock = 8; // plate cells along a block of the envelope
constexpr float c_fltUneven = .12f;

// Blocks of plate cells; what lies outside the grid is left out.
struct BLOCKS
{
    int nWidth;
    int nHeight;
    float* p;

    float& At(int _nX, int _nY) const
    {
        return p[static_cast<ptrdiff_t>(_nY) * nWidth + _nX];
    }
};

// The greatest or the mean of 3x3 blocks.
void Ring(const BLOCKS& _in, const BLOCKS& _out, bool _bMean)
{
    for (int y = 0; y < _in.nHeight; ++y)
        for (int x = 0; x < _in.nWidth; ++x)
        {
            float fltSum = 0, fltMost = 0;
            int nCount = 0;
            for (int j = std::max(y - 1, 0); j <= std::min(y + 1, _in.nHeight - 1); ++j)
                for (int i = std::max(x - 1, 0); i <= std::min(x + 1, _in.nWidth - 1); ++i)
                {
                    fltSum += _in.At(i, j);
                    fltMost = std::max(fltMost, _in.At(i, j));
                    ++nCount;
                }
            _out.At(x, y) = _bMean ? fltSum / static_cast<float>(nCount) : fltMost;
        }
}

float PlateX(const UNMIX_STATE& _state, int _nX, int _nY)
{
    const VEC4 plate = _state.Plate(_nX, _nY);
    const size_t nAt = static_cast<size_t>(_nY) * _state.nPlateWidth + _nX;
    return _state.arrKeys[_state.vecOwner[nAt]].X(plate.b, plate.g, plate.r);
}

// Black of that density under the colour.
VEC4 OverShadow(const VEC4& _value, float _fltShadow)
{
    const float a = _value.w / 255;
    const float fltAlpha = a + (1 - a) * _fltShadow;
    VEC4 out = _value * (fltAlpha > 0 ? a / fltAlpha : 0.0f);
    out.w = fltAlpha * 255;
    return out;
}

int RegionAt(const UNMIX_REGION& _region, int _nX, int _nY)
{
    return _region.pRow0 ? _region.Row(_nY)[_nX] : 0;
}

VEC4 SourceAt(const UNMIX_PICTURE& _picture, int _nX, int _nY)
{
    const uint8_t* const p = _picture.Row(_nY) + ptrdiff_t{4} * _nX;
    return {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]),
            _picture.bAlpha ? static_cast<float>(p[3]) : 255};
}

// Garbage goes, whatever is there; what is held out comes back.
VEC4 WithRegions(const VEC4& _value, const VEC4& _source, int _nGarbage, int _nHoldOut)
{
    VEC4 out = _value;
    out.w *= static_cast<float>(255 - _nGarbage) / 255;
    if (_nHoldOut == 0)
        return out;
    const float fltHold = static_cast<float>(_nHoldOut) / 255;
    const float fltAlpha = out.w / 255 * (1 - fltHold) + fltHold;
    const float fltSource = fltHold / fltAlpha;
    VEC4 mixed = out * (1 - fltSource) + _source * fltSource;
    mixed.w = fltAlpha * 255;
    return mixed;
}

VEC4 StatusOf(const FIELD_STATE& _field, int _nX, int _nY, bool _bRegion)
{
    if (_bRegion)
        return {255, 64, 0, 255};
    if (_field.bitsInner.Get(_nX, _nY))
        return {0, 200, 0, 255};
    if (_field.bitsSolid.Get(_nX, _nY))
        return {255, 255, 255, 255};
    return _field.bitsMixed.Get(_nX, _nY) ? VEC4{0, 140, 255, 255} : VEC4{0, 0, 0, 255};
}

VEC4 Grey(float _flt)
{
    return {_flt, _flt, _flt, 255};
}

VEC4 ForegroundAt(const VEC4& _fore)
{
    VEC4 out = _fore * (_fore.w > 1e-9f ? 1 / _fore.w : 0.0f);
    out.w = 255;
    return out;
}
} // namespace

void Views_FindShadows(UNMIX_STATE& _state)
{
    const int nWidth = (_state.nPlateWidth + c_nBlock - 1) / c_nBlock;
    const int nHeight = (_state.nPlateHeight + c_nBlock - 1) / c_nBlock;
    const size_t nBlocks = static_cast<size_t>(nWidth) * nHeight;
    _state.vecEnvelope.assign(2 * nBlocks, 0);
    const BLOCKS envelope{nWidth, nHeight, _state.vecEnvelope.data()};
    const BLOCKS other{nWidth, nHeight, _state.vecEnvelope.data() + nBlocks};
    for (int y = 0; y < _state.nPlateHeight; ++y)
        for (int x = 0; x < _state.nPlateWidth; ++x)
            if (_state.Plate(x, y).w > 0)
            {
                float& flt = envelope.At(x / c_nBlock, y / c_nBlock);
                flt = std::max(flt, PlateX(_state, x, y));
            }
    Ring(envelope, other, false);
    Ring(other, envelope, true);
    const float fltKeep = _state.setup.params.fltShadows / 100;
    for (int y = 0; y < _state.nPlateHeight; ++y)
        for (int x = 0; x < _state.nPlateWidth; ++x)
        {
            const float fltLit = std::max(envelope.At(x / c_nBlock, y / c_nBlock), 1.0f);
            const float fltDensity = (1 - PlateX(_state, x, y) / fltLit - c_fltUneven) / (1 - c_fltUneven);
            _state.vecShade[static_cast<size_t>(y) * _state.nPlateWidth + x] = fltKeep * Clamp01(fltDensity);
        }
}

bool Views_Wanted(const UNMIX_STATE& _state, const UNMIX_PICTURE& _picture)
{
    const UNMIX_PARAMS& params = _state.setup.params;
    return params.eView != eUV_Result || params.fltShadows > 0 || _state.setup.garbage.pRow0 ||
           _state.setup.holdOut.pRow0 || (_picture.bAlpha && params.eAlpha == eUA_Multiply);
}

void Views_Pass(const UNMIX_STATE& _state, const FIELD_STATE& _field, int _nField, const UNMIX_PICTURE& _picture,
                const UNMIX_RESULT& _result, int _nFirst, int _nRows)
{
    const UNMIX_SETUP& setup = _state.setup;
    const int nLast = std::min((_nFirst + _nRows) * c_nCell, _picture.nHeight);
    for (int y = _nFirst * c_nCell; y < nLast; ++y)
        for (int x = 0; x < _picture.nWidth; ++x)
        {
            const PLATE_AT_PIXEL at(_state, x, y);
            const int nRow = y * _state.nFields + _nField; // of the frame
            const VEC4 source = SourceAt(_picture, x, y);
            const int nGarbage = RegionAt(setup.garbage, x, nRow), nHoldOut = RegionAt(setup.holdOut, x, nRow);
            VEC4 value = _result.Get(x, y);
            if (setup.params.fltShadows > 0)
                value = OverShadow(value, at.Of(_state.vecShade));
            if (setup.params.eAlpha == eUA_Multiply)
                value.w *= source.w / 255;
            value = WithRegions(value, source, nGarbage, nHoldOut);
            switch (setup.params.eView)
            {
            case eUV_Matte:
                value = Grey(value.w);
                break;
            case eUV_Status:
                value = StatusOf(_field, x / c_nCell, y / c_nCell,
                                 nGarbage + nHoldOut + RegionAt(setup.backdrop, x, nRow) > 0);
                break;
            case eUV_Plate:
                value = at.Of(_state.vecPlate);
                value.w = 255;
                break;
            case eUV_Foreground:
                value = ForegroundAt(at.Of(_field.fore.arrLevels[0].vec));
                break;
            case eUV_Confidence:
                value = Grey(at.Of(_field.fore.arrLevels[0].vec).w * 255);
                break;
            case eUV_Source:
                value = source;
                break;
            default:
                break;
            }
            _result.Put(x, y, value);
        }
}
