#include "ZChromaKey/Engine2/Gpu/UnmixUploads.h"

#include "Base/ZPixelFormats.h"
#include "Base/ZPlanes.h"
#include "Base/ZVideoProps.h"
#include "Image/ImgKernels.h"
#include "ZChromaKey/Engine2/Cells.h"
#include "ZChromaKey/Engine2/Chroma.h"
#include "ZChromaKey/Engine2/Edges.h"
#include "ZChromaKey/Engine2/Fineness.h"
#include "ZChromaKey/Engine2/Pixels.h"
#include "ZChromaKey/Engine2/Screen.h"
#include "ZChromaKey/Engine2/Views.h"

#include <cstdlib>
#include <span>

namespace
{

template <class T, size_t N> void Copy(const T (&_arrFrom)[N], T (&_arrTo)[N])
{
    std::copy_n(_arrFrom, N, _arrTo);
}

UNMIX_SHADER_RULES RulesOf(const PIXEL_RULES& _rules)
{
    UNMIX_SHADER_RULES rules = {};
    const LIMIT_RULES& limit = _rules.limit;
    Copy(limit.anX, rules.anX);
    Copy(limit.anZ, rules.anZ);
    Copy(limit.anTake, rules.anTake);
    Copy(limit.arrX, rules.arrX);
    Copy(limit.arrZ, rules.arrZ);
    Copy(limit.arrTake, rules.arrTake);
    Copy(_rules.arrBeyond, rules.arrBeyond);
    rules.nWedge = _rules.nWedge;
    rules.nLimit = limit.nLimit;
    rules.nOwn = limit.nOwn;
    rules.nLeast = limit.nLeast;
    rules.fltLimit = limit.fltLimit;
    rules.fltLeast = limit.fltLeast;
    rules.fltOwn = limit.fltOwn;
    rules.fltLeastX = _rules.fltLeastX;
    rules.fltWedge = _rules.fltWedge;
    rules.fltOneSquareX = _rules.fltOneSquareX;
    rules.fltClip = _rules.fltClip;
    rules.anGlare[0] = limit.nGlare;
    return rules;
}

void Fill(int32_t (&_an)[4], int _n0, int _n1, int _n2, int _n3)
{
    _an[0] = _n0;
    _an[1] = _n1;
    _an[2] = _n2;
    _an[3] = _n3;
}

void ConstantsFill(const UNMIX_STATE& _state, bool _bAlpha, UNMIX_CONSTANTS* _pConstants)
{
    UNMIX_CONSTANTS& c = *_pConstants;
    c = {};
    const FIELD_STATE& field = _state.arrFields[0];
    Fill(c.anPicture, _state.nWidth, _state.nHeight, _state.nFields, _bAlpha);
    Fill(c.anDeep, 0, 0, 1, 0);
    Fill(c.anGrid, field.cells.nWidth, field.cells.nHeight, _state.nPlateWidth, _state.nPlateHeight);
    FILTER_RULES filter = Pixels_Filter(_state, field, _state.bSeen);
    filter.bPast &=
        !_state.arrFields[_state.nFields - 1].vecPast.empty(); // where only one has it, it comes a frame late
    Fill(c.anFilter, filter.bFilter ? filter.nNear : 0, filter.bPast, filter.bSeen, filter.nTimeNear);
    for (int k = 0; k < _state.nKeys; ++k)
    {
        const PIXEL_RULES rules = Pixels_Rules(_state, _state.arrKeys[k]);
        c.arrRules[k] = RulesOf(rules);
        c.arrClips[0] = rules.fltLow;
        c.arrClips[1] = rules.fltHigh;
        c.arrClips[2] = rules.bLinear ? 1.0f : 0.0f;
    }
    c.anMore[0] = _state.setup.nProtected;
    for (int n = 0; n < _state.setup.nProtected; ++n)
        Screen_ProtectedOf(_state.setup.arrProtected[n], c.arrProtected[n].arrCentre, c.arrProtected[n].arrOne);
}

uint32_t CellOf(const UNMIX_STATE& _state, const FIELD_STATE& _field, int _nX, int _nY)
{
    const uint32_t nOwner = _state.vecOwner[static_cast<size_t>(_nY >> 1) * _state.nPlateWidth + (_nX >> 1)];
    const uint32_t nGlare = _field.vecGlare[static_cast<size_t>(_nY >> 1) * _state.nPlateWidth + (_nX >> 1)];
    const auto nRho = static_cast<uint32_t>(_field.cells.vecRho[_field.cells.At(_nX, _nY)]);
    return (_field.bitsMixed.Get(_nX, _nY) ? eUCell_Mixed : 0u) | (_field.bitsSolid.Get(_nX, _nY) ? eUCell_Solid : 0u) |
           (_field.bitsProtected.Get(_nX, _nY) ? eUCell_Protected : 0u) |
           (_field.bitsInner.Get(_nX, _nY) ? eUCell_Inner : 0u) | nOwner << 8 | nGlare << 12 | nRho << 16;
}

UNMIX_CHOKE_CONSTANTS ChokeOf(const UNMIX_STATE& _state, const UNMIX_EDGE_PICTURE& _picture)
{
    UNMIX_CHOKE_CONSTANTS constants = {_picture, {}, {}};
    const float fltChoke = _state.setup.params.fltChoke;
    const EDGE_RINGS rings = Edges_Rings(fltChoke, _state.nFields);
    Fill(constants.anMove, rings.nSteps, fltChoke > 0, _state.arrFields[0].cells.nHeight, 0);
    for (size_t n = 0; n < static_cast<size_t>(rings.nSteps); ++n)
    {
        constants.arrSteps[n][0] = rings.arr[n].nX;
        constants.arrSteps[n][1] = rings.arr[n].nY;
    }
    return constants;
}

UNMIX_BLUR_CONSTANTS BlurOf(const EDGE_TENT& _tent, bool _bAcross, const UNMIX_EDGE_PICTURE& _picture)
{
    UNMIX_BLUR_CONSTANTS constants = {_picture, {}, {}};
    Fill(constants.anWay, !_bAcross, _bAcross, _tent.nReach, 0);
    for (int n = 0; n <= _tent.nReach; ++n)
        constants.arrWeights[n][0] = _tent.arr[n];
    return constants;
}

void PlainMark(UNMIX_STATE& _state, std::vector<uint32_t>* _pvecCells)
{
    uint32_t* pnCell = _pvecCells->data();
    for (const FIELD_STATE& field : std::span(_state.arrFields, static_cast<size_t>(_state.nFields)))
    {
        const CBitRows& bits = Edges_PlainCells(_state, field);
        for (int y = 0; y < field.cells.nHeight; ++y)
            for (int x = 0; x < field.cells.nWidth; ++x)
                *pnCell++ |= bits.Get(x, y) ? eUCell_Plain : 0u;
    }
}

static_assert(c_nUnmixShaderSteps == c_nEdgeMostSteps && c_nUnmixShaderReach == c_nEdgeMostPixels,
              "all steps and weights fit");
static_assert(eUV_Matte == 1 && eUV_Status == 2 && eUV_Plate == 3 && eUV_Foreground == 4 && eUV_Confidence == 5 &&
                  eUV_Source == 6,
              "the shader has these numbers");

void Fill(float (&_arr)[4], float _flt0, float _flt1, float _flt2, float _flt3)
{
    _arr[0] = _flt0;
    _arr[1] = _flt1;
    _arr[2] = _flt2;
    _arr[3] = _flt3;
}

/// The samples of a picture, but for where they are.
UNMIX_SAMPLES SamplesOf(const ZF_VID_PROPS& _vidProps, eZYMatrix _eMatrix)
{
    return Chroma_Samples(_vidProps, VidPtr_Build(&_vidProps, 0, false), _eMatrix);
}

CHROMA_JOB JobOf(const UNMIX_SAMPLES& _samples)
{
    CHROMA_JOB job = {};
    job.samples = _samples;
    Chroma_MakeScales(job);
    return job;
}

void ScalesFill(const CHROMA_JOB& _job, UNMIX_SHADER_SAMPLES* _pSamples)
{
    Fill(_pSamples->arrLuma, _job.luma.fltTimes, _job.luma.fltAdd, _job.fltLumaSum, _job.fltPlate);
    Fill(_pSamples->arrChroma, _job.blue.fltTimes, _job.blue.fltAdd, _job.red.fltTimes, _job.red.fltAdd);
    Fill(_pSamples->arrTint, _job.arrLuma[0], _job.arrLuma[1], _job.arrLuma[2], _job.fltHalf);
    Fill(_pSamples->arrGreen, _job.arrGreen[0], _job.arrGreen[1], 0, 0);
    Fill(_pSamples->arrFit, _job.fltFactor, _job.fltFloor, _job.fltLeastTint, c_fltChromaAcross);
}

} // namespace

