#include "Sample/SampleLook.h"

#include <array>

namespace
{

constexpr int c_nShutterSteps = 8; // moments over which a fast part is smeared

/// The moments while the shutter is open.
float Moment(const SAMPLE_POSE& _pose, int _nStep)
{
    return _pose.fTime + _pose.fShutter * (static_cast<float>(_nStep) / c_nShutterSteps - 0.5f);
}

struct ARM
{
    SAMPLE_POINT ptElbow;
    SAMPLE_POINT ptWrist;
    SAMPLE_POINT ptCuff;
    SAMPLE_POINT ptPalm;
    SAMPLE_POINT arrTips[5]; ///< of the fingers, the thumb last
};

/// A point from another one, by a length and an angle from straight up.
SAMPLE_POINT Ahead(SAMPLE_POINT _pt, float _fLength, float _fAngle)
{
    return {_pt.u + _fLength * std::sin(_fAngle), _pt.v - _fLength * std::cos(_fAngle)};
}

ARM ArmAt(const SAMPLE_POSE& _pose, float _fTime)
{
    const float fAngle = 0.28f + 0.42f * std::sin(_fTime * 7.5f); // of the forearm
    ARM arm = {};
    arm.ptElbow = {_pose.ptHead.u * 0.6f + 0.36f, 0.80f};
    arm.ptWrist = Ahead(arm.ptElbow, 0.26f, fAngle);
    arm.ptCuff = Ahead(arm.ptElbow, 0.21f, fAngle);
    arm.ptPalm = Ahead(arm.ptWrist, 0.055f, fAngle * 1.2f);
    for (int i = 0; i < 4; ++i)
        arm.arrTips[i] = Ahead(arm.ptPalm, 0.092f - 0.006f * std::abs(static_cast<float>(i) - 1.3f),
                               fAngle * 1.2f - 0.40f + 0.27f * static_cast<float>(i));
    arm.arrTips[4] = Ahead(arm.ptPalm, 0.062f, fAngle * 1.2f - 1.15f);
    return arm;
}

float SleeveDistance(const SAMPLE_POSE& _pose, const ARM& _arm, SAMPLE_POINT _p)
{
    const SAMPLE_POINT ptShoulder{_pose.ptHead.u * 0.6f + 0.21f, 0.70f};
    return Sample_Blend(Sample_Rod(_p, ptShoulder, _arm.ptElbow, 0.075f, 0.060f),
                        Sample_Rod(_p, _arm.ptElbow, _arm.ptCuff, 0.058f, 0.043f), 0.02f);
}

float HandDistance(const ARM& _arm, SAMPLE_POINT _p)
{
    float fDistance = Sample_Rod(_p, _arm.ptWrist, _arm.ptPalm, 0.026f, 0.033f);
    for (const SAMPLE_POINT& ptTip : _arm.arrTips)
        fDistance = Sample_Blend(fDistance, Sample_Rod(_p, _arm.ptPalm, ptTip, 0.0105f, 0.0075f), 0.003f);
    return fDistance;
}

/// The share of the shutter time during which a pixel is covered.
template <class At, class Distance> float SmearedCover(const CZSampleCanvas& _canvas,
                                                       const std::array<At, c_nShutterSteps>& _arrAt,
                                                       const Distance& _fnDistance)
{
    constexpr float c_fFarthest = 0.06f; // no part moves further in half a shutter time
    const float fMiddle = _fnDistance(_arrAt[c_nShutterSteps / 2]);
    if (std::abs(fMiddle) > c_fFarthest)
        return fMiddle < 0 ? 1.0f : 0.0f;
    float fCover = 0;
    for (const At& at : _arrAt)
        fCover += _canvas.Cover(_fnDistance(at));
    return fCover / c_nShutterSteps;
}

SAMPLE_POINT BallAt(float _fTime)
{
    const float fFlight = std::fmod(_fTime + 0.4f, 2.4f); // it comes back every 2.4 s
    return {-1.05f + 1.15f * fFlight, 0.54f - 0.85f * fFlight + 0.42f * fFlight * fFlight};
}

} // namespace

