#include "Sample/HardPerson.h"

#include "Sample/SampleLook.h"
#include "Sample/SampleTexture.h"

namespace
{

float DenimTone(SAMPLE_POINT _p)
{
    const float fTwill = std::sin((_p.u * 1.1f + _p.v) * 900);
    const float fThread = Sample_Smooth({_p.u * 420, _p.v * 260}, 31) - 0.5f;
    const float fFade = Sample_Cloud({_p.u * 7, _p.v * 5}, 4, 37) - 0.5f;
    return 1 + 0.05f * fTwill + 0.22f * fThread + 0.55f * fFade;
}

SAMPLE_COLOR DenimColor(const SAMPLE_COLOR& _col, SAMPLE_POINT _p)
{
    const float fSeam = std::abs(std::abs(_p.u) - 0.105f - 0.03f * std::sin(_p.v * 5));
    const float fMiddle = std::abs(_p.u - 0.004f);
    SAMPLE_COLOR col = Sample_Scale(_col, DenimTone(_p));
    col = Sample_Mix(col, Sample_Scale(_col, 1.5f), 0.35f * Sample_Step(0.006f, 0.0f, std::min(fSeam, fMiddle)));
    const float fStitch = std::min(std::abs(fSeam - 0.007f), std::abs(fMiddle - 0.012f));
    const float fDash = std::sin(_p.v * 520) > -0.3f ? 1.0f : 0.0f;
    return Sample_Mix(col, {0.72f, 0.50f, 0.25f}, 0.75f * fDash * Sample_Step(0.0022f, 0.0008f, fStitch));
}

SAMPLE_COLOR KnitColor(const SAMPLE_COLOR& _col, SAMPLE_POINT _p)
{
    const float fRow = std::sin(_p.v * 560 + 2.2f * std::abs(std::sin(_p.u * 230)));
    const float fRib = std::sin(_p.u * 115 + 0.6f * std::sin(_p.v * 9));
    const float fFluff = Sample_Smooth({_p.u * 330, _p.v * 330}, 41) - 0.5f;
    return Sample_Scale(_col, 0.95f + 0.12f * fRow + 0.16f * fRib + 0.25f * fFluff);
}

SAMPLE_COLOR CheckColor(const SAMPLE_COLOR& _col, SAMPLE_POINT _p)
{
    const float fBend = 0.02f * Sample_Smooth({_p.u * 9, _p.v * 9}, 43);
    const auto fnBand = [](float _f) { return Sample_Step(0.1f, 0.3f, std::sin(_f)); };
    const float fDark = 0.45f * fnBand((_p.u + fBend) * 70) + 0.45f * fnBand((_p.v - fBend) * 70);
    const SAMPLE_COLOR col = Sample_Mix(_col, {0.08f, 0.07f, 0.09f}, fDark);
    const float fLine = std::max(fnBand((_p.u + fBend) * 35 + 1) * fnBand((_p.u + fBend) * 35 + 3.9f), 0.0f);
    return Sample_Mix(col, {0.9f, 0.85f, 0.7f}, 0.6f * fLine);
}

SAMPLE_COLOR ClothColor(eHardCloth _eCloth, const SAMPLE_COLOR& _col, SAMPLE_POINT _p)
{
    switch (_eCloth)
    {
    case eHC_Knit:
        return KnitColor(_col, _p);
    case eHC_Denim:
        return DenimColor(_col, _p);
    case eHC_Check:
        return CheckColor(_col, _p);
    case eHC_Smooth:
        break;
    }
    return Sample_Scale(_col, 0.96f + 0.08f * Sample_Smooth({_p.u * 400, _p.v * 400}, 47));
}

/// Cloth with its folds, and darker where it turns away from the light on the left.
SAMPLE_COLOR LitCloth(const HARD_PERSON& _person, SAMPLE_POINT _p, float _fDistance)
{
    const SAMPLE_POINT p{_p.u - _person.pose.ptHead.u, _p.v - _person.pose.ptHead.v};
    const float fRound = Sample_Step(0.005f, -0.065f, _fDistance);
    const float fSide = std::clamp(0.88f - 0.8f * p.u, 0.55f, 1.08f);
    const float fFold = Sample_Folds(p, 0.16f, 53);
    const float fLight = (0.62f + 0.38f * fRound) * fSide * (1 + 0.26f * std::clamp(fFold, -1.0f, 1.0f));
    return Sample_Scale(ClothColor(_person.eCloth, _person.pose.colCoat, p), std::max(fLight, 0.15f));
}

SAMPLE_COLOR LitSkin(const SAMPLE_POSE& _pose, SAMPLE_POINT _p, float _fDistance)
{
    const float fRound = Sample_Step(0.0f, -0.045f, _fDistance);
    const float fMottle = Sample_Cloud({_p.u * 40, _p.v * 40}, 3, 59) - 0.5f;
    return Sample_Mix(_pose.colSkinDark, _pose.colSkin,
                      std::clamp(0.25f + 0.75f * fRound + 0.35f * fMottle, 0.0f, 1.05f));
}

/// Distances to the parts of a body.
struct BODY_SHAPE
{
    const HARD_PERSON& person;
    float u; ///< middle of the shoulders
    float v;

