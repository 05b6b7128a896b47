#include "Sample/HardPerson.h"
#include "Sample/HardScenes.h"
#include "Sample/SampleLook.h"
#include "Sample/SampleTexture.h"

namespace
{

/// The veil: from the crown down over both shoulders, wider and more uneven below.
float VeilDistance(SAMPLE_POINT _p, SAMPLE_POINT _ptHead, float _fTime)
{
    const float fDown = std::max(_p.v - _ptHead.v, 0.0f);
    const float fWave = 0.030f * fDown * std::sin(_p.v * 16 + _fTime * 2) + 0.05f * fDown * std::sin(_fTime * 1.3f);
    const float fCrown = Sample_Ellipse(_p, {_ptHead.u, _ptHead.v - 0.01f}, 0.170f, 0.205f);
    const float fWide = 0.166f + 0.72f * std::pow(fDown, 1.35f) + 0.12f * fDown * std::sin(_p.v * 19 + _p.u * 4);
    const float fSide = _p.v > _ptHead.v ? (std::abs(_p.u - _ptHead.u + fWave) - fWide) * 0.7f : 1.0f;
    return Sample_Blend(fCrown, fSide, 0.02f);
}

/// The face is free: the veil opens in front of it.
float VeilOpening(SAMPLE_POINT _p, SAMPLE_POINT _ptHead)
{
    const float fDown = std::max(_p.v - _ptHead.v, 0.0f);
    const float fWide = 0.105f + 0.10f * fDown + 0.006f * std::sin(_p.v * 40);
    return _p.v > _ptHead.v - 0.02f ? std::abs(_p.u - _ptHead.u) - fWide
                                    : Sample_Ellipse(_p, {_ptHead.u, _ptHead.v - 0.02f}, 0.105f, 0.125f);
}

/// Where threads lie more than once over each other.
float VeilFold(SAMPLE_POINT _p, SAMPLE_POINT _ptHead, float _fTime)
{
    const float fSpread = (_p.u - _ptHead.u) / (0.20f + 0.5f * std::max(_p.v - _ptHead.v, 0.0f));
    const float fBend = 0.8f * Sample_Smooth({_p.u * 5, _p.v * 3 + 0.4f * _fTime}, 101);
    const float f = 0.5f + 0.5f * std::sin(fSpread * 21 + 3 * fBend + 0.7f * std::sin(_p.v * 9));
    return 0.75f * f * f + 0.25f * Sample_Cloud({fSpread * 9, _p.v * 4}, 3, 103);
}

float VeilCover(const CZSampleCanvas& _canvas, SAMPLE_POINT _p, SAMPLE_POINT _ptHead, float _fTime)
{
    const float fOuter = VeilDistance(_p, _ptHead, _fTime), fOpen = -VeilOpening(_p, _ptHead);
    const float fDistance = std::max(fOuter, fOpen);
    if (fDistance > 0.01f)
        return 0;
    const float fHem = Sample_Step(-0.016f, -0.010f, fDistance);
    const float fLace = fHem * (0.25f + 0.25f * std::sin(_p.v * 260) * std::sin((_p.u + fDistance) * 240));
    const float fWeave = 0.07f * std::sin((_p.u + 0.2f * _p.v) * 1500) * std::sin((_p.v - 0.2f * _p.u) * 1500);
    const float fSpeck = 0.10f * (Sample_Smooth({_p.u * 300, _p.v * 300}, 107) - 0.5f);
    const float fThick = 0.20f + 0.55f * VeilFold(_p, _ptHead, _fTime) + fLace + fWeave + fSpeck;
    return std::clamp(fThick, 0.12f, 0.95f) * _canvas.Cover(fDistance);
}

/// A vessel of glass, turned round an upright axis.
struct VESSEL
{
    float u;                          ///< axis
    float vTop;                       ///< rim
    float vBottom;                    ///< inside
    float vFilled;                    ///< surface of what is in it
    float (*pfnRadius)(float _fDown); ///< by the share of its height from the rim
    SAMPLE_COLOR colFilled;
    float fFilled; ///< how opaque that is
};

float BowlRadius(float _f)
{
    return 0.088f * std::sqrt(std::max(1 - std::pow(_f, 2.6f), 0.0f)) * (0.80f + 0.28f * std::sin(1.9f * _f + 0.35f));
}
float TumblerRadius(float _f)
{
    return 0.066f - 0.012f * _f;
}
float BottleRadius(float _f)
{
    return 0.026f + 0.052f * Sample_Step(0.30f, 0.46f, _f) + 0.003f * (_f < 0.05f);
}

/// How far out a point lies, 0 on the axis to 1 on the wall; beyond 1 outside.
float VesselOut(const VESSEL& _vessel, SAMPLE_POINT _p)
{
    const float fDown = (_p.v - _vessel.vTop) / (_vessel.vBottom - _vessel.vTop);
    if (fDown < 0 || fDown > 1)
        return 9;
    return std::abs(_p.u - _vessel.u) / std::max(_vessel.pfnRadius(fDown), 1e-4f);
}

float VesselHighlight(const VESSEL& _vessel, SAMPLE_POINT _p, float _fOut)
{
    const float fSide = _p.u < _vessel.u ? -_fOut : _fOut;
    const float fDown = (_p.v - _vessel.vTop) / (_vessel.vBottom - _vessel.vTop);
    const float fWindow = Sample_Step(0.06f, 0.02f, std::abs(fSide + 0.62f) - 0.05f) *
                          Sample_Step(0.08f, 0.14f, fDown) * Sample_Step(0.62f, 0.50f, fDown);
    const float fBar = std::abs(fDown - 0.31f) < 0.012f ? 0.2f : 1.0f; // of the window
    const float fRight = 0.55f * Sample_Step(0.03f, 0.0f, std::abs(fSide - 0.78f)) * Sample_Step(0.05f, 0.2f, fDown);
    return std::max(0.85f * fWindow * fBar, fRight);
}

void PaintFilling(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment, const VESSEL& _vessel)
{
    const SAMPLE_BOX box{_vessel.u - 0.12f, _vessel.vFilled - 0.02f, _vessel.u + 0.12f, _vessel.vBottom};
    _canvas.Paint(
        box,
        [&](SAMPLE_POINT _p) {
            const float fOut = VesselOut(_vessel, _p);
            const float fSurface = _vessel.vFilled + 0.006f * (1 - std::min(fOut * fOut, 1.0f)); // seen from above
            const float fThick = std::sqrt(std::max(1 - fOut * fOut, 0.0f));
            return _vessel.fFilled * (0.80f + 0.20f * fThick) * _canvas.Cover((fOut - 0.95f) * 0.06f) *
                   _canvas.Cover(fSurface - _p.v);
        },
        [&](SAMPLE_POINT _p) {
            const float fOut = VesselOut(_vessel, _p);
            const float fRing = Sample_Step(0.010f, 0.0f, std::abs(_p.v - _vessel.vFilled - 0.005f));
            const SAMPLE_COLOR col =
                Sample_Scale(_vessel.colFilled, 0.75f + 0.5f * Sample_Step(0.2f, 0.9f, fOut) + 0.5f * fRing);
            return Sample_Mix(col, _moment.colBack, 0.10f * _moment.fSpill);
        });
}

void PaintWall(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment, const VESSEL& _vessel)
{
    const SAMPLE_BOX box{_vessel.u - 0.12f, _vessel.vTop, _vessel.u + 0.12f, _vessel.vBottom};
    const auto fnRim = [&](SAMPLE_POINT _p) {
        return std::abs(Sample_Ellipse(_p, {_vessel.u, _vessel.vTop + 0.004f}, _vessel.pfnRadius(0), 0.010f)) - 0.0015f;
    };
    _canvas.Paint(
        {box.uMin, box.vMin - 0.02f, box.uMax, box.vMax},
        [&](SAMPLE_POINT _p) { // thin in the middle, seen edge-on at its sides
            const float fOut = VesselOut(_vessel, _p);
            const float fWall =
                fOut < 1 ? 0.07f + 0.62f * std::pow(fOut, 9.0f) : 0.69f * _canvas.Cover((fOut - 1) * 0.06f);
            return std::max(
                {fOut < 2 ? fWall : 0.0f, VesselHighlight(_vessel, _p, fOut), 0.6f * _canvas.Cover(fnRim(_p))});
        },
        [&](SAMPLE_POINT _p) {
            const float fOut = VesselOut(_vessel, _p);
            const float fDark = Sample_Step(0.80f, 0.93f, fOut) * Sample_Step(1.0f, 0.96f, fOut);
            const SAMPLE_COLOR col = Sample_Mix({0.78f, 0.82f, 0.84f}, {0.16f, 0.18f, 0.20f}, 0.8f * fDark);
            const SAMPLE_COLOR colLit = Sample_Mix(col, _moment.colBack, 0.30f * _moment.fSpill);
            return Sample_Mix(colLit, {1, 0.99f, 0.97f}, std::min(1.2f * VesselHighlight(_vessel, _p, fOut), 1.0f));
        });
}

/// Stem and foot of a wine glass.
void PaintStem(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment, float _fU, float _fTop, float _fFoot)
{
    const auto fnStem = [&](SAMPLE_POINT _p) {
        const float fFoot = Sample_Ellipse(_p, {_fU, _fFoot}, 0.070f, 0.012f);
        return Sample_Blend(Sample_Rod(_p, {_fU, _fTop}, {_fU, _fFoot}, 0.008f, 0.007f), fFoot, 0.02f);
    };
    _canvas.Paint(
        {_fU - 0.1f, _fTop - 0.02f, _fU + 0.1f, _fFoot + 0.04f},
        [&](SAMPLE_POINT _p) {
            const float fDistance = fnStem(_p);
            return (0.35f + 0.4f * Sample_Step(-0.006f, -0.001f, fDistance)) * _canvas.Cover(fDistance);
        },
        [&](SAMPLE_POINT _p) {
            const float fShine = Sample_Step(0.003f, 0.0f, std::abs(_p.u - _fU + 0.003f));
            const SAMPLE_COLOR col = Sample_Mix({0.30f, 0.33f, 0.36f}, {0.95f, 0.96f, 0.97f}, 0.8f * fShine);
            return Sample_Mix(col, _moment.colBack, 0.25f * _moment.fSpill);
        });
}

} // namespace

