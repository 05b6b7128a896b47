#include "zkhost/SampleScene.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace
{

TEST(SampleScene, IsTheSameEveryTimeAndMoves)
{
    SAMPLE_SCENE scene;
    scene.nWidth = 160;
    scene.nHeight = 90;
    PICTURE first, alphaFirst, again, alphaAgain;
    CZSampleScene(scene).Paint(3, first, alphaFirst);
    CZSampleScene(scene).Paint(3, again, alphaAgain);
    EXPECT_EQ(first.vecPixels, again.vecPixels);
    EXPECT_EQ(alphaFirst.vecPixels, alphaAgain.vecPixels);
    CZSampleScene(scene).Paint(4, again, alphaAgain);
    EXPECT_NE(alphaFirst.vecPixels, alphaAgain.vecPixels);
    scene.nSeed = 2;
    CZSampleScene(scene).Paint(3, again, alphaAgain);
    EXPECT_NE(alphaFirst.vecPixels, alphaAgain.vecPixels);
}

/// The truth tells backdrop and figure apart, with soft pixels between them.
TEST(SampleScene, TruthAgreesWithThePicture)
{
    for (const bool bBlue : {false, true})
    {
        SAMPLE_SCENE scene;
        scene.nWidth = 320;
        scene.nHeight = 180;
        scene.bBlue = bBlue;
        PICTURE picture, alpha;
        CZSampleScene(scene).Paint(10, picture, alpha);
        int nBackdrop = 0, nFigure = 0, nSoft = 0, nBackdropTinted = 0, nFigureTinted = 0;
        for (size_t i = 0; i < alpha.vecPixels.size(); ++i)
        {
            const uint8_t* pPixel = picture.vecPixels.data() + 4 * i;
            const int nKeyed = pPixel[bBlue ? 0 : 1];
            const int nOther = std::max<int>(pPixel[bBlue ? 1 : 0], pPixel[2]);
            const bool bTinted = nKeyed > nOther + 40;
            nBackdrop += alpha.vecPixels[i] == 0;
            nBackdropTinted += alpha.vecPixels[i] == 0 && bTinted;
            nFigure += alpha.vecPixels[i] == 255;
            nFigureTinted += alpha.vecPixels[i] == 255 && bTinted;
            nSoft += alpha.vecPixels[i] > 0 && alpha.vecPixels[i] < 255;
        }
        EXPECT_GT(nBackdropTinted, nBackdrop * 99 / 100);
        EXPECT_LT(nFigureTinted, nFigure / 100);
        EXPECT_GT(nFigure, 320 * 180 / 6);
        EXPECT_GT(nSoft, 320 * 180 / 100);
    }
}

} // namespace
