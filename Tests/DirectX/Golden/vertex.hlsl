cbuffer VS_ROTATE : register (b0)
{
    float fxAngle;
    float fyAngle;
    float fzAngle;
    float fScale;
    float fWidthSrc;
    float fHeightSrc;
    float2 offset;
};

struct VS_INPUT
{
    float4 Pos : POSITION;
    float2 Tex : TEXCOORD;
    uint TexIdx : TEXINDEX;
};

struct VS_OUTPUT
{
    float4 Pos : SV_POSITION;
    float2 Tex : TEXCOORD;
    uint TexIdx : TEXINDEX;
};

VS_OUTPUT VS( VS_INPUT input )
{
    VS_OUTPUT output;
    output.Pos = input.Pos;
    output.Tex = input.Tex;
    output.TexIdx = input.TexIdx;

    // Without constants the source has no size, and dividing by it would leave no vertex to draw.
    if( fWidthSrc != 0.0 && fHeightSrc != 0.0 )
    {
        float2 p = float2( input.Pos.x * fWidthSrc, input.Pos.y * fHeightSrc );

        // X: p.y = p.y * cos( radians( fxAngle ) );
        // Y: p.x = p.x * cos( radians( fyAngle ) );

        // Z
        float s = sin( radians( fzAngle ) );
        float c = cos( radians( fzAngle ) );
        p = float2( p.x * c - p.y * s, p.x * s + p.y * c );

        output.Pos.x = p.x / fWidthSrc * fScale;
        output.Pos.y = p.y / fHeightSrc * fScale;
    }
    return output;
}
