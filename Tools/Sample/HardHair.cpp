#include "Sample/HardHair.h"

#include "Sample/SampleLook.h"

namespace
{

constexpr float c_fLens = 1.3f; // pixels over which a lens draws a point

/// The share of a pixel that a straight line of this radius covers at this distance.
float LineCover(float _fDistance, float _fRadius, float _fPixel)
{
    const float fHalf = 0.5f * c_fLens * _fPixel;
    const float fInside = std::min(_fDistance + fHalf, _fRadius) - std::max(_fDistance - fHalf, -_fRadius);
    return std::clamp(fInside / (2 * fHalf), 0.0f, 1.0f);
}

float ToPiece(SAMPLE_POINT _p, const std::vector<SAMPLE_POINT>& _vecPoints, size_t _nPiece)
{
    return Sample_Rod(_p, _vecPoints[_nPiece], _vecPoints[_nPiece + 1], 0, 0);
}

/// The distance to a piece; far away where one of the pieces beside it is nearer, so that each pixel is painted once.
float ToOwnPiece(SAMPLE_POINT _p, const std::vector<SAMPLE_POINT>& _vecPoints, size_t _nPiece, float _fReach)
{
    const float fDistance = ToPiece(_p, _vecPoints, _nPiece);
    if (fDistance >= _fReach || (_nPiece > 0 && ToPiece(_p, _vecPoints, _nPiece - 1) <= fDistance))
        return _fReach;
    const bool bNextIsNearer = _nPiece + 2 < _vecPoints.size() && ToPiece(_p, _vecPoints, _nPiece + 1) < fDistance;
    return bNextIsNearer ? _fReach : fDistance;
}

/// A strand shines where it runs across the light from the upper left.
SAMPLE_COLOR StrandColor(const HARD_MOMENT& _moment, const HARD_STRAND& _strand, size_t _nPiece, float _fAlong)
{
    const SAMPLE_POINT a = _strand.vecPoints[_nPiece], b = _strand.vecPoints[_nPiece + 1];
    const float fLength = Sample_Length(b.u - a.u, b.v - a.v) + 1e-9f;
    const float fAcross = ((b.u - a.u) * 0.75f - (b.v - a.v) * 0.66f) / fLength;
    const float fBright = 0.62f + 0.45f * fAcross * fAcross * fAcross * fAcross * (1 + _strand.fShine);
    SAMPLE_COLOR col = Sample_Scale(_strand.col, fBright);
    col = Sample_Mix(col, {1.0f, 0.95f, 0.88f}, 0.25f * _strand.fShine * std::pow(std::abs(fAcross), 14.0f));
    return Sample_Mix(col, _moment.colBack, _moment.fSpill * _strand.fSpill * (0.25f + 0.75f * _fAlong));
}

/// A strand of hair that falls from its root.
HARD_STRAND Grown(const HARD_MOMENT& _moment, const HARD_HAIR& _hair, uint64_t _nStrand)
{
    const auto fnRandom = [&](uint64_t _n) { return Sample_Random(_hair.nSeed, _nStrand * 16 + _n); };
    const bool bWild = fnRandom(0) < _hair.fWild;
    const float fAngle = _hair.fFrom + (_hair.fTo - _hair.fFrom) * fnRandom(1);
    const float fDepth = 0.86f + 0.16f * fnRandom(2);
    SAMPLE_POINT pt{_hair.ptHead.u + std::sin(fAngle) * _hair.fRadiusU * fDepth,
                    _hair.ptHead.v - std::cos(fAngle) * _hair.fRadiusV * fDepth};
    const float fLength = _hair.fLength * (bWild ? 0.5f + fnRandom(3) : 0.7f + 0.4f * fnRandom(3));
    constexpr int c_nPieces = 40;
    const float fStep = fLength / c_nPieces;
    const float fUpright = 0.35f + 0.65f * std::abs(std::sin(fAngle)); // hair on the crown lies closer
    const float fOut = fUpright * _hair.fOut * (bWild ? 1.0f + 2.0f * fnRandom(4) : 0.5f + 0.5f * fnRandom(4));
    const float fCurl = _hair.fCurl * (bWild ? 0.5f + 1.6f * fnRandom(5) : 0.4f + 0.9f * fnRandom(5));
    const float fTurns = _hair.fTurns * (0.6f + 0.8f * fnRandom(6)), fPhase = 6.283f * fnRandom(7);
    const float fSway = 0.5f * std::sin(_moment.fTime * 2.1f + 3 * fnRandom(8)) + _hair.fWind;
    const float fLoose = (fnRandom(9) - 0.5f) * (bWild ? 1.3f : 0.35f);
    HARD_STRAND strand = {};
    SAMPLE_POINT ptLine = pt; // the strand winds round this line
    for (int i = 0; i <= c_nPieces; ++i)
    {
        const float t = static_cast<float>(i) / c_nPieces;
        const float fFall = Sample_Step(0, fOut, t);
        const float fU = std::sin(fAngle) * (1 - fFall) + fFall * (fLoose + fSway * t * 0.6f);
        const float fV = -std::cos(fAngle) * (1 - fFall) + fFall * (bWild ? 0.75f + 0.5f * fLoose : 1.0f);
        const float fUnit = fStep / (Sample_Length(fU, fV) + 1e-6f);
        ptLine = {ptLine.u + fU * fUnit, ptLine.v + fV * fUnit};
        const float fTurn = fPhase + 6.283f * fTurns * t, fWide = fCurl * Sample_Step(0, 0.35f, t);
        strand.vecPoints.push_back({ptLine.u + fWide * std::sin(fTurn), ptLine.v + 0.7f * fWide * std::cos(fTurn)});
    }
    strand.fRadius = 0.5f * _hair.fThickness * (0.55f + 0.9f * fnRandom(10)) * (bWild ? 0.7f : 1.0f);
    strand.fOpacity = 0.35f + 0.4f * fnRandom(11);
    const float fTone = 0.65f + 0.75f * fnRandom(12);
    strand.col = Sample_Mix(Sample_Scale(_hair.col, fTone), {_hair.col.r * 1.15f, _hair.col.g, _hair.col.b * 0.8f},
                            0.4f * fnRandom(13));
    strand.fShine = _hair.fShine * (0.5f + fnRandom(14));
    strand.fSpill = _hair.fSpill * (0.6f + 0.8f * fnRandom(15));
    return strand;
}

} // namespace

