#include "BenchScene.h"

#include "Base/ZHelpers.h"
#include "Image/ImgColor.h"
#include "Image/ImgKernels.h"
#include "Image/ImgPlane.h"
#include "ZChromaKey/KeyPlan.h"

#include <algorithm>

namespace
{

constexpr uint8_t c_arrGreen[4] = {40, 180, 50, 0}; // B, G, R
constexpr int64_t c_nRadius = 400;

class CNoise
{
public:
    int operator()(int _nRange)
    {
        m_nSeed = m_nSeed * 1664525u + 1013904223u;
        return static_cast<int>((m_nSeed >> 8) % static_cast<uint32_t>(_nRange));
    }

private:
    uint32_t m_nSeed = 1;
};

/// A row of B, G, R, A.
void ScreenRow(uint8_t* _pPixels, int _nRow, CNoise& _noise)
{
    const int64_t nY = _nRow - c_nBenchHeight / 2;
    for (int x = 0; x < c_nBenchWidth; ++x, _pPixels += 4)
    {
        const int64_t nX = x - c_nBenchWidth / 2;
        const int64_t nSquare = nX * nX + nY * nY;
        const int64_t nEdge = std::clamp<int64_t>((c_nRadius * c_nRadius - nSquare) / 64, 0, 64); // a soft edge
        const int64_t arrInside[4] = {nX & 255, nY & 127, 255 - (nX & 127), 255};
        for (int c = 0; c < 4; ++c)
        {
            const int64_t nLevel = (arrInside[c] * nEdge + c_arrGreen[c] * (64 - nEdge)) / 64;
            _pPixels[c] = static_cast<uint8_t>(std::clamp<int64_t>(nLevel + _noise(13) - 6, 0, 255));
        }
    }
}

void PackUYVY(uint8_t* _pUnits, uint8_t* _pPixels)
{
    Img_RowToYUV(_pPixels, _pPixels, c_nBenchWidth, eZYM_709);
    for (int x = 0; x < c_nBenchWidth; x += 2, _pUnits += 4, _pPixels += 8)
    {
        const uint8_t arrUnit[4] = {_pPixels[1], _pPixels[0], _pPixels[2], _pPixels[4]};
        std::copy_n(arrUnit, 4, _pUnits);
    }
}

/// The word of the screen's green in a key's space.
uint32_t GreenWord(int64_t _eType)
{
    uint8_t arrWord[4] = {c_arrGreen[2], c_arrGreen[1], c_arrGreen[0], 0};
    if (_eType == eCKT_HLS)
        Img_RowToHLS(c_arrGreen, arrWord, 1);
    if (_eType == eCKT_YUV)
        Img_RowToYUV(c_arrGreen, arrWord, 1, eZYM_601);
    return arrWord[0] | uint32_t{arrWord[1]} << 8 | uint32_t{arrWord[2]} << 16;
}

} // namespace

BENCH_SCENE::BENCH_SCENE(uint32_t _fccType, eBenchScene _eScene)
{
    const bool bRGB = FCC_IsRGB(_fccType);
    vidProps.fccType = _fccType;
    vidProps.nWidth = c_nBenchWidth;
    vidProps.nHeight = bRGB ? -c_nBenchHeight : c_nBenchHeight;
    vidProps.dblRate = 25;
    vidProps.nRowBytes = Img_RowSizeM(&vidProps);
    arrPicture.resize(static_cast<size_t>(VidProps_ImageSize(&vidProps)));
    Address();
    arrMask.assign(static_cast<size_t>(VidProps_Mask(&vidProps).nRowBytes) * c_nBenchHeight, 255);
    CNoise noise;
    std::vector<uint8_t> arrRow(4 * c_nBenchWidth);
    for (int nRow = 0; nRow < c_nBenchHeight; ++nRow)
    {
        uint8_t* const pRow = const_cast<uint8_t*>(PictureRow(nRow));
        if (_eScene == eBS_Random)
        {
            std::generate_n(pRow, vidProps.nRowBytes, [&] { return static_cast<uint8_t>(noise(256)); });
            continue;
        }
        ScreenRow(arrRow.data(), nRow, noise);
        if (bRGB)
            std::copy(arrRow.begin(), arrRow.end(), pRow);
        else
            PackUYVY(pRow, arrRow.data());
    }
}

void BENCH_SCENE::Address()
{
    vidPtr = VidPtr_Build(&vidProps, Img_Address(arrPicture.data()), true);
}

CHROMA_KEY_RAW Bench_KeySet(int64_t _eType, int64_t _nKeys, int64_t _nSmooth)
{
    CHROMA_KEY_RAW rawKey = {};
    rawKey.eType = static_cast<int32_t>(_eType);
    rawKey.nMaxTransparent = 255;
    rawKey.nEdgesSmooth = static_cast<int32_t>(_nSmooth);
    rawKey.nKeysUsed = static_cast<int32_t>(_nKeys);
    for (int i = 0; i < rawKey.nKeysUsed; ++i)
    {
        rawKey.arrKeys[i].nValue = GreenWord(_eType) + 0x040402u * static_cast<uint32_t>(i);
        rawKey.arrKeys[i].nDelta = 0x303030;
        rawKey.arrKeys[i].nSmoothRange = 60;
    }
    return rawKey;
}

std::vector<uint8_t> Bench_PlainRow(const BENCH_SCENE& _scene, const CHROMA_KEY_RAW& _rawKey, int _nRow)
{
    IMG_KERNELS image;
    KEY_KERNELS keys;
    ImgKernels_Init(&image, eSIMD_None);
    KeyKernels_Init(&keys, eSIMD_None);
    const eZYMatrix eMatrix = Img_MatrixOf(_scene.vidProps);
    const IMG_ROW row = {_scene.PictureRow(_nRow), nullptr, nullptr, c_nBenchWidth, 0, &Img_CoefFromYUV(eMatrix)};
    const bool bRGB = FCC_IsRGB(_scene.vidProps.fccType);
    std::vector<uint8_t> arrPixels(4 * c_nBenchWidth);
    std::vector<uint8_t> arrAlpha(c_nBenchWidth);
    image.apfnRead[bRGB ? eIL_RGB32 : eIL_UYVY](row, arrPixels.data());
    if (_rawKey.eType == eCKT_HLS)
        image.pfnToHLS(arrPixels.data(), arrPixels.data(), c_nBenchWidth);
    if (_rawKey.eType == eCKT_YUV)
        image.pfnToYUV(arrPixels.data(), arrPixels.data(), c_nBenchWidth, Img_CoefToYUV(eMatrix));
    const KEY_PLAN plan = KeyPlan_Make(_rawKey);
    const KEY_SET set = {plan.arrKeying, plan.nKeying, plan.arrExclude, plan.nExclude};
    keys.pfnKeySet(arrAlpha.data(), arrPixels.data(), c_nBenchWidth, c_nBenchWidth, set);
    return arrAlpha;
}
