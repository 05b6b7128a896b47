#include "Support/LogCatcher.h"
#include "Support/TestFrames.h"
#include "ZChromaKey/Engine1/ChromaKey.h"
#include "ZChromaKey/Engine1/EngineReference.h"
#include "ZChromaKey/Engine1/Kernels/ColorCancelPrepare.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{

constexpr uint32_t c_nGreen = 0x28B432; // R 0x32, G 0xB4, B 0x28

HRESULT Process(CChromaKey& _engine, const CTestPicture& _picture, CGuardedPlane& _mask, const CHROMA_KEY_RAW& _rawKey)
{
    return _engine.ProcessFrame(&_picture.vidPtr, _mask.Row(0), &_picture.vidProps, &_rawKey);
}

/// Key sets of every shape, with and without finishing.
CHROMA_KEY_RAW RandomFinishedSet(CRandom& _rnd)
{
    const int32_t arrTypes[] = {eCKT_RGB, eCKT_HLS, eCKT_YUV};
    const int32_t arrCounts[] = {0, 1, 2, 3, 5, -2};
    const int32_t arrAlphas[] = {0, 0, 0, 60, 255};
    const int32_t arrLimits[] = {-300, 0, 1, 40, 100, 200, 254, 255, 300};
    const int32_t arrSmooth[] = {-1, 1, 2, 3, 99};
    CHROMA_KEY_RAW rawKey = RandomKeySet(_rnd, _rnd.OneOf(arrTypes), _rnd.OneOf(arrCounts), c_nGreen);
    for (SINGLE_KEY& key : rawKey.arrKeys)
        key.nAlpha = _rnd.OneOf(arrAlphas);
    rawKey.nMinTransparent = _rnd() % 3 ? 0 : _rnd.OneOf(arrLimits);
    rawKey.nMaxTransparent = _rnd() % 3 ? 255 : _rnd.OneOf(arrLimits);
    rawKey.nEdgesSmooth = _rnd() % 2 ? 0 : _rnd.OneOf(arrSmooth);
    rawKey.bColorCancel = _rnd() % 2;
    rawKey.nInterlacedVideo = _rnd() % 2;
    rawKey.nInverseKey = _rnd() % 3 == 0;
    return rawKey;
}

/// The bytes of a picture with clean colours: unit by unit with the plain kernels.
std::vector<uint8_t> CleanBytes(const CTestPicture& _picture, const CHROMA_KEY_RAW& _rawKey)
{
    std::vector<uint8_t> arrBytes = _picture.Bytes();
    const uint32_t fccType = _picture.vidProps.fccType;
    const CANCEL_SET set = ColorCancel_Prepare(_rawKey, eZYM_601);
    const size_t cbUnit = fccType == eZFCC_RGB24 ? 3 : 4;
    for (size_t n = 0; fccType != eZFCC_I420 && n < arrBytes.size(); n += cbUnit)
    {
        uint8_t arrUnit[4] = {};
        std::copy_n(&arrBytes[n], cbUnit, arrUnit);
        if (fccType == eZFCC_UYVY)
            CancelPairs_C(arrUnit, 1, {8, 24, 0, 16}, set);
        else
            CancelBGRA_C(arrUnit, 1, set);
        std::copy_n(arrUnit, cbUnit, &arrBytes[n]);
    }
    return arrBytes;
}

