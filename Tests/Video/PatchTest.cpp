#include "Image/ImgPatch.h"

#include "FrameShorthand.h"

#include <algorithm>

namespace
{

/// Colours that a patch takes, in 8 or in 16 bits.
struct PATCH_SOURCE
{
    PATCH_SOURCE(const std::vector<uint8_t>& _vecBGRA, int _nWidth, bool _bWords)
        : nRow(4 * _nWidth)
        , bWords(_bWords)
        , vecBytes(_vecBGRA)
    {
        for (const uint8_t nByte : _vecBGRA)
            vecWords.push_back(static_cast<uint16_t>(nByte * 257));
    }
    /// The block at a place, with pixels that are new.
    IMG_PATCH At(int _nX, int _nY, uint64_t _nChanged) const
    {
        IMG_PATCH patch = {_nX, _nY, nullptr, bWords ? 2 * nRow : nRow, bWords, {}};
        const ptrdiff_t nAt = nRow * _nY + ptrdiff_t{4} * _nX;
        patch.pPixels = bWords ? static_cast<const void*>(vecWords.data() + nAt) : vecBytes.data() + nAt;
        std::fill_n(patch.arrChanged, 4, _nChanged);
        return patch;
    }

    ptrdiff_t nRow; // samples
    bool bWords;
    std::vector<uint8_t> vecBytes;
    std::vector<uint16_t> vecWords;
};

std::vector<uint8_t> Read(const GUARDED_PICTURE& _picture)
{
    CImgRowReader reader;
    EXPECT_EQ(reader.Init(_picture.vidProps, _picture.vidPtr), S_OK);
    std::vector<uint8_t> vecBGRA(size_t{4} * reader.Width() * reader.Height());
    for (int y = 0; y < reader.Height(); ++y)
        reader.ReadRow(y, vecBGRA.data() + size_t{4} * reader.Width() * y);
    return vecBGRA;
}

std::vector<uint8_t> BytesOf(const GUARDED_PICTURE& _picture)
{
    std::vector<uint8_t> vecBytes;
    for (const auto& upPlane : _picture.arrPlanes)
        for (int y = 0; upPlane && y < _picture.vidPtr.szVideoPlanes[&upPlane - _picture.arrPlanes].cy; ++y)
            vecBytes.insert(vecBytes.end(), upPlane->Row(y), upPlane->Row(y) + upPlane->RowBytes());
    return vecBytes;
}

bool IsPatched(uint32_t _fccType)
{
    return _fccType != eZFCC_RGB8 && !FCC_HasAlpha(_fccType);
}

} // namespace

TEST(Patch, PutsBackWhatTheWriterWrites)
{
    for (const uint32_t fccType : c_arrTestFormats)
        for (const int nWidth : {1, 2, 3, 17, 64, 66, 131})
            for (int nHeight = 1; nHeight <= 9; ++nHeight)
            {
                SCOPED_TRACE(testing::Message() << FCC_Name(fccType) << " " << nWidth << "x" << nHeight);
                const ZF_VID_PROPS vidProps = Props(fccType, nWidth, -nHeight, (nWidth + nHeight) % 3 + 1);
                const GUARDED_PICTURE picture(vidProps, nWidth % 3 * 8 - 8, eZGuard_Fence);
                const GUARDED_PICTURE right(vidProps, 0, eZGuard_Fence);
                const std::vector<uint8_t> vecBefore = PairedPicture(nWidth, nHeight);
                std::vector<uint8_t> vecNew = vecBefore;
                for (size_t n = 0; n < vecNew.size(); ++n)
                    vecNew[n] = n % 4 == 3 ? 255 : static_cast<uint8_t>(250 - vecNew[n]);
                ASSERT_EQ(ZFrameWriter_Write(vidProps, picture.vidPtr, vecBefore.data(), ptrdiff_t{4} * nWidth), S_OK);
                ASSERT_EQ(ZFrameWriter_Write(vidProps, right.vidPtr, vecNew.data(), ptrdiff_t{4} * nWidth), S_OK);
                CImgPatcher patcher;
                ASSERT_EQ(patcher.Init(vidProps, picture.vidPtr, Img_MatrixOf(vidProps)),
                          IsPatched(fccType) ? S_OK : E_NOTIMPL);
                if (!IsPatched(fccType))
                    break;
                const PATCH_SOURCE source(vecNew, nWidth, nHeight % 2 != 0);
                for (int y = 0; y < nHeight; y += 4)
                    for (int x = 0; x < nWidth; x += 64)
                        patcher.Put(
                            source.At(x, y, nWidth - x < 64 ? (uint64_t{1} << (nWidth - x)) - 1 : ~uint64_t{0}));
                EXPECT_TRUE(picture.Intact());
                // The writer fills eight bits of ten.
                const int nOff = fccType == eZFCC_v210 ? 2 : FCC_SampleBytes(fccType) == 2 ? 3 : 0;
                const auto vecRead = Read(picture), vecRight = fccType == eZFCC_v210 ? vecNew : Read(right);
                for (size_t n = 0; n < vecRead.size(); ++n)
                    ASSERT_NEAR(vecRead[n], vecRight[n], nOff) << n;
            }
}

