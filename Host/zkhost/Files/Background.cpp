#include "zkhost/Files/Background.h"

#include "Kit/HostError.h"
#include "Kit/Platform.h"
#include "zkhost/Files/PictureFile.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace
{

PICTURE Plain(uint32_t _nRGB, int _nWidth, int _nHeight)
{
    PICTURE picture;
    picture.Resize(_nWidth, _nHeight, 4);
    Picture_Fill(picture, 0, 0, _nWidth, _nHeight, _nRGB);
    return picture;
}

PICTURE Middle(const PICTURE& _picture, int _nWidth, int _nHeight)
{
    const int nLeft = (_picture.nWidth - _nWidth) / 2;
    const int nTop = (_picture.nHeight - _nHeight) / 2;
    PICTURE middle;
    middle.Resize(_nWidth, _nHeight, 4);
    for (int y = 0; y < _nHeight; ++y)
        std::copy_n(_picture.Row(nTop + y) + size_t{4} * static_cast<size_t>(nLeft), middle.RowBytes(), middle.Row(y));
    return middle;
}

/// A colour between two, by a share of 0 to 1.
struct TINT
{
    double arrBGR[3];
};

void PutPixel(uint8_t* _pPixel, const TINT& _tintA, const TINT& _tintB, double _dblShare)
{
    const double dblShare = std::clamp(_dblShare, 0.0, 1.0);
    for (int c = 0; c < 3; ++c)
        _pPixel[c] =
            static_cast<uint8_t>(std::lround(_tintA.arrBGR[c] + (_tintB.arrBGR[c] - _tintA.arrBGR[c]) * dblShare));
    _pPixel[3] = 255;
}

} // namespace

PICTURE Background_Load(const std::string& _strColorOrPath, int _nWidth, int _nHeight)
{
    if (_strColorOrPath.starts_with('#'))
    {
        uint32_t nRGB = 0;
        const char* const pEnd = _strColorOrPath.data() + _strColorOrPath.size();
        const auto res = std::from_chars(_strColorOrPath.data() + 1, pEnd, nRGB, 16);
        if (_strColorOrPath.size() != 7 || res.ec != std::errc() || res.ptr != pEnd)
            throw CZUsageError(ZFormat("--background %s: a colour is written as #RRGGBB", _strColorOrPath));
        return Plain(nRGB, _nWidth, _nHeight);
    }
    if (!Platform_Exists(_strColorOrPath))
        throw CZHostError(
            ZFormat("--background %s: there is no such picture; a colour is written as #RRGGBB", _strColorOrPath));
    return Background_Fit(PictureFile_Read(_strColorOrPath), _nWidth, _nHeight, "--background " + _strColorOrPath);
}

PICTURE Background_Fit(PICTURE _picture, int _nWidth, int _nHeight, const std::string& _strName)
{
    if (_picture.bAlpha)
        Picture_Over(_picture, Plain(0, _picture.nWidth, _picture.nHeight));
    const double dblScale =
        std::max(static_cast<double>(_nWidth) / _picture.nWidth, static_cast<double>(_nHeight) / _picture.nHeight);
    const int nWidth = std::max(static_cast<int>(std::lround(_picture.nWidth * dblScale)), _nWidth);
    const int nHeight = std::max(static_cast<int>(std::lround(_picture.nHeight * dblScale)), _nHeight);
    Picture_CheckSize(nWidth, nHeight, ZFormat("%s, scaled to cover the frame", _strName));
    return Middle(Picture_Scaled(_picture, nWidth, nHeight), _nWidth, _nHeight);
}

PICTURE Background_Checker(int _nWidth, int _nHeight)
{
    PICTURE picture = Plain(0xB4B4B4, _nWidth, _nHeight);
    const int nSquare = std::max(8, _nHeight / 36);
    for (int y = 0; y < _nHeight; ++y)
        for (int x = 0; x < _nWidth; ++x)
            if ((x / nSquare + y / nSquare) % 2)
                std::fill_n(picture.Row(y) + 4 * x, 3, uint8_t{0x78});
    return picture;
}

PICTURE Background_Scenery(int _nWidth, int _nHeight)
{
    constexpr TINT c_tintZenith{{122, 66, 38}}, c_tintHorizon{{120, 170, 248}}, c_tintSun{{190, 232, 255}};
    constexpr TINT c_arrHills[] = {{{116, 84, 92}}, {{84, 54, 58}}, {{48, 30, 30}}};
    PICTURE picture;
    picture.Resize(_nWidth, _nHeight, 4);
    for (int y = 0; y < _nHeight; ++y)
        for (int x = 0; x < _nWidth; ++x)
        {
            const double dblX = static_cast<double>(x) / _nHeight;
            const double dblY = static_cast<double>(y) / _nHeight;
            uint8_t* pPixel = picture.Row(y) + 4 * x;
            PutPixel(pPixel, c_tintZenith, c_tintHorizon, dblY / 0.66);
            const double dblSun = std::hypot(dblX - 0.42, dblY - 0.5);
            const TINT tintSky{{double(pPixel[0]), double(pPixel[1]), double(pPixel[2])}};
            PutPixel(pPixel, tintSky, c_tintSun, std::max((0.075 - dblSun) * _nHeight, 0.75 * std::exp(-dblSun * 6.0)));
            for (int i = 0; i < 3; ++i) // three chains of hills, each nearer one darker
            {
                const double dblTop = 0.60 + 0.11 * i + 0.045 * std::sin(dblX * (3.1 + i) + 1.7 * i) +
                                      0.018 * std::sin(dblX * (9.0 + 4.0 * i) + i);
                const TINT tintBack{{double(pPixel[0]), double(pPixel[1]), double(pPixel[2])}};
                PutPixel(pPixel, tintBack, c_arrHills[i], (dblY - dblTop) * _nHeight);
            }
        }
    return picture;
}
