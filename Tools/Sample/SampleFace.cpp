#include "Sample/SampleLook.h"

namespace
{

constexpr SAMPLE_COLOR c_colLips{0.70f, 0.30f, 0.28f};

/// A point as the upright head has it, from the middle of the face.
SAMPLE_POINT OnFace(const SAMPLE_POSE& _pose, SAMPLE_POINT _p)
{
    const SAMPLE_POINT pt = Sample_Turn(_p, _pose.ptHead, -_pose.fTilt);
    return {pt.u - _pose.ptHead.u, pt.v - _pose.ptHead.v};
}

SAMPLE_COLOR SkinAt(const SAMPLE_POSE& _pose, SAMPLE_POINT _pt)
{
    const float fLight = 0.55f - 2.3f * _pt.u - 1.0f * _pt.v;
    SAMPLE_COLOR col = Sample_Mix(_pose.colSkinDark, _pose.colSkin, std::clamp(fLight + 0.45f, 0.0f, 1.08f));
    for (const float fSide : {-1.0f, 1.0f})
    {
        const float fCheek = Sample_Length(_pt.u - fSide * 0.055f, _pt.v - 0.04f);
        col = Sample_Mix(col, {0.86f, 0.46f, 0.40f}, 0.35f * std::exp(-fCheek * fCheek * 1800));
    }
    const float fNose = Sample_Rod(_pt, {0.006f, -0.01f}, {0.016f, 0.036f}, 0.004f, 0.010f);
    return Sample_Mix(col, _pose.colSkinDark, 0.45f * Sample_Step(0.010f, -0.002f, fNose) * (_pt.u > 0.004f));
}

void PaintEye(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose, float _fSide)
{
    const SAMPLE_POINT ptEye{_fSide * 0.043f, -0.012f};
    const float fPhase = std::fmod(_pose.fTime + 0.8f, 2.6f);
    const float fOpen = fPhase < 0.16f ? 0.15f : 1.0f; // a blink every now and then
    const SAMPLE_BOX box = Sample_Around(_pose.ptHead, 0.12f);
    const auto fnEye = [&](SAMPLE_POINT _p) {
        return Sample_Ellipse(OnFace(_pose, _p), ptEye, 0.021f, 0.0115f * fOpen);
    };
    const float fLook = 0.006f * std::sin(_pose.fTime * 1.3f);
    _canvas.Paint(
        box, [&](SAMPLE_POINT _p) { return _canvas.Cover(fnEye(_p)); },
        [&](SAMPLE_POINT _p) {
            const SAMPLE_POINT pt = OnFace(_pose, _p);
            const float fIris = Sample_Length(pt.u - ptEye.u - fLook, pt.v - ptEye.v);
            if (Sample_Length(pt.u - ptEye.u - fLook + 0.003f, pt.v - ptEye.v + 0.003f) < 0.0022f)
                return SAMPLE_COLOR{1, 1, 1};
            const SAMPLE_COLOR colIris =
                Sample_Mix({0.05f, 0.03f, 0.03f}, {0.33f, 0.20f, 0.12f}, _canvas.Cover(0.0045f - fIris));
            return Sample_Mix({0.92f, 0.90f, 0.88f}, colIris, _canvas.Cover(fIris - 0.0095f));
        });
    const auto fnBrow = [&](SAMPLE_POINT _p) {
        return Sample_Rod(OnFace(_pose, _p), {_fSide * 0.022f, -0.043f}, {_fSide * 0.066f, -0.042f}, 0.0055f, 0.0025f);
    };
    const auto fnLid = [&](SAMPLE_POINT _p) {
        const SAMPLE_POINT pt = OnFace(_pose, _p);
        const float fRim = std::abs(Sample_Ellipse(pt, ptEye, 0.022f, 0.0125f * fOpen)) - 0.0014f;
        return pt.v < ptEye.v ? fRim : fRim + 0.0012f;
    };
    _canvas.Paint(
        box, [&](SAMPLE_POINT _p) { return 0.9f * _canvas.Cover(std::min(fnBrow(_p), fnLid(_p))); },
        [&](SAMPLE_POINT) { return Sample_Scale(_pose.colHair, 0.9f); });
}

void PaintMouth(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose)
{
    const float fOpen = 0.004f + 0.007f * std::max(0.0f, std::sin(_pose.fTime * 9) * std::sin(_pose.fTime * 2.1f));
    const auto fnLips = [&](SAMPLE_POINT _p) {
        SAMPLE_POINT pt = OnFace(_pose, _p);
        pt.v += 6 * pt.u * pt.u; // a smile
        return Sample_Ellipse(pt, {0.002f, 0.082f}, 0.034f, 0.007f + fOpen);
    };
    _canvas.Paint(
        Sample_Around(_pose.ptHead, 0.13f), [&](SAMPLE_POINT _p) { return _canvas.Cover(fnLips(_p)); },
        [&](SAMPLE_POINT _p) {
            SAMPLE_POINT pt = OnFace(_pose, _p);
            pt.v += 6 * pt.u * pt.u;
            const float fInside = Sample_Ellipse(pt, {0.002f, 0.081f}, 0.028f, fOpen);
            return Sample_Mix(c_colLips, {0.86f, 0.82f, 0.78f}, _canvas.Cover(fInside));
        });
}

} // namespace

void SampleFigure_Head(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose)
{
    const auto fnDistance = [&](SAMPLE_POINT _p) {
        const SAMPLE_POINT pt = OnFace(_pose, _p);
        const float fSkull = Sample_Ellipse(pt, {0, -0.02f}, c_fHeadU, c_fHeadV * 0.88f);
        const float fChin = Sample_Ellipse(pt, {0, 0.055f}, c_fHeadU * 0.74f, c_fHeadV * 0.64f);
        const float fEars = std::min(Sample_Ellipse(pt, {-c_fHeadU, 0.005f}, 0.016f, 0.030f),
                                     Sample_Ellipse(pt, {c_fHeadU, 0.005f}, 0.016f, 0.030f));
        return std::min(Sample_Blend(fSkull, fChin, 0.08f), fEars);
    };
    _canvas.Paint(
        Sample_Around(_pose.ptHead, 0.2f), [&](SAMPLE_POINT _p) { return _canvas.Cover(fnDistance(_p)); },
        [&](SAMPLE_POINT _p) { return Sample_Spill(_pose, SkinAt(_pose, OnFace(_pose, _p)), fnDistance(_p)); });
    PaintEye(_canvas, _pose, -1);
    PaintEye(_canvas, _pose, 1);
    PaintMouth(_canvas, _pose);
}
