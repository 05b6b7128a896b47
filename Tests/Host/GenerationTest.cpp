#include "Host/CommandRunner.h"

#include "zkhost/Files/PictureFile.h"

#include <thread>

// What the command line says about the generations of the keyer, and what the second one takes.

namespace
{

class CGenerationTest : public CCommandTest
{
protected:
    static constexpr int c_nWidth = 160;
    static constexpr int c_nHeight = 90;

    void SetUp() override
    {
        ASSERT_EQ(Run("sample --size 160x90 --frames 2 -q -o " + File("c.y4m")), 0) << m_strError;
    }
    /// The keyed clip, as BGRA.
    std::string Keyed(const std::string& _strArgs)
    {
        EXPECT_EQ(Run("key " + File("c.y4m") + " -q -o " + File("o.raw") + " " + _strArgs), 0) << m_strError;
        return m_folder.Read("o.raw");
    }
    static int Alpha(const std::string& _strKeyed, int _nX, int _nY)
    {
        return static_cast<uint8_t>(_strKeyed.at(size_t{4} * static_cast<size_t>(_nY * c_nWidth + _nX) + 3));
    }
    void WriteMask(const std::string& _strName, int _nInsideFrom)
    {
        PICTURE mask;
        mask.Resize(c_nWidth, c_nHeight, 1);
        for (int y = 0; y < c_nHeight; ++y)
            std::fill(mask.Row(y) + _nInsideFrom, mask.Row(y) + c_nWidth, uint8_t{255});
        CZOutFiles files;
        PictureFile_WritePng(mask, files.Create(m_folder.Path(_strName)));
        files.CommitAll();
    }
};

TEST_F(CGenerationTest, KeyFileThenOptionsDecideUnlessTheUserDoes)
{
    ASSERT_EQ(Run("detect " + File("c.y4m") + " --keyer 1 -o " + File("k1.xml")), 0) << m_strError;
    ExpectLastLine("found 2 keys in");
    ASSERT_EQ(Run("detect " + File("c.y4m") + " -o " + File("k2.xml")), 0) << m_strError;
    ExpectLastLine("found the backdrop #");
    std::string strBoth = m_folder.Read("k1.xml");
    const std::string strSecond = m_folder.Read("k2.xml");
    const size_t nBegin = strSecond.find("<ZChromaKey2"), nEnd = strSecond.find("</zl-root>");
    m_folder.Write("both.xml", strBoth.insert(strBoth.find("</zl-root>"), strSecond.substr(nBegin, nEnd - nBegin)));

    const std::string strFirst = Keyed("--keyer 1");
    const std::string strNow = Keyed("");
    ASSERT_NE(strFirst, strNow);
    for (const std::string& strArgs :
         {"--keys " + File("k1.xml"), "--keys " + File("k1.xml") + " --keyer 1",
          "--keys " + File("both.xml") + " --keyer 1", "--keys " + File("both.xml") + " --adjust smooth=0",
          std::string("--adjust smooth=0"), std::string("--auto --set detect.blocks=48")})
        EXPECT_EQ(Keyed(strArgs), strFirst) << strArgs;
    for (const std::string& strArgs : {std::string("--auto"), std::string("--keyer 2"), "--keys " + File("k2.xml"),
                                       "--keys " + File("both.xml"), "--keys " + File("k2.xml") + " --param solid=50"})
        EXPECT_EQ(Keyed(strArgs), strNow) << strArgs;

    const std::string strKey = "key " + File("c.y4m") + " -o " + File("x.raw");
    ExpectFailures(2, {{strKey + " --keyer 2 --keys " + File("k1.xml"), "has keys of the first generation alone"},
                       {strKey + " --keyer 1 --keys " + File("k2.xml"), "has keys of the second generation alone"},
                       {strKey + " --type yuv --keys " + File("k2.xml"), "the keys of "},
                       {strKey + " --type yuv --param choke=1", "--type yuv is for the first generation"},
                       {strKey + " --keyer 1 --param choke=1", "--param choke=1 is for the second generation"},
                       {strKey + " --keyer 2 --set detect.blocks=9", "detect.blocks=9 is for the first generation"}});
}

TEST_F(CGenerationTest, MistakesSayWhatIsRight)
{
    WriteMask("small.png", 0);
    ASSERT_EQ(Run("sample --size 64x64 --frames 1 -q -o " + File("plate.png")), 0);
    m_folder.Write("text.png", "no picture");
    m_folder.Write("grey.y4m", "YUV4MPEG2 W16 H16\nFRAME\n" + std::string(16 * 16 * 3 / 2, '\x80'));
    const std::string strKey = "key " + File("c.y4m") + " -o " + File("x.raw");
    ExpectFailures(2, {{strKey + " --param blur=3", "there are backdrop, solid, "},
                       {strKey + " --param choke=11", "choke has to be a number from -10 to 10 (pixels)"},
                       {strKey + " --param choke", "NAME=VALUE"},
                       {strKey + " --param learn=never", "learn has to be one of 0 on, 1 hold, 2 restart"},
                       {strKey + " --view plates", "4 foreground"},
                       {strKey + " --protect 160,0", "160 x 90"},
                       {strKey + " --region mask=" + File("small.png"), "there are garbage, holdout, backdrop"},
                       {strKey + " --region \"garbage=1,1 9,9\"", "at least 3"},
                       {strKey + " --region garbage", "NAME=VALUE"}});
    ExpectFailures(1, {{strKey + " --region garbage=" + File("none.png"), "none.png"},
                       {strKey + " --region garbage=" + File("text.png"), "text.png"},
                       {strKey + " --plate " + File("none.png"), "none.png"},
                       {strKey + " --plate " + File("plate.png"), "it is 64 x 64 and the frames are 160 x 90"},
                       {"key " + File("grey.y4m") + " -o " + File("x.raw"), "no backdrop was found in the first frame"},
                       {"key " + File("grey.y4m") + " -o " + File("x.raw") + " --keyer 1", "no green or blue backdrop"},
                       {"detect " + File("grey.y4m") + " -o " + File("x.xml"), "no backdrop was found"}});
}

TEST_F(CGenerationTest, RegionsProtectedColoursAndViewsComeOut)
{
    const std::string strPlain = Keyed("");
    ASSERT_EQ(Alpha(strPlain, 20, 8), 0) << "backdrop";
    ASSERT_EQ(Alpha(strPlain, 80, 30), 255) << "the face";
    EXPECT_EQ(Alpha(Keyed("--protect 20,8"), 20, 8), 255);
    EXPECT_EQ(Alpha(Keyed("--region \"garbage=60,10 100,10 100,60 60,60\""), 80, 30), 0);
    WriteMask("right.png", 120);
    const std::string strHeld = Keyed("--region holdout=" + File("right.png"));
    EXPECT_EQ(Alpha(strHeld, 150, 8), 255);
    EXPECT_EQ(Alpha(strHeld, 20, 8), 0);

    const std::string strMatte = Keyed("--view matte");
    EXPECT_EQ(strMatte, Keyed("--param view=1"));
    for (size_t n = 0; n < strMatte.size(); n += 4)
        ASSERT_TRUE(strMatte[n] == strPlain[n + 3] && static_cast<uint8_t>(strMatte[n + 3]) == 255) << n;
}

TEST_F(CGenerationTest, AGivenPlateIsSearchedAndKeyedWith)
{
    ASSERT_EQ(Run("key " + File("c.y4m") + " -q --frames 1 --view plate -o " + File("plate.png")), 0) << m_strError;
    ASSERT_EQ(Run("sample --size 160x90 --frames 1 -q -o " + File("full.png")), 0);
    PICTURE picture = PictureFile_Read(m_folder.Path("full.png"));
    Picture_Fill(picture, 0, 0, c_nWidth, 60, 0x807870); // a body without a hue fills the upper border
    {
        CZOutFiles files;
        PictureFile_WritePng(picture, files.Create(m_folder.Path("full.png")));
        files.CommitAll();
    }
    const std::string strKey = "key " + File("full.png") + " -q -o " + File("o.raw");
    EXPECT_EQ(Run(strKey), 1);
    ExpectLastLine("no backdrop was found in the first frame");
    ASSERT_EQ(Run(strKey + " --plate " + File("plate.png")), 0) << m_strError;
    const std::string strKeyed = m_folder.Read("o.raw");
    EXPECT_EQ(Alpha(strKeyed, 80, 20), 255);
    EXPECT_EQ(Alpha(strKeyed, 10, 84), 0);
}

TEST_F(CGenerationTest, APieceIsThatPartOfTheWhole)
{
    constexpr size_t c_cbFrame = size_t{4} * c_nWidth * c_nHeight;
    ASSERT_EQ(Run("sample --size 160x90 --frames 9 -q -o " + File("c.y4m")), 0) << m_strError;
    ASSERT_EQ(Run("key " + File("c.y4m") + " -q --frames 1 --view plate -o " + File("plate.png")), 0) << m_strError;
    const std::string strHeld = "--param learn=hold --plate " + File("plate.png");
    const std::string strWhole = Keyed(strHeld);
    ASSERT_EQ(strWhole.size(), 9 * c_cbFrame);
    EXPECT_TRUE(Keyed(strHeld + " --first 4 --frames 3") == strWhole.substr(3 * c_cbFrame, 3 * c_cbFrame));
    EXPECT_TRUE(Keyed(strHeld + " --first 9 --preroll 4") == strWhole.substr(8 * c_cbFrame));
    // Without a plate it is what was learned before, which a preroll is for.
    const std::string strLearned = Keyed("");
    EXPECT_TRUE(Keyed("--first 6 --preroll 20") == strLearned.substr(5 * c_cbFrame));
    EXPECT_FALSE(Keyed("--first 6") == strLearned.substr(5 * c_cbFrame));
    ASSERT_EQ(Run("key " + File("c.y4m") + " -q --first 6 --frames 1 -o " + File("n_%03d.png")), 0) << m_strError;
    EXPECT_FALSE(m_folder.Read("n_005.png").empty()) << "its number in the whole";
    ExpectFailures(1, {{"key " + File("c.y4m") + " -o " + File("x.raw") + " --first 10", "has no frame 10"},
                       {"key " + File("c.y4m") + " -o " + File("x.raw") + " --first 10 --preroll 3", "no frame 10"}});
}

TEST_F(CGenerationTest, SheetsShowAPartAndTimes)
{
    const auto fnSheet = [this](const std::string& _strArgs) {
        EXPECT_EQ(Run("sheet " + File("c.y4m") + " -q -o " + File("s.png") + " " + _strArgs), 0) << m_strError;
        return PictureFile_Read(m_folder.Path("s.png"));
    };
    const PICTURE wipe = fnSheet("--wipe --crop 0,0,160,20 --background " + Quoted("#204060"));
    ASSERT_EQ(wipe.nHeight, 20);
    EXPECT_GT(wipe.Row(5)[4 * 5 + 1], 100) << "the backdrop on the left";
    EXPECT_NEAR(wipe.Row(5)[4 * 155], 0x60, 2) << "the background on the right";
    EXPECT_EQ(fnSheet("--frames 2").nHeight, 2 * fnSheet("--frames 2 --crop 0,0,160,45").nHeight - 2 * 42);
    ExpectFailures(2, {{"sheet " + File("c.y4m") + " -o " + File("t.png") + " --crop 0,0,161,9", "inside 160 x 90"},
                       {"sheet " + File("c.y4m") + " -o " + File("t.png") + " --wipe --frames 2", "--wipe"}});
}

TEST_F(CGenerationTest, SheetsShowTheStatusAndCompare)
{
    const std::string strSheet = "sheet " + File("c.y4m") + " -q -o " + File("s.png");
    const auto fnSheet = [&](const std::string& _strArgs) {
        EXPECT_EQ(Run(strSheet + _strArgs), 0) << m_strError;
        return PictureFile_Read(m_folder.Path("s.png"));
    };
    const auto fnGreen = [](const PICTURE& _sheet, int _nTileX, int _nTileY) { // of the backdrop, in a tile's corner
        return int{_sheet.Row(30 + _nTileY * (c_nHeight + 42) + 4)[4 * (12 + _nTileX * (c_nWidth + 12) + 4) + 1]};
    };
    const PICTURE status = fnSheet("");
    EXPECT_GT(fnGreen(status, 0, 0), 100) << "source";
    EXPECT_EQ(fnGreen(status, 1, 0), 0) << "status: backdrop";
    EXPECT_EQ(fnGreen(status, 0, 1), 0) << "matte";
    EXPECT_GT(fnGreen(fnSheet(" --view plate --frame 2"), 1, 0), 100);
    const PICTURE compared = fnSheet(" --compare");
    EXPECT_EQ(compared.nHeight, status.nHeight + c_nHeight + 42);
    EXPECT_EQ(fnGreen(compared, 0, 2), 0) << "matte of the first generation";
    EXPECT_EQ(fnSheet(" --keyer 1").nHeight, status.nHeight);
    EXPECT_EQ(Run(strSheet + " --frame 3"), 1);
    ExpectLastLine("has 2 frames");
}

TEST_F(CGenerationTest, BenchHoldsAlphaAgainstTheTruth)
{
    ASSERT_EQ(Run("bench --size 160x128 --format UYVY --threads 2"), 0) << m_strError;
    ExpectOut({"size\t160x128\n", "format\tUYVY\n", "keyer\t2\nthreads\t2\n", "keyed on\tCPU\n", "\nmixed\t",
               "\nalpha error\t", "\nns/pixel\t", "\nratio\t"});
    ExpectFailures(2, {{"bench --size 64x64", "128 pixels"},
                       {"bench --keyer 2 --keys 3", "--keys 3 is for the first generation"},
                       {"bench --keyer 2 --gpu", "--gpu is for the first generation"}});
}

TEST_F(CGenerationTest, BenchMeasuresLatencyOfBoth)
{
    ASSERT_EQ(Run("bench --latency --frames 12 --size 160x128"), 0) << m_strError;
    ExpectOut(
        {"\n1\toff\tnothing\t12\t", "\n1\ton\tnothing\t12\t", "\n2\toff\tnothing\t12\t", "\n2\ton\tnothing\t12\t"});
    if (std::thread::hardware_concurrency() > 1)
        ExpectOut({"\n2\ton\tbusy process\t12\t"});
}

} // namespace
