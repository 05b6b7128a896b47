#include "Helpers/CKDetect.h"
#include "Support/GuardedPlane.h"
#include "Support/LogCatcher.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

using namespace CKUtils;

namespace
{

constexpr uint32_t c_fccHLS = eZFCC_None;

struct COLOR
{
    int nR;
    int nG;
    int nB;
};
constexpr COLOR c_rgbGreen = {50, 160, 60};
constexpr COLOR c_rgbBlue = {50, 60, 180};
constexpr COLOR c_rgbRed = {200, 20, 20};

/// A working picture between fences, with pixels that a function of column and row (from the top left) gives.
struct PICTURE : CGuardedPlane
{
    PICTURE(uint32_t _fccType, int _nWidth, int _nHeight, const std::function<COLOR(int, int)>& _fnPixel,
            ptrdiff_t _nStride = 0)
        : CGuardedPlane(size_t{4} * _nWidth, std::abs(_nHeight), _nStride)
    {
        props.fccType = _fccType;
        props.nWidth = _nWidth;
        props.nHeight = _nHeight;
        props.nRowBytes = static_cast<int32_t>(_nStride);
        const bool bBottomUp = (_fccType == eZFCC_RGB32 || _fccType == eZFCC_ARGB32) && _nHeight > 0 && _nStride >= 0;
        for (int y = 0; y < Rows(); ++y)
            for (int x = 0; x < _nWidth; ++x)
            {
                const COLOR rgb = _fnPixel(x, bBottomUp ? Rows() - 1 - y : y);
                uint8_t* const pb = Row(y) + ptrdiff_t{4} * x;
                pb[0] = static_cast<uint8_t>(rgb.nB);
                pb[1] = static_cast<uint8_t>(rgb.nG);
                pb[2] = static_cast<uint8_t>(rgb.nR);
                pb[3] = 255;
                if (_fccType == c_fccHLS)
                    Img_RowToHLS(pb, pb, 1);
                else if (_fccType != eZFCC_RGB32 && _fccType != eZFCC_ARGB32)
                    Img_RowToYUV(pb, pb, 1, eZYM_601);
            }
    }
    bool Detect(CKeyCalc* _pCalc, const CK_DETECT_OPTIONS& _options, std::vector<CK_BLOCK>* _pBlocks = nullptr)
    {
        return DetectKeys(_pCalc, Row(0), &props, _options, eZYM_601, _pBlocks);
    }
    std::vector<uint8_t> Bytes()
    {
        return {Low(), Low() + Span()};
    }
    ZF_VID_PROPS props = {};
};

std::function<COLOR(int, int)> Flat(COLOR _rgb)
{
    return [_rgb](int, int) { return _rgb; };
}

/// The channels of the calculator that a colour has in a kind of picture.
std::vector<double> Channels(uint32_t _fccType, COLOR _rgb)
{
    PICTURE picture(_fccType, 1, 1, Flat(_rgb));
    const uint8_t* const pb = picture.Row(0);
    return {pb[2] / 255.0, pb[1] / 255.0, pb[0] / 255.0};
}

CK_DETECT_OPTIONS Options(int _nMaxKeys, int _nBlocks = 8)
{
    CK_DETECT_OPTIONS options;
    options.nMaxKeys = _nMaxKeys;
    options.nBlocks = _nBlocks;
    return options;
}

} // namespace

