#include "DirectX/Shaders/KeyShader.h"

#include "Base/ZLog.h"
#include "Interfaces/ZVideoTypes.h"

#include <utility>

namespace
{

constexpr char c_szTexture[] = R"(Texture2D tx : register( t0 );
SamplerState samLinear : register( s0 );
)";

constexpr char c_szSettings[] = R"(
struct SINGLE_KEY
{
    float4 pos;
    float4 yvu_pos;
    float4 dist;
    float4 scal;
    float4 scal1;
};

cbuffer CK_SETTINGS : register( b0 )
{
    int4 ipar;
    SINGLE_KEY keys[16];
    float4 fpar;
};
)";

/// RGB pictures are keyed with BT.601. Unlike those of ShaderPieces, these take Y, V and U with their offsets.
std::string SpacesYVU()
{
    const Z_MATRIX& matrix = c_arrMatrix[eZYM_601];
    return R"(
float3 ConvertRGB2YVU( float3 rgb )
{
    float3 yvu = float3( dot( rgb, float3( )" +
           Shader_TextRow(matrix.arrY) + R"( ) ),
                         dot( rgb, float3( )" +
           Shader_TextRow(matrix.arrV) + R"( ) ),
                         dot( rgb, float3( )" +
           Shader_TextRow(matrix.arrU) + R"( ) ) );
    return clamp( yvu + float3( 0.0625, 0.5, 0.5 ), 0.0, 1.0 );
}

float3 ConvertYVU2RGB( float3 yvu )
{
    float3 rgb = float3( dot( yvu, float3( )" +
           Shader_TextRow(matrix.arrR) + R"( ) ),
                         dot( yvu, float3( )" +
           Shader_TextRow(matrix.arrShaderG) + R"( ) ),
                         dot( yvu, float3( )" +
           Shader_TextRow(matrix.arrB) + R"( ) ) );
    return clamp( rgb + float3( )" +
           Shader_TextRow(matrix.arrRGBAdd) + R"( ), 0.0, 1.0 );
}
)";
}

constexpr char c_szSpaceHLS[] = R"(
float3 ConvertRGB2HLS( float3 C )
{
    uint i = 2;
    if( C.g > C.b )
        i = 1;
    if( C.r > C.g && C.r > C.b )
        i = 0;
    float cmax = max( C.r, max( C.g, C.b ) );
    float cmin = min( C.r, min( C.g, C.b ) );
    float delta = cmax - cmin;
    float L = ( cmax + cmin ) / 2.0;
    float room = 1.0 - abs( 2.0 * L - 1.0 );
    float H = 0.0;
    float S = 0.0;
    // Greys have no hue, black and white no saturation either.
    if( delta > 0.0 && room > 0.0 )
    {
        S = delta / room;
        H = ( ( C[( i + 1 ) % 3] - C[( i + 2 ) % 3] ) / delta + 2.0 * (float)i ) / 6.0;
    }
    return float3( H, L, S );
}

float3 ConvertHLS2RGB( float3 hls )
{
    float H6 = frac( hls.x ) * 6.0;
    float C = ( 1.0 - abs( 2.0 * hls.y - 1.0 ) ) * hls.z;
    float X = C * ( 1.0 - abs( fmod( H6, 2.0 ) - 1.0 ) );
    float m = hls.y - C / 2.0;
    float3 rgb = float3( C, 0.0, X );
    if( H6 < 1.0 )
        rgb = float3( C, X, 0.0 );
    else if( H6 < 2.0 )
        rgb = float3( X, C, 0.0 );
    else if( H6 < 3.0 )
        rgb = float3( 0.0, C, X );
    else if( H6 < 4.0 )
        rgb = float3( 0.0, X, C );
    else if( H6 < 5.0 )
        rgb = float3( X, 0.0, C );
    return rgb + m;
}
)";

// Distances are measured in the chroma pair alone, components y and z of the key's space.
constexpr char c_szKeysAlpha[] = R"(
float KeyAlpha( float2 r, int i )
{
    float s = length( r / max( keys[i].dist.yz, 1.0 / 256.0 ) );
    float alpha = 0.0;
    if( s >= 1.0 )
    {
        float d = length( r ) * ( s - 1.0 ) / s;
        // On the ellipse itself 0, whatever the softness; without softness a step.
        if( d > 0.0 )
            alpha = keys[i].scal.x > 0.0 ? d / keys[i].scal.x : 1.0;
        if( alpha < 1.0 )
        {
            if( alpha < fpar.x )
                alpha = 0.0;
            else if( alpha > fpar.y )
                alpha = 1.0;
        }
    }
    return min( alpha, 1.0 );
}

float KeysAlpha( float3 color )
{
    float outAlpha = 1.0;
    bool keyed = false;
    for( int i = 0; i < ipar.y; i++ )
    {
        float alpha = KeyAlpha( color.yz - keys[i].pos.yz, i );
        if( keys[i].scal1.w > 0.0 )
        {
            outAlpha = min( outAlpha, alpha );
            keyed = true;
        }
        else
            outAlpha = max( outAlpha, 1.0 - alpha );
    }
    // The whole set inverted; without a keying key everything stays.
    if( ipar.w != 0 && keyed )
        outAlpha = 1.0 - outAlpha;
    return outAlpha;
}
)";

// yvu: the pixel's Y, V, U with chroma around 0.
constexpr char c_szKeysCancel[] = R"(
float3 KeyPush( float3 yvu, float2 r, float cancel, int i )
{
    float power = keys[i].scal.w / 2.0;
    float len = length( r );
    float infl = power > 0.0 ? power - clamp( len, 0.0, power ) : power - clamp( -len, power, 0.0 );
    // A pixel on the key's centre has no direction to go.
    if( len > 0.0 )
        yvu.yz += r * ( infl / len );
    yvu.yz += keys[i].yvu_pos.yz * ( ( 1.0 - cancel ) * power );
    float chroma = length( yvu.yz );
    if( chroma > 0.5 )
        yvu.yz *= 0.5 / chroma;
    yvu.yz *= keys[i].scal1.x + 1.0;
    yvu.x *= keys[i].scal1.y + 1.0;
    return clamp( yvu, float3( 0.0, -0.5, -0.5 ), float3( 1.0, 0.5, 0.5 ) );
}

float3 KeysCancel( float3 color, float3 yvu )
{
    float3 sum = float3( 0.0, 0.0, 0.0 );
    float total = 0.0;
    for( int i = 0; i < ipar.y; i++ )
    {
        float2 r = color.yz - keys[i].pos.yz;
        float s = length( r / max( keys[i].dist.yz + keys[i].scal.z, 1.0 / 256.0 ) );
        float cancel = 0.0;
        if( s >= 1.0 )
        {
            float d = length( r ) * ( s - 1.0 ) / s;
            float width = keys[i].scal1.z + 1.0;
            if( d > 0.0 )
                cancel = width > 0.0 ? d * 2.0 / width : 1.0;
        }
        if( cancel < 1.0 )
        {
            float3 part = yvu;
            if( keys[i].scal1.w > 0.0 )
                part = KeyPush( yvu, r, cancel, i );
            sum += part * ( 1.0 - cancel );
            total += 1.0 - cancel;
        }
    }
    if( total > 0.01 )
        yvu = sum / total;
    return yvu + float3( 0.0, 0.5, 0.5 );
}
)";

constexpr char c_szFormAlpha[] = R"(
float ChromaKey( float3 color )
{
    return KeysAlpha( color );
}
)";

constexpr char c_szFormColor[] = R"(
float3 ChromaKey( float3 color, float3 yvu )
{
    return KeysCancel( color, yvu );
}
)";

constexpr char c_szFormColorAlpha[] = R"(
float4 ChromaKey( float3 color, float3 yvu )
{
    return float4( KeysCancel( color, yvu ), KeysAlpha( color ) );
}
)";

constexpr char c_szEntry[] = R"(
float4 PS( PS_INPUT input ) : SV_Target
{
)";

constexpr char c_szPackedTexel[] = R"(
float4 PackedTexel( float n, float y )
{
    return tx.Sample( samLinear, float2( ( n + 0.5 ) * 2.0 / fpar.z, y ) );
}
)";

// Pixels that no key changed keep their very colour, which the way to YVU and back would not give.
constexpr char c_szPictureCancelRGB[] =
    R"(    float4 res = ChromaKey( KeySpace( pc.rgb ), yvu - float3( 0.0, 0.5, 0.5 ) );
    float3 rgb = pc.rgb;
    if( length( res.xyz - yvu ) > 0.0001 )
        rgb = ConvertYVU2RGB( res.xyz );
    return float4( rgb, res.w );
}
)";

