#include "Base/ZPixelFormats.h"
#include "ZChromaKey/Engine2/Bodies.h"
#include "ZChromaKey/Engine2/Cells.h"
#include "ZChromaKey/Engine2/Classes.h"
#include "ZChromaKey/Engine2/Fineness.h"
#include "ZChromaKey/Engine2/Glare.h"
#include "ZChromaKey/Engine2/Noise.h"
#include "ZChromaKey/Engine2/Plate.h"
#include "ZChromaKey/Engine2/Screen.h"
#include "ZChromaKey/Engine2/UnmixRun.h"

#include <algorithm>

namespace
{
constexpr float c_fltFilteredNoise = .75f;

// A stream may run for years.
void CountUp(int& _nCount)
{
    constexpr int c_nMost = 1 << 30;
    _nCount = std::min(_nCount + 1, c_nMost);
}

void SetKeys(UNMIX_STATE& _state, const UNMIX_KEY* _pKeys, int _nKeys)
{
    _state.nKeys = std::min(_nKeys, c_nUnmixMaxKeys);
    for (int k = 0; k < _state.nKeys; ++k)
        _state.arrKeys[k] = Screen_Forms(_pKeys[k]);
    for (FIELD_STATE& field : _state.arrFields)
        field.bScreened = false;
}

// Another backdrop than the present keys': found where hardly anything of theirs is seen any more.
bool FindOtherKey(const UNMIX_RUN& _run, UNMIX_KEY* _pKey)
{
    UNMIX_STATE& state = _run.state;
    if (!Screen_FindKey(_run.field.cells, _pKey))
        return false;
    const KEY_FORMS& key = state.arrKeys[0];
    const float* const p = _pKey->arrBGR;
    const float fltX = key.X(p[0], p[1], p[2]);
    const float fltZ = key.Z(p[0], p[1], p[2]) - key.fltSlope * fltX;
    return fltX < .3f * key.fltX || (fltZ < 0 ? -fltZ : fltZ) > .3f * fltX;
}

// The plate that is given, if there is one, as what was seen until now.
void TakeGivenPlate(const UNMIX_RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    if (!state.setup.plate.pBGRA)
        return;
    _run.PlateRows([&](int _nFirst, int _nRows) { Plate_GivenPass(state, _nFirst, _nRows); });
    Plate_GivenFinish(state);
}

void FindSure(const UNMIX_RUN& _run)
{
    _run.runner.Step(eUS_Screen);
    UNMIX_STATE& state = _run.state;
    FIELD_STATE& field = _run.field;
    if (!field.bScreened)
        _run.CellRows([&](int _nFirst, int _nRows) { Screen_Pass(state, field, _run.nField, _nFirst, _nRows); });
    const int nLimit = Screen_StepLimit(state, field);
    _run.PlateRows([&](int _nFirst, int _nRows) {
        Screen_SurePass(state, field, nLimit, 2 * _nFirst, _run.CellsOf(_nFirst, _nRows));
        Plate_SeenPass(state, field, _nFirst, _nRows);
    });
}

// Another scene: a cut, or no sure backdrop left while there is one of another colour.
bool IsNewScene(const UNMIX_RUN& _run, const PLATE_CHANGE& _change, UNMIX_KEY* _pKey)
{
    const bool bAutomatic = _run.state.setup.nKeys == 0;
    if (_change.bCut)
    {
        if (!bAutomatic || !Screen_FindKey(_run.field.cells, _pKey))
            *_pKey = _run.state.arrKeys[0].key;
        return true;
    }
    return bAutomatic && _run.field.bitsSure.Count() * 50 < static_cast<int>(_run.field.cells.vecSum.size()) &&
           FindOtherKey(_run, _pKey);
}

void StartScene(const UNMIX_RUN& _run, const UNMIX_KEY& _key)
{
    Unmix_Restart(_run.state);
    CountUp(_run.state.nCuts);
    if (_run.state.setup.nKeys == 0)
        SetKeys(_run.state, &_key, 1);
    else
        SetKeys(_run.state, _run.state.setup.arrKeys, _run.state.setup.nKeys);
    TakeGivenPlate(_run);
    FindSure(_run);
}

// Whether noise was measured where the plate has just learnt: what is filled in afterwards has no part in it.
bool LearnPlate(const UNMIX_RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    _run.runner.Step(eUS_Plate);
    PLATE_CHANGE change = Plate_Compare(state);
    UNMIX_KEY key;
    // A plate that was given just now may have been taken in another light; that is no cut.
    if (state.bPlateSet && state.nFrames > 0 && IsNewScene(_run, change, &key))
    {
        StartScene(_run, key);
        _run.runner.Step(eUS_Plate);
        change = Plate_Compare(state);
    }
    if (change.bEnough)
    {
        state.gain = change.gain;
        Plate_FindLamps(state);
    }
    const bool bNoise = state.nFrames > 0; // the forms that it is measured in are known
    _run.PlateRows([&](int _nFirst, int _nRows) {
        Plate_LearnPass(state, _nFirst, _nRows);
        if (bNoise)
            Noise_Pass(state, _run.field, 2 * _nFirst, _run.CellsOf(_nFirst, _nRows));
    });
    Plate_Fill(state, _run.field);
    return bNoise;
}

void MeasureNoise(const UNMIX_RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    _run.runner.Step(eUS_Noise);
    if (state.nFrames == 0)
        Bodies_Measure(state, _run.field);
    _run.CellRows([&](int _nFirst, int _nRows) { Noise_Pass(state, _run.field, _nFirst, _nRows); });
}

void LearnNoise(const UNMIX_RUN& _run, bool _bMeasured)
{
    UNMIX_STATE& state = _run.state;
    if (!state.bPlateSet)
        return; // there is nothing to measure in
    if (!_bMeasured)
        MeasureNoise(_run);
    Noise_Learn(state);
    if (state.fltNoise > c_fltFilteredNoise && _run.field.vecPast.empty())
        Pixels_ForgetPast(_run.field);
    CountUp(state.nFrames);
}

// Nothing of the frames that come while the plate is held shows in later ones. Where it was given before anything was
// learned, nothing tells the noise but the picture itself.
void HoldPlate(const UNMIX_RUN& _run)
{
    _run.field.vecPast.clear();
    if (_run.state.nFrames > 0)
        return;
    _run.state.fltNoise = c_fltNoiseUnknown;
    _run.state.bNoiseKnown = false;
    MeasureNoise(_run);
    Noise_Learn(_run.state);
}

// Means of the foreground by rows, and glare by columns: neither needs the other. Columns come between rows, evenly, so
// that a thread has the rows that it has in other passes.
void MeanForeground(const UNMIX_RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    FIELD_STATE& field = _run.field;
    constexpr int c_nPairs = c_nPassPart / 2;
    constexpr int c_nColumns = 32; // two lines of the cache in each row
    const int nPairs = Foreground_Pairs(field), nColumnParts = (state.nPlateWidth + c_nColumns - 1) / c_nColumns;
    const int nParts = (nPairs + c_nPairs - 1) / c_nPairs + nColumnParts;
    const auto Part = [&](int _nPart) {
        const int nColumnPart = _nPart * nColumnParts / nParts; // so many are before it
        const int nFirst = (_nPart - nColumnPart) * c_nPairs, nColumn = nColumnPart * c_nColumns;
        if ((_nPart + 1) * nColumnParts / nParts == nColumnPart)
            Foreground_Pass(state, field, nFirst, std::min(c_nPairs, nPairs - nFirst));
        else
            Glare_AcrossPass(state, field, nColumn, std::min(c_nColumns, state.nPlateWidth - nColumn));
    };
    _run.runner.Run(nParts, 1, CRowPass([&](int _nFirst, int _nParts) {
                        for (int n = _nFirst; n < _nFirst + _nParts; ++n)
                            Part(n);
                    }));
}

void Classify(const UNMIX_RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    FIELD_STATE& field = _run.field;
    _run.runner.Step(eUS_Classes);
    _run.PlateRows([&](int _nFirst, int _nRows) {
        Classes_Pass(state, field, 2 * _nFirst, _run.CellsOf(_nFirst, _nRows));
        Glare_Pass(state, field, _nFirst, _nRows);
    });
    Classes_Finish(state, field);
    _run.runner.Step(eUS_Foreground);
    MeanForeground(_run);
    Foreground_Spread(field);
}

// Of pictures whose pixels have chroma of their own. What is held stays as it is with the plate.
bool IsFinenessMeasured(const UNMIX_RUN& _run)
{
    const UNMIX_STATE& state = _run.state;
    const bool bHeld = UnmixRun_IsHeld(state, state.setup);
    const bool bShares =
        _run.samples.eLayout != UNMIX_SAMPLES::eNone || (_run.pCells && !FCC_IsRGB(_run.pCells->vidProps.fccType));
    return !bShares && (bHeld ? state.nFrames == 0 : !state.bSeen);
}

// The foreground plate is finished, and fineness measured, which needs the classes alone.
void FinishClasses(const UNMIX_RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    FIELD_STATE& field = _run.field;
    const bool bFineness = IsFinenessMeasured(_run);
    _run.PlateRows([&](int _nFirst, int _nRows) {
        Foreground_FillPass(field, _nFirst, _nRows);
        if (bFineness)
            Fineness_Pass(state, field, _run.picture, 2 * _nFirst, _run.CellsOf(_nFirst, _nRows));
    });
    if (!bFineness)
        return;
    if (UnmixRun_IsHeld(state, state.setup) && _run.nField == 0)
        state.fineness = {};
    Fineness_Learn(state);
}

// Reads the pixels of rows of cells.
void ReadRows(const UNMIX_RUN& _run, int _nFirst, int _nRows)
{
    const int nFields = _run.state.nFields;
    const ptrdiff_t nStride = ptrdiff_t{4} * _run.picture.nWidth; // of the frame
    for (int y = _nFirst * c_nCell; y < std::min((_nFirst + _nRows) * c_nCell, _run.picture.nHeight); ++y)
    {
        const int nRow = y * nFields + _run.nField;
        const int nNext = y + 1 < _run.picture.nHeight ? nRow + nFields : nRow;
        _run.pReader->ReadRow(nRow, _run.state.vecPicture.data() + nRow * nStride, nNext);
    }
}

// Cells in place of pixels.
void TakeCells(const UNMIX_RUN& _run)
{
    UNMIX_CELLS& cells = _run.field.cells;
    const ptrdiff_t nStride = _run.pCells->nStride;
    const CELL_INPUT_ROWS rows = Cells_InputRows(_run.pCells->vidProps);
    const uint8_t* const pCells0 = _run.pCells->pRow0 + _run.nField * rows.OfField() * nStride;
    _run.CellRows([&](int _nFirst, int _nRows) {
        Cells_TakePass(pCells0, nStride, cells, _run.state.vecChanged.data(), _nFirst, _nRows);
    });
    Cells_TakePairs(pCells0 + rows.nCells * nStride, nStride, cells);
    if (rows.nFine > 0)
        Fineness_TakePixels(pCells0 + (rows.nCells + rows.nNoise) * nStride, nStride, cells, _run.picture,
                            _run.state.vecPicture.data() + ptrdiff_t{4} * _run.nField * _run.picture.nWidth);
}

// Of pixels that are still in the cache. Where there is a key, cells are held against it while they are, too.
void MakeCells(const UNMIX_RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    // The lesser of two fields may have a row of cells that only repeats pixels of the row above it.
    const bool bApart = (_run.field.cells.nHeight - 1) * c_nCell >= _run.picture.nHeight;
    if (_run.pReader && bApart)
        _run.CellRows([&](int _nFirst, int _nRows) { ReadRows(_run, _nFirst, _nRows); });
    _run.CellRows([&](int _nFirst, int _nRows) {
        if (_run.pReader && !bApart)
            ReadRows(_run, _nFirst, _nRows);
        Cells_Pass(*state.pKernels, _run.picture, _run.field.cells, state.vecChanged.data(), _nFirst, _nRows);
        if (state.nKeys > 0)
            Screen_Pass(state, _run.field, _run.nField, _nFirst, _nRows);
    });
    _run.field.bScreened = state.nKeys > 0;
}

// Whether the field shows what it showed before.
bool ReadCells(const UNMIX_RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    _run.runner.Step(eUS_Cells);
    _run.field.bScreened = false;
    if (_run.pCells)
        TakeCells(_run);
    else
        MakeCells(_run);
    return _run.field.bKnown &&
           std::none_of(state.vecChanged.begin(), state.vecChanged.end(), [](uint8_t _n) { return _n != 0; });
}

void FindKey(const UNMIX_RUN& _run)
{
    UNMIX_KEY key;
    _run.runner.Step(eUS_Screen);
    if (_run.state.nKeys == 0 && Screen_FindKey(_run.field.cells, &key))
        SetKeys(_run.state, &key, 1);
}

// What the cells teach. A picture that was seen before teaches nothing, so it is not held against the plate that it has
// taught: its sure cells stay what they were.
void LearnCells(const UNMIX_RUN& _run, const UNMIX_SEEN& _seen, bool _bSeenBefore)
{
    UNMIX_STATE& state = _run.state;
    if (!state.bPlateSet)
        TakeGivenPlate(_run);
    if (!_bSeenBefore || !_seen.bScreen)
        FindSure(_run);
    if (UnmixRun_IsHeld(state, state.setup))
        HoldPlate(_run);
    else if (!_bSeenBefore)
    {
        const bool bMeasured = LearnPlate(_run);
        LearnNoise(_run, bMeasured);
    }
}
} // namespace

