#include "Base/ZPixelFormats.h"
#include "Base/ZLog.h"
#include "Base/ZVideoProps.h"
#include "Base/ZVideoText.h"
#include "ZChromaKey/Engine2/Gpu/GPUUnmix.h"

#include <cstdlib>
#include <utility>

namespace
{

/// What keeps a frame in a texture from being keyed; null: nothing.
const char* RefusalOf(const ZF_VID_PROPS& _vidProps, const ENGINE_GPU_OPTIONS& _options)
{
    const bool bPixels = _vidProps.fccType == eZFCC_RGB32 || _vidProps.fccType == eZFCC_ARGB32;
    if (!bPixels && (ConvertShader_Text({_vidProps.fccType, eZFCC_ARGB32}).empty() || _vidProps.nWidth % 2 != 0 ||
                     std::abs(_vidProps.nHeight) % 2 != 0))
        return "this format or size";
    if (!bPixels && _options.eMatrix != eZYM_601 && _options.eMatrix != eZYM_709)
        return "this matrix or range";
    return nullptr;
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
        const char* const pszRefusal = RefusalOf(vidProps, _options);
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
