#include "ZChromaKey/Objects/CoZKey.h"

#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "ZChromaKey/Objects/TestKeyer.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace
{

struct COLOR
{
    int nR;
    int nG;
    int nB;
};
constexpr COLOR c_rgbGreen = {50, 160, 60};
constexpr COLOR c_rgbRed = {200, 60, 60};
constexpr COLOR c_rgbSkin = {220, 170, 140};

using PAINT = std::function<COLOR(int, int)>;

CZPtr<CZFrame> Frame(uint32_t _fccType, int _nWidth, int _nHeight, const PAINT& _fnPaint)
{
    std::vector<uint8_t> vecBGRA;
    for (int y = 0; y < std::abs(_nHeight); ++y)
        for (int x = 0; x < _nWidth; ++x)
        {
            const COLOR rgb = _fnPaint(x, y);
            for (const int nValue : {rgb.nB, rgb.nG, rgb.nR, 255})
                vecBGRA.push_back(static_cast<uint8_t>(std::clamp(nValue, 0, 255)));
        }
    return TestFrame_Of(vecBGRA, _fccType, _nWidth, _nHeight);
}

CZPtr<IZKey> NewKey(eCK_Type _eType = eCKT_Auto)
{
    CZPtr<IZKey> cpKey;
    EXPECT_EQ(CCoZKey::Create(IID_IZKey, cpKey.PutVoid()), S_OK);
    EXPECT_EQ(cpKey->TypeSet(_eType), S_OK);
    return cpKey;
}

CHROMA_KEY_RAW RawOf(const CZPtr<IZKey>& _cpKey)
{
    CHROMA_KEY_RAW raw;
    std::memset(&raw, 0xCD, sizeof(raw));
    EXPECT_EQ(_cpKey->RawGet(&raw), S_OK);
    return raw;
}

int Count(const CZPtr<IZKey>& _cpKey, BOOL _bExclude)
{
    int32_t nKeys = -1;
    EXPECT_EQ(_cpKey->KeysCountGet(_bExclude, &nKeys), S_OK);
    return nKeys;
}

HRESULT Detect(const CZPtr<IZKey>& _cpKey, IZFFrame* _pFrame, std::wstring _wstrProps)
{
    return _cpKey->Detect(_pFrame, _wstrProps.data());
}

/// How a key set does on a frame.
KEY_QUALITY Keyed(const CZPtr<IZKey>& _cpKey, CZFrame* _pFrame, const std::function<bool(int, int)>& _fnIsBackdrop)
{
    const auto cpKeyer = TestKeyer_Make();
    EXPECT_EQ(cpKeyer->KeySet(_cpKey.Get()), S_OK);
    return QualityOf(cpKeyer.Get(), _pFrame, [&](int _nX, int _nY) { return _fnIsBackdrop(_nX, _nY) ? 0 : 255; });
}

} // namespace

TEST(CoZKey, PointIsRobust)
{
    const auto fnPaint = [](int _nX, int _nY) { return _nX == 12 && _nY % 2 ? c_rgbSkin : c_rgbGreen; };
    const auto cpFrame = Frame(eZFCC_ARGB32, 64, 48, fnPaint);
    for (const eCK_Type eType : {eCKT_RGB, eCKT_HLS, eCKT_YUV})
    {
        SCOPED_TRACE(eType);
        for (const auto& [nX, nY] : {std::pair{11, 20}, {0, 0}, {63, 47}, {0, 47}})
        {
            const auto cpKey = NewKey(eType);
            ASSERT_EQ(cpKey->AddPoint(cpFrame.Get(), nX, nY, FALSE), S_OK);
            const KEY_QUALITY quality = Keyed(cpKey, cpFrame.Get(), [](int _nX, int) { return _nX != 12; });
            EXPECT_GT(quality.dblKeyed, 98) << nX << ',' << nY;
        }
    }
}

