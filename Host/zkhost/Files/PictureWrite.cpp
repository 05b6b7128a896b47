#include "Kit/HostError.h"
#include "zkhost/Files/PictureFile.h"

#include "Base/ZLog.h"

#include <array>
#include <climits>
#include <cstdlib>
#include <memory>

#define STBI_WRITE_NO_STDIO
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb/stb_image_write.h>

namespace
{

/// Bytes R, G, B or R, G, B, A for the file.
std::vector<uint8_t> FileOrder(const PICTURE& _picture, int _nChannels)
{
    const size_t nPixels = static_cast<size_t>(_picture.nWidth) * static_cast<size_t>(_picture.nHeight);
    std::vector<uint8_t> vecPixels(nPixels * static_cast<size_t>(_nChannels));
    const uint8_t* pFrom = _picture.vecPixels.data();
    uint8_t* pTo = vecPixels.data();
    for (size_t i = 0; i < nPixels; ++i, pFrom += 4, pTo += _nChannels)
    {
        if (_nChannels == 4 && pFrom[3] == 0)
            continue; // transparent black: the noise of a backdrop that is gone would be most of the file
        pTo[0] = pFrom[2];
        pTo[1] = pFrom[1];
        pTo[2] = pFrom[0];
        if (_nChannels == 4)
            pTo[3] = pFrom[3];
    }
    return vecPixels;
}

void Append(void* _pContext, void* _pBytes, int _cbBytes)
{
    static_cast<std::vector<uint8_t>*>(_pContext)->insert(static_cast<std::vector<uint8_t>*>(_pContext)->end(),
                                                          static_cast<uint8_t*>(_pBytes),
                                                          static_cast<uint8_t*>(_pBytes) + _cbBytes);
}

using BYTES = std::vector<uint8_t>;

/// Bytes R, G, B, A of a row of words, the high byte of each first.
void FileOrder(const uint16_t* _pBGRA, int _nWidth, uint8_t* _pOut)
{
    for (int x = 0; x < _nWidth; ++x, _pBGRA += 4)
        for (const int nChannel : {2, 1, 0, 3})
        {
            const uint16_t nWord = _pBGRA[3] == 0 ? uint16_t{0} : _pBGRA[nChannel];
            *_pOut++ = static_cast<uint8_t>(nWord >> 8);
            *_pOut++ = static_cast<uint8_t>(nWord);
        }
}

/// The one of left, above and left above that is nearest to left + above - left above: PNG's filter 4 (Paeth).
uint8_t Predicted(int _nLeft, int _nAbove, int _nCorner)
{
    const int nToLeft = std::abs(_nAbove - _nCorner);
    const int nToAbove = std::abs(_nLeft - _nCorner);
    const int nToCorner = std::abs(_nLeft + _nAbove - 2 * _nCorner);
    return static_cast<uint8_t>(nToLeft <= nToAbove && nToLeft <= nToCorner ? _nLeft
                                : nToAbove <= nToCorner                     ? _nAbove
                                                                            : _nCorner);
}

/// The rows as PNG packs them: the number of the filter, then what each byte is more than was predicted.
BYTES FilteredRows(const DEEP_PICTURE& _picture)
{
    constexpr size_t c_cbPixel = 8;
    constexpr uint8_t c_nFilter = 4;
    const size_t cbRow = c_cbPixel * static_cast<size_t>(_picture.nWidth);
    BYTES vecAbove(cbRow + c_cbPixel); // a pixel of zeros, then the row
    BYTES vecRow(cbRow + c_cbPixel);
    BYTES vecRows;
    vecRows.reserve((cbRow + 1) * static_cast<size_t>(_picture.nHeight));
    for (int y = 0; y < _picture.nHeight; ++y)
    {
        FileOrder(_picture.Row(y), _picture.nWidth, vecRow.data() + c_cbPixel);
        vecRows.push_back(c_nFilter);
        for (size_t i = c_cbPixel; i < cbRow + c_cbPixel; ++i)
            vecRows.push_back(static_cast<uint8_t>(
                vecRow[i] - Predicted(vecRow[i - c_cbPixel], vecAbove[i], vecAbove[i - c_cbPixel])));
        std::swap(vecRow, vecAbove);
    }
    return vecRows;
}

/// The CRC of ISO 3309, a byte at a time.
constexpr std::array<uint32_t, 256> c_arrCrc = [] {
    std::array<uint32_t, 256> arrCrc = {};
    for (uint32_t n = 0; n < 256; ++n)
    {
        arrCrc[n] = n;
        for (int nBit = 0; nBit < 8; ++nBit)
            arrCrc[n] = (arrCrc[n] & 1 ? 0xEDB88320u : 0u) ^ arrCrc[n] >> 1;
    }
    return arrCrc;
}();

void PutWord(uint32_t _nWord, BYTES& _vecFile)
{
    for (int nShift = 24; nShift >= 0; nShift -= 8)
        _vecFile.push_back(static_cast<uint8_t>(_nWord >> nShift));
}

void PutChunk(const char* _pszType, const uint8_t* _pBytes, size_t _cbBytes, BYTES& _vecFile)
{
    PutWord(static_cast<uint32_t>(_cbBytes), _vecFile);
    const size_t nBegin = _vecFile.size();
    _vecFile.insert(_vecFile.end(), _pszType, _pszType + 4);
    _vecFile.insert(_vecFile.end(), _pBytes, _pBytes + _cbBytes);
    uint32_t nCrc = ~0u;
    for (size_t i = nBegin; i < _vecFile.size(); ++i)
        nCrc = c_arrCrc[(nCrc ^ _vecFile[i]) & 0xFF] ^ nCrc >> 8;
    PutWord(~nCrc, _vecFile);
}

} // namespace

