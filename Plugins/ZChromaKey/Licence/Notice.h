#pragma once

#include "Interfaces/IZFFrame.h"
#include "Video/ZPart.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The notice as it stands on a picture of one size: a dark plate with light letters, a third of the width or height.
/// Pixels are written as they are, not mixed with what was there, so that it can be read on any picture and is the same
/// wherever it is drawn: in alpha the plate is half transparent and the letters are opaque.
struct NOTICE_PLATE
{
    Z_PART part; ///< where: whole chroma samples of both fields, and whole words of v210, unless the picture is smaller
    std::vector<uint8_t> vecBGRA; ///< its pixels, straight alpha
    std::vector<uint8_t> vecMask; ///< the same for a mask: grey as its alpha

    int Width() const
    {
        return part.nX2 - part.nX1;
    }
    int Height() const
    {
        return part.nY2 - part.nY1;
    }
};

/// The lines of the notice, broken where the picture is narrow, each of at most _nLetters letters.
std::vector<std::string> Notice_Lines(std::string_view _svProduct, size_t _nLetters);

/// Draws the notice. Keeps the plate of the last size. For one thread at a time.
class CNotice
{
public:
    explicit CNotice(std::string _strProduct)
        : m_strProduct(std::move(_strProduct))
    {
    }
    /// The plate for a picture; lent until the next call.
    const NOTICE_PLATE& Plate(int _nWidth, int _nHeight);
    /// Draws it into a picture of any format that ZFrameWriter_Write knows. The planes begin with the top row. Failures
    /// are that function's, and E_INVALIDARG for words at odd addresses.
    HRESULT Draw(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, bool _bMask);

private:
    std::string m_strProduct;
    int m_nWidth = 0;
    int m_nHeight = 0;
    NOTICE_PLATE m_plate = {};
};
