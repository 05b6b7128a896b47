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

namespace
{
// A row of a picture on its way to the result.
struct VIEW_ROW
{
    const UNMIX_STATE& state;
    const FIELD_STATE& field;
    const UNMIX_PICTURE& picture;
    const UNMIX_RESULT& result;
    int nRow;      // of the field
    int nFrameRow; // the same of the frame

    const uint8_t* Region(const UNMIX_REGION& _region, int _nX) const
    {
        return _region.pRow0 ? _region.Row(nFrameRow) + _nX : nullptr;
    }
};

bool IsNone(const uint8_t* _pBytes, int _nBytes)
{
    return !_pBytes || std::all_of(_pBytes, _pBytes + _nBytes, [](uint8_t _n) { return _n == 0; });
}

bool IsOpaque(const VIEW_ROW& _row, int _nX, int _nPixels)
{
    const UNMIX_CELLS& cells = _row.field.cells;
    const uint32_t* const pMin = &cells.vecMin[cells.At(0, _row.nRow / c_nCell)];
    return std::all_of(pMin + _nX / c_nCell, pMin + (_nX + _nPixels + c_nCell - 1) / c_nCell,
                       [](uint32_t _n) { return _n >> 24 == 255; });
}

// The density of shadows at the pixels from _nX on, a multiple of 8: linear between the middles of plate cells.
void ShadeOf(const VIEW_ROW& _row, int _nX, int _nPixels, float* _pOut)
{
    const UNMIX_STATE& state = _row.state;
    const PLATE_AT_PIXEL at(state, 0, _row.nRow);
    const auto Blended = [&](int _nCell) {
        const auto nAt = static_cast<size_t>(std::clamp(_nCell, 0, state.nPlateWidth - 1));
        const float above = state.vecShade[at.arrAt[0] + nAt];
        return above + (state.vecShade[at.arrAt[2] + nAt] - above) * at.fltY;
    };
    float fltLeft = Blended(_nX / 8 - 1), fltHere = Blended(_nX / 8);
    for (int x = 0; x < _nPixels; x += 8, _pOut += 8)
    {
        const float fltRight = Blended((_nX + x) / 8 + 1);
        for (int n = 0; n < 4; ++n)
        {
            const float fltFar = static_cast<float>(2 * n + 1) / 16;
            _pOut[n] = fltLeft + (fltHere - fltLeft) * (.5f + fltFar);
            _pOut[4 + n] = fltHere + (fltRight - fltHere) * fltFar;
        }
        fltLeft = fltHere;
        fltHere = fltRight;
    }
}

// Shadows, the input's alpha and regions, where there is any of them.
void FinishPixels(const VIEW_ROW& _row, int _nX, int _nPixels)
{
    const UNMIX_SETUP& setup = _row.state.setup;
    float arrShade[c_nFinishPixels];
    FINISH_RUN run = {};
    run.bWords = _row.result.bWords;
    run.pPixels = _row.result.Bytes(_row.nRow) + ptrdiff_t{run.bWords ? 8 : 4} * _nX;
    run.nPixels = _nPixels;
    run.pSource = _row.picture.Row(_row.nRow) + ptrdiff_t{4} * _nX;
    run.pGarbage = _row.Region(setup.garbage, _nX);
    run.pHoldOut = _row.Region(setup.holdOut, _nX);
    run.bSourceAlpha = _row.picture.bAlpha;
    run.bMultiply = setup.params.eAlpha == eUA_Multiply;
    const bool bAlpha = run.bMultiply && run.bSourceAlpha && !IsOpaque(_row, _nX, _nPixels);
    if (setup.params.fltShadows > 0)
    {
        ShadeOf(_row, _nX, _nPixels, arrShade);
        run.pShade = arrShade;
    }
    if (bAlpha || run.pShade || !IsNone(run.pGarbage, _nPixels) || !IsNone(run.pHoldOut, _nPixels))
        _row.state.pKernels->pfnFinish(run);
}

VEC4 ViewOf(const VIEW_ROW& _row, int _nX)
{
    const UNMIX_SETUP& setup = _row.state.setup;
    const PLATE_AT_PIXEL at(_row.state, _nX, _row.nRow);
    const std::vector<VEC4>& vecFore = _row.field.fore.arrLevels[0].vec;
    switch (setup.params.eView)
    {
    case eUV_Matte:
        return Grey(_row.result.Get(_nX, _row.nRow).w);
    case eUV_Status:
        return StatusOf(_row.field, _nX / c_nCell, _row.nRow / c_nCell,
                        RegionAt(setup.garbage, _nX, _row.nFrameRow) + RegionAt(setup.holdOut, _nX, _row.nFrameRow) +
                                RegionAt(setup.backdrop, _nX, _row.nFrameRow) >
                            0);
    case eUV_Plate: {
        VEC4 plate = at.Of(_row.state.vecPlate);
        plate.w = 255;
        return plate;
    }
    case eUV_Foreground:
        return ForegroundAt(at.Of(vecFore));
    case eUV_Confidence:
        return Grey(at.Of(vecFore).w * 255);
    default:
        return SourceAt(_row.picture, _nX, _row.nRow);
    }
}
} // namespace

void Views_Pass(const UNMIX_STATE& _state, const FIELD_STATE& _field, int _nField, const UNMIX_PICTURE& _picture,
                const UNMIX_RESULT& _result, int _nFirst, int _nRows)
{
    const int nLast = std::min((_nFirst + _nRows) * c_nCell, _picture.nHeight);
    for (int y = _nFirst * c_nCell; y < nLast; ++y)
    {
        const VIEW_ROW row{_state, _field, _picture, _result, y, y * _state.nFields + _nField};
        for (int x = 0; x < _picture.nWidth; x += c_nFinishPixels)
            FinishPixels(row, x, std::min(c_nFinishPixels, _picture.nWidth - x));
        for (int x = 0; x < _picture.nWidth && _state.setup.params.eView != eUV_Result; ++x)
            _result.Put(x, y, ViewOf(row, x));
        _result.Done(y);
    }
}
