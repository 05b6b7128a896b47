#include "DirectX/Shaders/ConvertShader.h"
#include "DirectX/Shaders/DXVShader.h"
#include "DirectX/Shaders/KeyShader.h"
#include "Interfaces/ZVideoTypes.h"
#include "Support/ShaderList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace
{

// A few texts as a person has read them; all of them are compiled and drawn elsewhere. After a change that is meant,
// read the new ones that this writes: ZCK_WRITE_GOLDEN=1 zck_shaders_test --gtest_filter=ShaderText.Golden
constexpr const char* c_arrGolden[] = {
    "vertex", "key_hls_UYVY_picture_cancel_709", "smooth", "convert_RGB32_UYVY", "dxv_packed_fields", "dxv_UYVY_YV12",
};

TEST(ShaderText, Golden)
{
    const std::vector<SHADER_CASE> arrCases = ShaderList_All();
    for (const char* pszName : c_arrGolden)
    {
        const auto itCase = std::find_if(arrCases.begin(), arrCases.end(),
                                         [&](const SHADER_CASE& _shader) { return _shader.strName == pszName; });
        ASSERT_NE(itCase, arrCases.end()) << pszName;
        const std::string strPath = std::string(ZCK_SHADER_GOLDEN "/") + pszName + ".hlsl";
        if (std::getenv("ZCK_WRITE_GOLDEN"))
            std::ofstream(strPath, std::ios::binary) << itCase->strText;
        std::ifstream file(strPath);
        const std::string strGolden{std::istreambuf_iterator<char>(file), {}};
        EXPECT_EQ(itCase->strText, strGolden) << strPath;
    }
}

TEST(ShaderText, WhatCannotBeHasNoText)
{
    for (const eCK_Type eType : {eCKT_Alpha, eCKT_None, eCKT_Auto, static_cast<eCK_Type>(17)})
        EXPECT_EQ(KeyShader_Text({eType, eKI_RGB, eKO_Picture, false, eSYM_601}), "") << eType;
    EXPECT_EQ(KeyShader_Text({eCKT_RGB, eKI_RGB, eKO_Packed, true, eSYM_601}), "");
    EXPECT_EQ(KeyShader_Text({eCKT_RGB, eKI_UYVY, eKO_Packed, false, eSYM_601}), "");
    EXPECT_EQ(ConvertShader_Text({eZFCC_v210, eZFCC_RGB32, false, eSYM_601}), "");
    EXPECT_EQ(ConvertShader_Text({eZFCC_RGB32, eZFCC_RGB24, false, eSYM_601}), "");
    EXPECT_EQ(DXVPlanarShader_Text(eZFCC_UYVY), "");
}

} // namespace
