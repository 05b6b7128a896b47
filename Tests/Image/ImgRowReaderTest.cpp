#include "Image/ImgRowReader.h"

#include "Support/GuardedPicture.h"
#include "Support/LogCatcher.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
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

int Round10(int _nLevel)
{
    return std::min(255, static_cast<int>(std::floor(_nLevel / 4.0 + 0.5)));
}

int SampleV210(const GUARDED_PICTURE& _picture, int _nRow, int _nSample)
{
    int nWord = 0;
    for (int n = 3; n >= 0; --n)
        nWord = nWord << 8 | _picture.Byte(0, _nRow, _nSample / 3 * 4 + n);
    return Round10(nWord >> (_nSample % 3 * 10) & 1023);
}

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
    TEST_PIXEL pixel = {true, {double(_picture.Byte(0, _nRow, _nX)), 128, 128}, 255};
    if (!_picture.arrPlanes[1])
        return pixel;
    const int nRow = ChromaRowOf(_picture, _nRow);
    if (fccType == eZFCC_NV12)
    {
        const int nPair = std::min(_nX / 2, _picture.vidPtr.szVideoPlanes[1].cx / 2 - 1);
        pixel.arrLevels[1] = _picture.Byte(1, nRow, nPair * 2);
        pixel.arrLevels[2] = _picture.Byte(1, nRow, nPair * 2 + 1);
        return pixel;
    }
    const bool bVFirst = fccType == eZFCC_YV12 || fccType == eZFCC_YV16;
    const int nSample = std::min(_nX / 2, _picture.vidPtr.szVideoPlanes[1].cx - 1);
    pixel.arrLevels[1] = _picture.Byte(bVFirst ? 2 : 1, nRow, nSample);
    pixel.arrLevels[2] = _picture.Byte(bVFirst ? 1 : 2, nRow, nSample);
    return pixel;
}

TEST_PIXEL PixelOf(const GUARDED_PICTURE& _picture, int _nRow, int _nX)
{
    const auto fnByte = [&](int _nByte) { return _picture.Byte(0, _nRow, _nByte); };
    const auto fnPacked = [&](int _nY, int _nU, int _nV) {
        const int nUnit = _nX / 2 * 4;
        return TEST_PIXEL{
            true,
            {double(fnByte(nUnit + _nY + _nX % 2 * 2)), double(fnByte(nUnit + _nU)), double(fnByte(nUnit + _nV))},
            255};
    };
    const auto fnRGB = [](int _nB, int _nG, int _nR, int _nAlpha = 255) {
        return TEST_PIXEL{false, {double(_nB), double(_nG), double(_nR)}, _nAlpha};
    };
    switch (_picture.vidProps.fccType)
    {
    case eZFCC_RGB8:
        return fnRGB(fnByte(_nX), fnByte(_nX), fnByte(_nX));
    case eZFCC_RGB24:
        return fnRGB(fnByte(_nX * 3), fnByte(_nX * 3 + 1), fnByte(_nX * 3 + 2));
    case eZFCC_RGB32:
        return fnRGB(fnByte(_nX * 4), fnByte(_nX * 4 + 1), fnByte(_nX * 4 + 2));
    case eZFCC_ARGB32:
        return fnRGB(fnByte(_nX * 4), fnByte(_nX * 4 + 1), fnByte(_nX * 4 + 2), fnByte(_nX * 4 + 3));
    case eZFCC_r210: {
        const int nHigh = (fnByte(_nX * 4) << 8 | fnByte(_nX * 4 + 1)),
                  nLow = fnByte(_nX * 4 + 2) << 8 | fnByte(_nX * 4 + 3);
        const int nG = (nHigh & 15) << 6 | nLow >> 10;
        return fnRGB(Round10(nLow & 1023), Round10(nG), Round10(nHigh >> 4 & 1023));
    }
    case eZFCC_v210: {
        const int nPair = _nX / 2 * 4;
        return {true,
                {double(SampleV210(_picture, _nRow, nPair + 1 + _nX % 2 * 2)),
                 double(SampleV210(_picture, _nRow, nPair)), double(SampleV210(_picture, _nRow, nPair + 2))},
                255};
    }
    case eZFCC_YUY2:
        return fnPacked(0, 1, 3);
    case eZFCC_YVYU:
        return fnPacked(0, 3, 1);
    case eZFCC_UYVY:
    case eZFCC_HDYC:
        return fnPacked(1, 0, 2);
    default:
        return PlanarPixel(_picture, _nRow, _nX);
    }
}

// Largest distance of a row as read from the row as it should be.
double WorstOfRow(const GUARDED_PICTURE& _picture, int _nRow, const uint8_t* _pBGRA)
{
    const eZYMatrix eMatrix = Img_MatrixOf(_picture.vidProps);
    double dblWorst = 0;
    for (int x = 0; x < _picture.vidProps.nWidth; ++x, _pBGRA += 4)
    {
        const TEST_PIXEL pixel = PixelOf(_picture, _nRow, x);
        IMG_COLOR col = {pixel.arrLevels[2] / 255, pixel.arrLevels[1] / 255, pixel.arrLevels[0] / 255};
        if (pixel.bYUV)
            col = Img_ColorFromYUV({col.dbl2, col.dbl1, col.dbl0}, eMatrix);
        const double arrExpected[4] = {col.dbl2 * 255, col.dbl1 * 255, col.dbl0 * 255, double(pixel.nAlpha)};
        for (int n = 0; n < 4; ++n)
            dblWorst = std::max(dblWorst, std::fabs(_pBGRA[n] - std::clamp(arrExpected[n], 0.0, 255.0)));
    }
    return dblWorst;
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
        dblWorst = std::max(dblWorst, WorstOfRow(_picture, nRow, planeOut.Row(0)));
    }
    EXPECT_LE(dblWorst, 0.53);
    EXPECT_TRUE(planeOut.Intact());
    EXPECT_TRUE(_picture.Intact());
}
} // namespace

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