void PictureFile_WritePng(const PICTURE& _picture, CZOutFile& _file)
{
    const int nChannels = _picture.nChannels == 1 ? 1 : _picture.bAlpha ? 4 : 3;
    std::vector<uint8_t> vecPixels;
    const uint8_t* pPixels = _picture.vecPixels.data();
    if (nChannels != 1)
    {
        vecPixels = FileOrder(_picture, nChannels);
        pPixels = vecPixels.data();
    }
    std::vector<uint8_t> vecFile; // written in one go: an exception must not pass through the encoder
    if (!stbi_write_png_to_func(Append, &vecFile, _picture.nWidth, _picture.nHeight, nChannels, pPixels, 0))
        throw CZHostError(ZFormat("cannot encode %s: out of memory", _file.Name()));
    _file.Write(vecFile.data(), vecFile.size());
}

void PictureFile_WritePng(const DEEP_PICTURE& _picture, CZOutFile& _file)
{
    constexpr int c_nQuality = 8; // as the encoder of 8 bits has it
    BYTES vecRows = FilteredRows(_picture);
    if (vecRows.size() > INT_MAX)
        throw CZHostError(ZFormat("%s: a PNG of 16 bits a channel and %d x %d is too large; write *.raw", _file.Name(),
                                  _picture.nWidth, _picture.nHeight));
    int cbPacked = 0;
    const std::unique_ptr<uint8_t, void (*)(void*)> upPacked(
        stbi_zlib_compress(vecRows.data(), static_cast<int>(vecRows.size()), &cbPacked, c_nQuality), std::free);
    if (!upPacked)
        throw CZHostError(ZFormat("cannot encode %s: out of memory", _file.Name()));
    BYTES vecFile = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    BYTES vecHead;
    PutWord(static_cast<uint32_t>(_picture.nWidth), vecHead);
    PutWord(static_cast<uint32_t>(_picture.nHeight), vecHead);
    vecHead.insert(vecHead.end(), {16, 6, 0, 0, 0}); // bits, RGBA, deflate, filters, not interlaced
    PutChunk("IHDR", vecHead.data(), vecHead.size(), vecFile);
    PutChunk("IDAT", upPacked.get(), static_cast<size_t>(cbPacked), vecFile);
    PutChunk("IEND", nullptr, 0, vecFile);
    _file.Write(vecFile.data(), vecFile.size());
}

std::string PictureFile_Jpeg(const std::string& _strPixels, int _nWidth, int _nHeight, int _nQuality)
{
    std::string strFile;
    const auto fnAppend = [](void* _pContext, void* _pBytes, int _cbBytes) {
        static_cast<std::string*>(_pContext)->append(static_cast<const char*>(_pBytes), static_cast<size_t>(_cbBytes));
    };
    if (!stbi_write_jpg_to_func(fnAppend, &strFile, _nWidth, _nHeight, 4, _strPixels.data(), _nQuality))
        throw CZHostError("a picture cannot be encoded: out of memory");
    return strFile;
}
