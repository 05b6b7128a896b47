#include "Base/ZVideoFormats.h"
#include "Base/ZVideoProps.h"
#include "Support/TestProps.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>
#include <string>

namespace
{

/// "5994p" at the end of an enumerator as frames per second.
double RateOfName(const std::string& _strEnum)
{
    const std::string strRate = _strEnum.substr(_strEnum.rfind('_') + 1);
    const int nNumber = std::stoi(strRate);
    const double dblRate = nNumber < 1000 ? nNumber : std::ceil(nNumber / 100.0) * 1000 / 1001;
    return strRate.back() == 'i' ? dblRate / 2 : dblRate;
}

/// A record of a format to be found.
ZF_VID_PROPS Timed(int32_t _nWidth, int32_t _nHeight, double _dblRate, int32_t _eInterlace = 0, int _nAspectX = 0,
                   int _nAspectY = 0)
{
    ZF_VID_PROPS vidProps = Record(0, _nWidth, _nHeight, 0, _eInterlace, _dblRate);
    vidProps.nAspectX = static_cast<int16_t>(_nAspectX);
    vidProps.nAspectY = static_cast<int16_t>(_nAspectY);
    return vidProps;
}

} // namespace

TEST(VideoFormat, EveryRowIsWhatItsNameSays)
{
    std::set<std::string> setNames;
    for (const VIDEO_FORMAT& row : VidFormat_All())
    {
        SCOPED_TRACE(row.pszEnum);
        EXPECT_EQ(VidFormat_Lookup(row.eVideoFormat), &row);
        EXPECT_EQ(&row - VidFormat_All().data(), row.eVideoFormat);
        EXPECT_TRUE(setNames.insert(row.pszName).second);
        const char chLast = std::string(row.pszEnum).back();
        if (chLast != 'p' && chLast != 'i')
            continue;
        const bool bNTSC = row.eVideoFormat == eZVF_NTSC_2398p;
        EXPECT_DOUBLE_EQ(VidFormat_Rate(row.eVideoFormat), RateOfName(row.pszEnum));
        EXPECT_EQ(row.eInterlace, chLast == 'i' ? eZI_TopFirst : eZI_Progressive);
        EXPECT_NEAR(1.0 * row.nAspectX / row.nAspectY, bNTSC ? 4.0 / 3 : 1.0 * row.nWidth / row.nHeight,
                    std::string(row.pszEnum).rfind("eZVF_2K_2", 0) == 0 ? 1.1 : 0.001); // film is squeezed
    }
    EXPECT_EQ(setNames.size(), 95u);
}

TEST(VideoFormat, SizesAndClassesByFamily)
{
    const struct
    {
        int32_t nLast, nWidth, nHeight, nClass, nExtraLines;
    } c_arrFamilies[] = {
        {0, 0, 0, -1, 0},        {3, 720, 486, 0, 39},   {5, 720, 576, 0, 49},   {8, 1280, 720, 1, 30},
        {24, 1920, 1080, 1, 45}, {39, 2048, 1080, 2, 0}, {42, 2048, 1556, 2, 0}, {50, 3840, 2160, 4, 0},
        {57, 4096, 2160, 4, 0},  {65, 3840, 2160, 8, 0}, {73, 4096, 2160, 8, 0}, {83, 7680, 4320, 16, 0},
        {93, 8192, 4320, 32, 0}, {94, 0, 0, -1, 0},
    };
    int32_t nFamily = 0;
    for (const VIDEO_FORMAT& row : VidFormat_All())
    {
        SCOPED_TRACE(row.pszEnum);
        nFamily += row.eVideoFormat > c_arrFamilies[nFamily].nLast;
        const auto& family = c_arrFamilies[nFamily];
        EXPECT_EQ(VidFormat_Size(row.eVideoFormat).cx, family.nWidth);
        EXPECT_EQ(VidFormat_Size(row.eVideoFormat).cy, family.nHeight);
        EXPECT_EQ(VidFormat_SizeClass(row.eVideoFormat), family.nClass);
        EXPECT_EQ(VidFormat_ExtraLines(row.eVideoFormat), family.nExtraLines);
    }
    EXPECT_EQ(VidFormat_Aspect(eZVF_2K_24p).cx, 239);
}

