#include "DirectX/Shaders/UnmixShader.h"

#include "DirectX/Shaders/ShaderPieces.h"
#include "DirectX/Shaders/UnmixEdgeShader.h"

namespace
{

// What the passes over pixels share: cells, plates, and the filtered difference.
constexpr char c_szDifference[] = R"(
Texture2D<float4> txFore : register( t3 );
Texture2D<int> txPast : register( t4 );
Texture2D<uint4> txDeep : register( t9 );

static const int c_nPastUnknown = -32768;

int MulRound( int a, int b )
{
    return ( a * b + 16384 ) >> 15;
}
int Form( int3 form, int3 bytes )
{
    return form.x * bytes.x + form.y * bytes.y + form.z * bytes.z;
}
int RoundSigned( float f )
{
    return int( f + 32768.5 ) - 32768;
}
int Clamp16( int n )
{
    return clamp( n, -32768, 32767 );
}

// The same in 64ths of a level.
int3 DeepAt( int2 pos, int nField )
{
    int2 at = int2( clamp( pos.x, 0, picture.x - 1 ), clamp( pos.y, 0, FieldRows( nField ) - 1 ) );
    return int3( txDeep.Load( int3( at.x, at.y * picture.z + nField, 0 ) ).xyz );
}

// D = X - wedge |Z - rho X| in 32nds of a level.
int DifferenceAt( RULES rules, int2 pos, int nField )
{
    int3 colour;
    if( deep.x != 0 )
        colour = DeepAt( pos, nField );
    else
        colour = BytesAt( pos, nField ).xyz;
    int nShift = deep.x != 0 ? 7 : 1;
    int nRho = int( CellAt( pos >> 2, nField ) ) >> 16;
    int nX = Form( rules.anX, colour ) >> nShift;
    int nZ = Form( rules.anZ, colour ) >> nShift;
    int nAcross = min( abs( nZ - MulRound( nX, nRho ) ), 8191 );
    return clamp( nX - MulRound( nAcross << 2, rules.nWedge ), -16384, 16383 );
}
// The mean of those of 3x3 differences that are near the middle's.
int Filtered( RULES rules, int2 pos, int nField, int nMiddle )
{
    int nSum = 0;
    int nCount = 1;
    for( int y = -1; y <= 1; y++ )
    {
        for( int x = -1; x <= 1; x++ )
        {
            int nOff = DifferenceAt( rules, pos + int2( x, y ), nField ) - nMiddle;
            if( ( x != 0 || y != 0 ) && filter.x > abs( nOff ) )
            {
                nSum += nOff;
                nCount++;
            }
        }
    }
    return nMiddle + MulRound( nSum, int( 32768.0 / float( nCount ) + 0.5 ) );
}

// Where a cell lies among the middles of plate cells: the one before and the one after it, and the cell's first pixel
// between them.
struct CORNERS
{
    int2 first;
    int2 second;
    float2 at;
};
CORNERS CornersOf( int2 cell )
{
    int2 plate = cell >> 1;
    int2 odd = cell & 1;
    CORNERS corners;
    corners.first = max( plate - 1 + odd, int2( 0, 0 ) );
    corners.second = min( plate + odd, grid.zw - 1 );
    corners.at = float2( 0.5625, 0.5625 ) - 0.5 * float2( odd );
    return corners;
}
float4 Between( float4 a, float4 b, float4 c, float4 d, float2 at )
{
    float4 above = a + ( b - a ) * at.x;
    float4 below = c + ( d - c ) * at.x;
    return above + ( below - above ) * at.y;
}
float4 BackAt( CORNERS corners, float2 at )
{
    return Between( txBack.Load( int3( corners.first, 0 ) ),
                    txBack.Load( int3( corners.second.x, corners.first.y, 0 ) ),
                    txBack.Load( int3( corners.first.x, corners.second.y, 0 ) ),
                    txBack.Load( int3( corners.second, 0 ) ), at );
}
float4 ForeAt( CORNERS corners, float2 at, int nField )
{
    int2 field = int2( 0, nField * grid.w );
    return Between( txFore.Load( int3( corners.first + field, 0 ) ),
                    txFore.Load( int3( int2( corners.second.x, corners.first.y ) + field, 0 ) ),
                    txFore.Load( int3( int2( corners.first.x, corners.second.y ) + field, 0 ) ),
                    txFore.Load( int3( corners.second + field, 0 ) ), at );
}
// 8192ths of X of the backdrop at the middle of a cell, in 32nds of a level.
float PastScale( RULES rules, CORNERS corners )
{
    float3 back = BackAt( corners, corners.at + 0.1875 ).xyz;
    return max( dot( rules.x, back ), rules.leastX ) * ( 32.0 / 8192.0 );
}
int FromPast( int nPast, float scale )
{
    return Clamp16( RoundSigned( max( float( nPast ) * scale, -32768.0 ) ) );
}
)";