TEST(Detect, ExaminesTheGridInsideTheBorders)
{
    struct CASE
    {
        int nBlocks;
        double dblBorders;
        int nFirst; // block index; -1: nothing is examined
        int nLast;
    };
    const CASE arrCases[] = {
        {48, 0.1, 5, 42},        {45, 0.1, 5, 39},
        {10, 0.0, 0, 9},         {10, -3.0, 0, 9},
        {9, 0.499, 4, 4},        {10, 0.5, -1, 0},
        {10, 1e300, -1, 0},      {10, std::numeric_limits<double>::quiet_NaN(), 0, 9},
        {1, 0.1, 0, 0},          {0, 0.1, -1, 0},
        {-4, 0.1, -1, 0},        {50, 0.0, 0, 49},
        {51, 0.0, -1, 0},        {INT32_MAX, 0, -1, 0},
        {INT32_MIN, 0.1, -1, 0},
    };
    for (const CASE& test : arrCases)
    {
        SCOPED_TRACE(test.nBlocks);
        PICTURE picture(eZFCC_UYVY, 101, 50, Flat(c_rgbGreen)); // the last column and rows belong to no block
        CK_DETECT_OPTIONS options = Options(16, test.nBlocks);
        options.dblBorders = test.dblBorders;
        CKeyCalc calc;
        std::vector<CK_BLOCK> vecBlocks(3);
        EXPECT_EQ(picture.Detect(&calc, options, &vecBlocks), test.nFirst < 0);
        if (test.nFirst < 0)
        {
            EXPECT_TRUE(vecBlocks.empty());
            continue;
        }
        const int nWidth = 101 / test.nBlocks;
        const int nHeight = 50 / test.nBlocks;
        const int nSide = test.nLast - test.nFirst + 1;
        ASSERT_EQ(vecBlocks.size(), static_cast<size_t>(nSide * nSide));
        for (int n = 0; n < nSide * nSide; ++n) // row by row
        {
            const CK_BLOCK& block = vecBlocks[static_cast<size_t>(n)];
            EXPECT_EQ(block.nX, (test.nFirst + n % nSide) * nWidth) << n;
            EXPECT_EQ(block.nY, (test.nFirst + n / nSide) * nHeight) << n;
            EXPECT_TRUE(block.nWidth == nWidth && block.nHeight == nHeight);
        }
    }
}

TEST(Detect, TakesTheFirstBlockFromTheTopAndPullsTowardThePureColour)
{
    struct CASE
    {
        uint32_t fccType;
        int nHeight;
        ptrdiff_t nStride;
    };
    const CASE arrCases[] = {{eZFCC_RGB32, 40, 0},    {eZFCC_RGB32, -40, 0},    {eZFCC_ARGB32, 40, 180},
                             {eZFCC_RGB32, 40, -180}, {eZFCC_RGB32, -40, -180}, {eZFCC_UYVY, 40, 164},
                             {eZFCC_UYVY, -40, 0},    {c_fccHLS, 40, 0}};
    for (const CASE& test : arrCases)
        for (const bool bBlue : {false, true})
        {
            SCOPED_TRACE(testing::Message()
                         << test.fccType << " height " << test.nHeight << " stride " << test.nStride);
            const auto fnPixel = [&](int, int _nY) { return (_nY < 20) == bBlue ? c_rgbBlue : c_rgbGreen; };
            PICTURE picture(test.fccType, 40, test.nHeight, fnPixel, test.nStride);
            CKeyCalc calc;
            CK_DETECT_OPTIONS options = Options(1, 4);
            options.bShowBlocks = true;
            ASSERT_FALSE(picture.Detect(&calc, options));
            const std::vector<double> vecFrom = Channels(test.fccType, bBlue ? c_rgbBlue : c_rgbGreen);
            const std::vector<double> vecPure = Channels(test.fccType, bBlue ? COLOR{0, 0, 180} : COLOR{0, 128, 0});
            const double dblPull = test.fccType == eZFCC_UYVY ? 0.8 : 0.0;
            for (size_t i = 0; i < 3; ++i)
                EXPECT_NEAR(calc.arrKeys[0].dValue[i], (1 - dblPull) * vecFrom[i] + dblPull * vecPure[i], 1e-9) << i;
            EXPECT_TRUE(picture.Intact());
        }
}