UNMIX_SHADER_SAMPLES UnmixUploads_Samples(const ZF_VID_PROPS& _vidProps, eZYMatrix _eMatrix)
{
    UNMIX_SHADER_SAMPLES result = {};
    const UNMIX_SAMPLES samples = SamplesOf(_vidProps, _eMatrix);
    const IMG_YUV_COEF& coef = Img_CoefFromYUV(_eMatrix);
    Fill(result.anChroma, samples.nChromaWidth, samples.nChromaHeight, samples.nChromaDiv, 0);
    Fill(result.anFromLuma, coef.nY, coef.nBlack, coef.nRV, 0);
    Fill(result.anFromChroma, coef.nGU, coef.nGV, coef.nBU, 0);
    ScalesFill(JobOf(samples), &result);
    if (samples.eLayout == UNMIX_SAMPLES::ePacked)
    {
        Fill(result.anPlanes, 0, samples.nLuma, samples.nU, samples.nV);
        return result;
    }
    const eZChroma eChroma = FCC_Chroma(_vidProps.fccType);
    const bool bTurns = eChroma == eZCh_Turns, bWords = samples.IsDeep();
    const int nPlane = samples.nChromaWidth * samples.nChromaHeight;
    const int nU = eChroma == eZCh_VU ? nPlane : 0;
    Fill(result.anPlanes, 1, 0, nU, bTurns ? 1 : nPlane - nU);
    Fill(result.anTexels, samples.nChromaWidth * (bTurns ? 2 : 1), bTurns ? 2 : 1, bWords ? 65535 : 255,
         bWords ? 6 : 0);
    return result;
}

