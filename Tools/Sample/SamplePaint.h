#pragma once

/// What sample scenes are painted with. Lengths are in picture heights: u runs right from the middle of the picture,
/// v runs down from its top.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

struct SAMPLE_POINT
{
    float u;
    float v;
};

/// R, G, B from 0 to 1.
struct SAMPLE_COLOR
{
    float r;
    float g;
    float b;
};

/// Straight colour scaled by alpha already, and alpha.
struct SAMPLE_PIXEL
{
    float r;
    float g;
    float b;
    float a;
};

struct SAMPLE_BOX
{
    float uMin;
    float vMin;
    float uMax;
    float vMax;
};

/// What the camera sees: how much larger, and the point that is in the middle of its upper edge.
struct SAMPLE_VIEW
{
    float fZoom = 1;
    float u = 0;
    float v = 0;
};

/// Coded values as shares of light, and back: IEC 61966-2-1.
inline float Sample_ToLight(float _fCoded)
{
    return _fCoded <= 0.04045f ? _fCoded / 12.92f : std::pow((_fCoded + 0.055f) / 1.055f, 2.4f);
}
inline float Sample_FromLight(float _fLight)
{
    return _fLight <= 0.0031308f ? _fLight * 12.92f : 1.055f * std::pow(_fLight, 1 / 2.4f) - 0.055f;
}
inline SAMPLE_COLOR Sample_ToLight(const SAMPLE_COLOR& _col)
{
    return {Sample_ToLight(_col.r), Sample_ToLight(_col.g), Sample_ToLight(_col.b)};
}

inline SAMPLE_COLOR Sample_Mix(const SAMPLE_COLOR& _a, const SAMPLE_COLOR& _b, float _fShare)
{
    return {_a.r + (_b.r - _a.r) * _fShare, _a.g + (_b.g - _a.g) * _fShare, _a.b + (_b.b - _a.b) * _fShare};
}

inline SAMPLE_COLOR Sample_Scale(const SAMPLE_COLOR& _col, float _fFactor)
{
    return {_col.r * _fFactor, _col.g * _fFactor, _col.b * _fFactor};
}

inline float Sample_Step(float _fFrom, float _fTo, float _fValue)
{
    const float f = std::clamp((_fValue - _fFrom) / (_fTo - _fFrom), 0.0f, 1.0f);
    return f * f * (3 - 2 * f);
}

/// A random word that depends on nothing but its arguments.
inline uint64_t Sample_RandomWord(uint64_t _nSeed, uint64_t _nIndex)
{
    uint64_t n = _nSeed * 0x9E3779B97F4A7C15u + _nIndex * 0xD1B54A32D192ED03u + 0x2545F4914F6CDD1Du;
    n = (n ^ (n >> 30)) * 0xBF58476D1CE4E5B9u;
    n = (n ^ (n >> 27)) * 0x94D049BB133111EBu;
    return n ^ (n >> 31);
}

/// The same as a value in 0 to below 1.
inline float Sample_Random(uint64_t _nSeed, uint64_t _nIndex)
{
    return static_cast<float>(Sample_RandomWord(_nSeed, _nIndex) >> 40) * (1.0f / (1 << 24));
}

inline float Sample_Length(float _fU, float _fV)
{
    return std::sqrt(_fU * _fU + _fV * _fV);
}

// Signed distances, negative inside.

inline float Sample_Ellipse(SAMPLE_POINT _p, SAMPLE_POINT _center, float _fRadiusU, float _fRadiusV)
{
    const float fU = (_p.u - _center.u) / _fRadiusU, fV = (_p.v - _center.v) / _fRadiusV;
    const float fLength = Sample_Length(fU, fV);
    const float fGradient = Sample_Length(fU / _fRadiusU, fV / _fRadiusV);
    return fGradient > 0 ? (fLength - 1) * fLength / fGradient : -std::min(_fRadiusU, _fRadiusV);
}

/// A rod with round ends whose thickness runs from one end to the other.
inline float Sample_Rod(SAMPLE_POINT _p, SAMPLE_POINT _a, SAMPLE_POINT _b, float _fRadiusA, float _fRadiusB)
{
    const float fU = _b.u - _a.u, fV = _b.v - _a.v;
    const float fShare =
        std::clamp(((_p.u - _a.u) * fU + (_p.v - _a.v) * fV) / (fU * fU + fV * fV + 1e-12f), 0.0f, 1.0f);
    return Sample_Length(_p.u - _a.u - fU * fShare, _p.v - _a.v - fV * fShare) -
           (_fRadiusA + (_fRadiusB - _fRadiusA) * fShare);
}

