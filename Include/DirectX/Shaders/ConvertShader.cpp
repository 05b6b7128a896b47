#include "DirectX/Shaders/ConvertShader.h"

#include "Interfaces/ZVideoTypes.h"

namespace
{

constexpr char c_szHead[] = R"(Texture2D tx : register( t0 );
SamplerState samLinear : register( s0 );

cbuffer PS_BACKCOLOR_BUFFER : register( b0 )
{
    float4 size;
};
)";

enum eSpace : int32_t
{
    eS_None,
    eS_RGB,
    eS_YVU,
    eS_Grey, ///< RGB8
};

eSpace SpaceOf(uint32_t _fccType)
{
    if (_fccType == eZFCC_RGB32 || _fccType == eZFCC_ARGB32)
        return eS_RGB;
    if (_fccType == eZFCC_RGB8)
        return eS_Grey;
    return Shader_PackedLayout(_fccType) || Shader_PlanarLayout(_fccType) ? eS_YVU : eS_None;
}

eZYMatrix MatrixOf(const CONVERT_SHADER& _shader, uint32_t _fccType)
{
    return _fccType == eZFCC_HDYC ? eZYM_709 : _shader.eMatrix;
}

// "float4 ReadPixel( float2 pos )": the input at a place in pixels.

constexpr char c_szReadSampled[] = R"(
float4 ReadPixel( float2 pos )
{
    return tx.SampleLevel( samLinear, pos / size.xy, 0.0 );
}
)";

constexpr char c_szReadNearest[] = R"(
float4 ReadPixel( float2 pos )
{
    return ReadAt( (int2)floor( pos ) );
}
)";

constexpr char c_szReadLinear[] = R"(
float4 ReadPixel( float2 pos )
{
    float2 corner = floor( pos - 0.5 );
    float2 f = pos - 0.5 - corner;
    int2 p = (int2)corner;
    float4 upper = lerp( ReadAt( p ), ReadAt( p + int2( 1, 0 ) ), f.x );
    float4 lower = lerp( ReadAt( p + int2( 0, 1 ) ), ReadAt( p + int2( 1, 1 ) ), f.x );
    return lerp( upper, lower, f.y );
}
)";

constexpr char c_szReadAt[] = R"(
float4 ReadAt( int2 p )
{
    p = clamp( p, int2( 0, 0 ), (int2)size.xy - int2( 1, 1 ) );
)";

constexpr char c_szReadPlanarByte[] = R"(
float ReadByte( uint n, uint nStride )
{
    return tx.Load( int3( n % nStride, n / nStride, 0 ) ).x;
}
)";

constexpr char c_szReadAtPlanar[] = R"(    uint nStride, nRows;
    tx.GetDimensions( nStride, nRows );
    uint nHeight = (uint)size.y;
    uint nLuma = nStride * nHeight;
)";

std::string Reader(const CONVERT_SHADER& _shader)
{
    std::string strText;
    if (const auto packed = Shader_PackedLayout(_shader.fccIn))
    {
        strText = std::string(c_szReadAt) +
                  "    float4 pc = tx.Load( int3( p.x / 2, p.y, 0 ) );\n    float3 yvu = pc." + packed->strLeft +
                  ";\n    if( p.x % 2 == 1 )\n        yvu = pc." + packed->strRight +
                  ";\n    return float4( yvu, 1.0 );\n}\n";
    }
    else if (const auto planar = Shader_PlanarLayout(_shader.fccIn))
    {
        strText = Shader_TextChromaByte(*planar) + c_szReadPlanarByte + c_szReadAt + c_szReadAtPlanar +
                  "    uint2 c = uint2( p.x / 2, p.y" + (planar->bHalfHeight ? " / 2" : "") + " );\n" +
                  "    return float4( ReadByte( p.y * nStride + p.x, nStride ),\n" +
                  "                   ReadByte( nLuma + ChromaByte( c, 0, nStride, nHeight ), nStride ),\n" +
                  "                   ReadByte( nLuma + ChromaByte( c, 1, nStride, nHeight ), nStride ), 1.0 );\n}\n";
    }
    else
    {
        return c_szReadSampled;
    }
    return strText + (_shader.bLinear ? c_szReadLinear : c_szReadNearest);
}

// "float4 Pixel( float2 pos )": the input at a place in pixels, in the colours of the output.

/// 0.8594 for 219 / 255: between what full range and the range of 16 to 235 ask for.
constexpr char c_szGrey[] = R"(
float3 GreyOf( float luma )
{
    float grey = ( luma - 0.0625 ) / 0.8594;
    return float3( grey, grey, grey );
}
)";

constexpr char c_szLuma[] = R"(
float3 LumaOf( float grey )
{
    return float3( grey * 0.8594 + 0.0625, 128.0 / 255.0, 128.0 / 255.0 );
}
)";

/// What turns "pc" of the input into the output's colours, and the functions it needs.
struct COLOR_STEP
{
    std::string strFunctions;
    std::string strColor;
};

COLOR_STEP StepFromRGB(const CONVERT_SHADER& _shader, eSpace _eOut)
{
    if (_eOut == eS_RGB)
        return {"", "pc.rgb"};
    const eZYMatrix eMatrix = _eOut == eS_Grey ? eZYM_601 : MatrixOf(_shader, _shader.fccOut);
    const std::string strYVU = std::string("RGB2YVU_") + Shader_MatrixName(eMatrix) + "( pc.rgb )";
    if (_eOut == eS_Grey)
        return {Shader_TextRGB2YVU(eMatrix) + c_szGrey, "GreyOf( " + strYVU + ".x )"};
    return {Shader_TextRGB2YVU(eMatrix), strYVU};
}