constexpr char c_szPast[] = R"(
int PS( PS_INPUT input ) : SV_Target
{
    int2 pos = int2( input.Pos.xy );
    int nPast = txPast.Load( int3( pos, 0 ) );
    int nField = pos.y % picture.z;
    pos.y /= picture.z;
    uint cell = CellAt( pos >> 2, nField );
    if( ( cell & 1 ) == 0 )
        return nPast;
    RULES rules = arrRules[( cell >> 8 ) & 15];
    int nDifference = Filtered( rules, pos, nField, DifferenceAt( rules, pos, nField ) );
    float scale = PastScale( rules, CornersOf( pos >> 2 ) );
    int nBefore = FromPast( nPast, scale );
    bool bNear = filter.w > abs( nBefore - nDifference ) && nPast != c_nPastUnknown;
    if( bNear && filter.z != 0 )
        return nPast;
    if( bNear )
        nDifference += ( nBefore - nDifference + 1 ) >> 1;
    return RoundSigned( clamp( float( nDifference ) / scale, -32767.0, 32767.0 ) );
}
)";

constexpr char c_szMaths[] = R"(
struct PLACE
{
    float3 back;
    float3 fore;
    float confidence;
    float core;
    float quieted;
    float glare;
};
float Most( float3 colour )
{
    return max( max( colour.x, colour.y ), colour.z );
}
float Saturation( float3 colour )
{
    return 1.0 - min( min( colour.x, colour.y ), colour.z ) / max( Most( colour ), 1.0 );
}
float Light( float3 colour )
{
    return colour.x + colour.y * 2.0 + colour.z;
}

