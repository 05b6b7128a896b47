#pragma once

/// How one frame is keyed on the GPU: what its picture is uploaded as, which passes run, what the result is made of.

#include "DirectX/Shaders/KeyShader.h"
#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/ZPlatform.h"
#include "Interfaces/ZVideoTypes.h"

/// What a frame is keyed with.
struct GPU_KEY_SETTINGS
{
    CHROMA_KEY_RAW key;
    bool bOutputARGB;     ///< the result is ARGB32
    bool bFlushContext;   ///< hand the work to the GPU before the result is waited for
    eZYMatrix eMatrix;    ///< of YUV pictures, and what YUV keys of them are measured with
    uint64_t nChange = 0; ///< of the options: what failed for long is tried again at once when it changes
};

/// What the result frame is made of.
enum eGPUResult : int32_t
{
    eGR_Clone,   ///< the input's own pixels; a mask
    eGR_ARGB,    ///< the input's colours in ARGB32, alpha from the mask
    eGR_Picture, ///< the rendered picture in RGB32 or ARGB32; the mask from its alpha
    eGR_Packed,  ///< the rendered picture in the input's packed format; a mask
    eGR_Texture, ///< the rendered picture as it is, on the GPU
};

/// How the input gets into the texture that is keyed.
enum eGPUInput : int32_t
{
    eGI_AsIs,      ///< as it is
    eGI_GPUPacked, ///< uploaded as it is, converted into UYVY there: samples stay what they are
    eGI_CPUARGB,   ///< converted into ARGB32 before
};

struct GPU_KEY_PLAN
{
    eGPUInput eInput;
    uint32_t fccKeyed; ///< of the texture that is keyed
    eGPUResult eResult;
    bool bARGB;        ///< the result is ARGB32
    KEY_SHADER shader; ///< what all passes of the frame share; each pass sets its own output
    int32_t nSmooth;   ///< smoothing passes
    bool bInverse;     ///< the last of them inverts the alpha, which comes last on the CPU too
    bool bInterlaced;

    bool operator==(const GPU_KEY_PLAN&) const = default;
};

/// Plans a frame of a picture's properties. _bTexture: it lies in a texture, and so will the result.
///
/// E_NOTIMPL: a picture, or colour cancel or YUV keys of one, that is not keyed on the GPU.
HRESULT GPUKeyPlan_Make(const ZF_VID_PROPS& _vidProps, bool _bTexture, const GPU_KEY_SETTINGS& _settings,
                        GPU_KEY_PLAN* _pPlan);
