// Every shader text goes through the system's HLSL compiler, for every profile that devices ask for. Needs no device.

#include "DirectX/DXDevice.h"
#include "Support/LogCatcher.h"
#include "Support/ShaderList.h"

#include <gtest/gtest.h>

TEST(ShaderCompile, EveryTextCompilesForEveryProfile)
{
    const std::vector<SHADER_CASE> arrCases = ShaderList_All();
    ASSERT_GT(arrCases.size(), 100u);
    for (const SHADER_CASE& shader : arrCases)
        for (const auto eLevel : {D3D_FEATURE_LEVEL_10_0, D3D_FEATURE_LEVEL_10_1, D3D_FEATURE_LEVEL_11_0})
        {
            const CLogCatcher log;
            CZPtr<ID3DBlob> cpCode;
            EXPECT_EQ(DX11Device::Shader_Compile(shader.strText.c_str(),
                                                 shader.pszEntry[0] == 'V' ? eDXS_Vertex : eDXS_Pixel, eLevel,
                                                 cpCode.Put()),
                      S_OK)
                << shader.strName << " " << testing::PrintToString(log.Lines());
        }
}
