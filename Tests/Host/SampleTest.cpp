#include "zkhost/SampleScene.h"

#include <gtest/gtest.h>

namespace
{

TEST(SampleScene, IsTheSameEveryTimeAndMoves)
{
    const auto fnPaint = [](int _nFrame, uint32_t _nSeed) {
        PICTURE picture, alpha;
        SAMPLE_SCENE scene = {.nWidth = 160, .nHeight = 90};
        scene.nSeed = _nSeed;
        CZSampleScene(scene).Paint(_nFrame, picture, alpha);
        return std::pair(alpha.vecPixels, picture.vecPixels);
    };
    EXPECT_EQ(fnPaint(3, 1), fnPaint(3, 1));
    EXPECT_NE(fnPaint(3, 1).first, fnPaint(4, 1).first);
    EXPECT_NE(fnPaint(3, 1).first, fnPaint(3, 2).first);
}

} // namespace
