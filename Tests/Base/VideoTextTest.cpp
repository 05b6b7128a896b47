#include "Base/ZHelpers.h"
#include "Support/LogCatcher.h"

#include <gtest/gtest.h>

TEST(VideoText, Records)
{
    // format, code, width, height, stride, interlace, aspect, rate, aspect mode, GPU
    const std::pair<ZF_VID_PROPS, const char*> c_arrCases[] = {
        {{}, ""},
        {{94, eZFCC_UYVY, 1920, 1080, 0, 1, 0, 0, 25, 0, 0}, "disabled"},
        {{0, eZFCC_UYVY, 1920, 1080, 3840, 1, 0, 0, 25, 0, 0}, "1920(3840)x1080(UYVY)@25.000iT"},
        {{0, eZFCC_RGB8, 720, -576, -720, 3, 16, 9, 30000.0 / 1001, 0, 0}, "720(-720)x-576(RGB8)@29.970p (16:9)"},
        {{0, 0, 1, 1, 0, 0, 4, 3, -25, 1, 0}, "1(0)x1(BI_RGB)@-25.000A (4:3I)"},
        {{0, 5, 1, 1, 0, 2, 4, 0, 0, 1, 0x2000}, "1(0)x1(0x5)@0.000iB GPU:0 x2"},
        {{0, 5, 1, 1, 0, 4, -4, 3, 0, 3, 0x1021}, "1(0)x1(0x5)@0.000INV (-4:3C) GPU:33"},
        {{0, 5, 1, 1, 0, 5, 4, 3, 0, 2, 0}, "1(0)x1(0x5)@0.000OF (4:3L)"},
        {{0, 5, 1, 1, 0, 6, 4, 3, 0, 99, 0}, "1(0)x1(0x5)@0.000ER (4:3N)"},
        {{0, 5, 1, 1, 0, -1, 4, 3, 0, -1, 0}, "1(0)x1(0x5)@0.000ER (4:3)"},
    };
    for (const auto& [vidProps, pszText] : c_arrCases)
        EXPECT_EQ(VidProps_Text(&vidProps), pszText);
}

TEST(VideoText, TimeCodes)
{
    const std::pair<ZF_TIMECODE, const char*> c_arrCases[] = {
        {{1, 2, 3, 4, 0}, "01:02:03:04"},          {{1, 2, 3, 4, 1}, "01:02:03;04"},
        {{1, 2, 3, 4, 0x300}, "01:02:03:04.1"},    {{1, 2, 3, 4, 0x200}, "01:02:03:04.1"},
        {{1, 2, 3, 4, 0x101}, "01:02:03;04.0"},    {{1, 2, 3, 4, 0xF00}, "01:02:03:04.13"},
        {{1, 2, 3, 4, 0xFFFFF0FE}, "01:02:03:04"}, {{100, 59, 59, 119, 0}, "100:59:59:119"},
    };
    for (const auto& [timeCode, pszText] : c_arrCases)
        EXPECT_EQ(TimeCode_Text(&timeCode), pszText);
}

TEST(VideoText, SoundToTime)
{
    const struct
    {
        int64_t nBytes, nTime;
        ZF_AUD_PROPS audProps; // channels, samples a second, bits
        bool bFails;           // the check of the block
    } c_arrCases[] = {
        {192000, 10'000'000, {2, 48000, 16}, false},
        {1, 208, {1, 48000, 8}, false},    // 208.33
        {1, 1, {1, 20'000'000, 8}, false}, // a half goes away from zero
        {-1, -1, {1, 20'000'000, 8}, false},
        {1, 0, {1, 20'000'001, 8}, false},
        {48000, 10'000'000, {3, 8000, 20}, false}, // 20 bits count as 2 bytes
        {193, 10052, {2, 48000, 16}, true},
        {192, 0, {2, 48000, 4}, true},
        {192, 0, {0, 48000, 16}, true},
        {192, 0, {2, 0, 16}, false},
        {9'000'000'000'000'001, INT64_MAX, {1, 1000, 8}, false},
        {6'144'000'000'000'000, 10'000'000'000'000'000, {8, 192000, 32}, false}, // the product has 76 bits
        {INT64_MIN, -INT64_MAX, {1, 1, 8}, false},
        {0, 0, {INT32_MAX, INT32_MAX, INT32_MAX}, false},
    };
    for (const auto& c : c_arrCases)
    {
        const CLogCatcher log;
        EXPECT_EQ(Aud_BytesToTime(&c.audProps, c.nBytes), c.nTime) << &c - c_arrCases;
        EXPECT_EQ(log.Count("ASSERT \"nBlock > 0 && _llBytes % nBlock == 0\"", eZLog_Error), c.bFails ? 1u : 0u);
    }
}
