#include "ZChromaKey/Engine1/Gpu/GPUKeyer.h"

#include "Base/ZLog.h"
#include "ZChromaKey/Engine1/Gpu/GPUChromaKey.h"
#include "ZChromaKey/Engine1/Gpu/SystemInfo_DX11.h"

#include <chrono>
#include <optional>

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
        const HRESULT hr = bTexture ? S_OK : DeviceEnsure(_options);
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
        m_attempt.reset();
    }

private:
    /// Makes sure there is a device for frames in system memory.
    HRESULT DeviceEnsure(const ENGINE_GPU_OPTIONS& _options)
    {
        const HRESULT hrNow = DeviceCheck(_options);
        if (SUCCEEDED(hrNow))
            return hrNow;
        m_keyer.Close();
        const auto timeNow = std::chrono::steady_clock::now();
        if (m_attempt && m_attempt->nChange == _options.nChange &&
            (m_attempt->hr == E_NOTIMPL || timeNow - m_attempt->time < c_timeGPURetry))
            return FAILED(m_attempt->hr) ? m_attempt->hr : hrNow;
        HRESULT hr = m_keyer.DeviceInit(nullptr);
        if (SUCCEEDED(hr))
        {
            m_bSoftware = DX_IsSoftware(m_keyer.DeviceGet()->Device());
            SystemInfo_Log(*m_keyer.DeviceGet());
            hr = DeviceCheck(_options);
        }
        if (FAILED(hr))
            m_keyer.Close();
        if (hr == E_NOTIMPL)
            ZLog(eZLog_Info, "GPUKeyer: the adapter is no graphics card but the processor, which keys faster without "
                             "Direct3D; it is used when frames shall be keyed on the GPU only\n");
        m_attempt = {hr, timeNow, _options.nChange};
        return hr;
    }

    /// Whether there is a device that works. E_NOTIMPL: it is software, and slower than keying on the CPU.
    HRESULT DeviceCheck(const ENGINE_GPU_OPTIONS& _options) const
    {
        const DX11Device* const pDevice = m_keyer.DeviceGet();
        const HRESULT hr = pDevice ? pDevice->Device()->GetDeviceRemovedReason() : DXGI_ERROR_DEVICE_REMOVED;
        return SUCCEEDED(hr) && m_bSoftware && !_options.bOnly ? E_NOTIMPL : hr;
    }

    /// The last attempt to make a device.
    struct ATTEMPT
    {
        HRESULT hr;
        std::chrono::steady_clock::time_point time;
        uint64_t nChange;
    };

    GPUChromaKey m_keyer;     ///< of frames in memory
    GPUChromaKey m_keyerHost; ///< of the host's textures
    GPUChromaKey* m_pKeyerLast = &m_keyer;
    bool m_bSoftware = false; ///< whether the device made here is software
    std::optional<ATTEMPT> m_attempt;
};

} // namespace

std::unique_ptr<CGPUKeyer> GPUKeyer_Create()
{
    return std::make_unique<CGPUKeyerDX11>();
}
