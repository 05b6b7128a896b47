#include "ZChromaKey/TestKeyer.h"
#include "zkhost/SampleScene.h"

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
    PICTURE picture;
    PICTURE truth;
};

const SCENE& Scene(bool _bBlue)
{
    static SCENE s_arrScenes[2];
    SCENE& scene = s_arrScenes[_bBlue];
    if (scene.picture.vecPixels.empty())
        CZSampleScene({.nWidth = c_nWidth, .nHeight = c_nHeight, .bBlue = _bBlue}).Paint(7, scene.picture, scene.truth);
    return scene;
}

uint8_t Truth(const SCENE& _scene, int _nX, int _nY)
{
    return _scene.truth.Row(_nY)[_nX];
}

/// Share of the backdrop keyed to 0, and of the solid foreground kept at 255.
struct QUALITY
{
    double dblKeyed;
    double dblKept;
};

CZPtr<IZFFrame> Result(CCoZChromaKey* _pKeyer, IZFFrame* _pFrame)
{
    CZPtr<IZFFrame> cpResult;
    EXPECT_EQ(_pKeyer->OnMediaReceive(_pFrame, cpResult.Put()), S_OK);
    return cpResult;
}

QUALITY Quality(const SCENE& _scene, CCoZChromaKey* _pKeyer, IZFFrame* _pFrame)
{
    const auto cpMask = MaskOf(Result(_pKeyer, _pFrame).Get());
    if (!cpMask)
        return {};
    const ZF_VID_PTR vidPtr = PtrOf(cpMask.Get());
    double arrCount[2] = {};
    double arrRight[2] = {};
    for (int y = 0; y < c_nHeight; ++y)
        for (int x = 0; x < c_nWidth; ++x)
        {
            const uint8_t nTruth = Truth(_scene, x, y);
            if (nTruth != 0 && nTruth != 255)
                continue;
            ++arrCount[nTruth != 0];
            arrRight[nTruth != 0] += Img_RowOf(vidPtr, 0, y)[x] == nTruth;
        }
    return {100 * arrRight[0] / arrCount[0], 100 * arrRight[1] / arrCount[1]};
}

/// An object that takes its keys from a frame.
CZPtr<CCoZChromaKey> KeyerFor(IZFFrame* _pFrame)
{
    auto cpKeyer = TestKeyer_Make();
    EXPECT_EQ(cpKeyer->KeyReset(), S_OK);
    EXPECT_EQ(cpKeyer->KeyFrameSet(_pFrame, nullptr), S_OK);
    return cpKeyer;
}

void Expect(const char* _pszScene, uint32_t _fccType, const std::string& _strMethod, const QUALITY& _quality)
{
    std::printf("%-5s  %-6s  %-16s  backdrop keyed %6.2f %%   foreground kept %6.2f %%\n", _pszScene,
                FCC_Name(_fccType).c_str(), _strMethod.c_str(), _quality.dblKeyed, _quality.dblKept);
    EXPECT_GE(_quality.dblKeyed, 99.0) << _pszScene << " " << FCC_Name(_fccType) << " " << _strMethod;
    EXPECT_GE(_quality.dblKept, 99.5) << _pszScene << " " << FCC_Name(_fccType) << " " << _strMethod;
}

/// Points whose neighbourhood is nothing but backdrop.
std::vector<std::pair<int, int>> BackdropPoints(const SCENE& _scene, size_t _nCount)
{
    std::mt19937 rng(5);
    std::vector<std::pair<int, int>> vecPoints;
    while (vecPoints.size() < _nCount)
    {
        const int nX = 4 + static_cast<int>(rng() % (c_nWidth - 8));
        const int nY = 4 + static_cast<int>(rng() % (c_nHeight - 8));
        bool bBackdrop = true;
        for (int y = nY - 4; y <= nY + 4; ++y)
            for (int x = nX - 4; x <= nX + 4; ++x)
                bBackdrop = bBackdrop && Truth(_scene, x, y) == 0;
        if (bBackdrop)
            vecPoints.emplace_back(nX, nY);
    }
    return vecPoints;
}

