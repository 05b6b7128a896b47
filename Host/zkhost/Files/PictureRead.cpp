#include "Kit/HostError.h"
#include "zkhost/Files/InFile.h"
#include "zkhost/Files/PictureFile.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <memory>

namespace
{

/// The most that the decoder may allocate at a time. How long a piece of a file is, and what it unpacks to, is only the
/// file's word: without a limit a hundred bytes take gigabytes.
thread_local size_t t_cbDecoderMost = 0;
thread_local bool t_bDecoderRefused = false;

void* Decoder_Allocate(void* _pBlockOrNull, size_t _cbBlock)
{
    if (_cbBlock <= t_cbDecoderMost)
        return std::realloc(_pBlockOrNull, _cbBlock);
    t_bDecoderRefused = true;
    return nullptr;
}

} // namespace

#define STBI_MALLOC(cb) Decoder_Allocate(nullptr, cb)
#define STBI_REALLOC(p, cb) Decoder_Allocate(p, cb)
#define STBI_FREE(p) std::free(p)
#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_NO_STDIO
#define STBI_NO_LINEAR
#define STBI_NO_HDR
#define STBI_MAX_DIMENSIONS 32767
#if !defined(__clang_analyzer__) // its findings in code that is not ours say nothing about this file
#define STB_IMAGE_IMPLEMENTATION
#endif
#include <stb/stb_image.h>

namespace
{

constexpr size_t c_cbMaxFile = size_t{1} << 30;

void SwapRedBlue(uint8_t* _pPixels, size_t _nPixels)
{
    for (size_t i = 0; i < _nPixels; ++i)
        std::swap(_pPixels[4 * i], _pPixels[4 * i + 2]);
}

/// The decoder has its own limits, but cannot say that they were the reason.
void CheckPngSize(std::span<const uint8_t> _arrFile, const std::string& _strPath)
{
    constexpr uint8_t c_arrSignature[] = {0x89, 'P', 'N', 'G'};
    constexpr size_t c_nWidthAt = 16;
    if (_arrFile.size() < c_nWidthAt + 8 ||
        !std::equal(std::begin(c_arrSignature), std::end(c_arrSignature), _arrFile.begin()))
        return;
    const auto fnWord = [&](size_t _nAt) {
        return int64_t{_arrFile[_nAt]} << 24 | _arrFile[_nAt + 1] << 16 | _arrFile[_nAt + 2] << 8 | _arrFile[_nAt + 3];
    };
    Picture_CheckSize(fnWord(c_nWidthAt), fnWord(c_nWidthAt + 4), _strPath);
}

uint32_t Word16(std::span<const uint8_t> _arrFile, size_t _nAt)
{
    return _nAt + 1 < _arrFile.size() ? uint32_t{_arrFile[_nAt]} << 8 | _arrFile[_nAt + 1] : 0;
}

/// Whether a Huffman segment of a JPEG, given where its length stands, has a table of more codes than there are bytes.
bool IsTableOverfull(std::span<const uint8_t> _arrFile, size_t _nAt)
{
    constexpr uint32_t c_nMostCodes = 256;
    constexpr size_t c_cbCounts = 16;
    const size_t nEnd = std::min(_nAt + Word16(_arrFile, _nAt), _arrFile.size());
    for (size_t n = _nAt + 2; n < nEnd;) // class and number of the table, sixteen counts, the codes
    {
        uint32_t nCodes = 0;
        for (size_t i = n + 1; i <= n + c_cbCounts && i < _arrFile.size(); ++i)
            nCodes += _arrFile[i];
        if ((_arrFile[n] & ~0x13) == 0 && nCodes > c_nMostCodes)
            return true;
        n += 1 + c_cbCounts + nCodes;
    }
    return false;
}

/// The decoder writes past its tables when a JPEG has an overfull one, so such a file does not get that far. Up to the
/// first scan the segments are followed as the decoder does; after it, everything that looks like a table is one.
void CheckJpegTables(std::span<const uint8_t> _arrFile, const std::string& _strPath)
{
    constexpr uint8_t c_nTables = 0xC4, c_nScan = 0xDA, c_nStart = 0xD8;
    bool bScan = false;
    for (size_t n = 0; n + 1 < _arrFile.size();)
    {
        const uint8_t nMarker = _arrFile[n + 1];
        if (_arrFile[n] != 0xFF || nMarker == 0xFF)
        {
            ++n;
            continue;
        }
        n += 2;
        if (nMarker == c_nTables && IsTableOverfull(_arrFile, n))
            throw CZHostError(
                ZFormat("%s: the picture is damaged (a Huffman table with too many codes); save it again", _strPath));
        bScan = bScan || nMarker == c_nScan;
        if (!bScan && nMarker != c_nStart)
            n += Word16(_arrFile, n);
    }
}

[[noreturn]] void FailDamaged(const std::string& _strPath)
{
    throw CZHostError(
        ZFormat("%s cannot be read as a PNG or JPEG picture (%s); save it as one of these, or copy it again "
                "if it was cut off",
                _strPath, t_bDecoderRefused ? "it wants more memory than its picture takes" : stbi_failure_reason()));
}

/// Limits the decoder for a picture of a file; 0 x 0 while only the file's head is read.
void LimitDecoder(size_t _cbFile, int _nWidth, int _nHeight)
{
    constexpr size_t c_cbTables = size_t{1} << 20;
    constexpr size_t c_cbPixel = 4 * 2; // four channels of 16 bits
    const size_t cbPicture = (static_cast<size_t>(_nWidth) * c_cbPixel + 1) * static_cast<size_t>(_nHeight);
    t_cbDecoderMost = c_cbTables + 2 * (_cbFile + 2 * cbPicture); // blocks double as they grow
    t_bDecoderRefused = false;
}

} // namespace

PICTURE PictureFile_Read(const std::string& _strPath)
{
    return PictureFile_Decode(InFile_ReadAll(_strPath, c_cbMaxFile), _strPath);
}

PICTURE PictureFile_Decode(std::span<const uint8_t> _arrFile, const std::string& _strName)
{
    const int cbFile = static_cast<int>(_arrFile.size());
    CheckPngSize(_arrFile, _strName);
    if (!_arrFile.empty() && _arrFile[0] == 0xFF)
        CheckJpegTables(_arrFile, _strName);
    int nWidth = 0, nHeight = 0, nChannels = 0;
    LimitDecoder(_arrFile.size(), 0, 0);
    if (!stbi_info_from_memory(_arrFile.data(), cbFile, &nWidth, &nHeight, &nChannels))
        FailDamaged(_strName);
    Picture_CheckSize(nWidth, nHeight, _strName);
    LimitDecoder(_arrFile.size(), nWidth, nHeight);
    const std::unique_ptr<stbi_uc, void (*)(void*)> upPixels(
        stbi_load_from_memory(_arrFile.data(), cbFile, &nWidth, &nHeight, &nChannels, STBI_rgb_alpha), stbi_image_free);
    if (!upPixels)
        FailDamaged(_strName);
    PICTURE picture;
    picture.nWidth = nWidth;
    picture.nHeight = nHeight;
    picture.bAlpha = nChannels == STBI_grey_alpha || nChannels == STBI_rgb_alpha;
    const size_t nPixels = static_cast<size_t>(nWidth) * static_cast<size_t>(nHeight);
    picture.vecPixels.assign(upPixels.get(), upPixels.get() + nPixels * 4);
    SwapRedBlue(picture.vecPixels.data(), nPixels);
    return picture;
}
