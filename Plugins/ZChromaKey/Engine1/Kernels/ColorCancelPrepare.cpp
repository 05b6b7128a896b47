#include "ZChromaKey/Engine1/Kernels/ColorCancelPrepare.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <utility>

namespace
{

constexpr float c_fltLeastAxis = 1.0f / 256;

constexpr YVU_MATRIX SingleOf(const Z_MATRIX& _matrix)
{
    YVU_MATRIX single = {};
    for (int i = 0; i < 3; ++i)
    {
        single.arrToYVU[0][i] = static_cast<float>(_matrix.arrY[i]);
        single.arrToYVU[1][i] = static_cast<float>(_matrix.arrV[i]);
        single.arrToYVU[2][i] = static_cast<float>(_matrix.arrU[i]);
        single.arrToAdd[i] = static_cast<float>(_matrix.arrYVUAdd[i]);
        single.arrToRGB[0][i] = static_cast<float>(_matrix.arrR[i]);
        single.arrToRGB[1][i] = static_cast<float>(_matrix.arrG[i]);
        single.arrToRGB[2][i] = static_cast<float>(_matrix.arrB[i]);
        single.arrRGBAdd[i] = static_cast<float>(_matrix.arrRGBAdd[i]);
    }
    return single;
}

/// The same for matrices that the shaders do not have: the exact coefficients in that form, where 256 steps are 1.
constexpr YVU_MATRIX SingleOf(int32_t _eMatrix)
{
    const Z_EXACT_MATRIX exact = ZMatrix_Exact(_eMatrix);
    const float fltBlack = static_cast<float>(ZMatrix_Levels(_eMatrix).dblBlack) / 256;
    const double arrToRGB[3][3] = {
        {exact.dblY, exact.dblRV, 0}, {exact.dblY, exact.dblGV, exact.dblGU}, {exact.dblY, 0, exact.dblBU}};
    YVU_MATRIX single = {{}, {fltBlack, .5f, .5f}, {}, {}};
    for (int i = 0; i < 3; ++i)
    {
        single.arrToYVU[0][i] = static_cast<float>(exact.arrY[i]);
        single.arrToYVU[1][i] = static_cast<float>(exact.arrV[i]);
        single.arrToYVU[2][i] = static_cast<float>(exact.arrU[i]);
        for (int j = 0; j < 3; ++j)
            single.arrToRGB[i][j] = static_cast<float>(arrToRGB[i][j]);
        single.arrRGBAdd[i] = -single.arrToRGB[i][0] * fltBlack - .5f * (single.arrToRGB[i][1] + single.arrToRGB[i][2]);
    }
    return single;
}

constexpr YVU_MATRIX c_arrYVU[] = {
    SingleOf(c_arrMatrix[eZYM_601]), SingleOf(c_arrMatrix[eZYM_709]), SingleOf(eZYM_2020),
    SingleOf(eZYM_Full + eZYM_601),  SingleOf(eZYM_Full + eZYM_709),  SingleOf(eZYM_Full + eZYM_2020)};

void Unpack(float* _pComponents, uint32_t _nWord)
{
    for (int i = 0; i < 4; ++i)
        _pComponents[i] = static_cast<float>(_nWord >> (8 * i) & 0xFF) / 256;
}

void RGBToYVU(float* _pYVU, const float* _pRGB, const YVU_MATRIX& _matrix)
{
    for (int i = 0; i < 3; ++i)
    {
        const float* const pRow = _matrix.arrToYVU[i];
        const float fltSum = pRow[0] * _pRGB[0] + pRow[1] * _pRGB[1] + pRow[2] * _pRGB[2] + _matrix.arrToAdd[i];
        _pYVU[i] = std::clamp(fltSum, 0.0f, 1.0f);
    }
}

// _fltHue in turns, 0 to below 1.
void HLSToRGB(float* _pRGB, float _fltHue, float _fltLight, float _fltSaturation)
{
    const float fltChroma = (1 - std::fabs(2 * _fltLight - 1)) * _fltSaturation;
    const float fltSecond = fltChroma * (1 - std::fabs(std::fmod(6 * _fltHue, 2.0f) - 1));
    const float fltLeast = _fltLight - fltChroma / 2;
    // For each sixth of a turn: which of chroma, second and 0 become R, G and B.
    constexpr int c_arrTakes[6][3] = {{0, 1, 2}, {1, 0, 2}, {2, 0, 1}, {2, 1, 0}, {1, 2, 0}, {0, 2, 1}};
    const float arrTaken[3] = {fltChroma, fltSecond, 0};
    const int nSector = std::clamp(static_cast<int>(6 * _fltHue), 0, 5);
    for (int i = 0; i < 3; ++i)
        _pRGB[i] = arrTaken[c_arrTakes[nSector][i]] + fltLeast;
}

eCancelSpace SpaceOf(int32_t _eType)
{
    return _eType == eCKT_RGB ? eCS_RGB : _eType == eCKT_HLS ? eCS_HLS : eCS_YVU;
}

CANCEL_KEY KernelKey(const CANCEL_CONSTANTS& _constants)
{
    CANCEL_KEY key = {};
    const float fltRange = _constants.arrScal[2];
    const float fltWidth = std::max((_constants.arrScal1[2] + 1) / 2, 0.0f);
    float fltLongest = 0;
    for (int i = 0; i < 2; ++i)
    {
        const float fltAxis = std::max(_constants.arrDist[i + 1] + fltRange, c_fltLeastAxis);
        fltLongest = std::max(fltLongest, fltAxis);
        key.arrCentre[i] = _constants.arrPos[i + 1];
        key.arrInverse[i] = 1 / fltAxis;
        key.arrPush[i] = _constants.arrScal[3] / 2 * _constants.arrYVUPos[i + 1];
    }
    key.fltRadius = key.arrInverse[0] == key.arrInverse[1] ? fltLongest : 0;
    // The ellipse lies within the circle whose radius is its longest half-axis.
    const float fltNear = (fltLongest + fltWidth) * 1.001f + 0.001f;
    key.fltNear = fltNear * fltNear;
    key.fltSlope = fltWidth > 0 ? 1 / fltWidth : FLT_MAX;
    key.fltPower = _constants.arrScal[3] / 2;
    key.fltPowerAbs = std::fabs(key.fltPower);
    key.fltChromaGain = _constants.arrScal1[0] + 1;
    key.fltLumaGain = _constants.arrScal1[1] + 1;
    key.bProtects = _constants.arrScal1[3] < 0;
    return key;
}

} // namespace