void SampleFigure_Scarf(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose)
{
    constexpr SAMPLE_COLOR c_colGauze{0.93f, 0.52f, 0.16f};
    const SAMPLE_POINT ptNeck{_pose.ptHead.u * 0.8f, _pose.ptHead.v + 0.235f};
    const auto fnWave = [&](float _fU) { return 0.028f * std::sin(_fU * 17 + _pose.fTime * 5); };
    const auto fnTail = [&](SAMPLE_POINT _p) { // a band that flutters to the left
        const float fAlong = std::clamp((ptNeck.u - _p.u) / 0.50f, 0.0f, 1.0f);
        const float fMiddle = ptNeck.v + 0.005f + 0.15f * fAlong + fnWave(_p.u) * fAlong * 2;
        const float fAcross = std::abs(_p.v - fMiddle) - (0.022f + 0.059f * fAlong);
        return std::max({fAcross, _p.u - ptNeck.u, ptNeck.u - 0.50f - _p.u + 0.008f * std::sin(_p.v * 140)});
    };
    _canvas.Paint(
        {ptNeck.u - 0.55f, ptNeck.v - 0.15f, ptNeck.u + 0.02f, ptNeck.v + 0.45f},
        [&](SAMPLE_POINT _p) { // thin, a little thicker in its folds and at its hem
            const float fDistance = fnTail(_p);
            const float fFold = 0.5f + 0.5f * std::sin(_p.u * 34 + _p.v * 20 + _pose.fTime * 5);
            const float fHem = 0.30f * Sample_Step(-0.010f, -0.004f, fDistance);
            return (0.34f + 0.30f * fFold + fHem) * _canvas.Cover(fDistance);
        },
        [&](SAMPLE_POINT _p) {
            return Sample_Scale(c_colGauze, 0.9f + 0.14f * std::sin(_p.u * 34 + _p.v * 20 + _pose.fTime * 5 + 1));
        });
    const auto fnWrap = [&](SAMPLE_POINT _p) {
        return Sample_Rod(_p, {ptNeck.u - 0.072f, ptNeck.v - 0.03f + 0.02f}, {ptNeck.u + 0.072f, ptNeck.v - 0.01f},
                          0.036f, 0.034f);
    };
    _canvas.Paint(
        Sample_Around(ptNeck, 0.14f), [&](SAMPLE_POINT _p) { return 0.94f * _canvas.Cover(fnWrap(_p)); },
        [&](SAMPLE_POINT _p) {
            return Sample_Scale(c_colGauze, 0.80f + 0.16f * std::sin((_p.v + 0.3f * _p.u) * 210));
        });
}

void SampleFigure_Arm(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose)
{
    std::array<ARM, c_nShutterSteps> arrArms;
    for (int i = 0; i < c_nShutterSteps; ++i)
        arrArms[static_cast<size_t>(i)] = ArmAt(_pose, Moment(_pose, i));
    const ARM& middle = arrArms[c_nShutterSteps / 2];
    _canvas.Paint(
        Sample_Around(middle.ptPalm, 0.16f),
        [&](SAMPLE_POINT _p) {
            return SmearedCover(_canvas, arrArms, [&](const ARM& _arm) { return HandDistance(_arm, _p); });
        },
        [&](SAMPLE_POINT _p) {
            const float fDistance = HandDistance(middle, _p);
            const float fShade = Sample_Step(-0.014f, 0.0f, fDistance) * 0.55f + 0.10f;
            return Sample_Spill(_pose, Sample_Mix(_pose.colSkin, _pose.colSkinDark, fShade), fDistance);
        });
    _canvas.Paint(
        {middle.ptElbow.u - 0.26f, 0.50f, middle.ptElbow.u + 0.32f, 0.92f},
        [&](SAMPLE_POINT _p) {
            return SmearedCover(_canvas, arrArms, [&](const ARM& _arm) { return SleeveDistance(_pose, _arm, _p); });
        },
        [&](SAMPLE_POINT _p) {
            const float fDistance = SleeveDistance(_pose, middle, _p);
            const float fFold = 0.07f * std::sin(_p.u * 60 - _p.v * 85);
            const float fRound = 0.85f + 0.25f * Sample_Step(-0.01f, -0.05f, fDistance);
            return Sample_Spill(_pose, Sample_Scale(_pose.colCoat, fRound + fFold), fDistance);
        });
}

