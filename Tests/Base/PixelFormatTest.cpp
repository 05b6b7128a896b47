#include "Base/ZHelpers.h"

#include <gtest/gtest.h>

TEST(PixelFormat, RowSizesFollowTheirRules)
{
    const struct
    {
        uint32_t fccType;
        int32_t nWidth;
        int32_t nBytes;
    } c_arrCases[] = {
        {eZFCC_v210, 1, 128},         {eZFCC_v210, 48, 128},      {eZFCC_v210, 49, 256},
        {eZFCC_v210, 1920, 5120},     {eZFCC_RGB24, 1, 4},        {eZFCC_RGB24, 5, 16},
        {eZFCC_RGB8, 1, 8},           {eZFCC_RGB8, 9, 16},        {eZFCC_RGB32, 3, 12},
        {eZFCC_YUY2, 3, 8},           {eZFCC_r210, 7, 28},        {eZFCC_Y422, 7, 7},
        {eZFCC_Y444, 7, 7},           {eZFCC_NV12, 7, 7},         {eZFCC_RGB565, 8, 0},
        {eZFCC_RGB555, 8, 0},         {eZFCC_IYU2, 8, 0},         {eZFCC_YVU9, 8, 0},
        {eZFCC_None, 8, 0},           {0x12345678, 8, 0},         {eZFCC_RGB32, 0x1FFFFFFF, 0x7FFFFFFC},
        {eZFCC_RGB32, 0x20000000, 0}, // 2^31 bytes have no place in nRowBytes
        {eZFCC_v210, INT32_MAX, 0},   {eZFCC_RGB8, INT32_MAX, 0}, {eZFCC_RGB32, -3, -12},
        {eZFCC_RGB24, INT32_MIN, 0},  {eZFCC_ARGB64, 3, 24},      {eZFCC_ARGB64, 0x10000000, 0},
        {eZFCC_RGBA32, 3, 12},        {eZFCC_P010, 7, 14},        {eZFCC_P210, 0x40000000, 0},
    };
    for (const auto& c : c_arrCases)
        EXPECT_EQ(Img_RowSize(c.fccType, c.nWidth), c.nBytes) << FCC_Name(c.fccType) << " width " << c.nWidth;
}

TEST(PixelFormat, WidthsComeBackFromRows)
{
    EXPECT_EQ(Img_WidthFromRowBytes(eZFCC_None, 100), 0);
    EXPECT_EQ(Img_WidthFromRowBytes(eZFCC_v210, 5120), 1920);
    EXPECT_EQ(Img_WidthFromRowBytes(eZFCC_v210, 255), 48);
    EXPECT_EQ(Img_WidthFromRowBytes(eZFCC_NV12, 1920), 1920); // not by its 16 bits a pixel
    EXPECT_EQ(Img_WidthFromRowBytes(eZFCC_YVU9, 10), 8);
    EXPECT_EQ(Img_WidthFromRowBytes(0x12345678, 77), 77);
    EXPECT_EQ(Img_WidthFromRowBytes(eZFCC_RGB8, INT32_MIN), INT32_MIN);
    for (const PIXEL_FORMAT& format : FCC_All())
        for (const int32_t nWidth : {1, 2, 47, 720, 1919, 8192})
            if (const int32_t nBytes = Img_RowSize(format.fccType, nWidth))
            {
                EXPECT_GE(Img_WidthFromRowBytes(format.fccType, nBytes), nWidth) << format.pszName;
            }
}

TEST(PixelFormat, NamesPrintAndParse)
{
    const struct
    {
        const char* pszName;
        uint32_t fccType;
        bool bParses;
    } c_arrCases[] = {
        {"BI_RGB", 0, true},
        {"BI_BITFIELDS", 3, true},
        {"0x4", 4, false},
        {"ARGB64", eZFCC_ARGB64, true},
        {"RGBA32", eZFCC_RGBA32, true},
        {"P010", eZFCC_P010, true},
        {"RGB1", 0xE436EB78, false},
        {"RGB8", eZFCC_RGB8, true},
        {"RGB565", eZFCC_RGB565, false},
        {"RGB32", eZFCC_RGB32, true},
        {"ARGB4444", 0x6E6415E6, true},
        {"ARGB32", eZFCC_ARGB32, true},
        {"MJPG", 0x47504A4D, true},
        {"v210", eZFCC_v210, true},
        {"IYU2", eZFCC_IYU2, true},
        {"RGB ", 0x20424752, true},
        {"0xFF565955", 0xFF565955, false},
        {"0x7F565955", 0x7F565955, false},
    };
    for (const auto& c : c_arrCases)
    {
        EXPECT_EQ(FCC_Name(c.fccType), c.pszName);
        EXPECT_EQ(FCC_Parse(c.pszName) == c.fccType, c.bParses) << c.pszName;
    }
    const std::pair<const char*, uint32_t> c_arrTexts[] = {
        {"uyvy", eZFCC_UYVY},
        {"V210", eZFCC_v210},
        {"Mjpg", 0x47504A4D},
        {"iyu2", 0x32757969},
        {"RGB1", 0x31424752},
        {"RGB565", 0},
        {"UYVY ", 0},
        {"UYV", 0},
        {"", 0},
        {"0x4", 0},
        {"\xC3\xA4YV1", 0x315659E4}, // a-umlaut has a byte of its own
        {"\xE2\x82\xACYV1", 0},      // the euro sign has none
    };
    for (const auto& [pszText, fccType] : c_arrTexts)
        EXPECT_EQ(FCC_Parse(pszText), fccType) << pszText;
}