    explicit BODY_SHAPE(const HARD_PERSON& _person)
        : person(_person)
        , u(_person.pose.ptHead.u + 0.01f)
        , v(_person.pose.ptHead.v + 0.315f)
    {
    }
    float Chest(SAMPLE_POINT _p) const
    {
        const float fShoulders = Sample_Rod(_p, {u - 0.165f, v + 0.01f}, {u + 0.165f, v + 0.01f}, 0.070f, 0.070f);
        const float fTrunk = Sample_Rod(_p, {u, v + 0.04f}, {u, v + 0.7f}, 0.165f, 0.205f);
        const float fNape = Sample_Rod(_p, {u, v - 0.10f}, {u, v}, 0.055f, 0.09f);
        return Sample_Blend(Sample_Blend(fShoulders, fTrunk, 0.09f), fNape, 0.08f);
    }
    float Arm(SAMPLE_POINT _p, float _fSide) const
    {
        if (_fSide > 0 && person.bOneArm)
            return 1;
        const SAMPLE_POINT ptElbow{u + _fSide * (0.285f + person.fTurn), v + 0.33f};
        return Sample_Blend(Sample_Rod(_p, {u + _fSide * 0.19f, v + 0.02f}, ptElbow, 0.070f, 0.054f),
                            Sample_Rod(_p, ptElbow, {u + _fSide * 0.13f, v + 0.56f}, 0.052f, 0.038f), 0.02f);
    }
    float Sleeve(SAMPLE_POINT _p, float _fSide) const
    {
        const SAMPLE_POINT ptEnd{u + _fSide * (0.232f + 0.4f * person.fTurn), v + 0.15f};
        return std::max(Sample_Rod(_p, {u + _fSide * 0.19f, v + 0.02f}, ptEnd, 0.074f, 0.076f), _p.v - v - 0.19f);
    }
    /// What cloth covers.
    float Cloth(SAMPLE_POINT _p) const
    {
        float fDistance = Chest(_p);
        for (const float fSide : {-1.0f, 1.0f})
            fDistance = Sample_Blend(fDistance, person.bBareArms ? Sleeve(_p, fSide) : Arm(_p, fSide), 0.025f);
        return fDistance;
    }
    float Neck(SAMPLE_POINT _p) const
    {
        const SAMPLE_POINT ptHead = person.pose.ptHead;
        return Sample_Rod(_p, {ptHead.u, ptHead.v + 0.08f}, {u, v - 0.06f}, 0.050f, 0.060f);
    }
    /// What the neckline leaves open.
    float Collar(SAMPLE_POINT _p) const
    {
        return Sample_Ellipse(_p, {u, v - 0.085f}, 0.082f, 0.105f);
    }
    float Outline(SAMPLE_POINT _p) const
    {
        return std::min({Chest(_p), Arm(_p, -1), Arm(_p, 1), Neck(_p)});
    }
    /// Where an arm lies against the body it is darker.
    float Crease(SAMPLE_POINT _p) const
    {
        const float fLine = std::min(std::abs(Arm(_p, -1)), std::abs(Arm(_p, 1)));
        return Sample_Step(0.022f, 0.0f, fLine) * Sample_Step(v + 0.05f, v + 0.16f, _p.v);
    }
};

/// _fnDistance bounds the part; the backdrop's light falls on it by how near the body's own outline is.
template <class Distance, class Color>
void PaintPart(CZSampleCanvas& _canvas, const BODY_SHAPE& _shape, const Distance& _fnDistance, const Color& _fnColor)
{
    _canvas.Paint(
        {_shape.u - 0.55f, _shape.v - 0.4f, _shape.u + 0.55f, _shape.v + 0.9f},
        [&](SAMPLE_POINT _p) { return _canvas.Cover(_fnDistance(_p)); },
        [&](SAMPLE_POINT _p) {
            const SAMPLE_COLOR col = _fnColor(_p, _fnDistance(_p));
            return Sample_Spill(_shape.person.pose, col, _shape.Outline(_p));
        });
}

void PaintSkin(CZSampleCanvas& _canvas, const HARD_PERSON& _person, const BODY_SHAPE& _shape)
{
    const auto fnSkin = [&](SAMPLE_POINT _p, float _f) { return LitSkin(_person.pose, _p, _f); };
    if (_person.bBareArms)
        for (const float fSide : {-1.0f, 1.0f})
            PaintPart(
                _canvas, _shape, [&](SAMPLE_POINT _p) { return _shape.Arm(_p, fSide); }, fnSkin);
    const auto fnNeck = [&](SAMPLE_POINT _p) {
        return std::min(std::max(_shape.Chest(_p) + 0.008f, _shape.Collar(_p) - 0.02f), _shape.Neck(_p));
    };
    PaintPart(_canvas, _shape, fnNeck, [&](SAMPLE_POINT _p, float) { // the chin throws a shadow
        const float fChin = _person.pose.ptHead.v;
        const float fShade = Sample_Step(fChin + 0.22f, fChin + 0.12f, _p.v);
        return Sample_Mix(LitSkin(_person.pose, _p, _shape.Neck(_p) - 0.03f), _person.pose.colSkinDark, 0.6f * fShade);
    });
}

} // namespace

