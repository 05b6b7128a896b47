#include "ZChromaKey/Engine2/Pixels.h"

#include "ZChromaKey/Engine2/Screen.h"

#include <cstring>

namespace
{
constexpr float c_fltQuiet = .75f; // noise below which nothing is filtered
constexpr float c_fltTimeNoise = 2;
constexpr int c_nSolidCells = 128; // the most of a run

// What a pass over one picture needs, made once.
struct PASS
{
    UNMIX_STATE& state;
    FIELD_STATE& field;
    const UNMIX_PICTURE& picture;
    const UNMIX_RESULT& result;
    const UNMIX_KERNELS& kernels;
    PIXEL_RULES arrRules[c_nUnmixMaxKeys];
    FILTER_RULES filter;

    size_t ResultPixel() const
    {
        return result.bWords ? 8 : 4;
    }
    int GlareOf(int _nX, int _nY) const
    {
        return field.vecGlare[static_cast<size_t>(_nY >> 1) * state.nPlateWidth + (_nX >> 1)];
    }
    int OwnerOf(int _nX, int _nY) const
    {
        return state.vecOwner[static_cast<size_t>(_nY >> 1) * state.nPlateWidth + (_nX >> 1)];
    }
};

// What a run of mixed cells is made of, with room for whole vectors past its end.
struct RUN_BUFFERS
{
    static constexpr size_t c_nSlack = 16;
    uint16_t arrSource[6][4 * (c_nMixedPixels + c_nSlack)];
    int32_t arrRho[3][c_nMixedPixels + c_nSlack];
    uint8_t arrGlare[c_nMixedCells];
    float arrCore[16 * c_nMixedCells];
    float arrKeep[16 * c_nMixedCells];
    uint16_t arrOut[4][16 * c_nMixedCells];
};

// Pixels _nFirst to _nEnd - 1 of a row, those outside of the picture as its borders.
template <class T> void CopyPixels(const T* _pRow, int _nWidth, int _nFirst, int _nEnd, T* _pOut)
{
    const int nFrom = std::clamp(_nFirst, 0, _nWidth - 1), nTo = std::min(_nEnd, _nWidth);
    for (int x = _nFirst; x < nFrom; ++x, _pOut += 4)
        std::copy_n(_pRow, 4, _pOut);
    std::memcpy(_pOut, _pRow + ptrdiff_t{4} * nFrom, 4 * sizeof(T) * static_cast<size_t>(nTo - nFrom));
    _pOut += ptrdiff_t{4} * (nTo - nFrom);
    for (int x = nTo; x < _nEnd; ++x, _pOut += 4)
        std::copy_n(_pRow + ptrdiff_t{4} * (_nWidth - 1), 4, _pOut);
}

// Kernels read whole vectors: of pixels in the middle of a picture from where they are, of others from copies.
void TakeSource(const PASS& _pass, int _nX, int _nY, MIXED_RUN& _run, RUN_BUFFERS& _buffers)
{
    const UNMIX_PICTURE& picture = _pass.picture;
    const int x0 = _nX * c_nCell - 1, x1 = x0 + 4 * _run.nCells + 2;
    _run.bDeep = picture.pDeep0 != nullptr;
    const bool bInside = x0 >= 0 && x1 + static_cast<int>(RUN_BUFFERS::c_nSlack) <= picture.nWidth &&
                         (_nY + 1) * c_nCell <= picture.nHeight;
    const ptrdiff_t nStride = _run.bDeep ? 2 * picture.nDeepStride : picture.nStride;
    _run.nSourceStride = bInside ? nStride : static_cast<ptrdiff_t>(sizeof(_buffers.arrSource[0]));
    for (int y = 0; y < 6; ++y)
    {
        const int nRow = std::clamp(_nY * c_nCell + y - 1, 0, picture.nHeight - 1);
        uint16_t* const pCopy = _buffers.arrSource[y];
        _run.arrSource[y] = pCopy;
        if (bInside && _run.bDeep)
            _run.arrSource[y] = picture.DeepRow(nRow) + ptrdiff_t{4} * x0;
        else if (bInside)
            _run.arrSource[y] = picture.Row(nRow) + ptrdiff_t{4} * x0;
        else if (_run.bDeep)
            CopyPixels(picture.DeepRow(nRow), picture.nWidth, x0, x1, pCopy);
        else
            CopyPixels(picture.Row(nRow), picture.nWidth, x0, x1, reinterpret_cast<uint8_t*>(pCopy));
    }
}

void TakeRho(const PASS& _pass, int _nX, int _nY, MIXED_RUN& _run, RUN_BUFFERS& _buffers)
{
    const UNMIX_CELLS& cells = _pass.field.cells;
    for (int y = 0; y < 3; ++y)
    {
        const int16_t* const pRow = &cells.vecRho[cells.At(0, std::clamp(_nY + y - 1, 0, cells.nHeight - 1))];
        int32_t* pOut = _buffers.arrRho[y];
        _run.arrRho[y] = pOut;
        *pOut++ = pRow[std::max(_nX - 1, 0)];
        for (int x = _nX; x < _nX + _run.nCells; ++x, pOut += 4)
            std::fill_n(pOut, 4, pRow[x]);
        *pOut = pRow[std::min(_nX + _run.nCells, cells.nWidth - 1)];
    }
}

void TakePlates(const PASS& _pass, int _nX, int _nY, MIXED_RUN& _run)
{
    const UNMIX_STATE& state = _pass.state;
    const BETWEEN rows = Grid_Between(_nY, state.nPlateHeight);
    const std::vector<VEC4>& vecFore = _pass.field.fore.arrLevels[0].vec;
    const auto Row = [&](const std::vector<VEC4>& _vec, int _nRow) {
        return &_vec[static_cast<size_t>(_nRow) * state.nPlateWidth].b;
    };
    _run.arrBack[0] = Row(state.vecPlate, rows.nFirst);
    _run.arrBack[1] = Row(state.vecPlate, rows.nSecond);
    _run.arrFore[0] = Row(vecFore, rows.nFirst);
    _run.arrFore[1] = Row(vecFore, rows.nSecond);
    _run.nPlateWidth = state.nPlateWidth;
    _run.nFirst = _nX;
    _run.bOddRow = _nY & 1;
}

void TakeGlare(const PASS& _pass, int _nX, int _nY, MIXED_RUN& _run, RUN_BUFFERS& _buffers)
{
    for (int n = 0; n < _run.nCells; ++n)
        _buffers.arrGlare[n] = static_cast<uint8_t>(_pass.GlareOf(_nX + n, _nY));
    _run.pGlare = _buffers.arrGlare;
}

// How far a pixel is inside core: the cells' bits, bilinear between their middles, doubled and cut. By the bits of 3x3
// cells.
struct CORE_TABLE
{
    float arr[512][16];

