#include "DirectX/Shaders/KeyConstants.h"

#include "Base/ZAssert.h"
#include "Base/ZMatrix.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace
{

constexpr int32_t c_nNoKey = 255; // the nAlpha of a key that leaves everything opaque
constexpr float c_fNowhere = -8;  // a centre that no colour comes near

using COLOR = std::array<float, 3>;

/// Bytes count 256 to one here but 255 in the thresholds, on purpose: a centre never sits exactly on white.
void Unpack(uint32_t _nWord, float* _pfColor)
{
    for (int i = 0; i < 4; ++i)
        _pfColor[i] = static_cast<float>(_nWord >> (8 * i) & 0xFF) / 256;
}

float ShareOf(const double (&_arrRow)[3], const COLOR& _rgb, double _dblAdd)
{
    const auto fnF = [](double _dbl) { return static_cast<float>(_dbl); };
    const float fSum = fnF(_arrRow[0]) * _rgb[0] + fnF(_arrRow[1]) * _rgb[1] + fnF(_arrRow[2]) * _rgb[2];
    return std::clamp(fSum + fnF(_dblAdd), 0.0f, 1.0f);
}

COLOR YVUFromRGB(const COLOR& _rgb)
{
    const Z_MATRIX& matrix = c_arrMatrix[eZYM_601];
    return {ShareOf(matrix.arrY, _rgb, matrix.arrYVUAdd[0]), ShareOf(matrix.arrV, _rgb, matrix.arrYVUAdd[1]),
            ShareOf(matrix.arrU, _rgb, matrix.arrYVUAdd[2])};
}

/// A component is lightness plus half the chroma near its own hue, minus half of it on the far side.
COLOR RGBFromHLS(const COLOR& _hls)
{
    const float fChroma = (1 - std::fabs(2 * _hls[1] - 1)) * _hls[2];
    COLOR rgb;
    for (size_t i = 0; i < 3; ++i)
    {
        const float fTurn = _hls[0] - static_cast<float>(i) / 3;
        const float fApart = 6 * std::fabs(fTurn - std::round(fTurn)); // in sixths, 0 to 3
        rgb[i] = _hls[1] + fChroma * (std::clamp(2 - fApart, 0.0f, 1.0f) - 0.5f);
    }
    return rgb;
}

/// Pure red, green or blue in the order of a key word's bytes.
COLOR Primary(int32_t _eType, size_t _nPrimary)
{
    if (_eType == eCKT_HLS)
        return {static_cast<float>(_nPrimary) / 3, 0.5f, 1};
    COLOR rgb = {};
    rgb[_nPrimary] = 1;
    if (_eType == eCKT_RGB)
        return rgb;
    const COLOR yvu = YVUFromRGB(rgb);
    return {yvu[0], yvu[2], yvu[1]};
}

void Snap(int32_t _eType, float* _pfPos)
{
    COLOR best = {};
    float fBest = INFINITY;
    for (size_t i = 0; i < 3; ++i)
    {
        const COLOR primary = Primary(_eType, i);
        float fApart = 0;
        for (size_t j = 0; j < 3; ++j)
            fApart += (_pfPos[j] - primary[j]) * (_pfPos[j] - primary[j]);
        if (fApart < fBest)
        {
            fBest = fApart;
            best = primary;
        }
    }
    std::copy(best.begin(), best.end(), _pfPos);
}

void FillYVU(const CHROMA_KEY_RAW* _pCPU, CK_SHADER_KEY* _pKey)
{
    std::copy(std::begin(_pKey->pos), std::end(_pKey->pos), _pKey->yvu_pos);
    if (_pCPU->eType == eCKT_RGB || _pCPU->eType == eCKT_HLS)
    {
        const COLOR pos = {_pKey->pos[0], _pKey->pos[1], _pKey->pos[2]};
        const COLOR yvu = YVUFromRGB(_pCPU->eType == eCKT_HLS ? RGBFromHLS(pos) : pos);
        std::copy(yvu.begin(), yvu.end(), _pKey->yvu_pos);
    }
    else
    {
        (void)Z_VERIFY(_pCPU->eType == eCKT_YUV);
        std::swap(_pKey->pos[1], _pKey->pos[2]);
        std::swap(_pKey->dist[1], _pKey->dist[2]);
        std::swap(_pKey->yvu_pos[1], _pKey->yvu_pos[2]);
    }
    _pKey->yvu_pos[1] -= 0.5f;
    _pKey->yvu_pos[2] -= 0.5f;
}

/// The divisors differ on purpose.
void FillScales(const SINGLE_KEY& _key, CK_SHADER_KEY* _pKey)
{
    _pKey->scal[0] = static_cast<float>(_key.nSmoothRange) / 256;
    _pKey->scal[1] = static_cast<float>(_key.nAlpha) / 256;
    _pKey->scal[2] = static_cast<float>(_key.nCancelRange) / 512;
    _pKey->scal[3] = static_cast<float>(_key.nCancelPower) / 128;
    _pKey->scal1[0] = static_cast<float>(_key.nCancelChroma) / 128;
    _pKey->scal1[1] = static_cast<float>(_key.nCancelLuma) / 256;
    _pKey->scal1[2] = static_cast<float>(_key.nCancelAlpha) / 128;
    _pKey->scal1[3] = _key.nReverseKey ? -1.0f : 1.0f;
}

bool IsDead(const SINGLE_KEY& _key)
{
    return _key.nDelta == 0 || _key.nAlpha == c_nNoKey;
}

bool IsKeying(const SINGLE_KEY& _key)
{
    return !IsDead(_key) && _key.nReverseKey == 0;
}

void FillDead(CK_SHADER_KEY* _pKey)
{
    std::fill(std::begin(_pKey->pos), std::end(_pKey->pos), c_fNowhere);
    std::fill(std::begin(_pKey->dist), std::end(_pKey->dist), 1.0f / 256);
}

void FillKey(const CHROMA_KEY_RAW* _pCPU, const SINGLE_KEY& _key, bool _bSnap, CK_SHADER_KEY* _pKey)
{
    if (IsDead(_key))
    {
        FillDead(_pKey);
        return;
    }
    Unpack(_key.nValue, _pKey->pos);
    if (_bSnap)
        Snap(_pCPU->eType, _pKey->pos);
    Unpack(_key.nDelta, _pKey->dist);
    FillYVU(_pCPU, _pKey);
    FillScales(_key, _pKey);
}

int32_t KeysUsed(const CHROMA_KEY_RAW& _key)
{
    return std::clamp<int32_t>(_key.nKeysUsed, 0, Z_MAX_KEYS);
}

} // namespace

