#include "ZChromaKey/Engine1/Gpu/GPUKeyPlan.h"

#include "Base/ZAssert.h"
#include "Base/ZHelpers.h"
#include "DirectX/Shaders/KeyConstants.h"
#include "DirectX/Shaders/SmoothShader.h"

namespace
{

/// What the GPU path does with a pixel format.
struct FORMAT_ROW
{
    uint32_t fccType;
    eGPUInput eInput;
    eKeyInput eKeyed;
};

constexpr FORMAT_ROW c_arrFormats[] = {
    {eZFCC_RGB32, eGI_AsIs, eKI_RGB},      {eZFCC_ARGB32, eGI_AsIs, eKI_RGB},     {eZFCC_UYVY, eGI_AsIs, eKI_UYVY},
    {eZFCC_HDYC, eGI_AsIs, eKI_HDYC},      {eZFCC_YUY2, eGI_AsIs, eKI_YUY2},      {eZFCC_NV12, eGI_GPUPacked, eKI_UYVY},
    {eZFCC_YV12, eGI_GPUPacked, eKI_UYVY}, {eZFCC_I420, eGI_GPUPacked, eKI_UYVY}, {eZFCC_YV16, eGI_GPUPacked, eKI_UYVY},
    {eZFCC_I422, eGI_GPUPacked, eKI_UYVY},
};

/// Formats of which the CPU cleans the colours in place, but no pass does.
bool IsCleanedOnCPU(uint32_t _fccType)
{
    return _fccType == eZFCC_RGB24 || _fccType == eZFCC_YVYU;
}

FORMAT_ROW RowOf(const ZF_VID_PROPS& _vidProps)
{
    for (const FORMAT_ROW& row : c_arrFormats)
        if (row.fccType == _vidProps.fccType)
        {
            // Chroma planes of half an odd size have no place in a texture.
            const bool bOdd = _vidProps.nWidth % 2 != 0 || _vidProps.nHeight % FCC_Subsampling(row.fccType, 1).cy != 0;
            if (row.eInput == eGI_AsIs || !bOdd)
                return row;
        }
    return {_vidProps.fccType, eGI_CPUARGB, eKI_RGB};
}

eGPUResult ResultOf(const ZF_VID_PROPS& _vidProps, const FORMAT_ROW& _row, bool _bARGB, bool _bCancel)
{
    if (_bCancel && (_bARGB || _vidProps.fccType == eZFCC_RGB32))
        return eGR_Picture;
    if (_bCancel && _row.eInput == eGI_AsIs)
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
    const FORMAT_ROW row = RowOf(_vidProps);
    const bool bARGB = _settings.bOutputARGB || _vidProps.fccType == eZFCC_ARGB32;
    const bool bCancel = Shader_NeedsCancel(key);
    // The shaders measure RGB pictures with the matrix of standard definition, whatever they were converted from.
    const bool bOtherMatrix = row.eInput == eGI_CPUARGB && !FCC_IsRGB(_vidProps.fccType) &&
                              _settings.eMatrix != eZYM_601 && key.eType == eCKT_YUV;
    const bool bNoTexture = _bTexture && row.eInput == eGI_CPUARGB;
    const bool bNoCancel = bCancel && !bARGB && IsCleanedOnCPU(_vidProps.fccType);
    if (bOtherMatrix || bNoTexture || bNoCancel)
        return E_NOTIMPL;
    GPU_KEY_PLAN& plan = *_pPlan;
    plan = {};
    plan.eInput = row.eInput;
    plan.fccKeyed = row.eInput == eGI_AsIs        ? _vidProps.fccType
                    : row.eInput == eGI_GPUPacked ? uint32_t{eZFCC_UYVY}
                                                  : uint32_t{eZFCC_ARGB32};
    plan.eResult = _bTexture ? eGR_Texture : ResultOf(_vidProps, row, bARGB, bCancel);
    plan.bARGB = bARGB || _bTexture;
    plan.shader.eType = static_cast<eCK_Type>(key.eType);
    plan.shader.eInput = row.eKeyed;
    plan.shader.bColorCancel = bCancel && plan.eResult != eGR_Clone;
    plan.shader.eMatrix = _settings.eMatrix;
    plan.nSmooth = Shader_SmoothPasses(key.nEdgesSmooth);
    plan.bInverse = Shader_NeedsInverse(key);
    plan.bInterlaced = key.nInterlacedVideo || VidProps_FieldOrder(&_vidProps) != 0;
    return S_OK;
}
