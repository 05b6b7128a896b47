#include "ZChromaKey/Engine2/Unmix.h"

#include "Base/ZPixelFormats.h"
#include "Base/ZVideoProps.h"
#include "Image/ImgRowReader.h"
#include "ZChromaKey/Engine2/Bodies.h"
#include "ZChromaKey/Engine2/Chroma.h"
#include "ZChromaKey/Engine2/Classes.h"
#include "ZChromaKey/Engine2/Edges.h"
#include "ZChromaKey/Engine2/Fineness.h"
#include "ZChromaKey/Engine2/Noise.h"
#include "ZChromaKey/Engine2/Plate.h"
#include "ZChromaKey/Engine2/Screen.h"
#include "ZChromaKey/Engine2/Views.h"

#include <span>

namespace
{
constexpr int c_nRowsPerPart = 8;
constexpr float c_fltFilteredNoise = .75f;

// A stream may run for years.
void CountUp(int& _nCount)
{
    constexpr int c_nMost = 1 << 30;
    _nCount = std::min(_nCount + 1, c_nMost);
}

// One picture on its way through the passes.
struct RUN
{
    UNMIX_STATE& state;
    IRowRunner& runner;
    FIELD_STATE& field;
    int nField;
    UNMIX_PICTURE picture;
    UNMIX_SAMPLES samples;
    UNMIX_RESULT result;
    const CImgRowReader* pReader;   // fills the picture; null: it is the input itself
    const UNMIX_CELL_INPUT* pCells; // in place of pixels; null: there are pixels

    template <class T> void Rows(int _nRows, const T& _body) const
    {
        runner.Run(_nRows, c_nRowsPerPart, CRowPass(_body));
    }
    template <class T> void CellRows(const T& _body) const
    {
        Rows(field.cells.nHeight, _body);
    }
    template <class T> void PlateRows(const T& _body) const
    {
        Rows(state.nPlateHeight, _body);
    }
};

bool IsHeld(const UNMIX_STATE& _state, const UNMIX_SETUP& _setup)
{
    return _setup.params.eLearn == eUN_Hold && _state.bPlateSet;
}

void SetKeys(UNMIX_STATE& _state, const UNMIX_KEY* _pKeys, int _nKeys)
{
    _state.nKeys = std::min(_nKeys, c_nUnmixMaxKeys);
    for (int k = 0; k < _state.nKeys; ++k)
        _state.arrKeys[k] = Screen_Forms(_pKeys[k]);
}

// What a picture has in common with the one before.
struct SEEN
{
    bool bScreen; // what says which cells are backdrop
    bool bSetup;
};

// Takes over the setup of the next picture, and forgets what was learned where it is not of that stream.
SEEN TakeSetup(UNMIX_STATE& _state, const UNMIX_SETUP& _setup, const UNMIX_KIND& _kind)
{
    const SEEN seen = {UnmixSetup_SameScreen(_state.setup, _setup), UnmixSetup_Same(_state.setup, _setup)};
    const bool bKeys = !UnmixSetup_SameKeys(_state.setup, _setup) || (_state.nKeys == 0 && _setup.nKeys > 0);
    const bool bPlate = _state.setup.plate.pBGRA != _setup.plate.pBGRA;
    if (bKeys || bPlate || _kind != _state.kind || (!seen.bScreen && !IsHeld(_state, _setup)))
        Unmix_Restart(_state);
    if (bKeys)
        SetKeys(_state, _setup.arrKeys, _setup.nKeys);
    _state.kind = _kind;
    _state.setup = _setup;
    return seen;
}

// Another backdrop than the present keys': found where hardly anything of theirs is seen any more.
bool FindOtherKey(const RUN& _run, UNMIX_KEY* _pKey)
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
void TakeGivenPlate(const RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    if (!state.setup.plate.pBGRA)
        return;
    _run.PlateRows([&](int _nFirst, int _nRows) { Plate_GivenPass(state, _nFirst, _nRows); });
    Plate_GivenFinish(state);
}

void FindSure(const RUN& _run)
{
    _run.runner.Step(eUS_Screen);
    UNMIX_STATE& state = _run.state;
    FIELD_STATE& field = _run.field;
    _run.CellRows([&](int _nFirst, int _nRows) { Screen_Pass(state, field, _run.nField, _nFirst, _nRows); });
    const int nLimit = Screen_StepLimit(state, field);
    _run.CellRows([&](int _nFirst, int _nRows) { Screen_SmoothPass(state, field, nLimit, _nFirst, _nRows); });
    field.bitsSure.Erode(1, state.vecScratch);
    _run.PlateRows([&](int _nFirst, int _nRows) { Plate_SeenPass(state, field, _nFirst, _nRows); });
}

// Another scene: a cut, or no sure backdrop left while there is one of another colour.
bool IsNewScene(const RUN& _run, const PLATE_CHANGE& _change, UNMIX_KEY* _pKey)
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

void StartScene(const RUN& _run, const UNMIX_KEY& _key)
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

void LearnPlate(const RUN& _run)
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
        _run.Rows(state.lamps.arrLevels[0].nHeight,
                  [&](int _nFirst, int _nRows) { Plate_LampPass(state, _nFirst, _nRows); });
        Plate_LampFinish(state);
    }
    _run.PlateRows([&](int _nFirst, int _nRows) { Plate_LearnPass(state, _nFirst, _nRows); });
    Plate_Fill(state, _run.field);
    _run.PlateRows([&](int _nFirst, int _nRows) { Plate_OwnerPass(state, _nFirst, _nRows); });
}

