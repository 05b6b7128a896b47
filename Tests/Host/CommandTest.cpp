#include "Host/CommandRunner.h"

#include "Base/ZHelpers.h"
#include "Kit/Tables.h"
#include "Sample/KeyScene.h"
#include "zkhost/Files/PictureFile.h"

#include <algorithm>

namespace
{

size_t Lines(const std::string& _strText)
{
    return static_cast<size_t>(std::count(_strText.begin(), _strText.end(), '\n'));
}

TEST_F(CCommandTest, FormatsPrintsEveryRow)
{
    ASSERT_EQ(Run("formats"), 0) << m_strError;
    const size_t nSecond = m_strOut.find("index\tname\tenum");
    ASSERT_NE(nSecond, std::string::npos);
    EXPECT_EQ(Lines(m_strOut.substr(0, nSecond)), FCC_All().size() + 2) << "a header, the rows, an empty line";
    EXPECT_EQ(Lines(m_strOut.substr(nSecond)), VidFormat_All().size() + 1);
    ExpectOut({"\nNV12\t0x3231564E\t16\tno\tyes\tyes\t1x2\t1x1\tyes\tno\n",
               "\nARGB64\t0x01343641\t64\tyes\tno\tyes\t1x1\t1x1\tyes\tyes\n",
               "\nRGBA32\t0x01323352\t32\tyes\tno\tyes\t1x1\t1x1\tyes\tyes\n",
               "\nP010\t0x30313050\t24\tno\tyes\tyes\t1x2\t1x1\tyes\tyes\n",
               "\n4\tPAL\teZVF_PAL\t25\t1\t1\t720\t576\t4\t3\t0\t49\n", "\n94\tDisabled\t"});
}

TEST_F(CCommandTest, DescribePrintsRecords)
{
    ASSERT_EQ(Run("describe --props \"1920x1080@25 UYVY iT\""), 0) << m_strError;
    ExpectOut({"row_size\t3840\n", "image_size\t4147200\n", "plane_0\toffset=0 size=1920x1080 stride=3840\n",
               "mask\teVideoFormat=14 fccType=0xE436EB7A nWidth=1920 nHeight=-1080 nRowBytes=1920 ",
               "normalized\teVideoFormat=14 ", "text\t1920(3840)x1080(UYVY)@25.000iT\n"});
    ASSERT_EQ(Run("describe --props \"format=PAL-16x9 v210\""), 0);
    ExpectOut({"row_size\t1920\n", "text\t720(1920)x576(v210)@25.000iT (16:9)\n"});
    for (const char* pszBad :
         {"", "  ", "@nan", "1920x1080@inf UYVY", "1920x1080@1e9 UYVY", "UYVY", "1x1 UYVY", "1920by1080"})
    {
        EXPECT_EQ(Run("describe --props " + Quoted(pszBad)), 2) << pszBad;
        ExpectLastLine("--props");
    }
    ExpectLastLine("1920by1080");
}

TEST_F(CCommandTest, MistakesInTheCommandLineEndWithTwo)
{
    m_folder.Write("a.y4m", "YUV4MPEG2 W16 H16\nFRAME\n" + std::string(16 * 16 * 3 / 2, 'x'));
    const std::string strIn = File("a.y4m");
    const std::string strOut = " -o " + File("o.png");
    const CASES vecCases = {
        {"", "--help"},
        {"nosuch", "no command \"nosuch\"; there are key, "},
        {"key " + strIn + " -o --auto", "a file name is missing before --auto"},
        {"key " + strIn + " --auto -o " + File("no/../a.y4m"), "is what this command reads"},
        {"key", "zkhost key --help"},
        {"key " + strIn + " --auto -o " + File("o.avi"), "unknown kind of output"},
        {"key " + File("a.raw") + strOut + " --auto", "--in"},
        {"key " + strIn + strOut + " --auto --in UYVY:16x16", "--in"},
        {"key " + strIn + strOut + " --pick 16,0", "16 x 16"},
        {"key " + strIn + strOut + " --rect 1,2,3", "X1,Y1,X2,Y2"},
        {"key " + strIn + strOut + " --auto --type cmyk", "--type"},
        {"key " + strIn + strOut + " --auto --set keying", "NAME=VALUE"},
        {"key " + strIn + strOut + " --auto --set gpumode=0", "gpu_mode"},
        {"key " + strIn + strOut + " --auto --set process.threads=many", "process.threads=many"},
        {"key " + strIn + strOut + " --auto --adjust smooth=999", "-255 to 255"},
        {"key " + strIn + strOut + " --auto --mask " + File("o.png"), "outputs of this command are one"},
        {"key " + strIn + " -o " + File("o_%d.png") + " --pick 1,1 --mask " + File("o_%01d.png"), "are one"},
        {"key " + strIn + " -o - --auto --save-keys -", "are one"},
        {"sample -o " + File("s_%d.png") + " --truth " + File("s_%02d.png") + " --size 16x16 --frames 11", "s_10.png"},
        {"sheet " + strIn + " -o " + File("s.png") + " --save-keys " + File("./s.png"), "are one"},
        {"key " + strIn + strOut + " --auto --set detect.blcks=3", "detect.blocks"},
        {"key " + strIn + strOut + " --auto --set detect.blocks=abc", "detect.blocks=abc: the value has to be a whole"},
        {"key " + strIn + strOut + " --pick 1,1 --set detect.blocks=3", "--auto"},
        {"key " + strIn + strOut + " --rect 10,10,10,12", "empty rectangle"},
        {"key " + strIn + strOut + " --auto --adjust type=2.5", "type has to be a whole number"},
        {"key " + strIn + strOut + " --auto --frames 0", "\"0\" has to be a whole number from 1 on"},
        {"sample -o " + File("s.y4m") + " --size 99999x99999", "too large"},
        {"bench --keyer 1 --size 32x32", "64 pixels"},
        {"bench --keys 17", "1 to 16"},
        {"bench --format RGB8", "grey"},
        {"sample -o " + File("s.y4m") + " --format UYVY", "I420"},
        {"sample -o " + File("s.png") + " --scene hairs", "--scene list"},
        {"sample", "-o is needed"},
        {"sheet " + strIn + " --auto -o " + File("s.jpg"), "*.png"},
    };
    ExpectFailures(2, vecCases);
    EXPECT_EQ(Run("--help"), 0);
    for (const char* pszCommand :
         {"key", "ui", "detect", "sheet", "sample", "bench", "formats", "options", "describe", "info"})
    {
        EXPECT_EQ(Run(std::string(pszCommand) + " --help"), 0) << pszCommand;
        ExpectOut({"Examples:"});
    }
}

TEST_F(CCommandTest, FailedJobsEndWithOneAndLeaveNothing)
{
    m_folder.Write("cut.y4m", "YUV4MPEG2 W16 H16\nFRAME\n" + std::string(16 * 16 * 3 / 2, 'x') + "FRAME\nabc");
    m_folder.Write("bad.png", "no picture");                           // says what to do, too
    m_folder.Write("odd.y4m", "YUV4MPEG2 \x1b]0;title\x07\xC2\x9B\n"); // no command to a terminal
    const CASES vecCases = {
        {"key " + File("cut.y4m") + " --keyer 1 --pick 1,1 -o " + File("o.y4m"),
         "frame 2 is cut off: 3 of its 384 bytes"},
        {"key " + File("cut.y4m") + " --keyer 1 --pick 1,1 --mask " + File("m_%d.png") + " -o " + File("o_%d.png"),
         "cut off"},
        {"key " + File("none.y4m") + " --auto -o " + File("o.png"), "none.y4m"},
        {"key " + File("bad.png") + " --auto -o " + File("o.png"), "save it as one of these"},
        {"key " + File("cut.y4m") + " --keys " + File("none.xml") + " -o " + File("o.png"), "none.xml"},
        {"key " + File("odd.y4m") + " --auto -o " + File("a.raw"), "is wrong at \"?]0;title?\xC2?\""},
        {"sample -o " + File("no/folder.y4m"), "folder exists"},
        {"sample --size 16x16 --frames 2 --truth " + File("new") + " -o " + File("one.png"), "%05d"},
        {"key " + File("cut.y4m") + " --frames 1 --keyer 1 --pick 1,1 -o " + File("o.y4m") + " --save-keys " +
             File("no/k.xml"),
         "folder exists"},
    };
    ExpectFailures(1, vecCases);
    if (Tables_Read(CZModule::Own(), eZTable_Adapters).empty())
    {
        EXPECT_EQ(Run("bench --gpu"), 1);
        ExpectLastLine("no GPU path");
    }
}

TEST_F(CCommandTest, SamplesCanBeKeyedThroughAPipe)
{
    const std::string strSample = Quoted(ZKHOST_PATH) + " sample --size 160x90 --frames 3 -o - --quiet";
    const std::string strKey = Quoted(ZKHOST_PATH) + " key - --rect 4,4,40,12 --adjust smooth=20 --quiet -o ";
    ASSERT_EQ(Shell(strSample + " | " + strKey + File("k_%05d.png") + " --mask " + File("m.y4m")), 0) << m_strError;
    EXPECT_EQ(m_strError, "");
    EXPECT_EQ(m_folder.Files(), 4u);
    const PICTURE picture = PictureFile_Read(m_folder.Path("k_00002.png"));
    ASSERT_EQ(picture.nWidth * 1000 + picture.nHeight, 160090);
    EXPECT_TRUE(picture.bAlpha);
    EXPECT_LT(picture.Row(8)[4 * 20 + 3], 40) << "the backdrop is gone";
    EXPECT_EQ(picture.Row(30)[4 * 80 + 3], 255) << "the face stays";
    EXPECT_EQ(m_folder.Read("m.y4m").size(), m_folder.Read("m.y4m").find('\n') + 1 + 3 * (6 + 160 * 90))
        << "three mono frames";
}

TEST_F(CCommandTest, HardScenesAreListedAndPaintedWithTheirTruth)
{
    ASSERT_EQ(Run("sample --scene list"), 0) << m_strError;
    ExpectOut({"veil\t", "lamps\t"});
    const std::string strSample = "sample --scene veil --size 160x90 --frames 2 -q -o ";
    ASSERT_EQ(Run(strSample + File("v_%d.png") + " --truth " + File("t_%d.png")), 0) << m_strError;
    ASSERT_EQ(Run(strSample + File("v.raw") + " --format UYVY --truth " + File("t.raw")), 0) << m_strError;
    EXPECT_EQ(m_folder.Read("v.raw").size(), 160u * 90 * 2 * 2);
    const PICTURE picture = PictureFile_Read(m_folder.Path("v_0.png"));
    const PICTURE truth = PictureFile_Read(m_folder.Path("t_0.png"));
    EXPECT_FALSE(picture.bAlpha);
    ASSERT_TRUE(truth.bAlpha);
    EXPECT_EQ(m_folder.Read("t.raw").size(), 2 * truth.vecPixels.size());
    EXPECT_EQ(truth.Row(4)[4 * 4 + 3], 0) << "backdrop";
    EXPECT_EQ(truth.Row(30)[4 * 80 + 3], 255) << "face";
    EXPECT_NEAR(truth.Row(50)[4 * 60 + 3], 128, 100) << "veil";
}

TEST_F(CCommandTest, KeysAreFoundSavedAndUsedAgain)
{
    const std::string strSample = "sample --size 160x90 --frames 2 -q --format UYVY -o ";
    ASSERT_EQ(Run(strSample + File("c.raw") + " --truth " + File("truth.raw")), 0) << m_strError;
    ASSERT_EQ(Run(strSample + File("same.raw")) + Run(strSample + File("other.raw") + " --seed 2"), 0) << m_strError;
    const std::string strClip = m_folder.Read("c.raw");
    EXPECT_TRUE(strClip == m_folder.Read("same.raw") && strClip != m_folder.Read("other.raw"));
    const std::string strTruth = m_folder.Read("truth.raw");
    EXPECT_NE(strTruth.substr(0, 160 * 90), strTruth.substr(160 * 90)) << "the figure moves";
    const std::string strIn = File("c.raw") + " --in UYVY:160x90@25";
    ASSERT_EQ(Run("key " + strIn + " --auto --save-keys " + File("used.xml") + " -o " + File("a.raw")), 0)
        << m_strError;
    ExpectLastLine("keyed 2 frames in");
    ASSERT_EQ(Run("key " + strIn + " --keys " + File("used.xml") + " -o " + File("b.raw")), 0) << m_strError;
    EXPECT_EQ(m_folder.Read("a.raw").size(), 160u * 90 * 4 * 2);
    EXPECT_EQ(m_folder.Read("a.raw"), m_folder.Read("b.raw"));
    ASSERT_EQ(Run("sheet " + strIn + " --keys " + File("used.xml") + " -o " + File("s.png")), 0) << m_strError;
    EXPECT_GT(PictureFile_Read(m_folder.Path("s.png")).nWidth, 2 * 160);
    ASSERT_EQ(Run("key " + strIn + " --auto --background \"#102030\" -o " + File("c_%d.png")), 0) << m_strError;
    const PICTURE opaque = PictureFile_Read(m_folder.Path("c_1.png"));
    EXPECT_FALSE(opaque.bAlpha);
    EXPECT_NEAR(opaque.Row(8)[4 * 20], 0x30, 24);
}

/// What this program needs of the plug-in is not what the person gets to keep.
TEST_F(CCommandTest, SavedKeysKeepTheOptionsOfTheirFile)
{
    ASSERT_EQ(Run("sample --size 160x90 --frames 1 -q -o " + File("c.y4m")), 0) << m_strError;
    ASSERT_EQ(Run("detect --keyer 1 -q -o " + File("found.xml") + " " + File("c.y4m")), 0) << m_strError;
    const std::string strFound = m_folder.Read("found.xml");
    const size_t nOptions = strFound.find("<options/>");
    ASSERT_NE(nOptions, std::string::npos) << strFound;
    const std::string strKey = "key " + File("c.y4m") + " -q -o " + File("o.raw") + " --keys " + File("k.xml");
    std::string strPixels;
    for (const char* pszOption :
         {"", "<option name=\"output.argb\" value=\"false\"/>", "<option name=\"output.argb\" value=\"true\"/>"})
    {
        std::string strKeys = strFound;
        m_folder.Write("k.xml", strKeys.replace(nOptions, 10, std::string("<options>") + pszOption + "</options>"));
        ASSERT_EQ(Run(strKey + " --save-keys " + File("k2.xml")), 0) << m_strError;
        const std::string strSaved = m_folder.Read("k2.xml");
        EXPECT_EQ(strSaved.find("output.argb") != std::string::npos, *pszOption != 0) << strSaved;
        EXPECT_NE(strSaved.find(pszOption), std::string::npos) << strSaved;
        strPixels = strPixels.empty() ? m_folder.Read("o.raw") : strPixels;
        EXPECT_EQ(m_folder.Read("o.raw"), strPixels) << "every result has its alpha in the frame: " << pszOption;
    }
}

TEST_F(CCommandTest, TheSummaryIsTheLastLine)
{
    ASSERT_EQ(Run("sample --size 160x90 --frames 2 -o " + File("new folder")), 0) << m_strError;
    ExpectLastLine("painted 2 frames");
    EXPECT_TRUE(std::filesystem::exists(m_folder.Path("new folder/frame_00001.png")));
    const std::string strIn = File("new folder/frame_%05d.png");
    ASSERT_EQ(Run("sheet -v -o " + File("s.png") + " " + strIn), 0) << "keys are looked for: " << m_strError;
    EXPECT_GT(Lines(m_strError), 1u) << "the log comes before it";
    ExpectLastLine("keyed 1 frame");
    ASSERT_EQ(Run("detect -v " + strIn), 0) << m_strError;
    ExpectLastLine("found ");
}

TEST_F(CCommandTest, BenchMeasuresRightMasks)
{
    ASSERT_EQ(Run("bench --size 320x64 --keys 3 --threads 2 --format NV12"), 0) << m_strError;
    ExpectOut({"size\t320x64\n", "format\tNV12\n", "keyer\t1\n", "keys\t3\n", "type\tyuv\n", "threads\t2\n",
               "SIMD in use\t", "mask\tright\n", "\nns/pixel\t", "\nstreaming ns/pixel\t"});
    const auto fnValue = [&](const std::string& _strName) {
        return std::stod(m_strOut.substr(m_strOut.find("\n" + _strName + "\t") + _strName.size() + 2));
    };
    EXPECT_NEAR(fnValue("frames/s") * fnValue("ns/pixel") * 320 * 64, 1e9, 2e7);
    EXPECT_NEAR(fnValue("ns/pixel") / fnValue("streaming ns/pixel") / fnValue("ratio"), 1, 0.05);
    PICTURE mask;
    mask.Resize(320, 64, 1);
    for (int y = 0; y < 64; ++y)
        std::fill_n(mask.Row(y) + 160, 160, uint8_t{255});
    KeyScene_Check(mask, 3);
    for (const auto& [nX, nValue] : {std::pair(300, 254), {20, 1}})
    {
        PICTURE wrong = mask;
        wrong.Row(63)[nX] = static_cast<uint8_t>(nValue);
        EXPECT_NE(Host_FailureOf([&] { KeyScene_Check(wrong, 3); }).find("mask is wrong at"), std::string::npos);
    }
}

#if !defined(_WIN32)
TEST_F(CCommandTest, AnInterruptLeavesNothing)
{
    const std::string strJob = " sample --frames 1000000 --size 64x64 -q -o " + File("x_%d.png");
    EXPECT_EQ(Shell("timeout --preserve-status -s INT 0.7 " + Quoted(ZKHOST_PATH) + strJob), 1) << m_strError;
    ExpectLastLine("interrupted");
    EXPECT_EQ(m_folder.Files(), 0u);
    const std::string strStream = " sample --frames 1000000 --size 64x64 -q --truth " + File("t.y4m") + " -o -";
    EXPECT_EQ(Shell("timeout --preserve-status -s INT 0.5 " + Quoted(ZKHOST_PATH) + strStream), 1) << m_strError;
    ExpectLastLine("standard output got so far is incomplete");
    EXPECT_EQ(m_folder.Files(), 0u);
}

TEST_F(CCommandTest, AFullStandardOutputIsAFailure)
{
    if (!std::filesystem::exists("/dev/full"))
        GTEST_SKIP() << "this system has no device that is always full";
    ASSERT_EQ(Run("sample --size 160x90 --frames 1 -q -o " + File("c.y4m")), 0) << m_strError;
    for (const std::string& strArgs :
         {std::string("formats"), std::string("info"), std::string("--help"),
          std::string("describe --props \"4x4 UYVY\""), "detect " + File("c.y4m"), "key --auto -o - " + File("c.y4m")})
    {
        EXPECT_EQ(Shell("( " + Quoted(ZKHOST_PATH) + " " + strArgs + " > /dev/full )"), 1) << strArgs;
        ExpectLastLine("cannot write standard output");
    }
}
#endif

} // namespace
