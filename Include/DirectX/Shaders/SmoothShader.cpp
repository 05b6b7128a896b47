#include "DirectX/Shaders/SmoothShader.h"

#include "DirectX/Shaders/ShaderPieces.h"

#include <algorithm>

namespace
{

constexpr int32_t c_nMaxPasses = 10;

constexpr char c_szSmoothHead[] = R"(Texture2D tx : register( t0 );
SamplerState samLinear : register( s0 );

cbuffer SMOOTH_SETTINGS : register( b0 )
{
    float4 smooth;
};
)";

constexpr char c_szBody[] = R"(
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
)";

constexpr char c_szPremultiplied[] = R"(    if( pc.w < 0.01 )
        return pc;
    return pc * ( mean / pc.w );
}
)";

constexpr char c_szStraight[] = R"(    if( pc.w < 0.01 )
        return pc;
    return float4( pc.rgb, mean );
}
)";

// Clear pixels are not smoothed, but inverted.
constexpr char c_szInverse[] = R"(    if( pc.w < 0.01 )
        mean = pc.w;
    return float4( pc.rgb, 1.0 - mean );
}
)";

} // namespace

std::string SmoothShader_Text(const SMOOTH_SHADER& _shader)
{
    return std::string(c_szSmoothHead) + c_szShaderInput + c_szBody +
           (_shader.bPremultiplied ? c_szPremultiplied
            : _shader.bInverse     ? c_szInverse
                                   : c_szStraight);
}

SMOOTH_SETTINGS Shader_FillSmooth(int32_t _nWidth, int32_t _nHeight, bool _bInterlaced)
{
    return {{_bInterlaced ? 0.0f : 1.0f, 1, 1 / static_cast<float>(_nWidth),
             (_bInterlaced ? 2.0f : 1.0f) / static_cast<float>(_nHeight)}};
}

int32_t Shader_SmoothPasses(int32_t _nEdgesSmooth)
{
    return std::clamp(_nEdgesSmooth, 0, c_nMaxPasses);
}
