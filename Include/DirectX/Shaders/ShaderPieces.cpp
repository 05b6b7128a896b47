#include "DirectX/Shaders/ShaderPieces.h"

#include "Base/ZLog.h"
#include "Interfaces/ZVideoTypes.h"

#include <iterator>

namespace
{

// clang-format off
constexpr PACKED_LAYOUT c_arrPacked[] = {
    {eZFCC_UYVY, "yxz", "wxz", "VLUR"},
    {eZFCC_HDYC, "yxz", "wxz", "VLUR"},
    {eZFCC_YUY2, "zwy", "xwy", "RULV"},
    {eZFCC_YVYU, "zyw", "xyw", "RVLU"},
};

constexpr PLANAR_LAYOUT c_arrPlanar[] = {
    {eZFCC_NV12, true,  false, true},
    {eZFCC_YV12, false, true,  true},
    {eZFCC_I420, false, false, true},
    {eZFCC_YV16, false, true,  false},
    {eZFCC_I422, false, false, false},
};
// clang-format on

template <typename T, size_t N> const T* Find(const T (&_arrLayouts)[N], uint32_t _fccType)
{
    for (const T& layout : _arrLayouts)
        if (layout.fccType == _fccType)
            return &layout;
    return nullptr;
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

const PACKED_LAYOUT* Shader_PackedLayout(uint32_t _fccType)
{
    return Find(c_arrPacked, _fccType);
}

std::string Shader_TextPackedTexel(const PACKED_LAYOUT& _layout, const char* _pszLeft, const char* _pszRight,
                                   const char* _pszU, const char* _pszV)
{
    std::string strText = "float4(";
    for (const char* pszComponent = _layout.szTexel; *pszComponent; ++pszComponent)
    {
        strText += pszComponent == _layout.szTexel ? " " : ", ";
        strText += *pszComponent == 'L'   ? _pszLeft
                   : *pszComponent == 'R' ? _pszRight
                   : *pszComponent == 'U' ? _pszU
                                          : _pszV;
    }
    return strText + " )";
}

const PLANAR_LAYOUT* Shader_PlanarLayout(uint32_t _fccType)
{
    return Find(c_arrPlanar, _fccType);
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
