Texture2D tx : register( t0 );
SamplerState samLinear : register( s0 );

cbuffer SMOOTH_SETTINGS : register( b0 )
{
    float4 smooth;
};

struct PS_INPUT
{
    float4 Pos : SV_POSITION;
    float2 Tex : TEXCOORD;
    nointerpolation uint TexIdx : TEXINDEX;
};

static const float gauss[3] = { 0.25, 0.5, 0.25 };

float4 PS( PS_INPUT input ) : SV_Target
{
    float4 pc = tx.Sample( samLinear, input.Tex );
    float2 start = input.Tex - smooth.zw;
    // Rows 0, 1, 2 one after the other; rows 0, 2, 4 of one field, where smooth.w is two rows high.
    float rows = smooth.x > 0.0 ? 1.0 : 2.0;
    float2 texel = float2( smooth.z, smooth.w / rows );
    float mean = 0.0;
    for( int row = 0; row < 3; row++ )
    {
        for( int col = 0; col < 3; col++ )
        {
            float2 pos = start + texel * float2( (float)col, (float)row * rows );
            mean += tx.SampleLevel( samLinear, pos, 0.0 ).w * gauss[col] * gauss[row];
        }
    }
    if( mean < pc.w )
        mean *= smooth.y;
    if( pc.w < 0.01 )
        mean = pc.w;
    return float4( pc.rgb, 1.0 - mean );
}