bool UnmixUploads_PixelSamples(const UNMIX_STATE& _state, UNMIX_SHADER_SAMPLES* _pSamples)
{
    *_pSamples = {};
    UNMIX_PICTURE picture;
    picture.nWidth = _state.nWidth;
    int nChromaRows = 0; // each field has its own
    UNMIX_SAMPLES samples;
    for (const FIELD_STATE& field : std::span(_state.arrFields, static_cast<size_t>(_state.nFields)))
    {
        picture.nHeight = field.nRows;
        samples = Fineness_Samples(_state, picture);
        nChromaRows += samples.nChromaHeight;
    }
    if (samples.eLayout == UNMIX_SAMPLES::eNone)
        return false;
    const CHROMA_JOB job = JobOf(samples);
    Fill(_pSamples->anPlanes, 2, job.anLuma[0], job.anLuma[1], job.anLuma[2]);
    Fill(_pSamples->anChroma, samples.nChromaWidth, nChromaRows, samples.nChromaDiv, samples.bSmooth);
    ScalesFill(job, _pSamples);
    return true;
}

UNMIX_CONSTANTS UnmixUploads_CellConstants(const ZF_VID_PROPS& _vidProps, bool _bAlpha)
{
    UNMIX_CONSTANTS constants = {};
    const CELL_INPUT_ROWS rows = Cells_InputRows(_vidProps);
    Fill(constants.anPicture, _vidProps.nWidth, std::abs(_vidProps.nHeight), rows.nFields, _bAlpha);
    Fill(constants.anGrid, (_vidProps.nWidth + c_nCell - 1) / c_nCell, rows.nCells, rows.OfField(), rows.nFineStep);
    return constants;
}

