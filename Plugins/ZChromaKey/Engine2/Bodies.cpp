#include "ZChromaKey/Engine2/Bodies.h"

#include <cmath>

namespace
{
constexpr float c_arrWedges[] = {1, 1.5f, 2, 2.5f, 3};

// X and |Z| of a cell's mean, against the backdrop there.
struct CELL_FORMS
{
    float fltX;
    float fltZ;
};

CELL_FORMS FormsOf(const CELL_BACKDROP& _back, const VEC4& _mean)
{
    const float fltX = _back.pKey->X(_mean.b, _mean.g, _mean.r);
    return {fltX, std::abs(_back.pKey->Z(_mean.b, _mean.g, _mean.r) - _back.fltRho * fltX)};
}

// What each wedge leaves half open of the flat cells inside bodies.
struct OPEN
{
    float arrOpen[5] = {};
    float fltCells = 0;
};

void AddOpen(OPEN& _open, const CELL_BACKDROP& _back, const VEC4& _mean)
{
    const CELL_FORMS forms = FormsOf(_back, _mean);
    ++_open.fltCells;
    for (int k = 0; k < 5; ++k)
    {
        const float fltAlpha = 1 - (forms.fltX - c_arrWedges[k] * forms.fltZ) / _back.fltX;
        if (fltAlpha > .05f && fltAlpha < .95f)
            _open.arrOpen[k] += 1 - fltAlpha;
    }
}

float WedgeOf(const OPEN& _open, bool _bGreen)
{
    const int nMost = _bGreen ? 2 : 4;
    const float* const p = _open.arrOpen;
    const float fltGain = p[0] - p[nMost];
    if (p[0] <= .02f * _open.fltCells + 4 || fltGain < .3f * p[0])
        return 1; // little is open, or no wedge closes it
    int k = 0;
    while (k < nMost && p[k] - p[nMost] > .15f * fltGain + .0005f * _open.fltCells)
        ++k;
    return c_arrWedges[k];
}

// Cells inside bodies by how open they look: bin n from n / 20 on, all below 0 in the first.
struct HEAP
{
    static constexpr int c_nBins = 20;
    static constexpr int c_nFirst = 3; // from here on a heap is cloth,
    static constexpr int c_nEnd = 12;  // and from here on nothing is
    int arrBins[c_nBins] = {};

    int Sum(int _nFirst, int _nEnd) const
    {
        int nSum = 0;
        for (int n = _nFirst; n < _nEnd; ++n)
            nSum += arrBins[n];
        return nSum;
    }
};

// The right end of the heap that cloth of the key's hue makes, as D / X; 0 where there is none.
float ClothEnd(const HEAP& _heap)
{
    const int* const p = _heap.arrBins;
    const int nCloth = _heap.Sum(HEAP::c_nFirst, HEAP::c_nEnd), nBeyond = _heap.Sum(HEAP::c_nEnd, HEAP::c_nBins);
    const int* const pPeak = std::max_element(p + HEAP::c_nFirst, p + HEAP::c_nEnd);
    const int nValley = *std::min_element(p + 1, pPeak + 1);
    if (nCloth * 25 <= 2 * _heap.Sum(0, HEAP::c_nBins) || nBeyond * 10 >= nCloth || nValley * 2 >= *pPeak)
        return 0;
    int nEnd = HEAP::c_nFirst;
    for (int nLeft = nCloth + nBeyond; nEnd < HEAP::c_nEnd && nLeft * 50 > nCloth; ++nEnd)
        nLeft -= p[nEnd];
    return static_cast<float>(nEnd + 1) / HEAP::c_nBins;
}

// Cells two off anything within the range of a key.
void FindInside(UNMIX_STATE& _state, const FIELD_STATE& _field)
{
    CBitRows& bits = _state.bitsScratch;
    for (int y = 0; y < bits.Height(); ++y)
        for (int k = 0; k < bits.Words(); ++k)
            bits.Row(y)[k] = ~_field.bitsWide.Row(y)[k] & bits.Valid(k);
    bits.Erode(2, _state.vecScratch);
}

// Calls _body(backdrop, number of its key, mean) for the cells inside bodies whose contrast is below a limit.
template <class T>
void ForEachInside(const UNMIX_STATE& _state, const FIELD_STATE& _field, int _nMostSpread4, const T& _body)
{
    const CBitRows& bits = _state.bitsScratch;
    for (int y = 0; y < bits.Height(); ++y)
        for (int x = 0; x < bits.Width(); ++x)
        {
            const size_t n = _field.cells.At(x, y);
            if (!bits.Get(x, y) || _field.cells.Spread4(n) >= _nMostSpread4)
                continue;
            const CELL_BACKDROP back = Plate_Backdrop(_state, x, y);
            _body(back, back.pKey - _state.arrKeys, _field.cells.Mean(n));
        }
}
} // namespace

void Bodies_Measure(UNMIX_STATE& _state, FIELD_STATE& _field)
{
    FindInside(_state, _field);
    OPEN arrOpen[c_nUnmixMaxKeys];
    ForEachInside(_state, _field, 120, [&](const CELL_BACKDROP& _back, ptrdiff_t _nKey, const VEC4& _mean) {
        AddOpen(arrOpen[_nKey], _back, _mean);
    });
    for (int k = 0; k < _state.nKeys; ++k)
        _state.arrKeys[k].fltWedge = WedgeOf(arrOpen[k], _state.arrKeys[k].bGreen);
    HEAP arrHeaps[c_nUnmixMaxKeys]; // with the wedge; cloth has its weave
    ForEachInside(_state, _field, 240, [&](const CELL_BACKDROP& _back, ptrdiff_t _nKey, const VEC4& _mean) {
        const CELL_FORMS forms = FormsOf(_back, _mean);
        const float fltOpen = (forms.fltX - _back.pKey->fltWedge * forms.fltZ) / _back.fltX;
        ++arrHeaps[_nKey].arrBins[std::clamp(static_cast<int>(fltOpen * HEAP::c_nBins), 0, HEAP::c_nBins - 1)];
    });
    for (int k = 0; k < _state.nKeys; ++k)
        _state.arrKeys[k].fltCloth = _state.arrKeys[k].bGreen ? 0 : ClothEnd(arrHeaps[k]);
}
