#include "ZChromaKey/Engine2/Chroma.h"

#include "Image/ImgPlane.h"

#include <cmath>

namespace
{
constexpr float c_fltFloor = 60;     // of the luma's variance in the fit, levels squared
constexpr float c_fltLeastTint = 15; // of the plate, levels

CHROMA_SCALE Scale(float _fltTimes, float _fltZero, float _fltAdd)
{
    return {_fltTimes, _fltAdd - _fltZero * _fltTimes};
}
void Packed(UNMIX_SAMPLES& _samples, int _nLuma, int _nU, int _nV)
{
    _samples.eLayout = UNMIX_SAMPLES::ePacked;
    _samples.nLuma = _nLuma;
    _samples.nU = _nU;
    _samples.nV = _nV;
}

void Planar(UNMIX_SAMPLES& _samples, const ZF_VID_PTR& _vidPtr, int _nChromaDiv, bool _bVFirst)
{
    _samples.eLayout = UNMIX_SAMPLES::ePlanar;
    _samples.nChromaDiv = _nChromaDiv;
    _samples.nChromaWidth = std::min(_vidPtr.szVideoPlanes[1].cx, _samples.nChromaWidth);
    _samples.nChromaHeight = std::min(_vidPtr.szVideoPlanes[1].cy, (_samples.nHeight + _nChromaDiv - 1) / _nChromaDiv);
    if (_bVFirst)
    {
        std::swap(_samples.arrRow0[1], _samples.arrRow0[2]);
        std::swap(_samples.anStride[1], _samples.anStride[2]);
    }
}

// Planes of luma, and of U and V in turn.
void InTurn(UNMIX_SAMPLES& _samples, const ZF_VID_PTR& _vidPtr, int _nChromaDiv)
{
    Planar(_samples, _vidPtr, _nChromaDiv, false);
    _samples.nChromaWidth = std::min(_vidPtr.szVideoPlanes[1].cx / 2, (_samples.nWidth + 1) / 2);
}

void TakeLayout(UNMIX_SAMPLES& _samples, uint32_t _fccType, const ZF_VID_PTR& _vidPtr)
{
    switch (_fccType)
    {
    case eZFCC_r210:
        _samples.eLayout = UNMIX_SAMPLES::er210;
        break;
    case eZFCC_v210:
        _samples.eLayout = UNMIX_SAMPLES::ev210;
        break;
    case eZFCC_YUY2:
        return Packed(_samples, 0, 1, 3);
    case eZFCC_YVYU:
        return Packed(_samples, 0, 3, 1);
    case eZFCC_UYVY:
    case eZFCC_HDYC:
        return Packed(_samples, 1, 0, 2);
    case eZFCC_I420:
    case eZFCC_YV12:
        return Planar(_samples, _vidPtr, 2, _fccType == eZFCC_YV12);
    case eZFCC_I422:
    case eZFCC_Y422:
    case eZFCC_Y444: // addressed with half-width chroma
    case eZFCC_YV16:
        return Planar(_samples, _vidPtr, 1, _fccType == eZFCC_YV16);
    case eZFCC_P010:
    case eZFCC_P210:
        InTurn(_samples, _vidPtr, _fccType == eZFCC_P010 ? 2 : 1);
        _samples.eLayout = UNMIX_SAMPLES::eP010;
        break;
    case eZFCC_NV12:
        InTurn(_samples, _vidPtr, 2);
        _samples.nChromaStep = 2;
        _samples.arrRow0[2] = _samples.arrRow0[1] ? _samples.arrRow0[1] + 1 : nullptr;
        _samples.anStride[2] = _samples.anStride[1];
        break;
    default:
        break;
    }
}
} // namespace

