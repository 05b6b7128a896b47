#include "Sample/SampleScene.h"

#include "Sample/SampleFigure.h"

#include <thread>

namespace
{

/// How lamps and creases light the backdrop.
float LightAt(SAMPLE_POINT _p)
{
    const float fLamp = Sample_Length((_p.u + 0.45f) * 0.8f, _p.v - 0.25f);
    const float fCrease = std::sin(_p.u * 13 + 1.3f * std::sin(_p.v * 2.4f)) + 0.6f * std::sin(_p.u * 29 - _p.v * 3);
    return 0.80f + 0.30f * std::exp(-fLamp * fLamp * 2.2f) - 0.08f * _p.v + 0.016f * fCrease;
}

/// What the figure's shadow leaves of the light.
float ShadowAt(const SAMPLE_POSE& _pose, SAMPLE_POINT _p)
{
    const SAMPLE_POINT ptShadow{_pose.ptHead.u + 0.20f, _pose.ptHead.v + 0.05f};
    const float fHead = Sample_Ellipse(_p, ptShadow, 0.17f, 0.21f);
    const float fBody = Sample_Ellipse(_p, {ptShadow.u, 1.02f}, 0.38f, 0.42f);
    return 1 - 0.24f * Sample_Step(0.12f, -0.06f, std::min(fHead, fBody));
}

/// A bell-shaped value with mean 0 and deviation 1: the sum of the four quarters of a random word.
float Noise(uint64_t _nSeed, uint64_t _nIndex)
{
    uint64_t nWord = Sample_RandomWord(_nSeed, _nIndex);
    uint64_t nSum = 0;
    for (int i = 0; i < 4; ++i, nWord >>= 16)
        nSum += nWord & 0xFFFF;
    return (static_cast<float>(nSum) * (1.0f / 65536) - 2) * 1.7320508f;
}

uint8_t ToByte(float _fValue)
{
    return static_cast<uint8_t>(std::clamp(_fValue * 255 + 0.5f, 0.0f, 255.0f));
}

} // namespace

CZSampleScene::CZSampleScene(const SAMPLE_SCENE& _scene)
    : m_scene(_scene)
{
    m_vecLight.reserve(static_cast<size_t>(_scene.nWidth) * static_cast<size_t>(_scene.nHeight));
    const CZSampleCanvas canvas(_scene.nWidth, _scene.nHeight, 0, 0);
    for (int y = 0; y < _scene.nHeight; ++y)
        for (int x = 0; x < _scene.nWidth; ++x)
            m_vecLight.push_back(LightAt(canvas.Point(x, y)));
}

void CZSampleScene::PaintBand(int64_t _nFrame, int _nTop, int _nBottom, PICTURE& _picture, PICTURE& _alpha) const
{
    const SAMPLE_POSE pose = SampleFigure_Pose(m_scene, _nFrame);
    CZSampleCanvas canvas(m_scene.nWidth, m_scene.nHeight, _nTop, _nBottom);
    SampleFigure_Paint(canvas, pose);
    const SAMPLE_COLOR colCloth = m_scene.bBlue ? SAMPLE_COLOR{0.10f, 0.24f, 0.72f} : SAMPLE_COLOR{0.13f, 0.66f, 0.25f};
    const auto fNoise = static_cast<float>(m_scene.dblNoise / 255);
    const uint64_t nNoiseSeed = m_scene.nSeed * 1000003 + static_cast<uint64_t>(_nFrame);
    for (int y = _nTop; y < _nBottom; ++y)
    {
        const SAMPLE_PIXEL* pFrom = canvas.Row(y);
        uint8_t* pTo = _picture.Row(y);
        for (int x = 0; x < m_scene.nWidth; ++x, ++pFrom, pTo += 4)
        {
            const size_t nPixel = static_cast<size_t>(y) * static_cast<size_t>(m_scene.nWidth) + static_cast<size_t>(x);
            const float fRest = 1 - pFrom->a;
            const float fLight = fRest > 0 ? fRest * m_vecLight[nPixel] * ShadowAt(pose, canvas.Point(x, y)) : 0;
            pTo[0] = ToByte(pFrom->b + colCloth.b * fLight + fNoise * Noise(nNoiseSeed, 3 * nPixel));
            pTo[1] = ToByte(pFrom->g + colCloth.g * fLight + fNoise * Noise(nNoiseSeed, 3 * nPixel + 1));
            pTo[2] = ToByte(pFrom->r + colCloth.r * fLight + fNoise * Noise(nNoiseSeed, 3 * nPixel + 2));
            pTo[3] = 255;
            _alpha.Row(y)[x] = ToByte(pFrom->a);
        }
    }
}

void CZSampleScene::Paint(int64_t _nFrame, PICTURE& _picture, PICTURE& _alpha) const
{
    _picture.Resize(m_scene.nWidth, m_scene.nHeight, 4);
    _alpha.Resize(m_scene.nWidth, m_scene.nHeight, 1);
    const int nBands =
        std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, std::min(16, m_scene.nHeight));
    std::vector<std::jthread> vecThreads;
    vecThreads.reserve(static_cast<size_t>(nBands));
    for (int i = 0; i < nBands; ++i)
        vecThreads.emplace_back([&, i] {
            const int nTop = static_cast<int>(int64_t{m_scene.nHeight} * i / nBands);
            const int nBottom = static_cast<int>(int64_t{m_scene.nHeight} * (i + 1) / nBands);
            PaintBand(_nFrame, nTop, nBottom, _picture, _alpha);
        });
}