TEST(CoZKey, RectangleIsCutIntoPartsAndStraysAreLeftOut)
{
    // A backdrop that gets much darker downward, with a skin-coloured stripe.
    const auto fnIsBackdrop = [](int _nX, int) { return _nX < 80 || _nX >= 88; };
    const auto fnPaint = [&](int _nX, int _nY) {
        const int nDark = _nY * 2 / 3;
        return fnIsBackdrop(_nX, _nY) ? COLOR{50 - nDark / 3, 180 - nDark, 60 - nDark / 3} : c_rgbSkin;
    };
    const auto cpFrame = Frame(eZFCC_UYVY, 160, 120, fnPaint);
    const auto cpKey = NewKey();
    ASSERT_EQ(cpKey->AddRect(cpFrame.Get(), 200, 150, -10, 0, FALSE), S_OK);
    EXPECT_GT(Count(cpKey, FALSE), 1);
    const KEY_QUALITY quality = Keyed(cpKey, cpFrame.Get(), fnIsBackdrop);
    EXPECT_GT(quality.dblKeyed, 95);
    EXPECT_GT(quality.dblKept, 99);
    ASSERT_EQ(cpKey->MaxKeysSet(1, FALSE), S_OK);
    EXPECT_EQ(Count(cpKey, FALSE), 1);
    EXPECT_EQ(RawOf(cpKey).nKeysUsed, 1);

    ASSERT_EQ(NewKey()->AddRect(cpFrame.Get(), 4, 4, 5, 5, FALSE), S_OK) << "one pixel";
    CLogCatcher log;
    for (const auto& arrRect : {std::array{3, 3, 3, 9}, {160, 0, 170, 9}, {-9, -9, 0, 0}, {0, 120, 9, 121}})
        EXPECT_EQ(cpKey->AddRect(cpFrame.Get(), arrRect[0], arrRect[1], arrRect[2], arrRect[3], TRUE), E_INVALIDARG);
    EXPECT_EQ(log.Count("holds no pixel of the frame of 160 x 120", eZLog_Error), 4u);
    EXPECT_EQ(Count(cpKey, TRUE), 0);
}

TEST(CoZKey, ExclusionKeysProtect)
{
    const auto cpFrame = Frame(eZFCC_ARGB32, 64, 48, [](int _nX, int) {
        return _nX < 32 ? c_rgbGreen : COLOR{50, 140, 75};
    });
    const auto cpKey = NewKey(eCKT_RGB);
    ASSERT_EQ(cpKey->AddPoint(cpFrame.Get(), 50, 20, TRUE), S_OK);
    ASSERT_EQ(cpKey->AddPoint(cpFrame.Get(), 10, 20, FALSE), S_OK);
    EXPECT_EQ(Count(cpKey, TRUE), 1);
    const CHROMA_KEY_RAW raw = RawOf(cpKey);
    ASSERT_EQ(raw.nKeysUsed, Count(cpKey, FALSE) + 1);
    for (int32_t i = 0; i < raw.nKeysUsed; ++i)
        EXPECT_EQ(raw.arrKeys[i].nReverseKey, i == raw.nKeysUsed - 1) << "exclusion keys come last";
    EXPECT_EQ(raw.arrKeys[raw.nKeysUsed - 1].nValue, 0xFF4B8C32u) << "R, G, B from byte 0, as it was picked";
    EXPECT_EQ(Keyed(cpKey, cpFrame.Get(), [](int _nX, int) { return _nX < 32; }).dblKept, 100);
}

TEST(CoZKey, TypeDropsKeysOfAnotherOne)
{
    const auto cpFrame = TestFrame_Make(eZFCC_UYVY, 64, 48);
    const auto cpKey = NewKey();
    ASSERT_EQ(cpKey->AddPoint(cpFrame.Get(), 8, 40, FALSE), S_OK);
    ASSERT_EQ(cpKey->TypeSet(eCKT_YUV), S_OK);
    EXPECT_GT(Count(cpKey, FALSE), 0) << "Auto had taken it as YUV";
    ASSERT_EQ(cpKey->TypeSet(eCKT_HLS), S_OK);
    EXPECT_EQ(Count(cpKey, FALSE), 0);
    EXPECT_EQ(RawOf(cpKey).eType, eCKT_HLS);
    ASSERT_EQ(cpKey->AddPoint(cpFrame.Get(), 8, 40, FALSE), S_OK);
    ASSERT_EQ(cpKey->TypeSet(eCKT_Auto), S_OK);
    ASSERT_EQ(cpKey->AddPoint(cpFrame.Get(), 50, 5, FALSE), S_OK);
    EXPECT_EQ(Count(cpKey, FALSE), 2) << "keys of one set are of one type, and HLS picks are one key each";
    EXPECT_EQ(RawOf(cpKey).eType, eCKT_HLS);
    ASSERT_EQ(cpKey->Reset(), S_OK);
    EXPECT_EQ(RawOf(cpKey).nKeysUsed, 0);
    EXPECT_EQ(RawOf(cpKey).eType, eCKT_Auto);
    CLogCatcher log;
    for (const int nType : {0, 1, 6, -1})
        EXPECT_EQ(cpKey->TypeSet(static_cast<eCK_Type>(nType)), E_INVALIDARG);
    EXPECT_EQ(log.Count("cannot be of type", eZLog_Error), 4u);
}

