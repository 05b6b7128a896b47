#include "Bench/MixedScene.h"

#include "Sample/KeyScene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace
{

constexpr int c_nPeriod = 9; // pixels from strand to strand: each cell of four has an edge of one
constexpr int c_nSteps = 16; // places of a strand, a pixel
constexpr int c_nPace = 5;   // pixels a frame

struct COLOUR
{
    int arrBGR[3];
};

constexpr COLOUR c_colBody = {{150, 90, 120}};
constexpr COLOUR c_colStrand = {{35, 48, 75}};

/// Alpha across a strand, 0 to 256.
using STRAND = std::array<int, size_t{c_nPeriod} * c_nSteps>;

STRAND MakeStrand()
{
    constexpr double c_dblTurn = 6.283185307179586;
    STRAND strand;
    for (size_t n = 0; n < strand.size(); ++n)
        strand[n] =
            static_cast<int>(std::lround(256 * std::clamp(0.5 + 0.9 * std::sin(c_dblTurn * static_cast<double>(n) /
                                                                               static_cast<double>(strand.size())),
                                                          0.0, 1.0)));
    return strand;
}

/// Where things are in a frame. The body takes a tenth of the picture, a third of its width.
struct PLACES
{
    PLACES(int _nWidth, int _nHeight, int _nMixed, int _nFrame)
        : nWidth(_nWidth)
        , nHeight(_nHeight)
        , nShift(c_nPace * _nFrame)
        , nBodyTop(_nHeight * 7 / 10)
        , nBodyLeft(_nWidth / 3 + nShift)
        , nBodyRight(nBodyLeft + _nWidth / 3)
    {
        // Strands hang down to the lower border, beside the body, too.
        const int nBeside = 2 * (_nHeight - nBodyTop) / 3;
        const int nRows = _nMixed * _nHeight / 100;
        nStrandTop = nRows <= nBeside ? _nHeight - nRows * 3 / 2 : nBodyTop - (nRows - nBeside);
    }
    bool IsBody(int _nX, int _nY) const
    {
        return _nY >= nBodyTop && _nX >= nBodyLeft && _nX < nBodyRight;
    }
    int nWidth, nHeight;
    int nShift;
    int nBodyTop, nBodyLeft, nBodyRight;
    int nStrandTop;
};

/// The light on the screen, 0 to 256: brightest a little left of the middle.
int LightAt(const PLACES& _places, int _nX, int _nY)
{
    const int nAside = std::abs(2 * _nX - _places.nWidth * 4 / 5) * 40 / _places.nWidth;
    return 256 - nAside - _nY * 30 / _places.nHeight;
}

/// -1 to 2, of each channel its own: a deviation of 1.1.
int NoiseOf(uint32_t _nRandom, int _nChannel)
{
    return static_cast<int>(_nRandom >> (30 - 2 * _nChannel) & 3) - 1;
}

void PaintRow(const PLACES& _places, const STRAND& _strand, int _nY, uint32_t& _nRandom, uint8_t* _pPixel)
{
    const auto nPlaces = static_cast<uint32_t>(_strand.size());
    const double dblBend = 6 + 5 * std::sin(_nY / 23.0 + _places.nShift / 40.0);
    auto nPhase = static_cast<uint32_t>(c_nSteps * (dblBend + _places.nShift));
    for (int x = 0; x < _places.nWidth; ++x, nPhase += c_nSteps)
    {
        const bool bBody = _places.IsBody(x, _nY);
        const int nAlpha = bBody ? 256 : _nY < _places.nStrandTop ? 0 : _strand[nPhase % nPlaces];
        const COLOUR& colour = bBody ? c_colBody : c_colStrand;
        const int nLight = LightAt(_places, x, _nY);
        _nRandom = _nRandom * 1664525u + 1013904223u;
        for (int c = 0; c < 3; ++c)
        {
            const int nScreen = c_arrMixedScreen[2 - c] * nLight / 256;
            const int nValue = (colour.arrBGR[c] * nAlpha + nScreen * (256 - nAlpha)) / 256 + NoiseOf(_nRandom, c);
            *_pPixel++ = static_cast<uint8_t>(std::clamp(nValue, 0, 255));
        }
        *_pPixel++ = 255;
    }
}

} // namespace

PICTURE MixedScene_Picture(int _nWidth, int _nHeight, int _nMixed, int _nFrame)
{
    static const STRAND s_strand = MakeStrand();
    const PLACES places(_nWidth, _nHeight, _nMixed, _nFrame);
    PICTURE picture;
    picture.Resize(_nWidth, _nHeight, 4);
    auto nRandom = static_cast<uint32_t>(_nFrame + 1);
    for (int y = 0; y < _nHeight; ++y)
        PaintRow(places, s_strand, y, nRandom, picture.Row(y));
    return picture;
}

BENCH_RING MixedScene_Ring(int _nWidth, int _nHeight, int _nMixed, uint32_t _fccType)
{
    BENCH_RING ring;
    const auto nFrames = static_cast<int>(BenchRing_Count(_nWidth, _nHeight));
    for (int n = 0; n < nFrames; ++n)
        ring.push_back(KeyScene_Frame(MixedScene_Picture(_nWidth, _nHeight, _nMixed, n), _fccType));
    return ring;
}
