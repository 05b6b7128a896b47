#include "Sample/HardHair.h"
#include "Sample/HardPerson.h"
#include "Sample/HardScenes.h"

namespace
{

/// Body and face between the hair behind and the hair in front.
void PaintHead(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment, const HARD_PERSON& _person, HARD_HAIR _hair,
               float _fMassU, float _fMassV, float _fDown)
{
    _hair.ptHead = {_person.pose.ptHead.u, _person.pose.ptHead.v - 0.02f};
    HardHair_Paint(_canvas, _moment, _hair);
    HardPerson_HairMass(_canvas, _person.pose, {0, _fDown}, _fMassU, _fMassV);
    HardPerson_Body(_canvas, _person);
    HardPerson_Head(_canvas, _person);
    HARD_HAIR front = _hair; // on both sides of the face, over the shoulders
    front.nSeed = _hair.nSeed + 1;
    for (const float fSide : {-1.0f, 1.0f})
    {
        front.nStrands = _hair.nStrands / 3;
        front.fFrom = fSide < 0 ? -2.0f : 0.9f;
        front.fTo = fSide < 0 ? -0.9f : 2.0f;
        front.nSeed += 1;
        HardHair_Paint(_canvas, _moment, front);
    }
    front.fFrom = -0.9f; // over the crown, where it lies close
    front.fTo = 0.9f;
    front.fLength = 0.10f;
    front.fOut = 0.3f;
    front.fCurl *= 0.3f;
    front.fWild *= 0.3f;
    HardHair_Paint(_canvas, _moment, front);
}

} // namespace

void HardScenes_Hair(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment)
{
    HARD_PERSON person;
    person.pose = HardPerson_Pose(_moment, {-0.04f, 0.36f}, {0.42f, 0.10f, 0.13f});
    person.pose.colHair = {0.23f, 0.14f, 0.09f};
    person.eCloth = eHC_Knit;
    HARD_HAIR hair = {};
    hair.fRadiusU = 0.122f;
    hair.fRadiusV = 0.150f;
    hair.fFrom = -2.2f;
    hair.fTo = 2.2f;
    hair.nStrands = 620;
    hair.fLength = 0.46f;
    hair.fOut = 0.30f;
    hair.fCurl = 0.010f;
    hair.fTurns = 2.6f;
    hair.fWild = 0.22f;
    hair.col = {0.33f, 0.20f, 0.13f};
    hair.fShine = 0.8f;
    hair.fSpill = 0.12f;
    hair.fWind = 0.55f;
    hair.nSeed = _moment.nSeed + 100;
    PaintHead(_canvas, _moment, person, hair, 0.145f, 0.270f, 0.105f);
}

void HardScenes_FairHair(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment)
{
    HARD_PERSON person;
    person.pose = HardPerson_Pose(_moment, {0.06f, 0.36f}, {0.86f, 0.84f, 0.80f});
    person.pose.colHair = {0.72f, 0.54f, 0.30f};
    person.pose.colSkin = {0.92f, 0.74f, 0.64f};
    person.pose.colSkinDark = {0.68f, 0.45f, 0.37f};
    person.eCloth = eHC_Smooth;
    HARD_HAIR hair = {};
    hair.fRadiusU = 0.125f;
    hair.fRadiusV = 0.155f;
    hair.fFrom = -2.3f;
    hair.fTo = 2.3f;
    hair.nStrands = 700;
    hair.fLength = 0.36f;
    hair.fOut = 0.42f;
    hair.fCurl = 0.017f;
    hair.fTurns = 4.2f;
    hair.fWild = 0.25f;
    hair.col = {0.90f, 0.72f, 0.44f};
    hair.fShine = 0.45f;
    hair.fSpill = 0.34f;
    hair.fWind = -0.08f;
    hair.nSeed = _moment.nSeed + 200;
    PaintHead(_canvas, _moment, person, hair, 0.150f, 0.240f, 0.070f);
}

void HardScenes_Curls(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment)
{
    HARD_PERSON person;
    person.pose = HardPerson_Pose(_moment, {0.02f, 0.38f}, {0.78f, 0.55f, 0.16f});
    person.pose.colHair = {0.09f, 0.065f, 0.055f};
    person.pose.colSkin = {0.62f, 0.42f, 0.31f};
    person.pose.colSkinDark = {0.34f, 0.20f, 0.14f};
    person.eCloth = eHC_Knit;
    HARD_HAIR hair = {};
    hair.fRadiusU = 0.165f;
    hair.fRadiusV = 0.185f;
    hair.fFrom = -2.4f;
    hair.fTo = 2.4f;
    hair.nStrands = 420;
    hair.fLength = 0.17f;
    hair.fOut = 0.75f;
    hair.fCurl = 0.017f;
    hair.fTurns = 3.4f;
    hair.fWild = 0.18f;
    hair.fThickness = 0.0026f;
    hair.col = {0.13f, 0.09f, 0.075f};
    hair.fShine = 0.7f;
    hair.fSpill = 0.10f;
    hair.nSeed = _moment.nSeed + 300;
    PaintHead(_canvas, _moment, person, hair, 0.185f, 0.205f, -0.01f);
}
