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

float4 ReadPixel( float2 pos )
{
    return tx.SampleLevel( samLinear, pos / size.xy, 0.0 );
}

float3 LumaOf( float grey )
{
    return float3( grey * 0.8594 + 0.0625, 128.0 / 255.0, 128.0 / 255.0 );
}

float4 Pixel( float2 pos )
{
    float4 pc = ReadPixel( pos );
    return float4( LumaOf( pc.x ), 1.0 );
}

float4 PS( PS_INPUT input ) : SV_Target
{
    float2 left = float2( 2.0 * floor( input.Pos.x ) + 0.5, input.Pos.y ) * size.zw;
    float3 p1 = Pixel( left ).xyz;
    float3 p2 = Pixel( left + float2( size.z, 0.0 ) ).xyz;
    float2 vu = ( p1.yz + p2.yz ) * 0.5;
    return float4( p2.x, vu.y, p1.x, vu.x );
}