TEST(VideoFormat, FlagsAboveTheFormat)
{
    const struct
    {
        int32_t nFlags, nWidth, nHeight;
    } c_arrCases[] = {{0, 720, 576},       {0x600, 720, 576},   {0x1000, 720, 576},
                      {0x1200, 1440, 576}, {0x1400, 720, 1152}, {0x1600, 1440, 1152}};
    for (const auto& c : c_arrCases)
    {
        EXPECT_EQ(VidFormat_Size(eZVF_PAL | c.nFlags).cx, c.nWidth) << c.nFlags;
        EXPECT_EQ(VidFormat_Size(eZVF_PAL | c.nFlags).cy, c.nHeight) << c.nFlags;
    }
    EXPECT_EQ(VidFormat_Rate(eZVF_PAL | 0x1600), 25);
    for (const int32_t eNone : {-1, 95, 255, INT32_MIN, INT32_MAX, eZVF_PAL | 0x1600})
        EXPECT_EQ(VidFormat_Lookup(eNone), nullptr) << eNone;
    EXPECT_EQ(VidFormat_Size(0x16FF).cx, 0);
    EXPECT_EQ(VidFormat_Rate(0x80 + eZVF_PAL), 0); // eight bits, not seven
}

TEST(VideoFormat, EveryFormatIsFoundAgain)
{
    // Rates that two formats of one size share: without an interlace the first of the list wins.
    const std::map<int32_t, int32_t> c_mapFirst = {{11, 14}, {12, 15}, {13, 16}, {43, 48}, {44, 49}, {45, 50}};
    for (const VIDEO_FORMAT& row : VidFormat_All())
    {
        SCOPED_TRACE(row.pszEnum);
        ZF_VID_PROPS vidProps = VidProps_FromFormat(row.eVideoFormat, 0, 0);
        const int32_t eExpected = row.nRate ? row.eVideoFormat : 0;
        EXPECT_EQ(VidProps_DetectFormat(&vidProps, true), eExpected);
        vidProps.dblRate = -std::round(vidProps.dblRate * 100) / 100; // "23.98", and played backwards
        EXPECT_EQ(VidProps_DetectFormat(&vidProps, true), eExpected);
        vidProps.eInterlace = 0;
        const auto it = c_mapFirst.find(row.eVideoFormat);
        EXPECT_EQ(VidProps_DetectFormat(&vidProps, true), it == c_mapFirst.end() ? eExpected : it->second);
    }
}

TEST(VideoFormat, DetectionAtTheEdges)
{
    const struct
    {
        ZF_VID_PROPS vidProps;
        int32_t eLoose, eExact;
    } c_arrCases[] = {
        {Timed(1920, 1080, 25), eZVF_HD1080_50i, eZVF_HD1080_50i},
        {Timed(1920, -1080, 25, 2), 0, 0},
        {Timed(1920, 1080, 25.009), eZVF_HD1080_50i, eZVF_HD1080_50i},
        {Timed(1920, 1080, 24.989), 0, 0},
        {Timed(1920, 1088, 29.97, 3), eZVF_HD1080_2997p, 0},
        {Timed(1920, 1125, 25), eZVF_HD1080_50i, 0},
        {Timed(1920, 1126, 25), 0, 0},
        {Timed(1920, 1079, 25), 0, 0},
        {Timed(3840, 2161, 25), 0, 0},
        {Timed(1280, 751, 50), 0, 0},
        {Timed(2048, 1556, 30), 0, 0},
        {Timed(720, 576, 25, 3), 0, 0},
        {Timed(720, 615, 25), eZVF_PAL, 0}, // 39 extra lines, as NTSC has
        {Timed(720, 616, 25), 0, 0},
        {Timed(720, 486, 29.97), eZVF_NTSC_16x9, eZVF_NTSC_16x9}, // 720 / 486 is wide
        {Timed(720, 526, 29.97), 0, 0},
        {Timed(720, 480, 23.976, 3, 16, 9), eZVF_NTSC_2398p, eZVF_NTSC_2398p},
        {Timed(720, 480, 29.97, 1), 0, 0},
        {Timed(720, 479, 29.97), 0, 0},
        {Timed(721, 576, 25), 0, 0},
        {Timed(1920, INT32_MIN, 25), 0, 0},
        {Timed(1920, 1080, std::nan("")), 0, 0},
    };
    for (const auto& c : c_arrCases)
    {
        SCOPED_TRACE(testing::Message() << c.vidProps.nWidth << "x" << c.vidProps.nHeight << "@" << c.vidProps.dblRate
                                        << " interlace " << c.vidProps.eInterlace);
        EXPECT_EQ(VidProps_DetectFormat(&c.vidProps, false), c.eLoose);
        EXPECT_EQ(VidProps_DetectFormat(&c.vidProps, true), c.eExact);
    }
}
