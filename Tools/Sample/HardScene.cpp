#include "Sample/HardScene.h"

#include "Sample/HardSensor.h"

#include <functional>
#include <thread>

namespace
{

/// The two sums of a layer: as the camera sees it, and with its true colours.
struct HARD_SUMS
{
    HARD_PLANE lit;
    HARD_PLANE clean;
};

void ForBands(int _nHeight, const std::function<void(int, int)>& _fnBand)
{
    const int nBands = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, std::min(16, _nHeight));
    std::vector<std::jthread> vecThreads;
    vecThreads.reserve(static_cast<size_t>(nBands));
    for (int i = 0; i < nBands; ++i)
        vecThreads.emplace_back([&, i] {
            _fnBand(static_cast<int>(int64_t{_nHeight} * i / nBands),
                    static_cast<int>(int64_t{_nHeight} * (i + 1) / nBands));
        });
}

/// A frame while it is made.
class CHardFrame
{
public:
    CHardFrame(const HARD_SCENE& _scene, const HARD_SETUP& _setup, int64_t _nFrame)
        : m_scene(_scene)
        , m_setup(_setup)
        , m_nFrame(_nFrame)
        , m_fTime(static_cast<float>(static_cast<double>(_nFrame) / _setup.dblRate))
        , m_nPixels(static_cast<size_t>(_setup.nWidth) * static_cast<size_t>(_setup.nHeight))
    {
    }
    void Paint(PICTURE& _picture, PICTURE& _truth)
    {
        HARD_SUMS all{HARD_PLANE(m_nPixels), HARD_PLANE(m_nPixels)};
        for (const HARD_LAYER& layer : m_scene.arrLayers)
            if (layer.pfnPaint)
            {
                HARD_SUMS sums = Layer(layer);
                HardSensor_Over(all.lit, sums.lit);
                HardSensor_Over(all.clean, sums.clean);
            }
        _picture.Resize(m_setup.nWidth, m_setup.nHeight, 4);
        _truth.Resize(m_setup.nWidth, m_setup.nHeight, 4);
        _truth.bAlpha = true;
        ForBands(m_setup.nHeight, [&](int _nTop, int _nBottom) {
            for (int y = _nTop; y < _nBottom; ++y)
            {
                PictureRow(y, all.lit.data() + RowAt(y), _picture.Row(y));
                HardSensor_TruthRow(all.clean.data() + RowAt(y), m_setup.nWidth, m_scene.bLinear, _truth.Row(y));
            }
        });
    }

private:
    size_t RowAt(int _nRow) const
    {
        return static_cast<size_t>(_nRow) * static_cast<size_t>(m_setup.nWidth);
    }
    /// The shutter is open for half of a frame's time, in the middle of it.
    float MomentAt(int _nMoment) const
    {
        const float fShare = (static_cast<float>(_nMoment) + 0.5f) / static_cast<float>(m_scene.nMoments) - 0.5f;
        return m_fTime + fShare * static_cast<float>(0.5 / m_setup.dblRate);
    }
    HARD_MOMENT Moment(float _fTime, float _fSpill) const
    {
        return {_fTime, m_scene.colBack, _fSpill, m_setup.nSeed};
    }
    SAMPLE_VIEW ViewAt(float _fTime) const
    {
        SAMPLE_VIEW view = m_scene.view;
        if (!m_scene.pfnShake)
            return view;
        const SAMPLE_POINT ptMoved = m_scene.pfnShake(_fTime);
        view.u += ptMoved.u;
        view.v += ptMoved.v;
        return view;
    }
    void Add(const HARD_LAYER& _layer, float _fTime, float _fSpill, int _nTop, int _nBottom, HARD_PLANE& _plane) const
    {
        CZSampleCanvas canvas(m_setup.nWidth, m_setup.nHeight, _nTop, _nBottom, ViewAt(_fTime), m_scene.bLinear);
        _layer.pfnPaint(canvas, Moment(_fTime, _fSpill));
        HardSensor_Add(_plane.data() + RowAt(_nTop), canvas.Row(_nTop), RowAt(_nBottom) - RowAt(_nTop),
                       1.0f / static_cast<float>(m_scene.nMoments));
    }
    HARD_SUMS Layer(const HARD_LAYER& _layer) const
    {
        HARD_SUMS sums{HARD_PLANE(m_nPixels), HARD_PLANE(m_nPixels)};
        ForBands(m_setup.nHeight, [&](int _nTop, int _nBottom) {
            for (int i = 0; i < m_scene.nMoments; ++i)
            {
                Add(_layer, MomentAt(i), m_scene.fSpill, _nTop, _nBottom, sums.lit);
                Add(_layer, MomentAt(i), 0, _nTop, _nBottom, sums.clean);
            }
        });
        if (_layer.fDefocus > 0)
        {
            const float fRadius = _layer.fDefocus * m_scene.view.fZoom * static_cast<float>(m_setup.nHeight);
            HardSensor_Defocus(sums.lit, m_setup.nWidth, m_setup.nHeight, fRadius);
            HardSensor_Defocus(sums.clean, m_setup.nWidth, m_setup.nHeight, fRadius);
        }
        return sums;
    }
    void PictureRow(int _nRow, const SAMPLE_PIXEL* _pFrom, uint8_t* _pTo) const
    {
        const CZSampleCanvas grid(m_setup.nWidth, m_setup.nHeight, 0, 0, ViewAt(m_fTime));
        const HARD_MOMENT moment = Moment(m_fTime, m_scene.fSpill);
        const float fNoise =
            (m_setup.dblNoise < 0 ? m_scene.fNoise : static_cast<float>(m_setup.dblNoise)) * (1.0f / 255);
        const uint64_t nNoiseSeed = m_setup.nSeed * 1000003 + static_cast<uint64_t>(m_nFrame);
        for (int x = 0; x < m_setup.nWidth; ++x, ++_pFrom, _pTo += 4)
        {
            const SAMPLE_COLOR light = m_scene.pfnLight(grid.Point(x, _nRow), moment);
            SAMPLE_COLOR back{m_scene.colBack.r * light.r, m_scene.colBack.g * light.g, m_scene.colBack.b * light.b};
            if (m_scene.bLinear)
                back = Sample_ToLight(back);
            const float fRest = 1 - _pFrom->a;
            SAMPLE_COLOR mixed{_pFrom->r + back.r * fRest, _pFrom->g + back.g * fRest, _pFrom->b + back.b * fRest};
            if (m_scene.bLinear)
                mixed = {Sample_FromLight(mixed.r), Sample_FromLight(mixed.g), Sample_FromLight(mixed.b)};
            HardSensor_Pixel(mixed, fNoise, nNoiseSeed, x, _nRow, _pTo);
        }
    }

    const HARD_SCENE& m_scene;
    const HARD_SETUP& m_setup;
    int64_t m_nFrame;
    float m_fTime;
    size_t m_nPixels;
};

} // namespace

const HARD_SCENE* HardScene_Find(const std::string& _strName)
{
    for (const HARD_SCENE& scene : HardScene_All())
        if (_strName == scene.pszName)
            return &scene;
    return nullptr;
}

void HardScene_Paint(const HARD_SCENE& _scene, const HARD_SETUP& _setup, int64_t _nFrame, PICTURE& _picture,
                     PICTURE& _truth)
{
    CHardFrame(_scene, _setup, _nFrame).Paint(_picture, _truth);
}