/// The pixel formats of packed inputs.
constexpr struct
{
    eKeyInput eInput;
    uint32_t fccType;
} c_arrInputs[] = {{eKI_UYVY, eZFCC_UYVY}, {eKI_HDYC, eZFCC_HDYC}, {eKI_YUY2, eZFCC_YUY2}};

uint32_t PackedFormat(eKeyInput _eInput)
{
    for (const auto& [eInput, fccType] : c_arrInputs)
        if (eInput == _eInput)
            return fccType;
    return eZFCC_None;
}

bool Exists(const KEY_SHADER& _shader)
{
    if (_shader.eType != eCKT_RGB && _shader.eType != eCKT_HLS && _shader.eType != eCKT_YUV)
        return false;
    return _shader.eOutput != eKO_Packed || (_shader.eInput != eKI_RGB && _shader.bColorCancel);
}

/// The colour of a sampled pixel, RGB or YVU as it comes, in the space that the keys are measured in.
std::string KeySpace(const KEY_SHADER& _shader, const std::string& _strToRGB)
{
    const bool bRGB = _shader.eInput == eKI_RGB;
    const std::string strRGB = bRGB ? "color" : _strToRGB + "( color )";
    std::string strSpace = strRGB;
    if (_shader.eType == eCKT_HLS)
        strSpace = "ConvertRGB2HLS( " + strRGB + " )";
    else if (_shader.eType == eCKT_YUV)
        strSpace = bRGB ? "ConvertRGB2YVU( color )" : "color";
    return "\nfloat3 KeySpace( float3 color )\n{\n    return " + strSpace + ";\n}\n";
}