COLOR_STEP StepFromYVU(const CONVERT_SHADER& _shader, eSpace _eOut)
{
    if (_eOut == eS_Grey)
        return {c_szGrey, "GreyOf( pc.x )"};
    const eZYMatrix eIn = MatrixOf(_shader, _shader.fccIn);
    const eZYMatrix eOut = MatrixOf(_shader, _shader.fccOut);
    if (_eOut == eS_YVU && eIn == eOut)
        return {"", "pc.xyz"};
    const std::string strRGB = std::string("YVU2RGB_") + Shader_MatrixName(eIn) + "( pc.xyz )";
    if (_eOut == eS_RGB)
        return {Shader_TextYVU2RGB(eIn), strRGB};
    return {Shader_TextYVU2RGB(eIn) + Shader_TextRGB2YVU(eOut),
            std::string("RGB2YVU_") + Shader_MatrixName(eOut) + "( " + strRGB + " )"};
}

std::string Colors(const CONVERT_SHADER& _shader)
{
    const eSpace eIn = SpaceOf(_shader.fccIn);
    const eSpace eOut = SpaceOf(_shader.fccOut);
    COLOR_STEP step;
    if (eIn == eS_RGB)
        step = StepFromRGB(_shader, eOut);
    else if (eIn == eS_YVU)
        step = StepFromYVU(_shader, eOut);
    else if (eOut == eS_YVU)
        step = {c_szLuma, "LumaOf( pc.x )"};
    else
        step = {"", "pc.xxx"};
    const bool bAlpha = _shader.fccIn == eZFCC_ARGB32 && _shader.fccOut == eZFCC_ARGB32;
    return step.strFunctions +
           "\nfloat4 Pixel( float2 pos )\n{\n    float4 pc = ReadPixel( pos );\n    return float4( " + step.strColor +
           (bAlpha ? ", pc.w );\n}\n" : ", 1.0 );\n}\n");
}

// The pass itself, by what the target holds. SV_POSITION is at the centre of a texel: its column and row plus a half.

constexpr char c_szWritePixel[] = R"(
float4 PS( PS_INPUT input ) : SV_Target
{
    return Pixel( input.Pos.xy * size.zw );
}
)";

constexpr char c_szWritePacked[] = R"(
float4 PS( PS_INPUT input ) : SV_Target
{
    float2 left = float2( 2.0 * floor( input.Pos.x ) + 0.5, input.Pos.y ) * size.zw;
    float3 p1 = Pixel( left ).xyz;
    float3 p2 = Pixel( left + float2( size.z, 0.0 ) ).xyz;
    float2 vu = ( p1.yz + p2.yz ) * 0.5;
)";

constexpr char c_szWritePlanar[] = R"(
float4 PS( PS_INPUT input ) : SV_Target
{
    uint2 p = (uint2)input.Pos.xy;
    uint nStride = (uint)( size.x / size.z + 0.5 );
    uint nHeight = (uint)( size.y / size.w + 0.5 );
    float value = 0.0;
    if( p.y < nHeight )
    {
        value = Pixel( input.Pos.xy * size.zw ).x;
    }
    else
    {
        uint3 c = ChromaOf( ( p.y - nHeight ) * nStride + p.x, nStride, nHeight );
)";

constexpr char c_szWritePlanarEnd[] = R"(        value = c.z == 0 ? pc.y : pc.z;
    }
    return float4( value, value, value, value );
}
)";

/// A sample of chroma is the mean of the pixels that it stands for.
constexpr char c_szChroma422[] = R"(        float2 first = ( float2( c.x * 2, c.y ) + 0.5 ) * size.zw;
        float4 pc = ( Pixel( first ) + Pixel( first + float2( size.z, 0.0 ) ) ) * 0.5;
)";

constexpr char c_szChroma420[] = R"(        float2 first = ( float2( c.x * 2, c.y * 2 ) + 0.5 ) * size.zw;
        float4 pc = ( Pixel( first ) + Pixel( first + float2( size.z, 0.0 ) ) +
                      Pixel( first + float2( 0.0, size.w ) ) + Pixel( first + size.zw ) ) * 0.25;
)";

std::string Writer(uint32_t _fccOut)
{
    if (const auto packed = Shader_PackedLayout(_fccOut))
        return c_szWritePacked + ("    return " + Shader_TextPackedTexel(*packed, "p1.x", "p2.x", "vu.y", "vu.x")) +
               ";\n}\n";
    if (const auto planar = Shader_PlanarLayout(_fccOut))
        return Shader_TextChromaOf(*planar) + c_szWritePlanar + (planar->bHalfHeight ? c_szChroma420 : c_szChroma422) +
               c_szWritePlanarEnd;
    return c_szWritePixel;
}

} // namespace

PS_BACKCOLOR_BUFFER Shader_FillBackcolor(int32_t _nWidthIn, int32_t _nHeightIn, int32_t _nWidthOut, int32_t _nHeightOut)
{
    const auto fWidthIn = static_cast<float>(_nWidthIn);
    const auto fHeightIn = static_cast<float>(_nHeightIn);
    return {
        {fWidthIn, fHeightIn, fWidthIn / static_cast<float>(_nWidthOut), fHeightIn / static_cast<float>(_nHeightOut)}};
}

std::string ConvertShader_Text(const CONVERT_SHADER& _shader)
{
    if (SpaceOf(_shader.fccIn) == eS_None || SpaceOf(_shader.fccOut) == eS_None)
        return {};
    return std::string(c_szHead) + c_szShaderInput + Reader(_shader) + Colors(_shader) + Writer(_shader.fccOut);
}