float Beyond( RULES rules, PLACE place, float backX, float rho, float3 colour )
{
    float x = max( dot( rules.x, colour ), 0.0 );
    float3 off = float3( abs( dot( rules.z, colour ) - rho * x ) / ( x + 0.05 * backX ),
                         max( Saturation( place.back ) - Saturation( colour ), 0.0 ),
                         max( 1.0 - Most( colour ) / max( Most( place.back ), 1.0 ), 0.0 ) ) * rules.beyond;
    return saturate( 4.0 * sqrt( dot( off, off ) ) - 4.0 );
}
// The place on the line from backdrop to foreground, and how far the line is to be trusted.
float2 Project( PLACE place, float3 colour )
{
    float3 e = place.fore - place.back;
    float3 d = colour - place.back;
    float kappa = 1.0 / ( 2500.0 + dot( place.fore, place.fore ) );
    float3 w = e - place.fore * ( dot( e, place.fore ) * kappa );
    float t = dot( w, d ) / max( dot( w, e ), 1.0 );
    float3 off = d - e * t;
    float brightness = dot( off, place.fore );
    float q = ( dot( off, off ) - brightness * brightness * kappa ) / 400.0;
    return float2( t, min( place.confidence * 6.0, 1.0 ) / ( 1.0 + q * q ) );
}
float DifferenceBelow0( RULES rules, PLACE place, float rho )
{
    float x = dot( rules.x, place.fore );
    float d = x - rules.wedge * abs( dot( rules.z, place.fore ) - rho * x );
    return min( d, 0.0 ) * min( place.confidence * 6.0, 1.0 );
}
float Alpha( RULES rules, PLACE place, float3 colour, float difference )
{
    float x = max( dot( rules.x, place.back ), rules.leastX );
    float most = max( Most( place.back ), 1.0 );
    float rho = clamp( dot( rules.z, place.back ) / x, -0.5, 0.5 );
    float noise = rules.clip / x;
    float low = max( clips.x, min( 0.25, noise * 0.6 ) );
    float high = min( clips.y, 1.0 - min( 0.2, noise * 0.4 ) );
    float lineLow = max( clips.x, low * 0.7 );

    float beyond = 0.15 * DifferenceBelow0( rules, place, rho );
    float classic = saturate( ( ( x - difference ) / ( x - beyond ) - low ) / ( high - low ) );
    float2 onLine = Project( place, colour + rules.x * ( place.quieted * rules.oneSquareX ) );
    float t = saturate( ( onLine.x - lineLow ) / ( clips.y - lineLow ) );
    float a = classic + ( t - classic ) * onLine.y;

    float p = Light( place.back );
    float f = Light( place.fore ) * place.confidence + Light( colour ) * ( 1.0 - place.confidence );
    float share = f < p || clips.z != 0.0 ? 1.15 : 0.4;
    float lit = saturate( a + share * a * ( 1.0 - a ) * ( p - f ) / ( p + f + 8.0 ) );
    float dark = saturate( ( Most( colour ) / most - 0.2 ) * 5.0 );
    float found = max( 1.0 - ( 1.0 - lit ) * dark, place.core );
    if( rules.beyond.x + rules.beyond.y + rules.beyond.z > 0.0 )
        found = max( found, Beyond( rules, place, x, rho, colour ) );
    return found;
}
// What glare has added at a cell, in 16384ths of a level of excess.
int GlareOf( RULES rules, uint cell )
{
    return int( ( cell >> 12 ) & 15 ) * rules.glare.x;
}
float3 Limited( RULES rules, float3 colour, float glare )
{
    float tint = dot( rules.x, colour ) - rules.limit * abs( dot( rules.z, colour ) );
    return colour - rules.take * ( max( min( tint, rules.own - tint ), rules.least ) + glare );
}
float3 Unmixed( RULES rules, PLACE place, float3 colour, float alpha )
{
    float open = 1.0 - alpha;
    float3 c = colour;
    float3 back = place.back;
    float3 fore = place.fore;
    if( clips.z != 0.0 )
    {
        c = c * c / 255.0;
        back = back * back / 255.0;
        fore = fore * fore / 255.0;
    }
    float k = alpha / ( alpha * alpha + open * ( 0.02 * place.confidence + 0.001 ) );
    float3 guess = fore * place.confidence + c * ( 1.0 - place.confidence );
    float3 result = guess + ( c - guess * alpha - back * open ) * k;
    if( clips.z != 0.0 )
        result = sqrt( max( result, 0.0 ) * 255.0 );
    return Limited( rules, result, place.glare * saturate( ( alpha - 0.8 ) / 0.15 ) );
}

// How far a pixel is inside core: the cells' bits, bilinear between their middles, doubled and cut.
float CoreBit( int2 cell, int nField )
{
    return ( CellAt( cell, nField ) & 8 ) != 0 ? 1.0 : 0.0;
}
float CoreAt( int2 pos, int nField )
{
    int2 cell = pos >> 2;
    int2 inside = pos & 3;
    int2 other = cell + ( ( inside >> 1 ) * 2 - 1 );
    float2 share = abs( float2( inside ) - 1.5 ) * 0.25;
    float here = CoreBit( cell, nField );
    float there = CoreBit( int2( cell.x, other.y ), nField );
    here += ( CoreBit( int2( other.x, cell.y ), nField ) - here ) * share.x;
    there += ( CoreBit( other, nField ) - there ) * share.x;
    return saturate( 2.0 * ( here + ( there - here ) * share.y ) - 1.0 );
}

