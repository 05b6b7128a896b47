#pragma once

#include "Base/ZMatrix.h"
#include "Interfaces/IZFFrame.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// The largest pictures that files are read and written with. Products of the limits fit 32 bits as bytes.
inline constexpr int c_nMaxSide = 32767;
inline constexpr int64_t c_nMaxPixels = int64_t{1} << 28;

/// A picture of the host's own: top-down, no padding, one byte (grey) or B, G, R, A a pixel.
struct PICTURE
{
    int nWidth = 0;
    int nHeight = 0;
    int nChannels = 4;   ///< 1 or 4
    bool bAlpha = false; ///< the fourth byte is straight alpha; else it is 255
    std::vector<uint8_t> vecPixels;

    size_t RowBytes() const
    {
        return static_cast<size_t>(nWidth) * static_cast<size_t>(nChannels);
    }
    uint8_t* Row(int _nRow)
    {
        return vecPixels.data() + static_cast<size_t>(_nRow) * RowBytes();
    }
    const uint8_t* Row(int _nRow) const
    {
        return vecPixels.data() + static_cast<size_t>(_nRow) * RowBytes();
    }
    /// A picture of this size, all bytes 0; the vector's memory is used again.
    void Resize(int _nWidth, int _nHeight, int _nChannels);
};

/// A picture of 16 bits a channel: top-down, no padding, words B, G, R, A; straight alpha, 65535 is opaque.
struct DEEP_PICTURE
{
    int nWidth = 0;
    int nHeight = 0;
    std::vector<uint16_t> vecWords;

    size_t RowWords() const
    {
        return static_cast<size_t>(nWidth) * 4;
    }
    const uint16_t* Row(int _nRow) const
    {
        return vecWords.data() + static_cast<size_t>(_nRow) * RowWords();
    }
};

/// Fills a rectangle of a picture of B, G, R, A, as far as it lies in the picture, with an opaque colour, 0xRRGGBB.
void Picture_Fill(PICTURE& _picture, int _nLeft, int _nTop, int _nRight, int _nBottom, uint32_t _nRGB);

/// Why there can be no picture of this size; empty when there can be.
std::string Picture_SizeFault(int64_t _nWidth, int64_t _nHeight);
/// Throws CZHostError, naming _strWhere, for a size without pixels or over the limits.
void Picture_CheckSize(int64_t _nWidth, int64_t _nHeight, const std::string& _strWhere);

/// Reads a frame of any readable format as B, G, R, A. The alpha is the frame's own for ARGB32, else 255. _yuv: how
/// pictures in YUV are coded, as the stream says (Stream.h).
void Picture_FromFrame(IZFFrame* _pFrame, PICTURE& _picture, const Z_YUV_FORM& _yuv = {});
/// Reads a frame of eZFCC_ARGB64 as it is; false, and nothing read, for any other format.
bool Picture_FromDeepFrame(IZFFrame* _pFrame, DEEP_PICTURE& _picture);
/// Reads the mask that is attached to a result frame as a grey picture; false, and nothing read, where there is none.
bool Picture_FromMask(IZFFrame* _pResult, PICTURE& _picture);
/// Takes the alpha of a picture out as a grey picture, and the other way round; sizes must agree.
void Picture_TakeAlpha(const PICTURE& _picture, PICTURE& _mask);
void Picture_PutAlpha(const PICTURE& _mask, PICTURE& _picture);

/// Puts a picture with alpha over an opaque one of the same size; the result is opaque.
void Picture_Over(PICTURE& _picture, const PICTURE& _background);
/// A part of the picture; it has to lie in it.
PICTURE Picture_Cropped(const PICTURE& _picture, int _nLeft, int _nTop, int _nWidth, int _nHeight);
/// The picture scaled to another size with the mean of the covered pixels, or the nearest one where it grows.
PICTURE Picture_Scaled(const PICTURE& _picture, int _nWidth, int _nHeight);
