#include "ZChromaKey/Engine2/Chroma.h"
#include "ZChromaKey/Engine2/Edges.h"
#include "ZChromaKey/Engine2/Fineness.h"
#include "ZChromaKey/Engine2/UnmixRun.h"
#include "ZChromaKey/Engine2/Views.h"

#include <algorithm>

namespace
{
void PassRow(const UNMIX_RUN& _run, const uint8_t* _pRow, int _nY)
{
    for (int x = 0; x < _run.picture.nWidth; ++x, _pRow += 4)
        _run.result.Put(
            x, _nY, {static_cast<float>(_pRow[0]), static_cast<float>(_pRow[1]), static_cast<float>(_pRow[2]), 255});
    _run.result.Done(_nY);
}

void PassThrough(const UNMIX_RUN& _run)
{
    _run.CellRows([&](int _nFirst, int _nRows) {
        const uint8_t* arrRows[c_nCell];
        for (int y = _nFirst; y < _nFirst + _nRows; ++y)
        {
            _run.picture.CellRows(y, _run.state.RoomOf(_nFirst), arrRows);
            for (int n = 0; n < std::min(c_nCell, _run.picture.nHeight - y * c_nCell); ++n)
                PassRow(_run, arrRows[n], y * c_nCell + n);
        }
    });
}

// _bLast: nothing changes the pixels afterwards.
void WritePixels(const UNMIX_RUN& _run, bool _bLast)
{
    UNMIX_STATE& state = _run.state;
    UNMIX_RESULT result = _run.result;
    if (!_bLast)
        result.pTaker = nullptr;
    _run.runner.Step(eUS_Pixels);
    Pixels_TakePast(_run.field);
    _run.CellRows([&](int _nFirst, int _nRows) {
        Pixels_Pass(state, _run.field, _run.picture, result, state.bSeen, state.RoomOf(_nFirst), _nFirst, _nRows);
    });
}

// What an operator wants to see.
void WriteViews(const UNMIX_RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    _run.runner.Step(eUS_Views);
    if (state.setup.params.fltShadows > 0)
        Views_FindShadows(state);
    _run.CellRows([&](int _nFirst, int _nRows) {
        Views_Pass(state, _run.field, _run.nField, _run.picture, _run.result, _nFirst, _nRows);
    });
}

// Rows that no pass over them was the last to change.
void HandOver(const UNMIX_RUN& _run)
{
    if (_run.result.pTaker)
        _run.Rows(_run.picture.nHeight, [&](int _nFirst, int _nRows) {
            for (int y = _nFirst; y < _nFirst + _nRows; ++y)
                _run.result.Done(y);
        });
}
} // namespace

UNMIX_RUN UnmixRun_WithSharedChroma(const UNMIX_RUN& _run)
{
    UNMIX_RUN run = _run;
    UNMIX_STATE& state = run.state;
    const UNMIX_SAMPLES samples = Fineness_Samples(state, run.picture);
    if (run.samples.eLayout != UNMIX_SAMPLES::eNone || samples.eLayout == UNMIX_SAMPLES::eNone)
        return run;
    run.samples = samples;
    const ptrdiff_t nDeepStride = ptrdiff_t{4} * state.nWidth;
    state.vecDeep.resize(static_cast<size_t>(nDeepStride) * state.nHeight);
    run.picture.pDeep0 = state.vecDeep.data() + run.nField * nDeepStride;
    run.picture.nDeepStride = nDeepStride * state.nFields;
    return run;
}

void UnmixRun_Refine(const UNMIX_RUN& _run)
{
    if (_run.samples.eLayout == UNMIX_SAMPLES::eNone)
        return;
    _run.runner.Step(eUS_Chroma);
    const ptrdiff_t nStride = ptrdiff_t{4} * _run.state.nWidth;
    uint16_t* const pRow0 = _run.state.vecDeep.data() + _run.nField * nStride;
    _run.CellRows([&](int _nFirst, int _nRows) {
        Chroma_Pass(_run.state, _run.field, _run.samples, pRow0, nStride * _run.state.nFields, _nFirst, _nRows);
    });
}

void UnmixRun_Deepen(const UNMIX_RUN& _run)
{
    for (int y = 0; y < _run.picture.nHeight; ++y)
    {
        const uint8_t* const pRow = _run.picture.Row(y);
        const ptrdiff_t nSamples = ptrdiff_t{4} * _run.picture.nWidth;
        uint16_t* const pDeep = _run.state.vecDeep.data() + (_run.nField + y * _run.state.nFields) * nSamples;
        std::transform(pRow, pRow + nSamples, pDeep, [](uint8_t _n) { return static_cast<uint16_t>(_n << 6); });
    }
}

void UnmixRun_Write(const UNMIX_RUN& _run, eUnmixWrite _eWrite)
{
    if (_run.state.nKeys == 0)
        return PassThrough(_run);
    const UNMIX_RUN run = UnmixRun_WithSharedChroma(_run);
    const bool bEdges = Edges_Wanted(run.state), bViews = Views_Wanted(run.state, run.picture);
    if (_eWrite == eUW_All)
    {
        UnmixRun_Refine(run);
        WritePixels(run, !bEdges && !bViews);
    }
    run.runner.Step(eUS_Edges);
    if (bEdges)
        Edges_Change(run.state, run.field, run.picture, run.result, run.runner);
    if (bViews)
        WriteViews(run);
    else if (bEdges || _eWrite != eUW_All)
        HandOver(run);
}