void MeasureNoise(const RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    _run.runner.Step(eUS_Noise);
    if (state.nFrames == 0)
        Bodies_Measure(state, _run.field);
    _run.CellRows([&](int _nFirst, int _nRows) { Noise_Pass(state, _run.field, _run.picture, _nFirst, _nRows); });
    Noise_Learn(state);
}

void LearnNoise(const RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    if (!state.bPlateSet)
        return; // there is nothing to measure in
    MeasureNoise(_run);
    if (state.fltNoise > c_fltFilteredNoise && _run.field.vecPast.empty())
        Pixels_ForgetPast(_run.field);
    CountUp(state.nFrames);
}

// Nothing of the frames that come while the plate is held shows in later ones. Where it was given before anything was
// learned, nothing tells the noise but the picture itself.
void HoldPlate(const RUN& _run)
{
    _run.field.vecPast.clear();
    if (_run.state.nFrames > 0)
        return;
    _run.state.fltNoise = c_fltNoiseUnknown;
    _run.state.bNoiseKnown = false;
    MeasureNoise(_run);
}

void Classify(const RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    FIELD_STATE& field = _run.field;
    _run.runner.Step(eUS_Classes);
    _run.CellRows([&](int _nFirst, int _nRows) { Classes_Pass(state, field, _nFirst, _nRows); });
    Classes_Finish(state, field);
    _run.runner.Step(eUS_Foreground);
    _run.PlateRows([&](int _nFirst, int _nRows) { Foreground_Pass(state, field, _nFirst, _nRows); });
    Foreground_Fill(field);
}

// Of pictures whose pixels have chroma of their own. What is held stays as it is with the plate.
void MeasureFineness(const RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    const bool bFirstHeld = IsHeld(state, state.setup) && state.nFrames == 0;
    const bool bLearns = !IsHeld(state, state.setup) && !state.bSeen;
    if (_run.samples.eLayout != UNMIX_SAMPLES::eNone || _run.pCells || !(bLearns || bFirstHeld))
        return;
    if (bFirstHeld && _run.nField == 0)
        state.fineness = {};
    _run.CellRows([&](int _nFirst, int _nRows) { Fineness_Pass(state, _run.field, _run.picture, _nFirst, _nRows); });
    Fineness_Learn(state);
}

