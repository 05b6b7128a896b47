Texture2D tx_top : register( t0 );
Texture2D tx_bottom : register( t1 );
SamplerState sampler_in : register( s0 );

cbuffer PS_CONVERT : register( b0 )
{
    float4 size;
    float4 vecY;
    float4 vecU;
    float4 vecV;
};

struct PS_INPUT
{
    float4 Pos : SV_POSITION;
    float2 Tex : TEXCOORD;
    nointerpolation uint TexIdx : TEXINDEX;
};

float4 PS( PS_INPUT input ) : SV_Target
{
    float2 side = float2( 0.5 / size.x, 0.0 );
    float4 p1 = tx_top.Sample( sampler_in, input.Tex - side );
    float4 p2 = tx_top.Sample( sampler_in, input.Tex + side );
    float4 p1_b = tx_bottom.Sample( sampler_in, input.Tex - side );
    float4 p2_b = tx_bottom.Sample( sampler_in, input.Tex + side );
    float top_flag = step( 0.12, frac( ( input.Pos.y + 0.5 ) * 0.5 ) );
    p1 = lerp( p1_b, p1, top_flag );
    p2 = lerp( p2_b, p2, top_flag );
    float4 pm = ( p1 + p2 ) / 2.0;
    float4 yuv;
    yuv.b = dot( pm.rgb, vecU.rgb ) + vecV.w;
    yuv.g = dot( p1.rgb, vecY.rgb ) + vecY.w;
    yuv.r = dot( pm.rgb, vecV.rgb ) + vecU.w;
    yuv.a = dot( p2.rgb, vecY.rgb ) + vecY.w;
    return clamp( yuv, float4( 0.0625, 0.0625, 0.0625, 0.0625 ), float4( 0.9375, 0.9180, 0.9375, 0.9180 ) );
}
