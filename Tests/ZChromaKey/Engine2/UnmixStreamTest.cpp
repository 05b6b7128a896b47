#include "ZChromaKey/Engine2/UnmixScenes.h"

#include <gtest/gtest.h>

TEST(UnmixStream, ThreadCountDoesNotMatter)
{
    UNMIX_STATE stateOne, stateMany;
    CSerialRunner serial;
    CThreadRunner many(3);
    for (uint32_t n = 0; n < 4; ++n)
    {
        SCENE scene = BodyScene(203, 117, 6, n, .02f * static_cast<float>(n));
        std::vector<uint8_t> vecOne(scene.vecBGRA.size()), vecMany(scene.vecBGRA.size());
        Unmix_Frame(stateOne, {}, scene.Input(), {vecOne.data(), 203 * 4, false}, serial);
        Unmix_Frame(stateMany, {}, scene.Input(), {vecMany.data(), 203 * 4, false}, many);
        EXPECT_EQ(vecOne, vecMany) << n;
        EXPECT_TRUE(UnmixState_Same(stateOne, stateMany)) << n;
    }
}