// The run with room for pixels that luma's detail makes better, if their chroma was shared once.
RUN WithSharedChroma(const RUN& _run)
{
    constexpr float c_fltGain = .5f; // a part of it is in chroma that has been made smooth
    RUN run = _run;
    UNMIX_STATE& state = run.state;
    const CHROMA_FINENESS fineness = Fineness_Of(state);
    if (run.samples.eLayout != UNMIX_SAMPLES::eNone || fineness.fltShared <= 0)
        return run;
    run.samples = Chroma_PixelSamples(run.picture, fineness.bRowsShare, !fineness.bRepeated,
                                      fineness.bRepeated ? 1.0f : c_fltGain * fineness.fltShared);
    const ptrdiff_t nDeepStride = ptrdiff_t{4} * state.nWidth;
    state.vecDeep.resize(static_cast<size_t>(nDeepStride) * state.nHeight);
    run.picture.pDeep0 = state.vecDeep.data() + run.nField * nDeepStride;
    run.picture.nDeepStride = nDeepStride * state.nFields;
    return run;
}

// Pixels that the planes know better than the 8-bit reader.
void Refine(const RUN& _run)
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

// The bytes of a field in 64ths of a level.
void Deepen(const RUN& _run)
{
    for (int y = 0; y < _run.picture.nHeight; ++y)
    {
        const uint8_t* const pRow = _run.picture.Row(y);
        const ptrdiff_t nSamples = ptrdiff_t{4} * _run.picture.nWidth;
        uint16_t* const pDeep = _run.state.vecDeep.data() + (_run.nField + y * _run.state.nFields) * nSamples;
        std::transform(pRow, pRow + nSamples, pDeep, [](uint8_t _n) { return static_cast<uint16_t>(_n << 6); });
    }
}

void PassThrough(const RUN& _run)
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

// Reads the pixels of rows of cells.
void ReadRows(const RUN& _run, int _nFirst, int _nRows)
{
    const int nFields = _run.state.nFields;
    const ptrdiff_t nStride = ptrdiff_t{4} * _run.picture.nWidth; // of the frame
    for (int y = _nFirst * c_nCell; y < std::min((_nFirst + _nRows) * c_nCell, _run.picture.nHeight); ++y)
    {
        const int nRow = y * nFields + _run.nField;
        _run.pReader->ReadRow(nRow, _run.state.vecPicture.data() + nRow * nStride);
    }
}

// Cells in place of pixels.
void TakeCells(const RUN& _run)
{
    UNMIX_CELLS& cells = _run.field.cells;
    const ptrdiff_t nStride = _run.pCells->nStride;
    const uint8_t* const pCells0 =
        _run.pCells->pRow0 + _run.nField * (cells.nHeight + (cells.nHeight + 1) / 3) * nStride;
    _run.CellRows([&](int _nFirst, int _nRows) {
        Cells_TakePass(pCells0, nStride, cells, _run.state.vecChanged.data(), _nFirst, _nRows);
    });
    Cells_TakePixels(pCells0 + cells.nHeight * nStride, nStride, cells, _run.picture,
                     _run.state.vecPicture.data() + ptrdiff_t{4} * _run.nField * _run.picture.nWidth);
}

// Of pixels that are still in the cache.
void MakeCells(const RUN& _run)
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
    });
}

// Whether the field shows what it showed before.
bool ReadCells(const RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    _run.runner.Step(eUS_Cells);
    if (_run.pCells)
        TakeCells(_run);
    else
        MakeCells(_run);
    return _run.field.bKnown &&
           std::none_of(state.vecChanged.begin(), state.vecChanged.end(), [](uint8_t _n) { return _n != 0; });
}

void FindKey(const RUN& _run)
{
    UNMIX_KEY key;
    _run.runner.Step(eUS_Screen);
    if (_run.state.nKeys == 0 && Screen_FindKey(_run.field.cells, &key))
        SetKeys(_run.state, &key, 1);
}

// What the cells teach. A picture that was seen before teaches nothing, so it is not held against the plate that it has
// taught: its sure cells stay what they were.
void LearnCells(const RUN& _run, const SEEN& _seen, bool _bSeenBefore)
{
    UNMIX_STATE& state = _run.state;
    if (!state.bPlateSet)
        TakeGivenPlate(_run);
    if (!_bSeenBefore || !_seen.bScreen)
        FindSure(_run);
    if (IsHeld(state, state.setup))
        HoldPlate(_run);
    else if (!_bSeenBefore)
    {
        LearnPlate(_run);
        LearnNoise(_run);
    }
}

