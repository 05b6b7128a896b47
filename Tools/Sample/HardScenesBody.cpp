#include "Sample/HardHair.h"
#include "Sample/HardPerson.h"
#include "Sample/HardScenes.h"
#include "Sample/SampleLook.h"
#include "Sample/SampleTexture.h"

namespace
{

/// A person with short hair, of which some stands off.
void PaintShortHaired(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment, const HARD_PERSON& _person)
{
    HARD_HAIR hair = {};
    hair.ptHead = {_person.pose.ptHead.u, _person.pose.ptHead.v - 0.015f};
    hair.fRadiusU = 0.112f;
    hair.fRadiusV = 0.143f;
    hair.fFrom = -1.9f;
    hair.fTo = 1.9f;
    hair.nStrands = 380;
    hair.fLength = 0.055f;
    hair.fOut = 0.9f;
    hair.fCurl = 0.003f;
    hair.fTurns = 1.0f;
    hair.fWild = 0.15f;
    hair.col = Sample_Scale(_person.pose.colHair, 1.3f);
    hair.fShine = 0.5f;
    hair.fSpill = 0.10f;
    hair.nSeed = _moment.nSeed + 400;
    HardPerson_HairMass(_canvas, _person.pose, {0, -0.035f}, 0.122f, 0.132f);
    HardHair_Paint(_canvas, _moment, hair);
    HardPerson_Body(_canvas, _person);
    HardPerson_Head(_canvas, _person);
    hair.nSeed += 1;
    hair.fLength = 0.035f;
    HardHair_Paint(_canvas, _moment, hair);
}

/// A hand close to the camera: palm and fingers, pointing up to the left.
float NearHandDistance(SAMPLE_POINT _p, SAMPLE_POINT _pt)
{
    float fDistance = Sample_Rod(_p, {_pt.u + 0.35f, _pt.v + 0.62f}, {_pt.u + 0.06f, _pt.v + 0.10f}, 0.10f, 0.095f);
    for (int i = 0; i < 4; ++i)
    {
        const float f = static_cast<float>(i);
        const SAMPLE_POINT ptTip{_pt.u - 0.16f + 0.075f * f, _pt.v - 0.13f - 0.05f * std::sin(1.2f * f)};
        const SAMPLE_POINT ptRoot{_pt.u - 0.01f + 0.045f * f, _pt.v + 0.06f - 0.012f * f};
        fDistance = Sample_Blend(fDistance, Sample_Rod(_p, ptRoot, ptTip, 0.031f, 0.022f), 0.02f);
    }
    return Sample_Blend(fDistance,
                        Sample_Rod(_p, {_pt.u, _pt.v + 0.15f}, {_pt.u - 0.17f, _pt.v + 0.08f}, 0.036f, 0.026f), 0.03f);
}

} // namespace

void HardScenes_Waving(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment)
{
    HARD_PERSON person;
    person.pose = HardPerson_Pose(_moment, {-0.05f, 0.33f}, {0.55f, 0.13f, 0.20f});
    person.bOneArm = true;
    PaintShortHaired(_canvas, _moment, person);
    SAMPLE_POSE arm = person.pose;
    arm.fTime = _moment.fTime * 2.6f + 0.42f;
    SampleFigure_Arm(_canvas, arm);
    arm.fTime = _moment.fTime * 2.0f + 0.35f;
    SampleFigure_Ball(_canvas, arm);
}

void HardScenes_Denim(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment)
{
    HARD_PERSON person;
    person.pose = HardPerson_Pose(_moment, {0.03f, 0.33f}, {0.36f, 0.45f, 0.60f});
    person.pose.colHair = {0.42f, 0.20f, 0.09f};
    person.eCloth = eHC_Denim;
    person.fTurn = 0.05f;
    PaintShortHaired(_canvas, _moment, person);
}

void HardScenes_Check(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment)
{
    HARD_PERSON person;
    person.pose = HardPerson_Pose(_moment, {-0.12f, 0.34f}, {0.66f, 0.20f, 0.16f});
    person.pose.colHair = {0.12f, 0.09f, 0.08f};
    person.eCloth = eHC_Check;
    PaintShortHaired(_canvas, _moment, person);
}

void HardScenes_BareArms(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment)
{
    HARD_PERSON person;
    person.pose = HardPerson_Pose(_moment, {0.05f, 0.33f}, {0.20f, 0.32f, 0.46f});
    person.pose.colSkin = {0.84f, 0.60f, 0.45f};
    person.pose.colSkinDark = {0.55f, 0.33f, 0.22f};
    person.pose.colHair = {0.30f, 0.18f, 0.10f};
    person.bBareArms = true;
    person.fTurn = 0.04f;
    PaintShortHaired(_canvas, _moment, person);
}

void HardScenes_Knit(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment)
{
    HARD_PERSON person;
    person.pose = HardPerson_Pose(_moment, {-0.08f, 0.34f}, {0.72f, 0.70f, 0.66f});
    person.eCloth = eHC_Knit;
    PaintShortHaired(_canvas, _moment, person);
}

void HardScenes_NearHand(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment)
{
    const SAMPLE_POINT pt{0.42f + 0.03f * std::sin(_moment.fTime * 2), 0.52f};
    const auto fnDistance = [&](SAMPLE_POINT _p) { return NearHandDistance(_p, pt); };
    _canvas.Paint(
        {pt.u - 0.4f, pt.v - 0.4f, pt.u + 0.7f, 1.2f}, [&](SAMPLE_POINT _p) { return _canvas.Cover(fnDistance(_p)); },
        [&](SAMPLE_POINT _p) {
            const float fDistance = fnDistance(_p);
            const float fRound = Sample_Step(0.0f, -0.05f, fDistance);
            const SAMPLE_COLOR col = Sample_Mix({0.50f, 0.30f, 0.23f}, {0.86f, 0.65f, 0.54f}, 0.2f + 0.8f * fRound);
            return Sample_Mix(col, _moment.colBack,
                              0.15f * _moment.fSpill * std::exp(std::min(fDistance, 0.0f) / 0.02f));
        });
}
