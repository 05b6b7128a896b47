#pragma once

#include "Support/GuardedPicture.h"
#include "ZChromaKey/KeyReference.h"
#include "ZChromaKey/MaskReference.h"

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
    /// Fills the picture with one colour, near it or far from it in turns.
    void Fill(uint32_t _nColour, CRandom& _rnd)
    {
        for (const auto& upPlane : arrPlanes)
            for (int nRow = 0; upPlane && nRow < upPlane->Rows(); ++nRow)
                for (size_t n = 0; n < upPlane->RowBytes(); ++n)
                {
                    const int nNear =
                        static_cast<int>(_nColour >> (8 * (n % 4)) & 255) + static_cast<int>(_rnd() % 41) - 20;
                    upPlane->Row(nRow)[n] =
                        n / 12 % 2 ? static_cast<uint8_t>(_rnd()) : static_cast<uint8_t>(std::clamp(nNear, 0, 255));
                }
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

/// The engine's definition on whole pictures: convert, cut into slices, key by key into planes, merge, finish.
class CEngineReference
{
public:
    CEngineReference(const CTestPicture& _picture, const CHROMA_KEY_RAW& _rawKey, int _nThreads, uint8_t _nBefore)
        : mask(_picture.vidProps.nWidth, -_picture.vidProps.nHeight, _nBefore)
        , m_rawKey(_rawKey)
        , m_nThreads(_nThreads)
    {
        Convert(_picture);
        const bool bInterlaced = _picture.vidProps.eInterlace == 1 || _picture.vidProps.eInterlace == 2;
        const bool bWholeFrame = _nThreads < 2 || (_nThreads == 2 && bInterlaced);
        const bool bFields = bInterlaced || _rawKey.nInterlacedVideo;
        for (int nSlice = 0; nSlice < _nThreads; ++nSlice)
        {
            MASK_REFERENCE slice(mask.nWidth, mask.nHeight / _nThreads, _nBefore);
            hrResult = SliceKey(slice, nSlice);
            if (bWholeFrame && hrResult == S_OK)
                slice.Post(_rawKey, _nThreads == 1 && bFields);
            for (int nRow = 0; nRow < slice.nHeight; ++nRow)
                for (int nColumn = 0; nColumn < mask.nWidth; ++nColumn)
                    mask.At(nColumn, nSlice + nRow * _nThreads) = slice.At(nColumn, nRow);
        }
        if (!bWholeFrame && hrResult == S_OK)
            mask.Post(_rawKey, bFields);
    }

    MASK_REFERENCE mask;
    HRESULT hrResult = S_OK;
    bool bCleans = false; ///< colours of the picture are to be cleaned

private:
    void Convert(const CTestPicture& _picture)
    {
        CImgRowReader reader;
        if (FAILED(reader.Init(_picture.vidProps, _picture.vidPtr)))
            throw std::runtime_error("the test picture cannot be read");
        const size_t nWidth = static_cast<size_t>(mask.nWidth);
        m_nRowPixels = reader.IsInPlace() ? std::abs(_picture.vidPtr.cbVideoRowBytes[0]) / 4 : mask.nWidth;
        for (int nRow = 0; nRow < mask.nHeight; ++nRow)
        {
            m_arrRows.emplace_back(4 * nWidth);
            uint8_t* const pRow = m_arrRows.back().data();
            reader.ReadRow(nRow, pRow);
            if (m_rawKey.eType == eCKT_HLS)
                Img_RowToHLS(pRow, pRow, mask.nWidth);
            if (m_rawKey.eType == eCKT_YUV)
                Img_RowToYUV(pRow, pRow, mask.nWidth, Img_MatrixOf(_picture.vidProps));
        }
    }
    HRESULT SliceKey(MASK_REFERENCE& _slice, int _nSlice)
    {
        bool bKeying = false;
        bool bCancel = false;
        for (int i = 0; i < std::clamp(m_rawKey.nKeysUsed, 0, 16); ++i)
        {
            const SINGLE_KEY& key = m_rawKey.arrKeys[i];
            const bool bOrdinary = key.nDelta != 0 && key.nReverseKey <= 0;
            bKeying |= bOrdinary && key.nAlpha != 255;
            bCancel |= bOrdinary && (key.nCancelPower || key.nCancelChroma || key.nCancelLuma || key.nCancelAlpha);
        }
        bCleans = bCancel && m_rawKey.bColorCancel;
        if (!bKeying)
        {
            std::fill(_slice.arrPixels.begin(), _slice.arrPixels.end(), uint8_t{255});
            if (!bCleans)
                return S_FALSE;
        }
        MASK_REFERENCE exclusion(_slice.nWidth, _slice.nHeight, 255);
        bool bFirst = bKeying;
        bool bFirstExclusion = true;
        for (int i = 0; i < std::clamp(m_rawKey.nKeysUsed, 0, 16); ++i)
        {
            const SINGLE_KEY& key = m_rawKey.arrKeys[i];
            if (key.nDelta == 0 || key.nAlpha == 255)
                continue;
            if (key.nReverseKey > 0)
                Merge(exclusion, key, _nSlice, 0, bFirstExclusion);
            else
                Merge(_slice, key, _nSlice, key.nAlpha, bFirst);
        }
        for (size_t n = 0; n < _slice.arrPixels.size(); ++n)
            _slice.arrPixels[n] = std::max(_slice.arrPixels[n], static_cast<uint8_t>(255 - exclusion.arrPixels[n]));
        return S_OK;
    }
    void Merge(MASK_REFERENCE& _plane, const SINGLE_KEY& _key, int _nSlice, int _nFloor, bool& _bFirst)
    {
        const CKeyReference reference(_key, m_rawKey.eType == eCKT_RGB);
        const int nProcessed = std::min((_plane.nWidth + 3) & ~3, m_nThreads * m_nRowPixels);
        const int nKeyed = _plane.nWidth < 8 ? 0 : std::min(nProcessed - nProcessed % 8, _plane.nWidth);
        const int nColumns = _bFirst ? nKeyed : std::min(_plane.nWidth - _plane.nWidth % 16, nKeyed);
        for (int nRow = 0; nRow < _plane.nHeight; ++nRow)
            for (int nColumn = 0; nColumn < nColumns; ++nColumn)
            {
                const int nSourceRow = _nSlice + nRow * m_nThreads;
                const uint8_t* const pPixel = m_arrRows.at(static_cast<size_t>(nSourceRow)).data() + 4 * nColumn;
                const auto nAlpha = static_cast<uint8_t>(std::min(reference.Alpha(pPixel) + _nFloor, 255));
                uint8_t& nPixel = _plane.At(nColumn, nRow);
                nPixel = _bFirst ? nAlpha : std::min(nPixel, nAlpha);
            }
        _bFirst = false;
    }

    CHROMA_KEY_RAW m_rawKey;
    int m_nThreads;
    int m_nRowPixels = 0;
    std::vector<std::vector<uint8_t>> m_arrRows; // in the space of the keys
};