TEST(CoZKey, KeySetsGoThroughUnchangedUntilAKeyChanges)
{
    CHROMA_KEY_RAW raw = {};
    raw.eType = eCKT_YUV;
    raw.nKeysUsed = 4;
    for (int i = 0; i < Z_MAX_KEYS; ++i)
        raw.arrKeys[i] = {0xFF000000u + i * 0x3F, 0x01040404, 10 + i, 20 + i, 1, 2, 3, 4, 5, i == 1 ? 7 : 0};
    raw.nMinTransparent = 3;
    raw.nMaxTransparent = 99;
    raw.bColorCancel = 5;
    const auto cpKey = NewKey(eCKT_RGB);
    ASSERT_EQ(cpKey->RawSet(&raw), S_OK);
    const CHROMA_KEY_RAW rawSame = RawOf(cpKey);
    EXPECT_EQ(std::memcmp(&rawSame, &raw, sizeof(raw)), 0);
    EXPECT_EQ(Count(cpKey, FALSE), 3) << "no phantom keys";
    EXPECT_EQ(Count(cpKey, TRUE), 1);

    const auto cpFrame = TestFrame_Make(eZFCC_UYVY, 64, 48);
    ASSERT_EQ(cpKey->AddPoint(cpFrame.Get(), 50, 5, FALSE), S_OK);
    CHROMA_KEY_RAW rawMore = RawOf(cpKey);
    const int nMade = rawMore.nKeysUsed - 4; // after the ordinary keys, before the exclusion key, which stays last
    ASSERT_GT(nMade, 0);
    EXPECT_GT(rawMore.arrKeys[3].nSmoothRange, 0);
    EXPECT_EQ(std::exchange(rawMore.arrKeys[3 + nMade].nReverseKey, 7), 1);
    const int arrPlaces[] = {0, 3 + nMade, 1, 2}; // where the four keys are now
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(std::memcmp(&rawMore.arrKeys[arrPlaces[i]], &raw.arrKeys[i], sizeof(SINGLE_KEY)), 0) << i;
    EXPECT_EQ(rawMore.nMaxTransparent, 99) << "switches stay";
    EXPECT_EQ(rawMore.bColorCancel, 5);
}

TEST(CoZKey, OddKeySetsAreTaken)
{
    const auto cpFrame = TestFrame_Make(eZFCC_UYVY, 64, 48);
    for (const int nType : {0, 1, 5, 77})
        for (const int nUsed : {0, 16})
        {
            CHROMA_KEY_RAW raw = {};
            raw.eType = nType;
            raw.nKeysUsed = nUsed;
            const auto cpKey = NewKey();
            ASSERT_EQ(cpKey->RawSet(&raw), S_OK);
            EXPECT_EQ(RawOf(cpKey).eType, nType);
            EXPECT_EQ(RawOf(cpKey).nKeysUsed, nUsed);
            ASSERT_EQ(cpKey->AddPoint(cpFrame.Get(), 8, 40, FALSE), S_OK);
            const CHROMA_KEY_RAW rawNew = RawOf(cpKey);
            EXPECT_EQ(rawNew.eType, eCKT_YUV);
            EXPECT_EQ(rawNew.nKeysUsed, Count(cpKey, FALSE));
            EXPECT_TRUE(rawNew.nKeysUsed > 0 && rawNew.nKeysUsed < 6) << "keys of no space are dropped";
            EXPECT_EQ(rawNew.nMaxTransparent, nUsed > 0 ? 0 : 255);
        }
    for (const int nUsed : {-3, 17})
    {
        const CLogCatcher log;
        CHROMA_KEY_RAW raw = {};
        raw.nKeysUsed = nUsed;
        EXPECT_EQ(NewKey()->RawSet(&raw), E_INVALIDARG);
        EXPECT_EQ(log.Count("a set has 0 to 16 keys", eZLog_Error), 1u);
    }
}