std::string BodyRGB(const KEY_SHADER& _shader)
{
    std::string strBody = c_szEntry;
    strBody += "    float4 pc = tx.Sample( samLinear, input.Tex );\n";
    if (_shader.eOutput == eKO_Mask)
        return strBody + "    float alpha = ChromaKey( KeySpace( pc.rgb ) );\n"
                         "    return float4( alpha, alpha, alpha, alpha );\n}\n";
    if (!_shader.bColorCancel)
        return strBody + "    return float4( pc.rgb, ChromaKey( KeySpace( pc.rgb ) ) );\n}\n";
    return strBody + "    float3 yvu = ConvertRGB2YVU( pc.rgb );\n" + c_szPictureCancelRGB;
}

/// Four pixels, two texels. The texel is found by the target's own column, so that the last one is right for widths
/// that are no multiple of four.
std::string BodyPackedMask(const KEY_SHADER& _shader, const PACKED_LAYOUT& _layout)
{
    const std::string strRight = std::string(".") + _layout.strRight + " ) );\n";
    const std::string strLeft = std::string(".") + _layout.strLeft + " ) );\n";
    const bool bNeighbour = _shader.eInput != eKI_HDYC;
    const std::string strNext = bNeighbour ? "pc1" : "pc";
    std::string strBody = c_szPackedTexel;
    strBody += c_szEntry;
    strBody += "    float n = 2.0 * floor( input.Pos.x );\n    float4 pc = PackedTexel( n, input.Tex.y );\n";
    if (bNeighbour)
        strBody += "    float4 pc1 = PackedTexel( n + 1.0, input.Tex.y );\n";
    strBody += "    float y2 = ChromaKey( KeySpace( pc" + strRight;
    strBody += "    float y1 = ChromaKey( KeySpace( pc" + strLeft;
    strBody += "    float y4 = ChromaKey( KeySpace( " + strNext + strRight;
    strBody += "    float y3 = ChromaKey( KeySpace( " + strNext + strLeft;
    return strBody + "    return float4(y3,y2,y1,y4);\n}\n";
}

