#include "Image/ImgKernels.h"

#include "Image/ImgColor.h"
#include "Image/ImgRowsC.h"
#include "Image/x86/ImgKernels_x86.h"
#include "Support/GuardedPlane.h"
#include "Support/SimdLevel.h"

#include <algorithm>
#include <cstring>
#include <vector>

// Every level against the plain kernels, which other tests hold to the definition.

namespace
{

class ImgKernels : public CSimdLevelTest
{
protected:
    void SetUp() override
    {
        CSimdLevelTest::SetUp();
        ImgKernels_Init(&m_plain, eSIMD_None);
        ImgKernels_Init(&m_level, GetParam());
    }
    IMG_KERNELS m_plain;
    IMG_KERNELS m_level;
};

constexpr auto c_eFull2020 = static_cast<eZYMatrix>(eZYM_Full + eZYM_2020);

// How many conversions Convert knows.
constexpr int c_nConversions = 5;

void Convert(int _nConversion, const IMG_KERNELS& _kernels, const uint8_t* _pFrom, uint8_t* _pTo, int _nPixels)
{
    const eZYMatrix eMatrix = _nConversion % 2 ? c_eFull2020 : eZYM_601;
    if (_nConversion < 2)
        _kernels.pfnToYUV(_pFrom, _pTo, _nPixels, Img_CoefToYUV(eMatrix));
    else if (_nConversion < 4)
        _kernels.pfnFromYUV(_pFrom, _pTo, _nPixels, Img_CoefFromYUV(eMatrix));
    else
        _kernels.pfnToHLS(_pFrom, _pTo, _nPixels);
}

// Random bytes, or only the ends of the range.
void Fill(CGuardedPlane& _plane, uint32_t _nSeed)
{
    _plane.FillRandom(_nSeed);
    for (size_t n = 0; n < _plane.RowBytes() && _nSeed % 3 == 0; ++n)
        _plane.Row(0)[n] = _plane.Row(0)[n] & 64 ? 255 : 0;
}

// The bytes of a row of plane 0, as Img_RowBytesUsed counts them.
size_t RowBytes(eImgLayout _eLayout, int _nWidth)
{
    const int nPacked = (_nWidth + 1) / 2 * 4;
    const int nV210 = _nWidth / 6 * 16 + (2 * (_nWidth % 6) + _nWidth % 2 + 2) / 3 * 4;
    const bool bPlanar = _eLayout == eIL_Planar || _eLayout == eIL_NV12 || _eLayout == eIL_RGB8;
    return static_cast<size_t>(bPlanar                  ? _nWidth
                               : _eLayout == eIL_P010   ? 2 * _nWidth
                               : _eLayout == eIL_RGBA32 ? 4 * _nWidth
                               : _eLayout == eIL_RGB24  ? 3 * _nWidth
                               : _eLayout == eIL_ARGB64 ? 8 * _nWidth
                               : _eLayout <= eIL_r210   ? 4 * _nWidth
                               : _eLayout == eIL_v210   ? nV210
                                                        : nPacked);
}

TEST_P(ImgKernels, ReadRowsLikeThePlainOnes)
{
    uint32_t nSeed = 1;
    const auto fnTest = [&](int _nLayout, int _nWidth, int _nChroma, eZGuard _eGuard) {
        SCOPED_TRACE(testing::Message() << "layout " << _nLayout << " width " << _nWidth << " chroma " << _nChroma
                                        << " guard " << _eGuard << " seed " << nSeed);
        const size_t nStep = _nLayout == eIL_NV12 ? 2 : _nLayout == eIL_P010 ? 4 : 1;
        const auto nChroma = static_cast<size_t>(_nChroma);
        CGuardedPlane luma(RowBytes(static_cast<eImgLayout>(_nLayout), _nWidth), 1, 0, _eGuard, nSeed % 64);
        CGuardedPlane chroma0(std::max<size_t>(nStep * nChroma, 1), 1, 0, _eGuard, nSeed % 7);
        CGuardedPlane chroma1(std::max<size_t>(nChroma, 1), 1, 0, _eGuard, nSeed % 11);
        for (CGuardedPlane* pPlane : {&luma, &chroma0, &chroma1})
            Fill(*pPlane, nSeed++);
        IMG_ROW row = {luma.Row(0), nullptr,  nullptr,
                       _nWidth,     _nChroma, &Img_CoefFromYUV(static_cast<int32_t>(nSeed % eZYM_Count))};
        if (_nChroma > 0)
        {
            row.pU = chroma0.Row(0);
            row.pV = nStep > 1 ? row.pU + nStep / 2 : chroma1.Row(0);
        }
        CGuardedPlane pixels(4 * static_cast<size_t>(_nWidth), 2, 0, _eGuard, nSeed % 64);
        m_plain.apfnRead[_nLayout](row, pixels.Row(0));
        CGuardedPlane result(4 * static_cast<size_t>(_nWidth), 1, 0, _eGuard, nSeed % 64);
        m_level.apfnRead[_nLayout](row, result.Row(0));
        ASSERT_EQ(std::memcmp(pixels.Row(0), result.Row(0), result.RowBytes()), 0);
        ASSERT_TRUE(result.Intact() && luma.Intact() && chroma0.Intact() && chroma1.Intact());
    };
    for (int nLayout = 0; nLayout < eIL_Count; ++nLayout)
        ForTestWidths([&](int _nWidth) {
            const bool bChroma = nLayout == eIL_Planar || nLayout == eIL_NV12 || nLayout == eIL_P010;
            const int nPairs = (_nWidth + 1) / 2;
            for (const eZGuard eGuard : {eZGuard_Fence, eZGuard_PageEnd, eZGuard_PageStart})
                fnTest(nLayout, _nWidth, bChroma ? nPairs : 0, eGuard);
            for (const int nShort : {0, 1, nPairs / 2, nPairs / 16 * 16, nPairs - 1}) // samples that are not there
                if (bChroma && nShort >= 0)
                    fnTest(nLayout, _nWidth, nShort, eZGuard_PageEnd);
        });
}

TEST_P(ImgKernels, ConvertEveryColourLikeThePlainOnes)
{
    constexpr int c_nPlane = 256 * 256;
    std::vector<uint8_t> arrPixels(4 * c_nPlane);
    std::vector<uint8_t> arrPlain(4 * c_nPlane);
    std::vector<uint8_t> arrLevel(4 * c_nPlane);
    for (int n0 = 0; n0 < 256; ++n0)
    {
        for (int n = 0; n < c_nPlane; ++n)
        {
            const uint8_t arrPixel[4] = {static_cast<uint8_t>(n0), static_cast<uint8_t>(n),
                                         static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n * 7)};
            std::memcpy(&arrPixels[4u * static_cast<unsigned>(n)], arrPixel, 4);
        }
        for (int nConversion = 0; nConversion < c_nConversions; ++nConversion)
        {
            Convert(nConversion, m_plain, arrPixels.data(), arrPlain.data(), c_nPlane);
            Convert(nConversion, m_level, arrPixels.data(), arrLevel.data(), c_nPlane);
            ASSERT_EQ(std::memcmp(arrPlain.data(), arrLevel.data(), arrPlain.size()), 0) << nConversion << " of " << n0;
        }
    }
}

