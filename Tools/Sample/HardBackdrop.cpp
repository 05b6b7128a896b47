#include "Sample/HardBackdrop.h"

#include "Sample/SampleTexture.h"

namespace
{

float ClothLight(SAMPLE_POINT _p)
{
    const float fLeft = Sample_Length((_p.u + 0.55f) * 0.8f, _p.v - 0.2f);
    const float fRight = Sample_Length((_p.u - 0.65f) * 0.8f, _p.v - 0.35f);
    const float fLamps = 0.74f + 0.27f * std::exp(-fLeft * fLeft * 2.4f) + 0.19f * std::exp(-fRight * fRight * 2.8f);
    const float fCrease = Sample_Cloud({_p.u * 3.1f + 0.5f * std::sin(_p.v * 2), _p.v * 0.7f}, 4, 71) - 0.5f;
    const float fWeave = Sample_Smooth({_p.u * 500, _p.v * 500}, 73) - 0.5f;
    return fLamps * (1 + 0.12f * fCrease + 0.012f * fWeave) - 0.05f * _p.v;
}

/// The shape of a person's shadow, softer further down, where the body is further from the wall.
float ShadowCover(SAMPLE_POINT _p)
{
    const SAMPLE_POINT ptHead{0.22f, 0.40f};
    const float fHead = Sample_Ellipse(_p, ptHead, 0.15f, 0.19f);
    const float fShoulders = Sample_Rod(_p, {ptHead.u - 0.22f, 0.80f}, {ptHead.u + 0.22f, 0.80f}, 0.10f, 0.10f);
    const float fNeck = Sample_Rod(_p, ptHead, {ptHead.u, 0.8f}, 0.08f, 0.1f);
    const float fBody = Sample_Rod(_p, {ptHead.u, 0.85f}, {ptHead.u, 1.4f}, 0.24f, 0.28f);
    const float fArm = Sample_Rod(_p, {ptHead.u + 0.26f, 0.82f}, {ptHead.u + 0.42f, 1.1f}, 0.08f, 0.07f);
    const float fDistance = std::min({fHead, fShoulders, fNeck, fBody, fArm});
    const float fSoft = 0.012f + 0.05f * std::clamp(_p.v - 0.2f, 0.0f, 1.0f);
    return Sample_Step(fSoft, -fSoft, fDistance);
}

/// Where the next cross of tape is: the distance to it, and its number.
float CrossDistance(SAMPLE_POINT _p, uint64_t& _nCross)
{
    constexpr float c_fStep = 0.31f;
    const float fU = std::floor(_p.u / c_fStep), fV = std::floor(_p.v / c_fStep);
    _nCross = static_cast<uint64_t>(static_cast<int64_t>(fU) * 64 + static_cast<int64_t>(fV) + 4096);
    const SAMPLE_POINT pt{(fU + 0.35f + 0.3f * Sample_Random(79, _nCross)) * c_fStep,
                          (fV + 0.35f + 0.3f * Sample_Random(83, _nCross)) * c_fStep};
    const SAMPLE_POINT p = Sample_Turn(_p, pt, 0.3f * (Sample_Random(89, _nCross) - 0.5f));
    if (_nCross % 5 == 0)
        return Sample_Length(p.u - pt.u, p.v - pt.v) - 0.010f; // a dot
    const auto fnBar = [](float _fAlong, float _fAcross) {
        return std::max(std::abs(_fAlong) - 0.022f, std::abs(_fAcross) - 0.0045f);
    };
    return std::min(fnBar(p.u - pt.u, p.v - pt.v), fnBar(p.v - pt.v, p.u - pt.u));
}

} // namespace

SAMPLE_COLOR HardBackdrop_Cloth(SAMPLE_POINT _p, const HARD_MOMENT& /*_moment*/)
{
    const float fLight = ClothLight(_p);
    return {fLight, fLight, fLight};
}

SAMPLE_COLOR HardBackdrop_Wall(SAMPLE_POINT _p, const HARD_MOMENT& /*_moment*/)
{
    const float fSide = 1.0f - 0.16f * (_p.u + 0.5f) - 0.05f * _p.v;
    const float fPaint = 0.05f * (Sample_Cloud({_p.u * 6, _p.v * 6}, 5, 97) - 0.5f);
    const float fLight = fSide + fPaint;
    return {fLight, fLight * (1 - 0.01f * _p.u), fLight * (1 - 0.03f * _p.u)};
}

SAMPLE_COLOR HardBackdrop_Shadow(SAMPLE_POINT _p, const HARD_MOMENT& /*_moment*/)
{
    const float fLight = ClothLight(_p) * (1 - 0.50f * ShadowCover(_p));
    return {fLight, fLight, fLight};
}

SAMPLE_COLOR HardBackdrop_Marks(SAMPLE_POINT _p, const HARD_MOMENT& /*_moment*/)
{
    uint64_t nCross = 0;
    const float fLight = ClothLight(_p);
    const float fTape = Sample_Step(0.0016f, -0.0016f, CrossDistance(_p, nCross));
    const SAMPLE_COLOR colTape = nCross % 5 == 0 ? SAMPLE_COLOR{5.0f, 1.25f, 2.7f} : SAMPLE_COLOR{2.0f, 1.28f, 1.5f};
    return Sample_Scale(Sample_Mix({1, 1, 1}, colTape, fTape), fLight);
}

SAMPLE_COLOR HardBackdrop_Lamps(SAMPLE_POINT _p, const HARD_MOMENT& _moment)
{
    const float fBand = std::sin(6.2832f * (_p.v * 1.7f + _moment.fTime * 3.3f));
    const float fBeat = std::sin(6.2832f * _moment.fTime * 4.7f);
    const float fLight = ClothLight(_p) * (1 + 0.09f * fBand + 0.05f * fBeat);
    return {fLight * (1 - 0.02f * fBand), fLight, fLight * (1 + 0.03f * fBand)};
}