    CORE_TABLE()
    {
        for (int nBits = 0; nBits < 512; ++nBits)
            for (int n = 0; n < 16; ++n)
                arr[nBits][n] = At(nBits, n % 4, n / 4);
    }
    static float At(int _nBits, int _nX, int _nY)
    {
        static constexpr float c_arrOther[4] = {.375f, .125f, .125f, .375f};
        const auto Bit = [&](int _x, int _y) { return _nBits >> (3 * _y + _x) & 1 ? 1.0f : 0.0f; };
        const int nColumn = _nX < 2 ? 0 : 2, nRow = _nY < 2 ? 0 : 2;
        const float x = c_arrOther[_nX], y = c_arrOther[_nY];
        const float fltHere = Bit(1, 1) + (Bit(nColumn, 1) - Bit(1, 1)) * x;
        const float fltThere = Bit(1, nRow) + (Bit(nColumn, nRow) - Bit(1, nRow)) * x;
        return Clamp01(2 * (fltHere + (fltThere - fltHere) * y) - 1);
    }
};

// The bits of 3x3 cells; outside the grid as at its border.
int BitsAround(const CBitRows& _bits, int _nX, int _nY)
{
    const int nLeft = std::max(_nX - 1, 0), nRight = std::min(_nX + 1, _bits.Width() - 1);
    int nBits = 0;
    for (int y = 0; y < 3; ++y)
    {
        const int nRow = std::clamp(_nY + y - 1, 0, _bits.Height() - 1);
        nBits |= (_bits.Get(nLeft, nRow) | _bits.Get(_nX, nRow) << 1 | _bits.Get(nRight, nRow) << 2) << 3 * y;
    }
    return nBits;
}

// Whether any of the bits around cells _nX to _nEnd - 1 of a row is set.
bool IsAnyAround(const CBitRows& _bits, int _nX, int _nEnd, int _nY)
{
    const int nFirst = std::max(_nX - 1, 0) / 64, nLast = std::min(_nEnd, _bits.Width() - 1) / 64;
    uint64_t nAny = 0;
    for (int y = std::max(_nY - 1, 0); y <= std::min(_nY + 1, _bits.Height() - 1); ++y)
        for (int n = nFirst; n <= nLast; ++n)
            nAny |= _bits.Row(y)[n];
    return nAny != 0;
}

// False: there is none, and nothing is written. True is also said of runs that have core no nearer than some cells.
bool TakeCore(const PASS& _pass, int _nX, int _nY, const MIXED_RUN& _run, float* _pCore)
{
    static const CORE_TABLE table;
    const CBitRows& bits = _pass.field.bitsInner;
    if (!IsAnyAround(bits, _nX, _nX + _run.nCells, _nY))
        return false;
    for (int n = 0; n < _run.nCells; ++n)
        std::memcpy(_pCore + ptrdiff_t{16} * n, table.arr[BitsAround(bits, _nX + n, _nY)], sizeof(table.arr[0]));
    return true;
}

// How far the pixels of the run have a protected colour.
void TakeProtected(const PASS& _pass, const MIXED_RUN& _run, RUN_BUFFERS& _buffers)
{
    for (int n = 0; n < 16 * _run.nCells; ++n)
    {
        const auto* const pRow = static_cast<const uint16_t*>(_run.arrSource[1 + n % 16 / 4]);
        const ptrdiff_t nAt = ptrdiff_t{4} * (1 + n / 16 * 4 + n % 4);
        const uint8_t* const pBytes = reinterpret_cast<const uint8_t*>(pRow) + nAt;
        const VEC4 colour = _run.bDeep ? VEC4{pRow[nAt] / 64.0f, pRow[nAt + 1] / 64.0f, pRow[nAt + 2] / 64.0f, 0}
                                       : VEC4{float(pBytes[0]), float(pBytes[1]), float(pBytes[2]), 0};
        _buffers.arrKeep[n] = Screen_Protection(_pass.state.setup, colour);
        _buffers.arrCore[n] = std::max(_buffers.arrCore[n], _buffers.arrKeep[n]);
    }
}

void MixedCells(const PASS& _pass, int _nX, int _nEnd, int _nY)
{
    RUN_BUFFERS buffers;
    MIXED_RUN run = {};
    run.pRules = &_pass.arrRules[_pass.OwnerOf(_nX, _nY)];
    run.pFilter = &_pass.filter;
    run.nCells = _nEnd - _nX;
    TakeSource(_pass, _nX, _nY, run, buffers);
    TakeRho(_pass, _nX, _nY, run, buffers);
    TakePlates(_pass, _nX, _nY, run);
    TakeGlare(_pass, _nX, _nY, run, buffers);
    run.pCore = TakeCore(_pass, _nX, _nY, run, buffers.arrCore) ? buffers.arrCore : nullptr;
    if (_pass.state.setup.nProtected > 0)
    {
        if (!run.pCore)
            std::fill_n(buffers.arrCore, 16 * run.nCells, 0.0f);
        TakeProtected(_pass, run, buffers);
        run.pCore = buffers.arrCore;
        run.pKeep = buffers.arrKeep;
    }
    if (_pass.filter.bPast)
        run.pPast = &_pass.field.vecPast[16 * _pass.field.cells.At(_nX, _nY)];
    const int nRows = std::min(c_nCell, _pass.picture.nHeight - _nY * c_nCell);
    const int nPixels = std::min(_nEnd * c_nCell, _pass.picture.nWidth) - _nX * c_nCell;
    const bool bWhole = nRows == c_nCell && nPixels == run.nCells * c_nCell;
    uint8_t* const pResult = _pass.result.Bytes(_nY * c_nCell) + _nX * c_nCell * _pass.ResultPixel();
    run.bWords = _pass.result.bWords;
    run.pOut = bWhole ? pResult : reinterpret_cast<uint8_t*>(buffers.arrOut[0]);
    run.nOutStride = bWhole ? _pass.result.nStride : static_cast<ptrdiff_t>(sizeof(buffers.arrOut[0]));
    _pass.kernels.pfnMixed(run);
    for (int y = 0; y < nRows && !bWhole; ++y)
        std::memcpy(pResult + y * _pass.result.nStride, buffers.arrOut[y],
                    static_cast<size_t>(nPixels) * _pass.ResultPixel());
}

void SolidCells(const PASS& _pass, int _nX, int _nEnd, int _nY, bool _bProtected)
{
    static constexpr LIMIT_RULES c_none = {};
    const UNMIX_PICTURE& picture = _pass.picture;
    const int nFirst = _nX * c_nCell;
    SOLID_RUN run = {};
    run.pRules = _bProtected ? &c_none : &_pass.arrRules[_pass.OwnerOf(_nX, _nY)].limit;
    run.bWords = _pass.result.bWords;
    run.nPixels = std::min(_nEnd * c_nCell, picture.nWidth) - nFirst;
    int32_t arrGlare[c_nSolidCells * c_nCell + RUN_BUFFERS::c_nSlack];
    int32_t* pGlare = arrGlare;
    for (int x = _nX; x < _nEnd; ++x)
        pGlare = std::fill_n(pGlare, c_nCell, _pass.GlareOf(x, _nY) * run.pRules->nGlare);
    std::fill_n(pGlare, RUN_BUFFERS::c_nSlack, 0);
    run.pGlare = arrGlare;
    uint8_t arrRoom[4 * c_nCell * c_nCell * c_nSolidCells];
    const uint8_t* arrRows[c_nCell] = {};
    if (!picture.bDeepSolid)
        picture.CellRows(_nY, nFirst, run.nPixels, arrRoom, arrRows);
    for (int y = _nY * c_nCell; y < std::min((_nY + 1) * c_nCell, picture.nHeight); ++y)
    {
        run.pBytes = arrRows[y % c_nCell];
        run.pDeep = picture.bDeepSolid ? picture.DeepRow(y) + ptrdiff_t{4} * nFirst : nullptr;
        run.pOut = _pass.result.Bytes(y) + nFirst * static_cast<ptrdiff_t>(_pass.ResultPixel());
        run.nNextBytes = y + 1 < picture.nHeight && !picture.pReader ? picture.nStride : 0;
        run.nNextOut = y + 1 < picture.nHeight ? _pass.result.nStride : 0;
        _pass.kernels.pfnSolid(run);
    }
}

void BackdropCells(const PASS& _pass, int _nX, int _nEnd, int _nY)
{
    const int nFirst = _nX * c_nCell, nEnd = std::min(_nEnd * c_nCell, _pass.picture.nWidth);
    CLEAR_RUN run = {};
    run.nBytes = static_cast<size_t>(nEnd - nFirst) * _pass.ResultPixel();
    for (int y = _nY * c_nCell; y < std::min((_nY + 1) * c_nCell, _pass.picture.nHeight); ++y)
    {
        run.pOut = _pass.result.Bytes(y) + nFirst * static_cast<ptrdiff_t>(_pass.ResultPixel());
        run.nNext = y + 1 < _pass.picture.nHeight ? _pass.result.nStride : 0;
        _pass.kernels.pfnClear(run);
    }
}

// Calls _body(first, end) for the pieces of cells _nX to _nEnd - 1 of a row that belong to one key and are at most
// _nMost long.
template <class T> void ForEachOwner(const PASS& _pass, int _nX, int _nEnd, int _nY, int _nMost, const T& _body)
{
    while (_nX < _nEnd)
    {
        const int nLast = std::min(_nEnd, _nX + _nMost), nOwner = _pass.OwnerOf(_nX, _nY);
        int x = _pass.state.nKeys > 1 ? _nX + 1 : nLast;
        while (x < nLast && _pass.OwnerOf(x, _nY) == nOwner)
            ++x;
        _body(_nX, x);
        _nX = x;
    }
}

void PixelRow(const PASS& _pass, int _nY)
{
    const FIELD_STATE& field = _pass.field;
    field.bitsBackdrop.ForEachRun(_nY, [&](int _nX, int _nEnd) { BackdropCells(_pass, _nX, _nEnd, _nY); });
    field.bitsSolid.ForEachRun(_nY, [&](int _nX, int _nEnd) {
        ForEachOwner(_pass, _nX, _nEnd, _nY, c_nSolidCells,
                     [&](int _nFirst, int _nLast) { SolidCells(_pass, _nFirst, _nLast, _nY, false); });
    });
    if (_pass.state.setup.nProtected > 0) // again, as they are
        field.bitsProtected.ForEachRun(_nY, [&](int _nX, int _nEnd) {
            ForEachOwner(_pass, _nX, _nEnd, _nY, c_nSolidCells,
                         [&](int _nFirst, int _nLast) { SolidCells(_pass, _nFirst, _nLast, _nY, true); });
        });
    field.bitsMixed.ForEachRun(_nY, [&](int _nX, int _nEnd) {
        ForEachOwner(_pass, _nX, _nEnd, _nY, c_nMixedCells,
                     [&](int _nFirst, int _nLast) { MixedCells(_pass, _nFirst, _nLast, _nY); });
    });
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

void Pixels_ForgetPast(FIELD_STATE& _field)
{
    _field.vecPast.assign(16 * _field.cells.vecSum.size(), c_nPastUnknown);
    _field.pPastAt = nullptr;
}

void Pixels_TakePast(FIELD_STATE& _field)
{
    if (_field.pPastAt && !_field.vecPast.empty())
        Pixels_ForgetPast(_field);
}

FILTER_RULES Pixels_Filter(const UNMIX_STATE& _state, const FIELD_STATE& _field, bool _bSeen)
{
    const float fltNoise = _state.setup.params.fltNoise > 0 ? std::min(_state.fltNoise, 60.0f) : 0;
    FILTER_RULES filter = {};
    filter.bFilter = fltNoise > c_fltQuiet;
    filter.bPast = filter.bFilter && !_field.vecPast.empty();
    filter.bSeen = _bSeen;
    filter.nNear = Rounded(2 * fltNoise * 32);
    filter.nTimeNear = Rounded(c_fltTimeNoise * fltNoise * 32);
    return filter;
}

void Pixels_Pass(UNMIX_STATE& _state, FIELD_STATE& _field, const UNMIX_PICTURE& _picture, const UNMIX_RESULT& _result,
                 bool _bSeen, int _nFirst, int _nRows)
{
    PASS pass{_state, _field, _picture, _result, *_state.pKernels, {}, Pixels_Filter(_state, _field, _bSeen)};
    for (int k = 0; k < _state.nKeys; ++k)
        pass.arrRules[k] = Pixels_Rules(_state, _state.arrKeys[k]);
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
    {
        PixelRow(pass, y);
        for (int n = y * c_nCell; n < std::min((y + 1) * c_nCell, _picture.nHeight); ++n)
            _result.Done(n);
    }
}
