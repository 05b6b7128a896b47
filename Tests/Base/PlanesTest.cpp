#include "Support/TestProps.h"

#include <gtest/gtest.h>

namespace
{

constexpr int64_t c_nAddress = 0x10000000;

struct PLANE
{
    int64_t nOffset; // -1: absent
    int32_t nWidth, nHeight, nStride;
};

struct PLANES_CASE
{
    ZF_VID_PROPS vidProps;
    bool bFlip;
    PLANE arrPlanes[3];
    int64_t nImageSize;
};

constexpr PLANE c_none = {-1, 0, 0, 0};

// clang-format off
const PLANES_CASE c_arrPictures[] = {
    {Record(eZFCC_I420, 1920, 1080, 1920), true, {{0, 1920, 1080, 1920}, {2073600, 960, 540, 960}, {2073600 + 518400, 960, 540, 960}}, 3110400},
    {Record(eZFCC_YV12, 8, 4, 32), false, {{0, 8, 4, 32}, {128, 4, 2, 16}, {160, 4, 2, 16}}, 192},
    {Record(eZFCC_NV12, 8, 4, 32), false, {{0, 8, 4, 32}, {128, 8, 2, 32}, c_none}, 192},
    {Record(eZFCC_I422, 8, 3), false, {{0, 8, 3, 8}, {24, 4, 3, 4}, {36, 4, 3, 4}}, 48},
    {Record(eZFCC_YV16, 8, 3, 9), false, {{0, 8, 3, 9}, {27, 4, 3, 4}, {39, 4, 3, 4}}, 51},
    {Record(eZFCC_Y444, 8, 3, 8), false, {{0, 8, 3, 8}, {24, 4, 3, 4}, {36, 4, 3, 4}}, 48}, // half chroma all the same
    {Record(eZFCC_UYVY, 8, 4, 4), true, {{0, 8, 4, 16}, c_none, c_none}, 64}, // a short stride is raised
    {Record(eZFCC_RGB32, 8, 4), false, {{0, 8, 4, 32}, c_none, c_none}, 128},
    {Record(eZFCC_RGB32, 8, 4, 40), true, {{120, 8, 4, -40}, c_none, c_none}, 160},
    {Record(eZFCC_RGB32, 8, -4, 40), true, {{0, 8, 4, 40}, c_none, c_none}, 160},
    {Record(eZFCC_RGB32, 8, 4, -40), true, {{0, 8, 4, -40}, c_none, c_none}, 160},
    {Record(eZFCC_RGB8, 8, 4), true, {{0, 8, 4, 8}, c_none, c_none}, 32},
    {Record(eZFCC_RGB32, 0, 0), false, {{0, 0, 0, 0}, c_none, c_none}, 0},
    {Record(eZFCC_IYU2, 8, 4), false, {{0, 8, 4, 0}, c_none, c_none}, 0},
    {Record(eZFCC_RGB32, 40000, 60000), false, {{0, 40000, 60000, 160000}, c_none, c_none}, 9600000000},
    {Record(eZFCC_Y444, INT32_MAX, INT32_MIN, INT32_MAX), false, {{0, INT32_MAX, INT32_MAX, INT32_MAX},
      {int64_t{INT32_MAX} * INT32_MAX, 0x3FFFFFFF, INT32_MAX, 0x3FFFFFFF},
      {int64_t{INT32_MAX} * INT32_MAX + int64_t{INT32_MAX} * 0x3FFFFFFF, 0x3FFFFFFF, INT32_MAX, 0x3FFFFFFF}},
      int64_t{INT32_MAX} * (INT32_MAX + int64_t{0x7FFFFFFE})},
};
// clang-format on

} // namespace

TEST(Planes, AddressesStridesAndSizes)
{
    for (const PLANES_CASE& c : c_arrPictures)
    {
        SCOPED_TRACE(VidProps_Text(&c.vidProps));
        const ZF_VID_PTR vidPtr = VidPtr_Build(&c.vidProps, c_nAddress, c.bFlip);
        for (int nPlane = 0; nPlane < 3; ++nPlane)
        {
            SCOPED_TRACE(nPlane);
            const PLANE& plane = c.arrPlanes[nPlane];
            EXPECT_EQ(vidPtr.lpVideoPlanes[nPlane], plane.nOffset < 0 ? 0 : c_nAddress + plane.nOffset);
            EXPECT_EQ(vidPtr.szVideoPlanes[nPlane].cx, plane.nWidth);
            EXPECT_EQ(vidPtr.szVideoPlanes[nPlane].cy, plane.nHeight);
            EXPECT_EQ(vidPtr.cbVideoRowBytes[nPlane], plane.nStride);
        }
        EXPECT_EQ(vidPtr.lpVideoPlanes[3] + vidPtr.szVideoPlanes[3].cy + vidPtr.cbVideoRowBytes[3], 0);
        EXPECT_EQ(VidProps_ImageSize(&c.vidProps), c.nImageSize);
    }
}

TEST(Planes, AnInvalidAddressIsNotFlipped)
{
    const ZF_VID_PROPS vidProps = Record(eZFCC_RGB32, 8, 4);
    for (const int64_t nAddress : {int64_t{0}, int64_t{-1}})
    {
        EXPECT_EQ(VidPtr_Build(&vidProps, nAddress, true).lpVideoPlanes[0], nAddress);
        EXPECT_EQ(VidPtr_Build(&vidProps, nAddress, true).cbVideoRowBytes[0], 32);
    }
    const ZF_VID_PROPS vidPlanar = Record(eZFCC_NV12, 8, 4);
    EXPECT_EQ(VidPtr_Build(&vidPlanar, 0, false).lpVideoPlanes[1], 32); // offsets
}

TEST(Planes, ImageSizeCompletesRecords)
{
    ZF_VID_PROPS vidProps = {};
    vidProps.eVideoFormat = eZVF_PAL;
    EXPECT_EQ(VidProps_ImageSize(&vidProps), 720 * 2 * 576);
    vidProps.nRowBytes = 1600; // no height
    EXPECT_EQ(VidProps_ImageSize(&vidProps), 1600 * 576);
    vidProps = Record(eZFCC_I420, 9, 5);
    EXPECT_EQ(VidProps_ImageSize(&vidProps), 8 * 4 * 3 / 2);
    vidProps.nRowBytes = 9; // complete enough to be taken as it is
    EXPECT_EQ(VidProps_ImageSize(&vidProps), 9 * 5 + 2 * 4 * 2);
}
