#include "DirectX/Shaders/DXVShader.h"

#include <algorithm>

namespace
{

constexpr char c_szConstants[] = R"(SamplerState sampler_in : register( s0 );

cbuffer PS_CONVERT : register( b0 )
{
    float4 size;
    float4 vecY;
    float4 vecU;
    float4 vecV;
};
)";

constexpr char c_szPixels[] = R"(
float4 PS( PS_INPUT input ) : SV_Target
{
    float2 side = float2( 0.5 / size.x, 0.0 );
    float4 p1 = tx_top.Sample( sampler_in, input.Tex - side );
    float4 p2 = tx_top.Sample( sampler_in, input.Tex + side );
)";

constexpr char c_szPixelsBottom[] = R"(    float4 p1_b = tx_bottom.Sample( sampler_in, input.Tex - side );
    float4 p2_b = tx_bottom.Sample( sampler_in, input.Tex + side );
    float top_flag = step( 0.12, frac( ( input.Pos.y + 0.5 ) * 0.5 ) );
    p1 = lerp( p1_b, p1, top_flag );
    p2 = lerp( p2_b, p2, top_flag );
)";

// The offsets of U and V are crossed on purpose.
constexpr char c_szTexel[] = R"(    float4 pm = ( p1 + p2 ) / 2.0;
    float4 yuv;
    yuv.b = dot( pm.rgb, vecU.rgb ) + vecV.w;
    yuv.g = dot( p1.rgb, vecY.rgb ) + vecY.w;
    yuv.r = dot( pm.rgb, vecV.rgb ) + vecU.w;
    yuv.a = dot( p2.rgb, vecY.rgb ) + vecY.w;
)";

constexpr char c_szClampStudio[] =
    "    return clamp( yuv, float4( 0.0625, 0.0625, 0.0625, 0.0625 ), float4( 0.9375, 0.9180, 0.9375, 0.9180 ) );\n}\n";
constexpr char c_szClampFull[] =
    "    return clamp( yuv, float4( 0.0, 0.0, 0.0, 0.0 ), float4( 1.0, 1.0, 1.0, 1.0 ) );\n}\n";

constexpr char c_szPlanarHead[] = R"(Texture2D tx : register( t0 );
)";

constexpr char c_szPlanarTexel[] = R"(
float4 Texel( uint x, uint y, uint nTexels )
{
    return tx.Load( int3( min( x, nTexels - 1 ), y, 0 ) );
}

float ChromaValue( uint n, uint nStride, uint nHeight, uint nTexels )
{
    uint3 c = ChromaOf( n, nStride, nHeight );
)";

constexpr char c_szPlanarBody[] = R"(    return c.z == 0 ? pc.r : pc.b;
}

float4 PS( PS_INPUT input ) : SV_Target
{
    uint nTexels, nHeight;
    tx.GetDimensions( nTexels, nHeight );
    uint nStride = ( nTexels + 1 ) / 2 * 4;
    uint2 p = (uint2)input.Pos.xy;
    float4 result;
    if( p.y < nHeight )
    {
        float4 pc = Texel( p.x * 2, p.y, nTexels );
        float4 pc1 = Texel( p.x * 2 + 1, p.y, nTexels );
        result = float4( pc1.g, pc.a, pc.g, pc1.a );
    }
    else
    {
        uint n = ( p.y - nHeight ) * nStride + p.x * 4;
        result.b = ChromaValue( n, nStride, nHeight, nTexels );
        result.g = ChromaValue( n + 1, nStride, nHeight, nTexels );
        result.r = ChromaValue( n + 2, nStride, nHeight, nTexels );
        result.a = ChromaValue( n + 3, nStride, nHeight, nTexels );
    }
    return result;
}
)";

} // namespace

std::array<float, 12> Shader_MatrixRGB2YUV(eZYMatrix _eMatrix)
{
    const Z_MATRIX& matrix = c_arrMatrix[_eMatrix];
    std::array<float, 12> arrRows = {};
    const auto fnRow = [&](size_t _nRow, const double(&_arrRow)[3], double _dblAdd) {
        std::transform(_arrRow, _arrRow + 3, arrRows.begin() + 4 * _nRow,
                       [](double _dbl) { return static_cast<float>(_dbl); });
        arrRows[4 * _nRow + 3] = static_cast<float>(_dblAdd);
    };
    fnRow(0, matrix.arrY, matrix.arrYVUAdd[0]);
    fnRow(1, matrix.arrU, matrix.arrYVUAdd[2]);
    fnRow(2, matrix.arrV, matrix.arrYVUAdd[1]);
    return arrRows;
}

PS_CONVERT Shader_FillConvert(int32_t _nWidth, const float* _pfMatrix4x3)
{
    PS_CONVERT convert = {};
    convert.size[0] = static_cast<float>(_nWidth);
    std::copy_n(_pfMatrix4x3, 4, convert.vecY);
    std::copy_n(_pfMatrix4x3 + 4, 4, convert.vecU);
    std::copy_n(_pfMatrix4x3 + 8, 4, convert.vecV);
    return convert;
}

std::string DXVShader_Text(const DXV_SHADER& _shader)
{
    std::string strText = "Texture2D tx_top : register( t0 );\n";
    if (_shader.bBottomField)
        strText += "Texture2D tx_bottom : register( t1 );\n";
    strText += std::string(c_szConstants) + c_szShaderInput + c_szPixels;
    if (_shader.bBottomField)
        strText += c_szPixelsBottom;
    return strText + c_szTexel + (_shader.bFullRange ? c_szClampFull : c_szClampStudio);
}

std::string DXVPlanarShader_Text(uint32_t _fccOut)
{
    const auto planar = Shader_PlanarLayout(_fccOut);
    if (!planar)
        return {};
    const char* pszRows =
        planar->bHalfHeight ? "    float4 pc = ( Texel( c.x, c.y * 2, nTexels ) + Texel( c.x, c.y * 2 + 1, nTexels ) ) "
                              "* 0.5;\n"
                            : "    float4 pc = Texel( c.x, c.y, nTexels );\n";
    return std::string(c_szPlanarHead) + c_szShaderInput + Shader_TextChromaOf(*planar) + c_szPlanarTexel + pszRows +
           c_szPlanarBody;
}
