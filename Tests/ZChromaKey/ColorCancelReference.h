#pragma once

#include "Interfaces/ChromaKeyTypes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

/// Colour cancel of single colours, written from the definition in double arithmetic, to hold the fast one to.
class CCancelReference
{
public:
    using TRIPLE = std::array<double, 3>;

    explicit CCancelReference(const CHROMA_KEY_RAW& _rawKey, bool _b709 = false)
        : m_rawKey(_rawKey)
        , m_b709(_b709)
    {
    }

    /// Whether a pixel lies where single precision may decide otherwise: at the end of the keys' reach, at a hard edge,
    /// or so near a centre that its direction is chance.
    bool bDoubtful = false;

    TRIPLE ToYVU(const TRIPLE& _rgb) const
    {
        static const double arr601[3][3] = {{0.257, 0.504, 0.098}, {0.439, -0.368, -0.071}, {-0.148, -0.291, 0.439}};
        static const double arr709[3][3] = {{0.183, 0.614, 0.062}, {0.439, -0.399, -0.040}, {-0.101, -0.338, 0.439}};
        return Clamped(Product(m_b709 ? arr709 : arr601, _rgb, {0.0625, 0.5, 0.5}));
    }
    TRIPLE ToRGB(const TRIPLE& _yvu) const
    {
        static const double arr601[3][3] = {{1.164, 1.596, 0}, {1.164, -0.813, -0.391}, {1.164, 0, 2.018}};
        static const double arr709[3][3] = {{1.164, 1.793, 0}, {1.164, -0.533, -0.213}, {1.164, 0, 2.112}};
        const TRIPLE arrAdd = m_b709 ? TRIPLE{-0.969, 0.300, -1.129} : TRIPLE{-0.871, 0.531, -1.082};
        return Clamped(Product(m_b709 ? arr709 : arr601, _yvu, arrAdd));
    }
    static TRIPLE ToHLS(const TRIPLE& _rgb)
    {
        const int n = _rgb[0] > _rgb[1] && _rgb[0] > _rgb[2] ? 0 : _rgb[1] > _rgb[2] ? 1 : 2;
        const double dblMin = std::min({_rgb[0], _rgb[1], _rgb[2]});
        const double dblLight = (_rgb[n] + dblMin) / 2;
        const double dblDelta = _rgb[n] - dblMin;
        const double dblRange = 1 - std::abs(2 * dblLight - 1);
        const double dblHue = dblDelta > 0 ? ((_rgb[(n + 1) % 3] - _rgb[(n + 2) % 3]) / dblDelta + 2 * n) / 6 : 0;
        return {dblHue, dblLight, dblDelta > 0 && dblRange > 1e-9 ? dblDelta / dblRange : 0};
    }
    static TRIPLE FromHLS(const TRIPLE& _hls)
    {
        const auto Level = [&](double _dblSixths) {
            const double dblHue = std::fmod(6 * _hls[0] + _dblSixths, 6);
            const double dblChroma = (1 - std::abs(2 * _hls[1] - 1)) * _hls[2];
            return _hls[1] + dblChroma * (std::clamp(std::abs(dblHue - 3) - 1, 0.0, 1.0) - 0.5);
        };
        return {Level(0), Level(4), Level(2)};
    }