TEST_P(ImgKernels, ConvertRowsOfEveryLengthInPlace)
{
    ForTestWidths([&](int _nWidth) {
        for (const eZGuard eGuard : {eZGuard_Fence, eZGuard_PageEnd, eZGuard_PageStart})
            for (int nConversion = 0; nConversion < c_nConversions; ++nConversion)
            {
                CGuardedPlane pixels(4 * static_cast<size_t>(_nWidth), 1, 0, eGuard, static_cast<size_t>(_nWidth) % 64);
                Fill(pixels, static_cast<uint32_t>(_nWidth));
                std::vector<uint8_t> arrExpected(pixels.Row(0), pixels.Row(0) + pixels.RowBytes());
                Convert(nConversion, m_plain, arrExpected.data(), arrExpected.data(), _nWidth);
                Convert(nConversion, m_level, pixels.Row(0), pixels.Row(0), _nWidth);
                ASSERT_TRUE(std::equal(arrExpected.begin(), arrExpected.end(), pixels.Row(0)) && pixels.Intact())
                    << "width " << _nWidth << " guard " << eGuard << " conversion " << nConversion;
            }
    });
}

#if defined(ZCK_X86)
// All levels give the same bytes, so no result tells an entry that another level's kernel has taken.
TEST(ImgKernelTable, EveryEntryIsItsLevels)
{
    const IMG_KERNELS arrExpected[] = {
        {{ImgRead_RGB8, ImgRead_RGB24, ImgRead_RGB32, ImgRead_ARGB32, ImgRead_r210, ImgRead_v210, ImgRead_YUYV,
          ImgRead_UYVY, ImgRead_YVYU, ImgRead_Planar, ImgRead_NV12, ImgRead_ARGB64, ImgRead_RGBA32, ImgRead_P010},
         ImgRow_ToYUV,
         ImgRow_FromYUV,
         ImgRow_ToHLS},
        {{ImgRead_RGB8, ImgRead_RGB24, ImgRead_RGB32_AVX2, ImgRead_ARGB32, ImgRead_r210_AVX2, ImgRead_v210_AVX2,
          ImgRead_YUYV_AVX2, ImgRead_UYVY_AVX2, ImgRead_YVYU_AVX2, ImgRead_Planar_AVX2, ImgRead_NV12_AVX2,
          ImgRead_ARGB64, ImgRead_RGBA32_AVX2, ImgRead_P010_AVX2},
         ImgRow_ToYUV_AVX2,
         ImgRow_FromYUV_AVX2,
         ImgRow_ToHLS_AVX2},
        {{ImgRead_RGB8, ImgRead_RGB24, ImgRead_RGB32_AVX512, ImgRead_ARGB32, ImgRead_r210_AVX512, ImgRead_v210_AVX512,
          ImgRead_YUYV_AVX512, ImgRead_UYVY_AVX512, ImgRead_YVYU_AVX512, ImgRead_Planar_AVX512, ImgRead_NV12_AVX512,
          ImgRead_ARGB64, ImgRead_RGBA32_AVX512, ImgRead_P010_AVX512},
         ImgRow_ToYUV_AVX512,
         ImgRow_FromYUV_AVX512,
         ImgRow_ToHLS_AVX512},
    };
    for (const eSIMD_Level eLevel : {eSIMD_None, eSIMD_AVX2, eSIMD_AVX512})
    {
        IMG_KERNELS kernels;
        ImgKernels_Init(&kernels, eLevel);
        EXPECT_EQ(std::memcmp(&kernels, &arrExpected[eLevel], sizeof(kernels)), 0) << ZCpu_LevelName(eLevel);
    }
}
#endif

Z_INSTANTIATE_LEVELS(ImgKernels);

} // namespace
