#include "Support/ShaderTwin.h"

#include "Base/ZPixelFormats.h"
#include "Interfaces/ZVideoTypes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

namespace ShaderTwin
{
namespace
{

using COLOR = std::array<double, 3>;

double Clamp1(double _dblValue)
{
    return std::clamp(_dblValue, 0.0, 1.0);
}

/// A matrix: what Y, V, U take of R, G, B, and what R, G, B take of the colour differences.
struct YUV_ROWS
{
    COLOR y, v, u; // of R, G, B
    double dblRV, dblGV, dblGU, dblBU;
};
constexpr YUV_ROWS c_rows601 = {
    {0.257, 0.504, 0.098}, {0.439, -0.368, -0.071}, {-0.148, -0.291, 0.439}, 1.596, -0.813, -0.391, 2.018};
constexpr YUV_ROWS c_rows709 = {
    {0.183, 0.614, 0.062}, {0.439, -0.399, -0.040}, {-0.101, -0.338, 0.439}, 1.793, -0.534, -0.213, 2.112};

double Dot(const COLOR& _a, const COLOR& _b)
{
    return _a[0] * _b[0] + _a[1] * _b[1] + _a[2] * _b[2];
}

COLOR ToYVU(const COLOR& _rgb, const YUV_ROWS& _rows)
{
    return {Clamp1(Dot(_rgb, _rows.y) + 0.0625), Clamp1(Dot(_rgb, _rows.v) + 0.5), Clamp1(Dot(_rgb, _rows.u) + 0.5)};
}

/// What bytes of Y, V, U mean.
COLOR ToRGB(const COLOR& _yvu, const YUV_ROWS& _rows)
{
    const double dblY = 1.164 * (_yvu[0] - 16 / 255.0);
    const double dblV = _yvu[1] - 128 / 255.0;
    const double dblU = _yvu[2] - 128 / 255.0;
    return {Clamp1(dblY + _rows.dblRV * dblV), Clamp1(dblY + _rows.dblGV * dblV + _rows.dblGU * dblU),
            Clamp1(dblY + _rows.dblBU * dblU)};
}

COLOR RGBFromYVU(const COLOR& _yvu)
{
    const COLOR rgb = {1.164 * _yvu[0] + 1.596 * _yvu[1] - 0.871,
                       1.164 * _yvu[0] - 0.813 * _yvu[1] - 0.391 * _yvu[2] + 0.531,
                       1.164 * _yvu[0] + 2.018 * _yvu[2] - 1.082};
    return {Clamp1(rgb[0]), Clamp1(rgb[1]), Clamp1(rgb[2])};
}

COLOR HLSFromRGB(const COLOR& _rgb)
{
    const auto [r, g, b] = _rgb;
    const double dblMax = std::max({r, g, b});
    const double dblDelta = dblMax - std::min({r, g, b});
    const double dblL = dblMax - dblDelta / 2;
    if (dblDelta <= 0)
        return {0, dblL, 0};
    const double dblS = dblDelta / (1 - std::fabs(2 * dblL - 1));
    if (r > g && r > b)
        return {(g - b) / dblDelta / 6, dblL, dblS}; // negative towards magenta
    if (g > b)
        return {(b - r) / dblDelta / 6 + 1 / 3.0, dblL, dblS};
    return {(r - g) / dblDelta / 6 + 2 / 3.0, dblL, dblS};
}

const YUV_ROWS& Rows(eZYMatrix _eMatrix)
{
    return _eMatrix == eZYM_709 ? c_rows709 : c_rows601;
}

/// How far outside the ellipse a point lies on the line to its centre; negative inside.
double Outside(double _dblR1, double _dblR2, double _dblAxis1, double _dblAxis2)
{
    const double dblRadius = std::hypot(_dblR1, _dblR2);
    const double dblShare =
        std::hypot(_dblR1 / std::max(_dblAxis1, 1 / 256.0), _dblR2 / std::max(_dblAxis2, 1 / 256.0));
    return dblShare > 0 ? dblRadius - dblRadius / dblShare : -1;
}

/// 0 up to the ellipse, 1 from a width outside it.
double Ramp(double _dblOutside, double _dblWidth)
{
    if (_dblOutside <= 0)
        return 0;
    return _dblWidth > 0 ? std::min(_dblOutside / _dblWidth, 1.0) : 1;
}

COLOR Push(const CK_SHADER_KEY& _key, const COLOR& _yvu, double _dblR1, double _dblR2, double _dblWeight)
{
    const double dblPower = _key.scal[3] / 2.0;
    const double dblRadius = std::hypot(_dblR1, _dblR2);
    // What is left of the power at this distance from the centre.
    const double dblInflow = dblPower > 0 ? std::max(dblPower - dblRadius, 0.0) : std::min(dblPower + dblRadius, 0.0);
    double dblV = _yvu[1] + _dblWeight * _key.yvu_pos[1] * dblPower;
    double dblU = _yvu[2] + _dblWeight * _key.yvu_pos[2] * dblPower;
    if (dblRadius > 0)
    {
        dblV += dblInflow * _dblR1 / dblRadius;
        dblU += dblInflow * _dblR2 / dblRadius;
    }
    const double dblShrink = std::min(1.0, 0.5 / std::max(std::hypot(dblV, dblU), 0.5)) * (_key.scal1[0] + 1.0);
    return {Clamp1(_yvu[0] * (_key.scal1[1] + 1.0)), std::clamp(dblV * dblShrink, -0.5, 0.5),
            std::clamp(dblU * dblShrink, -0.5, 0.5)};
}

/// The alpha of a colour in the space of the keys.
double Alpha(const CK_SETTINGS& _settings, const COLOR& _color)
{
    double dblResult = 1;
    bool bKeyed = false;
    for (int i = 0; i < _settings.ipar[1]; ++i)
    {
        const CK_SHADER_KEY& key = _settings.keys[i];
        bKeyed = bKeyed || key.scal1[3] > 0;
        const double dblOutside = Outside(_color[1] - key.pos[1], _color[2] - key.pos[2], key.dist[1], key.dist[2]);
        double dblAlpha = Ramp(dblOutside, key.scal[0]);
        if (dblOutside >= 0 && dblAlpha < 1)
            dblAlpha = dblAlpha < _settings.fpar[0] ? 0 : dblAlpha > _settings.fpar[1] ? 1 : dblAlpha;
        if (key.scal1[3] > 0)
            dblResult = std::min(dblResult, dblAlpha);
        else
            dblResult = std::max(dblResult, 1 - dblAlpha);
    }
    return _settings.ipar[3] && bKeyed ? 1 - dblResult : dblResult;
}

/// The corrected colour. _yvu and the result: Y, V, U with chroma around 0.5.
COLOR Cancel(const CK_SETTINGS& _settings, const COLOR& _color, const COLOR& _yvu)
{
    const COLOR centred = {_yvu[0], _yvu[1] - 0.5, _yvu[2] - 0.5};
    COLOR sum = {};
    double dblTotal = 0;
    for (int i = 0; i < _settings.ipar[1]; ++i)
    {
        const CK_SHADER_KEY& key = _settings.keys[i];
        const double dblR1 = _color[1] - key.pos[1];
        const double dblR2 = _color[2] - key.pos[2];
        const double dblOutside =
            Outside(dblR1, dblR2, double{key.dist[1]} + key.scal[2], double{key.dist[2]} + key.scal[2]);
        const double dblWeight = 1 - Ramp(dblOutside, (key.scal1[2] + 1.0) / 2);
        const COLOR part = key.scal1[3] > 0 ? Push(key, centred, dblR1, dblR2, dblWeight) : centred;
        for (size_t j = 0; j < 3; ++j)
            sum[j] += dblWeight * part[j];
        dblTotal += dblWeight;
    }
    if (dblTotal <= 0.01)
        return _yvu;
    return {sum[0] / dblTotal, sum[1] / dblTotal + 0.5, sum[2] / dblTotal + 0.5};
}

/// Bytes of the first luma and of the chroma in a group of four.
struct PACKING
{
    uint32_t fccType;
    int nY, nU, nV;
};

/// Null for formats that are not packed.
const PACKING* PackingOf(uint32_t _fccType)
{
    static constexpr PACKING c_arrPackings[] = {
        {eZFCC_UYVY, 1, 0, 2}, {eZFCC_HDYC, 1, 0, 2}, {eZFCC_YUY2, 0, 1, 3}, {eZFCC_YVYU, 0, 3, 1}};
    const auto* const pPacking = std::ranges::find(c_arrPackings, _fccType, &PACKING::fccType);
    return pPacking == std::end(c_arrPackings) ? nullptr : pPacking;
}

bool IsRGB(uint32_t _fccType)
{
    return _fccType == eZFCC_RGB32 || _fccType == eZFCC_ARGB32;
}

/// Rows that share one of chroma.
int ChromaLines(uint32_t _fccType)
{
    return FCC_Subsampling(_fccType, 1).cy;
}

/// Where a planar picture keeps a sample of chroma, in bytes from its start.
size_t ChromaAt(const PICTURE& _picture, bool _bV, int _nColumn, int _nRow)
{
    const size_t cbLuma = static_cast<size_t>(_picture.nStride) * _picture.nHeight;
    if (_picture.fccType == eZFCC_NV12)
        return cbLuma + static_cast<size_t>(_nRow) * _picture.nStride + 2 * _nColumn + (_bV ? 1 : 0);
    const size_t cbRow = static_cast<size_t>(_picture.nStride) / 2;
    const size_t cbPlane = cbRow * (_picture.nHeight / ChromaLines(_picture.fccType));
    const bool bVFirst = _picture.fccType == eZFCC_YV12 || _picture.fccType == eZFCC_YV16;
    return cbLuma + (_bV == bVFirst ? 0 : cbPlane) + _nRow * cbRow + _nColumn;
}

/// R, G, B, A; Y, V, U, 1; or the grey value. Pixels outside are those at the border.
std::array<double, 4> Pixel(const PICTURE& _picture, int _nX, int _nY)
{
    const int x = std::clamp(_nX, 0, _picture.nWidth - 1);
    const int y = std::clamp(_nY, 0, _picture.nHeight - 1);
    if (IsRGB(_picture.fccType))
        return {_picture.Byte(y, 4 * x + 2), _picture.Byte(y, 4 * x + 1), _picture.Byte(y, 4 * x),
                _picture.Byte(y, 4 * x + 3)};
    if (_picture.fccType == eZFCC_RGB8)
        return {_picture.Byte(y, x), _picture.Byte(y, x), _picture.Byte(y, x), 1};
    if (const PACKING* const pPacking = PackingOf(_picture.fccType))
        return {_picture.Byte(y, 2 * x + pPacking->nY), _picture.Byte(y, x / 2 * 4 + pPacking->nV),
                _picture.Byte(y, x / 2 * 4 + pPacking->nU), 1};
    const int nRow = y / ChromaLines(_picture.fccType);
    return {_picture.Byte(y, x), _picture.arrBytes[ChromaAt(_picture, true, x / 2, nRow)],
            _picture.arrBytes[ChromaAt(_picture, false, x / 2, nRow)], 1};
}

std::array<double, 4> PixelBetween(const PICTURE& _picture, double _dblX, double _dblY, bool _bLinear)
{
    if (!_bLinear)
        return Pixel(_picture, static_cast<int>(std::floor(_dblX)), static_cast<int>(std::floor(_dblY)));
    const int x = static_cast<int>(std::floor(_dblX - 0.5));
    const int y = static_cast<int>(std::floor(_dblY - 0.5));
    std::array<double, 4> sum = {};
    for (int i = 0; i < 4; ++i)
    {
        const int nColumn = x + i % 2;
        const int nRow = y + i / 2;
        const std::array<double, 4> pixel = Pixel(_picture, nColumn, nRow);
        const double dblWeight = (1 - std::fabs(_dblX - 0.5 - nColumn)) * (1 - std::fabs(_dblY - 0.5 - nRow));
        for (size_t j = 0; j < 4; ++j)
            sum[j] += dblWeight * pixel[j];
    }
    return sum;
}

using PIXELS = std::function<std::array<double, 4>(int _nX, int _nY)>;

/// Stores pixels, which are in the picture's own colours, into all its planes.
void Store(PICTURE* _pPicture, const PIXELS& _pixels)
{
    const PACKING* const pPacking = PackingOf(_pPicture->fccType);
    const int nLines = ChromaLines(_pPicture->fccType);
    for (int y = 0; y < _pPicture->nHeight; ++y)
        for (int x = 0; x < _pPicture->nWidth; ++x)
        {
            const std::array<double, 4> pixel = _pixels(x, y);
            if (IsRGB(_pPicture->fccType))
                for (int i = 0; i < 4; ++i)
                    _pPicture->Byte(y, 4 * x + i) = Clamp1(pixel[i == 3 ? 3 : 2 - i]);
            else
                _pPicture->Byte(y, pPacking ? 2 * x + pPacking->nY : x) = Clamp1(pixel[0]);
            if (IsRGB(_pPicture->fccType) || _pPicture->fccType == eZFCC_RGB8 || x % 2 || y % nLines)
                continue;
            double dblV = 0;
            double dblU = 0;
            for (int i = 0; i < 2 * nLines; ++i)
            {
                const std::array<double, 4> sample = _pixels(x + i % 2, y + i / 2);
                dblV += Clamp1(sample[1]) / (2 * nLines);
                dblU += Clamp1(sample[2]) / (2 * nLines);
            }
            if (pPacking)
            {
                _pPicture->Byte(y, 2 * x + pPacking->nV) = dblV;
                _pPicture->Byte(y, 2 * x + pPacking->nU) = dblU;
                continue;
            }
            _pPicture->arrBytes[ChromaAt(*_pPicture, true, x / 2, y / nLines)] = dblV;
            _pPicture->arrBytes[ChromaAt(*_pPicture, false, x / 2, y / nLines)] = dblU;
        }
}

eZYMatrix MatrixOf(const CONVERT_SHADER& _shader, uint32_t _fccType)
{
    return _fccType == eZFCC_HDYC ? eZYM_709 : _shader.eMatrix;
}

std::array<double, 4> Recolor(const CONVERT_SHADER& _shader, const std::array<double, 4>& _pixel)
{
    const bool bToYUV = !IsRGB(_shader.fccOut) && _shader.fccOut != eZFCC_RGB8;
    const double dblAlpha = _shader.fccIn == eZFCC_ARGB32 && _shader.fccOut == eZFCC_ARGB32 ? _pixel[3] : 1;
    COLOR color = {_pixel[0], _pixel[1], _pixel[2]};
    if (_shader.fccIn == eZFCC_RGB8)
    {
        if (bToYUV)
            return {_pixel[0] * 0.8594 + 0.0625, 128 / 255.0, 128 / 255.0, 1};
        return _pixel;
    }
    if (_shader.fccOut == eZFCC_RGB8)
    {
        const double dblLuma = IsRGB(_shader.fccIn) ? ToYVU(color, c_rows601)[0] : color[0];
        const double dblGrey = (dblLuma - 0.0625) / 0.8594;
        return {dblGrey, dblGrey, dblGrey, 1};
    }
    const bool bFromYUV = !IsRGB(_shader.fccIn);
    if (bFromYUV && bToYUV && MatrixOf(_shader, _shader.fccIn) == MatrixOf(_shader, _shader.fccOut))
        return _pixel;
    if (bFromYUV)
        color = ToRGB(color, Rows(MatrixOf(_shader, _shader.fccIn)));
    if (bToYUV)
        color = ToYVU(color, Rows(MatrixOf(_shader, _shader.fccOut)));
    return {color[0], color[1], color[2], dblAlpha};
}

/// One pixel of a keying pass: its colour in the space of the keys, and in Y, V, U.
struct KEYED
{
    COLOR colKey, yvu;
};

KEYED PixelToKey(const KEY_SHADER& _shader, const std::array<double, 4>& _pixel)
{
    const COLOR color = {_pixel[0], _pixel[1], _pixel[2]};
    const bool bRGB = _shader.eInput == eKI_RGB;
    const COLOR yvu = bRGB ? ToYVU(color, c_rows601) : color;
    if (_shader.eType == eCKT_YUV)
        return {yvu, yvu};
    COLOR rgb = color;
    if (!bRGB)
        rgb = RGBFromYVU(color); // whatever the matrix
    return {_shader.eType == eCKT_HLS ? HLSFromRGB(rgb) : rgb, yvu};
}

PICTURE KeyMask(const KEY_SHADER& _shader, const CK_SETTINGS& _settings, const PICTURE& _picture)
{
    const bool bPairs = _shader.eInput == eKI_HDYC;
    const int nWidth = _shader.eInput == eKI_RGB ? _picture.nWidth : (_picture.nWidth + 3) / 4 * 4;
    PICTURE mask = Make(eZFCC_RGB8, nWidth, _picture.nHeight);
    Store(&mask, [&](int _nX, int _nY) -> std::array<double, 4> {
        int x = _nX;
        if (bPairs)
            x = _nX / 4 * 4 + _nX % 2;
        else if (_nX >= _picture.nWidth) // the last texel once more
            x = _picture.nWidth - 2 + _nX % 2;
        return {Alpha(_settings, PixelToKey(_shader, Pixel(_picture, x, _nY)).colKey)};
    });
    return mask;
}

} // namespace

PICTURE Make(uint32_t _fccType, int _nWidth, int _nHeight, int _nStride)
{
    PICTURE picture = {_fccType, _nWidth, _nHeight, _nStride, {}};
    int nRow = _nWidth;
    int nHalves = 2; // of the picture's height
    if (IsRGB(_fccType))
        nRow = 4 * _nWidth;
    else if (PackingOf(_fccType))
        nRow = (_nWidth + 1) / 2 * 4;
    else if (FCC_IsPlanar(_fccType))
        nHalves = ChromaLines(_fccType) == 1 ? 4 : 3;
    picture.nStride = _nStride ? _nStride : nRow;
    picture.arrBytes.resize(static_cast<size_t>(picture.nStride) * _nHeight * nHalves / 2);
    return picture;
}

PICTURE Key(const KEY_SHADER& _shader, const CK_SETTINGS& _settings, const PICTURE& _picture)
{
    PICTURE input = _picture;
    if (_shader.eInput != eKI_RGB)
        input.nWidth = static_cast<int>(_settings.fpar[2]);
    if (_shader.eOutput == eKO_Mask)
        return KeyMask(_shader, _settings, input);
    PICTURE output = Make(_shader.eOutput == eKO_Packed ? input.fccType : eZFCC_ARGB32, input.nWidth, input.nHeight);
    Store(&output, [&](int _nX, int _nY) -> std::array<double, 4> {
        const std::array<double, 4> pixel = Pixel(input, _nX, _nY);
        const KEYED keyed = PixelToKey(_shader, pixel);
        COLOR color = _shader.bColorCancel ? Cancel(_settings, keyed.colKey, keyed.yvu) : keyed.yvu;
        if (_shader.eOutput == eKO_Packed)
            return {color[0], color[1], color[2], 1};
        if (_shader.eInput != eKI_RGB)
            color = ToRGB(color, Rows(_shader.eMatrix));
        else if (std::hypot(color[0] - keyed.yvu[0], color[1] - keyed.yvu[1], color[2] - keyed.yvu[2]) > 0.0001)
            color = RGBFromYVU(color);
        else
            color = {pixel[0], pixel[1], pixel[2]};
        return {color[0], color[1], color[2], Alpha(_settings, keyed.colKey)};
    });
    return output;
}

PICTURE Smooth(const PICTURE& _picture, bool _bInterlaced, const SMOOTH_SHADER& _shader)
{
    PICTURE output = _picture;
    const int nStep = _bInterlaced ? 2 : 1;
    Store(&output, [&](int _nX, int _nY) -> std::array<double, 4> {
        std::array<double, 4> pixel = Pixel(_picture, _nX, _nY);
        double dblAlpha = pixel[3];
        if (dblAlpha >= 0.01)
        {
            dblAlpha = 0;
            for (int y = -1; y <= 1; ++y)
                for (int x = -1; x <= 1; ++x)
                    dblAlpha += Pixel(_picture, _nX + x, _nY + y * nStep)[3] / (4 << (std::abs(x) + std::abs(y)));
            for (size_t i = 0; _shader.bPremultiplied && i < 3; ++i)
                pixel[i] *= dblAlpha / pixel[3];
        }
        pixel[3] = _shader.bInverse ? 1 - dblAlpha : dblAlpha;
        return pixel;
    });
    return output;
}

PICTURE Convert(const CONVERT_SHADER& _shader, const PICTURE& _picture, int _nWidth, int _nHeight, int _nStride)
{
    PICTURE output = Make(_shader.fccOut, _nWidth, _nHeight, _nStride);
    Store(&output, [&](int _nX, int _nY) {
        const double dblX = (_nX + 0.5) * _picture.nWidth / _nWidth;
        const double dblY = (_nY + 0.5) * _picture.nHeight / _nHeight;
        return Recolor(_shader, PixelBetween(_picture, dblX, dblY, _shader.bLinear));
    });
    return output;
}

PICTURE DXV(const DXV_SHADER& _shader, const PS_CONVERT& _convert, const PICTURE& _top, const PICTURE* _pBottom)
{
    PICTURE output = Make(eZFCC_UYVY, static_cast<int>(_convert.size[0]), _top.nHeight * (_pBottom ? 2 : 1));
    const auto Row = [](const float* _pf, const COLOR& _rgb) {
        return _pf[0] * _rgb[0] + _pf[1] * _rgb[1] + _pf[2] * _rgb[2];
    };
    const double dblLow = _shader.bFullRange ? 0 : 0.0625;
    const double dblHighLuma = _shader.bFullRange ? 1 : 0.9180;
    const double dblHighChroma = _shader.bFullRange ? 1 : 0.9375;
    for (int y = 0; y < output.nHeight; ++y)
        for (int x = 0; x < output.nWidth; x += 2)
        {
            const PICTURE& field = _pBottom && y % 2 ? *_pBottom : _top;
            const int nRow = _pBottom ? y / 2 : y;
            const std::array<double, 4> left = Pixel(field, x, nRow);
            const std::array<double, 4> right = Pixel(field, x + 1, nRow);
            const COLOR mean = {(left[0] + right[0]) / 2, (left[1] + right[1]) / 2, (left[2] + right[2]) / 2};
            const double dblU = Row(_convert.vecU, mean) + _convert.vecV[3]; // crossed offsets
            const double dblV = Row(_convert.vecV, mean) + _convert.vecU[3];
            output.Byte(y, 2 * x) = std::clamp(dblU, dblLow, dblHighChroma);
            output.Byte(y, 2 * x + 2) = std::clamp(dblV, dblLow, dblHighChroma);
            for (int i = 0; i < 2; ++i)
            {
                const std::array<double, 4>& pixel = i ? right : left;
                output.Byte(y, 2 * x + 1 + 2 * i) = std::clamp(
                    Row(_convert.vecY, {pixel[0], pixel[1], pixel[2]}) + _convert.vecY[3], dblLow, dblHighLuma);
            }
        }
    return output;
}

} // namespace ShaderTwin
