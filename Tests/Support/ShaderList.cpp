#include "Support/ShaderList.h"

#include "DirectX/Shaders/ConvertShader.h"
#include "DirectX/Shaders/DXVShader.h"
#include "DirectX/Shaders/KeyShader.h"
#include "DirectX/Shaders/SmoothShader.h"
#include "DirectX/Shaders/VertexShader.h"
#include "Interfaces/ZVideoTypes.h"

#include <set>
#include <utility>

namespace
{

constexpr std::pair<uint32_t, const char*> c_arrFormats[] = {
    {eZFCC_RGB8, "RGB8"}, {eZFCC_RGB32, "RGB32"}, {eZFCC_ARGB32, "ARGB32"}, {eZFCC_UYVY, "UYVY"},
    {eZFCC_HDYC, "HDYC"}, {eZFCC_YUY2, "YUY2"},   {eZFCC_YVYU, "YVYU"},     {eZFCC_NV12, "NV12"},
    {eZFCC_YV12, "YV12"}, {eZFCC_I420, "I420"},   {eZFCC_YV16, "YV16"},     {eZFCC_I422, "I422"},
};

class CList
{
public:
    void Add(const std::string& _strName, std::string _strText, const char* _pszEntry = "PS")
    {
        if (!_strText.empty() && m_setTexts.insert(_strText).second)
            m_arrCases.push_back({_strName, std::move(_strText), _pszEntry});
    }
    std::vector<SHADER_CASE> Take()
    {
        return std::move(m_arrCases);
    }

private:
    std::vector<SHADER_CASE> m_arrCases;
    std::set<std::string> m_setTexts; ///< some descriptions give the same text
};

void AddKeys(CList* _pList)
{
    static constexpr const char* c_arrTypes[] = {"alpha", "none", "rgb", "hls", "yuv", "auto"};
    static constexpr const char* c_arrInputs[] = {"RGB", "UYVY", "HDYC", "YUY2"};
    static constexpr const char* c_arrOutputs[] = {"picture", "mask", "packed"};
    for (int32_t eType = eCKT_Alpha; eType <= eCKT_Auto; ++eType)
        for (int32_t eInput = eKI_RGB; eInput <= eKI_YUY2; ++eInput)
            for (int32_t eOutput = eKO_Picture; eOutput <= eKO_Packed; ++eOutput)
                for (const bool bCancel : {false, true})
                    for (const eSYMatrix eMatrix : {eSYM_601, eSYM_709})
                        if (eMatrix == eSYM_601 || eInput != eKI_RGB)
                            _pList->Add(std::string("key_") + c_arrTypes[eType] + "_" + c_arrInputs[eInput] + "_" +
                                            c_arrOutputs[eOutput] + (bCancel ? "_cancel" : "") +
                                            (eMatrix == eSYM_709 ? "_709" : ""),
                                        KeyShader_Text({static_cast<eCK_Type>(eType), static_cast<eKeyInput>(eInput),
                                                        static_cast<eKeyOutput>(eOutput), bCancel, eMatrix}));
}

void AddConversions(CList* _pList)
{
    for (const auto& [fccIn, pszIn] : c_arrFormats)
        for (const auto& [fccOut, pszOut] : c_arrFormats)
            for (const bool bLinear : {false, true})
                _pList->Add(std::string("convert_") + pszIn + "_" + pszOut + (bLinear ? "_linear" : ""),
                            ConvertShader_Text({fccIn, fccOut, bLinear, eSYM_601}));
    for (const bool bBottom : {false, true})
        for (const bool bFull : {false, true})
            _pList->Add(std::string("dxv_packed") + (bBottom ? "_fields" : "") + (bFull ? "_full" : ""),
                        DXVShader_Text({bBottom, bFull}));
    for (const auto& [fccOut, pszOut] : c_arrFormats)
        _pList->Add(std::string("dxv_UYVY_") + pszOut, DXVPlanarShader_Text(fccOut));
}

} // namespace

std::vector<SHADER_CASE> ShaderList_All()
{
    CList list;
    list.Add("vertex", VertexShader_Text(), "VS");
    AddKeys(&list);
    list.Add("alpha_mask", AlphaMaskShader_Text());
    for (const bool bPremultiplied : {false, true})
        list.Add(bPremultiplied ? "smooth_premultiplied" : "smooth", SmoothShader_Text({bPremultiplied}));
    list.Add("smooth_inverse", SmoothShader_Text({false, true}));
    AddConversions(&list);
    return list.Take();
}
