#pragma once

#include "Support/GuardedPicture.h"
#include "ZChromaKey/Engine1/KeyReference.h"
#include "ZChromaKey/Work/MaskReference.h"
#include "ZChromaKey/Engine1/RandomInput.h"

#include <memory>
#include <stdexcept>
#include <vector>

/// A picture of guarded planes, as the engine takes it.
class CTestPicture : public GUARDED_PICTURE
{
public:
    /// _nPad: bytes between a row and the next. _bUp: rows are walked from high to low addresses.
    CTestPicture(uint32_t _fccType, int _nWidth, int _nHeight, int _nPad, bool _bUp)
        : GUARDED_PICTURE(Props(_fccType, _nWidth, -_nHeight), _bUp ? -1 - _nPad : _nPad, eZGuard_Fence)
    {
        vidProps.nRowBytes = std::abs(vidPtr.cbVideoRowBytes[0]);
    }
    void Fill(uint32_t _nNear, CRandom& _rnd)
    {
        for (const auto& upPlane : arrPlanes)
            if (upPlane)
                FillPixels(*upPlane, _nNear, _rnd);
    }
    std::vector<uint8_t> Bytes() const
    {
        std::vector<uint8_t> arrBytes;
        for (const auto& upPlane : arrPlanes)
            for (int nRow = 0; upPlane && nRow < upPlane->Rows(); ++nRow)
                arrBytes.insert(arrBytes.end(), upPlane->Row(nRow), upPlane->Row(nRow) + upPlane->RowBytes());
        return arrBytes;
    }
};

/// The engine's definition on whole pictures: convert, take the least alpha of the keys pixel by pixel, finish.
class CEngineReference
{
public:
    /// _nBefore: what the mask holds. _bFill: what is left out of the keying is 255, whatever is done to the mask.
    CEngineReference(const CTestPicture& _picture, const CHROMA_KEY_RAW& _rawKey, int _nThreads, uint8_t _nBefore,
                     bool _bFill)
        : mask(_picture.vidProps.nWidth, -_picture.vidProps.nHeight, _nBefore)
        , m_rawKey(_rawKey)
    {
        Convert(_picture, _nThreads);
        bool bKeying = false;
        for (int i = 0; i < std::clamp(m_rawKey.nKeysUsed, 0, 16); ++i)
        {
            const SINGLE_KEY& key = m_rawKey.arrKeys[i];
            const bool bOrdinary = key.nDelta != 0 && key.nReverseKey <= 0;
            bKeying |= bOrdinary && key.nAlpha != 255;
            bCleans |= bOrdinary && m_rawKey.bColorCancel &&
                       (key.nCancelPower || key.nCancelChroma || key.nCancelLuma || key.nCancelAlpha);
            if (key.nDelta != 0 && key.nAlpha != 255)
                m_arrKeys.push_back({key, CKeyReference(key, m_rawKey.eType == eCKT_RGB)});
        }
        for (int nRow = 0; nRow < mask.nHeight / _nThreads * _nThreads; ++nRow) // the same number for every thread
            for (int nColumn = 0; nColumn < mask.nWidth; ++nColumn)
            {
                uint8_t& nPixel = mask.At(nColumn, nRow);
                const int nExclusion = Least(true, nColumn, nRow, 255);
                const int nAlpha = bKeying ? Least(false, nColumn, nRow, nPixel) : 255;
                nPixel = static_cast<uint8_t>(std::max(nAlpha, 255 - nExclusion));
            }
        hrResult = bKeying || bCleans ? S_OK : S_FALSE;
        if (hrResult == S_OK)
            Finish(_picture.vidProps.eInterlace == 1 || _picture.vidProps.eInterlace == 2, _nThreads);
        for (int nRow = 0; nRow < mask.nHeight && _bFill && hrResult == S_OK; ++nRow)
            for (int nColumn = 0; nColumn < mask.nWidth; ++nColumn)
                if (nColumn >= m_nKeyed || nRow >= mask.nHeight / _nThreads * _nThreads)
                    mask.At(nColumn, nRow) = 255;
    }

    MASK_REFERENCE mask;
    HRESULT hrResult;
    bool bCleans = false; ///< colours of the picture are to be cleaned

private:
    struct KEY
    {
        SINGLE_KEY key;
        CKeyReference reference;
    };

    void Convert(const CTestPicture& _picture, int _nThreads)
    {
        CImgRowReader reader;
        if (FAILED(reader.Init(_picture.vidProps, _picture.vidPtr)))
            throw std::runtime_error("the test picture cannot be read");
        const int nRowPixels = reader.IsInPlace() ? std::abs(_picture.vidPtr.cbVideoRowBytes[0]) / 4 : mask.nWidth;
        const int nProcessed = std::min((mask.nWidth + 3) & ~3, _nThreads * nRowPixels);
        m_nKeyed = mask.nWidth < 8 ? 0 : std::min(nProcessed - nProcessed % 8, mask.nWidth);
        for (int nRow = 0; nRow < mask.nHeight; ++nRow)
        {
            m_arrRows.emplace_back(4 * static_cast<size_t>(mask.nWidth));
            uint8_t* const pRow = m_arrRows.back().data();
            reader.ReadRow(nRow, pRow);
            if (m_rawKey.eType == eCKT_HLS)
                Img_RowToHLS(pRow, pRow, mask.nWidth);
            if (m_rawKey.eType == eCKT_YUV)
                Img_RowToYUV(pRow, pRow, mask.nWidth, Img_MatrixOf(_picture.vidProps));
        }
    }
    /// Over the keys of a kind. Later keys count in whole groups of 16 pixels; _nElse is past what the first keys.
    int Least(bool _bExclude, int _nColumn, int _nRow, int _nElse) const
    {
        int nKeys = 0;
        int nLeast = _nElse;
        for (const auto& [key, reference] : m_arrKeys)
        {
            if ((key.nReverseKey > 0) != _bExclude)
                continue;
            const bool bFirst = nKeys++ == 0;
            if (_nColumn >= (bFirst ? m_nKeyed : std::min(mask.nWidth - mask.nWidth % 16, m_nKeyed)))
                continue;
            const int nAlpha = reference.Alpha(m_arrRows.at(static_cast<size_t>(_nRow)).data() + 4 * _nColumn);
            const int nFloored = std::min(nAlpha + (_bExclude ? 0 : key.nAlpha), 255);
            nLeast = bFirst ? nFloored : std::min(nLeast, nFloored);
        }
        return nLeast;
    }
    void Finish(bool _bInterlaced, int _nThreads)
    {
        if (_nThreads != 2 || !_bInterlaced)
            return mask.Post(m_rawKey, _bInterlaced || m_rawKey.nInterlacedVideo);
        // Each of two threads has a field, without the last row of an odd height.
        MASK_REFERENCE fields = mask;
        fields.nHeight -= fields.nHeight % 2;
        fields.arrPixels.resize(static_cast<size_t>(fields.nWidth) * static_cast<size_t>(fields.nHeight));
        fields.Post(m_rawKey, true);
        std::copy(fields.arrPixels.begin(), fields.arrPixels.end(), mask.arrPixels.begin());
    }

    CHROMA_KEY_RAW m_rawKey;
    std::vector<KEY> m_arrKeys;                  // those that are alive
    int m_nKeyed = 0;                            // columns
    std::vector<std::vector<uint8_t>> m_arrRows; // in the space of the keys
};
