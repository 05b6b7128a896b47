#pragma once

#include "Base/ZPtr.h"
#include "Image/ImgRowReader.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/IZFFrame.h"

#include <cstdint>
#include <vector>

/// Reads pixels of a frame in the space that keys are measured in, as the keying engine does: bytes B, G, R, A for
/// eCKT_RGB, H, L, S, A for eCKT_HLS, Y, U, V, A for eCKT_YUV. Rows count from the top; A is always 255, because what
/// a frame holds in its fourth byte is no part of a colour.
class CFrameSampler
{
public:
    /// Keeps the frame. E_POINTER, E_INVALIDARG (no picture in system memory), or the frame's or reader's own failure;
    /// the log says what is wrong.
    /// _yuv: how pictures in YUV are coded.
    HRESULT Open(IZFFrame* _pFrame, const Z_YUV_FORM& _yuv = {});

    /// The frame; borrowed.
    IZFFrame* Frame() const
    {
        return m_cpFrame.Get();
    }
    int Width() const
    {
        return m_reader.Width();
    }
    int Height() const
    {
        return m_reader.Height();
    }
    /// What YUV is measured with.
    eZYMatrix Matrix() const
    {
        return m_reader.Matrix();
    }
    /// Whether the fourth byte of Row is alpha.
    bool HasAlpha() const
    {
        return m_bAlpha;
    }
    /// A row as bytes B, G, R, A as the frame holds them; valid until the next one is read. Not thread safe.
    const uint8_t* Row(int _nRow)
    {
        return m_reader.Row(_nRow, m_vecRow.data());
    }
    /// Writes the pixels from column _nX1 to before _nX2, which must lie in the frame. Not thread safe.
    void ReadRow(eCK_Type _eSpace, int _nRow, int _nX1, int _nX2, uint8_t* _pPixels);

private:
    CZPtr<IZFFrame> m_cpFrame; // its planes are read
    CImgRowReader m_reader;
    std::vector<uint8_t> m_vecRow;
    bool m_bAlpha = false;
};

/// Pixels of bytes B, G, R, A in the space of the keys, as CFrameSampler::ReadRow gives them.
void FrameSampler_ToSpace(eCK_Type _eSpace, eZYMatrix _eMatrix, const uint8_t* _pBGRA, int _nPixels, uint8_t* _pPixels);
