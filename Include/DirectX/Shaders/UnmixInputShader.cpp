#include "DirectX/Shaders/ShaderPieces.h"
#include "DirectX/Shaders/UnmixShader.h"

const char c_szUnmixHead[] = R"(Texture2D<float4> txPicture : register( t0 );

struct RULES
{
    int3 anX; int nWedge;
    int3 anZ; int nLimit;
    int3 anTake; int nOwn;
    float3 x; float limit;
    float3 z; float least;
    float3 take; float own;
    float3 beyond; int nLeast;
    float leastX; float wedge; float oneSquareX; float clip;
    int4 glare;
};
struct PROTECTED
{
    float4 centre;
    float4 one;
};
cbuffer UNMIX : register( b0 )
{
    int4 picture;
    int4 grid;
    int4 filter;
    float4 clips;
    int4 more;
    int4 deep;
    RULES arrRules[16];
    PROTECTED arrProtected[16];
    int4 planes;
    int4 chroma;
    int4 texels;
    int4 fromLuma;
    int4 fromChroma;
    float4 scaleLuma;
    float4 scaleBlue;
    float4 tint;
    float4 green;
    float4 fit;
};

int FieldRows( int nField )
{
    return ( picture.y + picture.z - 1 - nField ) / picture.z;
}
// A pixel of a field as bytes B, G, R, A; those outside of the picture are its borders.
int4 BytesAt( int2 pos, int nField )
{
    int2 at = int2( clamp( pos.x, 0, picture.x - 1 ), clamp( pos.y, 0, FieldRows( nField ) - 1 ) );
    float4 pixel = txPicture.Load( int3( at.x, at.y * picture.z + nField, 0 ) );
    int4 bytes = int4( pixel.zyxw * 255.0 + 0.5 );
    if( picture.w == 0 )
        bytes.w = 255;
    return bytes;
}
)";

const char c_szUnmixCells[] = R"(
Texture2D<uint> txCells : register( t1 );
Texture2D<float4> txBack : register( t2 );

uint CellAt( int2 cell, int nField )
{
    int2 at = clamp( cell, int2( 0, 0 ), grid.xy - 1 );
    return txCells.Load( int3( at.x, at.y + nField * grid.y, 0 ) );
}
)";

namespace
{

constexpr char c_szCells[] = R"(
uint Packed( int4 bytes )
{
    return uint( bytes.x ) | uint( bytes.y ) << 8 | uint( bytes.z ) << 16 | uint( bytes.w ) << 24;
}

// Pixels of a cell along a row and along a column; two texels have them.
uint4 LinePixels( int nTexel, int nRow, int nField )
{
    int2 first = 4 * int2( nRow % 3 + 3 * ( nTexel >> 1 ), nRow * grid.w );
    if( ( nTexel & 1 ) == 0 )
        return uint4( Packed( BytesAt( first + int2( 0, 1 ), nField ) ), Packed( BytesAt( first + 1, nField ) ),
                      Packed( BytesAt( first + int2( 2, 1 ), nField ) ),
                      Packed( BytesAt( first + int2( 3, 1 ), nField ) ) );
    return uint4( Packed( BytesAt( first + int2( 1, 0 ), nField ) ), Packed( BytesAt( first + int2( 1, 2 ), nField ) ),
                  Packed( BytesAt( first + int2( 1, 3 ), nField ) ), 0 );
}

uint4 PS( PS_INPUT input ) : SV_Target
{
    int2 pos = int2( input.Pos.xy );
    int nField = pos.y / grid.z;
    int nRow = pos.y - nField * grid.z;
    int nAfter = nRow - grid.y - ( grid.y + 1 ) / 3;
    if( nAfter >= 0 )
        return LinePixels( pos.x, nAfter, nField );
    if( nRow >= grid.y )
    {
        int2 first = int2( 4 * pos.x, 4 * ( 3 * ( nRow - grid.y ) + 1 ) );
        return uint4( Packed( BytesAt( first, nField ) ), Packed( BytesAt( first + int2( 2, 0 ), nField ) ), 0, 0 );
    }
    int4 sum = int4( 0, 0, 0, 0 );
    int4 least = int4( 255, 255, 255, 255 );
    int4 most = int4( 0, 0, 0, 0 );
    for( int y = 0; y < 4; y++ )
    {
        for( int x = 0; x < 4; x++ )
        {
            int4 bytes = BytesAt( int2( 4 * pos.x + x, 4 * nRow + y ), nField );
            sum += bytes;
            least = min( least, bytes );
            most = max( most, bytes );
        }
    }
    return uint4( uint( sum.x ) | uint( sum.y ) << 16, uint( sum.z ) | uint( sum.w ) << 16, Packed( least ),
                  Packed( most ) );
}
)";

