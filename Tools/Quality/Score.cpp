#include "Quality/Score.h"

#include "Sample/SamplePaint.h"

#include <array>

namespace
{

/// Light of each coded value.
const std::array<float, 256>& Lights()
{
    static const std::array<float, 256> s_arrLights = [] {
        std::array<float, 256> arrLights = {};
        for (size_t n = 0; n < 256; ++n)
            arrLights[n] = Sample_ToLight(static_cast<float>(n) / 255);
        return arrLights;
    }();
    return s_arrLights;
}

/// Sums over the pixels of one frame.
struct FRAME_SUMS
{
    double dblSquares = 0;
    double dblSoftSquares = 0;
    double dblColours = 0;
    int64_t nSoft = 0, nSolid = 0, nGone = 0, nHoles = 0, nRest = 0;

    void AddAlpha(float _fKeyed, float _fTruth)
    {
        const double dblSquare = static_cast<double>(_fKeyed - _fTruth) * static_cast<double>(_fKeyed - _fTruth);
        dblSquares += dblSquare;
        if (_fTruth > 0.995f)
        {
            ++nSolid;
            nHoles += _fKeyed < 0.9f;
        }
        else if (_fTruth < 0.005f)
        {
            ++nGone;
            nRest += _fKeyed > 0.06f;
        }
        else
        {
            ++nSoft;
            dblSoftSquares += dblSquare;
        }
    }
    void AddColour(const uint8_t* _pKeyed, const uint8_t* _pGround, const float* _pReference)
    {
        const float fAlpha = static_cast<float>(_pKeyed[3]) / 255;
        for (int c = 0; c < 3; ++c)
        {
            const float fOver = _pKeyed[c] * fAlpha + _pGround[c] * (1 - fAlpha);
            const double dblError = fOver - _pReference[c];
            dblColours += dblError * dblError;
        }
    }
};

double Share(double _dblPart, int64_t _nAll)
{
    return _nAll > 0 ? 1000 * _dblPart / static_cast<double>(_nAll) : 0;
}

} // namespace

void Score_Reference(const uint8_t* _pTruth, const uint8_t* _pGround, bool _bLinear, float* _pBGR)
{
    const float fAlpha = static_cast<float>(_pTruth[3]) / 255;
    const std::array<float, 256>& arrLights = Lights();
    for (int c = 0; c < 3; ++c)
        _pBGR[c] = _bLinear
                       ? 255 * Sample_FromLight(arrLights[_pTruth[c]] * fAlpha + arrLights[_pGround[c]] * (1 - fAlpha))
                       : _pTruth[c] * fAlpha + _pGround[c] * (1 - fAlpha);
}

CScore::CScore(uint32_t _nGround, bool _bLinear)
    : m_arrGround{static_cast<uint8_t>(_nGround), static_cast<uint8_t>(_nGround >> 8),
                  static_cast<uint8_t>(_nGround >> 16)}
    , m_bLinear(_bLinear)
{
}

void CScore::Add(const PICTURE& _keyed, const PICTURE& _truth)
{
    FRAME_SUMS sums;
    const size_t nPixels = _truth.vecPixels.size() / 4;
    std::vector<float> vecError(nPixels);
    for (size_t n = 0; n < nPixels; ++n)
    {
        const uint8_t* pKeyed = _keyed.vecPixels.data() + 4 * n;
        const uint8_t* pTruth = _truth.vecPixels.data() + 4 * n;
        const float fKeyed = static_cast<float>(pKeyed[3]) / 255, fTruth = static_cast<float>(pTruth[3]) / 255;
        vecError[n] = fKeyed - fTruth;
        sums.AddAlpha(fKeyed, fTruth);
        float arrReference[3];
        Score_Reference(pTruth, m_arrGround, m_bLinear, arrReference);
        sums.AddColour(pKeyed, m_arrGround, arrReference);
    }
    m_sum.dblMse += Share(sums.dblSquares, static_cast<int64_t>(nPixels));
    m_sum.dblSoft += Share(sums.dblSoftSquares, sums.nSoft);
    m_sum.dblHoles += Share(static_cast<double>(sums.nHoles), sums.nSolid);
    m_sum.dblRest += Share(static_cast<double>(sums.nRest), sums.nGone);
    m_sum.dblPsnr +=
        10 * std::log10(255.0 * 255.0 / std::max(sums.dblColours / static_cast<double>(3 * nPixels), 1e-3));
    AddChange(vecError);
    ++m_nFrames;
}

void CScore::AddChange(const std::vector<float>& _vecError)
{
    if (m_vecError.size() == _vecError.size())
    {
        for (size_t n = 0; n < _vecError.size(); ++n)
            m_dblChange += static_cast<double>(_vecError[n] - m_vecError[n]) * (_vecError[n] - m_vecError[n]);
        m_dblChanged += static_cast<double>(_vecError.size());
    }
    m_vecError = _vecError;
}

QUALITY CScore::Result() const
{
    const double dblFrames = std::max(m_nFrames, 1);
    return {m_sum.dblMse / dblFrames,   m_sum.dblSoft / dblFrames,
            m_sum.dblHoles / dblFrames, m_sum.dblRest / dblFrames,
            m_sum.dblPsnr / dblFrames,  m_dblChanged > 0 ? 100 * std::sqrt(m_dblChange / m_dblChanged) : 0};
}