void HardScenes_Veil(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment)
{
    HARD_PERSON person;
    person.pose = HardPerson_Pose(_moment, {0.0f, 0.36f}, {0.90f, 0.88f, 0.84f});
    person.pose.colHair = {0.28f, 0.16f, 0.09f};
    person.bBareArms = true;
    HardPerson_HairMass(_canvas, person.pose, {0, 0.0f}, 0.128f, 0.160f);
    HardPerson_Body(_canvas, person);
    HardPerson_Head(_canvas, person);
    const SAMPLE_POINT ptHead = person.pose.ptHead;
    _canvas.Paint(
        {-1, 0, 1, 1.2f}, [&](SAMPLE_POINT _p) { return VeilCover(_canvas, _p, ptHead, _moment.fTime); },
        [&](SAMPLE_POINT _p) {
            const float fFold = VeilFold(_p, ptHead, _moment.fTime);
            const float fSlope = VeilFold({_p.u + 0.006f, _p.v}, ptHead, _moment.fTime) - fFold;
            const SAMPLE_COLOR col =
                Sample_Scale({0.97f, 0.95f, 0.91f}, std::clamp(0.86f + 0.9f * fSlope, 0.6f, 1.03f));
            return Sample_Mix(col, _moment.colBack, 0.10f * _moment.fSpill);
        });
}