void HardHair_Strand(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment, const HARD_STRAND& _strand)
{
    const size_t nPieces = _strand.vecPoints.size() - 1;
    for (size_t n = 0; n < nPieces; ++n)
    {
        const float fAlong = (static_cast<float>(n) + 0.5f) / static_cast<float>(nPieces);
        const float fRadius = _strand.fRadius * (1 - 0.75f * fAlong * fAlong);
        const float fOpacity = 1 - (1 - _strand.fOpacity) * Sample_Step(0.3f, 1.0f, fAlong);
        const float fReach = fRadius + c_fLens * _canvas.Pixel();
        const SAMPLE_COLOR col = StrandColor(_moment, _strand, n, fAlong);
        _canvas.Paint(
            Sample_Around(_strand.vecPoints[n], _strand.vecPoints[n + 1], fReach),
            [&](SAMPLE_POINT _p) {
                const float fDistance = ToOwnPiece(_p, _strand.vecPoints, n, fReach);
                return fDistance < fReach ? fOpacity * LineCover(fDistance, fRadius, _canvas.Pixel()) : 0.0f;
            },
            [&](SAMPLE_POINT) { return col; });
    }
}

void HardHair_Paint(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment, const HARD_HAIR& _hair)
{
    for (int i = 0; i < _hair.nStrands; ++i)
        HardHair_Strand(_canvas, _moment, Grown(_moment, _hair, static_cast<uint64_t>(i)));
}
