#include "Image/ImgRowReader.h"

#include "Support/GuardedPicture.h"
#include "Support/LogCatcher.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace
{
// What a pixel is, in levels of 8 bits before rounding, found sample by sample and without the reader's tables.
struct TEST_PIXEL
{
    bool bYUV;
    double arrLevels[3]; // Y, U, V or B, G, R
    int nAlpha;
};

// The chroma row of a luma row, by walking the rows: every second row of a field (or of the picture) starts a new one.
int ChromaRowOf(const GUARDED_PICTURE& _picture, int _nRow)
{
    if (_picture.vidPtr.szVideoPlanes[1].cy == std::abs(_picture.vidProps.nHeight))
        return _nRow;
    const int nFields = _picture.vidProps.eInterlace == eZI_Progressive ? 1 : 2;
    int nChroma = -nFields + _nRow % nFields;
    for (int nRow = _nRow % nFields, nCount = 0; nRow <= _nRow; nRow += nFields, ++nCount)
        if (nCount % 2 == 0)
            nChroma += nFields;
    while (nChroma >= _picture.vidPtr.szVideoPlanes[1].cy)
        nChroma = nChroma >= nFields ? nChroma - nFields : 0; // a row too few: the field's last one, or the only one
    return nChroma;
}

TEST_PIXEL PlanarPixel(const GUARDED_PICTURE& _picture, int _nRow, int _nX)
{
    const uint32_t fccType = _picture.vidProps.fccType;
    const int nBytes = FCC_SampleBytes(fccType);
    const auto fnLevel = [&](int _nPlane, int _nPlaneRow, int _nSample) { // ten bits of words as eight
        const int nHigh = _picture.Byte(_nPlane, _nPlaneRow, _nSample * nBytes + nBytes - 1);
        const int nLow = _picture.Byte(_nPlane, _nPlaneRow, _nSample * nBytes);
        return nBytes == 1 ? nLow : std::min((4 * nHigh + nLow / 64 + 2) / 4, 255);
    };
    TEST_PIXEL pixel = {true, {double(fnLevel(0, _nRow, _nX)), 128, 128}, 255};
    if (!_picture.arrPlanes[1])
        return pixel;
    const int nRow = ChromaRowOf(_picture, _nRow);
    const bool bNV12 = FCC_Chroma(fccType) == eZCh_Turns; // U and V in turn
    const bool bVFirst = fccType == eZFCC_YV12 || fccType == eZFCC_YV16;
    const int nStep = bNV12 ? 2 : 1;
    const int nSample = std::min(_nX / 2, _picture.vidPtr.szVideoPlanes[1].cx / nStep - 1) * nStep;
    pixel.arrLevels[1] = fnLevel(bVFirst ? 2 : 1, nRow, nSample);
    pixel.arrLevels[2] = fnLevel(bVFirst || bNV12 ? 1 : 2, nRow, nSample + nStep - 1);
    return pixel;
}

// Largest distance of the four bytes of a pixel as read from what they should be.
double WorstOf(const TEST_PIXEL& _pixel, eZYMatrix _eMatrix, const uint8_t* _pBGRA)
{
    IMG_COLOR col = {_pixel.arrLevels[2] / 255, _pixel.arrLevels[1] / 255, _pixel.arrLevels[0] / 255};
    if (_pixel.bYUV)
        col = Img_ColorFromYUV({col.dbl2, col.dbl1, col.dbl0}, _eMatrix);
    const double arrExpected[4] = {col.dbl2 * 255, col.dbl1 * 255, col.dbl0 * 255, double(_pixel.nAlpha)};
    double dblWorst = 0;
    for (int n = 0; n < 4; ++n)
        dblWorst = std::max(dblWorst, std::fabs(_pBGRA[n] - std::clamp(arrExpected[n], 0.0, 255.0)));
    return dblWorst;
}

// What is read of a row in two pieces is what is read of it at once.
void ExpectSpans(const CImgRowReader& _reader)
{
    const auto nBytes = static_cast<size_t>(_reader.Width()) * 4;
    std::vector<uint8_t> vecWhole(nBytes), vecPieces(nBytes);
    const int nRow = _reader.Height() - 1, nSecond = (_reader.Width() - 1) / 6 / 2 * 6;
    _reader.ReadRow(nRow, vecWhole.data());
    if (nSecond > 0)
        _reader.ReadSpan(nRow, 0, nSecond, vecPieces.data(), nRow);
    _reader.ReadSpan(nRow, nSecond, _reader.Width() - nSecond, vecPieces.data() + ptrdiff_t{4} * nSecond, nRow);
    EXPECT_EQ(vecPieces, vecWhole);
}

void ExpectReads(GUARDED_PICTURE _picture, eZGuard _eGuard)
{
    _picture.FillRandom(static_cast<uint32_t>(_picture.vidProps.nWidth * 31 + _picture.vidProps.nHeight));
    CImgRowReader reader;
    ASSERT_EQ(reader.Init(_picture.vidProps, _picture.vidPtr), S_OK);
    CGuardedPlane planeOut(static_cast<size_t>(reader.Width()) * 4, 1, 0, _eGuard);
    const bool bInPlace = _picture.vidProps.fccType == eZFCC_RGB32 || _picture.vidProps.fccType == eZFCC_ARGB32;
    EXPECT_EQ(reader.IsInPlace(), bInPlace);
    double dblWorst = 0;
    for (int nRow = 0; nRow < reader.Height(); ++nRow)
    {
        EXPECT_EQ(reader.RowInPlace(nRow), bInPlace ? _picture.arrPlanes[0]->Row(nRow) : nullptr);
        reader.ReadRow(nRow, planeOut.Row(0));
        for (int x = 0; x < reader.Width() && FCC_IsPlanar(_picture.vidProps.fccType); ++x)
            dblWorst = std::max(dblWorst, WorstOf(PlanarPixel(_picture, nRow, x), Img_MatrixOf(_picture.vidProps),
                                                  planeOut.Row(0) + ptrdiff_t{4} * x));
    }
    EXPECT_LE(dblWorst, 0.53);
    ExpectSpans(reader);
    EXPECT_TRUE(planeOut.Intact());
    EXPECT_TRUE(_picture.Intact());
}
} // namespace