/// One pixel picked out of its texel, read at the texel's centre: no sampler mixes luma of different pixels.
std::string BodyPackedPicture(const KEY_SHADER& _shader, const PACKED_LAYOUT& _layout, const std::string& _strToRGB)
{
    std::string strBody = c_szPackedTexel;
    strBody += c_szEntry;
    strBody += "    float4 pc = PackedTexel( floor( fpar.z*input.Tex.x/2.0 ), input.Tex.y );\n";
    strBody += std::string("    float3 yvu = pc.") + _layout.strLeft + ";\n" +
               "    if( frac(fpar.z*input.Tex.x/2.0) > 0.5 )\n        yvu = pc." + _layout.strRight + ";\n";
    if (!_shader.bColorCancel)
        return strBody + "    return float4( " + _strToRGB + "( yvu ), ChromaKey( KeySpace( yvu ) ) );\n}\n";
    return strBody + "    float4 res = ChromaKey( KeySpace( yvu ), yvu - float3( 0.0, 0.5, 0.5 ) );\n" +
           "    return float4( " + _strToRGB + "( res.xyz ), res.w );\n}\n";
}

std::string BodyPackedCancel(const PACKED_LAYOUT& _layout)
{
    std::string strBody = c_szEntry;
    strBody += "    float4 pc = tx.Sample( samLinear, input.Tex );\n    float3 mid = float3( 0.0, 0.5, 0.5 );\n";
    for (const auto& [pszName, strPixel] : {std::pair{"yuv1", _layout.strRight}, std::pair{"yuv2", _layout.strLeft}})
        strBody +=
            ZFormat("    float3 %hs = ChromaKey( KeySpace( pc.%hs ), pc.%hs - mid );\n", pszName, strPixel, strPixel);
    return strBody + "    return " +
           Shader_TextPackedTexel(_layout, "yuv2.x", "yuv1.x", "(yuv1.z+yuv2.z)*0.5", "(yuv1.y+yuv2.y)*0.5") + ";\n}\n";
}

std::string Forms(const KEY_SHADER& _shader)
{
    if (_shader.eOutput == eKO_Packed)
        return std::string(c_szKeysCancel) + c_szFormColor;
    if (_shader.eOutput == eKO_Picture && _shader.bColorCancel)
        return std::string(c_szKeysAlpha) + c_szKeysCancel + c_szFormColorAlpha;
    return std::string(c_szKeysAlpha) + c_szFormAlpha;
}

std::string BodyPacked(const KEY_SHADER& _shader, const std::string& _strToRGB)
{
    const PACKED_LAYOUT layout = *Shader_PackedLayout(PackedFormat(_shader.eInput));
    switch (_shader.eOutput)
    {
    case eKO_Mask:
        return BodyPackedMask(_shader, layout);
    case eKO_Packed:
        return BodyPackedCancel(layout);
    default:
        return BodyPackedPicture(_shader, layout, _strToRGB);
    }
}

} // namespace

eKeyInput KeyShader_InputOf(uint32_t _fccType)
{
    for (const auto& [eInput, fccType] : c_arrInputs)
        if (fccType == _fccType)
            return eInput;
    return eKI_RGB;
}

std::string KeyShader_Text(const KEY_SHADER& _shader)
{
    if (!Exists(_shader))
        return {};
    static const std::string s_strSpaces = SpacesYVU(); // texts are made for every pass of a frame
    std::string strText = std::string(c_szTexture) + c_szSettings + c_szShaderInput + s_strSpaces + c_szSpaceHLS;
    if (_shader.eInput == eKI_RGB)
        return strText + KeySpace(_shader, {}) + Forms(_shader) + BodyRGB(_shader);
    const std::string strMatrix = std::string("YVU2RGB_") + Shader_MatrixName(_shader.eMatrix);
    strText += Shader_TextYVU2RGB(_shader.eMatrix);
    // Keys are measured in the space of BT.601 whatever the picture's matrix is.
    strText += KeySpace(_shader, "ConvertYVU2RGB");
    return strText + Forms(_shader) + BodyPacked(_shader, strMatrix);
}

std::string AlphaMaskShader_Text()
{
    return std::string(c_szTexture) + c_szShaderInput + c_szEntry +
           "    return tx.Sample( samLinear, input.Tex ).wwww;\n}\n";
}
