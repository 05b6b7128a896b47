#include "ZChromaKey/Engine2/State.h"

#include <cstdlib>
#include <utility>

DIFFERENCE_RULES KeyForms_Difference(const KEY_FORMS& _key)
{
    DIFFERENCE_RULES rules = {};
    std::copy(_key.arrX, _key.arrX + 3, rules.arrX);
    std::copy(_key.arrZ, _key.arrZ + 3, rules.arrZ);
    std::copy(_key.anX, _key.anX + 3, rules.anX);
    std::copy(_key.anZ, _key.anZ + 3, rules.anZ);
    rules.fltLeastX = .15f * _key.fltX;
    rules.fltWedge = _key.fltWedge;
    return rules;
}

bool FIELD_STATE::operator==(const FIELD_STATE& _other) const
{
    return nRows == _other.nRows && cells == _other.cells && bitsWide == _other.bitsWide &&
           bitsSure == _other.bitsSure && bitsInner == _other.bitsInner && bitsSolid == _other.bitsSolid &&
           bitsBackdrop == _other.bitsBackdrop && bitsMixed == _other.bitsMixed && vecGlare == _other.vecGlare &&
           fore.arrLevels[0].vec == _other.fore.arrLevels[0].vec && vecPast == _other.vecPast;
}

static void FieldResize(FIELD_STATE& _field, int _nWidth, int _nRows, int _nCellRows)
{
    _field.nRows = _nRows;
    const int nCells = (_nWidth + c_nCell - 1) / c_nCell;
    _field.cells.nWidth = nCells;
    _field.cells.nHeight = _nCellRows;
    const size_t nSize = static_cast<size_t>(nCells) * _nCellRows;
    _field.cells.vecSum.assign(nSize, 0);
    _field.cells.vecMin.assign(nSize, 0);
    _field.cells.vecMax.assign(nSize, 0);
    _field.cells.vecX.assign(nSize, 0);
    _field.cells.vecRho.assign(nSize, 0);
    _field.cells.vecPairs.assign(static_cast<size_t>(_nCellRows / 3 + 1) * (nCells / 3 + 1), {});
    for (CBitRows* const pBits : {&_field.bitsWide, &_field.bitsCalm, &_field.bitsSure, &_field.bitsSolid0,
                                  &_field.bitsInner, &_field.bitsDoubt, &_field.bitsBackdrop, &_field.bitsSolid,
                                  &_field.bitsMixed, &_field.bitsProtected, &_field.bitsRegion})
        pBits->Resize(nCells, _nCellRows);
    _field.vecSteps.assign(static_cast<size_t>(_nCellRows) / c_nStepRows + 1, {});
    _field.vecGlare.assign(static_cast<size_t>((nCells + 1) / 2) * ((_nCellRows + 1) / 2), 0);
    _field.fore.Resize((nCells + 1) / 2, (_nCellRows + 1) / 2);
    _field.vecPast = {};
    _field.vecPast.reserve(16 * nSize); // touched, and so taken, only once there is noise
}

void UnmixState_Resize(UNMIX_STATE& _state, int _nWidth, int _nHeight, int _nFields)
{
    UNMIX_STATE state;
    state.setup = _state.setup;
    state.pKernels = _state.pKernels;
    state.pChroma = _state.pChroma;
    _state = {}; // before new memory is asked for
    _state.pKernels = state.pKernels;
    _state.pChroma = state.pChroma;
    state.nWidth = _nWidth;
    state.nHeight = _nHeight;
    state.nFields = _nFields;
    const int nMostRows = (_nHeight + _nFields - 1) / _nFields;
    const int nCellRows = (nMostRows + c_nCell - 1) / c_nCell;
    for (int n = 0; n < _nFields; ++n)
        FieldResize(state.arrFields[n], _nWidth, (_nHeight + _nFields - 1 - n) / _nFields, nCellRows);
    const int nCells = state.arrFields[0].cells.nWidth;
    state.nPlateWidth = (nCells + 1) / 2;
    state.nPlateHeight = (nCellRows + 1) / 2;
    const size_t nPlate = static_cast<size_t>(state.nPlateWidth) * state.nPlateHeight;
    state.vecPlate.assign(nPlate, {});
    state.vecReference.assign(nPlate, {});
    state.vecOwner.assign(nPlate, 0);
    state.vecSeen.assign(nPlate, {});
    for (std::vector<int32_t>& vec : state.arrGlare)
        vec.assign(nPlate, 0);
    state.vecShade.assign(nPlate, 0);
    state.fill.Resize(state.nPlateWidth, state.nPlateHeight);
    const int nBlockRows = (state.nPlateHeight + c_nLampBlock - 1) / c_nLampBlock;
    state.lamps.Resize((state.nPlateWidth + c_nLampBlock - 1) / c_nLampBlock, nBlockRows);
    state.vecBlocks.assign(state.lamps.arrLevels[0].vec.size(), {});
    state.vecSums.assign(static_cast<size_t>(nBlockRows), {});
    state.bitsScratch.Resize(nCells, nCellRows);
    state.bitsScratch2.Resize(nCells, nCellRows);
    state.bitsPlate.Resize(state.nPlateWidth, state.nPlateHeight);
    state.vecChanged.assign(static_cast<size_t>(nCellRows), 0);
    state.vecRing.assign(size_t{3} * state.bitsScratch.Words() * ((nCellRows + c_nPassPart - 1) / c_nPassPart), 0);
    state.vecNoise.assign(static_cast<size_t>(nCellRows) * 2, 0);
    state.vecFineness.assign(static_cast<size_t>(nCellRows), {});
    _state = std::move(state);
}

