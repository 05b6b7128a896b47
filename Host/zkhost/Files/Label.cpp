#include "zkhost/Files/Label.h"

#include <vector>

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#endif
#include <stb/stb_easy_font.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace
{

/// A corner of the rectangles that the font is made of.
struct FONT_VERTEX
{
    float x, y, z;
    uint8_t arrColor[4];
};

constexpr size_t c_cbPerLetter = 300; // as the font's maker says

} // namespace

void Label_Draw(PICTURE& _picture, int _nLeft, int _nTop, int _nScale, uint32_t _nRGB, const std::string& _strText)
{
    std::string strText;
    for (const char ch : _strText) // the font has nothing else
        strText += ch >= ' ' && ch <= '~' ? ch : '?';
    std::vector<FONT_VERTEX> vecVertices(c_cbPerLetter * (strText.size() + 1) / sizeof(FONT_VERTEX));
    const int nQuads = stb_easy_font_print(0, 0, strText.data(), nullptr, vecVertices.data(),
                                           static_cast<int>(vecVertices.size() * sizeof(FONT_VERTEX)));
    for (int i = 0; i < nQuads; ++i)
    {
        const FONT_VERTEX& first = vecVertices[size_t{4} * static_cast<size_t>(i)];
        const FONT_VERTEX& opposite = vecVertices[size_t{4} * static_cast<size_t>(i) + 2];
        Picture_Fill(_picture, _nLeft + static_cast<int>(first.x) * _nScale,
                     _nTop + static_cast<int>(first.y) * _nScale, _nLeft + static_cast<int>(opposite.x) * _nScale,
                     _nTop + static_cast<int>(opposite.y) * _nScale, _nRGB);
    }
}