TEST(CoZKeyDetect, LeavesAStrayFirstFindAlone)
{
    // Bluish grey at the very top comes first, and would settle on blue; then the backdrop and a disc of skin.
    const auto fnIsGrey = [](int _nX, int _nY) { return _nX < 60 || _nY < 40; };
    const auto fnIsBackdrop = [&](int _nX, int _nY) {
        return (_nX - 160) * (_nX - 160) + (_nY - 120) * (_nY - 120) >= 3600 && !fnIsGrey(_nX, _nY);
    };
    const auto cpFrame = Frame(eZFCC_ARGB32, 320, 240, [&](int _nX, int _nY) {
        const COLOR rgbOther = fnIsGrey(_nX, _nY) ? COLOR{100, 104, 112} : c_rgbSkin;
        return fnIsBackdrop(_nX, _nY) ? c_rgbGreen : rgbOther;
    });
    for (const auto& [pwszProps, eType, nMaxKeys] : {std::tuple{L"fit=true", eCKT_Auto, 16},
                                                     {L"fit=true type=hls", eCKT_HLS, 16},
                                                     {L"detect.fit=true detect.type=yuv max_keys=1", eCKT_YUV, 1}})
    {
        const auto cpKey = NewKey();
        ASSERT_EQ(Detect(cpKey, cpFrame.Get(), pwszProps), S_OK);
        const KEY_QUALITY quality = Keyed(cpKey, cpFrame.Get(), fnIsBackdrop);
        EXPECT_GT(quality.dblKeyed, 97) << eType;
        EXPECT_GT(quality.dblKept, 98) << eType;
        EXPECT_LE(Count(cpKey, FALSE), nMaxKeys) << eType;
        eCK_Type eTypeSet = eCKT_None;
        EXPECT_EQ(cpKey->TypeGet(&eTypeSet), S_OK);
        EXPECT_EQ(eTypeSet, eType) << "a type among the options is set";
    }
}

TEST(CoZKeyDetect, LeavesTheKeyOfTheCalculatorUnlessItFits)
{
    const auto cpFrame = Frame(eZFCC_UYVY, 160, 120, [](int, int) { return c_rgbGreen; });
    const auto fnChroma = [&](const wchar_t* _pwszProps) {
        const auto cpKey = NewKey();
        EXPECT_EQ(Detect(cpKey, cpFrame.Get(), _pwszProps), S_OK);
        const CHROMA_KEY_RAW raw = RawOf(cpKey);
        EXPECT_EQ(raw.nKeysUsed, 1);
        EXPECT_EQ(raw.arrKeys[0].nDelta, 0x01010101u) << "an even picture";
        return std::pair(raw.arrKeys[0].nValue >> 8 & 0xFF, raw.arrKeys[0].nValue >> 16 & 0xFF); // U, V
    };
    const auto [nU, nV] = fnChroma(L"similarity=0");
    const auto [nPureU, nPureV] = fnChroma(L"detect.similarity=1");
    EXPECT_EQ(std::pair(nPureU, nPureV), std::pair(91u, 81u)) << "R 0, G 128, B 0";
    const auto [nPulledU, nPulledV] = fnChroma(L"");
    EXPECT_NEAR(nPulledU, 0.2 * nU + 0.8 * nPureU, 1);
    EXPECT_NEAR(nPulledV, 0.2 * nV + 0.8 * nPureV, 1);
}

TEST(CoZKeyDetect, FitsToAScreenAlone)
{
    // A bluish pullover in front of a wall of another colour.
    const auto fnIsPullover = [](int _nX, int _nY) { return _nY > 120 && _nX > 80 && _nX < 240; };
    const auto cpFrame = Frame(eZFCC_ARGB32, 320, 240, [&](int _nX, int _nY) {
        return fnIsPullover(_nX, _nY) ? COLOR{50, 80, 120} : COLOR{220, 180, 40};
    });
    EXPECT_EQ(Detect(NewKey(), cpFrame.Get(), L""), S_OK);
    EXPECT_EQ(Detect(NewKey(), cpFrame.Get(), L"fit=true"), S_FALSE);
}

