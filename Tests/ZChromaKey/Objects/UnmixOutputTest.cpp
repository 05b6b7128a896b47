#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "ZChromaKey/Objects/TestKeyer.h"
#include "Video/FrameShorthand.h"
#include "ZChromaKey/Objects/UnmixKeyer.h"

#include <array>
#include <tuple>

// What results of the second generation are made of, and what they keep of the picture.

namespace
{

using UnmixOutput = CUnmixObjectTest;

constexpr int c_nMiddleX = c_nBodyWidth / 2;
constexpr int c_nMiddleY = 83;

/// The words of a pixel: B, G, R, A.
std::array<int, 4> WordsAt(IZFFrame* _pFrame, int _nX, int _nY)
{
    std::array<int, 4> arrWords = {};
    const uint8_t* const p = Img_RowOf(PtrOf(_pFrame), 0, _nY) + ptrdiff_t{8} * _nX;
    for (int n = 0; n < 4; ++n)
        arrWords[static_cast<size_t>(n)] = p[2 * n] | p[2 * n + 1] << 8;
    return arrWords;
}

TEST_F(UnmixOutput, SixteenBitsAreTheEightAndTheFractionsOfMixedPixels)
{
    SpillLeave();
    const auto cpFrame = Body(eZFCC_RGB32, c_arrGreen);
    KeyFrom(cpFrame.Get());
    const auto cpBytes = Receive(cpFrame.Get());
    Set(L"output.depth", L"16");
    const auto cpWords = Receive(cpFrame.Get());
    EXPECT_EQ(PropsOf(cpBytes.Get()).fccType, eZFCC_ARGB32);
    ASSERT_EQ(PropsOf(cpWords.Get()).fccType, eZFCC_ARGB64);
    EXPECT_LT(Error(cpWords.Get()), 2.5);
    const auto cpMask = MaskOf(cpWords.Get());
    int nFractions = 0;
    for (int y = 0; y < c_nBodyHeight; ++y)
        for (int x = 0; x < c_nBodyWidth; ++x)
        {
            const uint8_t* const pBytes = Img_RowOf(PtrOf(cpBytes.Get()), 0, y) + ptrdiff_t{4} * x;
            const auto arrWords = WordsAt(cpWords.Get(), x, y);
            for (size_t n = 0; n < 4; ++n)
            {
                ASSERT_LE(std::abs(arrWords[n] - 257 * pBytes[n]), 129) << x << "," << y << " channel " << n;
                nFractions += arrWords[n] % 257 != 0;
            }
            ASSERT_EQ(Img_RowOf(PtrOf(cpMask.Get()), 0, y)[x], pBytes[3]);
        }
    EXPECT_GT(nFractions, 500);
    EXPECT_EQ(WordsAt(cpWords.Get(), 10, 10), (std::array<int, 4>{}));
    EXPECT_EQ(WordsAt(cpWords.Get(), c_nMiddleX, c_nMiddleY),
              (std::array<int, 4>{257 * 90, 257 * 70, 257 * 150, 65535}));
}

/// Adds one, two and three quarters of a level to the blue, green and red of r210, or half a level to the luma of
/// others.
void AddTenBits(IZFFrame* _pFrame)
{
    const bool bRGB = PropsOf(_pFrame).fccType == eZFCC_r210;
    ZF_VID_PTR vidPtr = PtrOf(_pFrame, eZFP_Flip | eZFP_Write);
    if (FCC_IsPlanar(PropsOf(_pFrame).fccType))
    {
        for (int n = 0; n < c_nBodyHeight * c_nBodyWidth; ++n)
            Img_RowOf(vidPtr, 0, n / c_nBodyWidth)[n % c_nBodyWidth * 2] = 0x80;
        return;
    }
    for (int y = 0; y < c_nBodyHeight; ++y)
        for (int nWord = 0; nWord < c_nBodyWidth / 6 * 4 || (bRGB && nWord < c_nBodyWidth); ++nWord)
        {
            uint8_t* const p = Img_RowOf(vidPtr, 0, y) + ptrdiff_t{4} * nWord;
            if (bRGB) // big-endian: 2 unused bits, R, G, B; the samples are multiples of 4 so far
            {
                p[1] = static_cast<uint8_t>(p[1] | 0x30);
                p[2] = static_cast<uint8_t>(p[2] | 0x08);
                p[3] = static_cast<uint8_t>(p[3] | 0x01);
            }
            else if (nWord % 2 == 0) // U Y V, Y U Y, V Y U, Y V Y: luma in the middle, or at both ends
                p[1] = static_cast<uint8_t>(p[1] | 0x08);
            else
            {
                p[0] = static_cast<uint8_t>(p[0] | 0x02);
                p[2] = static_cast<uint8_t>(p[2] | 0x20);
            }
        }
}

TEST_F(UnmixOutput, SixteenBitsKeepTheTenOfThePicture)
{
    SpillLeave();
    Set(L"output.depth", L"16");
    const auto cpRGB = Body(eZFCC_r210, c_arrGreen);
    AddTenBits(cpRGB.Get());
    KeyFrom(cpRGB.Get());
    const std::array<int, 4> arrRight = {static_cast<int>(std::lround(90.25 * 257)),
                                         static_cast<int>(std::lround(70.5 * 257)),
                                         static_cast<int>(std::lround(150.75 * 257)), 65535};
    EXPECT_EQ(WordsAt(Receive(cpRGB.Get()).Get(), c_nMiddleX, c_nMiddleY), arrRight);

    for (const uint32_t fccType : {eZFCC_v210, eZFCC_P010, eZFCC_P210})
    {
        const auto cpYUV = Body(fccType, c_arrGreen);
        KeyFrom(cpYUV.Get());
        const auto fnLuma = [&] { // of 1023
            cpYUV->IdentityRenew();
            const auto arrWords = WordsAt(Receive(cpYUV.Get()).Get(), c_nMiddleX, c_nMiddleY);
            return 64 + 4 * 219 / 65535.0 * (0.114 * arrWords[0] + 0.587 * arrWords[1] + 0.299 * arrWords[2]);
        };
        const double dblBefore = fnLuma();
        AddTenBits(cpYUV.Get());
        EXPECT_NEAR(dblBefore, 4 * std::round(dblBefore / 4), 0.1) << "eight bits so far";
        EXPECT_NEAR(fnLuma(), dblBefore + 2, 0.05) << FCC_Name(fccType);
    }
}

TEST_F(UnmixOutput, OtherPlacesOfTheSameSamplesGiveTheSame)
{
    for (const auto& [fccRight, fccOwn] : {std::pair{eZFCC_ARGB32, eZFCC_RGBA32}, {eZFCC_v210, eZFCC_P210}})
        for (const wchar_t* pwszPremultiplied : {L"false", L"true"})
        {
            const auto cpRight = Body(fccRight, c_arrGreen), cpOwn = Body(fccOwn, c_arrGreen);
            KeyFrom(cpOwn.Get());
            Set(L"output.premultiplied", pwszPremultiplied);
            for (const wchar_t* pwszARGB : {L"false", L"true"})
            {
                Set(L"output.argb", pwszARGB);
                const auto cpResRight = Receive(cpRight.Get()), cpRes = Receive(cpOwn.Get());
                EXPECT_EQ(PropsOf(cpRes.Get()).fccType, *pwszARGB == L't' ? eZFCC_ARGB32 : fccOwn);
                EXPECT_LT(Error(cpRes.Get()), 2.5);
                EXPECT_EQ(PixelsOf(cpRes.Get()), PixelsOf(cpResRight.Get())) << FCC_Name(fccOwn);
                EXPECT_EQ(PixelsOf(MaskOf(cpRes.Get()).Get()), PixelsOf(MaskOf(cpResRight.Get()).Get()));
            }
        }
}

TEST_F(UnmixOutput, ColoursAreMultipliedByAlphaToTheNearestLevel)
{
    const auto cpFrame = Body(eZFCC_UYVY, c_arrGreen);
    KeyFrom(cpFrame.Get());
    for (const bool bWords : {false, true})
    {
        Set(L"output.depth", bWords ? L"16" : nullptr);
        Set(L"output.premultiplied", nullptr);
        const auto cpStraight = Receive(cpFrame.Get());
        Set(L"output.premultiplied", L"true");
        const auto cpRes = Receive(cpFrame.Get());
        const auto fnAt = [&](IZFFrame* _pFrame, int _nX, int _nY) {
            const uint8_t* const p = Img_RowOf(PtrOf(_pFrame), 0, _nY) + ptrdiff_t{4} * _nX;
            return bWords ? WordsAt(_pFrame, _nX, _nY) : std::array<int, 4>{p[0], p[1], p[2], p[3]};
        };
        int nMixed = 0;
        for (int y = 0; y < c_nBodyHeight; ++y)
            for (int x = 0; x < c_nBodyWidth; ++x)
            {
                auto arrRight = fnAt(cpStraight.Get(), x, y);
                const double dblAlpha = arrRight[3] / (bWords ? 65535.0 : 255.0);
                nMixed += dblAlpha > 0 && dblAlpha < 1;
                for (size_t n = 0; n < 3; ++n)
                    arrRight[n] = static_cast<int>(std::lround(arrRight[n] * dblAlpha));
                ASSERT_EQ(fnAt(cpRes.Get(), x, y), arrRight) << x << "," << y << " words " << bWords;
            }
        EXPECT_GT(nMixed, 200);
        EXPECT_EQ(Error(cpRes.Get()), Error(cpStraight.Get()));
    }
}

/// Bytes of plane 0 that six pixels take.
int SixPixels(uint32_t _fccType)
{
    if (FCC_IsPlanar(_fccType))
        return 6 * FCC_SampleBytes(_fccType);
    return _fccType == eZFCC_v210 ? 16 : 6 * FCC_BitsPerPixel(_fccType) / 8;
}

/// Whether the rows from _nY1 to _nY2 are the same bytes in plane 0, from the column _nX1 to _nX2, multiples of six.
bool IsPartSame(IZFFrame* _pA, IZFFrame* _pB, int _nX1, int _nY1, int _nX2, int _nY2)
{
    const int nSix = SixPixels(PropsOf(_pA).fccType);
    for (int y = _nY1; y < _nY2; ++y)
        if (!std::equal(RowOf(_pA, y) + _nX1 / 6 * nSix, RowOf(_pA, y) + _nX2 / 6 * nSix,
                        RowOf(_pB, y) + _nX1 / 6 * nSix))
            return false;
    return true;
}

/// Gives a part of the body samples that no colour comes back as: luma blacker than black, and bits that are not used.
void AddExtremes(IZFFrame* _pFrame)
{
    const uint32_t fccType = PropsOf(_pFrame).fccType;
    const ZF_VID_PTR vidPtr = PtrOf(_pFrame, eZFP_Flip | eZFP_Write);
    const eImgLayout eLayout = FCC_Layout(fccType);
    for (int y = 80; y < 84; ++y)
    {
        uint8_t* const pRow = Img_RowOf(vidPtr, 0, y);
        for (int x = 84; x < 108; ++x)
            if (eLayout == eIL_r210)
                pRow[4 * x] = static_cast<uint8_t>(pRow[4 * x] | 0xC0);
            else if (FCC_IsPlanar(fccType))
                pRow[FCC_SampleBytes(fccType) * (x + 1) - 1] = 4;
            else if (Z_IsPairs(eLayout))
                pRow[2 * x + Z_PairBytes(eLayout).nY0] = 4;
        for (int nWord = 84 / 6 * 4; eLayout == eIL_v210 && nWord < 108 / 6 * 4; ++nWord)
        {
            const uint32_t nSamples = nWord % 2 ? 17u | 512u << 10 | 17u << 20 : 512u | 17u << 10 | 512u << 20;
            for (int n = 0; n < 4; ++n)
                pRow[4 * nWord + n] = static_cast<uint8_t>(nSamples >> (8 * n));
        }
    }
}

TEST_F(UnmixOutput, InputFormatsKeepWhatIsNotMixedAndAreCleanWhereItIs)
{
    SpillLeave();
    for (const uint32_t fccType : {eZFCC_RGB24, eZFCC_RGB32, eZFCC_r210, eZFCC_v210, eZFCC_YUY2, eZFCC_UYVY, eZFCC_YVYU,
                                   eZFCC_I420, eZFCC_YV12, eZFCC_NV12, eZFCC_I422, eZFCC_Y444, eZFCC_P010, eZFCC_P210})
        for (const int32_t eInterlace : {eZI_Progressive, eZI_TopFirst})
        {
            SCOPED_TRACE(testing::Message() << FCC_Name(fccType) << " interlace " << eInterlace);
            const auto cpFrame = Body(fccType, c_arrGreen, eInterlace);
            if (fccType == eZFCC_r210 || fccType == eZFCC_v210)
                AddTenBits(cpFrame.Get());
            AddExtremes(cpFrame.Get());
            KeyFrom(cpFrame.Get());
            Set(L"output.argb", L"true");
            const auto cpARGB = Receive(cpFrame.Get());
            Set(L"output.argb", L"false");
            EXPECT_EQ(m_cpProcess->OnMediaFlush(), S_OK); // the second field has taught the plate of the first
            cpFrame->IdentityRenew();
            const auto cpBefore = PixelsOf(cpFrame.Get());
            const auto cpRes = Receive(cpFrame.Get());
            ASSERT_EQ(PropsOf(cpRes.Get()).fccType, fccType);
            EXPECT_EQ(PixelsOf(MaskOf(cpRes.Get()).Get()), PixelsOf(MaskOf(cpARGB.Get()).Get()));
            EXPECT_EQ(PixelsOf(cpFrame.Get()), cpBefore) << "the input was written";
            EXPECT_TRUE(IsPartSame(cpRes.Get(), cpFrame.Get(), 0, 0, c_nBodyWidth, 40)) << "backdrop";
            EXPECT_TRUE(IsPartSame(cpRes.Get(), cpFrame.Get(), 78, 70, 114, 96)) << "inside the body";

            const auto vecRes = PixelsOf(cpRes.Get());
            const auto vecRight = PixelsOf(cpARGB.Get());
            double dblOff = 0, dblWas = 0;
            int nMixed = 0;
            for (size_t n = 0; n < vecRes.size(); n += 4)
                if (vecRight[n + 3] > 64 && vecRight[n + 3] < 250)
                {
                    ++nMixed;
                    dblOff += std::abs(vecRes[n + 1] - vecRight[n + 1]);
                    dblWas += std::abs(cpBefore[n + 1] - vecRight[n + 1]);
                }
            ASSERT_GT(nMixed, 200);
            EXPECT_GT(dblWas / nMixed, 20);
            EXPECT_LT(dblOff / nMixed, FCC_IsRGB(fccType) ? 0.5 : 3) << "the clean green of ARGB";
        }
}

TEST_F(UnmixOutput, BordersLeaveTheSizeThatTheFirstGenerationGives)
{
    const auto cpFirst = TestKeyer_Make();
    EXPECT_EQ(cpFirst->PropsSet(L"output.argb", L"true"), S_OK);
    const std::tuple<const wchar_t*, int, int> arrBorders[] = {// and the first column and row that they leave
                                                               {L"8,3,16,5", 8, 3},
                                                               {L"0,1,0,0", 0, 1},
                                                               {L"1,2,9,7", 8, 2},
                                                               {L"0,0,0,3", 0, 0}};
    for (const uint32_t fccType : {eZFCC_RGB32, eZFCC_UYVY, eZFCC_I420, eZFCC_NV12})
        for (const int32_t eInterlace : {eZI_Progressive, eZI_TopFirst})
            for (const auto& [pwszBorders, nLeft, nTop] : arrBorders)
            {
                SCOPED_TRACE(testing::Message()
                             << FCC_Name(fccType) << " interlace " << eInterlace << " borders " << pwszBorders);
                const auto cpFrame = Body(fccType, c_arrGreen, eInterlace);
                KeyFrom(cpFrame.Get());
                Set(L"keying.borders", pwszBorders);
                EXPECT_EQ(cpFirst->PropsSet(L"keying.borders", pwszBorders), S_OK);
                CZPtr<IZFFrame> cpRight;
                ASSERT_EQ(cpFirst->OnMediaReceive(cpFrame.Get(), cpRight.Put()), S_OK);
                const auto cpRes = Receive(cpFrame.Get());
                const ZF_VID_PROPS vidProps = PropsOf(cpRes.Get());
                const ZF_VID_PROPS vidRight = PropsOf(cpRight.Get());
                EXPECT_TRUE(VidProps_Same(&vidProps, &vidRight, 2));
                EXPECT_EQ(vidProps.eInterlace, vidRight.eInterlace);
                const ZF_VID_PROPS vidMask = PropsOf(MaskOf(cpRes.Get()).Get());
                EXPECT_EQ(std::pair(vidMask.nWidth, vidMask.nHeight), std::pair(vidProps.nWidth, vidProps.nHeight));
                const int nFirst = eInterlace == eZI_Progressive ? nTop : nTop / 2 * 2; // rows of fields go in pairs
                double dblOff = 0;
                for (int y = 0; y < -vidMask.nHeight; ++y)
                    for (int x = 0; x < vidMask.nWidth; ++x)
                    {
                        const int nAlpha = RowOf(MaskOf(cpRes.Get()).Get(), y)[x];
                        EXPECT_EQ(nAlpha, RowOf(cpRes.Get(), y)[4 * x + 3]);
                        dblOff += std::abs(nAlpha - 255 * BodyAlpha(x + nLeft, y + nFirst));
                    }
                EXPECT_LT(dblOff / (-vidMask.nHeight * vidMask.nWidth), 2.5) << "another part of the picture";
            }
}

TEST_F(UnmixOutput, WithoutAKeySixteenBitsAreOpaque)
{
    Set(L"output.depth", L"16");
    const auto cpRes = Receive(Body(eZFCC_UYVY, c_arrGrey).Get());
    ASSERT_EQ(PropsOf(cpRes.Get()).fccType, eZFCC_ARGB64);
    const auto arrWords = WordsAt(cpRes.Get(), 10, 10);
    EXPECT_EQ(arrWords[3], 65535);
    EXPECT_NEAR(arrWords[1], 257 * 119, 2 * 257);
}

TEST_F(UnmixOutput, AHostWithoutThatFormatIsTold)
{
    const auto cpFrame = Body(eZFCC_RGB32, c_arrGreen);
    KeyFrom(cpFrame.Get());
    const auto cpHook = CHookFrame::Make(
        cpFrame.Get(), [](const std::string& _strMethod) { return _strMethod == "FrameConvert" ? E_NOTIMPL : S_OK; });
    const CLogCatcher log;
    CZPtr<IZFFrame> cpRes;
    Set(L"output.depth", L"16");
    EXPECT_EQ(m_cpProcess->OnMediaReceive(cpHook.Get(), cpRes.Put()), E_NOTIMPL);
    EXPECT_EQ(log.Count("CCoZChromaKey2::OnMediaReceive: \"output.argb\": the frame (", eZLog_Error), 1u);
    EXPECT_EQ(log.Count("into ARGB64, hr=80004001; switch the option off, or set \"output.depth\" to 8"), 1u);
    EXPECT_EQ(m_cpProps->PropsSet(L"output.depth", L"12"), E_INVALIDARG);
    Set(L"output.depth", nullptr);

    // A frame for the result that is smaller than it was to be.
    const auto cpSmall = TestFrame_Make(eZFCC_ARGB32, 8, -8);
    const auto cpOther = CHookFrame::Make(cpFrame.Get(), [](const std::string&) { return S_OK; });
    cpOther->m_fnMade = [&](IZFFrame** _ppFrame) {
        (*_ppFrame)->Release();
        *_ppFrame = CZPtr<IZFFrame>(cpSmall.Get()).Detach();
    };
    EXPECT_EQ(m_cpProcess->OnMediaReceive(cpOther.Get(), cpRes.Put()), E_UNEXPECTED);
    EXPECT_EQ(log.Count("a frame for the result of (192(768)x-128(RGB32)"), 1u);
}

} // namespace
