Texture2D tx : register( t0 );
SamplerState samLinear : register( s0 );

cbuffer PS_BACKCOLOR_BUFFER : register( b0 )
{
    float4 size;
};

struct PS_INPUT
{
    float4 Pos : SV_POSITION;
    float2 Tex : TEXCOORD;
    nointerpolation uint TexIdx : TEXINDEX;
};

float4 ReadAt( int2 p )
{
    p = clamp( p, int2( 0, 0 ), (int2)size.xy - int2( 1, 1 ) );
    float4 pc = tx.Load( int3( p.x / 2, p.y, 0 ) );
    float3 yvu = pc.yxz;
    if( p.x % 2 == 1 )
        yvu = pc.wxz;
    return float4( yvu, 1.0 );
}

float4 ReadPixel( float2 pos )
{
    return ReadAt( (int2)floor( pos ) );
}

float3 YVU2RGB_709( float3 yvu )
{
    yvu -= float3( 16.0, 128.0, 128.0 ) / 255.0;
    return saturate( float3( dot( yvu, float3( 1.164, 1.793, 0.0 ) ),
                             dot( yvu, float3( 1.164, -0.534, -0.213 ) ),
                             dot( yvu, float3( 1.164, 0.0, 2.112 ) ) ) );
}

float3 RGB2YVU_601( float3 rgb )
{
    return saturate( float3( dot( rgb, float3( 0.257, 0.504, 0.098 ) ) + 0.0625,
                             dot( rgb, float3( 0.439, -0.368, -0.071 ) ) + 0.5,
                             dot( rgb, float3( -0.148, -0.291, 0.439 ) ) + 0.5 ) );
}

float4 Pixel( float2 pos )
{
    float4 pc = ReadPixel( pos );
    return float4( RGB2YVU_601( YVU2RGB_709( pc.xyz ) ), 1.0 );
}

uint3 ChromaOf( uint n, uint nStride, uint nHeight )
{
    uint nHalf = nStride / 2;
    uint nPlaneSize = nHalf * ( nHeight );
    uint nPlane = min( n / nPlaneSize, 1u );
    n -= nPlane * nPlaneSize;
    return uint3( n % nHalf, n / nHalf, nPlane );
}

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
        float2 first = ( float2( c.x * 2, c.y ) + 0.5 ) * size.zw;
        float4 pc = ( Pixel( first ) + Pixel( first + float2( size.z, 0.0 ) ) ) * 0.5;
        value = c.z == 0 ? pc.y : pc.z;
    }
    return float4( value, value, value, value );
}
