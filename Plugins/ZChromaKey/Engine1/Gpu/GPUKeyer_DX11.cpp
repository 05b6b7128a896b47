#include "ZChromaKey/Engine1/Gpu/GPUKeyer.h"

#include "DirectX/Pipeline/GPUBackOff.h"
#include "ZChromaKey/Engine1/Gpu/GPUChromaKey.h"

namespace
{

/// The GPU path on Direct3D 11. Frames in textures are keyed on the host's device, those in memory on one of our own:
/// their work has no place in the host's context.
class CGPUKeyerDX11 final : public CGPUKeyer
{
public:
    HRESULT ProcessFrame(IZFFrame* _pFrame, const CHROMA_KEY_RAW& _key, const ENGINE_GPU_OPTIONS& _options,
                         IZFFrame** _ppFrameRes) override
    {
        const bool bTexture = static_cast<bool>(GPU_TextureOf(_pFrame));
        m_pKeyerLast = bTexture ? &m_keyerHost : &m_keyer;
        const HRESULT hr = bTexture ? S_OK : m_keeper.Ensure(m_keyer, _options.bOnly, _options.nChange);
        if (FAILED(hr))
            return hr;
        return m_pKeyerLast->Key(
            _pFrame, {_key, _options.bOutputARGB, _options.bFlushContext, _options.eMatrix, _options.nChange},
            _ppFrameRes);
    }
    std::vector<CZPtr<IZFFrame>> FramesTake() override
    {
        return m_pKeyerLast->FramesTake();
    }
    void Close() override
    {
        m_keyer.Close();
        m_keyerHost.Close();
        m_keeper.Forget();
    }

private:
    GPUChromaKey m_keyer;     ///< of frames in memory
    GPUChromaKey m_keyerHost; ///< of the host's textures
    GPUChromaKey* m_pKeyerLast = &m_keyer;
    CGPUDeviceKeeper m_keeper; ///< of the device of frames in memory
};

} // namespace

std::unique_ptr<CGPUKeyer> GPUKeyer_Create()
{
    return std::make_unique<CGPUKeyerDX11>();
}
