#include "Host/TempFolder.h"

#include "Support/TestFrames.h"
#include "zkhost/Files/PictureWriter.h"
#include "zkhost/Files/RawReader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

// What keying a clip gives is the same to the byte on every system, compiler and processor: Golden.txt holds a hash of
// frames and masks per pixel format and key type. A change that is meant to change them takes over the lines that this
// test prints, once the pictures have been looked at: zkhost_test --gtest_filter=Golden.*

namespace
{

constexpr int c_nWidth = 48;
constexpr int c_nHeight = 32;
constexpr int c_nFrames = 2;

/// Backdrop with grain, red with a soft edge to it, and the edge moves.
PICTURE Painted(int _nFrame)
{
    PICTURE picture;
    picture.Resize(c_nWidth, c_nHeight, 4);
    uint32_t nNoise = 1 + _nFrame;
    for (int y = 0; y < c_nHeight; ++y)
        for (int x = 0; x < c_nWidth; ++x)
        {
            nNoise = nNoise * 1664525u + 1013904223u;
            const int nShare = std::clamp((2 * x + y - 40 - 5 * _nFrame) * 16, 0, 256);
            for (int nByte = 0; nByte < 4; ++nByte)
            {
                const int nGrain = static_cast<int>(nNoise >> (8 + 5 * nByte) & 7);
                const int nLevel = (c_arrTestGreen[nByte] * (256 - nShare) + c_arrTestRed[nByte] * nShare) / 256;
                picture.Row(y)[4 * x + nByte] = static_cast<uint8_t>(std::min(nLevel + nGrain, 255));
            }
        }
    return picture;
}

/// Writes the clip as a headerless file.
void WriteClip(const std::string& _strPath, uint32_t _fccType)
{
    STREAM stream;
    stream.vidProps = Stream_Props(_fccType, c_nWidth, c_nHeight, eZI_Progressive);
    CZOutFiles files;
    const auto upWriter = PictureWriter_Open(_strPath, stream, _fccType, files);
    for (int nFrame = 0; nFrame < c_nFrames; ++nFrame)
        upWriter->Write(Painted(nFrame));
    files.CommitAll();
}

std::string Keys(int32_t _eType)
{
    const SINGLE_KEY key = TestKey(_eType).arrKeys[0];
    return "<zl-root><ZChromaKey type='" + std::to_string(_eType) +
           "' keys='1' transparent.max='250' edges_smooth='1'><key value='" + std::to_string(key.nValue) + "' delta='" +
           std::to_string(key.nDelta) + "' smooth='60'/></ZChromaKey></zl-root>";
}

/// FNV-1a.
uint64_t Hash(const std::string& _strBytes, uint64_t _nHash = 0xCBF29CE484222325u)
{
    for (const char c : _strBytes)
        _nHash = (_nHash ^ static_cast<uint8_t>(c)) * 0x100000001B3u;
    return _nHash;
}

TEST(Golden, KeyingGivesTheSameBytesEverywhere)
{
    const CTempFolder folder;
    std::string strLines;
    for (const char* pszFormat : {"RGB32", "RGB24", "UYVY", "I420", "NV12", "v210"})
    {
        const std::string strClip = folder.Path("in.raw");
        WriteClip(strClip, Raw_ParseFormat(pszFormat));
        for (const int32_t eType : {eCKT_RGB, eCKT_HLS, eCKT_YUV})
        {
            const std::string strCommand = "\"" ZKHOST_PATH "\" key " + strClip + " --in " + pszFormat + ":" +
                                           std::to_string(c_nWidth) + "x" + std::to_string(c_nHeight) + "@25 -o " +
                                           folder.Path("out.raw") + " --mask " + folder.Path("mask.raw") +
                                           " --quiet --set gpu_mode=0 --keys " + folder.Write("keys.xml", Keys(eType));
            ASSERT_EQ(std::system(strCommand.c_str()), 0) << strCommand;
            const std::string strOut = folder.Read("out.raw");
            const std::string strMask = folder.Read("mask.raw");
            ASSERT_EQ(strOut.size(), size_t{4} * c_nWidth * c_nHeight * c_nFrames);
            ASSERT_EQ(strMask.size(), size_t{1} * c_nWidth * c_nHeight * c_nFrames);
            char szLine[64];
            std::snprintf(szLine, sizeof(szLine), "%s %d %016llx\n", pszFormat, eType,
                          static_cast<unsigned long long>(Hash(strMask, Hash(strOut))));
            strLines += szLine;
        }
    }
    std::ifstream file(ZKHOST_GOLDEN);
    const std::string strGolden{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(strLines, strGolden) << strLines;
}

} // namespace