SAMPLE_POSE HardPerson_Pose(const HARD_MOMENT& _moment, SAMPLE_POINT _ptHead, const SAMPLE_COLOR& _colCoat)
{
    SAMPLE_POSE pose = {};
    pose.fTime = _moment.fTime;
    pose.ptHead = {_ptHead.u + 0.02f * std::sin(_moment.fTime * 1.7f),
                   _ptHead.v + 0.004f * std::sin(_moment.fTime * 3)};
    pose.fTilt = 0.05f * std::sin(_moment.fTime * 1.7f + 0.5f);
    pose.colBack = _moment.colBack;
    pose.fSpill = 0.5f * _moment.fSpill; // the backdrop is some way behind
    pose.colCoat = _colCoat;
    pose.colSkin = c_colSkin;
    pose.colSkinDark = c_colSkinDark;
    pose.colHair = c_colHair;
    pose.nSeed = _moment.nSeed;
    return pose;
}

void HardPerson_Body(CZSampleCanvas& _canvas, const HARD_PERSON& _person)
{
    const BODY_SHAPE shape(_person);
    PaintSkin(_canvas, _person, shape);
    const auto fnCloth = [&](SAMPLE_POINT _p) { return std::max(shape.Cloth(_p), -shape.Collar(_p)); };
    PaintPart(_canvas, shape, fnCloth, [&](SAMPLE_POINT _p, float) {
        const float fSeam = Sample_Step(0.012f, 0.008f, std::abs(shape.Collar(_p) - 0.008f));
        return Sample_Scale(LitCloth(_person, _p, shape.Cloth(_p)),
                            (1 + 0.10f * fSeam) * (1 - 0.45f * shape.Crease(_p)));
    });
}

void HardPerson_Head(CZSampleCanvas& _canvas, const HARD_PERSON& _person)
{
    SAMPLE_POSE pose = _person.pose;
    pose.fSpill *= 0.6f; // hair and shoulders keep most of the backdrop's light from it
    SampleFigure_Head(_canvas, pose);
    SampleFigure_HairFront(_canvas, pose);
}

void HardPerson_HairMass(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose, SAMPLE_POINT _ptOff, float _fRadiusU,
                         float _fRadiusV)
{
    const SAMPLE_POINT pt{_pose.ptHead.u + _ptOff.u, _pose.ptHead.v + _ptOff.v};
    const auto fnDistance = [&](SAMPLE_POINT _p) {
        return Sample_Ellipse(_p, pt, _fRadiusU, _fRadiusV) +
               0.030f * (Sample_Cloud({(_p.u - pt.u) * 30, (_p.v - pt.v) * 30}, 3, 61) - 0.45f);
    };
    _canvas.Paint(
        Sample_Around(pt, std::max(_fRadiusU, _fRadiusV) + 0.05f),
        [&](SAMPLE_POINT _p) { return _canvas.Cover(fnDistance(_p)); },
        [&](SAMPLE_POINT _p) {
            const SAMPLE_POINT p{_p.u - pt.u, _p.v - pt.v};
            const float fLock = Sample_Cloud({p.u * 70 + 6 * std::sin(p.v * 20), p.v * 14}, 3, 67);
            return Sample_Spill(_pose, Sample_Scale(_pose.colHair, 0.35f + 0.8f * fLock), fnDistance(_p));
        });
}
