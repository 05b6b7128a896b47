#pragma once

#include "Base/ZPrefetch.h"
#include "Image/ImgColor.h"
#include "Image/ImgKernels.h"
#include "Interfaces/ZPlatform.h"

#include <cstdint>
#include <optional>

/// Reads single rows of a picture of any known format as bytes B, G, R, A.
///
/// Formats: eZFCC_RGB8 (grey), RGB24, RGB32, ARGB32, r210, v210, YUY2, UYVY, HDYC, YVYU, I420, YV12, NV12, I422, YV16,
/// Y422, Y444, ARGB64, RGBA32, P010, P210. Row y is row y of the planes as they are handed over, so a bottom-up picture
/// is read from its top when its planes are addressed flipped. A is 255 but for ARGB32, ARGB64 and RGBA32. Chroma is
/// repeated to the two pixels that share it. Samples of more than 8 bits are rounded to nearest, halves up: (n + 2) /
/// 4, at most 255.
///
/// Interlaced 4:2:0 takes the chroma of the row's own field: chroma rows 0, 2, 4 ... belong to the upper field. Where
/// odd sizes leave a pixel without a chroma sample, the nearest one serves, and 128 where the plane has none. Only
/// bytes of the width's samples are read, rounded up to the format's unit (two pixels; six in v210).
///
/// The planes are borrowed: they must live while rows are read. After Init any number of threads may read.
class CImgRowReader
{
public:
    /// The record need not be normalised; its format, width, height and field order count. The planes say where the
    /// samples are: sizes and strides as VidPtr_Build gives them. E_NOTIMPL: a format outside the list above.
    /// E_INVALIDARG: no pixel, a missing plane, or a stride shorter than a row; the log says which.
    /// _eMatrix: what YUV is read with; empty = Img_MatrixOf the record. Parts of a picture are to be read with the
    /// matrix of the whole, which their own size may not tell.
    HRESULT Init(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, std::optional<eZYMatrix> _eMatrix = {});

    /// Writes row _nRow (0 to Height() - 1) to _pBGRA, Width() x 4 bytes. Only after Init has succeeded.
    void ReadRow(int _nRow, uint8_t* _pBGRA) const
    {
        m_pfnRead(RowAt(_nRow), _pBGRA);
    }
    /// The same. Row _nNext will be read next, and is fetched meanwhile, block by block.
    void ReadRow(int _nRow, uint8_t* _pBGRA, int _nNext) const;
    /// The same for pixels _nFirst to _nFirst + _nPixels - 1 of the row alone; _nFirst is a multiple of the format's
    /// unit.
    void ReadSpan(int _nRow, int _nFirst, int _nPixels, uint8_t* _pBGRA, int _nNext) const;
    /// The row where it lies, when its bytes already are B, G, R, A (in RGB32 the fourth byte is undefined); else null.
    const uint8_t* RowInPlace(int _nRow) const
    {
        return m_bInPlace ? m_vidRow.pPlane0 + _nRow * m_anStride[0] : nullptr;
    }
    /// The row in place when that is possible, else written to _pScratch (Width() x 4 bytes).
    const uint8_t* Row(int _nRow, uint8_t* _pScratch) const
    {
        if (const uint8_t* pRow = RowInPlace(_nRow))
            return pRow;
        ReadRow(_nRow, _pScratch);
        return _pScratch;
    }
    /// Row _nRow will be read next: has it fetched while another row is worked on. The processor alone looks ahead no
    /// further than the end of a page, and does not see at all which rows a worker reads.
    void RowExpect(int _nRow) const
    {
        ZPrefetch(m_vidRow.pPlane0 + _nRow * m_anStride[0], m_cbExpect);
    }
    int Width() const
    {
        return m_vidRow.nWidth;
    }
    int Height() const
    {
        return m_nHeight;
    }
    /// True when RowInPlace gives rows.
    bool IsInPlace() const
    {
        return m_bInPlace;
    }
    /// The matrix with which YUV becomes RGB.
    eZYMatrix Matrix() const
    {
        return m_eMatrix;
    }

private:
    IMG_ROW RowAt(int _nRow) const;
    void SkipPixels(IMG_ROW& _row, int _nPixels) const;
    HRESULT InitPlanes(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr);
    int ChromaRow(int _nRow) const;

    PFN_IMG_READ m_pfnRead = nullptr;
    IMG_ROW m_vidRow = {}; ///< row 0, with the planes' first rows
    int64_t m_anStride[3] = {};
    size_t m_cbExpect = 0;
    int m_nHeight = 0;
    int m_nChromaRows = 0;
    int m_nChromaDiv = 1;  ///< luma rows that share a chroma row
    int m_nChromaStep = 1; ///< bytes from a sample of U, or of V, to the next
    eImgLayout m_eLayout = eIL_None;
    bool m_bFields = false; ///< chroma rows alternate between the fields
    bool m_bInPlace = false;
    eZYMatrix m_eMatrix = eZYM_601;
};

/// Whether CImgRowReader reads a format.
bool Img_IsReadable(uint32_t _fccType);
/// Bytes that hold the samples of a row of plane 0, without the padding that the row size includes; 0 for a format
/// that is not read, or a width below 1.
int64_t Img_RowBytesUsed(uint32_t _fccType, int32_t _nWidth);
