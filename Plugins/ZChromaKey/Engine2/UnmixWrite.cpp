#include "ZChromaKey/Engine2/Chroma.h"
#include "ZChromaKey/Engine2/Edges.h"
#include "ZChromaKey/Engine2/Fineness.h"
#include "ZChromaKey/Engine2/UnmixRun.h"
#include "ZChromaKey/Engine2/Views.h"

#include <algorithm>

namespace
{
// Pixels of a row of cells from column _nX on.
void PassPixels(const UNMIX_RUN& _run, int _nX, int _nPixels, int _nY)
{
    uint8_t arrRoom[4 * c_nCell * c_nReadPixels];
    const uint8_t* arrRows[c_nCell];
    _run.picture.CellRows(_nY, _nX, _nPixels, arrRoom, arrRows);
    for (int n = 0; n < std::min(c_nCell, _run.picture.nHeight - _nY * c_nCell); ++n)
        for (int x = 0; x < _nPixels; ++x)
        {
            const uint8_t* const p = arrRows[n] + ptrdiff_t{4} * x;
            _run.result.Put(_nX + x, _nY * c_nCell + n,
                            {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]), 255});
        }
}

void PassThrough(const UNMIX_RUN& _run)
{
    _run.CellRows([&](int _nFirst, int _nRows) {
        for (int y = _nFirst; y < _nFirst + _nRows; ++y)
        {
            for (int x = 0; x < _run.picture.nWidth; x += c_nReadPixels)
                PassPixels(_run, x, std::min(c_nReadPixels, _run.picture.nWidth - x), y);
            for (int n = y * c_nCell; n < std::min((y + 1) * c_nCell, _run.picture.nHeight); ++n)
                _run.result.Done(n);
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
    const auto Write = [&](const UNMIX_PICTURE& _picture, int _nFirst, int _nRows) {
        Pixels_Pass(state, _run.field, _picture, result, state.bSeen, _nFirst, _nRows);
    };
    if (_run.samples.eLayout == UNMIX_SAMPLES::eNone || _run.picture.pDeep0)
        return _run.CellRows([&](int _nFirst, int _nRows) { Write(_run.picture, _nFirst, _nRows); });
    state.rooms.Make(Chroma_RoomBytes(state.nWidth));
    _run.CellRows([&](int _nFirst, int _nRows) {
        const CPassRooms::ROOM room(state.rooms);
        for (int y = _nFirst; y < _nFirst + _nRows; y += c_nPassPart)
        {
            const int nRows = std::min(c_nPassPart, _nFirst + _nRows - y);
            Write(Chroma_PartPass(state, _run.field, _run.samples, _run.picture, room, y, nRows), y, nRows);
        }
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
    const UNMIX_SAMPLES samples = Fineness_Samples(run.state, run.picture);
    if (run.samples.eLayout != UNMIX_SAMPLES::eNone || samples.eLayout == UNMIX_SAMPLES::eNone)
        return run;
    run.samples = samples;
    return run;
}

UNMIX_RUN UnmixRun_WithDeep(const UNMIX_RUN& _run)
{
    UNMIX_RUN run = _run;
    UNMIX_STATE& state = run.state;
    const ptrdiff_t nStride = ptrdiff_t{4} * state.nWidth;
    state.vecDeep.resize(static_cast<size_t>(nStride) * state.nHeight);
    run.picture.pDeep0 = state.vecDeep.data() + run.nField * nStride;
    run.picture.nDeepStride = nStride * state.nFields;
    return run;
}

void UnmixRun_Refine(const UNMIX_RUN& _run)
{
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
    const UNMIX_RUN runShared = UnmixRun_WithSharedChroma(_run);
    const bool bKeepDeep = runShared.result.bKeepDeep && runShared.samples.eLayout != UNMIX_SAMPLES::eNone;
    const UNMIX_RUN run = bKeepDeep ? UnmixRun_WithDeep(runShared) : runShared;
    const bool bEdges = Edges_Wanted(run.state), bViews = Views_Wanted(run.state, run.picture);
    if (_eWrite == eUW_All)
    {
        if (bKeepDeep)
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
