#include "ZChromaKey/Engine2/Unmix.h"

#include "Base/ZPixelFormats.h"
#include "Base/ZVideoProps.h"
#include "ZChromaKey/Engine2/Chroma.h"
#include "ZChromaKey/Engine2/Fineness.h"
#include "ZChromaKey/Engine2/Plate.h"
#include "ZChromaKey/Engine2/UnmixRun.h"
#include "ZChromaKey/Engine2/Views.h"

namespace
{
// The rows of one field of a picture.
UNMIX_PICTURE FieldOf(const UNMIX_STATE& _state, const UNMIX_PICTURE& _picture, const UNMIX_SAMPLES& _samples,
                      int _nField)
{
    UNMIX_PICTURE field = _picture;
    if (field.pRow0)
        field.pRow0 += _nField * _picture.nStride;
    field.nStride *= _state.nFields;
    field.nFirst = _nField;
    field.nStep = _state.nFields;
    const bool bSamples = Chroma_Field(_samples, _nField, _state.nFields).eLayout != UNMIX_SAMPLES::eNone;
    field.bDeepSolid = bSamples && _samples.IsDeep();
    field.nHeight = _state.arrFields[_nField].nRows;
    return field;
}

UNMIX_RESULT FieldOf(const UNMIX_STATE& _state, const UNMIX_RESULT& _result, int _nField)
{
    UNMIX_RESULT field = _result;
    field.pRow0 = static_cast<uint8_t*>(_result.pRow0) + _nField * _result.nStride;
    field.nStride *= _state.nFields;
    field.nFirst = _nField;
    field.nStep = _state.nFields;
    return field;
}

// A picture without its pixels.
UNMIX_PICTURE PictureOf(const ZF_VID_PROPS& _vidProps)
{
    UNMIX_PICTURE picture;
    picture.nWidth = _vidProps.nWidth;
    picture.nHeight = std::abs(_vidProps.nHeight);
    picture.bAlpha = FCC_HasAlpha(_vidProps.fccType);
    return picture;
}

// Whether nothing but rows of whole cells is needed of the pixels that the reader makes: mixed cells are made of the
// samples.
bool AreSamplesEnough(const UNMIX_STATE& _state, const UNMIX_SAMPLES& _samples, const UNMIX_PICTURE& _picture)
{
    for (int n = 0; n < _state.nFields; ++n)
        if (Chroma_Field(_samples, n, _state.nFields).eLayout == UNMIX_SAMPLES::eNone)
            return false;
    return !Views_Wanted(_state, _picture);
}

// A frame on its way: what its pictures are read from.
struct SOURCE
{
    CImgRowReader reader;
    UNMIX_PICTURE picture;
    UNMIX_SAMPLES samples;
    const CImgRowReader* pFill = nullptr; // what puts the pixels into the picture; null: they are read from the input
    const UNMIX_CELL_INPUT* pCells = nullptr;

