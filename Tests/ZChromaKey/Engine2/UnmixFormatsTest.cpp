#include "Support/GuardedPicture.h"
#include "Video/ZFrameWriter.h"
#include "ZChromaKey/Engine2/UnmixScenes.h"

#include <gtest/gtest.h>

namespace
{
constexpr int c_arrSizes[][2] = {{1, 1}, {2, 2}, {7, 5}, {48, 16}, {67, 33}};

// A picture of 10-bit words R, G, B.
GUARDED_PICTURE Picture_r210(int _nWidth, int _nHeight, const std::function<void(int, int, uint32_t*)>& _rgb)
{
    GUARDED_PICTURE picture(Props(eZFCC_r210, _nWidth, -_nHeight), 0, eZGuard_Fence);
    for (int y = 0; y < _nHeight; ++y)
        for (int x = 0; x < _nWidth; ++x)
        {
            uint32_t anRGB[3];
            _rgb(x, y, anRGB);
            const uint32_t nWord = anRGB[0] << 20 | anRGB[1] << 10 | anRGB[2];
            for (int n = 0; n < 4; ++n)
                picture.arrPlanes[0]->Row(y)[4 * x + n] = static_cast<uint8_t>(nWord >> (24 - 8 * n));
        }
    return picture;
}
} // namespace