void WritePixels(const RUN& _run)
{
    UNMIX_STATE& state = _run.state;
    _run.runner.Step(eUS_Pixels);
    Pixels_TakePast(_run.field);
    _run.CellRows([&](int _nFirst, int _nRows) {
        Pixels_Pass(state, _run.field, _run.picture, _run.result, state.bSeen, _nFirst, _nRows);
    });
}

// What comes after the pixels: edges, and what an operator wants to see.
void FinishPixels(const RUN& _run)
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

// All fields are learned from before the first is keyed, so that a frame that comes again is keyed with the same plate.
HRESULT LearnFields(std::span<const RUN> _runs, const SEEN& _seen)
{
    UNMIX_STATE& state = _runs[0].state;
    state.bSeen = true;
    for (const RUN& run : _runs)
        state.bSeen &= ReadCells(run);
    for (const RUN& run : _runs)
        FindKey(run);
    if (state.nKeys == 0)
        return S_FALSE;
    for (const RUN& run : _runs)
        LearnCells(run, _seen, state.bSeen);
    for (const RUN& run : _runs)
    {
        if (!state.bSeen || !_seen.bSetup)
        {
            Classify(run);
            MeasureFineness(run);
        }
        run.field.bKnown = true;
    }
    state.bSure = std::any_of(_runs.begin(), _runs.end(), [](const RUN& _r) { return _r.field.bitsSure.Count() > 0; });
    return S_OK;
}

void WriteField(const RUN& _run, eUnmixWrite _eWrite)
{
    if (_run.state.nKeys == 0)
        return PassThrough(_run);
    const RUN run = WithSharedChroma(_run);
    if (_eWrite == eUW_All)
    {
        Refine(run);
        WritePixels(run);
    }
    FinishPixels(run);
}

// The rows of one field of a picture.
UNMIX_PICTURE FieldOf(UNMIX_STATE& _state, const UNMIX_PICTURE& _picture, const UNMIX_SAMPLES& _samples, int _nField)
{
    UNMIX_PICTURE field = _picture;
    field.pRow0 += _nField * _picture.nStride;
    field.nStride *= _state.nFields;
    if (Chroma_Field(_samples, _nField, _state.nFields).eLayout != UNMIX_SAMPLES::eNone)
    {
        const ptrdiff_t nDeepStride = ptrdiff_t{4} * _picture.nWidth;
        _state.vecDeep.resize(static_cast<size_t>(nDeepStride) * _picture.nHeight);
        field.pDeep0 = _state.vecDeep.data() + _nField * nDeepStride;
        field.nDeepStride = nDeepStride * _state.nFields;
        field.bDeepSolid = _samples.IsDeep();
    }
    field.nHeight = _state.arrFields[_nField].nRows;
    return field;
}

UNMIX_RESULT FieldOf(const UNMIX_STATE& _state, const UNMIX_RESULT& _result, int _nField)
{
    return {static_cast<uint8_t*>(_result.pRow0) + _nField * _result.nStride, _result.nStride * _state.nFields,
            _result.bWords};
}

// Room for a picture.
UNMIX_PICTURE OwnPicture(UNMIX_STATE& _state, const ZF_VID_PROPS& _vidProps)
{
    UNMIX_PICTURE picture;
    picture.nWidth = _vidProps.nWidth;
    picture.nHeight = std::abs(_vidProps.nHeight);
    picture.bAlpha = FCC_HasAlpha(_vidProps.fccType);
    picture.nStride = ptrdiff_t{4} * picture.nWidth;
    _state.vecPicture.resize(static_cast<size_t>(picture.nStride) * picture.nHeight);
    picture.pRow0 = _state.vecPicture.data();
    return picture;
}

// The input where it can be read in place, else room for it.
UNMIX_PICTURE PictureOf(UNMIX_STATE& _state, const CImgRowReader& _reader, const UNMIX_INPUT& _input)
{
    UNMIX_PICTURE picture;
    if (!_reader.IsInPlace())
        return OwnPicture(_state, _input.vidProps);
    picture.nWidth = _reader.Width();
    picture.nHeight = _reader.Height();
    picture.bAlpha = FCC_HasAlpha(_input.vidProps.fccType);
    picture.pRow0 = _reader.RowInPlace(0);
    picture.nStride = _input.vidPtr.cbVideoRowBytes[0];
    return picture;
}

