#include "Base/ZVideoFormats.h"
#include "Base/ZVideoProps.h"
#include "Support/LogCatcher.h"

#include <gtest/gtest.h>

namespace
{

/// The fields that normalisation completes, in the order of the record.
struct FIELDS
{
    int32_t eVideoFormat;
    uint32_t fccType;
    int32_t nWidth, nHeight, nRowBytes, eInterlace;
    int16_t nAspectX, nAspectY;
    double dblRate;
};

struct NORMALIZE_CASE
{
    const char* pszWhat;
    bool bStrict;
    FIELDS given;
    FIELDS expected;
};

ZF_VID_PROPS RecordOf(const FIELDS& _fields)
{
    const auto& [eVideoFormat, fccType, nWidth, nHeight, nRowBytes, eInterlace, nAspectX, nAspectY, dblRate] = _fields;
    return {eVideoFormat, fccType, nWidth, nHeight, nRowBytes, eInterlace, nAspectX, nAspectY, dblRate, 3, 0x2001};
}

std::string AllFields(const ZF_VID_PROPS& _vidProps)
{
    return ZFormat("%d %08X %dx%d stride %d fields %d aspect %d:%d mode %d rate %.12g GPU %X", _vidProps.eVideoFormat,
                   _vidProps.fccType, _vidProps.nWidth, _vidProps.nHeight, _vidProps.nRowBytes, _vidProps.eInterlace,
                   _vidProps.nAspectX, _vidProps.nAspectY, _vidProps.nAspectMode, _vidProps.dblRate,
                   _vidProps.nGPUFlags);
}

constexpr double c_dblNTSC = 30000.0 / 1001;
constexpr uint32_t c_fcc420 = eZFCC_I420;
constexpr uint32_t c_fcc32 = eZFCC_RGB32;
constexpr uint32_t c_fcc422 = eZFCC_UYVY;

// clang-format off
const NORMALIZE_CASE c_arrCases[] = {
    // sizes and strides
    {"odd lines of fields", false, {0, c_fcc422, 1920, 1081, 0, 1, 0, 0, 0}, {0, c_fcc422, 1920, 1080, 3840, 1, 0, 0, 0}},
    {"odd lines of 4:2:0", false, {0, c_fcc420, 33, 7, 0, 3, 0, 0, 0}, {0, c_fcc420, 32, 6, 32, 3, 0, 0, 0}},
    {"RGB keeps odd sizes and its sign", false, {0, c_fcc32, 33, -7, 0, 3, 4, 0, 0}, {0, c_fcc32, 33, -7, 132, 3, 0, 0, 0}},
    {"an odd negative height", false, {0, c_fcc32, 33, -7, 0, 2, 0, 0, 0}, {0, c_fcc32, 33, -6, 132, 2, 0, 0, 0}},
    {"YUV loses the sign of the height", false, {0, c_fcc422, 1919, -99, 0, 0, 0, 0, 0}, {0, c_fcc422, 1918, 99, 3836, 0, 0, 0, 0}},
    {"no code counts as YUV", false, {0, 0, 5, -4, 0, 0, 0, 0, 0}, {0, 0, 4, 4, 0, 0, 0, 0, 0}},
    {"r210 is top-down", false, {0, eZFCC_r210, 5, 4, 0, 0, 0, 0, 0}, {0, eZFCC_r210, 5, -4, 20, 0, 0, 0, 0}},
    {"r210 stays top-down", false, {0, eZFCC_r210, 5, -4, 0, 0, 0, 0, 0}, {0, eZFCC_r210, 5, -4, 20, 0, 0, 0, 0}},
    {"a longer stride and its sign stay", false, {0, c_fcc32, 10, 4, -64, 0, 0, 0, 0}, {0, c_fcc32, 10, 4, -64, 0, 0, 0, 0}},
    {"a short stride is raised and keeps its sign", false, {0, c_fcc422, 100, 50, -199, 0, 0, 0, 0}, {0, c_fcc422, 100, 50, -200, 0, 0, 0, 0}},
    {"the extremes", false, {0, c_fcc420, INT32_MAX, INT32_MIN, INT32_MIN, 1, 0, 0, 0}, {0, c_fcc420, INT32_MAX - 1, INT32_MAX - 1, -INT32_MAX, 1, 0, 0, 0}},
    {"fields of the format", false, {4, c_fcc422, 720, 577, 0, 0, 0, 0, 0}, {4, c_fcc422, 720, 576, 1440, 1, 4, 3, 25}},
    // a format without a picture
    {"disabled stays as it is", false, {94, c_fcc422, 33, -7, 1, 9, 4, 0, 1}, {94, c_fcc422, 33, -7, 1, 9, 4, 0, 1}},
    // not strict: what is given goes before the format
    {"everything from the format", false, {14, 0, 0, 0, 0, 0, 0, 0, 0}, {14, eZFCC_HDYC, 1920, 1080, 3840, 1, 16, 9, 25}},
    {"RGB from the format is top-down", false, {14, c_fcc32, 0, 0, 0, 0, 0, 0, -9}, {14, c_fcc32, 1920, -1080, 7680, 1, 16, 9, -25}},
    {"one line up", false, {4, c_fcc32, 0, 1, 0, 0, 0, 0, 0}, {4, c_fcc32, 720, 576, 2880, 1, 4, 3, 25}},
    {"one line down heals by a second look", false, {4, c_fcc32, 720, -1, 0, 0, 0, 0, 25}, {4, c_fcc32, 720, -576, 2880, 1, 4, 3, 25}},
    {"own stride, aspect and fields", false, {4, 0, 0, 0, 1500, 2, 16, 9, 0}, {4, c_fcc422, 720, 576, 1500, 2, 16, 9, 25}},
    {"own width, the code of the format", false, {4, 0, 333, 200, 0, 0, 0, 0, 0}, {4, c_fcc422, 332, 200, 668, 1, 4, 3, 25}},
    {"another format's picture", false, {4, 0, 1920, 1080, 0, 3, 16, 9, 50}, {17, c_fcc422, 1920, 1080, 3840, 3, 16, 9, 25}},
    {"no format's picture", false, {14, 0, 400, 300, 0, 0, 0, 0, 25}, {0, eZFCC_HDYC, 400, 300, 800, 1, 16, 9, 25}},
    {"custom, found exactly", false, {0, c_fcc422, 1920, 1080, 0, 0, 0, 0, -25}, {14, c_fcc422, 1920, 1080, 3840, 0, 0, 0, -25}},
    {"custom with blanking is not exact", false, {0, c_fcc422, 1920, 1088, 0, 0, 0, 0, 25}, {0, c_fcc422, 1920, 1088, 3840, 0, 0, 0, 25}},
    {"the low bits name the format", false, {0x104, 0, 0, 0, 0, 0, 0, 0, 0}, {0x104, c_fcc422, 720, 576, 1440, 1, 4, 3, 25}},
    // strict: the format goes before what is given
    {"only height and sign of rate stay", true, {14, c_fcc32, 64, 1100, -9999, 0, 4, 3, -1}, {14, c_fcc32, 1920, 1100, 7680, 1, 16, 9, -25}},
    {"too few lines", true, {4, c_fcc32, 720, 575, 0, 3, 0, 0, 25}, {4, c_fcc32, 720, 576, 2880, 3, 4, 3, 25}},
    {"as many lines as blanking allows", true, {4, c_fcc32, 720, -624, 0, 0, 0, 0, 25}, {4, c_fcc32, 720, -624, 2880, 1, 4, 3, 25}},
    {"too many lines", true, {4, c_fcc32, 720, -626, 0, 0, 0, 0, 25}, {4, c_fcc32, 720, -576, 2880, 1, 4, 3, 25}},
    {"480 lines of NTSC", true, {3, c_fcc32, 720, -480, 0, 0, 0, 0, 0}, {3, c_fcc32, 720, -480, 2880, 2, 16, 9, c_dblNTSC}},
    {"482 lines of NTSC", true, {3, c_fcc32, 720, 482, 0, 0, 0, 0, 0}, {3, c_fcc32, 720, 486, 2880, 2, 16, 9, c_dblNTSC}},
    {"480 lines of PAL", true, {4, c_fcc422, 720, 480, 0, 0, 0, 0, 0}, {4, c_fcc422, 720, 576, 1440, 1, 4, 3, 25}},
    {"no lines", true, {4, c_fcc32, 0, 0, 0, 0, 0, 0, 0}, {4, c_fcc32, 720, -576, 2880, 1, 4, 3, 25}},
    {"code by the lines, HD", true, {0, 0, 100, -626, 0, 7, 0, 0, 0}, {0, eZFCC_HDYC, 100, 626, 200, 3, 0, 0, 0}},
    {"code by the lines, SD", true, {0, 0, 100, 625, 0, 2, 0, 0, 0}, {0, c_fcc422, 100, 624, 200, 2, 0, 0, 0}},
    {"the format is found before fields are set", true, {0, 0, 1920, 1080, 0, 0, 0, 0, 25}, {14, eZFCC_HDYC, 1920, 1080, 3840, 3, 0, 0, 25}},
    {"custom with blanking", true, {0, 0, 1920, 1088, 0, 1, 0, 0, 25}, {14, eZFCC_HDYC, 1920, 1088, 3840, 1, 0, 0, 25}},
    {"no picture, no defaults", true, {0, 0, 0, 1080, 0, 0, 0, 0, 25}, {0, 0, 0, 1080, 0, 0, 0, 0, 25}},
};
// clang-format on

} // namespace

TEST(VideoNormalize, CompletesRecords)
{
    const CLogCatcher log;
    for (const NORMALIZE_CASE& c : c_arrCases)
    {
        SCOPED_TRACE(c.pszWhat);
        ZF_VID_PROPS vidProps = RecordOf(c.given);
        EXPECT_EQ(VidProps_Normalize(&vidProps, c.bStrict), c.expected.eVideoFormat);
        EXPECT_EQ(AllFields(vidProps), AllFields(RecordOf(c.expected)));
    }
    EXPECT_EQ(log.Count("ASSERT \"_pVidProps->nRowBytes"), 1u) << "of the short stride";
}

TEST(VideoNormalize, AFormatWithoutRateAnswersNothing)
{
    for (const int32_t eVideoFormat : {95, -1, 255, 0x100, 0x100 + eZVF_Disabled})
    {
        SCOPED_TRACE(eVideoFormat);
        const FIELDS given = {eVideoFormat, eZFCC_UYVY, 33, -7, 1, 1, 0, 0, 25};
        ZF_VID_PROPS vidProps = RecordOf(given);
        EXPECT_EQ(VidProps_Normalize(&vidProps, false), 0);
        EXPECT_EQ(AllFields(vidProps), AllFields(RecordOf(given)));
    }
}