TEST(KeyQuality, OneDetectionOrOnePickKeysTheBackdropAndKeepsTheForeground)
{
    for (const bool bBlue : {false, true})
        for (const uint32_t fccType : {eZFCC_RGB32, eZFCC_UYVY, eZFCC_NV12, eZFCC_v210})
        {
            const SCENE& scene = Scene(bBlue);
            const char* const pszScene = bBlue ? "blue" : "green";
            const auto cpFrame = TestFrame_Of(scene.picture.vecPixels, fccType, c_nWidth, -c_nHeight);
            const auto cpKeyer = KeyerFor(cpFrame.Get());
            EXPECT_EQ(cpKeyer->KeyDetect(nullptr), S_OK);
            Expect(pszScene, fccType, "auto", Quality(scene, cpKeyer.Get(), cpFrame.Get()));
            QUALITY worst = {100, 100};
            for (const auto& [nX, nY] : BackdropPoints(scene, 20))
            {
                ASSERT_EQ(cpKeyer->KeyReset(), S_OK);
                ASSERT_EQ(cpKeyer->KeyAddPoint(nX, nY), S_OK);
                const QUALITY quality = Quality(scene, cpKeyer.Get(), cpFrame.Get());
                worst = {std::min(worst.dblKeyed, quality.dblKeyed), std::min(worst.dblKept, quality.dblKept)};
            }
            Expect(pszScene, fccType, "worst of 20 picks", worst);
            ASSERT_EQ(cpKeyer->KeyReset(), S_OK);
            ASSERT_EQ(cpKeyer->KeyAddRect(20, 200, 220, 400), S_OK);
            Expect(pszScene, fccType, "one rectangle", Quality(scene, cpKeyer.Get(), cpFrame.Get()));
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
    const uint8_t* pPixel = vecBGRA.data();
    const ZF_VID_PTR vidMask = PtrOf(MaskOf(_pResult).Get());
    double arrSum[2] = {};
    double arrCount[2] = {};
    for (int y = 0; y < c_nHeight; ++y)
        for (int x = 0; x < c_nWidth; ++x, pPixel += 4)
        {
            const uint8_t* const pSource = _scene.picture.Row(y) + 4 * x;
            const uint8_t nTruth = Truth(_scene, x, y);
            if (Img_RowOf(vidMask, 0, y)[x] < 255 || nTruth < 10)
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
        for (const uint32_t fccType : {eZFCC_RGB32, eZFCC_UYVY})
        {
            const SCENE& scene = Scene(bBlue);
            const auto cpFrame = TestFrame_Of(scene.picture.vecPixels, fccType, c_nWidth, -c_nHeight);
            const auto cpKeyer = KeyerFor(cpFrame.Get());
            EXPECT_EQ(cpKeyer->KeyDetect(nullptr), S_OK);
            TINT before = {};
            for (const double dblColors : {0.0, 50.0, 100.0})
            {
                EXPECT_GE(cpKeyer->KeyAdjustSet(eCKA_Colors, dblColors), S_OK);
                const TINT tint = TintOf(scene, bBlue, Result(cpKeyer.Get(), cpFrame.Get()).Get());
                std::printf("%-5s  %-6s  colors %3.0f %%  tint of edges %5.2f levels   solid colours moved by %5.2f\n",
                            bBlue ? "blue" : "green", FCC_Name(fccType).c_str(), dblColors, tint.dblEdges,
                            tint.dblSolid);
                if (dblColors == 0)
                    before = tint;
                EXPECT_LE(tint.dblEdges, before.dblEdges * (dblColors == 0 ? 1 : dblColors == 50 ? 0.85 : 0.4));
                EXPECT_LE(tint.dblSolid, before.dblSolid + 1);
            }
        }
}

} // namespace
