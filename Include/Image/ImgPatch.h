#pragma once

#include "Base/ZPixelLayout.h"
#include "Image/ImgColor.h"
#include "Image/ImgKernels.h"
#include "Interfaces/ZPlatform.h"

#include <cstddef>
#include <cstdint>

/// New colours for some pixels of a block of a picture.
struct IMG_PATCH
{
    static constexpr int c_nWidth = 64; ///< the most columns and rows of a block
    static constexpr int c_nHeight = 4;

    int nX; ///< the first column, even, and row, a multiple of four
    int nY;
    const void* pPixels; ///< straight alpha, B, G, R, A: the pixel nX, nY
    ptrdiff_t nStride;   ///< bytes
    bool bWords;         ///< 16 bits a channel, else 8
    /// By row: the pixels whose colour is new; bit n is column nX + n. Such a pixel has alpha.
    uint64_t arrChanged[c_nHeight];
};

/// Puts colours back into a picture of any format that CImgRowReader reads, only where they are new: all other samples
/// keep their exact values. The rounding is that of Img_RowToYUV; pictures of 10 bits get 10 bits.
///
/// Chroma that pixels share becomes that of their mean colour, each weighted with its alpha, where any of them is new.
/// Alpha itself is not written. Samples are found as CImgRowReader finds them; pixels that odd sizes leave without a
/// chroma sample keep the nearest one's. Formats with alpha and RGB8 are not patched.
///
/// The planes are borrowed. After Init any number of threads may patch blocks that do not overlap.
class CImgPatcher
{
public:
    /// As CImgRowReader::Init, which is to have accepted the same picture. E_NOTIMPL: a format that is not patched.
    HRESULT Init(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, eZYMatrix _eMatrix);
    void Put(const IMG_PATCH& _patch) const;

private:
    struct COLOUR;
    struct SHARERS;
    void PutRGB(const IMG_PATCH& _patch, int _nRow) const;
    void PutPixelRGB(uint8_t* _pPixel, const COLOUR& _colour) const;
    void PutShared(const IMG_PATCH& _patch, const SHARERS& _sharers) const;
    void PutLuma(int _nX, int _nY, const COLOUR& _colour) const;
    void PutChroma(int _nPair, int _nChromaRow, const COLOUR& _colour) const;
    int Sample(const int16_t* _pnCoef, int _nOffset, const COLOUR& _colour) const;
    uint8_t* Row(int _nPlane, int _nRow) const
    {
        return m_arrRow0[_nPlane] + _nRow * m_anStride[_nPlane];
    }

    bool m_bRGB = false;
    eImgLayout m_eLayout = eIL_None;
    Z_PAIR_BYTES m_pair = {};
    uint8_t* m_arrRow0[3] = {}; ///< Y, U, V
    int64_t m_anStride[3] = {};
    int m_nWidth = 0;
    int m_nHeight = 0;
    int m_nChroma = 0; ///< planar formats: samples of a chroma row, and their rows
    int m_nChromaRows = 0;
    int m_nSteps = 1;   ///< 4 with ten bits: in the samples' own unit
    int m_nSharing = 1; ///< rows that share a chroma row
    int m_nApart = 1;   ///< how far they are apart: 2 with fields
    const IMG_RGB_COEF* m_pCoef = nullptr;
};
