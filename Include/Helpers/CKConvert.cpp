#include "Helpers/CKConvert.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace CKUtils
{
namespace
{

/// Components in the order of the key word's bytes.
using COLOR = std::array<double, 3>;

/// Hue bytes count 256 to a turn, all others 255 to 1.
double Unit(int32_t _eType, size_t _nComponent)
{
    return _eType == eCKT_HLS && _nComponent == 0 ? 256.0 : 255.0;
}

COLOR Unpack(uint32_t _nWord, int32_t _eType)
{
    COLOR col;
    for (size_t i = 0; i < 3; ++i)
        col[i] = (_nWord >> (8 * i) & 0xFF) / Unit(_eType, i);
    return col;
}

/// The standard sextants: the largest component is lightness plus half the chroma, the smallest minus half of it.
COLOR RGBFromHLS(const COLOR& _hls)
{
    const double dblChroma = (1 - std::fabs(2 * _hls[1] - 1)) * _hls[2];
    const double dblSixths = 6 * (_hls[0] - std::floor(_hls[0]));
    COLOR rgb;
    for (size_t i = 0; i < 3; ++i)
    {
        const double dblShifted = dblSixths + (i == 0   ? 0
                                               : i == 1 ? 4
                                                        : 2); // red, green and blue lead at sixths 0, 2, 4
        const double dblRamp = std::fabs(dblShifted - 6 * std::floor(dblShifted / 6) - 3) - 1;
        rgb[i] = _hls[1] + dblChroma * (std::clamp(dblRamp, 0.0, 1.0) - 0.5);
    }
    return rgb;
}

COLOR ToRGB(const COLOR& _col, int32_t _eType, eZYMatrix _eMatrix)
{
    if (_eType == eCKT_HLS)
        return RGBFromHLS(_col);
    if (_eType != eCKT_YUV)
        return _col;
    const IMG_COLOR rgb = Img_ColorFromYUV({_col[0], _col[1], _col[2]}, _eMatrix);
    return {rgb.dbl0, rgb.dbl1, rgb.dbl2};
}

COLOR FromRGB(const COLOR& _rgb, int32_t _eType, eZYMatrix _eMatrix)
{
    if (_eType == eCKT_RGB)
        return _rgb;
    COLOR rgb = _rgb;
    if (_eType == eCKT_HLS) // undefined outside the cube
        for (double& dblComponent : rgb)
            dblComponent = std::clamp(dblComponent, 0.0, 1.0);
    const IMG_COLOR in = {rgb[0], rgb[1], rgb[2]};
    const IMG_COLOR col = _eType == eCKT_HLS ? Img_ColorToHLS(in) : Img_ColorToYUV(in, _eMatrix);
    return {col.dbl0, col.dbl1, col.dbl2};
}

uint32_t Byte(double _dblValue)
{
    return static_cast<uint32_t>(std::clamp(std::floor(_dblValue + 0.5), 0.0, 255.0));
}

/// How far apart two values of a component are; hue goes around.
double Apart(double _dblA, double _dblB, bool _bHue)
{
    const double dblApart = std::fabs(_dblA - _dblB);
    return _bHue ? std::min(dblApart, 1 - dblApart) : dblApart;
}

void ConvertKey(SINGLE_KEY* _pKey, int32_t _eFrom, int32_t _eTo, eZYMatrix _eMatrix)
{
    const COLOR colFrom = Unpack(_pKey->nValue, _eFrom);
    const COLOR colDelta = Unpack(_pKey->nDelta, _eFrom);
    const COLOR colTo = FromRGB(ToRGB(colFrom, _eFrom, _eMatrix), _eTo, _eMatrix);
    COLOR colReach = {};
    for (int nEnd = 0; nEnd < 6; ++nEnd)
    {
        COLOR colEnd = colFrom;
        colEnd[nEnd / 2] += nEnd % 2 ? colDelta[nEnd / 2] : -colDelta[nEnd / 2];
        colEnd = FromRGB(ToRGB(colEnd, _eFrom, _eMatrix), _eTo, _eMatrix);
        for (size_t i = 0; i < 3; ++i)
            colReach[i] = std::max(colReach[i], Apart(colEnd[i], colTo[i], _eTo == eCKT_HLS && i == 0));
    }
    uint32_t nValue = _pKey->nValue & 0xFF000000u;
    uint32_t nDelta = _pKey->nDelta & 0xFF000000u;
    for (size_t i = 0; i < 3; ++i)
    {
        nValue |= Byte(colTo[i] * Unit(_eTo, i)) << (8 * i);
        nDelta |= std::max(Byte(colReach[i] * Unit(_eTo, i)), 1u) << (8 * i);
    }
    _pKey->nValue = nValue;
    _pKey->nDelta = _pKey->nDelta ? nDelta : 0; // a dead key stays dead
}

} // namespace

CHROMA_KEY_RAW ConvertKeys(const CHROMA_KEY_RAW& _key, eCK_Type _eType, eZYMatrix _eMatrix)
{
    CHROMA_KEY_RAW key = _key;
    key.eType = _eType;
    if (_key.eType == _eType || !KeyType_HasSpace(_key.eType) || !KeyType_HasSpace(_eType))
        return key;
    const int32_t nKeys = std::clamp<int32_t>(key.nKeysUsed, 0, Z_MAX_KEYS);
    for (int32_t i = 0; i < nKeys; ++i)
        ConvertKey(&key.arrKeys[i], _key.eType, _eType, _eMatrix);
    return key;
}

} // namespace CKUtils