float4 Rounded( float4 value )
{
    float steps = float( deep.z );
    return floor( clamp( value, 0.0, 255.0 ) * steps + 0.5 ) / steps;
}

float3 HueOf( float3 bgr )
{
    float most = Most( bgr );
    float delta = most - min( min( bgr.x, bgr.y ), bgr.z );
    if( delta <= 0.0 )
        return float3( 0.0, 0.0, most );
    float sixth = most == bgr.z   ? ( bgr.y - bgr.x ) / delta
                  : most == bgr.y ? 2.0 + ( bgr.x - bgr.z ) / delta
                                  : 4.0 + ( bgr.z - bgr.y ) / delta;
    return float3( sixth < 0.0 ? sixth * 60.0 + 360.0 : sixth * 60.0, delta / most, most );
}
// How far a colour is protected.
float Protection( float3 bgr )
{
    float3 hue = HueOf( bgr );
    float result = 0.0;
    for( int n = 0; n < more.x; n++ )
    {
        float3 centre = arrProtected[n].centre.xyz;
        float3 off = hue - centre;
        off.x = abs( off.x );
        off.x = ( off.x > 180.0 ? 360.0 - off.x : off.x ) * saturate( 5.0 * min( hue.y, centre.y ) );
        off *= arrProtected[n].one.xyz;
        result = max( result, saturate( 3.0 - 2.0 * sqrt( dot( off, off ) ) ) );
    }
    return result;
}
)";

constexpr char c_szPixel[] = R"(
float3 ColourAt( int2 pos, int nField, int3 bytes )
{
    float3 colour = float3( bytes );
    if( deep.x != 0 )
        colour = float3( DeepAt( pos, nField ) ) / 64.0;
    return colour;
}
// Solid colours of bytes: the limiter in integers.
float4 SolidPixel( RULES rules, int nGlare, int3 bytes )
{
    int nTint = ( Form( rules.anX, bytes ) << 8 ) - abs( Form( rules.anZ, bytes ) ) * rules.nLimit;
    int nExcess = ( max( min( nTint, rules.nOwn - nTint ), rules.nLeast ) + nGlare + 256 ) >> 9;
    int3 taken = ( nExcess * rules.anTake + 16384 ) >> 15;
    return float4( float3( clamp( bytes - taken, 0, 255 ) ), 255.0 );
}
float4 MixedPixel( RULES rules, int2 pos, int nField, int3 bytes, float glare )
{
    CORNERS corners = CornersOf( pos >> 2 );
    int nOwn = DifferenceAt( rules, pos, nField );
    int nDifference = nOwn;
    if( filter.y != 0 )
        nDifference = FromPast( txPast.Load( int3( pos.x, pos.y * picture.z + nField, 0 ) ),
                                PastScale( rules, corners ) );
    else if( filter.x > 0 )
        nDifference = Filtered( rules, pos, nField, nOwn );

    float2 at = corners.at + 0.125 * float2( pos & 3 );
    float4 fore = ForeAt( corners, at, nField );
    PLACE place;
    place.back = BackAt( corners, at ).xyz;
    place.confidence = fore.w;
    place.fore = fore.w > 1e-9 ? fore.xyz / fore.w : float3( 0.0, 0.0, 0.0 );
    place.core = CoreAt( pos, nField );
    place.quieted = float( nDifference - nOwn ) / 32.0;
    place.glare = glare;
    float3 colour = ColourAt( pos, nField, bytes );
    float keep = 0.0;
    if( more.x > 0 )
        keep = Protection( colour );
    place.core = max( place.core, keep );
    float alpha = Alpha( rules, place, colour, float( nDifference ) / 32.0 );
    float3 result = Unmixed( rules, place, colour, alpha );
    result += ( colour - result ) * keep;
    return Rounded( float4( result, alpha * 255.0 ) );
}
float4 KeyedPixel( int2 pos, int nField, int3 bytes )
{
    uint cell = CellAt( pos >> 2, nField );
    RULES rules = arrRules[( cell >> 8 ) & 15];
    int nGlare = GlareOf( rules, cell );
    float glare = float( nGlare ) / 16384.0;
    if( ( cell & 1 ) != 0 )
        return MixedPixel( rules, pos, nField, bytes, glare );
    float3 colour = float3( bytes );
    if( deep.y != 0 )
        colour = ColourAt( pos, nField, bytes );
    if( ( cell & 4 ) != 0 )
        return Rounded( float4( colour, 255.0 ) );
    if( ( cell & 2 ) != 0 && ( deep.y != 0 || deep.z != 1 ) )
        return Rounded( float4( Limited( rules, colour, glare ), 255.0 ) );
    if( ( cell & 2 ) != 0 )
        return SolidPixel( rules, nGlare, bytes );
    return float4( 0.0, 0.0, 0.0, 0.0 );
}
)";

