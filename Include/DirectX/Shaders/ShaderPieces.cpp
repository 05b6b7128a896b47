#include "DirectX/Shaders/ShaderPieces.h"

#include "Base/ZLog.h"
#include "Base/ZPixelFormats.h"

#include <string_view>
#include <utility>

namespace
{

/// The component of a texel that a byte of memory is.
char ComponentOf(int8_t _nByte)
{
    return "zyxw"[_nByte];
}

/// Rows of chroma for a height.
const char* ChromaRows(const PLANAR_LAYOUT& _layout)
{
    return _layout.bHalfHeight ? "nHeight / 2" : "nHeight";
}

} // namespace

const char c_szShaderInput[] = R"(
struct PS_INPUT
{
    float4 Pos : SV_POSITION;
    float2 Tex : TEXCOORD;
    nointerpolation uint TexIdx : TEXINDEX;
};
)";

std::string Shader_TextRow(const double (&_arrRow)[3])
{
    std::string strText;
    for (const double dblShare : _arrRow)
        strText += (strText.empty() ? "" : ", ") + (dblShare == 0 ? std::string("0.0") : ZFormat("%.3f", dblShare));
    return strText;
}

std::string Shader_TextRGB2YVU(eZYMatrix _eMatrix)
{
    const Z_MATRIX& matrix = c_arrMatrix[_eMatrix];
    return std::string("\nfloat3 RGB2YVU_") + matrix.pszName +
           "( float3 rgb )\n{\n    return saturate( float3( dot( rgb, float3( " + Shader_TextRow(matrix.arrY) +
           " ) ) + 0.0625,\n                             dot( rgb, float3( " + Shader_TextRow(matrix.arrV) +
           " ) ) + 0.5,\n                             dot( rgb, float3( " + Shader_TextRow(matrix.arrU) +
           " ) ) + 0.5 ) );\n}\n";
}

std::string Shader_TextYVU2RGB(eZYMatrix _eMatrix)
{
    const Z_MATRIX& matrix = c_arrMatrix[_eMatrix];
    return std::string("\nfloat3 YVU2RGB_") + matrix.pszName +
           "( float3 yvu )\n{\n    yvu -= float3( 16.0, 128.0, 128.0 ) / 255.0;\n" +
           "    return saturate( float3( dot( yvu, float3( " + Shader_TextRow(matrix.arrR) +
           " ) ),\n                             dot( yvu, float3( " + Shader_TextRow(matrix.arrShaderG) +
           " ) ),\n                             dot( yvu, float3( " + Shader_TextRow(matrix.arrB) + " ) ) ) );\n}\n";
}

const char* Shader_MatrixName(eZYMatrix _eMatrix)
{
    return c_arrMatrix[_eMatrix].pszName;
}

std::optional<PACKED_LAYOUT> Shader_PackedLayout(uint32_t _fccType)
{
    const eImgLayout eLayout = FCC_Layout(_fccType);
    if (!Z_IsPairs(eLayout))
        return {};
    const Z_PAIR_BYTES pair = Z_PairBytes(eLayout);
    PACKED_LAYOUT layout = {{}, {}, "LRUV"};
    for (const int8_t nByte : {pair.nY0, pair.nV, pair.nU})
        layout.strLeft += ComponentOf(nByte);
    for (const int8_t nByte : {pair.nY1, pair.nV, pair.nU})
        layout.strRight += ComponentOf(nByte);
    constexpr std::string_view c_svComponents = "xyzw";
    for (const auto& [chSample, nByte] : {std::pair{'L', pair.nY0}, {'R', pair.nY1}, {'U', pair.nU}, {'V', pair.nV}})
        layout.strTexel[c_svComponents.find(ComponentOf(nByte))] = chSample;
    return layout;
}

std::string Shader_TextPackedTexel(const PACKED_LAYOUT& _layout, const char* _pszLeft, const char* _pszRight,
                                   const char* _pszU, const char* _pszV)
{
    std::string strText = "float4(";
    for (const char chSample : _layout.strTexel)
    {
        strText += strText.ends_with('(') ? " " : ", ";
        strText += chSample == 'L' ? _pszLeft : chSample == 'R' ? _pszRight : chSample == 'U' ? _pszU : _pszV;
    }
    return strText + " )";
}

std::optional<PLANAR_LAYOUT> Shader_PlanarLayout(uint32_t _fccType)
{
    const eZChroma eChroma = FCC_Chroma(_fccType);
    const ZF_SIZE szSample = FCC_Subsampling(_fccType, 1);
    if (eChroma == eZCh_Packed || FCC_Texture(_fccType) == eZT_None || FCC_HasTextureWords(_fccType) ||
        szSample.cx * szSample.cy == 1)
        return {};
    return PLANAR_LAYOUT{eChroma == eZCh_Turns, eChroma == eZCh_VU, szSample.cy == 2};
}

std::string Shader_TextChromaOf(const PLANAR_LAYOUT& _layout)
{
    const std::string strHead = "\nuint3 ChromaOf( uint n, uint nStride, uint nHeight )\n{\n";
    if (_layout.bInterleaved)
        return strHead + "    uint x = n % nStride;\n    return uint3( x / 2, n / nStride, 1 - x % 2 );\n}\n";
    return strHead + "    uint nHalf = nStride / 2;\n    uint nPlaneSize = nHalf * ( " + ChromaRows(_layout) +
           " );\n    uint nPlane = min( n / nPlaneSize, 1u );\n    n -= nPlane * nPlaneSize;\n" +
           "    return uint3( n % nHalf, n / nHalf, " + (_layout.bVFirst ? "nPlane" : "1 - nPlane") + " );\n}\n";
}

std::string Shader_TextChromaByte(const PLANAR_LAYOUT& _layout)
{
    const std::string strHead = "\nuint ChromaByte( uint2 c, uint nPlane, uint nStride, uint nHeight )\n{\n";
    if (_layout.bInterleaved)
        return strHead + "    return c.y * nStride + c.x * 2 + ( 1 - nPlane );\n}\n";
    return strHead + "    uint nHalf = nStride / 2;\n    return " + (_layout.bVFirst ? "nPlane" : "( 1 - nPlane )") +
           " * nHalf * ( " + ChromaRows(_layout) + " ) + c.y * nHalf + c.x;\n}\n";
}