void HardScenes_Table(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment)
{
    HARD_PERSON person;
    person.pose = HardPerson_Pose(_moment, {-0.42f, 0.33f}, {0.15f, 0.22f, 0.42f});
    person.eCloth = eHC_Check;
    person.pose.colCoat = {0.62f, 0.16f, 0.13f};
    SampleFigure_HairBehind(_canvas, person.pose);
    HardPerson_Body(_canvas, person);
    HardPerson_Head(_canvas, person);
    _canvas.Paint(
        {-2, 0.86f, 2, 1.2f}, [&](SAMPLE_POINT _p) { return _canvas.Cover(0.875f - _p.v); },
        [&](SAMPLE_POINT _p) { // boards, lit from behind along their edge
            const float fGrain = Sample_Cloud({_p.u * 3 + 40 * std::floor(_p.v * 16), _p.v * 120}, 4, 109);
            const float fGap = std::sin(_p.v * 100.5f) > 0.985f ? 0.5f : 1.0f;
            const float fEdge = 0.35f * Sample_Step(0.892f, 0.877f, _p.v);
            const SAMPLE_COLOR col = Sample_Scale({0.46f, 0.29f, 0.17f}, (0.65f + 0.6f * fGrain) * fGap + fEdge);
            return Sample_Mix(col, _moment.colBack, 0.20f * _moment.fSpill * Sample_Step(0.95f, 0.88f, _p.v));
        });
}

void HardScenes_Glasses(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment)
{
    const float fTilt = 0.004f * std::sin(_moment.fTime * 3); // what is in them moves
    const VESSEL bottle{0.62f, 0.20f, 0.90f, 0.56f + fTilt, BottleRadius, {0.30f, 0.13f, 0.04f}, 0.93f};
    const VESSEL wine{0.12f, 0.36f, 0.64f, 0.49f + fTilt, BowlRadius, {0.36f, 0.03f, 0.07f}, 0.985f};
    const VESSEL water{0.37f, 0.56f, 0.92f, 0.66f - fTilt, TumblerRadius, {0.80f, 0.86f, 0.88f}, 0.16f};
    for (const VESSEL& vessel : {bottle, wine, water})
    {
        if (vessel.pfnRadius == BowlRadius)
            PaintStem(_canvas, _moment, vessel.u, vessel.vBottom - 0.005f, 0.905f);
        PaintFilling(_canvas, _moment, vessel);
        PaintWall(_canvas, _moment, vessel);
    }
}
