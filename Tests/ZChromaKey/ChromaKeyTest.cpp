#include "Support/LogCatcher.h"
#include "ZChromaKey/ChromaKey.h"
#include "ZChromaKey/EngineReference.h"
#include "ZChromaKey/Kernels/ColorCancelPrepare.h"
#include "ZChromaKey/MaskPost.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{

SINGLE_KEY Key(uint32_t _nValue, uint32_t _nDelta)
{
    SINGLE_KEY key = {};
    key.nValue = _nValue;
    key.nDelta = _nDelta;
    return key;
}

CHROMA_KEY_RAW KeySet(int32_t _eType, std::initializer_list<SINGLE_KEY> _arrKeys)
{
    CHROMA_KEY_RAW rawKey = {};
    rawKey.eType = _eType;
    rawKey.nMaxTransparent = 255;
    for (const SINGLE_KEY& key : _arrKeys)
        rawKey.arrKeys[rawKey.nKeysUsed++] = key;
    return rawKey;
}

constexpr uint32_t c_nGreen = 0x28B432; // R 0x32, G 0xB4, B 0x28

/// A guarded mask with the stride that masks have.
class CTestMask
{
public:
    CTestMask(const CTestPicture& _picture, uint8_t _nBefore)
        : plane(static_cast<size_t>(_picture.vidProps.nWidth), -_picture.vidProps.nHeight,
                VidProps_Mask(&_picture.vidProps).nRowBytes)
    {
        plane.Fill(_nBefore);
    }
    bool Equals(MASK_REFERENCE& _expected) const
    {
        for (int nRow = 0; nRow < plane.Rows(); ++nRow)
            if (std::memcmp(plane.Row(nRow), &_expected.At(0, nRow), plane.RowBytes()) != 0)
                return false;
        return true;
    }
    CGuardedPlane plane;
};

HRESULT Process(CChromaKey& _engine, const CTestPicture& _picture, CTestMask& _mask, const CHROMA_KEY_RAW& _rawKey)
{
    return _engine.ProcessFrame(&_picture.vidPtr, _mask.plane.Row(0), &_picture.vidProps, &_rawKey);
}

/// Key sets of every shape: exclusion keys, dead keys, floors, soft edges, finishing.
CHROMA_KEY_RAW RandomKeySet(CRandom& _rnd)
{
    const int32_t arrTypes[] = {eCKT_RGB, eCKT_HLS, eCKT_YUV};
    const uint32_t arrDeltas[] = {0x201830, 0x0A0A0A, 0x404040, 0, 0xFF000000};
    const int32_t arrAlphas[] = {0, 0, 0, 60, 255};
    const int32_t arrCounts[] = {0, 1, 2, 3, 5, -2};
    const int32_t arrLimits[] = {-300, 0, 1, 40, 100, 200, 254, 255, 300};
    const int32_t arrSmooth[] = {-1, 1, 2, 3, 99};
    const int32_t arrCancel[] = {0, 0, 70, -60};
    CHROMA_KEY_RAW rawKey = KeySet(_rnd.OneOf(arrTypes), {});
    for (SINGLE_KEY& key : rawKey.arrKeys)
    {
        key = Key(_rnd() % 3 ? c_nGreen + (_rnd() & 0x070707) : _rnd(), _rnd.OneOf(arrDeltas));
        key.nSmoothRange = static_cast<int32_t>(_rnd() % 80);
        key.nAlpha = _rnd.OneOf(arrAlphas);
        key.nReverseKey = _rnd() % 4 == 0;
        key.nCancelPower = _rnd.OneOf(arrCancel);
        key.nCancelChroma = _rnd.OneOf(arrCancel);
        key.nCancelLuma = _rnd.OneOf(arrCancel);
        key.nCancelAlpha = _rnd.OneOf(arrCancel);
    }
    rawKey.nKeysUsed = _rnd.OneOf(arrCounts);
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
    const CANCEL_SET set = ColorCancel_Prepare(_rawKey, false);
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
                const CHROMA_KEY_RAW rawKey = RandomKeySet(rnd);
                const uint8_t nBefore = rnd() % 2 ? 255 : 90;
                const bool bFill = rnd() % 2;
                const bool bClean = rnd() % 2;
                engine.FillSet(bFill);
                engine.CleanSet(bClean);
                CEngineReference expected(picture, rawKey, std::min(nThreads, 16), bFill ? 255 : nBefore);
                std::vector<uint8_t> arrExpected =
                    bClean && expected.bCleans ? CleanBytes(picture, rawKey) : picture.Bytes();
                nCleaned += arrExpected != picture.Bytes();

                CTestMask mask(picture, nBefore);
                SCOPED_TRACE(testing::Message()
                             << "format " << std::hex << fccType << std::dec << " width " << nWidth << " rows "
                             << mask.plane.Rows() << " threads " << nThreads << " type " << rawKey.eType << " run "
                             << nRun << " fill " << bFill << " clean " << bClean);
                ASSERT_EQ(Process(engine, picture, mask, rawKey), expected.hrResult);
                ASSERT_TRUE(mask.Equals(expected.mask));
                ASSERT_TRUE(mask.plane.Intact() && picture.Intact());
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
    CTestMask mask(picture, 90);
    const CHROMA_KEY_RAW rawKey = KeySet(eCKT_RGB, {Key(c_nGreen, 0x202020)});
    const ZF_VID_PTR vidNothing = {};
    const CLogCatcher log;
    CChromaKey engine;
    uint8_t* const pAlpha = mask.plane.Row(0);
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
    MASK_REFERENCE expected(16, 2, 90);
    EXPECT_TRUE(mask.Equals(expected));
    picture.vidProps.nRowBytes = 0; // derived
    EXPECT_EQ(Process(engine, picture, mask, rawKey), S_OK);
}

