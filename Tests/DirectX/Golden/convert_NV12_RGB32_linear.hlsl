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

uint ChromaByte( uint2 c, uint nPlane, uint nStride, uint nHeight )
{
    return c.y * nStride + c.x * 2 + ( 1 - nPlane );
}

float ReadByte( uint n, uint nStride )
{
    return tx.Load( int3( n % nStride, n / nStride, 0 ) ).x;
}

float4 ReadAt( int2 p )
{
    p = clamp( p, int2( 0, 0 ), (int2)size.xy - int2( 1, 1 ) );
    uint nStride, nRows;
    tx.GetDimensions( nStride, nRows );
    uint nHeight = (uint)size.y;
    uint nLuma = nStride * nHeight;
    uint2 c = uint2( p.x / 2, p.y / 2 );
    return float4( ReadByte( p.y * nStride + p.x, nStride ),
                   ReadByte( nLuma + ChromaByte( c, 0, nStride, nHeight ), nStride ),
                   ReadByte( nLuma + ChromaByte( c, 1, nStride, nHeight ), nStride ), 1.0 );
}

float4 ReadPixel( float2 pos )
{
    float2 corner = floor( pos - 0.5 );
    float2 f = pos - 0.5 - corner;
    int2 p = (int2)corner;
    float4 upper = lerp( ReadAt( p ), ReadAt( p + int2( 1, 0 ) ), f.x );
    float4 lower = lerp( ReadAt( p + int2( 0, 1 ) ), ReadAt( p + int2( 1, 1 ) ), f.x );
    return lerp( upper, lower, f.y );
}

float3 YVU2RGB_601( float3 yvu )
{
    yvu -= float3( 16.0, 128.0, 128.0 ) / 255.0;
    return saturate( float3( dot( yvu, float3( 1.164, 1.596, 0.0 ) ),
                             dot( yvu, float3( 1.164, -0.813, -0.391 ) ),
                             dot( yvu, float3( 1.164, 0.0, 2.018 ) ) ) );
}

float4 Pixel( float2 pos )
{
    float4 pc = ReadPixel( pos );
    return float4( YVU2RGB_601( pc.xyz ), 1.0 );
}

float4 PS( PS_INPUT input ) : SV_Target
{
    return Pixel( input.Pos.xy * size.zw );
}