// Other sizes of these formats are read in the tests of frames, which write them.
TEST(ImgRowReader, FindsThePixelsInPackedRows)
{
    const struct
    {
        uint32_t fccType;
        std::vector<uint8_t> vecBytes;
        std::vector<TEST_PIXEL> vecPixels;
    } arrCases[] = {
        {eZFCC_RGB8, {7, 200}, {{false, {7, 7, 7}, 255}, {false, {200, 200, 200}, 255}}},
        {eZFCC_RGB24, {1, 2, 3, 4, 5, 6}, {{false, {1, 2, 3}, 255}, {false, {4, 5, 6}, 255}}},
        {eZFCC_RGB32, {1, 2, 3, 4, 5, 6, 7, 8}, {{false, {1, 2, 3}, 255}, {false, {5, 6, 7}, 255}}},
        {eZFCC_ARGB32, {1, 2, 3, 4, 5, 6, 7, 8}, {{false, {1, 2, 3}, 4}, {false, {5, 6, 7}, 8}}},
        {eZFCC_RGBA32, {1, 2, 3, 4, 5, 6, 7, 8}, {{false, {3, 2, 1}, 4}, {false, {7, 6, 5}, 8}}},
        // words of 257 levels each, rounded: 0x8080 is 128, 127.5 levels go upward, and 65535 is 255
        {eZFCC_ARGB64, {0x80, 0x80, 0xFF, 0xFF, 0x7F, 0x00, 0x81, 0x00}, {{false, {128, 255, 0}, 1}}},
        {eZFCC_YUY2, {60, 100, 90, 150}, {{true, {60, 100, 150}, 255}, {true, {90, 100, 150}, 255}}},
        {eZFCC_YVYU, {60, 100, 90, 150}, {{true, {60, 150, 100}, 255}, {true, {90, 150, 100}, 255}}},
        {eZFCC_UYVY, {60, 100, 90, 150}, {{true, {100, 60, 90}, 255}, {true, {150, 60, 90}, 255}}},
        {eZFCC_HDYC, {60, 100, 90, 150}, {{true, {100, 60, 90}, 255}, {true, {150, 60, 90}, 255}}},
        // 10 bits: R 402, G 401, B 1023; halves of a level go upward, and 255 is the most
        {eZFCC_r210, {0x19, 0x26, 0x47, 0xFF}, {{false, {255, 100, 101}, 255}}},
        // 10 bits in threes, the first lowest in its word: U Y V Y through six pixels
        {eZFCC_v210,
         {0x90, 0xC1, 0x03, 0x1E, 0x18, 0xE1, 0x06, 0x14, 0x08, 0xA6, 0x25, 0x19, 0x91, 0xFD, 0xFF, 0x18},
         {{true, {60, 100, 120}, 255},
          {true, {70, 100, 120}, 255},
          {true, {80, 110, 130}, 255},
          {true, {90, 110, 130}, 255},
          {true, {100, 101, 255}, 255},
          {true, {100, 101, 255}, 255}}},
    };
    for (const auto& test : arrCases)
    {
        SCOPED_TRACE(FCC_Name(test.fccType));
        const GUARDED_PICTURE picture(Props(test.fccType, static_cast<int>(test.vecPixels.size()), 1), 0,
                                      eZGuard_Fence);
        ASSERT_EQ(picture.arrPlanes[0]->RowBytes(), test.vecBytes.size());
        std::memcpy(picture.arrPlanes[0]->Row(0), test.vecBytes.data(), test.vecBytes.size());
        CImgRowReader reader;
        ASSERT_EQ(reader.Init(picture.vidProps, picture.vidPtr), S_OK);
        uint8_t arrRow[6 * 4];
        reader.ReadRow(0, arrRow);
        for (size_t x = 0; x < test.vecPixels.size(); ++x)
            EXPECT_LE(WorstOf(test.vecPixels[x], eZYM_601, arrRow + 4 * x), 0.53) << x;
    }
}