// Samples of YUV as they lie in the texture: what Chroma.h and the CPU's reader of rows make of them is made here.
constexpr char c_szPlanes[] = R"(
Texture2D<float4> txPlanes : register( t5 );

// Memory order is z, y, x, w.
int ByteOf( float4 texel, int nByte )
{
    float f = nByte == 0 ? texel.z : nByte == 1 ? texel.y : nByte == 2 ? texel.x : texel.w;
    return int( f * 255.0 + 0.5 );
}
int PlaneAt( int2 at )
{
    return int( txPlanes.Load( int3( at, 0 ) ).x * float( texels.z ) + 0.5 ) >> texels.w;
}
int BelowLuma( int nTexel )
{
    return PlaneAt( int2( nTexel % picture.x, picture.y + nTexel / picture.x ) );
}
int PixelLuma( int4 bytes )
{
    return planes.y * bytes.x + planes.z * bytes.y + planes.w * bytes.z;
}
// Of the frame.
int LumaAt( int2 pos )
{
    if( planes.x == 2 )
        return PixelLuma( BytesAt( int2( pos.x, pos.y / picture.z ), pos.y % picture.z ) );
    if( planes.x != 0 )
        return PlaneAt( pos );
    return ByteOf( txPlanes.Load( int3( pos.x >> 1, pos.y, 0 ) ), planes.y + 2 * ( pos.x & 1 ) );
}
int2 ChromaAt( int2 at )
{
    if( planes.x != 0 )
    {
        int nTexel = at.y * texels.x + at.x * texels.y;
        return int2( BelowLuma( planes.z + nTexel ), BelowLuma( planes.w + nTexel ) );
    }
    float4 texel = txPlanes.Load( int3( at, 0 ) );
    return int2( ByteOf( texel, planes.z ), ByteOf( texel, planes.w ) );
}
)";

constexpr char c_szOpen[] = R"(
// Fields of 4:2:0 have each their own rows of chroma, in turns.
int ReaderRow( int y )
{
    if( picture.z == 1 || chroma.z == 1 )
        return min( y / chroma.z, chroma.y - 1 );
    int nField = y & 1;
    int nLast = chroma.y - 1 - ( ( chroma.y - 1 - nField ) & 1 );
    return min( y / 4 * 2 + nField, max( nLast, 0 ) );
}
int Level( int nSample )
{
    return texels.w != 0 ? min( ( nSample + 2 ) >> 2, 255 ) : nSample;
}

float4 PS( PS_INPUT input ) : SV_Target
{
    int2 pos = int2( input.Pos.xy );
    int nLuma = fromLuma.x * ( Level( LumaAt( pos ) ) - fromLuma.y ) + 4096;
    int2 uv = ChromaAt( int2( min( pos.x >> 1, chroma.x - 1 ), ReaderRow( pos.y ) ) );
    int nU = Level( uv.x ) - 128;
    int nV = Level( uv.y ) - 128;
    int3 rgb = int3( nLuma + fromLuma.z * nV, nLuma + fromChroma.x * nU + fromChroma.y * nV,
                     nLuma + fromChroma.z * nU ) >> 13;
    return float4( float3( clamp( rgb, 0, 255 ) ) / 255.0, 1.0 );
}
)";

// Samples of chroma with the luma that goes with them, and the plate there: luma, blue - luma, red - luma. Places
// outside of the picture have the samples of its edge.
constexpr char c_szSamples[] = R"(
bool IsSeed( int2 cell, int nField )
{
    return ( CellAt( cell, nField ) & ( deep.y != 0 ? 3 : 1 ) ) != 0;
}
// Whether a cell from one to another is mixed, or has to be rebuilt for other reasons.
bool IsNeeded( int2 first, int2 last, int nField )
{
    bool bNeeded = false;
    for( int y = first.y; y <= last.y; y++ )
    {
        for( int x = first.x; x <= last.x; x++ )
            bNeeded = bNeeded || IsSeed( int2( x, y ), nField );
    }
    return bNeeded;
}

