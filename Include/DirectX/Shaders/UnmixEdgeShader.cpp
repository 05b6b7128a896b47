#include "DirectX/Shaders/UnmixEdgeShader.h"

#include "DirectX/Shaders/ShaderPieces.h"

namespace
{

constexpr char c_szTakeAlpha[] = R"(Texture2D<float4> txKeyed : register( t0 );

uint PS( PS_INPUT input ) : SV_Target
{
    return uint( txKeyed.Load( int3( int2( input.Pos.xy ), 0 ) ).w * 255.0 + 0.5 );
}
)";

constexpr char c_szAlphaIn[] = R"(Texture2D<uint> txAlpha : register( t0 );

// Alpha of a field's pixel inside of the picture.
uint AlphaAt( int2 pos, int nField )
{
    return txAlpha.Load( int3( pos.x, pos.y * picture.z + nField, 0 ) ) * uint( picture.w );
}
int2 LastOf( int nField )
{
    return int2( picture.x - 1, ( picture.y + picture.z - 1 - nField ) / picture.z - 1 );
}
)";

constexpr char c_szChokeHead[] = R"(cbuffer EDGE : register( b0 )
{
    int4 picture;
    int4 move;
    int4 arrSteps[160];
};
Texture2D<uint> txCells : register( t1 );
)";

constexpr char c_szChoke[] = R"(
uint Between( int2 place, int2 last, int nField )
{
    int2 at = clamp( place, int2( 0, 0 ), last * 256 );
    int2 first = at >> 8;
    int2 second = min( first + 1, last );
    uint2 share = uint2( at & 255 );
    uint nAbove = AlphaAt( first, nField ) * ( 256 - share.x ) + AlphaAt( int2( second.x, first.y ), nField ) * share.x;
    uint nBelow = AlphaAt( int2( first.x, second.y ), nField ) * ( 256 - share.x ) + AlphaAt( second, nField ) * share.x;
    return ( nAbove * ( 256 - share.y ) + nBelow * share.y ) >> 16;
}

uint PS( PS_INPUT input ) : SV_Target
{
    int2 pos = int2( input.Pos.xy );
    int nField = pos.y % picture.z;
    pos.y /= picture.z;
    uint nAlpha = AlphaAt( pos, nField );
    if( ( txCells.Load( int3( pos.x >> 2, ( pos.y >> 2 ) + nField * move.z, 0 ) ) & 16 ) != 0 )
        return nAlpha;
    int2 last = LastOf( nField );
    uint nLast = move.y != 0 ? 0 : 65535;
    for( int n = 0; n < move.x && nAlpha != nLast; n++ )
    {
        int4 steps = arrSteps[n >> 1];
        int2 step = ( n & 1 ) != 0 ? steps.zw : steps.xy;
        uint nThere = Between( pos * 256 + step, last, nField );
        nAlpha = move.y != 0 ? min( nAlpha, nThere ) : max( nAlpha, nThere );
    }
    return nAlpha;
}
)";

constexpr char c_szBlurHead[] = R"(cbuffer EDGE : register( b0 )
{
    int4 picture;
    int4 way;
    uint4 arrWeights[11];
};
)";

constexpr char c_szBlur[] = R"(
uint PS( PS_INPUT input ) : SV_Target
{
    int2 pos = int2( input.Pos.xy );
    int nField = pos.y % picture.z;
    pos.y /= picture.z;
    int2 last = LastOf( nField );
    uint nSum = 32768 + arrWeights[0].x * AlphaAt( pos, nField );
    for( int n = 1; n <= way.z; n++ )
    {
        uint nBefore = AlphaAt( max( pos - way.xy * n, int2( 0, 0 ) ), nField );
        uint nAfter = AlphaAt( min( pos + way.xy * n, last ), nField );
        nSum += arrWeights[n].x * ( nBefore + nAfter );
    }
    return nSum >> 16;
}
)";

} // namespace

const char c_szUnmixEdged[] = R"(
Texture2D<float4> txKeyed : register( t10 );
Texture2D<uint> txAlpha : register( t11 );

float4 EdgedPixel( int2 pos, int nField, int2 frame )
{
    float4 value = floor( txKeyed.Load( int3( frame, 0 ) ).zyxw * 255.0 + 0.5 );
    uint nAlpha = txAlpha.Load( int3( frame, 0 ) );
    uint nBefore = uint( value.w ) * 257;
    if( nAlpha == nBefore )
        return value;
    float alpha = float( nAlpha ) / 257.0;
    float4 fore = ForeMean( AtPixel( pos ), nField );
    if( nAlpha > nBefore && fore.w > 1e-6 )
    {
        RULES rules = arrRules[( CellAt( pos >> 2, nField ) >> 8 ) & 15];
        float own = value.w / alpha;
        value.xyz = value.xyz * own + Limited( rules, fore.xyz / fore.w, 0.0 ) * ( 1.0 - own );
    }
    return Rounded( float4( value.xyz, alpha ) );
}
)";

std::string UnmixAlphaShader_Text()
{
    return std::string(c_szShaderInput) + c_szTakeAlpha;
}

std::string UnmixChokeShader_Text()
{
    return std::string(c_szShaderInput) + c_szChokeHead + c_szAlphaIn + c_szChoke;
}

std::string UnmixBlurShader_Text()
{
    return std::string(c_szShaderInput) + c_szBlurHead + c_szAlphaIn + c_szBlur;
}
