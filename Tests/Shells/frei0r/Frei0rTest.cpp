#include "Host/CommandRunner.h"

// The frei0r filter in FFmpeg, held against what zkhost makes of the same frames.

namespace
{

class CFrei0rTest : public CCommandTest
{
protected:
    void Sample(const std::string& _strSize, const std::string& _strOptions = "--frames 3")
    {
        m_strSize = _strSize;
        ASSERT_EQ(Run("sample -q --format ARGB32 --size " + _strSize + " -o " + File("in.raw") + " " + _strOptions), 0)
            << m_strError;
    }
    std::string Reference(const std::string& _strOptions)
    {
        EXPECT_EQ(Run("key -q " + File("in.raw") + " --in ARGB32:" + m_strSize + "@25 -o " + File("ref.raw") + " " +
                      _strOptions),
                  0)
            << m_strError;
        return m_folder.Read("ref.raw");
    }
    /// The frames after the filter; _strParams: its parameters in their order, "|" between them.
    std::string Filtered(const std::string& _strParams, const std::string& _strModule = ZCK_MODULE)
    {
        EXPECT_EQ(Shell("FREI0R_PATH=" + Quoted(FREI0R_FOLDER) + " ZCHROMAKEY_MODULE=" + Quoted(_strModule) +
                        " ffmpeg -nostdin -v error -f rawvideo -pix_fmt bgra -s " + m_strSize + " -i " +
                        File("in.raw") + " -vf 'frei0r=zchromakey:" + _strParams + "' -f rawvideo -pix_fmt bgra -y " +
                        File("out.raw")),
                  0)
            << m_strError;
        return m_folder.Read("out.raw");
    }
    size_t Lines(const std::string& _strPart) const
    {
        size_t nLines = 0;
        for (size_t n = m_strError.find(_strPart); n != std::string::npos; n = m_strError.find(_strPart, n + 1))
            ++nLines;
        return nLines;
    }

    std::string m_strSize;
};

TEST_F(CFrei0rTest, KeysAsZkhostDoes)
{
    for (const char* pszSize : {"320x181", "64x35"}) // FFmpeg leaves gaps after rows of other widths, and says nothing
    {
        Sample(pszSize);
        EXPECT_TRUE(Filtered("|0/0/0") == Reference("")) << pszSize;
    }
    Sample("320x180");
    Reference("--auto --save-keys " + File("schlüssel.xml"));
    const std::string strKeys = m_folder.Path("schlüssel.xml");
    // Backdrop of 60 %, and the matte, the second of seven views.
    const std::string strMatte =
        Filtered(strKeys + "|0/0/0|0/0/0|n|0.3|0.5|0.066667|0.1|0.5|0|1|0.5|0|0.44|0|0|0.166667");
    EXPECT_TRUE(strMatte == Reference("--keys " + File("schlüssel.xml") + " --param backdrop=60 --view matte"));
}

TEST_F(CFrei0rTest, ColorTakesThePlaceOfTheSearch)
{
    Sample("320x180", "--frames 2 --screen blue");
    const std::string strAuto = Filtered("");
    const std::string strBlue = Filtered("|0.129/0.251/0.651");
    EXPECT_EQ(Lines("zchromakey"), 0u) << m_strError;
    EXPECT_TRUE(strBlue != strAuto);
    EXPECT_EQ(static_cast<int>(strBlue.at(3)), 0);               // alpha of the corner
    EXPECT_EQ(static_cast<int>(Filtered("|0/0.8/0").at(3)), -1); // green, which is not in the picture
}

TEST_F(CFrei0rTest, WhatIsMissingIsSaidOnceAndThePicturePasses)
{
    Sample("64x36");
    const std::string strIn = m_folder.Read("in.raw");
    EXPECT_TRUE(Filtered("", "/nowhere/libZChromaKey.so") == strIn);
    EXPECT_EQ(Lines("zchromakey: the keyer's module was not found"), 1u) << m_strError;
    EXPECT_TRUE(Filtered("/nowhere/keys.xml") == strIn);
    EXPECT_EQ(Lines("zchromakey: the key file \"/nowhere/keys.xml\""), 1u) << m_strError;
    EXPECT_TRUE(Filtered(m_folder.Write("bad.xml", "<no document")) == strIn);
    EXPECT_EQ(Lines("\n"), 1u) << m_strError;
}

} // namespace
