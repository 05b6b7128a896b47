#include "Host/CommandRunner.h"

#include "Shells/gstreamer/GstSupport.h"

#include <algorithm>

// The element in gst-launch-1.0, beside zkhost (Debian: gstreamer1.0-tools, gstreamer1.0-plugins-base).

namespace
{

class GstLaunch : public CCommandTest
{
protected:
    static constexpr int c_nFrames = 4;

    void SetUp() override
    {
        Gst_FindElement();
    }
    void Sample(const std::string& _strFormat, const std::string& _strMore = "")
    {
        ASSERT_EQ(
            Run("sample -q --size 320x180 --frames 4 -o " + File("in.raw") + " --format " + _strFormat + _strMore), 0)
            << m_strError;
    }
    std::string Source(const char* _pszFormat) const
    {
        return "filesrc location=" + File("in.raw") +
               " ! rawvideoparse width=320 height=180 framerate=25/1 format=" + _pszFormat;
    }
    int Launch(const std::string& _strPipeline)
    {
        return Shell("gst-launch-1.0 " + _strPipeline);
    }
    /// What zkhost makes of the same frames. _strFields: "iT" or "iB", of which field came first.
    std::string Reference(const std::string& _strFormat, const std::string& _strArgs,
                          const std::string& _strFields = "")
    {
        const std::string strIn = " --in " + _strFormat + ":320x180@25" + _strFields;
        EXPECT_EQ(Run("key -q " + File("in.raw") + strIn + " -o " + File("ref.raw") + " " + _strArgs), 0) << m_strError;
        return m_folder.Read("ref.raw");
    }
    void ExpectEqual(const char* _pszFile, const std::string& _strReference)
    {
        const std::string strResult = m_folder.Read(_pszFile);
        ASSERT_EQ(strResult.size(), _strReference.size()) << m_strError;
        EXPECT_TRUE(strResult == _strReference) << _pszFile;
    }
    /// An opaque picture, and a single warning with this in it.
    void ExpectUnkeyed(const std::string& _strPart)
    {
        const std::string strResult = m_folder.Read("out.raw");
        ASSERT_EQ(strResult.size(), size_t{c_nFrames} * 320 * 180 * 4) << m_strError;
        for (size_t n = 3; n < strResult.size(); n += 4)
            ASSERT_EQ(static_cast<uint8_t>(strResult[n]), 255) << n;
        const size_t nFirst = m_strOut.find("WARNING: from element");
        ASSERT_NE(nFirst, std::string::npos) << m_strOut << m_strError;
        EXPECT_EQ(m_strOut.find("WARNING: ", nFirst + 1), std::string::npos) << m_strOut;
        EXPECT_NE(m_strOut.find(_strPart, nFirst), std::string::npos) << m_strOut;
    }
};

TEST_F(GstLaunch, EqualsZkhostInEachFormat)
{
    const std::pair<const char*, const char*> arrFormats[] = {
        {"RGB32", "bgrx"}, {"ARGB32", "bgra"}, {"RGB24", "bgr"}, {"UYVY", "uyvy"}, {"YUY2", "yuy2"}, {"YVYU", "yvyu"},
        {"v210", "v210"},  {"I422", "y42b"},   {"NV12", "nv12"}, {"I420", "i420"}, {"YV12", "yv12"}, {"r210", "r210"}};
    for (const auto& [pszOurs, pszTheirs] : arrFormats)
    {
        SCOPED_TRACE(pszOurs);
        Sample(pszOurs);
        ASSERT_EQ(Launch(Source(pszTheirs) +
                         " ! zchromakey ! video/x-raw,format=BGRA ! filesink location=" + File("out.raw")),
                  0)
            << m_strError;
        ExpectEqual("out.raw", Reference(pszOurs, "--auto"));
    }
}

TEST_F(GstLaunch, FieldsMatrixAndRangeAreThoseOfTheCaps)
{
    struct CASE
    {
        const char* pszCaps;
        const char* pszArgs;
        const char* pszFields;
    };
    const CASE arrCases[] = {{"interlace-mode=interleaved,field-order=top-field-first", "--auto", "iT"}};
    Sample("I420");
    const std::string strPlain = Reference("I420", "--auto");
    for (const CASE& one : arrCases)
    {
        SCOPED_TRACE(one.pszCaps);
        ASSERT_EQ(Launch("filesrc blocksize=86400 location=" + File("in.raw") +
                         " ! video/x-raw,format=I420,width=320,height=180,framerate=25/1," + one.pszCaps +
                         " ! zchromakey ! filesink location=" + File("out.raw")),
                  0)
            << m_strOut;
        const std::string strReference = Reference("I420", one.pszArgs, one.pszFields);
        ExpectEqual("out.raw", strReference);
        EXPECT_FALSE(strReference == strPlain) << "all are the same: this is no test";
    }
}

TEST_F(GstLaunch, EqualsZkhostWithKeysParametersAndTwoElementsInOnePipeline)
{
    Sample("UYVY");
    ASSERT_EQ(Run("key -q " + File("in.raw") + " --in UYVY:320x180@25 --frames 1 -o " + File("x.raw") +
                  " --pick 5,5 --protect 160,100 --save-keys " + File("keys.xml")),
              0)
        << m_strError;
    ASSERT_EQ(Launch(Source("uyvy") + " ! tee name=t ! queue ! zchromakey keys=" + File("keys.xml") +
                     " spill=40 spill-balance=80 view=foreground ! filesink location=" + File("two.raw") +
                     " t. ! queue ! zchromakey generation=1 power=20 threads=3 ! filesink location=" + File("one.raw")),
              0)
        << m_strError;
    ExpectEqual("two.raw", Reference("UYVY", "--keys " + File("keys.xml") +
                                                 " --param spill=40 --param spill_balance=80 --view foreground"));
    ExpectEqual("one.raw", Reference("UYVY", "--keyer 1 --auto --adjust power=20 --set process.threads=3"));
}

TEST_F(GstLaunch, WithoutModuleOrKeysThePictureGoesOn)
{
    Sample("UYVY");
    const std::string strEnd = " ! filesink location=" + File("out.raw");
    EXPECT_EQ(Shell("ZCHROMAKEY_MODULE=/no/module.so gst-launch-1.0 " + Source("uyvy") + " ! zchromakey" + strEnd), 0);
    ExpectUnkeyed("/no/module.so");
    EXPECT_EQ(Launch(Source("uyvy") + " ! zchromakey keys=/no/keys.xml" + strEnd), 0);
    ExpectUnkeyed("/no/keys.xml");
    EXPECT_EQ(Launch(Source("uyvy") + " ! zchromakey document=nonsense" + strEnd), 0);
    ExpectUnkeyed("zchromakey0");
}

} // namespace
