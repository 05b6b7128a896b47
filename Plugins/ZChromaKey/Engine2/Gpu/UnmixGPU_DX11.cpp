#include "Base/ZPixelFormats.h"
#include "Base/ZLog.h"
#include "Base/ZVideoProps.h"
#include "Base/ZVideoText.h"
#include "DirectX/Device/DXHelpers.h"
#include "DirectX/Pipeline/GPURows.h"
#include "DirectX/Shaders/ShaderPieces.h"
#include "ZChromaKey/Engine2/Gpu/GPUUnmix.h"

#include <utility>

namespace
{

/// The texture that a frame is in, as it says of itself; all 0: it is in none.
D3D11_TEXTURE2D_DESC DescOf(IZFFrame* _pFrame)
{
    D3D11_TEXTURE2D_DESC desc = {};
    CZPtr<ID3D11Texture2D> cpTexture;
    const auto cpHost = GPU_TextureOf(_pFrame);
    if (cpHost && SUCCEEDED(cpHost->TextureGet(cpTexture.Put())))
        cpTexture->GetDesc(&desc);
    return desc;
}

/// Whether a texture has a line more than the record of its frame: records of interlaced pictures have even heights.
bool IsOddFields(const D3D11_TEXTURE2D_DESC& _desc, const ZF_VID_PROPS& _vidProps)
{
    return VidProps_FieldOrder(&_vidProps) != 0 && _desc.Height == DX_TextureDesc(_vidProps).Height + 1;
}

/// What keeps a frame in a texture from being keyed; null: nothing.
const char* RefusalOf(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps)
{
    const uint32_t fccType = _vidProps.fccType;
    const D3D11_TEXTURE2D_DESC desc = DescOf(_pFrame);
    if (DX_IsYUV(desc.Format))
        return "a Direct3D format of planes: a texture of one channel has them one below the other";
    if (IsOddFields(desc, _vidProps))
        return "an odd number of lines in two fields";
    if (fccType == eZFCC_RGB32 || fccType == eZFCC_ARGB32)
        return nullptr;
    const bool bPlanes = Shader_PlanarLayout(fccType) || FCC_HasTextureWords(fccType);
    if (DX_TextureFormat(fccType) == DXGI_FORMAT_UNKNOWN || (!bPlanes && !Shader_PackedLayout(fccType)))
        return "this format";
    const int nLeast = VidProps_FieldOrder(&_vidProps) != 0 ? 4 : 2; // a row of chroma for each field
    return bPlanes && (!GPU_SizeIsValid(_vidProps) || _vidProps.nHeight < nLeast) ? "this size: planes are to be even"
                                                                                  : nullptr;
}

/// The GPU path on Direct3D 11. Frames in textures are keyed on the host's device, those in memory on one of our own:
/// their work has no place in the host's context.
class CUnmixGPUDX11 final : public CUnmixGPU
{
public:
    HRESULT Check(const ENGINE_GPU_OPTIONS& _options) override
    {
        return m_keeper.Ensure(m_keyer, _options.bOnly, _options.nChange);
    }
    HRESULT Pixels(UNMIX_STATE& _state, const UNMIX_PICTURE& _picture, const UNMIX_RESULT& _result,
                   const ENGINE_GPU_OPTIONS& _options) override
    {
        return m_keyer.Pixels(_state, _picture, _result, _options);
    }
    HRESULT ProcessFrame(IZFFrame* _pFrame, IUnmixLearner& _learner, const ENGINE_GPU_OPTIONS& _options,
                         IZFFrame** _ppFrameRes) override
    {
        ZF_VID_PROPS vidProps = {};
        const HRESULT hr = _pFrame->VideoPropsGet(&vidProps);
        if (FAILED(hr))
            return hr;
        const char* const pszRefusal = RefusalOf(_pFrame, vidProps);
        if (std::exchange(m_pszRefusal, pszRefusal) != pszRefusal && pszRefusal)
            ZLog(eZLog_Error,
                 "CCoZChromaKey2: frames in textures (%ws) are not keyed with %hs; hand them in in memory, or change "
                 "that\n",
                 VidProps_Text(&vidProps), pszRefusal);
        return pszRefusal ? E_NOTIMPL : m_keyerHost.Key(_pFrame, _learner, _options, _ppFrameRes);
    }
    void Close() override
    {
        m_keyer.Close();
        m_keyerHost.Close();
        m_keeper.Forget();
    }

private:
    GPUUnmix m_keyer;                   ///< of frames in memory
    GPUUnmix m_keyerHost;               ///< of the host's textures
    CGPUDeviceKeeper m_keeper;          ///< of the device of frames in memory
    const char* m_pszRefusal = nullptr; ///< that the log has told of last
};

} // namespace

std::unique_ptr<CUnmixGPU> UnmixGPU_Create()
{
    return std::make_unique<CUnmixGPUDX11>();
}
