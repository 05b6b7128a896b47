#include "Sample/SampleLook.h"

SAMPLE_POSE SampleFigure_Pose(const SAMPLE_SCENE& _scene, int64_t _nFrame)
{
    SAMPLE_POSE pose = {};
    pose.fTime = static_cast<float>(static_cast<double>(_nFrame) / _scene.dblRate);
    pose.fShutter = static_cast<float>(0.5 / _scene.dblRate);
    pose.ptHead = {-0.02f + 0.035f * std::sin(pose.fTime * 1.9f), 0.33f + 0.006f * std::sin(pose.fTime * 3.8f)};
    pose.fTilt = 0.07f * std::sin(pose.fTime * 1.9f + 0.5f);
    pose.colBack = _scene.bBlue ? SAMPLE_COLOR{0.12f, 0.26f, 0.80f} : SAMPLE_COLOR{0.16f, 0.74f, 0.30f};
    pose.colCoat = _scene.bBlue ? SAMPLE_COLOR{0.46f, 0.11f, 0.15f} : SAMPLE_COLOR{0.14f, 0.19f, 0.42f};
    pose.fSpill = 1;
    pose.colSkin = c_colSkin;
    pose.colSkinDark = c_colSkinDark;
    pose.colHair = c_colHair;
    pose.nSeed = _scene.nSeed;
    return pose;
}

void SampleFigure_Body(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose)
{
    const float fLean = _pose.ptHead.u * 0.6f;
    const SAMPLE_POINT ptNeck{_pose.ptHead.u * 0.8f, _pose.ptHead.v + 0.21f};
    const auto fnTorso = [&](SAMPLE_POINT _p) {
        const float fShoulders = Sample_Rod(_p, {fLean - 0.19f, 0.70f}, {fLean + 0.19f, 0.70f}, 0.085f, 0.085f);
        const float fChest = Sample_Rod(_p, {fLean, 0.70f}, {fLean * 0.6f, 1.2f}, 0.17f, 0.25f);
        return Sample_Blend(fShoulders, fChest, 0.10f);
    };
    const auto fnNeck = [&](SAMPLE_POINT _p) {
        return Sample_Rod(_p, {_pose.ptHead.u, _pose.ptHead.v + 0.08f}, ptNeck, 0.048f, 0.060f);
    };
    _canvas.Paint(
        Sample_Around(ptNeck, 0.3f), [&](SAMPLE_POINT _p) { return _canvas.Cover(fnNeck(_p)); },
        [&](SAMPLE_POINT _p) { // the chin throws a shadow
            const float fShade = Sample_Step(_pose.ptHead.v + 0.20f, _pose.ptHead.v + 0.12f, _p.v);
            return Sample_Mix(_pose.colSkin, _pose.colSkinDark, 0.25f + 0.55f * fShade);
        });
    _canvas.Paint(
        {fLean - 0.5f, 0.5f, fLean + 0.5f, 1.1f},
        [&](SAMPLE_POINT _p) {
            const float fCollar = Sample_Ellipse(_p, {ptNeck.u, ptNeck.v - 0.03f}, 0.072f, 0.085f);
            return _canvas.Cover(std::max(fnTorso(_p), -fCollar));
        },
        [&](SAMPLE_POINT _p) {
            const float fU = _p.u - fLean * 0.9f, fOpen = 0.075f * Sample_Step(0.98f, 0.56f, _p.v) + 0.004f;
            const float fLapel = std::abs(fU) - fOpen;
            const float fFold = 0.05f * std::sin(_p.u * 30 + 6 * std::sin(_p.v * 9)) + 0.25f * (0.1f - _p.u);
            const SAMPLE_COLOR colCoat =
                Sample_Scale(_pose.colCoat, 1.0f + fFold - 0.45f * (fLapel > 0.03f && fLapel < 0.036f));
            const float fStripe = 0.94f + 0.06f * (std::sin(fU * 420) > 0.2f);
            const SAMPLE_COLOR colShirt =
                Sample_Scale(c_colShirt, fStripe * (1 - 0.5f * Sample_Step(-0.02f, 0, fLapel)));
            return Sample_Spill(_pose, Sample_Mix(colShirt, colCoat, _canvas.Cover(-fLapel)), fnTorso(_p));
        });
}

void SampleFigure_Paint(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose)
{
    SampleFigure_HairBehind(_canvas, _pose);
    SampleFigure_Body(_canvas, _pose);
    SampleFigure_Head(_canvas, _pose);
    SampleFigure_HairFront(_canvas, _pose);
    SampleFigure_Scarf(_canvas, _pose);
    SampleFigure_Arm(_canvas, _pose);
    SampleFigure_Ball(_canvas, _pose);
    SampleFigure_Bubbles(_canvas, _pose);
}
