// Every shader text goes through the system's HLSL compiler, for every profile that devices ask for. Needs no device.

#include "Base/ZPixelFormats.h"
#include "DirectX/Device/DXDevice.h"
#include "DirectX/Shaders/ConvertShader.h"
#include "DirectX/Shaders/DXVShader.h"
#include "DirectX/Shaders/KeyShader.h"
#include "DirectX/Shaders/SmoothShader.h"
#include "DirectX/Shaders/UnmixEdgeShader.h"
#include "DirectX/Shaders/UnmixShader.h"
#include "DirectX/Shaders/VertexShader.h"
#include "Interfaces/ZVideoTypes.h"
#include "Support/LogCatcher.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace
{

using TEXTS = std::set<std::string>; // some descriptions give the same text, or none

constexpr uint32_t c_arrFormats[] = {eZFCC_RGB8, eZFCC_RGB32, eZFCC_ARGB32, eZFCC_UYVY, eZFCC_HDYC, eZFCC_YUY2,
                                     eZFCC_YVYU, eZFCC_NV12,  eZFCC_YV12,   eZFCC_I420, eZFCC_YV16, eZFCC_I422};

void AddKeys(TEXTS* _pTexts)
{
    for (const eKeyInput eInput : {eKI_RGB, eKI_UYVY, eKI_HDYC, eKI_YUY2})
        for (const eKeyOutput eOutput : {eKO_Picture, eKO_Mask, eKO_Packed})
            for (const bool bCancel : {false, true})
                for (const eZYMatrix eMatrix : {eZYM_601, eZYM_709})
                {
                    const auto fnText = [&](eCK_Type _eType) {
                        return KeyShader_Text({_eType, eInput, eOutput, bCancel, eMatrix});
                    };
                    const bool bNone = eOutput == eKO_Packed && (eInput == eKI_RGB || !bCancel);
                    for (const eCK_Type eType : {eCKT_RGB, eCKT_HLS, eCKT_YUV})
                        EXPECT_EQ(_pTexts->insert(fnText(eType)).first->empty(), bNone);
                    for (const eCK_Type eType : {eCKT_Alpha, eCKT_None, eCKT_Auto})
                        EXPECT_EQ(fnText(eType), "");
                }
}

void AddConversions(TEXTS* _pTexts)
{
    for (const uint32_t fccIn : c_arrFormats)
    {
        for (const uint32_t fccOut : c_arrFormats)
            for (const bool bLinear : {false, true})
                _pTexts->insert(ConvertShader_Text({fccIn, fccOut, bLinear, eZYM_601}));
        EXPECT_EQ(_pTexts->insert(DXVPlanarShader_Text(fccIn)).first->empty(), !FCC_IsPlanar(fccIn));
        EXPECT_EQ(ConvertShader_Text({fccIn, eZFCC_v210}) + ConvertShader_Text({eZFCC_RGB24, fccIn}), "");
    }
    for (const bool bBottom : {false, true})
        for (const bool bFull : {false, true})
            _pTexts->insert(DXVShader_Text({bBottom, bFull}));
}

void ExpectCompiles(const std::string& _strText, eDX_Shader _eShader)
{
    for (const auto eLevel : {D3D_FEATURE_LEVEL_10_0, D3D_FEATURE_LEVEL_10_1, D3D_FEATURE_LEVEL_11_0})
    {
        const CLogCatcher log;
        CZPtr<ID3DBlob> cpCode;
        EXPECT_EQ(DX11Device::Shader_Compile(_strText.c_str(), _eShader, eLevel, cpCode.Put()), S_OK)
            << testing::PrintToString(log.Lines());
    }
}

} // namespace

TEST(ShaderCompile, EveryTextCompilesForEveryProfile)
{
    TEXTS setTexts = {AlphaMaskShader_Text(),           SmoothShader_Text({}),     SmoothShader_Text({true}),
                      SmoothShader_Text({false, true}), UnmixCellsShader_Text(),   UnmixPastShader_Text(),
                      UnmixOpenShader_Text(),           UnmixFactorsShader_Text(), UnmixDeepShader_Text(),
                      UnmixPixelShader_Text(),          UnmixAlphaShader_Text(),   UnmixChokeShader_Text(),
                      UnmixBlurShader_Text(),           UnmixEdgedShader_Text()};
    AddKeys(&setTexts);
    AddConversions(&setTexts);
    setTexts.erase("");
    EXPECT_GT(setTexts.size(), 100u);
    for (const std::string& strText : setTexts)
        ExpectCompiles(strText, eDXS_Pixel);
    ExpectCompiles(VertexShader_Text(), eDXS_Vertex);
}
