#include "Sample/HardSensor.h"

namespace
{

uint8_t SensorByte(float _fValue)
{
    return static_cast<uint8_t>(std::clamp(_fValue * 255 + 0.5f, 0.0f, 255.0f));
}

/// A bell-shaped value with mean 0 and deviation 1: the sum of the four quarters of a random word.
float Bell(uint64_t _nWord)
{
    uint64_t nSum = 0;
    for (int i = 0; i < 4; ++i, _nWord >>= 16)
        nSum += _nWord & 0xFFFF;
    return (static_cast<float>(nSum) * (1.0f / 65536) - 2) * 1.7320508f;
}

void AddTo(SAMPLE_PIXEL& _to, const SAMPLE_PIXEL& _from, float _fFactor)
{
    _to.r += _from.r * _fFactor;
    _to.g += _from.g * _fFactor;
    _to.b += _from.b * _fFactor;
    _to.a += _from.a * _fFactor;
}

/// Row sums from the left, one more than there are pixels.
std::vector<SAMPLE_PIXEL> RunningSums(const HARD_PLANE& _plane, int _nWidth, int _nHeight)
{
    std::vector<SAMPLE_PIXEL> vecSums((static_cast<size_t>(_nWidth) + 1) * static_cast<size_t>(_nHeight));
    for (int y = 0; y < _nHeight; ++y)
    {
        const SAMPLE_PIXEL* pFrom = _plane.data() + static_cast<size_t>(y) * static_cast<size_t>(_nWidth);
        SAMPLE_PIXEL* pTo = vecSums.data() + static_cast<size_t>(y) * (static_cast<size_t>(_nWidth) + 1);
        for (int x = 0; x < _nWidth; ++x, ++pTo)
        {
            pTo[1] = pTo[0];
            AddTo(pTo[1], pFrom[x], 1);
        }
    }
    return vecSums;
}

} // namespace

void HardSensor_Add(SAMPLE_PIXEL* _pTo, const SAMPLE_PIXEL* _pFrom, size_t _nPixels, float _fShare)
{
    for (size_t n = 0; n < _nPixels; ++n)
        AddTo(_pTo[n], _pFrom[n], _fShare);
}

void HardSensor_Over(HARD_PLANE& _plane, const HARD_PLANE& _upper)
{
    for (size_t n = 0; n < _plane.size(); ++n)
    {
        SAMPLE_PIXEL pixel = _upper[n];
        AddTo(pixel, _plane[n], 1 - _upper[n].a);
        _plane[n] = pixel;
    }
}

void HardSensor_Defocus(HARD_PLANE& _plane, int _nWidth, int _nHeight, float _fRadius)
{
    const std::vector<SAMPLE_PIXEL> vecSums = RunningSums(_plane, _nWidth, _nHeight);
    const int nRadius = static_cast<int>(_fRadius);
    std::vector<int> vecHalf; // the disc's half width in each of its rows
    int nArea = 0;
    for (int i = -nRadius; i <= nRadius; ++i)
    {
        vecHalf.push_back(static_cast<int>(std::sqrt(_fRadius * _fRadius - static_cast<float>(i * i))));
        nArea += 2 * vecHalf.back() + 1;
    }
    for (int y = 0; y < _nHeight; ++y)
        for (int x = 0; x < _nWidth; ++x)
        {
            SAMPLE_PIXEL sum = {};
            int nRow = y - nRadius;
            for (const int nHalf : vecHalf)
            {
                const SAMPLE_PIXEL* pRow = vecSums.data() + static_cast<size_t>(std::clamp(nRow++, 0, _nHeight - 1)) *
                                                                (static_cast<size_t>(_nWidth) + 1);
                AddTo(sum, pRow[std::min(x + nHalf + 1, _nWidth)], 1);
                AddTo(sum, pRow[std::max(x - nHalf, 0)], -1);
            }
            SAMPLE_PIXEL mean = {};
            AddTo(mean, sum, 1.0f / static_cast<float>(nArea));
            mean.a = std::clamp(mean.a, 0.0f, 1.0f);
            _plane[static_cast<size_t>(y) * static_cast<size_t>(_nWidth) + static_cast<size_t>(x)] = mean;
        }
}

void HardSensor_TruthRow(const SAMPLE_PIXEL* _pFrom, int _nWidth, bool _bLinear, uint8_t* _pTo)
{
    for (int x = 0; x < _nWidth; ++x, ++_pFrom, _pTo += 4)
    {
        const float fShare = _pFrom->a > 0 ? 1 / _pFrom->a : 0;
        SAMPLE_COLOR col{_pFrom->r * fShare, _pFrom->g * fShare, _pFrom->b * fShare};
        if (_bLinear)
            col = {Sample_FromLight(col.r), Sample_FromLight(col.g), Sample_FromLight(col.b)};
        _pTo[0] = SensorByte(col.b);
        _pTo[1] = SensorByte(col.g);
        _pTo[2] = SensorByte(col.r);
        _pTo[3] = SensorByte(_pFrom->a);
    }
}

void HardSensor_Pixel(const SAMPLE_COLOR& _col, float _fNoise, uint64_t _nSeed, int _nX, int _nY, uint8_t* _pTo)
{
    const auto nPixel = static_cast<uint64_t>(_nY) * 65536 + static_cast<uint64_t>(_nX);
    const int nBlockX = _nX / 2, nBlockY = _nY / 2;
    const auto nBlock = static_cast<uint64_t>(nBlockY) * 65536 + static_cast<uint64_t>(nBlockX);
    const float arrValues[3] = {_col.b, _col.g, _col.r};
    for (uint64_t c = 0; c < 3; ++c)
    {
        const float fValue = std::clamp(arrValues[c], 0.0f, 1.0f);
        float fNoise = 0; // that of light grows with its root, and what interpolates colours makes it coarser
        if (_fNoise > 0)
            fNoise = _fNoise * (0.5f + 0.7f * std::sqrt(fValue)) *
                     (0.8f * Bell(Sample_RandomWord(_nSeed, 3 * nPixel + c)) +
                      0.6f * Bell(Sample_RandomWord(_nSeed + 7919, 3 * nBlock + c)));
        _pTo[c] = SensorByte(arrValues[c] + fNoise);
    }
    _pTo[3] = 255;
}
