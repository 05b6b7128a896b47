#include "ZChromaKey/Objects/TestKeyer.h"
#include "ZChromaKey/Objects/UnmixKeyer.h"

#include <tuple>

// Pictures in YUV whose matrix and range the host names, where their size says BT.601 and limited range.

namespace
{

struct YUV_CASE
{
    const wchar_t* pwszMatrix;
    const wchar_t* pwszRange;
    eZYMatrix eMatrix;
};
constexpr YUV_CASE c_arrCases[] = {
    {L"709", L"auto", eZYM_709},
    {L"2020", L"full", static_cast<eZYMatrix>(eZYM_Full + eZYM_2020)},
    {L"auto", L"full", static_cast<eZYMatrix>(eZYM_Full + eZYM_601)},
};
constexpr int c_nMiddleColumn = c_nBodyWidth / 2;
constexpr int c_nMiddleRow = 83;

/// The body before green as UYVY with a matrix.
CZPtr<CZFrame> CodedBody(eZYMatrix _eMatrix)
{
    std::vector<uint8_t> vecPixels = PixelsOf(Body(eZFCC_RGB32, c_arrGreen).Get());
    Img_RowToYUV(vecPixels.data(), vecPixels.data(), static_cast<int>(vecPixels.size() / 4), _eMatrix);
    auto cpFrame = TestFrame_Make(eZFCC_UYVY, c_nBodyWidth, c_nBodyHeight);
    const ZF_VID_PTR vidPtr = PtrOf(cpFrame.Get(), eZFP_Flip | eZFP_Write);
    const uint8_t* p = vecPixels.data();
    for (int y = 0; y < c_nBodyHeight; ++y)
        for (int x = 0; x < c_nBodyWidth; x += 2, p += 8)
        {
            uint8_t* const pPair = Img_RowOf(vidPtr, 0, y) + ptrdiff_t{2} * x;
            pPair[0] = static_cast<uint8_t>((p[1] + p[5] + 1) / 2);
            pPair[1] = p[0];
            pPair[2] = static_cast<uint8_t>((p[2] + p[6] + 1) / 2);
            pPair[3] = p[4];
        }
    return cpFrame;
}

/// The colour of the backdrop at the point that is picked: R, G, B.
constexpr int c_nPick = 20;
double TruthAt(int _nChannel)
{
    return c_arrGreen[2 - _nChannel] * (1 - 0.2 * c_nPick / c_nBodyWidth);
}

/// The greatest distance of the bytes of a key from a colour.
template <class Right> double Off(uint32_t _nValue, Right&& _fnRight)
{
    double dblOff = 0;
    for (int n = 0; n < 3; ++n)
        dblOff = std::max(dblOff, std::abs((_nValue >> (8 * n) & 0xFF) - static_cast<double>(_fnRight(n))));
    return dblOff;
}

/// The greatest distance of a pixel of ARGB32 from the body's colour.
int BodyOff(IZFFrame* _pFrame)
{
    constexpr int c_arrBody[3] = {90, 70, 150};
    const uint8_t* const p = RowOf(_pFrame, c_nMiddleRow) + ptrdiff_t{4} * c_nMiddleColumn;
    return std::max({std::abs(p[0] - c_arrBody[0]), std::abs(p[1] - c_arrBody[1]), std::abs(p[2] - c_arrBody[2])});
}

using YuvForm1 = CKeyerTest;

TEST_F(YuvForm1, KeysAreTakenAndKeyedWithWhatTheHostNames)
{
    for (const YUV_CASE& form : c_arrCases)
    {
        SCOPED_TRACE(testing::Message() << "matrix " << form.eMatrix);
        const auto cpFrame = CodedBody(form.eMatrix);
        ASSERT_EQ(m_cpKeyer->KeyFrameSet(cpFrame.Get(), nullptr), S_OK);
        const auto fnPick = [&](eCK_Type _eType) {
            CHROMA_KEY_RAW key = {};
            key.eType = _eType;
            KeySet(key);
            EXPECT_EQ(m_cpKeyer->KeyExcludePoint(c_nPick, c_nPick), S_OK); // it samples the point alone
            EXPECT_EQ(m_cpKeyer->KeyRawGet(&key, nullptr), S_OK);
            return key.arrKeys[0].nValue;
        };
        Set(L"input.matrix", nullptr);
        Set(L"input.range", nullptr);
        EXPECT_GT(Off(fnPick(eCKT_RGB), TruthAt), 6);
        Set(L"input.matrix", form.pwszMatrix);
        Set(L"input.range", form.pwszRange);
        EXPECT_LE(Off(fnPick(eCKT_RGB), TruthAt), 4);
        const uint8_t* const pPair = RowOf(cpFrame.Get(), c_nPick) + ptrdiff_t{2} * c_nPick;
        const auto fnSample = [&](int _n) { return pPair[_n == 0 ? 1 : _n == 1 ? 0 : 2]; };
        EXPECT_LE(Off(fnPick(eCKT_YUV), fnSample), 2) << "measured as it is coded";

        EXPECT_EQ(m_cpKeyer->KeyReset(), S_OK);
        EXPECT_EQ(m_cpKeyer->KeyDetect(CZBStr("fit=true type=yuv").Get()), S_OK);
        for (const wchar_t* pwszARGB : {L"true", L"false"})
        {
            Set(L"output.argb", pwszARGB);
            const auto cpRes = Receive(cpFrame.Get());
            const auto cpMask = MaskOf(cpRes.Get());
            ASSERT_TRUE(cpMask);
            EXPECT_EQ(RowOf(cpMask.Get(), c_nPick)[c_nPick], 0);
            EXPECT_EQ(RowOf(cpMask.Get(), c_nMiddleRow)[c_nMiddleColumn], 255);
            if (PropsOf(cpRes.Get()).fccType == eZFCC_ARGB32)
                EXPECT_LE(BodyOff(cpRes.Get()), 3);
            else
                EXPECT_EQ(RowOf(cpRes.Get(), 9)[30], RowOf(cpFrame.Get(), 9)[30]);
        }
        Set(L"gpu_mode", L"-1");
        m_gpu.nFrames = 0;
        cpFrame->IdentityRenew();
        EXPECT_TRUE(MaskOf(Receive(cpFrame.Get()).Get()));
        EXPECT_EQ(m_gpu.nFrames, 0) << "the GPU path has the matrix of the size alone";
        Set(L"gpu_mode", L"0");
    }
}

/// Taking the tint out gives the same colour whichever matrix the picture was coded with.
TEST_F(YuvForm1, ColourCancelWritesTheMatrixOfThePicture)
{
    for (const eZYMatrix eMatrix : {eZYM_601, eZYM_709, c_arrCases[1].eMatrix, c_arrCases[2].eMatrix})
    {
        const auto cpFrame = CodedBody(eMatrix);
        const bool bFull = ZMatrix_IsFull(eMatrix);
        Set(L"input.matrix", eMatrix % eZYM_Full == 0 ? L"601" : eMatrix % eZYM_Full == 1 ? L"709" : L"2020");
        Set(L"input.range", bFull ? L"full" : L"limited");
        ASSERT_EQ(m_cpKeyer->KeyFrameSet(cpFrame.Get(), nullptr), S_OK);
        CHROMA_KEY_RAW key = {};
        key.eType = eCKT_YUV;
        KeySet(key);
        EXPECT_EQ(m_cpKeyer->KeyAddPoint(c_nPick, c_nPick), S_OK);
        EXPECT_EQ(m_cpKeyer->KeyRawGet(&key, nullptr), S_OK);
        key.bColorCancel = 1;
        for (SINGLE_KEY& single : key.arrKeys)
        {
            single.nCancelChroma = -128; // grey
            single.nCancelAlpha = -120;
        }
        KeySet(key);
        Set(L"output.argb", L"true");
        const uint8_t* const p = RowOf(Receive(cpFrame.Get()).Get(), c_nPick) + ptrdiff_t{4} * c_nPick;
        EXPECT_LE(std::max({p[0], p[1], p[2]}) - std::min({p[0], p[1], p[2]}), 3) << eMatrix;
        Set(L"output.argb", L"false");
        cpFrame->IdentityRenew();
        const auto cpRes = Receive(cpFrame.Get());
        const uint8_t* const pPair = RowOf(cpRes.Get(), c_nPick) + ptrdiff_t{2} * c_nPick;
        EXPECT_NEAR(pPair[0], 128, 2) << eMatrix;
        EXPECT_NEAR(pPair[2], 128, 2) << eMatrix;
        EXPECT_NEAR(pPair[1], RowOf(cpFrame.Get(), c_nPick)[2 * c_nPick + 1], 2) << "luma stays";
    }
}

using YuvForm2 = CUnmixObjectTest;

TEST_F(YuvForm2, KeysAreTakenAndColoursWrittenWithWhatTheHostNames)
{
    SpillLeave();
    for (const YUV_CASE& form : c_arrCases)
    {
        SCOPED_TRACE(testing::Message() << "matrix " << form.eMatrix);
        const auto cpFrame = CodedBody(form.eMatrix);
        EXPECT_EQ(m_cpKeyer->KeyReset(), S_OK);
        EXPECT_EQ(m_cpKeyer->FrameSet(cpFrame.Get()), S_OK);
        const auto fnPickOff = [&] {
            EXPECT_EQ(m_cpKeyer->KeyReset(), S_OK);
            EXPECT_EQ(m_cpKeyer->KeyAddPoint(c_nPick, c_nPick), S_OK);
            CHROMA_KEY2_RAW key = {};
            EXPECT_EQ(m_cpKeyer->KeyRawGet(&key), S_OK);
            const auto& colour = key.arrKeys[0];
            return std::max({std::abs(colour.dblRed - TruthAt(0)), std::abs(colour.dblGreen - TruthAt(1)),
                             std::abs(colour.dblBlue - TruthAt(2))});
        };
        Set(L"input.matrix", nullptr);
        Set(L"input.range", nullptr);
        EXPECT_GT(fnPickOff(), 6);
        Set(L"input.matrix", form.pwszMatrix);
        Set(L"input.range", form.pwszRange);
        EXPECT_LE(fnPickOff(), 3);

        Set(L"output.argb", L"true");
        const auto cpARGB = Receive(cpFrame.Get());
        EXPECT_LT(Error(cpARGB.Get()), 2.5);
        EXPECT_LE(BodyOff(cpARGB.Get()), 3);
        Set(L"output.argb", L"false");
        cpFrame->IdentityRenew();
        const auto cpRes = Receive(cpFrame.Get());
        CImgRowReader reader;
        ASSERT_EQ(reader.Init(PropsOf(cpRes.Get()), PtrOf(cpRes.Get()), form.eMatrix), S_OK);
        double dblOff = 0;
        int nMixed = 0;
        std::vector<uint8_t> vecRow(size_t{4} * c_nBodyWidth);
        for (int y = 0; y < c_nBodyHeight; ++y)
        {
            reader.ReadRow(y, vecRow.data());
            const uint8_t* const pRight = RowOf(cpARGB.Get(), y);
            for (size_t x = 0; x < c_nBodyWidth; ++x)
                if (pRight[4 * x + 3] > 64 && pRight[4 * x + 3] < 250)
                {
                    ++nMixed;
                    dblOff += std::abs(vecRow[4 * x + 1] - pRight[4 * x + 1]);
                }
        }
        ASSERT_GT(nMixed, 200);
        EXPECT_LT(dblOff / nMixed, 3) << "written back as it is coded";
    }
}

} // namespace
