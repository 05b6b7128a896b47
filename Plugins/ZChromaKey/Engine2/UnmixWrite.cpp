#include "ZChromaKey/Engine2/Chroma.h"
#include "ZChromaKey/Engine2/Edges.h"
#include "ZChromaKey/Engine2/Fineness.h"
#include "ZChromaKey/Engine2/UnmixRun.h"
#include "ZChromaKey/Engine2/Views.h"

#include <algorithm>

namespace
{
void PassThrough(const UNMIX_RUN& _run)
{
    _run.Rows(_run.picture.nHeight, [&](int _nFirst, int _nRows) {
        for (int y = _nFirst; y < _nFirst + _nRows; ++y)
            for (int x = 0; x < _run.picture.nWidth; ++x)
            {
                const uint8_t* const p = _run.picture.Row(y) + ptrdiff_t{4} * x;
                _run.result.Put(x, y,
                                {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]), 255});
            }
    });
}

void WritePixels(const UNMIX_RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    _run.runner.Step(eUS_Pixels);
    Pixels_TakePast(_run.field);
    _run.CellRows([&](int _nFirst, int _nRows) {
        Pixels_Pass(state, _run.field, _run.picture, _run.result, state.bSeen, _nFirst, _nRows);
    });
}

// What comes after the pixels: edges, and what an operator wants to see.
void FinishPixels(const UNMIX_RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    _run.runner.Step(eUS_Edges);
    if (Edges_Wanted(state))
        Edges_Change(state, _run.field, _run.picture, _run.result, _run.runner);
    if (!Views_Wanted(state, _run.picture))
        return;
    _run.runner.Step(eUS_Views);
    if (state.setup.params.fltShadows > 0)
        Views_FindShadows(state);
    _run.CellRows([&](int _nFirst, int _nRows) {
        Views_Pass(state, _run.field, _run.nField, _run.picture, _run.result, _nFirst, _nRows);
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
    if (_eWrite == eUW_All)
    {
        UnmixRun_Refine(run);
        WritePixels(run);
    }
    FinishPixels(run);
}