void Shader_FillKeys(const CHROMA_KEY_RAW& _key, int32_t _nWidth, int32_t _nHeight, bool _bSnap,
                     CK_SETTINGS* _pSettings)
{
    *_pSettings = {};
    const int32_t nKeys = KeysUsed(_key);
    _pSettings->ipar[0] = _key.eType;
    _pSettings->ipar[1] = nKeys;
    _pSettings->ipar[2] = _key.nInterlacedVideo;
    _pSettings->ipar[3] = _key.nInverseKey;
    for (int32_t i = 0; i < nKeys; ++i)
        FillKey(&_key, _key.arrKeys[i], _bSnap, &_pSettings->keys[i]);
    _pSettings->fpar[0] = static_cast<float>(_key.nMinTransparent) / 255;
    _pSettings->fpar[1] = static_cast<float>(_key.nMaxTransparent) / 255;
    _pSettings->fpar[2] = static_cast<float>(_nWidth + int64_t{_nWidth % 2});
    _pSettings->fpar[3] = std::fabs(static_cast<float>(_nHeight));
}

bool Shader_NeedsCancel(const CHROMA_KEY_RAW& _key)
{
    return _key.bColorCancel && std::any_of(_key.arrKeys, _key.arrKeys + KeysUsed(_key), [](const SINGLE_KEY& _single) {
               return IsKeying(_single) &&
                      (_single.nCancelPower || _single.nCancelChroma || _single.nCancelLuma || _single.nCancelAlpha);
           });
}

bool Shader_NeedsInverse(const CHROMA_KEY_RAW& _key)
{
    return _key.nInverseKey && std::any_of(_key.arrKeys, _key.arrKeys + KeysUsed(_key), IsKeying);
}
