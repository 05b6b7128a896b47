#pragma once

#include "Base/ZCpu.h"

#include <gtest/gtest.h>

#include <string>

/// A test that runs once for every instruction set, and is skipped where the processor lacks it.
class CSimdLevelTest : public testing::TestWithParam<eSIMD_Level>
{
public:
    static std::string Name(const testing::TestParamInfo<eSIMD_Level>& _info)
    {
        return ZCpu_LevelName(_info.param);
    }

protected:
    void SetUp() override
    {
        if (GetParam() > ZCpu_Detected())
            GTEST_SKIP() << "processor or system without " << ZCpu_LevelName(GetParam());
    }
};

#define Z_INSTANTIATE_LEVELS(Suite)                                                                                    \
    INSTANTIATE_TEST_SUITE_P(Level, Suite, testing::Values(eSIMD_None, eSIMD_AVX2, eSIMD_AVX512), Suite::Name)

/// Widths at which rows begin or end differently in some kernel.
template <class Fn> void ForTestWidths(Fn&& _fnTest)
{
    for (int nWidth = 1; nWidth <= 200; ++nWidth)
        _fnTest(nWidth);
    for (const int nWidth : {719, 720, 1279, 1280, 1919, 1920, 3839, 8191})
        _fnTest(nWidth);
}
