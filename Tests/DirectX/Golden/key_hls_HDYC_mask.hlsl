Texture2D tx : register( t0 );
SamplerState samLinear : register( s0 );

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

struct PS_INPUT
{
    float4 Pos : SV_POSITION;
    float2 Tex : TEXCOORD;
    nointerpolation uint TexIdx : TEXINDEX;
};

float3 ConvertRGB2YVU( float3 rgb )
{
    float3 yvu = float3( dot( rgb, float3( 0.257, 0.504, 0.098 ) ),
                         dot( rgb, float3( 0.439, -0.368, -0.071 ) ),
                         dot( rgb, float3( -0.148, -0.291, 0.439 ) ) );
    return clamp( yvu + float3( 0.0625, 0.5, 0.5 ), 0.0, 1.0 );
}

float3 ConvertYVU2RGB( float3 yvu )
{
    float3 rgb = float3( dot( yvu, float3( 1.164, 1.596, 0.0 ) ),
                         dot( yvu, float3( 1.164, -0.813, -0.391 ) ),
                         dot( yvu, float3( 1.164, 0.0, 2.018 ) ) );
    return clamp( rgb + float3( -0.871, 0.531, -1.082 ), 0.0, 1.0 );
}

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

float3 YVU2RGB_601( float3 yvu )
{
    yvu -= float3( 16.0, 128.0, 128.0 ) / 255.0;
    return saturate( float3( dot( yvu, float3( 1.164, 1.596, 0.0 ) ),
                             dot( yvu, float3( 1.164, -0.813, -0.391 ) ),
                             dot( yvu, float3( 1.164, 0.0, 2.018 ) ) ) );
}

float3 KeySpace( float3 color )
{
    return ConvertRGB2HLS( ConvertYVU2RGB( color ) );
}

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

float ChromaKey( float3 color )
{
    return KeysAlpha( color );
}

float4 PackedTexel( float n, float y )
{
    return tx.Sample( samLinear, float2( ( n + 0.5 ) * 2.0 / fpar.z, y ) );
}

float4 PS( PS_INPUT input ) : SV_Target
{
    float n = 2.0 * floor( input.Pos.x );
    float4 pc = PackedTexel( n, input.Tex.y );
    float y2 = ChromaKey( KeySpace( pc.wxz ) );
    float y1 = ChromaKey( KeySpace( pc.yxz ) );
    float y4 = ChromaKey( KeySpace( pc.wxz ) );
    float y3 = ChromaKey( KeySpace( pc.yxz ) );
    return float4(y3,y2,y1,y4);
}