TEST(Detect, FindsNothingWhereNothingIs)
{
    CKeyCalc calc;
    calc.SetKey({{0.5, 0.5, 0.5, 1}, {0.1, 0.1, 0.1, 0.1}, 3}, 0);
    calc.bChanged = false;
    EXPECT_TRUE(PICTURE(eZFCC_UYVY, 80, 60, Flat(c_rgbRed)).Detect(&calc, Options(16))) << "old keys do not count";
    // Every block is refused: no growth is small enough.
    CK_DETECT_OPTIONS options = Options(16);
    options.dblKeyDiff = 1e-9;
    std::vector<CK_BLOCK> vecBlocks;
    EXPECT_TRUE(PICTURE(eZFCC_UYVY, 80, 60, Flat(c_rgbGreen)).Detect(&calc, options, &vecBlocks));
    EXPECT_EQ(vecBlocks.at(0).eVerdict, eCKB_Refused);
    EXPECT_FALSE(calc.bChanged) << "and then nothing is pulled";
    EXPECT_EQ(calc.nKeys, 1);
    // A covered block counts as found, and the pull moves every key.
    calc.SetKey({{0.3, 0.3, 0.5, 1}, {0.3, 0.3, 0.3, 0.1}, 0}, 0);
    options.dblSimilarity = 1;
    EXPECT_FALSE(PICTURE(eZFCC_UYVY, 80, 60, Flat(c_rgbGreen)).Detect(&calc, options));
    EXPECT_EQ(calc.nKeys, 2);
    EXPECT_EQ(calc.arrKeys[0].dValue[2], calc.arrKeys[1].dValue[2]);
}

TEST(Detect, MarksBlocksOnlyWhenAsked)
{
    // From the left: green, red, blue (refused: other class counts as not in class), and a border of one block.
    const auto fnPixel = [](int _nX, int) { return _nX < 20 ? c_rgbGreen : _nX < 30 ? c_rgbRed : COLOR{60, 200, 60}; };
    for (const uint32_t fccType : {uint32_t{eZFCC_ARGB32}, uint32_t{eZFCC_UYVY}, c_fccHLS})
    {
        PICTURE picture(fccType, 40, 40, fnPixel);
        const std::vector<uint8_t> vecBefore = picture.Bytes();
        CK_DETECT_OPTIONS options = Options(16, 4);
        options.dblBorders = 0;
        options.dblKeyDiff = 1e-4; // refuses the third colour
        CKeyCalc calc;
        ASSERT_FALSE(picture.Detect(&calc, options));
        EXPECT_EQ(picture.Bytes(), vecBefore);
        options.bShowBlocks = true;
        std::vector<CK_BLOCK> vecBlocks;
        CKeyCalc calcMarked;
        ASSERT_FALSE(picture.Detect(&calcMarked, options, &vecBlocks));
        EXPECT_EQ(calcMarked.arrKeys[0].dValue[0], calc.arrKeys[0].dValue[0]) << "marks do not disturb the search";
        EXPECT_EQ(vecBlocks.at(0).eVerdict, eCKB_Accepted);
        EXPECT_EQ(vecBlocks.at(2).eVerdict, eCKB_NotFlat);
        EXPECT_EQ(vecBlocks.at(3).eVerdict, eCKB_Refused);
        const size_t nByte = fccType == c_fccHLS ? 1 : 0; // brightness, or a part of it
        const auto Step = [&](size_t _nX) {
            const size_t nTop = fccType == eZFCC_ARGB32 ? (size_t{39} * 40 + _nX) * 4 : _nX * 4;
            return picture.Low()[nTop + nByte] - vecBefore[nTop + nByte];
        };
        EXPECT_EQ(Step(0), 64);
        EXPECT_EQ(Step(29), fccType == eZFCC_ARGB32 ? -20 : -32) << "saturates at 0";
        EXPECT_EQ(Step(39), fccType == eZFCC_ARGB32 ? -60 : -64);
        EXPECT_EQ(picture.Low()[3], 255) << "alpha stays";
        EXPECT_TRUE(picture.Intact());
    }
}

