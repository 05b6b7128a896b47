#include "Host/TempFolder.h"
#include "Support/LogCatcher.h"

#include "Kit/HostError.h"
#include "zkhost/Files/FullChroma.h"
#include "zkhost/Files/NamePattern.h"
#include "zkhost/Files/PictureFile.h"
#include "zkhost/Files/PictureReader.h"
#include "zkhost/Files/PictureWriter.h"
#include "zkhost/Files/RawReader.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZHelpers.h"
#include "Image/ImgRowReader.h"
#include "Props/TextFile.h"

#include <algorithm>
#include <future>
#include <memory>

#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb/stb_image.h>

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

namespace
{

PICTURE Pattern(int _nWidth, int _nHeight, int _nChannels, bool _bAlpha)
{
    PICTURE picture;
    picture.Resize(_nWidth, _nHeight, _nChannels);
    picture.bAlpha = _bAlpha;
    for (size_t i = 0; i < picture.vecPixels.size(); ++i)
        picture.vecPixels[i] = _nChannels == 4 && !_bAlpha && i % 4 == 3 ? 255 : static_cast<uint8_t>(i * 37 + i / 11);
    return picture;
}

void WritePng(const CTempFolder& _folder, const char* _pszName, const PICTURE& _picture)
{
    CZOutFile file(_folder.Path(_pszName));
    PictureFile_WritePng(_picture, file);
    file.Commit();
}

TEST(PictureFile, KeepsEveryByteThatIsSeen)
{
    const CTempFolder folder;
    for (const auto& [nChannels, bAlpha] : {std::pair(4, true), {4, false}, {1, false}})
    {
        PICTURE picture = Pattern(7, 5, nChannels, bAlpha);
        std::vector<uint8_t> vecExpected;
        for (const uint8_t nGrey : picture.vecPixels)
            vecExpected.insert(vecExpected.end(), {nGrey, nGrey, nGrey, 255});
        if (nChannels == 4)
            vecExpected = picture.vecPixels;
        if (bAlpha) // the colour of a pixel that is not seen is not kept
            picture.vecPixels[3] = vecExpected[0] = vecExpected[1] = vecExpected[2] = vecExpected[3] = 0;
        WritePng(folder, "a.png", picture);
        const PICTURE read = PictureFile_Read(folder.Path("a.png"));
        EXPECT_EQ(read.bAlpha, bAlpha);
        EXPECT_EQ(read.vecPixels, vecExpected);
    }
}

/// A picture of all kinds of words; every seventh pixel is not seen.
DEEP_PICTURE DeepPattern(int _nWidth, int _nHeight)
{
    DEEP_PICTURE picture{_nWidth, _nHeight, {}};
    for (int i = 0; i < 4 * _nWidth * _nHeight; ++i)
        picture.vecWords.push_back(static_cast<uint16_t>(i % 28 < 4 ? 0 : 1 + i * 2477 + i / 11));
    return picture;
}

void WriteDeep(const CTempFolder& _folder, const char* _pszName, const DEEP_PICTURE& _picture)
{
    CZOutFiles files;
    PictureWriter_Open(_folder.Path(_pszName), {}, eZFCC_ARGB64, files)->Write(_picture);
    files.CommitAll();
}

TEST(PictureFile, KeepsSixteenBitsAChannel)
{
    const CTempFolder folder;
    for (const auto& [nWidth, nHeight] : {std::pair(1, 1), {7, 5}, {300, 40}})
    {
        DEEP_PICTURE picture = DeepPattern(nWidth, nHeight);
        const std::vector<uint16_t> vecExpected = picture.vecWords;
        picture.vecWords[0] = 4711; // the colour of a pixel that is not seen is not kept
        WriteDeep(folder, "a.png", picture);
        const std::string strFile = folder.Read("a.png");
        int nReadWidth = 0, nReadHeight = 0, nChannels = 0;
        const std::unique_ptr<stbi_us, void (*)(void*)> upWords(
            stbi_load_16_from_memory(reinterpret_cast<const stbi_uc*>(strFile.data()), static_cast<int>(strFile.size()),
                                     &nReadWidth, &nReadHeight, &nChannels, 0),
            stbi_image_free);
        ASSERT_TRUE(upWords) << stbi_failure_reason();
        ASSERT_EQ(std::tuple(nReadWidth, nReadHeight, nChannels), std::tuple(nWidth, nHeight, 4));
        std::vector<uint16_t> vecRead(upWords.get(), upWords.get() + vecExpected.size());
        for (size_t i = 0; i < vecRead.size(); i += 4)
            std::swap(vecRead[i], vecRead[i + 2]);
        EXPECT_EQ(vecRead, vecExpected);
        const PICTURE read = PictureFile_Read(folder.Path("a.png")); // as input: the upper eight bits
        EXPECT_TRUE(read.bAlpha);
        EXPECT_TRUE(std::equal(read.vecPixels.begin(), read.vecPixels.end(), vecExpected.begin(),
                               [](uint8_t _nByte, uint16_t _nWord) { return _nByte == _nWord >> 8; }));
    }
    EXPECT_THROW(WriteDeep(folder, "a.y4m", DeepPattern(2, 2)), CZUsageError);
}

TEST(PictureFile, RefusesDamagedFiles)
{
    const CTempFolder folder;
    WritePng(folder, "a.png", Pattern(9, 9, 4, true));
    const std::string strGood = folder.Read("a.png");
    const size_t nPixels = strGood.find("IDAT");
    for (size_t nLength = 0; nLength < nPixels + 40; ++nLength)
    {
        const std::string strPath = folder.Write("cut.png", strGood.substr(0, nLength));
        EXPECT_NE(Host_FailureOf([&] { PictureFile_Read(strPath); }).find("cut.png"), std::string::npos) << nLength;
    }
    std::string strHuge = strGood;
    strHuge.replace(16, 8, std::string("\0\0\x7F\xFF\0\0\x7F\xFF", 8));
    EXPECT_NE(Host_FailureOf([&] { PictureFile_Read(folder.Write("huge.png", strHuge)); }).find("too large"),
              std::string::npos);
    std::string strLong = strGood; // a piece of half a gigabyte, says the file
    strLong.replace(nPixels - 4, 4, std::string("\x20\0\0\0", 4));
    WritePng(folder, "even.png", PICTURE{1000, 1000, 4, true, std::vector<uint8_t>(4'000'000)});
    std::string strBomb = folder.Read("even.png"); // unpacks to four megabytes for 8 x 8 pixels
    strBomb.replace(16, 8, std::string("\0\0\0\x08\0\0\0\x08", 8));
    for (const std::string& strFile : {strLong, strBomb})
        EXPECT_NE(Host_FailureOf([&] { PictureFile_Read(folder.Write("more.png", strFile)); }).find("more memory"),
                  std::string::npos);
    EXPECT_NE(Host_FailureOf([&] { PictureFile_Read(folder.Path("none.png")); }).find("cannot open"),
              std::string::npos);
}

/// A Huffman table of a JPEG with so many codes of 8 bits, and the codes.
std::string HuffmanSegment(int _nCodes)
{
    std::string strCounts(16, '\0');
    strCounts[7] = static_cast<char>(std::min(_nCodes, 255));
    strCounts[8] = static_cast<char>(_nCodes - std::min(_nCodes, 255));
    const int cbSegment = 2 + 17 + _nCodes;
    return std::string("\xFF\xC4") + static_cast<char>(cbSegment >> 8) + static_cast<char>(cbSegment) + '\x10' +
           strCounts + std::string(static_cast<size_t>(_nCodes), 'c');
}

TEST(PictureFile, KeepsOverfullHuffmanTablesFromTheDecoder)
{
    const CTempFolder folder;
    const std::string strStart = "\xFF\xD8";
    const std::string strNote("\xFF\xFE\0\x04--", 6);
    const std::string strScan = "\xFF\xDA" + std::string(1, '\0') + "\x08stream of a scan";
    const std::string strBad = HuffmanSegment(257);
    const auto fnFailure = [&](const std::string& _strBytes) {
        return Host_FailureOf([&] { PictureFile_Read(folder.Write("a.jpg", _strBytes)); });
    };
    for (const std::string& strBefore : {strStart, "\xFF" + strStart + "\xFF", strStart + strNote + "junk",
                                         strStart + HuffmanSegment(256), strStart + strScan})
        EXPECT_NE(fnFailure(strBefore + strBad).find("Huffman"), std::string::npos);
    // In a comment it is no table.
    const std::string strComment =
        std::string("\xFF\xFE\x02") + '\0' + strBad + std::string(512 - 2 - strBad.size(), ' ');
    EXPECT_EQ(fnFailure(strStart + strComment + HuffmanSegment(256)).find("Huffman"), std::string::npos);
}

TEST(PictureReader, WalksASequence)
{
    const CTempFolder folder;
    for (const char* pszName : {"p_01.png", "p_02.png", "p_04.png"})
        WritePng(folder, pszName, Pattern(5, 3, 4, false));
    CZPictureReader reader(folder.Path("p_%02d.png"));
    EXPECT_EQ(reader.Stream().nFrames, 2) << "from the first number there is to the first one missing";
    EXPECT_TRUE(reader.Next());
    EXPECT_TRUE(reader.Next());
    EXPECT_FALSE(reader.Next());
    WritePng(folder, "p_02.png", Pattern(6, 3, 4, false));
    CZPictureReader mixed(folder.Path("p_%02d.png"));
    EXPECT_TRUE(mixed.Next());
    EXPECT_NE(Host_FailureOf([&] { mixed.Next(); }).find("6 x 3"), std::string::npos);
    EXPECT_NE(Host_FailureOf([&] { CZPictureReader(folder.Path("q_%d.png")); }).find("q_0.png"), std::string::npos);
}

TEST(NamePattern, TakesOneNumberOnly)
{
    EXPECT_EQ(NamePattern_Name("a_%05d.png", 42), "a_00042.png");
    EXPECT_EQ(NamePattern_Name("a_%02d.png", 1234), "a_1234.png");
    EXPECT_EQ(NamePattern_Name("%d", 0), "0");
    EXPECT_FALSE(NamePattern_IsPattern("a.png"));
    EXPECT_EQ(NamePattern_Extension("x.y/a.PNG"), "png");
    EXPECT_EQ(NamePattern_Extension("x.y/a"), "");
    for (const char* pszBad : {"%s.png", "%5d.png", "%n", "a%", "%00d.png", "%05d_%05d.png", "%0100000d.png"})
        EXPECT_NE(Host_FailureOf([&] { NamePattern_IsPattern(pszBad); }).find(pszBad), std::string::npos);
}

TEST(RawSpec, ReadsAndRefuses)
{
    const STREAM stream = Raw_ParseSpec("UYVY:720x576@25iB:1500").stream;
    EXPECT_EQ(stream.vidProps.fccType, eZFCC_UYVY);
    EXPECT_EQ(stream.vidProps.nRowBytes, 1500);
    EXPECT_EQ(stream.vidProps.eInterlace, eZI_BottomFirst);
    EXPECT_EQ(stream.nRateNum, 25);
    for (const char* pszTopDown : {"RGB32:5x3", "RGB32:5x-3", "r210:5x3", "I444:5x3"})
        EXPECT_EQ(Raw_ParseSpec(pszTopDown).stream.vidProps.nHeight, -3) << pszTopDown;
    EXPECT_EQ(Raw_ParseSpec("RGB32:5x3:-20").stream.vidProps.nHeight, 3);
    EXPECT_EQ(Raw_ParseSpec("rgb24:5x3@59.94").stream.nRateNum, 60000);
    const std::vector<const char*> arrBad[] = {
        {"", "UYVY", "UYVY:", "UYVY:4", "UYVY:4x", "UYVY:4x4x4", "UYVY:4x5i"},                // not whole
        {"UYVY:0x4", "UYVY:4x-4", "UYVY:5x4", "I420:4x5", "UYVY:99999x99999"},                // no such size
        {"UYVY:4x-2147483648", "UYVY:4x99999999999", "UYVY:4x4:2147483647"},                  // no such number
        {"UYVY:4x4@", "UYVY:4x4@x", "UYVY:4x4@-1", "UYVY:4x4@nan"},                           // no rate
        {"UYVY:4x4:7", "UYVY:4x4:-8", "r210:4x4:-16", "RGB32:4x4:-2147483648", "I444:4x4:4"}, // rows
        {"NOPE:4x4", "RGB565:4x4"},                                                           // formats
    };
    for (const auto& vecBad : arrBad)
        for (const char* pszBad : vecBad)
            EXPECT_NE(Host_FailureOf([&] { Raw_ParseSpec(pszBad); }).find("--in"), std::string::npos) << pszBad;
}

TEST(RawFiles, SixteenBitsAreLittleEndianRGBA)
{
    const CTempFolder folder;
    WriteDeep(folder, "a.raw", {1, 1, {0x0102, 0x0304, 0x0506, 0x0708}});
    EXPECT_EQ(folder.Read("a.raw"), std::string("\x06\x05\x04\x03\x02\x01\x08\x07"));
}

/// What is written in a pixel format reads back as the same colours in the same places.
TEST(RawFiles, EveryReadableFormatComesBack)
{
    const CTempFolder folder;
    PICTURE picture; // as subsampled chroma keeps it, and another one upside down or with its sides changed
    picture.Resize(48, 4, 4);
    for (size_t i = 0; i < picture.vecPixels.size(); i += 4)
    {
        const uint8_t arrColors[3][4] = {{200, 90, 60, 255}, {30, 160, 220, 255}, {60, 60, 200, 255}};
        std::copy_n(arrColors[i >= 48 * 4 * 2 ? 2 : i / 4 % 48 / 24], 4, picture.vecPixels.data() + i);
    }
    std::vector<uint32_t> vecFormats = {c_fccI444};
    for (const PIXEL_FORMAT& info : FCC_All())
        if (Img_IsReadable(info.fccType) && info.fccType != eZFCC_RGB8)
            vecFormats.push_back(info.fccType);
    for (const uint32_t fccType : vecFormats)
    {
        STREAM stream;
        stream.vidProps = Stream_Props(fccType, 48, 4, eZI_Progressive);
        CZOutFiles files;
        PictureWriter_Open(folder.Path("a.raw"), stream, fccType, files)->Write(picture);
        files.CommitAll();
        CZRawReader reader(folder.Path("a.raw"), FCC_Name(fccType) + ":48x4");
        PICTURE read;
        Picture_FromFrame(reader.Next().Get(), read);
        EXPECT_FALSE(reader.Next());
        ASSERT_EQ(read.vecPixels.size(), picture.vecPixels.size());
        for (size_t i = 0; i < read.vecPixels.size(); ++i)
            ASSERT_NEAR(read.vecPixels[i], picture.vecPixels[i], 3) << FCC_Name(fccType) << " byte " << i;
    }
    EXPECT_GE(vecFormats.size(), 15u);
}

TEST(RawFiles, WrongSizesAreTold)
{
    const CTempFolder folder;
    folder.Write("cut.raw", std::string(48 * 4 * 4 + 5, 'x'));
    CZRawReader cut(folder.Path("cut.raw"), "RGB32:48x4");
    EXPECT_TRUE(cut.Next());
    EXPECT_NE(Host_FailureOf([&] { cut.Next(); }).find("frame 2 is cut off: 5 of its 768 bytes"), std::string::npos);
    folder.Write("full.raw", std::string(48 * 4 * 3, 'x'));
    CLogCatcher log;
    const CZRawReader half(folder.Path("full.raw"), "Y444:48x4");
    const CZRawReader packed(folder.Path("full.raw"), "UYVY:48x4");
    EXPECT_EQ(log.Count("say I444 in --in"), 1u);
    EXPECT_EQ(log.Count("its 576 bytes are no whole number of frames of 384; its size fits RGB8, RGB24, I420"), 1u);
}

TEST(OutFiles, AppearWholeOrNotAtAllAndOnce)
{
    const CTempFolder folder;
    folder.Write("a.txt", "old");
    {
        CZOutFiles files;
        files.Create(folder.Path("a.txt")).Write("new", 3);
        for (const char* pszSame : {"a.txt", "./a.txt", "none/../a.txt"})
            EXPECT_NE(Host_FailureOf([&] { files.Create(folder.Path(pszSame)); }).find("are one"), std::string::npos);
        files.MakeFolder(folder.Path("c"));
        files.MakeFolder(folder.Path("c"));
        EXPECT_EQ(folder.Read("a.txt"), "old");
        EXPECT_EQ(folder.Files(), 3u);
    }
    EXPECT_EQ(folder.Read("a.txt"), "old");
    EXPECT_EQ(folder.Files(), 1u) << "nothing was committed, and no temporary file is left";
    CZOutFiles files;
    files.Create(folder.Path("a.txt")).Write("new", 3);
    files.Create(folder.Path("b.txt")).Write("b", 1);
    files.CommitAll();
    EXPECT_EQ(folder.Read("a.txt") + folder.Read("b.txt"), "newb");
    EXPECT_EQ(folder.Files(), 2u);
    EXPECT_NE(Host_FailureOf([&] { CZOutFile(folder.Path("no/such/a.txt")); }).find("folder exists"),
              std::string::npos);
}

#if !defined(_WIN32)
bool WriteAsText(const std::string& _strPath, const std::string& _strText)
{
    std::string strReason;
    const bool bDone = TextFile_Replace(_strPath, _strText, &strReason);
    EXPECT_EQ(strReason.empty(), bDone);
    return bDone;
}

bool WriteAsOutput(const std::string& _strPath, const std::string& _strText)
{
    try
    {
        CZOutFile file(_strPath);
        file.Write(_strText);
        file.Commit();
        return true;
    }
    catch (const CZHostError&)
    {
        return false;
    }
}

/// Only ordinary files are replaced; a link stays a link, a pipe a pipe.
TEST(OutFile, LeavesLinksPipesAndFoldersInPlace)
{
    namespace fs = std::filesystem;
    for (const auto pfnWrite : {WriteAsText, WriteAsOutput})
    {
        const CTempFolder folder;
        folder.Write("real", "old");
        fs::create_symlink("real", folder.Path("link"));
        fs::create_symlink("later", folder.Path("dangling"));
        fs::create_symlink("dangling", folder.Path("twice"));
        EXPECT_TRUE(pfnWrite(folder.Path("link"), "new"));
        EXPECT_EQ(folder.Read("real"), "new");
        EXPECT_TRUE(pfnWrite(folder.Path("twice"), "made"));
        EXPECT_EQ(folder.Read("later"), "made");
        for (const char* pszLink : {"link", "dangling", "twice"})
            EXPECT_TRUE(fs::is_symlink(folder.Path(pszLink))) << pszLink;

        ASSERT_EQ(mkfifo(folder.Path("pipe").c_str(), 0600), 0);
        auto futRead = std::async(std::launch::async, [&] { return folder.Read("pipe"); });
        EXPECT_TRUE(pfnWrite(folder.Path("pipe"), "through"));
        EXPECT_EQ(futRead.get(), "through");
        EXPECT_TRUE(fs::is_fifo(folder.Path("pipe")));

        fs::create_directory(folder.Path("folder"));
        EXPECT_FALSE(pfnWrite(folder.Path("folder"), "no"));
        EXPECT_FALSE(pfnWrite(folder.Path("none/file"), "no"));
        EXPECT_EQ(folder.Files(), 7u) << "no temporary file is left";
    }
}
#endif

TEST(Stream, OpensAtAnyFrame)
{
    const CTempFolder folder;
    const std::string strGrey = "RGB8:8x8";
    std::string strRaw, strY4m = "YUV4MPEG2 W8 H8 F25:1 Cmono\n";
    for (const char ch : {'\x20', '\x40', '\x60'})
    {
        PICTURE picture;
        picture.Resize(8, 8, 1);
        std::ranges::fill(picture.vecPixels, static_cast<uint8_t>(ch));
        WritePng(folder, ZFormat("p%d.png", 3 + ch / 0x20).c_str(), picture);
        strRaw.append(64, ch);
        strY4m += "FRAME\n" + std::string(64, ch);
    }
    const std::pair<std::string, std::string> arrInputs[] = {
        {folder.Path("p%d.png"), ""}, {folder.Write("a.raw", strRaw), strGrey}, {folder.Write("a.y4m", strY4m), ""}};
    for (const auto& [strPath, strSpec] : arrInputs)
    {
        const auto upWhole = Stream_Open(strPath, strSpec);
        for (int nFirst = 0; nFirst < 5; ++nFirst)
        {
            const auto upSource = Stream_OpenAt(strPath, strSpec, nFirst);
            const auto cpFrame = upSource->Next(), cpWanted = upWhole->Next();
            ASSERT_EQ(static_cast<bool>(cpFrame), nFirst < 3) << strPath << nFirst;
            PICTURE picture, wanted;
            if (cpFrame)
                Picture_FromFrame(cpFrame.Get(), picture);
            if (cpWanted)
                Picture_FromFrame(cpWanted.Get(), wanted);
            EXPECT_TRUE(picture.vecPixels == wanted.vecPixels) << strPath << nFirst;
        }
    }
}

} // namespace