int2 PixelChroma( int2 at, int nField )
{
    int2 sum = int2( 0, 0 );
    for( int y = 0; y < chroma.z; y++ )
    {
        for( int x = 0; x < 2; x++ )
        {
            int4 bytes = BytesAt( int2( 2 * at.x + x, chroma.z * at.y + y ), nField );
            sum += ( bytes.xz << 14 ) - PixelLuma( bytes );
        }
    }
    return sum;
}
int2 ChromaOf( int2 at, int nField )
{
    int nRows = ( chroma.y + picture.z - 1 - nField ) / picture.z;
    int2 inside = int2( clamp( at.x, 0, chroma.x - 1 ), clamp( at.y, 0, nRows - 1 ) );
    if( planes.x == 2 )
        return PixelChroma( inside, nField );
    return ChromaAt( int2( inside.x, inside.y * picture.z + nField ) );
}
float LumaOf( int2 pos, int nField )
{
    int2 at = int2( clamp( pos.x, 0, picture.x - 1 ), clamp( pos.y, 0, FieldRows( nField ) - 1 ) );
    return float( LumaAt( int2( at.x, at.y * picture.z + nField ) ) ) * scaleLuma.x + scaleLuma.y;
}
float3 SampleAt( int2 at, int nField )
{
    int2 pos = int2( 2 * at.x, chroma.z * at.y );
    float luma = LumaOf( pos, nField ) + LumaOf( pos + int2( 1, 0 ), nField );
    if( chroma.z == 2 )
        luma += LumaOf( pos + int2( 0, 1 ), nField ) + LumaOf( pos + int2( 1, 1 ), nField );
    return float3( luma * scaleLuma.z, float2( ChromaOf( at, nField ) ) * scaleBlue.xz + scaleBlue.yw );
}
)";

constexpr char c_szFactors[] = R"(
float4 PlateCell( int2 at )
{
    int2 cell = clamp( at, int2( 0, 0 ), grid.zw - 1 );
    float3 bgr = txBack.Load( int3( cell, 0 ) ).xyz;
    float luma = dot( tint.xyz, bgr );
    RULES rules = arrRules[( CellAt( 2 * cell, 0 ) >> 8 ) & 15];
    return float4( luma * scaleLuma.w + tint.w, ( bgr.xz - luma ) * scaleLuma.w, fit.w * rules.wedge );
}
// The plate at a sample; w: what its part across the plate's takes off its part along it.
float4 PlateAt( int2 at )
{
    int nLeft = ( at.x - 2 ) >> 2;
    float right = ( float( ( at.x - 2 ) & 3 ) + 0.5 ) * 0.25;
    float row = clamp( ( float( at.y ) + 0.5 ) * float( chroma.z ) * 0.125 - 0.5, 0.0, float( grid.w - 1 ) );
    int nAbove = int( row );
    float below = row - float( nAbove );
    float4 a = PlateCell( int2( nLeft, nAbove ) );
    float4 b = PlateCell( int2( nLeft, nAbove + 1 ) );
    a += ( PlateCell( int2( nLeft + 1, nAbove ) ) - a ) * right;
    b += ( PlateCell( int2( nLeft + 1, nAbove + 1 ) ) - b ) * right;
    return float4( a.xyz + ( b.xyz - a.xyz ) * below, below < 0.5 ? a.w : b.w );
}
// A sample less the plate; w: how much of the plate's chroma is gone.
float4 OffAt( int2 at, int nField )
{
    float3 value = SampleAt( at, nField );
    float4 plate = PlateAt( at );
    float along = dot( value.yz, plate.yz ) - abs( value.y * plate.z - value.z * plate.y ) * plate.w;
    return float4( value - plate.xyz, saturate( 1.0 - along / max( dot( plate.yz, plate.yz ), fit.z ) ) );
}

