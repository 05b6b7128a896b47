#pragma once

#include "Interfaces/ChromaKeyTypes.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

/// A mask held as whole pictures, and its post-processing as the definition has it: one whole picture after the other.
struct MASK_REFERENCE
{
    int nWidth;
    int nHeight;
    std::vector<uint8_t> arrPixels;

    MASK_REFERENCE(int _nWidth, int _nHeight, uint8_t _nValue)
        : nWidth(_nWidth)
        , nHeight(_nHeight)
        , arrPixels(static_cast<size_t>(_nWidth) * static_cast<size_t>(_nHeight), _nValue)
    {
    }
    uint8_t& At(int _nColumn, int _nRow)
    {
        return arrPixels[static_cast<size_t>(_nRow) * static_cast<size_t>(nWidth) + static_cast<size_t>(_nColumn)];
    }
    /// The pixel that stands in for one outside: the nearest of the picture, or of the row's own field.
    uint8_t Clamped(int _nColumn, int _nRow, bool _bFields)
    {
        const int nStep = _bFields ? 2 : 1;
        while (_nRow < 0)
            _nRow += nStep;
        while (_nRow >= nHeight)
            _nRow -= nStep;
        return At(std::clamp(_nColumn, 0, nWidth - 1), _nRow);
    }
    void SmoothOnce(bool _bFields)
    {
        MASK_REFERENCE old = *this;
        for (int nRow = 0; nRow < nHeight; ++nRow)
            for (int nColumn = 0; nColumn < nWidth; ++nColumn)
            {
                double dblMean = 0;
                for (int y = -1; y <= 1; ++y)
                    for (int x = -1; x <= 1; ++x)
                        dblMean += old.Clamped(nColumn + x, nRow + y * (_bFields ? 2 : 1), _bFields) *
                                   (x ? 0.25 : 0.5) * (y ? 0.25 : 0.5);
                if (old.At(nColumn, nRow) / 255.0 >= 0.01)
                    At(nColumn, nRow) = static_cast<uint8_t>(std::floor(dblMean + 0.5));
            }
    }
    void Post(const CHROMA_KEY_RAW& _rawKey, bool _bFields)
    {
        for (uint8_t& nPixel : arrPixels)
            if (nPixel > 0 && nPixel < 255)
                nPixel = nPixel < _rawKey.nMinTransparent   ? uint8_t{0}
                         : nPixel > _rawKey.nMaxTransparent ? uint8_t{255}
                                                            : nPixel;
        for (int nPass = 0; nPass < std::min(_rawKey.nEdgesSmooth, 10); ++nPass)
            SmoothOnce(_bFields);
        for (uint8_t& nPixel : arrPixels)
            nPixel = static_cast<uint8_t>(_rawKey.nInverseKey ? 255 - nPixel : nPixel);
    }
};