TEST(ChromaKey, MatchesWholePictureKeyingEverywhere)
{
    const uint32_t arrFormats[] = {eZFCC_RGB32, eZFCC_ARGB32, eZFCC_RGB24, eZFCC_UYVY, eZFCC_I420};
    const int arrThreads[] = {1, 2, 3, 16, 40};
    const int arrHeights[] = {2, 3, 6, 9, 34};
    const int32_t arrInterlace[] = {eZI_Progressive, eZI_TopFirst, eZI_BottomFirst};
    CRandom rnd(11);
    int nSoft = 0;
    int nCleaned = 0;
    for (const int nThreads : arrThreads)
    {
        CChromaKey engine;
        engine.ThreadsSet(static_cast<uint32_t>(nThreads));
        for (int nWidth = 1; nWidth <= 40; ++nWidth)
            for (int nRun = 0; nRun < 12; ++nRun)
            {
                const uint32_t fccType = rnd.OneOf(arrFormats);
                const bool bPairs = fccType == eZFCC_UYVY || fccType == eZFCC_I420;
                CTestPicture picture(fccType, bPairs ? (nWidth + 1) / 2 * 2 : nWidth,
                                     rnd.OneOf(arrHeights) & (bPairs ? ~1 : ~0), 4 * static_cast<int>(rnd() % 3),
                                     rnd() % 2);
                picture.vidProps.eInterlace = rnd.OneOf(arrInterlace);
                picture.Fill(0xFF32B428, rnd);
                const CHROMA_KEY_RAW rawKey = RandomFinishedSet(rnd);
                const uint8_t nBefore = rnd() % 2 ? 255 : 90;
                const bool bFill = rnd() % 2;
                const bool bClean = rnd() % 2;
                engine.FillSet(bFill);
                engine.CleanSet(bClean);
                CEngineReference expected(picture, rawKey, std::min(nThreads, 16), bFill ? 255 : nBefore, bFill);
                std::vector<uint8_t> arrExpected =
                    bClean && expected.bCleans ? CleanBytes(picture, rawKey) : picture.Bytes();
                nCleaned += arrExpected != picture.Bytes();

                CGuardedPlane mask(static_cast<size_t>(picture.vidProps.nWidth), -picture.vidProps.nHeight,
                                   VidProps_Mask(&picture.vidProps).nRowBytes);
                mask.Fill(nBefore);
                SCOPED_TRACE(testing::Message()
                             << "format " << std::hex << fccType << std::dec << " width " << nWidth << " rows "
                             << mask.Rows() << " threads " << nThreads << " type " << rawKey.eType << " run " << nRun
                             << " fill " << bFill << " clean " << bClean);
                ASSERT_EQ(Process(engine, picture, mask, rawKey), expected.hrResult);
                for (int nRow = 0; nRow < mask.Rows(); ++nRow)
                    ASSERT_TRUE(
                        std::equal(mask.Row(nRow), mask.Row(nRow) + mask.RowBytes(), &expected.mask.At(0, nRow)));
                ASSERT_TRUE(mask.Intact() && picture.Intact());
                for (size_t n = 3; fccType == eZFCC_ARGB32 && n < arrExpected.size(); n += 4)
                    arrExpected[n] = expected.mask.arrPixels[n / 4];
                ASSERT_EQ(picture.Bytes(), arrExpected);
                for (const uint8_t n : expected.mask.arrPixels)
                    nSoft += n > 0 && n < 255 && n != 90;
            }
    }
    EXPECT_GT(nSoft, 10'000) << "too few soft pixels to mean anything";
    EXPECT_GT(nCleaned, 100);
}

TEST(ChromaKey, RefusesMissingArgumentsAndPicturesThatCannotBeRead)
{
    CTestPicture picture(eZFCC_RGB32, 16, 2, 0, false);
    CGuardedPlane mask(16, 2);
    mask.Fill(90);
    const CHROMA_KEY_RAW rawKey = TestKey(eCKT_RGB);
    const ZF_VID_PTR vidNothing = {};
    const CLogCatcher log;
    CChromaKey engine;
    uint8_t* const pAlpha = mask.Row(0);
    EXPECT_EQ(engine.ProcessFrame(nullptr, pAlpha, &picture.vidProps, &rawKey), E_POINTER);
    EXPECT_EQ(engine.ProcessFrame(&vidNothing, pAlpha, &picture.vidProps, &rawKey), E_POINTER);
    EXPECT_EQ(engine.ProcessFrame(&picture.vidPtr, nullptr, &picture.vidProps, &rawKey), E_POINTER);
    EXPECT_EQ(engine.ProcessFrame(&picture.vidPtr, pAlpha, nullptr, &rawKey), E_POINTER);
    EXPECT_EQ(engine.ProcessFrame(&picture.vidPtr, pAlpha, &picture.vidProps, nullptr), E_POINTER);
    EXPECT_EQ(log.Count("\"_pbInput && _pbAlpha1Ch && _pInputProps && _pChromaKey\"", eZLog_Error), 5u);
    picture.vidProps.fccType = 0x31313131;
    EXPECT_EQ(Process(engine, picture, mask, rawKey), E_NOTIMPL);
    picture.vidProps.fccType = eZFCC_RGB32;
    picture.vidProps.nWidth = 0;
    EXPECT_EQ(Process(engine, picture, mask, rawKey), E_INVALIDARG);
    picture.vidProps.nWidth = 16;
    EXPECT_EQ(std::count(mask.Row(0), mask.Row(0) + 32, 90), 32) << "nothing was written";
    picture.vidProps.nRowBytes = 0; // derived
    EXPECT_EQ(Process(engine, picture, mask, rawKey), S_OK);
}

TEST(ChromaKey, ThreadCountIsComparedBeforeItIsClamped)
{
    CChromaKey engine;
    EXPECT_EQ(engine.ThreadsGet(), 6u);
    for (const auto& [nSet, hr, nThen] : {std::tuple{6u, S_FALSE, 6u},
                                          {40u, S_OK, 16u},
                                          {40u, S_OK, 16u},
                                          {16u, S_FALSE, 16u},
                                          {0u, S_OK, 1u},
                                          {0u, S_OK, 1u},
                                          {1u, S_FALSE, 1u}})
    {
        EXPECT_EQ(engine.ThreadsSet(nSet), hr) << nSet;
        EXPECT_EQ(engine.ThreadsGet(), nThen) << nSet;
    }
}

} // namespace
