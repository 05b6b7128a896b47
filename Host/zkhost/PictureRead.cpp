#include "zkhost/PictureFile.h"

#include "zkhost/HostError.h"
#include "zkhost/InFile.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <iterator>
#include <memory>

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
void CheckPngSize(const std::vector<uint8_t>& _vecFile, const std::string& _strPath)
{
    constexpr uint8_t c_arrSignature[] = {0x89, 'P', 'N', 'G'};
    constexpr size_t c_nWidthAt = 16;
    if (_vecFile.size() < c_nWidthAt + 8 ||
        !std::equal(std::begin(c_arrSignature), std::end(c_arrSignature), _vecFile.begin()))
        return;
    const auto fnWord = [&](size_t _nAt) {
        return int64_t{_vecFile[_nAt]} << 24 | _vecFile[_nAt + 1] << 16 | _vecFile[_nAt + 2] << 8 | _vecFile[_nAt + 3];
    };
    Picture_CheckSize(fnWord(c_nWidthAt), fnWord(c_nWidthAt + 4), _strPath);
}

[[noreturn]] void FailDamaged(const std::string& _strPath)
{
    throw CZHostError(
        ZFormat("%s cannot be read as a PNG or JPEG picture (%s); save it as one of these, or copy it again "
                "if it was cut off",
                _strPath, stbi_failure_reason()));
}

} // namespace

PICTURE PictureFile_Read(const std::string& _strPath)
{
    const std::vector<uint8_t> vecFile = InFile_ReadAll(_strPath, c_cbMaxFile);
    const int cbFile = static_cast<int>(vecFile.size());
    CheckPngSize(vecFile, _strPath);
    int nWidth = 0, nHeight = 0, nChannels = 0;
    if (!stbi_info_from_memory(vecFile.data(), cbFile, &nWidth, &nHeight, &nChannels))
        FailDamaged(_strPath);
    Picture_CheckSize(nWidth, nHeight, _strPath);
    const std::unique_ptr<stbi_uc, void (*)(void*)> upPixels(
        stbi_load_from_memory(vecFile.data(), cbFile, &nWidth, &nHeight, &nChannels, STBI_rgb_alpha), stbi_image_free);
    if (!upPixels)
        FailDamaged(_strPath);
    PICTURE picture;
    picture.nWidth = nWidth;
    picture.nHeight = nHeight;
    picture.bAlpha = nChannels == STBI_grey_alpha || nChannels == STBI_rgb_alpha;
    const size_t nPixels = static_cast<size_t>(nWidth) * static_cast<size_t>(nHeight);
    picture.vecPixels.assign(upPixels.get(), upPixels.get() + nPixels * 4);
    SwapRedBlue(picture.vecPixels.data(), nPixels);
    return picture;
}
