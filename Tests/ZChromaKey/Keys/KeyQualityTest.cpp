#include "ZChromaKey/Objects/TestKeyer.h"
#include "Sample/SampleScene.h"

#include <cstdio>
#include <random>
#include <string>

// How well keys from one detection or one pick are, on the generated scene, whose true alpha is known. The program
// prints its table; run it alone to see it.

namespace
{

constexpr int c_nWidth = 1280;
constexpr int c_nHeight = 720;

struct SCENE
{
    explicit SCENE(bool _bBlue)
    {
        CZSampleScene({.nWidth = c_nWidth, .nHeight = c_nHeight, .bBlue = _bBlue}).Paint(7, picture, truth);
    }
    PICTURE picture;
    PICTURE truth;
};

uint8_t Truth(const SCENE& _scene, int _nX, int _nY)
{
    return _scene.truth.Row(_nY)[_nX];
}

KEY_QUALITY Quality(const SCENE& _scene, CCoZChromaKey* _pKeyer, IZFFrame* _pFrame)
{
    return QualityOf(_pKeyer, _pFrame, [&](int _nX, int _nY) { return Truth(_scene, _nX, _nY); });
}

/// An object that takes its keys from a frame.
CZPtr<CCoZChromaKey> KeyerFor(IZFFrame* _pFrame)
{
    auto cpKeyer = TestKeyer_Make();
    EXPECT_EQ(cpKeyer->KeyReset(), S_OK);
    EXPECT_EQ(cpKeyer->KeyFrameSet(_pFrame, nullptr), S_OK);
    return cpKeyer;
}

void Expect(const char* _pszScene, uint32_t _fccType, const std::string& _strMethod, const KEY_QUALITY& _quality)
{
    std::printf("%-5s  %-6s  %-22s  backdrop keyed %6.2f %%   foreground kept %6.2f %%\n", _pszScene,
                FCC_Name(_fccType).c_str(), _strMethod.c_str(), _quality.dblKeyed, _quality.dblKept);
    EXPECT_GE(_quality.dblKeyed, 99.0) << _pszScene << " " << FCC_Name(_fccType) << " " << _strMethod;
    EXPECT_GE(_quality.dblKept, 99.5) << _pszScene << " " << FCC_Name(_fccType) << " " << _strMethod;
}

/// Points whose neighbourhood is nothing but backdrop.
std::vector<std::pair<int, int>> BackdropPoints(const SCENE& _scene)
{
    std::mt19937 rng(5);
    std::vector<std::pair<int, int>> vecPoints;
    while (vecPoints.size() < 20)
    {
        const int nX = 4 + static_cast<int>(rng() % (c_nWidth - 8));
        const int nY = 4 + static_cast<int>(rng() % (c_nHeight - 8));
        int nForeground = 0;
        for (int n = 0; n < 81; ++n)
            nForeground += Truth(_scene, nX - 4 + n % 9, nY - 4 + n / 9);
        if (nForeground == 0)
            vecPoints.emplace_back(nX, nY);
    }
    return vecPoints;
}

/// The worst of picks all over the backdrop, one at a time.
KEY_QUALITY WorstPick(const SCENE& _scene, eCK_Type _eType, CCoZChromaKey* _pKeyer, IZFFrame* _pFrame)
{
    KEY_QUALITY worst = {100, 100};
    for (const auto& [nX, nY] : BackdropPoints(_scene))
    {
        EXPECT_EQ(_pKeyer->KeyReset(), S_OK);
        EXPECT_EQ(_pKeyer->KeyAdjustSet(eCKA_KeyType, _eType), S_OK);
        EXPECT_EQ(_pKeyer->KeyAddPoint(nX, nY), S_OK);
        const KEY_QUALITY quality = Quality(_scene, _pKeyer, _pFrame);
        worst = {std::min(worst.dblKeyed, quality.dblKeyed), std::min(worst.dblKept, quality.dblKept)};
    }
    return worst;
}

TEST(KeyQuality, OneDetectionOrOnePickKeysTheBackdropAndKeepsTheForeground)
{
    for (const char* pszScene : {"green", "blue"})
    {
        const SCENE scene(*pszScene == 'b');
        for (const uint32_t fccType : {eZFCC_RGB32, eZFCC_UYVY, eZFCC_NV12, eZFCC_v210})
        {
            const auto cpFrame = TestFrame_Of(scene.picture.vecPixels, fccType, c_nWidth, c_nHeight);
            const auto cpKeyer = KeyerFor(cpFrame.Get());
            for (std::wstring wstrOptions :
                 {L"fit=true", L"fit=true type=rgb", L"fit=true type=hls", L"fit=true max_keys=1"})
            {
                ASSERT_EQ(cpKeyer->KeyReset(), S_OK);
                EXPECT_EQ(cpKeyer->KeyDetect(wstrOptions.data()), S_OK);
                CHROMA_KEY_RAW key = {};
                EXPECT_EQ(cpKeyer->KeyRawGet(&key, nullptr), S_OK);
                EXPECT_TRUE(key.nKeysUsed == 1 || wstrOptions.find(L"max_keys=1") == std::wstring::npos);
                Expect(pszScene, fccType, "auto " + ZText_FromWide(wstrOptions),
                       Quality(scene, cpKeyer.Get(), cpFrame.Get()));
            }
            Expect(pszScene, fccType, "worst YUV pick", WorstPick(scene, eCKT_YUV, cpKeyer.Get(), cpFrame.Get()));
            Expect(pszScene, fccType, "worst RGB pick", WorstPick(scene, eCKT_RGB, cpKeyer.Get(), cpFrame.Get()));
            ASSERT_EQ(cpKeyer->KeyReset(), S_OK);
            ASSERT_EQ(cpKeyer->KeyAddRect(20, 200, 220, 400), S_OK);
            Expect(pszScene, fccType, "one rectangle", Quality(scene, cpKeyer.Get(), cpFrame.Get()));
        }
    }
}

/// The colours of a result, of pixels that stay: how much of the backdrop's colour edge pixels have, in levels of their
/// strongest component over the others, and how far solid ones are from their source.
struct TINT
{
    double dblEdges;
    double dblSolid;
};

TINT TintOf(const SCENE& _scene, bool _bBlue, IZFFrame* _pResult)
{
    const std::vector<uint8_t> vecBGRA = PixelsOf(_pResult);
    const std::vector<uint8_t> vecMask = PixelsOf(MaskOf(_pResult).Get());
    double arrSum[2] = {};
    double arrCount[2] = {};
    for (size_t n = 0; n < vecBGRA.size(); n += 4)
    {
        const uint8_t* const pPixel = &vecBGRA[n];
        const uint8_t* const pSource = &_scene.picture.vecPixels[n];
        const uint8_t nTruth = _scene.truth.vecPixels[n / 4];
        if (vecMask[n] < 255 || nTruth < 10)
            continue;
        const bool bSolid = nTruth == 255;
        const int nTint = pPixel[_bBlue ? 0 : 1] - std::max<int>(pPixel[_bBlue ? 1 : 0], pPixel[2]);
        const int nMoved = std::max(
            {std::abs(pPixel[0] - pSource[0]), std::abs(pPixel[1] - pSource[1]), std::abs(pPixel[2] - pSource[2])});
        arrSum[bSolid] += bSolid ? nMoved : std::max(nTint, 0);
        ++arrCount[bSolid];
    }
    return {arrSum[0] / arrCount[0], arrSum[1] / arrCount[1]};
}

TEST(KeyQuality, ColoursLoseTheTintOfTheBackdropAndNothingElse)
{
    for (const bool bBlue : {false, true})
    {
        const SCENE scene(bBlue);
        for (const uint32_t fccType : {eZFCC_RGB32, eZFCC_UYVY})
        {
            const auto cpFrame = TestFrame_Of(scene.picture.vecPixels, fccType, c_nWidth, -c_nHeight);
            const auto cpKeyer = KeyerFor(cpFrame.Get());
            EXPECT_EQ(cpKeyer->KeyDetect(std::wstring(L"fit=true").data()), S_OK);
            TINT before = {};
            for (const double dblColors : {0.0, 50.0, 100.0})
            {
                EXPECT_GE(cpKeyer->KeyAdjustSet(eCKA_Colors, dblColors), S_OK);
                CZPtr<IZFFrame> cpResult;
                ASSERT_EQ(cpKeyer->OnMediaReceive(cpFrame.Get(), cpResult.Put()), S_OK);
                const TINT tint = TintOf(scene, bBlue, cpResult.Get());
                std::printf("%-5s  %-6s  colors %3.0f %%  tint of edges %5.2f levels   solid colours moved by %5.2f\n",
                            bBlue ? "blue" : "green", FCC_Name(fccType).c_str(), dblColors, tint.dblEdges,
                            tint.dblSolid);
                if (dblColors == 0)
                    before = tint;
                EXPECT_LE(tint.dblEdges, before.dblEdges * (dblColors == 0 ? 1 : dblColors == 50 ? 1.02 : 0.4));
                EXPECT_LE(tint.dblSolid, before.dblSolid + 1);
            }
        }
    }
}

} // namespace