TEST(Patch, ChangesTheSamplesOfItsPixelsOnly)
{
    for (const uint32_t fccType : c_arrTestFormats)
        for (int nPixel = 0; nPixel < 24 && IsPatched(fccType); ++nPixel)
        {
            SCOPED_TRACE(testing::Message() << FCC_Name(fccType) << " pixel " << nPixel);
            GUARDED_PICTURE picture(Props(fccType, 24, -8, nPixel % 2 ? eZI_TopFirst : eZI_Progressive), 0,
                                    eZGuard_PageEnd);
            picture.FillRandom(static_cast<uint32_t>(nPixel));
            const auto vecBefore = BytesOf(picture);
            const auto vecReadBefore = Read(picture);
            const PATCH_SOURCE source(PairedPicture(24, 8), 24, nPixel % 3 == 0);
            CImgPatcher patcher;
            ASSERT_EQ(patcher.Init(picture.vidProps, picture.vidPtr, eZYM_709), S_OK);
            IMG_PATCH patch = source.At(0, 4, 0);
            patcher.Put(patch);
            EXPECT_EQ(BytesOf(picture), vecBefore) << "nothing is new";
            patch.arrChanged[2] = uint64_t{1} << nPixel;
            patcher.Put(patch);
            const auto vecAfter = BytesOf(picture);
            int nChanged = 0;
            for (size_t n = 0; n < vecAfter.size(); ++n)
                nChanged += vecAfter[n] != vecBefore[n];
            EXPECT_GE(nChanged, 1);
            // three samples; those of ten bits may lie in two bytes, and r210 has all in four
            EXPECT_LE(nChanged, fccType == eZFCC_v210 || FCC_SampleBytes(fccType) == 2 ? 6
                                : fccType == eZFCC_r210                                ? 4
                                                                                       : 3);
            const auto vecRead = Read(picture);
            for (int y = 0; y < 4; ++y) // the block above
                EXPECT_TRUE(std::equal(vecRead.begin() + 96 * y, vecRead.begin() + 96 * (y + 1),
                                       vecReadBefore.begin() + 96 * y));
        }
}

TEST(Patch, SharedChromaIsThatOfTheMeanColourByAlpha)
{
    const GUARDED_PICTURE picture(Props(eZFCC_I420, 2, 2), 0, eZGuard_Fence);
    picture.arrPlanes[0]->Fill(77);
    const std::vector<uint8_t> vecBGRA = {0, 200, 0,   0,  200, 0,   0, 255,
                                          0, 0,   200, 85, 0,   200, 0, 0}; // two are not seen
    CImgPatcher patcher;
    ASSERT_EQ(patcher.Init(picture.vidProps, picture.vidPtr, eZYM_601), S_OK);
    const PATCH_SOURCE source(vecBGRA, 2, false);
    IMG_PATCH patch = source.At(0, 0, 0);
    patch.arrChanged[1] = 1;
    patcher.Put(patch);
    const uint8_t arrMean[4] = {150, 0, 50, 255}; // three parts of blue, one of red
    const uint8_t arrRed[4] = {0, 0, 200, 255};
    uint8_t arrMeanYUV[4], arrRedYUV[4];
    Img_RowToYUV(arrMean, arrMeanYUV, 1, eZYM_601);
    Img_RowToYUV(arrRed, arrRedYUV, 1, eZYM_601);
    EXPECT_EQ(picture.Byte(0, 0, 1), 77) << "luma of a pixel that is not new";
    EXPECT_EQ(picture.Byte(0, 1, 0), arrRedYUV[0]);
    EXPECT_EQ(picture.Byte(1, 0, 0), arrMeanYUV[1]);
    EXPECT_EQ(picture.Byte(2, 0, 0), arrMeanYUV[2]);
}
