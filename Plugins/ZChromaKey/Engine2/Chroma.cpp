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
    const auto Packed = [&](int _nLuma, int _nU, int _nV) {
        samples.eLayout = UNMIX_SAMPLES::ePacked;
        samples.nLuma = _nLuma;
        samples.nU = _nU;
        samples.nV = _nV;
    };
    const auto Planar = [&](int _nChromaDiv, bool _bVFirst) {
        samples.eLayout = UNMIX_SAMPLES::ePlanar;
        samples.nChromaDiv = _nChromaDiv;
        samples.nChromaWidth = std::min(_vidPtr.szVideoPlanes[1].cx, samples.nChromaWidth);
        samples.nChromaHeight =
            std::min(_vidPtr.szVideoPlanes[1].cy, (samples.nHeight + _nChromaDiv - 1) / _nChromaDiv);
        if (_bVFirst)
        {
            std::swap(samples.arrRow0[1], samples.arrRow0[2]);
            std::swap(samples.anStride[1], samples.anStride[2]);
        }
    };
    switch (_vidProps.fccType)
    {
    case eZFCC_r210:
        samples.eLayout = UNMIX_SAMPLES::er210;
        break;
    case eZFCC_v210:
        samples.eLayout = UNMIX_SAMPLES::ev210;
        break;
    case eZFCC_YUY2:
        Packed(0, 1, 3);
        break;
    case eZFCC_YVYU:
        Packed(0, 3, 1);
        break;
    case eZFCC_UYVY:
    case eZFCC_HDYC:
        Packed(1, 0, 2);
        break;
    case eZFCC_I420:
    case eZFCC_YV12:
        Planar(2, _vidProps.fccType == eZFCC_YV12);
        break;
    case eZFCC_I422:
    case eZFCC_Y422:
    case eZFCC_Y444: // addressed with half-width chroma
    case eZFCC_YV16:
        Planar(1, _vidProps.fccType == eZFCC_YV16);
        break;
    case eZFCC_P010:
    case eZFCC_P210:
        Planar(_vidProps.fccType == eZFCC_P010 ? 2 : 1, false);
        samples.eLayout = UNMIX_SAMPLES::eP010;
        samples.nChromaWidth = std::min(_vidPtr.szVideoPlanes[1].cx / 2, (samples.nWidth + 1) / 2);
        break;
    case eZFCC_NV12:
        Planar(2, false);
        samples.nChromaWidth = std::min(_vidPtr.szVideoPlanes[1].cx / 2, (samples.nWidth + 1) / 2);
        samples.nChromaStep = 2;
        samples.arrRow0[2] = samples.arrRow0[1] ? samples.arrRow0[1] + 1 : nullptr;
        samples.anStride[2] = samples.anStride[1];
        break;
    default:
        break;
    }
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
    ChromaKernels().pfnRebuild(Chroma_Job(_state, _field, _samples, _pDeep0, _nDeepStride), _nFirst, _nRows);
}