TEST(ChromaKey, ThreadCountIsComparedBeforeItIsClamped)
{
    CChromaKey engine;
    EXPECT_EQ(engine.ThreadsGet(), 6u);
    struct CASE
    {
        uint32_t nSet;
        HRESULT hr;
        uint32_t nThen;
    };
    for (const CASE& testCase : {CASE{6, S_FALSE, 6}, CASE{40, S_OK, 16}, CASE{40, S_OK, 16}, CASE{16, S_FALSE, 16},
                                 CASE{0, S_OK, 1}, CASE{0, S_OK, 1}, CASE{1, S_FALSE, 1}, CASE{UINT32_MAX, S_OK, 16}})
    {
        EXPECT_EQ(engine.ThreadsSet(testCase.nSet), testCase.hr) << testCase.nSet;
        EXPECT_EQ(engine.ThreadsGet(), testCase.nThen) << testCase.nSet;
    }
}

TEST(ChromaKey, FramesAreLoggedAtTheHighestLevelOnly)
{
    CTestPicture picture(eZFCC_UYVY, 64, 32, 0, false);
    CTestMask mask(picture, 255);
    CChromaKey engine;
    for (const eZLogLevel eLevel : {eZLog_Info, eZLog_Verbose})
    {
        const CLogCatcher log(eLevel);
        EXPECT_EQ(Process(engine, picture, mask, KeySet(eCKT_HLS, {Key(c_nGreen, 0x202020)})), S_OK);
        EXPECT_EQ(log.Count("[MMXGetAlphaCenter_AC4C1 + Min (1 keys)]"), eLevel == eZLog_Verbose ? 6u : 0u);
        EXPECT_TRUE(eLevel == eZLog_Verbose || log.Count("") == 0);
    }
}

TEST(MaskPost, ManyRowsDoNotOverflow)
{
    KEY_KERNELS kernels;
    KeyKernels_Init(&kernels, eSIMD_None);
    const CHROMA_KEY_RAW rawKey = KeySet(eCKT_RGB, {});
    uint8_t arrRow[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    CMaskPost().Run({arrRow, 0, 8, INT32_MAX}, MaskPost_Make(rawKey, true), kernels);
    for (int n = 0; n < 8; ++n)
        EXPECT_EQ(arrRow[n], n + 1);
}

CZEvent g_evtHang;

HRESULT Hang(KEY_SLOT& _slot)
{
    g_evtHang.Wait(60'000);
    _slot.bJob = false; // the slot is still there, whatever has become of the pool
    return S_OK;
}

TEST(KeyPool, WorkersThatHangAreLeftToThemselves)
{
    const CLogCatcher log;
    {
        CKeyPool pool(Hang);
        for (int nFrame = 1; nFrame <= 2; ++nFrame) // the second frame gets new workers
        {
            ASSERT_EQ(pool.Prepare(2), S_OK);
            EXPECT_EQ(pool.Run(20), Z_E_TIMEOUT);
            EXPECT_EQ(log.Count("NOT STOPPED before destroying", eZLog_Warning), 2u * (nFrame - 1));
        }
        g_evtHang.Set();
        ASSERT_EQ(pool.Prepare(2), S_OK);
        EXPECT_EQ(pool.Run(10'000), S_OK);
    }
}

TEST(KeyPool, AWorkerWithoutAJobAnswersThatItDidNothing)
{
    CKeyPool pool;
    ASSERT_EQ(pool.Prepare(3), S_OK);
    pool.Slot(1).hrResult = E_FAIL;
    EXPECT_EQ(pool.Run(10'000), S_OK);
    EXPECT_EQ(pool.Slot(1).hrResult, S_FALSE);
}

} // namespace