UNMIX_SAMPLES Chroma_Samples(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, eZYMatrix _eMatrix)
{
    UNMIX_SAMPLES samples;
    samples.nWidth = _vidProps.nWidth;
    samples.nHeight = std::abs(_vidProps.nHeight);
    samples.fltKb = static_cast<float>(ZMatrix_Luma(_eMatrix).dblKb);
    samples.fltKr = static_cast<float>(ZMatrix_Luma(_eMatrix).dblKr);
    samples.bFull = ZMatrix_IsFull(_eMatrix);
    for (int n = 0; n < 3; ++n)
    {
        samples.arrRow0[n] = Img_RowOf(_vidPtr, n, 0);
        samples.anStride[n] = _vidPtr.cbVideoRowBytes[n];
    }
    samples.nChromaWidth = (samples.nWidth + 1) / 2;
    samples.nChromaHeight = samples.nHeight;
    TakeLayout(samples, _vidProps.fccType, _vidPtr);
    if (samples.nChromaWidth < 1 || samples.nChromaHeight < 1)
        samples.eLayout = UNMIX_SAMPLES::eNone;
    return samples;
}

UNMIX_SAMPLES Chroma_PixelSamples(const UNMIX_PICTURE& _picture, bool _bRowsShare, bool _bSmooth, float _fltGain)
{
    UNMIX_SAMPLES samples;
    samples.eLayout = UNMIX_SAMPLES::eBGRA;
    samples.arrRow0[0] = _picture.pRow0;
    samples.anStride[0] = _picture.nStride;
    samples.nChromaDiv = _bRowsShare ? 2 : 1;
    samples.nWidth = _picture.nWidth;
    samples.nHeight = _picture.nHeight;
    samples.nChromaWidth = (samples.nWidth + 1) / 2;
    samples.nChromaHeight = (samples.nHeight + samples.nChromaDiv - 1) / samples.nChromaDiv;
    samples.fltKb = 1183.0f / c_nChromaLumaUnit; // those of BT.709
    samples.fltKr = 3483.0f / c_nChromaLumaUnit;
    samples.bSmooth = _bSmooth;
    samples.fltGain = _fltGain;
    return samples;
}

UNMIX_SAMPLES Chroma_Field(const UNMIX_SAMPLES& _samples, int _nField, int _nFields)
{
    UNMIX_SAMPLES samples = _samples;
    for (int n = 0; n < 3; ++n)
    {
        if (samples.arrRow0[n])
            samples.arrRow0[n] += _nField * samples.anStride[n];
        samples.anStride[n] *= _nFields;
    }
    samples.nHeight = (_samples.nHeight + _nFields - 1 - _nField) / _nFields;
    samples.nChromaHeight = (_samples.nChromaHeight + _nFields - 1 - _nField) / _nFields;
    if (samples.nChromaHeight < 1) // a picture too small for chroma of both fields
        samples.eLayout = UNMIX_SAMPLES::eNone;
    return samples;
}

void Chroma_MakeScales(CHROMA_JOB& _job)
{
    const UNMIX_SAMPLES& samples = _job.samples;
    const float fltDeep = samples.IsDeep() ? .25f : 1.0f;
    const float fltShare = samples.nChromaDiv == 2 ? 1 / 16.0f : 1 / 4.0f;
    const float fltUnit = 64 * fltShare;
    const float fltKg = 1 - samples.fltKb - samples.fltKr;
    if (samples.eLayout == UNMIX_SAMPLES::eBGRA)
    {
        constexpr float c_fltOne = 1.0f / c_nChromaLumaUnit;
        _job.luma = Scale(64 * c_fltOne, 0, .5f);
        _job.blue = _job.red = Scale(fltUnit * c_fltOne / static_cast<float>(2 * samples.nChromaDiv), 0, 0);
    }
    else
    {
        const float fltChroma = fltUnit * fltDeep * (samples.bFull ? 2 : 2 * 255 / 224.0f);
        _job.luma =
            samples.bFull ? Scale(64 * fltDeep, 0, .5f) : Scale(64 * fltDeep * (255 / 219.0f), 16 / fltDeep, .5f);
        _job.blue = Scale(fltChroma * (1 - samples.fltKb), 128 / fltDeep, 0);
        _job.red = Scale(fltChroma * (1 - samples.fltKr), 128 / fltDeep, 0);
    }
    _job.fltLumaSum = fltShare / static_cast<float>(2 * samples.nChromaDiv);
    _job.arrLuma[0] = samples.fltKb;
    _job.arrLuma[1] = fltKg;
    _job.arrLuma[2] = samples.fltKr;
    for (int n = 0; n < 3; ++n)
        _job.anLuma[n] = Rounded(_job.arrLuma[n] * c_nChromaLumaUnit);
    _job.fltPlate = fltUnit;
    _job.fltHalf = .5f * fltShare;
    _job.arrGreen[0] = samples.fltKb / fltKg;
    _job.arrGreen[1] = samples.fltKr / fltKg;
    _job.fltFactor = fltShare * samples.fltGain;
    _job.fltFloor = 16 * c_fltFloor * fltUnit * fltUnit;
    _job.fltLeastTint = c_fltLeastTint * c_fltLeastTint * fltUnit * fltUnit;
}

