#include "Host/TempFolder.h"

#include "zkhost/Files/FullChroma.h"
#include "zkhost/Files/Picture.h"
#include "zkhost/Files/PictureWriter.h"
#include "zkhost/Files/Y4mReader.h"

namespace
{

class CY4mTest : public testing::Test
{
protected:
    PICTURE First(const std::string& _strBytes, ZF_VID_PROPS* _pVidProps = nullptr)
    {
        CZY4mReader reader(m_folder.Write("clip.y4m", _strBytes));
        if (_pVidProps)
            *_pVidProps = reader.Stream().vidProps;
        PICTURE picture;
        Picture_FromFrame(reader.Next().Get(), picture);
        EXPECT_FALSE(reader.Next());
        return picture;
    }

    CTempFolder m_folder;
};

TEST_F(CY4mTest, KeepsSamplesOfEvenPictures)
{
    const std::string strSamples = std::string("\x10\x20\x30\x40\x50\x60\x70\x80", 8) + "\x90\xA0" + "\xB0\xC0";
    CZY4mReader reader(
        m_folder.Write("clip.y4m", "YUV4MPEG2 W4 H2 F25:1 It A1:1 C420jpeg XYSCSS=420JPEG\nFRAME Ip\n" + strSamples));
    const ZF_VID_PROPS& vidProps = reader.Stream().vidProps;
    EXPECT_EQ(vidProps.fccType, eZFCC_I420);
    EXPECT_EQ(vidProps.eInterlace, eZI_TopFirst);
    EXPECT_EQ(vidProps.dblRate, 25);
    EXPECT_EQ(vidProps.nAspectX * 10 + vidProps.nAspectY, 21);
    EXPECT_EQ(reader.Stream().nFrames, 1);
    const CZPtr<IZFFrame> cpFrame = reader.Next();
    ZF_VID_PTR vidPtr = {};
    ASSERT_EQ(cpFrame->VideoPtrGet(0, &vidPtr), S_OK);
    std::string strRead;
    for (int i = 0; i < 3; ++i)
        for (int y = 0; y < (i ? 1 : 2); ++y)
            strRead.append(reinterpret_cast<const char*>(Img_RowOf(vidPtr, i, y)), i ? 2 : 4);
    EXPECT_EQ(strRead, strSamples);
}

/// Every pixel of a layout without a record of its own survives with its own colour.
TEST_F(CY4mTest, KeepsEveryPixelOfOtherLayouts)
{
    // Two columns, one row: red (BT.601 Y 81, U 90, V 240) and blue (Y 41, U 240, V 110).
    ZF_VID_PROPS vidProps = {};
    const PICTURE full = First("YUV4MPEG2 W2 H1 C444\nFRAME\n\x51\x29\x5A\xF0\xF0\x6E", &vidProps);
    EXPECT_EQ(vidProps.fccType, eZFCC_RGB32);
    EXPECT_GT(full.Row(0)[2], 250);
    EXPECT_LT(full.Row(0)[0], 5);
    EXPECT_GT(full.Row(0)[4], 250);
    EXPECT_LT(full.Row(0)[6], 5);
    const PICTURE odd =
        First("YUV4MPEG2 W3 H3\nFRAME\n" + std::string(8, '\x51') + "\x29" + "\x5A\x5A\x5A\xF0" + "\xF0\xF0\xF0\x6E");
    EXPECT_EQ(odd.nWidth * 10 + odd.nHeight, 33);
    EXPECT_GT(odd.Row(2)[8 + 0], 250) << "the last pixel is blue";
    EXPECT_GT(odd.Row(1)[4 + 2], 250) << "the middle one red";
    const PICTURE half = First("YUV4MPEG2 W2 H2 C422\nFRAME\n\x51\x51\x51\x51\x5A\x5A\xF0\xF0");
    EXPECT_GT(half.Row(1)[4 + 2], 250);
    const PICTURE grey = First("YUV4MPEG2 W1 H1 Cmono\nFRAME\n\x7E");
    EXPECT_EQ(grey.Row(0)[0], grey.Row(0)[2]);
    EXPECT_NEAR(grey.Row(0)[0], (0x7E - 16) * 255.0 / 219, 1);
    const PICTURE alpha = First("YUV4MPEG2 W1 H1 C444alpha\nFRAME\n\x51\x5A\xF0\x33", &vidProps);
    EXPECT_EQ(vidProps.fccType, eZFCC_ARGB32);
    EXPECT_EQ(alpha.Row(0)[3], 0x33);
    const PICTURE jpeg = First("YUV4MPEG2 W1 H1 Cmono XCOLORRANGE=FULL\nFRAME\n\xFF");
    EXPECT_EQ(jpeg.Row(0)[0], 255);
}

TEST_F(CY4mTest, RefusesWhatItDoesNotUnderstandAndSaysWhy)
{
    const std::string strHead = "YUV4MPEG2 W4 H2 C420\n";
    const std::string strFrame = "FRAME\n" + std::string(12, 'x');
    const std::pair<std::string, const char*> arrCases[] = {
        {"", "is empty"},
        {"YUV4MPEG2 W4", "ends inside the stream header"},
        {"YUV4MPEG W2 H2\n", "no Y4M"},
        {"YUV4MPEG2W2 H2\n", "no Y4M"},
        {"YUV4MPEG2 W2\n", "no pixels"},
        {"YUV4MPEG2 W0 H2\n", "no pixels"},
        {"YUV4MPEG2 W2 H2 W2\n", "wrong at \"W2\""},
        {"YUV4MPEG2 W2x H2\n", "wrong at"},
        {"YUV4MPEG2 W99999999999999999999 H2\n", "wrong at"},
        {"YUV4MPEG2 W32767 H32767\n", "too large"},
        {"YUV4MPEG2 W2 H2 F25\n", "wrong at \"F25\""},
        {"YUV4MPEG2 W2 H2 Iq\n", "wrong at"},
        {"YUV4MPEG2 W2 H2  Ip\n", "wrong at"},
        {"YUV4MPEG2 W2 H2 Q7\n", "wrong at \"Q7\""},
        {"YUV4MPEG2 W2 H2 C420p10\n", "more than 8 bits"},
        {"YUV4MPEG2 W2 H2 Cmono16\n", "more than 8 bits"},
        {"YUV4MPEG2 W2 H2 C555\n", "C555 is not known"},
        {std::string(5000, 'x'), "longer than 1024"},
        {strHead + strFrame + "FRAME\nabcde", "frame 2 is cut off: 5 of its 12 bytes"},
        {strHead + strFrame + "FRA", "ends inside the header of frame 2"},
        {strHead + strFrame + strFrame + "JUNK\n", "frame 3 does not begin with"},
        {strHead + "FRAME" + std::string(5000, ' '), "longer than 1024"},
        {"YUV4MPEG2 W32767 H8192 C444alpha\nFRAME\nabcde", "5 of its 1073709056 bytes"},
    };
    for (const auto& [strBytes, pszReason] : arrCases)
    {
        const std::string strPath = m_folder.Write("bad.y4m", strBytes);
        const std::string strText = Host_FailureOf([&] {
            CZY4mReader reader(strPath);
            while (reader.Next())
            {
            }
        });
        EXPECT_NE(strText.find(pszReason), std::string::npos) << strText;
        EXPECT_NE(strText.find("bad.y4m"), std::string::npos) << strText;
    }
}

TEST_F(CY4mTest, WritesWhatItReads)
{
    const std::string strStream =
        "YUV4MPEG2 W2 H2 F30000:1001 Ib A4:3 C444alpha XCOLORRANGE=LIMITED\nFRAME\n" // red and blue, as above
        "\x51\x29\x29\x51\x5A\xF0\xF0\x5A\xF0\x6E\x6E\xF0\x33\xFF\x80\x01";
    CZY4mReader reader(m_folder.Write("in.y4m", strStream));
    PICTURE picture;
    Picture_FromFrame(reader.Next().Get(), picture);
    CZOutFiles files;
    PictureWriter_Open(m_folder.Path("out.y4m"), reader.Stream(), c_fccI444, files)->Write(picture);
    files.CommitAll();
    EXPECT_EQ(m_folder.Read("out.y4m"), strStream);
}

} // namespace
