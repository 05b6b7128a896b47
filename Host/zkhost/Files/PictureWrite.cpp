#include "Kit/HostError.h"
#include "zkhost/Files/PictureFile.h"

#include "Base/ZLog.h"

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