// A frame on its way: what its pictures are read from.
struct SOURCE
{
    CImgRowReader reader;
    UNMIX_PICTURE picture;
    UNMIX_SAMPLES samples;
    const UNMIX_CELL_INPUT* pCells = nullptr;

    HRESULT Open(const UNMIX_INPUT& _input)
    {
        return reader.Init(_input.vidProps, _input.vidPtr, _input.eMatrix);
    }
    void Take(UNMIX_STATE& _state, const UNMIX_INPUT& _input)
    {
        picture = PictureOf(_state, reader, _input);
        samples = Chroma_Samples(_input.vidProps, _input.vidPtr, reader.Matrix());
    }
};

// Calls _body with the runs of the fields.
template <class T> auto WithRuns(UNMIX_STATE& _state, const SOURCE& _source, const UNMIX_RESULT& _result,
                                 IRowRunner& _runner, const T& _body)
{
    const auto RunOf = [&](int _nField) {
        return RUN{_state,
                   _runner,
                   _state.arrFields[_nField],
                   _nField,
                   FieldOf(_state, _source.picture, _source.samples, _nField),
                   Chroma_Field(_source.samples, _nField, _state.nFields),
                   FieldOf(_state, _result, _nField),
                   _source.pCells || _source.reader.IsInPlace() ? nullptr : &_source.reader,
                   _source.pCells};
    };
    const RUN arrRuns[2] = {RunOf(0), RunOf(_state.nFields - 1)};
    return _body(std::span<const RUN>(arrRuns, static_cast<size_t>(_state.nFields)));
}

// Makes room for a picture of that kind, and takes over its setup.
SEEN Begin(UNMIX_STATE& _state, const UNMIX_SETUP& _setup, const ZF_VID_PROPS& _vidProps, eZYMatrix _eMatrix)
{
    const int nHeight = std::abs(_vidProps.nHeight);
    const int nFields = nHeight > 1 && VidProps_FieldOrder(&_vidProps) != 0 ? 2 : 1;
    if (_state.nWidth != _vidProps.nWidth || _state.nHeight != nHeight || _state.nFields != nFields)
        UnmixState_Resize(_state, _vidProps.nWidth, nHeight, nFields);
    return TakeSetup(_state, _setup, {_vidProps.fccType, static_cast<int>(_eMatrix)});
}

void WriteFields(std::span<const RUN> _runs, eUnmixWrite _eWrite)
{
    for (const RUN& run : _runs)
        WriteField(run, _eWrite);
}

// Opens a picture and calls _body(runs, seen) with its fields.
template <class T> HRESULT WithInput(UNMIX_STATE& _state, const UNMIX_SETUP& _setup, const UNMIX_INPUT& _input,
                                     const UNMIX_RESULT& _result, IRowRunner& _runner, const T& _body)
{
    SOURCE source;
    const HRESULT hr = source.Open(_input);
    if (FAILED(hr))
        return hr;
    const SEEN seen = Begin(_state, _setup, _input.vidProps, source.reader.Matrix());
    source.Take(_state, _input);
    return WithRuns(_state, source, _result, _runner, [&](std::span<const RUN> _runs) { return _body(_runs, seen); });
}
} // namespace

HRESULT Unmix_Frame(UNMIX_STATE& _state, const UNMIX_SETUP& _setup, const UNMIX_INPUT& _input,
                    const UNMIX_RESULT& _result, IRowRunner& _runner)
{
    return WithInput(_state, _setup, _input, _result, _runner, [](std::span<const RUN> _runs, const SEEN& _seen) {
        const HRESULT hrLearned = LearnFields(_runs, _seen);
        WriteFields(_runs, eUW_All);
        return hrLearned;
    });
}

HRESULT Unmix_Learn(UNMIX_STATE& _state, const UNMIX_SETUP& _setup, const UNMIX_INPUT& _input, IRowRunner& _runner)
{
    return WithInput(_state, _setup, _input, {}, _runner,
                     [](std::span<const RUN> _runs, const SEEN& _seen) { return LearnFields(_runs, _seen); });
}