TEST(CoZKeyDetect, ReplacesOrdinaryKeysOnlyWhenItFinds)
{
    const auto cpRed = Frame(eZFCC_UYVY, 160, 120, [](int, int) { return c_rgbRed; });
    const auto cpGreen = Frame(eZFCC_UYVY, 160, 120, [](int, int) { return c_rgbGreen; });
    const auto cpKey = NewKey(eCKT_RGB);
    ASSERT_EQ(cpKey->AddPoint(cpRed.Get(), 9, 9, FALSE), S_OK);
    ASSERT_EQ(cpKey->AddPoint(cpRed.Get(), 9, 9, TRUE), S_OK);
    const CHROMA_KEY_RAW raw = RawOf(cpKey);
    EXPECT_EQ(Detect(cpKey, cpRed.Get(), L"detect.type=yuv"), S_FALSE);
    CLogCatcher log;
    EXPECT_EQ(Detect(cpKey, cpGreen.Get(), L"detect.blocks=x"), E_INVALIDARG);
    EXPECT_EQ(log.Count("detect.blocks", eZLog_Error), 1u);
    EXPECT_EQ(cpKey->Detect(nullptr, nullptr), E_POINTER);
    const CHROMA_KEY_RAW rawSame = RawOf(cpKey);
    EXPECT_EQ(std::memcmp(&rawSame, &raw, sizeof(raw)), 0);

    ASSERT_EQ(cpKey->TypeSet(eCKT_Auto), S_OK);
    ASSERT_EQ(Detect(cpKey, cpGreen.Get(), L""), S_OK);
    EXPECT_EQ(RawOf(cpKey).eType, eCKT_RGB) << "exclusion keys hold the type";
    EXPECT_EQ(Count(cpKey, FALSE), 1);
    EXPECT_EQ(Count(cpKey, TRUE), 1);
    ASSERT_EQ(cpKey->AddPoint(cpRed.Get(), 9, 9, FALSE), S_OK);
    EXPECT_GT(Count(cpKey, FALSE), 1) << "the limit of detection is not that of the object";
    ASSERT_EQ(Detect(cpKey, cpGreen.Get(), L"type=hls"), S_OK);
    EXPECT_EQ(Count(cpKey, TRUE), 0) << "of another type";
}

TEST(CoZKeyDetect, MakesRoomForExclusionKeys)
{
    const auto cpGreen = Frame(eZFCC_UYVY, 160, 120, [](int, int) { return c_rgbGreen; });
    CHROMA_KEY_RAW raw = {};
    raw.eType = eCKT_YUV;
    raw.nKeysUsed = Z_MAX_KEYS;
    for (uint32_t i = 0; i < Z_MAX_KEYS; ++i)
        raw.arrKeys[i] = {0xFF808000u + 15 * i, 0x01010101, 0, 0, 0, 0, 0, 0, 0, 1};
    const auto cpKey = NewKey();
    ASSERT_EQ(cpKey->RawSet(&raw), S_OK);
    ASSERT_EQ(Detect(cpKey, cpGreen.Get(), L""), S_OK);
    EXPECT_EQ(Count(cpKey, TRUE), Z_MAX_KEYS - 1);
    EXPECT_EQ(RawOf(cpKey).nKeysUsed, Count(cpKey, FALSE) + Count(cpKey, TRUE)) << "keys got lost";
}

TEST(CoZKeyBorder, BadCallsAreAnswered)
{
    CLogCatcher log;
    const auto cpKey = NewKey();
    EXPECT_EQ(cpKey->TypeGet(nullptr), E_POINTER);
    EXPECT_EQ(cpKey->KeysCountGet(FALSE, nullptr), E_POINTER);
    EXPECT_EQ(cpKey->RawSet(nullptr), E_POINTER);
    EXPECT_EQ(cpKey->RawGet(nullptr), E_POINTER);
    EXPECT_EQ(cpKey->AddPoint(nullptr, 1, 1, FALSE), E_POINTER);
    EXPECT_EQ(cpKey->AddRect(nullptr, 1, 1, 2, 2, FALSE), E_POINTER);
    for (const int nMax : {0, -5, 100})
        EXPECT_EQ(cpKey->MaxKeysSet(nMax, TRUE), S_OK) << "clamped";
}

TEST(CoZKeyBorder, TakesACallOutOfAMethodOfItsFrame)
{
    const auto cpGreen = Frame(eZFCC_UYVY, 64, 48, [](int, int) { return c_rgbGreen; });
    const auto cpKey = NewKey();
    int nKeys = -1;
    const auto cpFrame = CHookFrame::Make(cpGreen.Get(), [&](const std::string& _strMethod) {
        nKeys = _strMethod == "VideoPtrGet" ? Count(cpKey, FALSE) : nKeys;
        return S_OK;
    });
    EXPECT_EQ(cpKey->AddPoint(cpFrame.Get(), 9, 9, FALSE), S_OK);
    EXPECT_EQ(nKeys, 0);
}
