#include "Host/CommandRunner.h"

#include "zkhost/Files/PictureFile.h"

// What "zkhost key --bits 16" writes.

namespace
{

class CBitsTest : public CCommandTest
{
protected:
    static constexpr size_t c_nFrameBytes = 160 * 90 * 8;

    void SetUp() override
    {
        ASSERT_EQ(Run("sample --size 160x90 --frames 2 -q -o " + File("c.y4m")), 0) << m_strError;
    }
    std::string Key(const std::string& _strArgs) const
    {
        return "key " + File("c.y4m") + " -q " + _strArgs;
    }
};

TEST_F(CBitsTest, SixteenAreTheEightAndMore)
{
    ASSERT_EQ(Run(Key("-o " + File("o.raw"))), 0) << m_strError;
    ASSERT_EQ(Run(Key("--bits 16 -o " + File("d.raw") + " --save-keys " + File("k.xml"))), 0) << m_strError;
    ASSERT_EQ(Run(Key("--bits 16 -o " + File("d%d.png") + " --mask " + File("m%d.png"))), 0) << m_strError;
    const std::string strBytes = m_folder.Read("o.raw"); // B, G, R, A
    const std::string strWords = m_folder.Read("d.raw"); // R, G, B, A of two bytes, the lower one first
    ASSERT_EQ(strWords.size(), 2 * c_nFrameBytes);
    ASSERT_EQ(strBytes.size(), c_nFrameBytes);
    size_t nFractions = 0;
    for (size_t i = 0; i < strBytes.size(); ++i)
    {
        const size_t nAt = 2 * (i % 4 == 3 ? i : i / 4 * 4 + 2 - i % 4);
        const int nWord = static_cast<uint8_t>(strWords[nAt]) | static_cast<uint8_t>(strWords[nAt + 1]) << 8;
        ASSERT_LE(std::abs(nWord - 257 * static_cast<uint8_t>(strBytes[i])), 129) << i;
        nFractions += nWord % 257 != 0;
    }
    EXPECT_GT(nFractions, 300u);

    const PICTURE png = PictureFile_Read(m_folder.Path("d1.png")); // its upper bytes, B, G, R, A
    for (size_t i = 0; i < png.vecPixels.size(); ++i)
    {
        const size_t nAt = c_nFrameBytes + 2 * (i % 4 == 3 ? i : i / 4 * 4 + 2 - i % 4) + 1;
        if (png.vecPixels[i | 3] != 0) // what is not seen has no colour in the file
        {
            ASSERT_EQ(png.vecPixels[i], static_cast<uint8_t>(strWords[nAt])) << i;
        }
    }
    EXPECT_EQ(PictureFile_Read(m_folder.Path("m1.png")).nWidth, 160);
    EXPECT_EQ(m_folder.Read("k.xml").find("output.depth"), std::string::npos) << "asked for by the program alone";
#if !defined(_WIN32) // there the shell of the test has no pipe of bytes
    ASSERT_EQ(Shell(Quoted(ZKHOST_PATH) + " " + Key("--bits 16 -o -") + " | cmp - " + File("d.raw")), 0) << m_strError;
#endif
}

TEST_F(CBitsTest, RefusesWhatHasNoSixteen)
{
    const std::string strDeep = Key("--bits 16 -o ");
    ExpectFailures(2, {{strDeep + File("a.y4m"), "holds I420, I422 or I444; write other formats to *.raw"},
                       {strDeep + File("a.png") + " --background \"#102030\"", "leave it or --bits 16 out"},
                       {strDeep + File("a.raw") + " --keyer 1", "--bits 16 is for the second generation"},
                       {strDeep + File("a.raw") + " --set output.depth=8", "--bits 16: the results have 8"},
                       {Key("--bits 12 -o " + File("a.raw")), "--bits"}});
}

TEST_F(CBitsTest, WhatIsLaidOverSomethingHasStraightAlpha)
{
    const std::string strArgs = Key("--background \"#2040C0\" -o ");
    ASSERT_EQ(Run(strArgs + File("a.raw")), 0) << m_strError;
    ASSERT_EQ(Run(strArgs + File("b.raw") + " --set output.premultiplied=true"), 0) << m_strError;
    EXPECT_EQ(m_folder.Read("a.raw"), m_folder.Read("b.raw"));
    ASSERT_EQ(Run(Key("-o " + File("c.raw"))), 0) << m_strError;
    ASSERT_EQ(Run(Key("-o " + File("d.raw") + " --set output.premultiplied=true")), 0) << m_strError;
    EXPECT_NE(m_folder.Read("c.raw"), m_folder.Read("d.raw"));
}

} // namespace