float2 PS( PS_INPUT input ) : SV_Target
{
    int nRows = ( chroma.y + picture.z - 1 ) / picture.z + 2;
    int2 at = int2( input.Pos.xy );
    int nField = at.y / nRows;
    at = int2( at.x, at.y - nField * nRows ) - 1;
    // A pixel takes the samples next to it, and lies in a mixed cell or beside one.
    int2 first = int2( 2 * at.x - 1, chroma.z * ( at.y - 1 ) ) >> 2;
    int2 last = int2( 2 * at.x + 2, chroma.z * ( at.y + 2 ) - 1 ) >> 2;
    if( !IsNeeded( first - 1, last + 1, nField ) )
        return float2( 0.0, 0.0 );
    float4 sum = float4( 0.0, 0.0, 0.0, 0.0 );
    float3 products = float3( 0.0, 0.0, 0.0 );
    [loop] for( int y = -1; y <= 1; y++ )
    {
        [loop] for( int x = -1; x <= 1; x++ )
        {
            float4 off = OffAt( at + int2( x, y ), nField );
            float weight = float( ( 2 - abs( x ) ) * ( 2 - abs( y ) ) );
            sum += off * weight;
            products += off.xyz * ( off.x * weight );
        }
    }
    float free = min( sum.w / 128.0, 0.0625 ) * sum.x; // the weights have the sum 16
    float variance = max( products.x - free * sum.x, 0.0 ) + fit.y;
    float2 factors = ( products.yz - sum.yz * free ) * ( fit.x / variance );
    return clamp( factors, -3.0 * fit.x, 3.0 * fit.x );
}
)";

constexpr char c_szDeep[] = R"(
Texture2D<float2> txFactors : register( t6 );

struct REBUILT
{
    float3 value;
    float2 factors;
};
REBUILT RebuiltAt( int2 at, int nField )
{
    int nRows = ( chroma.y + picture.z - 1 ) / picture.z + 2;
    REBUILT rebuilt;
    rebuilt.value = SampleAt( at, nField );
    rebuilt.factors = txFactors.Load( int3( at.x + 1, at.y + 1 + nField * nRows, 0 ) );
    return rebuilt;
}
// Three parts of the nearer one.
REBUILT Nearer( REBUILT near, REBUILT far )
{
    REBUILT rebuilt;
    rebuilt.value = near.value * 3.0 + far.value;
    rebuilt.factors = near.factors * 3.0 + far.factors;
    return rebuilt;
}
// Of a column of samples, at a row of pixels.
REBUILT ColumnAt( int nColumn, int y, int nField )
{
    if( chroma.z == 1 )
        return RebuiltAt( int2( nColumn, y ), nField );
    int nAbove = ( y - 1 ) >> 1;
    int nOdd = y & 1;
    REBUILT near = RebuiltAt( int2( nColumn, nAbove + 1 - nOdd ), nField );
    REBUILT far = RebuiltAt( int2( nColumn, nAbove + nOdd ), nField );
    return Nearer( near, far );
}

uint4 PS( PS_INPUT input ) : SV_Target
{
    int2 frame = int2( input.Pos.xy );
    int nField = frame.y % picture.z;
    int2 pos = int2( frame.x, frame.y / picture.z );
    if( !IsNeeded( ( pos >> 2 ) - 1, ( pos >> 2 ) + 1, nField ) )
        return uint4( 0, 0, 0, 0 );
    int nColumn = pos.x >> 1;
    REBUILT near = ColumnAt( nColumn, pos.y, nField );
    REBUILT far = ColumnAt( nColumn + 2 * ( pos.x & 1 ) - 1, pos.y, nField );
    REBUILT rebuilt = Nearer( near, far ); // two calls inside of a third go wrong with one of the compilers
    float luma = LumaOf( pos, nField );
    float2 uv = rebuilt.factors * ( luma - rebuilt.value.x );
    float3 base = float3( luma, luma, luma );
    if( chroma.w != 0 )
        base = float3( BytesAt( pos, nField ).xyz ) * 64.0 + 0.5;
    else
        uv += rebuilt.value.yz;
    float3 bgr = base + float3( uv.x, -dot( uv, green.xy ), uv.y );
    return uint4( uint3( clamp( bgr, 0.0, 255.0 * 64.0 + 0.5 ) ), 255 * 64 );
}
)";

} // namespace

std::string UnmixCellsShader_Text()
{
    return std::string(c_szUnmixHead) + c_szShaderInput + c_szCells;
}

std::string UnmixOpenShader_Text()
{
    return std::string(c_szUnmixHead) + c_szShaderInput + c_szPlanes + c_szOpen;
}

std::string UnmixFactorsShader_Text()
{
    return std::string(c_szUnmixHead) + c_szShaderInput + c_szUnmixCells + c_szPlanes + c_szSamples + c_szFactors;
}

std::string UnmixDeepShader_Text()
{
    return std::string(c_szUnmixHead) + c_szShaderInput + c_szUnmixCells + c_szPlanes + c_szSamples + c_szDeep;
}