FINENESS_SUMS& FINENESS_SUMS::operator+=(const FINENESS_SUMS& _other)
{
    const auto AddTo = [](DIFFERENCES& _sum, const DIFFERENCES& _more) {
        _sum.nFirst += _more.nFirst;
        _sum.nSecond += _more.nSecond;
    };
    const auto Add = [&](AXIS& _sum, const AXIS& _more) {
        AddTo(_sum.luma, _more.luma);
        AddTo(_sum.chroma, _more.chroma);
        _sum.nChromaWithin += _more.nChromaWithin;
    };
    Add(across, _other.across);
    Add(down, _other.down);
    nCells += _other.nCells;
    return *this;
}

bool UnmixState_Same(const UNMIX_STATE& _a, const UNMIX_STATE& _b)
{
    return _a.nWidth == _b.nWidth && _a.nHeight == _b.nHeight && _a.nFields == _b.nFields && _a.nKeys == _b.nKeys &&
           std::equal(_a.arrKeys, _a.arrKeys + _a.nKeys, _b.arrKeys) && _a.vecPlate == _b.vecPlate &&
           _a.vecReference == _b.vecReference && _a.gain == _b.gain &&
           _a.lamps.arrLevels[0].vec == _b.lamps.arrLevels[0].vec && _a.vecOwner == _b.vecOwner &&
           _a.fltNoise == _b.fltNoise && _a.bNoiseKnown == _b.bNoiseKnown && _a.fineness == _b.fineness &&
           _a.kind == _b.kind && _a.nFrames == _b.nFrames && _a.nCuts == _b.nCuts && _a.nUnfilled == _b.nUnfilled &&
           _a.arrFields[0] == _b.arrFields[0] && _a.arrFields[1] == _b.arrFields[1];
}

std::vector<float> UnmixState_Floats(const UNMIX_STATE& _state)
{
    std::vector<float> vec{_state.fltNoise, _state.fineness.fltCells};
    for (const FINENESS_MEANS& axis : {_state.fineness.across, _state.fineness.down})
        vec.insert(vec.end(), {axis.fltLumaFirst, axis.fltLumaSecond, axis.fltChromaFirst, axis.fltChromaSecond,
                               axis.fltChromaWithin});
    const auto Add = [&](const std::vector<VEC4>& _vec) {
        for (const VEC4& v : _vec)
            vec.insert(vec.end(), {v.b, v.g, v.r, v.w});
    };
    for (const KEY_FORMS& key : _state.arrKeys)
    {
        vec.insert(vec.end(), key.arrX, key.arrX + 3);
        vec.insert(vec.end(), key.arrZ, key.arrZ + 3);
        vec.insert(vec.end(), {key.fltX, key.fltSlope, key.fltSaturation, key.fltValue, key.fltWedge, key.fltCloth});
    }
    Add(_state.vecPlate);
    Add(_state.vecReference);
    Add({_state.gain});
    Add(_state.lamps.arrLevels[0].vec);
    for (const FIELD_STATE& field : _state.arrFields)
        Add(field.fore.arrLevels[0].vec);
    vec.insert(vec.end(), _state.vecShade.begin(), _state.vecShade.end());
    return vec;
}

VEC4 Plate_AtCell(const UNMIX_STATE& _state, int _nX, int _nY)
{
    const BETWEEN cols = Grid_Between(_nX, _state.nPlateWidth);
    const BETWEEN rows = Grid_Between(_nY, _state.nPlateHeight);
    const VEC4 above = _state.Plate(cols.nFirst, rows.nFirst) * (1 - cols.fltSecond) +
                       _state.Plate(cols.nSecond, rows.nFirst) * cols.fltSecond;
    const VEC4 below = _state.Plate(cols.nFirst, rows.nSecond) * (1 - cols.fltSecond) +
                       _state.Plate(cols.nSecond, rows.nSecond) * cols.fltSecond;
    return above * (1 - rows.fltSecond) + below * rows.fltSecond;
}

CELL_BACKDROP Plate_Backdrop(const UNMIX_STATE& _state, int _nX, int _nY)
{
    const size_t nAt = static_cast<size_t>(_nY >> 1) * _state.nPlateWidth + (_nX >> 1);
    const KEY_FORMS& key = _state.arrKeys[_state.vecOwner[nAt]];
    const VEC4 back = Plate_AtCell(_state, _nX, _nY);
    const float fltX = std::max(key.X(back.b, back.g, back.r), .15f * key.fltX);
    return {&key, fltX, std::clamp(key.Z(back.b, back.g, back.r) / fltX, -.5f, .5f)};
}
