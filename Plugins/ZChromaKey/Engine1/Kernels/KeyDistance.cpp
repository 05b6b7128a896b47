#include "ZChromaKey/Engine1/Kernels/KeyDistance.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

static_assert(std::endian::native == std::endian::little, "pixels are read as words, component 0 in the low byte");

namespace
{

// Pixels are computed stage by stage over a block in local arrays, which compilers turn into vector code.
constexpr int c_nBlock = 64;

struct BLOCK
{
    uint32_t arrPixels[c_nBlock];
    int32_t arrSum[c_nBlock];
    uint8_t arrAlpha[c_nBlock];
};

void ComponentAdd(BLOCK& _block, int _nComponent, const KEY_DISTANCE& _key)
{
    const int nValue = _key.arrValue[_nComponent];
    const int16_t nWeight = _key.arrWeight[_nComponent];
    int16_t arrHalved[c_nBlock];
    for (int i = 0; i < c_nBlock; ++i)
        arrHalved[i] = static_cast<int16_t>(static_cast<int>(_block.arrPixels[i] >> 8 * _nComponent & 0xFF) - nValue);
    for (int i = 0; i < c_nBlock; ++i) // at most 254^2, which needs 16 bits without a sign; half of it fits with one
        arrHalved[i] = static_cast<int16_t>(static_cast<uint16_t>(arrHalved[i] * arrHalved[i]) >> 1);
    for (int i = 0; i < c_nBlock; ++i)
        _block.arrSum[i] += int32_t{arrHalved[i]} * nWeight;
}

void BlockAlpha(BLOCK& _block, const KEY_DISTANCE& _key)
{
    for (int i = 0; i < c_nBlock; ++i)
        _block.arrSum[i] = -_key.nThreshold;
    for (int c = 0; c < 3; ++c)
        ComponentAdd(_block, c, _key);
    float arrRoot[c_nBlock];
    for (int i = 0; i < c_nBlock; ++i)
        arrRoot[i] = std::sqrt(static_cast<float>(std::max(_block.arrSum[i], 0)));
    const float fltScale = _key.fltScale;
    const int nFloor = _key.nAlphaFloor;
    for (int i = 0; i < c_nBlock; ++i) // the largest root times the largest scale is below 2^26
    {
        // This very rounding is part of the kernel's definition. NOLINTNEXTLINE(bugprone-incorrect-roundings)
        const int nAlpha = std::min(static_cast<int>(arrRoot[i] * fltScale + 0.5f), 255);
        _block.arrAlpha[i] = static_cast<uint8_t>(std::min(nAlpha + nFloor, 255));
    }
}

// Calls _fnStore(first pixel, number of pixels, their alphas) for every block of a row.
template <class Store>
void ForBlocks(const uint8_t* _pPixels, size_t _nPixels, const KEY_DISTANCE& _key, Store&& _fnStore)
{
    BLOCK block = {};
    size_t nPixel = 0;
    for (; nPixel + c_nBlock <= _nPixels; nPixel += c_nBlock)
    {
        std::memcpy(block.arrPixels, _pPixels + 4 * nPixel, sizeof(block.arrPixels));
        BlockAlpha(block, _key);
        _fnStore(nPixel, c_nBlock, block.arrAlpha);
    }
    if (const size_t nRest = _nPixels - nPixel)
    {
        std::memcpy(block.arrPixels, _pPixels + 4 * nPixel, 4 * nRest);
        BlockAlpha(block, _key);
        _fnStore(nPixel, nRest, block.arrAlpha);
    }
}

} // namespace

void KeyDistance_C(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, const KEY_DISTANCE& _key) noexcept
{
    ForBlocks(_pPixels, _nPixels, _key, [_pAlpha](size_t _nPixel, size_t _nCount, const uint8_t* _pBlock) {
        std::memcpy(_pAlpha + _nPixel, _pBlock, _nCount);
    });
}

void KeyDistanceMin_C(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, const KEY_DISTANCE& _key) noexcept
{
    ForBlocks(_pPixels, _nPixels, _key, [_pAlpha](size_t _nPixel, size_t _nCount, const uint8_t* _pBlock) {
        uint8_t arrBefore[c_nBlock] = {};
        std::memcpy(arrBefore, _pAlpha + _nPixel, _nCount);
        for (int i = 0; i < c_nBlock; ++i)
            arrBefore[i] = _pBlock[i] < arrBefore[i] ? _pBlock[i] : arrBefore[i];
        std::memcpy(_pAlpha + _nPixel, arrBefore, _nCount);
    });
}