/// The union of two shapes with a fillet between them.
inline float Sample_Blend(float _fA, float _fB, float _fRadius)
{
    const float f = std::max(_fRadius - std::abs(_fA - _fB), 0.0f) / _fRadius;
    return std::min(_fA, _fB) - f * f * _fRadius * 0.25f;
}

inline SAMPLE_POINT Sample_Turn(SAMPLE_POINT _p, SAMPLE_POINT _center, float _fAngle)
{
    const float fSin = std::sin(_fAngle), fCos = std::cos(_fAngle);
    const float fU = _p.u - _center.u, fV = _p.v - _center.v;
    return {_center.u + fU * fCos - fV * fSin, _center.v + fU * fSin + fV * fCos};
}

/// A band of rows of the foreground, painted back to front. Layers mix as coded values, or as light where _bLinear.
class CZSampleCanvas
{
public:
    CZSampleCanvas(int _nWidth, int _nHeight, int _nTop, int _nBottom, const SAMPLE_VIEW& _view = {},
                   bool _bLinear = false)
        : m_nWidth(_nWidth)
        , m_nTop(_nTop)
        , m_nBottom(_nBottom)
        , m_fPixel(1.0f / (static_cast<float>(_nHeight) * _view.fZoom))
        , m_view(_view)
        , m_bLinear(_bLinear)
        , m_vecPixels(static_cast<size_t>(_nWidth) * static_cast<size_t>(_nBottom - _nTop))
    {
    }
    /// The side of a pixel.
    float Pixel() const
    {
        return m_fPixel;
    }
    SAMPLE_POINT Point(int _nX, int _nY) const
    {
        return {(static_cast<float>(_nX) + 0.5f - 0.5f * static_cast<float>(m_nWidth)) * m_fPixel + m_view.u,
                (static_cast<float>(_nY) + 0.5f) * m_fPixel + m_view.v};
    }
    const SAMPLE_PIXEL* Row(int _nRow) const
    {
        return m_vecPixels.data() + static_cast<size_t>(_nRow - m_nTop) * static_cast<size_t>(m_nWidth);
    }
    /// How much of a pixel lies inside a shape whose edge is this far away; lenses draw edges over some pixels.
    float Cover(float _fDistance) const
    {
        return std::clamp(0.5f - _fDistance / (1.6f * m_fPixel), 0.0f, 1.0f);
    }

    /// Paints every pixel of a box: _fnCover(point) is the share covered, _fnColor(point) the colour.
    template <class Cover, class Color> void Paint(const SAMPLE_BOX& _box, const Cover& _fnCover, const Color& _fnColor)
    {
        const int nLeft = Column(_box.uMin), nRight = std::min(Column(_box.uMax) + 2, m_nWidth);
        const int nTop = std::max(RowAt(_box.vMin), m_nTop), nBottom = std::min(RowAt(_box.vMax) + 2, m_nBottom);
        for (int y = nTop; y < nBottom; ++y)
            for (int x = nLeft; x < nRight; ++x)
            {
                const SAMPLE_POINT point = Point(x, y);
                const float fCover = _fnCover(point);
                if (fCover > 0)
                    Over(m_vecPixels[static_cast<size_t>(y - m_nTop) * static_cast<size_t>(m_nWidth) +
                                     static_cast<size_t>(x)],
                         m_bLinear ? Sample_ToLight(_fnColor(point)) : _fnColor(point), fCover);
            }
    }

private:
    int Column(float _fU) const
    {
        return std::clamp(static_cast<int>((_fU - m_view.u) / m_fPixel + 0.5f * static_cast<float>(m_nWidth)) - 1, 0,
                          m_nWidth);
    }
    int RowAt(float _fV) const
    {
        return static_cast<int>(std::clamp((_fV - m_view.v) / m_fPixel, -1.0e6f, 1.0e6f)) - 1;
    }
    static void Over(SAMPLE_PIXEL& _pixel, const SAMPLE_COLOR& _col, float _fCover)
    {
        const float fRest = 1 - _fCover;
        _pixel = {_col.r * _fCover + _pixel.r * fRest, _col.g * _fCover + _pixel.g * fRest,
                  _col.b * _fCover + _pixel.b * fRest, _fCover + _pixel.a * fRest};
    }

    int m_nWidth;
    int m_nTop;
    int m_nBottom;
    float m_fPixel;
    SAMPLE_VIEW m_view;
    bool m_bLinear;
    std::vector<SAMPLE_PIXEL> m_vecPixels;
};