const YVU_MATRIX& ColorCancel_Matrix(eZYMatrix _eMatrix) noexcept
{
    return c_arrYVU[_eMatrix];
}

CANCEL_CONSTANTS ColorCancel_Constants(const SINGLE_KEY& _key, eCK_Type _eType, const YVU_MATRIX& _matrix) noexcept
{
    CANCEL_CONSTANTS res = {};
    Unpack(res.arrPos, _key.nValue);
    Unpack(res.arrDist, _key.nDelta);
    res.arrYVUPos[3] = res.arrPos[3];
    if (_eType == eCKT_RGB)
    {
        RGBToYVU(res.arrYVUPos, res.arrPos, _matrix);
    }
    else if (_eType == eCKT_HLS)
    {
        float arrRGB[3];
        HLSToRGB(arrRGB, res.arrPos[0], res.arrPos[1], res.arrPos[2]);
        RGBToYVU(res.arrYVUPos, arrRGB, _matrix);
    }
    else
    {
        std::swap(res.arrPos[1], res.arrPos[2]);
        std::swap(res.arrDist[1], res.arrDist[2]);
        std::copy_n(res.arrPos, 3, res.arrYVUPos);
    }
    res.arrYVUPos[1] -= 0.5f;
    res.arrYVUPos[2] -= 0.5f;
    const auto Scaled = [](int32_t _nValue, float _fltDivisor) { return static_cast<float>(_nValue) / _fltDivisor; };
    const float arrScal[4] = {Scaled(_key.nSmoothRange, 256), Scaled(_key.nAlpha, 256), Scaled(_key.nCancelRange, 512),
                              Scaled(_key.nCancelPower, 128)};
    const float arrScal1[4] = {Scaled(_key.nCancelChroma, 128), Scaled(_key.nCancelLuma, 256),
                               Scaled(_key.nCancelAlpha, 128), _key.nReverseKey ? -1.0f : 1.0f};
    std::copy_n(arrScal, 4, res.arrScal);
    std::copy_n(arrScal1, 4, res.arrScal1);
    return res;
}

CANCEL_SET ColorCancel_Prepare(const CHROMA_KEY_RAW& _rawKey, eZYMatrix _eMatrix) noexcept
{
    CANCEL_SET set = {};
    set.eSpace = SpaceOf(_rawKey.eType);
    set.matrix = ColorCancel_Matrix(_eMatrix);
    const int nKeys = std::clamp(_rawKey.nKeysUsed, 0, Z_MAX_KEYS);
    for (int i = 0; i < nKeys; ++i)
        if (const SINGLE_KEY& key = _rawKey.arrKeys[i]; key.nDelta != 0)
            set.arrKeys[set.nKeys++] =
                KernelKey(ColorCancel_Constants(key, static_cast<eCK_Type>(_rawKey.eType), set.matrix));
    // The kernels hold chroma around 0, so V and U of the centres are moved there, too.
    for (CANCEL_KEY& key : set.arrKeys)
        for (float& fltCentre : key.arrCentre)
            fltCentre -= set.eSpace == eCS_YVU ? 0.5f : 0.0f;
    return set;
}