TEST(ImgRowReader, ReadsEveryFormatAndSizeWithinItsPlanes)
{
    const struct
    {
        int nPadding;
        eZGuard eGuard;
    } arrShapes[] = {{0, eZGuard_PageEnd}, {-1, eZGuard_PageStart}, {13, eZGuard_Fence}, {-9, eZGuard_PageEnd}};
    for (uint32_t fccType : c_arrTestFormats)
        for (int nWidth = 1; nWidth <= 34; ++nWidth)
            for (int nHeight = 1; nHeight <= 9; ++nHeight)
            {
                const auto& shape = arrShapes[(nWidth + nHeight) % 4];
                const int eInterlace = (nWidth + nHeight) / 4 % 3 + 1;
                SCOPED_TRACE(testing::Message() << std::hex << fccType << std::dec << " " << nWidth << "x" << nHeight
                                                << " padding " << shape.nPadding << " interlace " << eInterlace);
                ExpectReads(GUARDED_PICTURE(Props(fccType, nWidth, nHeight, eInterlace), shape.nPadding, shape.eGuard,
                                            nWidth % 7u),
                            shape.eGuard);
                if (HasFailure())
                    return;
            }
}

TEST(ImgRowReader, TakesTheTallestRecord)
{
    GUARDED_PICTURE picture(Props(eZFCC_I420, 2, 2), 0, eZGuard_Fence); // only its first rows are read
    for (const auto& upPlane : picture.arrPlanes)
        upPlane->Fill(200);
    picture.vidProps.nHeight = INT32_MAX;
    for (ZF_SIZE& szPlane : picture.vidPtr.szVideoPlanes)
        szPlane.cy = INT32_MAX;
    const uint8_t arrYUVA[4] = {200, 200, 200, 255};
    uint8_t arrExpected[4];
    uint8_t arrRow[8];
    Img_RowFromYUV(arrYUVA, arrExpected, 1, eZYM_601);
    CImgRowReader reader;
    ASSERT_EQ(reader.Init(picture.vidProps, picture.vidPtr, eZYM_601), S_OK);
    EXPECT_EQ(reader.Height(), INT32_MAX);
    reader.ReadRow(0, arrRow);
    EXPECT_EQ(std::memcmp(arrRow, arrExpected, 4), 0) << "the chroma was lost";
}

TEST(ImgRowReader, RefusesWhatItCannotRead)
{
    const CLogCatcher log(eZLog_Error);
    const auto fnInit = [](const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr) {
        CImgRowReader reader;
        return reader.Init(_vidProps, _vidPtr);
    };
    const GUARDED_PICTURE picture(Props(eZFCC_I420, 8, 4), 0, eZGuard_Fence);
    for (uint32_t fccType :
         {uint32_t{eZFCC_RGB565}, uint32_t{eZFCC_IYU2}, uint32_t{eZFCC_YVU9}, uint32_t{0}, 0x12345678u})
    {
        EXPECT_EQ(fnInit(Props(fccType, 8, 4), picture.vidPtr), E_NOTIMPL);
        EXPECT_EQ(Img_RowBytesUsed(fccType, 8), 0);
    }
    for (const ZF_SIZE& szWrong : {ZF_SIZE{0, 4}, ZF_SIZE{8, 0}, ZF_SIZE{-8, 4}, ZF_SIZE{9, 4}, ZF_SIZE{8, 5},
                                   ZF_SIZE{INT32_MAX, 4}, ZF_SIZE{8, INT32_MIN}})
        EXPECT_EQ(fnInit(Props(eZFCC_I420, szWrong.cx, szWrong.cy), picture.vidPtr), E_INVALIDARG) << szWrong.cx;
    for (int nPlane = 0; nPlane < 3; ++nPlane)
    {
        ZF_VID_PTR vidPtr = picture.vidPtr;
        vidPtr.lpVideoPlanes[nPlane] = 0;
        EXPECT_EQ(fnInit(picture.vidProps, vidPtr), E_INVALIDARG) << nPlane;
        vidPtr = picture.vidPtr;
        vidPtr.cbVideoRowBytes[nPlane] = 1 - (nPlane == 0 ? 8 : 4);
        EXPECT_EQ(fnInit(picture.vidProps, vidPtr), E_INVALIDARG) << nPlane;
    }
    const GUARDED_PICTURE nv12(Props(eZFCC_NV12, 8, 4), 0, eZGuard_Fence);
    ZF_VID_PTR vidNV12 = nv12.vidPtr;
    vidNV12.lpVideoPlanes[1] = 0;
    EXPECT_EQ(fnInit(nv12.vidProps, vidNV12), E_INVALIDARG);
    EXPECT_EQ(log.Count("CImgRowReader::Init"), 14u);
}