constexpr char c_szFinish[] = R"(
Texture2D<float> txGarbage : register( t5 );
Texture2D<float> txHoldOut : register( t6 );
Texture2D<float> txShade : register( t7 );
Texture2D<float> txMarked : register( t8 );

// A grid of plate cells at the middle of a pixel: columns and rows, and the place between them.
struct AT_PIXEL
{
    int4 cells;
    float2 at;
};
AT_PIXEL AtPixel( int2 pos )
{
    float2 place = clamp( ( float2( pos ) + 0.5 ) / 8.0 - 0.5, float2( 0.0, 0.0 ), float2( grid.zw - 1 ) );
    AT_PIXEL result;
    int2 first = int2( place );
    result.cells = int4( first, min( first + 1, grid.zw - 1 ) );
    result.at = place - float2( first );
    return result;
}
float4 Mean( float4 a, float4 b, float4 c, float4 d, float2 at )
{
    float4 above = a * ( 1.0 - at.x ) + b * at.x;
    float4 below = c * ( 1.0 - at.x ) + d * at.x;
    return above * ( 1.0 - at.y ) + below * at.y;
}
// The foreground plate, colours times confidence.
float4 ForeMean( AT_PIXEL p, int nField )
{
    int4 at = p.cells + int4( 0, 1, 0, 1 ) * ( nField * grid.w );
    return Mean( txFore.Load( int3( at.xy, 0 ) ), txFore.Load( int3( at.zy, 0 ) ), txFore.Load( int3( at.xw, 0 ) ),
                 txFore.Load( int3( at.zw, 0 ) ), p.at );
}
float ShadeAt( int2 pos )
{
    AT_PIXEL p = AtPixel( pos );
    return Mean( txShade.Load( int3( p.cells.xy, 0 ) ), txShade.Load( int3( p.cells.zy, 0 ) ),
                 txShade.Load( int3( p.cells.xw, 0 ) ), txShade.Load( int3( p.cells.zw, 0 ) ), p.at ).x;
}
// Shadows that are kept, the input's alpha and regions; colours and alpha of 0 to 255.
float4 Finished( float4 value, int4 bytes, int2 pos, int2 frame )
{
    if( ( more.z & 1 ) != 0 )
    {
        float a = value.w / 255.0;
        float alpha = a + ( 1.0 - a ) * ShadeAt( pos );
        value = float4( alpha > 0.0 ? value.xyz * ( a / alpha ) : float3( 0.0, 0.0, 0.0 ), alpha * 255.0 );
    }
    if( ( more.z & 2 ) != 0 )
        value.w *= float( bytes.w ) / 255.0;
    if( ( more.z & 4 ) != 0 )
        value.w *= 1.0 - txGarbage.Load( int3( frame, 0 ) );
    float hold = ( more.z & 8 ) != 0 ? txHoldOut.Load( int3( frame, 0 ) ) : 0.0;
    if( hold > 0.0 )
    {
        float alpha = value.w / 255.0 * ( 1.0 - hold ) + hold;
        value = float4( lerp( value.xyz, float3( bytes.xyz ), hold / alpha ), alpha * 255.0 );
    }
    return value;
}

