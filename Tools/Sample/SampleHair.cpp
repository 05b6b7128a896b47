#include "Sample/SampleLook.h"

namespace
{

/// A hair: thinner than a pixel towards its end, and lit from the left.
void Strand(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose, const SAMPLE_POINT (&_arrBend)[3], float _fThickness,
            float _fTone)
{
    constexpr int c_nPieces = 12;
    SAMPLE_POINT ptFrom = _arrBend[0];
    for (int i = 1; i <= c_nPieces; ++i)
    {
        const float t = static_cast<float>(i) / c_nPieces, s = 1 - t;
        const SAMPLE_POINT ptTo{s * s * _arrBend[0].u + 2 * s * t * _arrBend[1].u + t * t * _arrBend[2].u,
                                s * s * _arrBend[0].v + 2 * s * t * _arrBend[1].v + t * t * _arrBend[2].v};
        const float fRadius = _fThickness * (1 - 0.8f * t);
        const float fShare = std::min(2 * fRadius / _canvas.Pixel(), 1.0f); // thinner than a pixel: partly covered
        const float fDrawn = std::max(fRadius, 0.5f * _canvas.Pixel());
        const SAMPLE_COLOR col =
            Sample_Mix(Sample_Scale(_pose.colHair, _fTone), _pose.colBack, _pose.fSpill * (0.10f + 0.12f * t));
        const float fU = ptTo.u - ptFrom.u, fV = ptTo.v - ptFrom.v;
        const float fLength2 = fU * fU + fV * fV + 1e-12f;
        _canvas.Paint(
            Sample_Around(ptFrom, ptTo, fDrawn + 2 * _canvas.Pixel()),
            [&](SAMPLE_POINT _p) {
                const float fAlong = ((_p.u - ptFrom.u) * fU + (_p.v - ptFrom.v) * fV) / fLength2;
                if (fAlong < 0 || fAlong >= 1) // the pieces meet without overlap
                    return 0.0f;
                return fShare * _canvas.Cover(Sample_Rod(_p, ptFrom, ptTo, fDrawn, fDrawn));
            },
            [&](SAMPLE_POINT) { return col; });
        ptFrom = ptTo;
    }
}

/// Loose hair from around the head; _fSide is where it grows, -1 left to 1 right.
void LooseHair(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose, uint64_t _nFirst, int _nStrands, float _fReach)
{
    for (int i = 0; i < _nStrands; ++i)
    {
        const auto fnRandom = [&](uint64_t _n) {
            return Sample_Random(_pose.nSeed, _nFirst + static_cast<uint64_t>(i) * 8 + _n);
        };
        const float fSide = fnRandom(0) * 2 - 1;
        const float fAngle = fSide * 1.9f; // from the top of the head
        const SAMPLE_POINT ptRoot{_pose.ptHead.u + std::sin(fAngle) * c_fHeadU * 1.10f,
                                  _pose.ptHead.v - std::cos(fAngle) * c_fHeadV * 1.06f};
        const float fLength = _fReach * (0.35f + fnRandom(1));
        const float fSwing = 0.035f * std::sin(_pose.fTime * 2.4f - 0.6f + fnRandom(2)) * fLength / 0.15f;
        const float fOut = std::sin(fAngle);
        const SAMPLE_POINT arrBend[3] = {
            ptRoot,
            {ptRoot.u + fOut * fLength * (0.55f + 0.3f * fnRandom(3)),
             ptRoot.v - std::cos(fAngle) * fLength * 0.35f + fLength * 0.1f},
            {ptRoot.u + fOut * fLength * (0.35f + 0.7f * fnRandom(4)) + fSwing,
             ptRoot.v + fLength * (0.55f + 0.8f * fnRandom(5)) * std::abs(fOut) - fLength * 0.1f}};
        Strand(_canvas, _pose, arrBend, 0.0009f + 0.0009f * fnRandom(6), 0.7f + 1.3f * fnRandom(7));
    }
}

} // namespace

void SampleFigure_HairBehind(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose)
{
    LooseHair(_canvas, _pose, 0, 130, 0.12f);
    const SAMPLE_POINT ptCrown{_pose.ptHead.u, _pose.ptHead.v - 0.005f};
    const auto fnDistance = [&](SAMPLE_POINT _p) {
        const float fDown = Sample_Rod(_p, {ptCrown.u, ptCrown.v + 0.02f}, {ptCrown.u * 0.85f, ptCrown.v + 0.16f},
                                       c_fHeadU * 1.16f, c_fHeadU * 1.02f);
        return Sample_Blend(Sample_Ellipse(_p, ptCrown, c_fHeadU * 1.17f, c_fHeadV * 1.14f), fDown, 0.03f) +
               0.004f * std::sin(_p.u * 160 + 9 * std::sin(_p.v * 21));
    };
    _canvas.Paint(
        Sample_Around(ptCrown, 0.36f), [&](SAMPLE_POINT _p) { return _canvas.Cover(fnDistance(_p)); },
        [&](SAMPLE_POINT _p) {
            const float fLock = 0.8f + 0.25f * std::sin(_p.u * 190 + 5 * std::sin(_p.v * 17));
            return Sample_Spill(_pose, Sample_Scale(_pose.colHair, fLock), fnDistance(_p));
        });
}

void SampleFigure_HairFront(CZSampleCanvas& _canvas, const SAMPLE_POSE& _pose)
{
    const auto fnDistance = [&](SAMPLE_POINT _p) {
        const SAMPLE_POINT pt = Sample_Turn(_p, _pose.ptHead, -_pose.fTilt);
        const float fCap =
            Sample_Ellipse(pt, {_pose.ptHead.u, _pose.ptHead.v - 0.012f}, c_fHeadU * 1.12f, c_fHeadV * 1.09f);
        const SAMPLE_POINT ptFace{_pose.ptHead.u + 0.022f, _pose.ptHead.v + 0.055f};
        return std::max(fCap, -Sample_Ellipse(pt, ptFace, c_fHeadU * 1.02f, c_fHeadV * 1.08f));
    };
    _canvas.Paint(
        Sample_Around(_pose.ptHead, 0.2f), [&](SAMPLE_POINT _p) { return _canvas.Cover(fnDistance(_p)); },
        [&](SAMPLE_POINT _p) {
            const float fAngle = std::atan2(_p.v - _pose.ptHead.v + 0.25f, _p.u - _pose.ptHead.u - 0.05f);
            const float fLock = 0.85f + 0.22f * std::sin(fAngle * 46) + 0.12f * std::sin(fAngle * 111);
            const float fShine = 0.55f * Sample_Step(0.035f, 0.0f, std::abs(_p.v - _pose.ptHead.v + 0.105f));
            return Sample_Spill(_pose, Sample_Scale(_pose.colHair, fLock + fShine), fnDistance(_p));
        });
    LooseHair(_canvas, _pose, 5000, 60, 0.085f);
}