TEST(UnmixFormats, EveryFormatAndSizeStaysInsideItsBuffers)
{
    for (const uint32_t fccType : c_arrTestFormats)
        for (const auto& size : c_arrSizes)
            for (const eZGuard eGuard : {eZGuard_PageEnd, eZGuard_PageStart})
                for (const int eInterlace : {eZI_Progressive, eZI_TopFirst})
                    for (const bool bWords : {false, true})
                    {
                        SCOPED_TRACE(std::string(FCC_Name(fccType)) + ' ' + std::to_string(size[0]) + 'x' +
                                     std::to_string(size[1]));
                        GUARDED_PICTURE picture(Props(fccType, size[0], -size[1], eInterlace), 3, eGuard);
                        CGuardedPlane out(static_cast<size_t>(size[0]) * (bWords ? 8 : 4), size[1], 0, eGuard);
                        UNMIX_STATE state;
                        CSerialRunner runner;
                        for (uint32_t n = 0; n < 2; ++n)
                        {
                            picture.FillRandom(n);
                            ASSERT_EQ(S_OK, Unmix_Frame(state, GreenSetup(), {picture.vidProps, picture.vidPtr},
                                                        {out.Row(0), out.Stride(), bWords}, runner));
                        }
                        EXPECT_TRUE(out.Intact() && picture.Intact());
                    }
}
TEST(UnmixFormats, AllFormatsGiveTheMatteOfTheBytes)
{
    const int nWidth = 240, nHeight = 136;
    SCENE scene = BodyScene(nWidth, nHeight, 1);
    UNMIX_STATE stateBytes;
    const std::vector<uint8_t> vecBytes = Keyed(stateBytes, scene, GreenSetup());
    for (const uint32_t fccType : c_arrTestFormats)
    {
        if (fccType == eZFCC_RGB8)
            continue; // grey has no backdrop
        SCOPED_TRACE(FCC_Name(fccType));
        GUARDED_PICTURE picture(Props(fccType, nWidth, -nHeight), 0, eZGuard_Fence);
        ASSERT_EQ(S_OK, ZFrameWriter_Write(picture.vidProps, picture.vidPtr, scene.vecBGRA.data(), 4 * nWidth));
        UNMIX_STATE state;
        CSerialRunner runner;
        std::vector<uint8_t> vecOut(scene.vecBGRA.size());
        ASSERT_EQ(S_OK, Unmix_Frame(state, GreenSetup(), {picture.vidProps, picture.vidPtr},
                                    {vecOut.data(), ptrdiff_t{4} * nWidth, false}, runner));
        double dbl = 0;
        for (size_t n = 3; n < vecOut.size(); n += 4)
            dbl += std::abs(vecOut[n] - vecBytes[n]);
        EXPECT_LT(dbl * 4 / static_cast<double>(vecOut.size()), 1.0);
    }
}
TEST(UnmixFormats, RebuiltChromaSharpensFineDetail)
{
    // Upright dark strokes two pixels wide between the pairs that share chroma: with chroma as it is, every stroke is
    // half green to both sides.
    const int nWidth = 256, nHeight = 96;
    SCENE scene(nWidth, nHeight, [](int _x, int) {
        const bool bBody = _x < 64;
        const bool bStroke = _x < 200 && _x % 16 >= 9 && _x % 16 < 11;
        return bBody || bStroke ? SCENE_PIXEL{70, 50, 90} : c_colGreen;
    });
    GUARDED_PICTURE picture(Props(eZFCC_UYVY, nWidth, -nHeight), 0, eZGuard_Fence);
    ASSERT_EQ(S_OK, ZFrameWriter_Write(picture.vidProps, picture.vidPtr, scene.vecBGRA.data(), 4 * nWidth));
    SCENE flat = scene;
    CImgRowReader reader;
    ASSERT_EQ(S_OK, reader.Init(picture.vidProps, picture.vidPtr));
    for (int y = 0; y < nHeight; ++y)
        reader.ReadRow(y, flat.vecBGRA.data() + static_cast<size_t>(y) * nWidth * 4);
    UNMIX_STATE stateRebuilt, stateFlat;
    CSerialRunner runner;
    std::vector<uint8_t> vecRebuilt(scene.vecBGRA.size());
    Unmix_Frame(stateRebuilt, GreenSetup(), {picture.vidProps, picture.vidPtr},
                {vecRebuilt.data(), ptrdiff_t{4} * nWidth, false}, runner);
    const std::vector<uint8_t> vecFlat = Keyed(stateFlat, flat, GreenSetup());
    double dblRebuilt = 0, dblFlat = 0;
    for (int x = 80; x < 200; ++x)
    {
        const double dblTrue = x % 16 >= 9 && x % 16 < 11 ? 255 : 0;
        const size_t n = (48 * static_cast<size_t>(nWidth) + x) * 4 + 3;
        dblRebuilt += (vecRebuilt[n] - dblTrue) * (vecRebuilt[n] - dblTrue);
        dblFlat += (vecFlat[n] - dblTrue) * (vecFlat[n] - dblTrue);
    }
    EXPECT_LT(dblRebuilt, .5 * dblFlat);
}
TEST(UnmixFormats, TenBitsReachTheResult)
{
    // Columns of grey one 10-bit level apart, beside green: an 8-bit reader has four of them alike.
    const int nWidth = 192, nHeight = 96;
    const GUARDED_PICTURE picture = Picture_r210(nWidth, nHeight, [](int _x, int, uint32_t* _pRGB) {
        for (int n = 0; n < 3; ++n)
            _pRGB[n] = static_cast<uint32_t>(400 + _x);
        if (_x < 64)
        {
            _pRGB[0] = 240;
            _pRGB[1] = 640;
            _pRGB[2] = 200;
        }
    });
    UNMIX_STATE state;
    CSerialRunner runner;
    std::vector<uint16_t> vecOut(static_cast<size_t>(nWidth) * nHeight * 4);
    UNMIX_SETUP setup = GreenSetup();
    setup.params.fltSpill = 0;
    ASSERT_EQ(S_OK, Unmix_Frame(state, setup, {picture.vidProps, picture.vidPtr},
                                {vecOut.data(), ptrdiff_t{8} * nWidth, true}, runner));
    for (int x = 100; x < nWidth; ++x)
    {
        const uint16_t* const p = &vecOut[(50 * static_cast<size_t>(nWidth) + x) * 4];
        EXPECT_EQ(p[3], 65535) << x;
        EXPECT_NEAR(p[1], (400 + x) * 257 / 4.0, 1) << x;
    }
    EXPECT_EQ(vecOut[(50 * static_cast<size_t>(nWidth) + 20) * 4 + 3], 0);
}
TEST(UnmixFormats, AnotherFormatOrMatrixIsAnotherStream)
{
    // The same still all the time; what comes out is what comes out when it is the first picture.
    const int nWidth = 96, nHeight = 64;
    SCENE scene = BodyScene(nWidth, nHeight);
    GUARDED_PICTURE uyvy(Props(eZFCC_UYVY, nWidth, -nHeight), 0, eZGuard_Fence);
    GUARDED_PICTURE r210(Props(eZFCC_r210, nWidth, -nHeight), 0, eZGuard_Fence);
    for (const GUARDED_PICTURE* const p : {&uyvy, &r210})
        ASSERT_EQ(S_OK, ZFrameWriter_Write(p->vidProps, p->vidPtr, scene.vecBGRA.data(), 4 * nWidth));
    const auto Key = [&](UNMIX_STATE& _state, const UNMIX_INPUT& _input) {
        CSerialRunner runner;
        std::vector<uint8_t> vecOut(scene.vecBGRA.size());
        Unmix_Frame(_state, GreenSetup(), _input, {vecOut.data(), ptrdiff_t{4} * nWidth, false}, runner);
        return vecOut;
    };
    UNMIX_STATE state;
    std::vector<std::vector<uint8_t>> vecResults;
    for (const UNMIX_INPUT& input :
         {scene.Input(), UNMIX_INPUT{r210.vidProps, r210.vidPtr}, UNMIX_INPUT{uyvy.vidProps, uyvy.vidPtr, eZYM_601},
          UNMIX_INPUT{uyvy.vidProps, uyvy.vidPtr, eZYM_709}})
    {
        UNMIX_STATE fresh;
        vecResults.push_back(Key(state, input));
        EXPECT_EQ(vecResults.back(), Key(fresh, input));
    }
    EXPECT_NE(vecResults[2], vecResults[3]);
}
TEST(UnmixFormats, ChromaFollowsWhatMovesInsideACell)
{
    // A dark stroke that moves by two pixels leaves sums, least and greatest values of all cells as they were.
    const int nWidth = 96, nHeight = 64;
    std::vector<uint8_t> arrOut[2];
    UNMIX_STATE state;
    for (int nStep = 0; nStep < 2; ++nStep)
    {
        SCENE scene(nWidth, nHeight, [=](int _x, int) {
            return _x / 2 == 20 + nStep ? SCENE_PIXEL{20, 20, 20} : c_colGreen;
        });
        GUARDED_PICTURE picture(Props(eZFCC_UYVY, nWidth, -nHeight), 0, eZGuard_Fence);
        ASSERT_EQ(S_OK, ZFrameWriter_Write(picture.vidProps, picture.vidPtr, scene.vecBGRA.data(), 4 * nWidth));
        CSerialRunner runner;
        arrOut[nStep].resize(scene.vecBGRA.size());
        Unmix_Frame(state, GreenSetup(), {picture.vidProps, picture.vidPtr},
                    {arrOut[nStep].data(), ptrdiff_t{4} * nWidth, false}, runner);
        const uint8_t* const pRow = &arrOut[nStep][static_cast<size_t>(32 * nWidth) * 4];
        EXPECT_GT(pRow[4 * (40 + 2 * nStep) + 3], 200);
        EXPECT_LT(pRow[4 * (42 - 2 * nStep) + 3], 50);
    }
}
TEST(UnmixFormats, RefusesWhatTheReaderRefuses)
{
    SCENE scene = BodyScene(32, 32);
    UNMIX_STATE state;
    CSerialRunner runner;
    std::vector<uint8_t> vecOut(scene.vecBGRA.size(), 77);
    UNMIX_INPUT input = scene.Input();
    input.vidProps.fccType = eZFCC_IYU2;
    EXPECT_EQ(E_NOTIMPL, Unmix_Frame(state, {}, input, {vecOut.data(), 128, false}, runner));
    input = scene.Input();
    input.vidPtr.lpVideoPlanes[0] = 0;
    EXPECT_EQ(E_INVALIDARG, Unmix_Frame(state, {}, input, {vecOut.data(), 128, false}, runner));
    EXPECT_EQ(std::count(vecOut.begin(), vecOut.end(), 77), static_cast<ptrdiff_t>(vecOut.size()));
}