// What an operator wants to see in place of the result.
float4 StatusAt( int2 pos, int nField, int2 frame )
{
    float marks = 0.0;
    if( ( more.z & 4 ) != 0 )
        marks += txGarbage.Load( int3( frame, 0 ) );
    if( ( more.z & 8 ) != 0 )
        marks += txHoldOut.Load( int3( frame, 0 ) );
    if( ( more.z & 16 ) != 0 )
        marks += txMarked.Load( int3( frame, 0 ) );
    uint cell = CellAt( pos >> 2, nField );
    if( marks > 0.0 )
        return float4( 255.0, 64.0, 0.0, 255.0 );
    if( ( cell & 8 ) != 0 )
        return float4( 0.0, 200.0, 0.0, 255.0 );
    if( ( cell & 2 ) != 0 )
        return float4( 255.0, 255.0, 255.0, 255.0 );
    return ( cell & 1 ) != 0 ? float4( 0.0, 140.0, 255.0, 255.0 ) : float4( 0.0, 0.0, 0.0, 255.0 );
}
float4 View( float4 value, int4 bytes, int2 pos, int nField, int2 frame )
{
    if( more.y == 1 )
        return float4( value.www, 255.0 );
    if( more.y == 2 )
        return StatusAt( pos, nField, frame );
    if( more.y == 6 )
        return float4( bytes );
    AT_PIXEL p = AtPixel( pos );
    if( more.y == 3 )
        return float4( Mean( txBack.Load( int3( p.cells.xy, 0 ) ), txBack.Load( int3( p.cells.zy, 0 ) ),
                             txBack.Load( int3( p.cells.xw, 0 ) ), txBack.Load( int3( p.cells.zw, 0 ) ), p.at ).xyz,
                       255.0 );
    float4 fore = ForeMean( p, nField );
    if( more.y == 5 )
        return float4( fore.www * 255.0, 255.0 );
    return float4( fore.w > 1e-9 ? fore.xyz / fore.w : float3( 0.0, 0.0, 0.0 ), 255.0 );
}

// The texel of a keyed pixel.
float4 Texel( float4 value, int4 bytes, int2 pos, int nField, int2 frame )
{
    if( ( more.z & 15 ) != 0 )
        value = Rounded( Finished( value, bytes, pos, frame ) );
    if( more.y != 0 )
        value = Rounded( View( value, bytes, pos, nField, frame ) );
    if( more.w != 0 )
        value.xyz = floor( value.xyz * value.w / 255.0 + 0.5 );
    if( deep.z != 1 )
        return value / 255.0;
    return value.zyxw / 255.0;
}
)";

constexpr char c_szKeyed[] = R"(
float4 PS( PS_INPUT input ) : SV_Target
{
    int2 frame = int2( input.Pos.xy );
    int nField = frame.y % picture.z;
    int2 pos = int2( frame.x, frame.y / picture.z );
    int4 bytes = BytesAt( pos, nField );
    return Texel( KeyedPixel( pos, nField, bytes.xyz ), bytes, pos, nField, frame );
}
)";

constexpr char c_szEdged[] = R"(
float4 PS( PS_INPUT input ) : SV_Target
{
    int2 frame = int2( input.Pos.xy );
    int nField = frame.y % picture.z;
    int2 pos = int2( frame.x, frame.y / picture.z );
    return Texel( EdgedPixel( pos, nField, frame ), BytesAt( pos, nField ), pos, nField, frame );
}
)";

} // namespace

std::string UnmixPastShader_Text()
{
    return std::string(c_szUnmixHead) + c_szShaderInput + c_szUnmixCells + c_szDifference + c_szPast;
}

std::string UnmixPixelShader_Text()
{
    return std::string(c_szUnmixHead) + c_szShaderInput + c_szUnmixCells + c_szDifference + c_szMaths + c_szPixel +
           c_szFinish + c_szKeyed;
}

std::string UnmixEdgedShader_Text()
{
    return std::string(c_szUnmixHead) + c_szShaderInput + c_szUnmixCells + c_szDifference + c_szMaths + c_szFinish +
           c_szUnmixEdged + c_szEdged;
}
