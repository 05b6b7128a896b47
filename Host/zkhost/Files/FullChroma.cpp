#include "zkhost/Files/FullChroma.h"

#include "Image/ImgColor.h"

namespace
{

/// What a plane that is not there stands for: no chroma, opaque.
constexpr uint8_t c_arrAbsent[4] = {16, 128, 128, 255};

/// The matrix of YUV pictures of a size.
eZYMatrix MatrixOfSize(int _nWidth, int _nHeight)
{
    return Img_MatrixOf(Stream_Props(eZFCC_Y444, _nWidth, _nHeight, eZI_Progressive));
}

} // namespace

void FullChroma_FromPicture(const PICTURE& _picture, std::vector<uint8_t>& _vecPlanes)
{
    const eZYMatrix eMatrix = MatrixOfSize(_picture.nWidth, _picture.nHeight);
    const size_t nPixels = static_cast<size_t>(_picture.nWidth) * static_cast<size_t>(_picture.nHeight);
    const size_t nPlanes = _picture.bAlpha ? 4 : 3;
    _vecPlanes.resize(nPlanes * nPixels);
    std::vector<uint8_t> vecRow(_picture.RowBytes());
    uint8_t* pOut = _vecPlanes.data();
    for (int y = 0; y < _picture.nHeight; ++y, pOut += _picture.nWidth)
    {
        Img_RowToYUV(_picture.Row(y), vecRow.data(), _picture.nWidth, eMatrix);
        for (size_t x = 0; x < static_cast<size_t>(_picture.nWidth); ++x)
            for (size_t c = 0; c < nPlanes; ++c)
                pOut[c * nPixels + x] = vecRow[4 * x + c];
    }
}

void FullChroma_ToRows(const Y4M_HEADER& _header, const uint8_t* _pPlanes, const ZF_VID_PTR& _vidPtr)
{
    const Y4M_LAYOUT& layout = *_header.pLayout;
    for (int i = 0; i < 4; ++i)
    {
        const bool bThere = i < layout.nPlanes;
        const int nShiftX = i == 1 || i == 2 ? layout.nShiftX : 0, nShiftY = i == 1 || i == 2 ? layout.nShiftY : 0;
        for (int y = 0; y < _header.nHeight; ++y)
        {
            uint8_t* pTo = Img_RowOf(_vidPtr, 0, y) + i;
            const uint8_t* pFrom =
                bThere ? _pPlanes + static_cast<size_t>(y >> nShiftY) * _header.PlaneWidth(i) : nullptr;
            for (int x = 0; x < _header.nWidth; ++x)
                pTo[4 * x] = pFrom ? pFrom[x >> nShiftX] : c_arrAbsent[i];
        }
        _pPlanes += bThere ? _header.PlaneWidth(i) * _header.PlaneHeight(i) : 0;
    }
    const eZYMatrix eMatrix = MatrixOfSize(_header.nWidth, _header.nHeight);
    for (int y = 0; y < _header.nHeight; ++y)
        Img_RowFromYUV(Img_RowOf(_vidPtr, 0, y), Img_RowOf(_vidPtr, 0, y), _header.nWidth, eMatrix);
}