CHROMA_JOB Chroma_Job(const UNMIX_STATE& _state, const FIELD_STATE& _field, const UNMIX_SAMPLES& _samples,
                      uint16_t* _pDeep0, ptrdiff_t _nDeepStride)
{
    CHROMA_JOB job = {};
    job.samples = _samples;
    Chroma_MakeScales(job);
    job.pPlate = &_state.vecPlate.data()->b;
    job.pOwner = _state.vecOwner.data();
    for (int n = 0; n < _state.nKeys; ++n)
        job.arrAcross[n] = c_fltChromaAcross * _state.arrKeys[n].fltWedge;
    job.nPlateWidth = _state.nPlateWidth;
    job.nPlateHeight = _state.nPlateHeight;
    job.pMixed = _field.bitsMixed.Row(0);
    job.pSolid = _samples.IsDeep() ? _field.bitsSolid.Row(0) : nullptr;
    job.nWords = _field.bitsMixed.Words();
    job.nCellColumns = _field.cells.nWidth;
    job.nCellRows = _field.cells.nHeight;
    job.pDeep0 = _pDeep0;
    job.nDeepStride = _nDeepStride;
    return job;
}

void Chroma_Pass(const UNMIX_STATE& _state, const FIELD_STATE& _field, const UNMIX_SAMPLES& _samples, uint16_t* _pDeep0,
                 ptrdiff_t _nDeepStride, int _nFirst, int _nRows)
{
    _state.pChroma->pfnRebuild(Chroma_Job(_state, _field, _samples, _pDeep0, _nDeepStride), _nFirst, _nRows);
}

UNMIX_PICTURE Chroma_PartPass(const UNMIX_STATE& _state, const FIELD_STATE& _field, const UNMIX_SAMPLES& _samples,
                              const UNMIX_PICTURE& _picture, const CPassRooms::ROOM& _room, int _nFirst, int _nRows)
{
    auto* const pDeep0 = reinterpret_cast<uint16_t*>(_room.Bytes());
    UNMIX_PICTURE picture = _picture;
    picture.pDeep0 = pDeep0;
    picture.nDeepStride = ptrdiff_t{4} * _picture.nWidth;
    picture.nDeepFirst = _nFirst * c_nCell - 1;
    CHROMA_JOB job = Chroma_Job(_state, _field, _samples, pDeep0, picture.nDeepStride);
    job.nDeepFirst = picture.nDeepFirst;
    job.bRim = true;
    _state.pChroma->pfnRebuild(job, _nFirst, _nRows);
    return picture;
}

size_t Chroma_RoomBytes(int _nWidth)
{
    return 4 * sizeof(uint16_t) * static_cast<size_t>(_nWidth) * (c_nPassPart * c_nCell + 2);
}
