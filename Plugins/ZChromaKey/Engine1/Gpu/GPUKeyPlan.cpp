#include "ZChromaKey/Engine1/Gpu/GPUKeyPlan.h"

#include "Base/ZAssert.h"
#include "Base/ZHelpers.h"
#include "DirectX/Shaders/KeyConstants.h"
#include "DirectX/Shaders/SmoothShader.h"

namespace
{

/// Formats of which the CPU cleans the colours in place, but no pass does.
bool IsCleanedOnCPU(uint32_t _fccType)
{
    return FCC_IsCleaned(_fccType) && FCC_Texture(_fccType) == eZT_None;
}

eGPUInput InputOf(const ZF_VID_PROPS& _vidProps)
{
    const eZTexture eTexture = FCC_Texture(_vidProps.fccType);
    if (eTexture == eZT_Pixels || eTexture == eZT_Pairs)
        return eGI_AsIs;
    // Chroma planes of half an odd size have no place in a texture.
    const bool bOdd = _vidProps.nWidth % 2 != 0 || _vidProps.nHeight % FCC_Subsampling(_vidProps.fccType, 1).cy != 0;
    return Shader_PlanarLayout(_vidProps.fccType) && !bOdd ? eGI_GPUPacked : eGI_CPUARGB;
}

uint32_t KeyedFormat(eGPUInput _eInput, uint32_t _fccType)
{
    return _eInput == eGI_AsIs ? _fccType : _eInput == eGI_GPUPacked ? uint32_t{eZFCC_UYVY} : uint32_t{eZFCC_ARGB32};
}

eGPUResult ResultOf(const ZF_VID_PROPS& _vidProps, eGPUInput _eInput, bool _bARGB, bool _bCancel)
{
    if (_bCancel && (_bARGB || _vidProps.fccType == eZFCC_RGB32))
        return eGR_Picture;
    if (_bCancel && _eInput == eGI_AsIs)
        return eGR_Packed;
    return _bARGB ? eGR_ARGB : eGR_Clone;
}

} // namespace

HRESULT GPUKeyPlan_Make(const ZF_VID_PROPS& _vidProps, bool _bTexture, const GPU_KEY_SETTINGS& _settings,
                        GPU_KEY_PLAN* _pPlan)
{
    const CHROMA_KEY_RAW& key = _settings.key;
    if (!Z_VERIFY_TEXT(key.eType >= eCKT_RGB && key.eType <= eCKT_YUV, "!\"Unexpected CK type!\""))
        return E_INVALIDARG;
    const eGPUInput eInput = InputOf(_vidProps);
    const bool bARGB = _settings.bOutputARGB || _vidProps.fccType == eZFCC_ARGB32;
    const bool bCancel = Shader_NeedsCancel(key);
    // The shaders measure RGB pictures with the matrix of standard definition, whatever they were converted from.
    const bool bOtherMatrix = eInput == eGI_CPUARGB && !FCC_IsRGB(_vidProps.fccType) && _settings.eMatrix != eZYM_601 &&
                              key.eType == eCKT_YUV;
    const bool bNoTexture = _bTexture && eInput == eGI_CPUARGB;
    const bool bNoCancel = bCancel && !bARGB && IsCleanedOnCPU(_vidProps.fccType);
    if (bOtherMatrix || bNoTexture || bNoCancel)
        return E_NOTIMPL;
    GPU_KEY_PLAN& plan = *_pPlan;
    plan = {};
    plan.eInput = eInput;
    plan.fccKeyed = KeyedFormat(eInput, _vidProps.fccType);
    plan.eResult = _bTexture ? eGR_Texture : ResultOf(_vidProps, eInput, bARGB, bCancel);
    plan.bARGB = bARGB || _bTexture;
    plan.shader.eType = static_cast<eCK_Type>(key.eType);
    plan.shader.eInput = KeyShader_InputOf(plan.fccKeyed);
    plan.shader.bColorCancel = bCancel && plan.eResult != eGR_Clone;
    plan.shader.eMatrix = _settings.eMatrix;
    plan.nSmooth = Shader_SmoothPasses(key.nEdgesSmooth);
    plan.bInverse = Shader_NeedsInverse(key);
    plan.bInterlaced = key.nInterlacedVideo || VidProps_FieldOrder(&_vidProps) != 0;
    return S_OK;
}
