#include "ZChromaKey/Licence/Notice.h"

#include "Support/TestProps.h"
#include "Video/FrameShorthand.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace
{

/// Holds a picture with the notice against the one before: light letters on a dark plate, and nothing else.
void ExpectNotice(IZFFrame* _pFrame, const std::vector<uint8_t>& _vecBefore, const NOTICE_PLATE& _plate, bool _bMask)
{
    const ZF_VID_PROPS vidProps = PropsOf(_pFrame);
    const std::vector<uint8_t> vecAfter = PixelsOf(_pFrame);
    int nWrong = 0;
    for (int y = 0; y < std::abs(vidProps.nHeight); ++y)
        for (int x = 0; x < vidProps.nWidth; ++x)
        {
            const size_t nAt = size_t{4} * static_cast<size_t>(y * vidProps.nWidth + x);
            if (x < _plate.part.nX1 || x >= _plate.part.nX2 || y < _plate.part.nY1 || y >= _plate.part.nY2)
            {
                nWrong += !std::equal(&vecAfter[nAt], &vecAfter[nAt] + 4, &_vecBefore[nAt]);
                continue;
            }
            const size_t nPlate =
                size_t{4} * static_cast<size_t>((y - _plate.part.nY1) * _plate.Width() + x - _plate.part.nX1);
            const bool bLetter = _plate.vecMask[nPlate] == 255;
            for (size_t n = 0; n < 3; ++n)
                nWrong += bLetter ? vecAfter[nAt + n] < 250 : vecAfter[nAt + n] > (_bMask ? 128 : 5);
            if (FCC_HasAlpha(vidProps.fccType))
                nWrong += vecAfter[nAt + 3] != (bLetter ? 255 : 128);
        }
    EXPECT_EQ(nWrong, 0) << FCC_Name(vidProps.fccType) << vidProps.nWidth << "x" << vidProps.nHeight;
}

TEST(Notice, CanBeReadInEveryFormatAndSize)
{
    CNotice notice("ZChromaKey");
    const std::pair<int, int> arrSizes[] = {{352, 288}, {320, 180}, {98, 64}, {48, 200}, {16, 4}, {2, 4}};
    for (const uint32_t fccType : c_arrTestFormats)
        for (const auto& [nWidth, nHeight] : arrSizes)
            for (const int nTurn : {1, -1})
                for (const int32_t eInterlace : {eZI_Progressive, eZI_TopFirst})
                {
                    const int nStored = FCC_IsRGB(fccType) && fccType != eZFCC_RGB8 ? nTurn * nHeight : nHeight;
                    const auto cpFrame = MakePicture(Record(fccType, nWidth, nStored, 0, eInterlace));
                    const std::vector<uint8_t> vecBefore = PixelsOf(cpFrame.Get());
                    const bool bMask = fccType == eZFCC_RGB8;
                    const ZF_VID_PROPS vidProps = PropsOf(cpFrame.Get());
                    ASSERT_EQ(notice.Draw(vidProps, PtrOf(cpFrame.Get(), eZFP_Flip | eZFP_Write), bMask), S_OK);
                    ExpectNotice(cpFrame.Get(), vecBefore, notice.Plate(nWidth, nHeight), bMask);
                }
}

TEST(Notice, BreaksLinesWhereThePictureIsNarrow)
{
    using LINES = std::vector<std::string>;
    EXPECT_EQ(Notice_Lines("ZChromaKey", 40), (LINES{"Evaluation copy", "ZChromaKey"}));
    EXPECT_EQ(Notice_Lines("ZChromaKey", 12), (LINES{"Evaluation", "copy", "ZChromaKey"}));
    EXPECT_EQ(Notice_Lines("My Key", 4), (LINES{"Eval", "uati", "on", "copy", "My", "Key"}));
    EXPECT_EQ(Notice_Lines("", 15), (LINES{"Evaluation copy"}));
}

TEST(Notice, IsNoMoreThanAThirdOfAPictureThatHasRoom)
{
    CNotice notice("ZChromaKey");
    for (const auto& [nWidth, nHeight] : {std::pair(1920, 1080), {1080, 1920}, {8192, 4320}, {4096, 64}})
    {
        const NOTICE_PLATE& plate = notice.Plate(nWidth, nHeight);
        EXPECT_LE(plate.Width(), nWidth / 3 + 6);
        EXPECT_GE(plate.Width(), std::min(nWidth / 3, nHeight) * 3 / 4);
        EXPECT_LE(plate.Height(), std::max(nHeight / 3, 24) + 4);
    }
}

} // namespace
