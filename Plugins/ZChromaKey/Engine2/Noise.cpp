#include "ZChromaKey/Engine2/Noise.h"

#include <cstring>
#include <numeric>

namespace
{
// The sum of the differences of pairs, and how many there are.
class CNoiseSum
{
public:
    explicit CNoiseSum(const UNMIX_STATE& _state)
        : m_state(_state)
    {
        for (int k = 0; k < _state.nKeys; ++k)
            m_arrRules[k] = KeyForms_Difference(_state.arrKeys[k]);
    }
    // One in a cell of sure backdrop.
    void Add(const UNMIX_PAIR& _pair, int _nX, int _nY)
    {
        const size_t nAt = static_cast<size_t>(_nY >> 1) * m_state.nPlateWidth + (_nX >> 1);
        const DIFFERENCE_RULES* const pRules = &m_arrRules[m_state.vecOwner[nAt]];
        if (pRules != m_chunk.pRules || m_chunk.nPairs == c_nNoisePairs)
            Flush();
        m_chunk.pRules = pRules;
        static_assert(sizeof(_pair) == sizeof(m_chunk.arrPixels[0]) && sizeof(VEC4) == sizeof(m_chunk.arrPlate[0]));
        std::memcpy(m_chunk.arrPixels[m_chunk.nPairs], &_pair, sizeof(_pair));
        std::memcpy(m_chunk.arrPlate[m_chunk.nPairs], &m_state.vecPlate[nAt], sizeof(VEC4));
        ++m_chunk.nPairs;
    }
    // Takes what was added since the last time.
    void Take(float* _pSum, float* _pCount)
    {
        Flush();
        *_pSum = m_fltSum;
        *_pCount = m_fltCount;
        m_fltSum = m_fltCount = 0;
    }

private:
    void Flush()
    {
        if (m_chunk.nPairs == 0)
            return;
        m_state.pKernels->pfnNoise(m_chunk);
        m_fltSum = std::accumulate(m_chunk.arrOff, m_chunk.arrOff + m_chunk.nPairs, m_fltSum);
        m_fltCount += static_cast<float>(m_chunk.nPairs);
        m_chunk.nPairs = 0;
    }

    const UNMIX_STATE& m_state;
    DIFFERENCE_RULES m_arrRules[c_nUnmixMaxKeys];
    NOISE_CHUNK m_chunk = {};
    float m_fltSum = 0;
    float m_fltCount = 0;
};
} // namespace

void Noise_Pass(UNMIX_STATE& _state, const FIELD_STATE& _field, int _nFirst, int _nRows)
{
    CNoiseSum sum(_state);
    for (int y = _nFirst; y < _nFirst + _nRows; ++y)
    {
        if (UNMIX_CELLS::HasPairs(y) && y + 1 < _field.cells.nHeight && y * c_nCell < _field.nRows)
            for (int x = 1; x < _field.cells.nWidth - 1; x += 3)
                if (_field.bitsSure.Get(x, y))
                    sum.Add(_field.cells.Pair(x, y), x, y);
        float* const pSums = &_state.vecNoise[2 * static_cast<size_t>(y)];
        sum.Take(&pSums[0], &pSums[1]);
    }
}

void Noise_Learn(UNMIX_STATE& _state)
{
    float fltSum = 0, fltCount = 0;
    for (size_t n = 0; n < _state.vecNoise.size(); n += 2)
    {
        fltSum += _state.vecNoise[n];
        fltCount += _state.vecNoise[n + 1];
    }
    if (fltCount <= 16)
        return;
    const float fltNoise = fltSum / fltCount * .886f;
    _state.fltNoise = _state.bNoiseKnown ? _state.fltNoise + (fltNoise - _state.fltNoise) * .2f : fltNoise;
    _state.bNoiseKnown = true;
}