    HRESULT Open(const UNMIX_INPUT& _input)
    {
        return reader.Init(_input.vidProps, _input.vidPtr, _input.eMatrix);
    }
    // _bKeep: the pixels are to stay for who asks for them later.
    void Take(UNMIX_STATE& _state, const UNMIX_INPUT& _input, bool _bKeep)
    {
        samples = Chroma_Samples(_input.vidProps, _input.vidPtr, reader.Matrix());
        picture = PictureOf(_input.vidProps);
        if (reader.IsInPlace())
            TakeAt(reader.RowInPlace(0), _input.vidPtr.cbVideoRowBytes[0]);
        else if (!_bKeep && AreSamplesEnough(_state, samples, picture))
            picture.pReader = &reader;
        else
        {
            TakeOwn(_state);
            pFill = &reader;
        }
    }
    // Cells in place of pixels; room for the pixels that come with them.
    void TakeCells(UNMIX_STATE& _state, const UNMIX_CELL_INPUT& _input)
    {
        pCells = &_input;
        picture = PictureOf(_input.vidProps);
        if (Cells_InputRows(_input.vidProps).nFine > 0)
            TakeOwn(_state);
    }

private:
    void TakeAt(const uint8_t* _pRow0, ptrdiff_t _nStride)
    {
        picture.pRow0 = _pRow0;
        picture.nStride = _nStride;
    }
    void TakeOwn(UNMIX_STATE& _state)
    {
        const ptrdiff_t nStride = ptrdiff_t{4} * picture.nWidth;
        _state.vecPicture.resize(static_cast<size_t>(nStride) * picture.nHeight);
        TakeAt(_state.vecPicture.data(), nStride);
    }
};

// Calls _body with the runs of the fields.
template <class T> auto WithRuns(UNMIX_STATE& _state, const SOURCE& _source, const UNMIX_RESULT& _result,
                                 IRowRunner& _runner, const T& _body)
{
    const auto RunOf = [&](int _nField) {
        return UNMIX_RUN{_state,
                         _runner,
                         _state.arrFields[_nField],
                         _nField,
                         FieldOf(_state, _source.picture, _source.samples, _nField),
                         Chroma_Field(_source.samples, _nField, _state.nFields),
                         FieldOf(_state, _result, _nField),
                         _source.pFill,
                         _source.pCells};
    };
    const UNMIX_RUN arrRuns[2] = {RunOf(0), RunOf(_state.nFields - 1)};
    return _body(std::span<const UNMIX_RUN>(arrRuns, static_cast<size_t>(_state.nFields)));
}

// Makes room for a picture of that kind, and takes over its setup.
UNMIX_SEEN Begin(UNMIX_STATE& _state, const UNMIX_SETUP& _setup, const ZF_VID_PROPS& _vidProps, eZYMatrix _eMatrix)
{
    const int nHeight = std::abs(_vidProps.nHeight);
    const int nFields = nHeight > 1 && VidProps_FieldOrder(&_vidProps) != 0 ? 2 : 1;
    if (_state.nWidth != _vidProps.nWidth || _state.nHeight != nHeight || _state.nFields != nFields)
        UnmixState_Resize(_state, _vidProps.nWidth, nHeight, nFields);
    return UnmixRun_TakeSetup(_state, _setup, {_vidProps.fccType, static_cast<int>(_eMatrix)});
}

void WriteFields(std::span<const UNMIX_RUN> _runs, eUnmixWrite _eWrite)
{
    for (const UNMIX_RUN& run : _runs)
        UnmixRun_Write(run, _eWrite);
}

// Opens a picture and calls _body(runs, seen) with its fields. _bKeep: as SOURCE::Take.
template <class T> HRESULT WithInput(UNMIX_STATE& _state, const UNMIX_SETUP& _setup, const UNMIX_INPUT& _input,
                                     const UNMIX_RESULT& _result, IRowRunner& _runner, bool _bKeep, const T& _body)
{
    SOURCE source;
    const HRESULT hr = source.Open(_input);
    if (FAILED(hr))
        return hr;
    const UNMIX_SEEN seen = Begin(_state, _setup, _input.vidProps, source.reader.Matrix());
    source.Take(_state, _input, _bKeep);
    return WithRuns(_state, source, _result, _runner,
                    [&](std::span<const UNMIX_RUN> _runs) { return _body(_runs, seen); });
}
} // namespace

HRESULT Unmix_Frame(UNMIX_STATE& _state, const UNMIX_SETUP& _setup, const UNMIX_INPUT& _input,
                    const UNMIX_RESULT& _result, IRowRunner& _runner)
{
    return WithInput(_state, _setup, _input, _result, _runner, false,
                     [](std::span<const UNMIX_RUN> _runs, const UNMIX_SEEN& _seen) {
                         const HRESULT hrLearned = UnmixRun_Learn(_runs, _seen);
                         WriteFields(_runs, eUW_All);
                         return hrLearned;
                     });
}

HRESULT Unmix_Learn(UNMIX_STATE& _state, const UNMIX_SETUP& _setup, const UNMIX_INPUT& _input, IRowRunner& _runner)
{
    return WithInput(
        _state, _setup, _input, {}, _runner, true,
        [](std::span<const UNMIX_RUN> _runs, const UNMIX_SEEN& _seen) { return UnmixRun_Learn(_runs, _seen); });
}

HRESULT Unmix_LearnCells(UNMIX_STATE& _state, const UNMIX_SETUP& _setup, const UNMIX_CELL_INPUT& _input,
                         IRowRunner& _runner)
{
    const UNMIX_SEEN seen = Begin(_state, _setup, _input.vidProps, _input.eMatrix);
    SOURCE source;
    source.TakeCells(_state, _input);
    return WithRuns(_state, source, {}, _runner,
                    [&](std::span<const UNMIX_RUN> _runs) { return UnmixRun_Learn(_runs, seen); });
}

HRESULT Unmix_Open(UNMIX_STATE& _state, const UNMIX_INPUT& _input, IRowRunner& _runner, eUnmixOpen _eOpen,
                   UNMIX_PICTURE* _pPicture)
{
    SOURCE source;
    const HRESULT hr = source.Open(_input);
    if (FAILED(hr))
        return hr;
    source.Take(_state, _input, true);
    *_pPicture = source.picture;
    const bool bDeep = source.samples.eLayout != UNMIX_SAMPLES::eNone || Fineness_Of(_state).fltShared > 0;
    if (_state.nKeys == 0 || !bDeep || _eOpen == eUO_Bytes)
        return _state.nKeys == 0 ? S_FALSE : S_OK;
    return WithRuns(_state, source, {}, _runner, [&](std::span<const UNMIX_RUN> _runs) {
        for (const UNMIX_RUN& field : _runs)
        {
            const UNMIX_RUN run = UnmixRun_WithDeep(UnmixRun_WithSharedChroma(field));
            run.samples.eLayout != UNMIX_SAMPLES::eNone ? UnmixRun_Refine(run) : UnmixRun_Deepen(run);
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
    source.Take(_state, _input, true);
    return WithRuns(_state, source, _result, _runner, [&](std::span<const UNMIX_RUN> _runs) {
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
