// What the keyer's shaders have in them beside what the keyer asks for.

#include "DirectX/Shaders/KeyShader.h"
#include "DirectX/Shaders/SmoothShader.h"
#include "Gpu/PipelineSupport.h"
#include "Gpu/TwinPictures.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using ShaderTwin::PICTURE;

/// What one pass makes of a picture.
std::vector<uint8_t> Drawn(const PICTURE& _picture, const std::string& _strText, const void* _pConstants,
                           size_t _cbConstants)
{
    const auto cpTarget = Gpu_Texture(static_cast<uint32_t>(_picture.nWidth), static_cast<uint32_t>(_picture.nHeight));
    EXPECT_EQ(Gpu_Wrapper()->PixelShader_Execute(cpTarget.Get(), {Twin_Texture(_picture).Get()}, _strText.c_str(),
                                                 _pConstants, _cbConstants, D3D11_FILTER_MIN_MAG_MIP_POINT, 1),
              S_OK);
    return Gpu_Read(cpTarget.Get());
}

// The keyer smooths straight colours only.
TEST(SmoothShader, LowersPremultipliedColoursWithTheirAlpha)
{
    const PICTURE picture = Twin_Random(eZFCC_ARGB32, 33, 26);
    const SMOOTH_SETTINGS settings = Shader_FillSmooth(33, 26, true);
    EXPECT_TRUE(Twin_Matches(Drawn(picture, SmoothShader_Text({true, false}), &settings, sizeof(settings)),
                             ShaderTwin::Smooth(picture, true, {true, false}), 0.51));
}

// No pass goes this way back, but every text has it.
TEST(KeyShader, HLSLeadsBackToTheColour)
{
    const PICTURE picture = Twin_Random(eZFCC_ARGB32, 33, 26);
    const std::string strText = "#define PS Keyed\n" + KeyShader_Text({eCKT_HLS, eKI_RGB, eKO_Mask}) + R"(
#undef PS
float4 PS( PS_INPUT input ) : SV_Target
{
    float4 pc = tx.Sample( samLinear, input.Tex );
    return float4( ConvertHLS2RGB( ConvertRGB2HLS( pc.rgb ) ), pc.a );
})";
    EXPECT_TRUE(Twin_Matches(Drawn(picture, strText, nullptr, 0), picture, 0.51));
}

} // namespace
