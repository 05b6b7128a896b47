#include "Quality/HardClip.h"

#include <gtest/gtest.h>

#include <initializer_list>

// The figures that keyers are judged by, on pictures of a few pixels whose figures are known.

namespace
{

/// A row of grey pixels with these alphas.
PICTURE RowOf(uint8_t _nGrey, std::initializer_list<uint8_t> _listAlphas)
{
    PICTURE picture;
    picture.Resize(static_cast<int>(_listAlphas.size()), 1, 4);
    picture.bAlpha = true;
    uint8_t* pPixel = picture.Row(0);
    for (const uint8_t nAlpha : _listAlphas)
    {
        pPixel[0] = pPixel[1] = pPixel[2] = _nGrey;
        pPixel[3] = nAlpha;
        pPixel += 4;
    }
    return picture;
}

TEST(Score, FiguresAreThoseOfTheirDefinitions)
{
    CScore score(0x000000, false);
    const PICTURE truth = RowOf(100, {255, 255, 0, 0, 51});
    score.Add(RowOf(100, {255, 204, 0, 51, 51}), truth); // a hole and a rest of one fifth
    const QUALITY is = score.Result();
    EXPECT_NEAR(is.dblMse, 1000 * (0.04 + 0.04) / 5, 1e-3);
    EXPECT_NEAR(is.dblSoft, 0, 1e-9);
    EXPECT_NEAR(is.dblHoles, 500, 1e-9);
    EXPECT_NEAR(is.dblRest, 500, 1e-9);
    EXPECT_NEAR(is.dblPsnr, 10 * std::log10(255 * 255 / (20.0 * 20 * 2 / 5)), 1e-3);
    EXPECT_EQ(is.dblDtssd, 0);
}

TEST(Score, ClipsAreMeansAndTheErrorsOfChange)
{
    CScore score(0x000000, false);
    const PICTURE truth = RowOf(0, {255, 0});
    score.Add(RowOf(0, {255, 0}), truth);
    score.Add(RowOf(0, {204, 0}), truth);
    EXPECT_NEAR(score.Result().dblMse, 10, 1e-3);
    EXPECT_NEAR(score.Result().dblHoles, 500, 1e-9);
    EXPECT_NEAR(score.Result().dblDtssd, 100 * std::sqrt(0.04 / 2), 1e-3);
}

TEST(Score, WhatWasMixedAsLightIsJudgedAsLight)
{
    const PICTURE truth = RowOf(255, {128});
    CScore coded(0x000000, false), light(0x000000, true);
    coded.Add(truth, truth);
    light.Add(truth, truth);
    EXPECT_NEAR(coded.Result().dblPsnr, 10 * std::log10(255.0 * 255.0 / 1e-3), 1e-6);
    EXPECT_NEAR(light.Result().dblPsnr, 10 * std::log10(255.0 * 255.0 / (60.0 * 60.0)), 0.2); // 188 for 128
}

/// Without light from the backdrop and without noise, the picture is the truth laid over the backdrop.
TEST(HardScene, ThePictureIsTheTruthOverTheBackdrop)
{
    HARD_SCENE scene = *HardScene_Find("veil");
    scene.fSpill = 0;
    scene.fNoise = 0;
    scene.pfnLight = [](SAMPLE_POINT, const HARD_MOMENT&) { return SAMPLE_COLOR{1, 1, 1}; };
    for (const bool bLinear : {false, true})
    {
        scene.bLinear = bLinear;
        const HARD_CLIP clip = HardClip_Paint(scene, 160, 90, 1);
        const auto fnByte = [](float _f) { return static_cast<uint8_t>(std::lround(255 * _f)); };
        const uint8_t arrBack[3] = {fnByte(scene.colBack.b), fnByte(scene.colBack.g), fnByte(scene.colBack.r)};
        int nSoft = 0;
        for (size_t n = 0; n < clip.vecTruths[0].vecPixels.size(); n += 4)
        {
            const uint8_t* const pTruth = &clip.vecTruths[0].vecPixels[n];
            float arrBGR[3];
            Score_Reference(pTruth, arrBack, bLinear, arrBGR);
            for (size_t c = 0; c < 3; ++c)
                ASSERT_NEAR(clip.vecPictures[0].vecPixels[n + c], arrBGR[c], bLinear ? 3 : 1.6)
                    << n / 4 << " channel " << c;
            nSoft += pTruth[3] > 40 && pTruth[3] < 215;
        }
        EXPECT_GT(nSoft, 1000) << "the veil is there";
    }
}

} // namespace