    /// The cleaned colour; the same where no key takes part. Both Y, V, U. _bChanged: whether one did.
    TRIPLE Clean(const TRIPLE& _yvu, const TRIPLE& _rgb, bool* _pbChanged)
    {
        const TRIPLE arrOwn = {_yvu[0], _yvu[1] - 0.5, _yvu[2] - 0.5};
        TRIPLE arrSum = {};
        double dblSum = 0;
        for (int i = 0; i < m_rawKey.nKeysUsed; ++i)
        {
            const SINGLE_KEY& key = m_rawKey.arrKeys[i];
            if (key.nDelta == 0)
                continue;
            double dblWeight = 0;
            const TRIPLE arrNew = KeyClean(key, arrOwn, Place(_yvu, _rgb), &dblWeight);
            if (!(dblWeight > 0))
                continue;
            for (int c = 0; c < 3; ++c)
                arrSum[c] += dblWeight * arrNew[c];
            dblSum += dblWeight;
        }
        bDoubtful |= std::abs(dblSum - 0.01) < 1e-4;
        *_pbChanged = dblSum > 0.01;
        if (!*_pbChanged)
            return _yvu;
        return {arrSum[0] / dblSum, arrSum[1] / dblSum + 0.5, arrSum[2] / dblSum + 0.5};
    }

private:
    static TRIPLE Product(const double (&_arrRows)[3][3], const TRIPLE& _arr, const TRIPLE& _arrAdd)
    {
        TRIPLE res = _arrAdd;
        for (int nRow = 0; nRow < 3; ++nRow)
            for (int c = 0; c < 3; ++c)
                res[nRow] += _arrRows[nRow][c] * _arr[c];
        return res;
    }
    static TRIPLE Clamped(const TRIPLE& _arr)
    {
        return {std::clamp(_arr[0], 0.0, 1.0), std::clamp(_arr[1], 0.0, 1.0), std::clamp(_arr[2], 0.0, 1.0)};
    }
    static TRIPLE Bytes(uint32_t _nWord)
    {
        return {(_nWord & 255) / 256.0, (_nWord >> 8 & 255) / 256.0, (_nWord >> 16 & 255) / 256.0};
    }
    /// A key word's components in the order of the pixel's.
    TRIPLE Word(uint32_t _nWord) const
    {
        const TRIPLE arr = Bytes(_nWord);
        return m_rawKey.eType == eCKT_YUV ? TRIPLE{arr[0], arr[2], arr[1]} : arr;
    }
    TRIPLE Place(const TRIPLE& _yvu, const TRIPLE& _rgb) const
    {
        return m_rawKey.eType == eCKT_RGB ? _rgb : m_rawKey.eType == eCKT_HLS ? ToHLS(_rgb) : _yvu;
    }
    TRIPLE CentreYVU(const SINGLE_KEY& _key) const
    {
        const TRIPLE arrWord = Word(_key.nValue);
        return m_rawKey.eType == eCKT_RGB   ? ToYVU(arrWord)
               : m_rawKey.eType == eCKT_HLS ? ToYVU(FromHLS(arrWord))
                                            : arrWord;
    }
    TRIPLE KeyClean(const SINGLE_KEY& _key, const TRIPLE& _own, const TRIPLE& _place, double* _pdblWeight)
    {
        const TRIPLE arrCentre = Word(_key.nValue);
        const TRIPLE arrDist = Word(_key.nDelta);
        const double dblRange = _key.nCancelRange / 512.0;
        const double r1 = _place[1] - arrCentre[1];
        const double r2 = _place[2] - arrCentre[2];
        const double dblLength = std::hypot(r1, r2);
        const double dblAxes = std::hypot(r1 / std::max(arrDist[1] + dblRange, 1.0 / 256),
                                          r2 / std::max(arrDist[2] + dblRange, 1.0 / 256));
        const double dblWidth = std::max(_key.nCancelAlpha / 128.0 + 1, 0.0) / 2;
        const double dblDistance = dblAxes < 1 ? 0 : dblLength * (dblAxes - 1) / dblAxes;
        const double dblCancel = dblDistance == 0 ? 0 : dblWidth > 0 ? dblDistance / dblWidth : 1e9;
        bDoubtful |= dblLength < 1e-4 || (dblWidth < 0.01 && std::abs(dblAxes - 1) < 1e-3);
        *_pdblWeight = 1 - dblCancel;
        if (_key.nReverseKey)
            return _own;

        const double dblPower = _key.nCancelPower / 256.0;
        const double dblInflate = dblPower > 0 ? dblPower - std::clamp(dblLength, 0.0, dblPower)
                                               : dblPower - std::clamp(-dblLength, dblPower, 0.0);
        const TRIPLE arrKey = CentreYVU(_key);
        double v = _own[1] + (dblLength > 0 ? dblInflate * r1 / dblLength : 0);
        double u = _own[2] + (dblLength > 0 ? dblInflate * r2 / dblLength : 0);
        v += *_pdblWeight * (arrKey[1] - 0.5) * dblPower;
        u += *_pdblWeight * (arrKey[2] - 0.5) * dblPower;
        if (const double dblChroma = std::hypot(v, u); dblChroma > 0.5)
        {
            v *= 0.5 / dblChroma;
            u *= 0.5 / dblChroma;
        }
        const double dblGain = _key.nCancelChroma / 128.0 + 1;
        return {std::clamp(_own[0] * (_key.nCancelLuma / 256.0 + 1), 0.0, 1.0), std::clamp(v * dblGain, -0.5, 0.5),
                std::clamp(u * dblGain, -0.5, 0.5)};
    }

    CHROMA_KEY_RAW m_rawKey;
    bool m_b709;
};