HRESULT Unmix_LearnCells(UNMIX_STATE& _state, const UNMIX_SETUP& _setup, const UNMIX_CELL_INPUT& _input,
                         IRowRunner& _runner)
{
    const SEEN seen = Begin(_state, _setup, _input.vidProps, _input.eMatrix);
    SOURCE source;
    source.picture = OwnPicture(_state, _input.vidProps);
    source.pCells = &_input;
    return WithRuns(_state, source, {}, _runner, [&](std::span<const RUN> _runs) { return LearnFields(_runs, seen); });
}

HRESULT Unmix_Open(UNMIX_STATE& _state, const UNMIX_INPUT& _input, IRowRunner& _runner, UNMIX_PICTURE* _pPicture)
{
    SOURCE source;
    const HRESULT hr = source.Open(_input);
    if (FAILED(hr))
        return hr;
    source.Take(_state, _input);
    *_pPicture = source.picture;
    const bool bDeep = source.samples.eLayout != UNMIX_SAMPLES::eNone || Fineness_Of(_state).fltShared > 0;
    if (_state.nKeys == 0 || !bDeep)
        return _state.nKeys == 0 ? S_FALSE : S_OK;
    return WithRuns(_state, source, {}, _runner, [&](std::span<const RUN> _runs) {
        for (const RUN& field : _runs)
        {
            const RUN run = WithSharedChroma(field);
            run.picture.pDeep0 ? Refine(run) : Deepen(run);
        }
        _pPicture->pDeep0 = _state.vecDeep.data();
        _pPicture->nDeepStride = ptrdiff_t{4} * _state.nWidth;
        _pPicture->bDeepSolid = source.samples.IsDeep();
        return S_OK;
    });
}

HRESULT Unmix_Write(UNMIX_STATE& _state, const UNMIX_INPUT& _input, const UNMIX_RESULT& _result, IRowRunner& _runner,
                    eUnmixWrite _eWrite)
{
    SOURCE source;
    const HRESULT hr = source.Open(_input);
    if (FAILED(hr))
        return hr;
    source.Take(_state, _input);
    return WithRuns(_state, source, _result, _runner, [&](std::span<const RUN> _runs) {
        WriteFields(_runs, _eWrite);
        return _state.nKeys == 0 ? S_FALSE : S_OK;
    });
}

void Unmix_Restart(UNMIX_STATE& _state)
{
    Plate_Forget(_state);
    _state.bPlateSet = false;
    _state.fltNoise = c_fltNoiseUnknown;
    _state.bNoiseKnown = false;
    _state.fineness = {};
    _state.nFrames = 0;
    _state.nUnfilled = 0;
    for (FIELD_STATE& field : _state.arrFields)
    {
        field.bKnown = false;
        field.vecPast.clear();
    }
    for (KEY_FORMS& key : _state.arrKeys)
    {
        key.fltWedge = 1;
        key.fltCloth = 0;
    }
    if (_state.setup.nKeys == 0)
        _state.nKeys = 0;
}

UNMIX_STATS Unmix_Stats(const UNMIX_STATE& _state)
{
    UNMIX_STATS stats;
    float fltCells = 0;
    for (int n = 0; n < _state.nFields; ++n)
    {
        const FIELD_STATE& field = _state.arrFields[n];
        fltCells += static_cast<float>(field.cells.vecSum.size());
        stats.fltBackdrop += static_cast<float>(field.bitsBackdrop.Count());
        stats.fltMixed += static_cast<float>(field.bitsMixed.Count());
        stats.fltSolid += static_cast<float>(field.bitsSolid.Count());
    }
    const float fltShare = fltCells > 0 ? 1 / fltCells : 0;
    stats.fltBackdrop *= fltShare;
    stats.fltMixed *= fltShare;
    stats.fltSolid *= fltShare;
    stats.fltNoise = _state.fltNoise;
    stats.nPlateFrames = (_state.nFrames + _state.nFields - 1) / std::max(_state.nFields, 1);
    stats.nCuts = _state.nCuts;
    return stats;
}