void SampleFigure_Ball(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose)
{
    constexpr float c_fRadius = 0.052f;
    std::array<SAMPLE_POINT, c_nShutterSteps> arrCenters;
    for (int i = 0; i < c_nShutterSteps; ++i)
        arrCenters[static_cast<size_t>(i)] = BallAt(Moment(_pose, i));
    const SAMPLE_POINT ptMiddle = BallAt(_pose.fTime);
    _canvas.Paint(
        Sample_Around(arrCenters.front(), arrCenters.back(), 1.6f * c_fRadius),
        [&](SAMPLE_POINT _p) {
            return SmearedCover(_canvas, arrCenters, [&](SAMPLE_POINT _pt) {
                return Sample_Length(_p.u - _pt.u, _p.v - _pt.v) - c_fRadius;
            });
        },
        [&](SAMPLE_POINT _p) {
            const SAMPLE_POINT pt = Sample_Turn(_p, ptMiddle, _pose.fTime * 4);
            const float fStripe = _canvas.Cover(std::abs(pt.v - ptMiddle.v) - 0.014f);
            const SAMPLE_COLOR col = Sample_Mix({0.83f, 0.17f, 0.13f}, {0.95f, 0.90f, 0.80f}, fStripe);
            const float fLamp = Sample_Length(_p.u - ptMiddle.u + 0.020f, _p.v - ptMiddle.v + 0.022f) / c_fRadius;
            const float fDistance = Sample_Length(_p.u - ptMiddle.u, _p.v - ptMiddle.v) - c_fRadius;
            const SAMPLE_COLOR colLit = Sample_Scale(col, 1.12f - 0.42f * fLamp * fLamp);
            return Sample_Spill(_pose, Sample_Mix(colLit, {1, 1, 1}, 0.7f * Sample_Step(0.35f, 0.05f, fLamp)),
                                fDistance);
        });
}

void SampleFigure_Bubbles(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose)
{
    for (uint64_t i = 0; i < 6; ++i)
    {
        const auto fnRandom = [&](uint64_t _n) { return Sample_Random(_pose.nSeed + 77, 8 * i + _n); };
        const float fRadius = 0.022f + 0.034f * fnRandom(0);
        const float fRise = std::fmod(fnRandom(1) * 1.4f + _pose.fTime * (0.10f + 0.08f * fnRandom(2)), 1.4f);
        const SAMPLE_POINT pt{-0.80f + 0.38f * fnRandom(3) + 0.02f * std::sin(_pose.fTime * 2 + 6 * fnRandom(4)),
                              1.2f - fRise};
        const auto fnGlint = [&](SAMPLE_POINT _p) {
            return Sample_Length(_p.u - pt.u + 0.4f * fRadius, _p.v - pt.v + 0.45f * fRadius) - 0.16f * fRadius;
        };
        _canvas.Paint(
            Sample_Around(pt, fRadius * 1.1f + 0.004f),
            [&](SAMPLE_POINT _p) { // a skin that is seen edge-on at the rim
                const float fOut = Sample_Length(_p.u - pt.u, _p.v - pt.v) / fRadius;
                const float fSkin = 0.07f + 0.55f * std::pow(std::min(fOut, 1.0f), 9.0f);
                const float fGlint = 0.85f * _canvas.Cover(fnGlint(_p));
                return std::max(fSkin, fGlint) * _canvas.Cover((fOut - 1) * fRadius);
            },
            [&](SAMPLE_POINT _p) {
                const float fHue = std::atan2(_p.v - pt.v, _p.u - pt.u) * 2 + _pose.fTime;
                const SAMPLE_COLOR col{0.85f + 0.15f * std::sin(fHue), 0.82f, 0.88f + 0.12f * std::cos(fHue)};
                return Sample_Mix(col, {1, 1, 1}, _canvas.Cover(fnGlint(_p)));
            });
    }
}