TEST(Detect, BadPicturesAreRefused)
{
    CLogCatcher log;
    PICTURE picture(eZFCC_UYVY, 40, 40, Flat(c_rgbGreen));
    CKeyCalc calc;
    const CK_DETECT_OPTIONS options = Options(1);
    EXPECT_TRUE(DetectKeys(nullptr, picture.Row(0), &picture.props, options, eZYM_601));
    EXPECT_TRUE(DetectKeys(&calc, nullptr, &picture.props, options, eZYM_601));
    EXPECT_TRUE(DetectKeys(&calc, picture.Row(0), nullptr, options, eZYM_601));
    EXPECT_EQ(log.Count("_pKey && _pbInput && _pInputProps"), 3u);
    const int32_t arrBad[][3] = {{0, 40, 0},    {-40, 40, 0},   {40, 0, 0},
                                 {40, 40, 156}, {40, 40, -156}, {40, INT32_MIN, 0}};
    for (const auto& arrCase : arrBad)
    {
        ZF_VID_PROPS props = picture.props;
        props.nWidth = arrCase[0];
        props.nHeight = arrCase[1];
        props.nRowBytes = arrCase[2];
        EXPECT_TRUE(DetectKeys(&calc, picture.Row(0), &props, options, eZYM_601));
    }
    EXPECT_EQ(log.Count("no picture", eZLog_Error), std::size(arrBad));
}

TEST(DetectOptions, LongNamesGoBeforeShortOnes)
{
    CK_DETECT_OPTIONS options;
    ASSERT_EQ(DetectOptions_Read("", &options), S_OK);
    EXPECT_EQ(options.nMaxKeys, 0);
    EXPECT_EQ(options.nBlocks, 48);
    ASSERT_EQ(DetectOptions_Read("blocks=7 detect.blocks=32 detect.blocks=33 blocks=8 max_keys=4 "
                                 "detect.threshold=-3 key_diff=0.25 detect.similarity=1 borders=0 show_blocks=yes "
                                 "type=HLS",
                                 &options),
              S_OK);
    EXPECT_TRUE(options.nBlocks == 33 && options.nMaxKeys == 4 && options.nThreshold == -3);
    EXPECT_TRUE(options.dblKeyDiff == 0.25 && options.dblSimilarity == 1 && options.dblBorders == 0);
    EXPECT_TRUE(options.bShowBlocks && options.eType == eCKT_HLS);
    ASSERT_EQ(DetectOptions_Read("detect.type=auto", &options), S_OK);
    EXPECT_EQ(options.eType, eCKT_Auto);
    EXPECT_EQ(options.nBlocks, 33) << "what is not named stays";
}

TEST(DetectOptions, BadValuesAreNamed)
{
    const char* const arrBad[][2] = {
        {"blocks=3 type=cmyk", "\"type\" is \"cmyk\""},
        {"detect.type=1", "rgb, hls, yuv or auto"},
        {"detect.blocks=many blocks=3", "detect.blocks"},
        {"max_keys=99999999999", "a whole number"},
        {"similarity=1.5", "from 0 to 1"},
        {"borders=nan", "a number"},
        {"show_blocks=maybe", "true or false"},
        {"blocks=3 rest", "at "},
        {"blocks=3 detect.Blocks=9", "no detection option \"detect.Blocks\"; there are type, max_keys, blocks"},
    };
    for (const auto& arrCase : arrBad)
    {
        CLogCatcher log;
        CK_DETECT_OPTIONS options;
        EXPECT_EQ(DetectOptions_Read(arrCase[0], &options), E_INVALIDARG) << arrCase[0];
        EXPECT_EQ(options.nBlocks, 48) << "nothing is changed";
        EXPECT_EQ(log.Count(arrCase[1], eZLog_Error), 1u) << arrCase[0];
    }
}
