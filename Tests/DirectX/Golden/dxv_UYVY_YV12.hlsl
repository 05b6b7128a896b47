Texture2D tx : register( t0 );

struct PS_INPUT
{
    float4 Pos : SV_POSITION;
    float2 Tex : TEXCOORD;
    nointerpolation uint TexIdx : TEXINDEX;
};

uint3 ChromaOf( uint n, uint nStride, uint nHeight )
{
    uint nHalf = nStride / 2;
    uint nPlaneSize = nHalf * ( nHeight / 2 );
    uint nPlane = min( n / nPlaneSize, 1u );
    n -= nPlane * nPlaneSize;
    return uint3( n % nHalf, n / nHalf, nPlane );
}

float4 Texel( uint x, uint y, uint nTexels )
{
    return tx.Load( int3( min( x, nTexels - 1 ), y, 0 ) );
}

float ChromaValue( uint n, uint nStride, uint nHeight, uint nTexels )
{
    uint3 c = ChromaOf( n, nStride, nHeight );
    float4 pc = ( Texel( c.x, c.y * 2, nTexels ) + Texel( c.x, c.y * 2 + 1, nTexels ) ) * 0.5;
    return c.z == 0 ? pc.r : pc.b;
}

float4 PS( PS_INPUT input ) : SV_Target
{
    uint nTexels, nHeight;
    tx.GetDimensions( nTexels, nHeight );
    uint nStride = ( nTexels + 1 ) / 2 * 4;
    uint2 p = (uint2)input.Pos.xy;
    float4 result;
    if( p.y < nHeight )
    {
        float4 pc = Texel( p.x * 2, p.y, nTexels );
        float4 pc1 = Texel( p.x * 2 + 1, p.y, nTexels );
        result = float4( pc1.g, pc.a, pc.g, pc1.a );
    }
    else
    {
        uint n = ( p.y - nHeight ) * nStride + p.x * 4;
        result.b = ChromaValue( n, nStride, nHeight, nTexels );
        result.g = ChromaValue( n + 1, nStride, nHeight, nTexels );
        result.r = ChromaValue( n + 2, nStride, nHeight, nTexels );
        result.a = ChromaValue( n + 3, nStride, nHeight, nTexels );
    }
    return result;
}