void UnmixUploads_Fill(const UNMIX_STATE& _state, bool _bAlpha, UNMIX_UPLOADS* _pUploads)
{
    ConstantsFill(_state, _bAlpha, &_pUploads->constants);
    _pUploads->vecCells.clear();
    _pUploads->vecFore.clear();
    for (int n = 0; n < _state.nFields; ++n)
    {
        const FIELD_STATE& field = _state.arrFields[n];
        for (int y = 0; y < field.cells.nHeight; ++y)
            for (int x = 0; x < field.cells.nWidth; ++x)
                _pUploads->vecCells.push_back(_state.nKeys > 0 ? CellOf(_state, field, x, y) : eUCell_Protected);
        const std::vector<VEC4>& vecFore = field.fore.arrLevels[0].vec;
        _pUploads->vecFore.insert(_pUploads->vecFore.end(), vecFore.begin(), vecFore.end());
    }
}

void UnmixUploads_Deep(bool _bDeep, bool _bDeepSolid, bool _bWords, UNMIX_UPLOADS* _pUploads)
{
    Fill(_pUploads->constants.anDeep, _bDeep, _bDeepSolid, _bWords ? 257 : 1, 0);
}

bool UnmixUploads_Edges(UNMIX_STATE& _state, UNMIX_UPLOADS* _pUploads)
{
    if (_state.nKeys == 0 || !Edges_Wanted(_state)) // without a key the picture passes
        return false;
    constexpr int32_t c_nByte = 65535 / 255;
    const UNMIX_PARAMS& params = _state.setup.params;
    UNMIX_EDGE_UPLOADS& edges = _pUploads->edges;
    edges = {params.fltChoke != 0, params.fltSoften > 0, {}, {}};
    UNMIX_EDGE_PICTURE picture = {_state.nWidth, _state.nHeight, _state.nFields, c_nByte};
    if (edges.bChoke)
    {
        edges.choke = ChokeOf(_state, picture);
        PlainMark(_state, &_pUploads->vecCells);
        picture.nFactor = 1;
    }
    edges.arrBlurs[0] = BlurOf(Edges_Tent(params.fltSoften), false, picture);
    picture.nFactor = 1;
    edges.arrBlurs[1] = BlurOf(Edges_Tent(params.fltSoften / static_cast<float>(_state.nFields)), true, picture);
    return true;
}

void UnmixUploads_After(UNMIX_STATE& _state, bool _bPremultiply, UNMIX_UPLOADS* _pUploads)
{
    const UNMIX_SETUP& setup = _state.setup;
    UNMIX_CONSTANTS& c = _pUploads->constants;
    c.anMore[3] = _bPremultiply;
    if (_state.nKeys == 0)
        return; // the picture passes
    const bool bAlpha = c.anPicture[3] && setup.params.eAlpha == eUA_Multiply;
    c.anMore[1] = setup.params.eView;
    c.anMore[2] = (setup.params.fltShadows > 0 ? eUAfter_Shadows : 0) | (bAlpha ? eUAfter_InputAlpha : 0) |
                  (setup.garbage.pRow0 ? eUAfter_Garbage : 0) | (setup.holdOut.pRow0 ? eUAfter_HoldOut : 0) |
                  (setup.backdrop.pRow0 && setup.params.eView == eUV_Status ? eUAfter_Marked : 0);
    if (c.anMore[2] & eUAfter_Shadows)
        Views_FindShadows(_state);
}

void UnmixUploads_Past(const UNMIX_STATE& _state, UNMIX_UPLOADS* _pUploads)
{
    _pUploads->vecPast.clear();
    for (int y = 0; y < _state.nHeight; ++y)
    {
        const FIELD_STATE& field = _state.arrFields[y % _state.nFields];
        const int nRow = y / _state.nFields;
        for (int x = 0; x < _state.nWidth; ++x)
            _pUploads->vecPast.push_back(
                field.vecPast[16 * field.cells.At(x / c_nCell, nRow / c_nCell) + nRow % c_nCell * 4 + x % c_nCell]);
    }
}