bool UnmixRun_IsHeld(const UNMIX_STATE& _state, const UNMIX_SETUP& _setup)
{
    return _setup.params.eLearn == eUN_Hold && _state.bPlateSet;
}

UNMIX_SEEN UnmixRun_TakeSetup(UNMIX_STATE& _state, const UNMIX_SETUP& _setup, const UNMIX_KIND& _kind)
{
    const UNMIX_SEEN seen = {UnmixSetup_SameScreen(_state.setup, _setup), UnmixSetup_Same(_state.setup, _setup)};
    const bool bKeys = !UnmixSetup_SameKeys(_state.setup, _setup) || (_state.nKeys == 0 && _setup.nKeys > 0);
    const bool bPlate = _state.setup.plate.pBGRA != _setup.plate.pBGRA;
    if (bKeys || bPlate || _kind != _state.kind || (!seen.bScreen && !UnmixRun_IsHeld(_state, _setup)))
        Unmix_Restart(_state);
    if (bKeys)
        SetKeys(_state, _setup.arrKeys, _setup.nKeys);
    _state.kind = _kind;
    _state.setup = _setup;
    return seen;
}

// All fields are learned from before the first is keyed, so that a frame that comes again is keyed with the same plate.
HRESULT UnmixRun_Learn(std::span<const UNMIX_RUN> _runs, const UNMIX_SEEN& _seen)
{
    UNMIX_STATE& state = _runs[0].state;
    state.bSeen = true;
    for (const UNMIX_RUN& run : _runs)
        state.bSeen &= ReadCells(run);
    for (const UNMIX_RUN& run : _runs)
        FindKey(run);
    if (state.nKeys == 0)
        return S_FALSE;
    for (const UNMIX_RUN& run : _runs)
        LearnCells(run, _seen, state.bSeen);
    for (const UNMIX_RUN& run : _runs)
    {
        if (!state.bSeen || !_seen.bSetup)
        {
            Classify(run);
            FinishClasses(run);
        }
        run.field.bKnown = true;
    }
    state.bSure =
        std::any_of(_runs.begin(), _runs.end(), [](const UNMIX_RUN& _r) { return _r.field.bitsSure.Count() > 0; });
    return S_OK;
}
