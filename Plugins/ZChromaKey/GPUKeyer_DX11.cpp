#include "ZChromaKey/GPUKeyer.h"

#include "Base/ZLog.h"
#include "DirectX/GPUChromaKey.h"
#include "ZChromaKey/SystemInfo_DX11.h"

#include <chrono>
#include <optional>

namespace
{

/// How long after one device no other one is made, be it that the first could not be made or was removed: making one
/// takes longer than a frame lasts, and a late frame is worse than one keyed on the CPU.
constexpr std::chrono::seconds c_timeRetry{5};

/// The GPU path on Direct3D 11.
class CGPUKeyerDX11 final : public CGPUKeyer
{
public:
    HRESULT ProcessFrame(IZFFrame* _pFrame, const CHROMA_KEY_RAW& _key, const GPU_KEY_OPTIONS& _options,
                         IZFFrame** _ppFrameRes) override
    {
        const HRESULT hr = GPU_TextureOf(_pFrame) ? S_OK : DeviceEnsure(_options.nChange);
        if (FAILED(hr))
            return hr;
        return m_keyer.Key(
            _pFrame,
            {_key, _options.bOutputARGB, _options.bFlushContext, _options.eMatrix == eZYM_709 ? eSYM_709 : eSYM_601},
            _ppFrameRes);
    }
    std::vector<CZPtr<IZFFrame>> FramesTake() override
    {
        return m_keyer.FramesTake();
    }
    void Close() override
    {
        m_keyer.Close();
        m_attempt.reset();
    }

private:
    /// A device for frames that bring none.
    HRESULT DeviceEnsure(uint64_t _nChange)
    {
        const HRESULT hrRemoved =
            m_keyer.DeviceGet() ? m_keyer.DeviceGet()->Device()->GetDeviceRemovedReason() : DXGI_ERROR_DEVICE_REMOVED;
        if (SUCCEEDED(hrRemoved))
            return S_OK;
        m_keyer.Close();
        const auto timeNow = std::chrono::steady_clock::now();
        if (m_attempt && m_attempt->nChange == _nChange && timeNow - m_attempt->time < c_timeRetry)
            return FAILED(m_attempt->hr) ? m_attempt->hr : hrRemoved;
        HRESULT hr = m_keyer.DeviceInit(nullptr);
        if (SUCCEEDED(hr))
            hr = m_keyer.DeviceGet()->Device()->GetDeviceRemovedReason();
        m_attempt = {hr, timeNow, _nChange};
        if (FAILED(hr))
            m_keyer.Close();
        else
            SystemInfo_Log(*m_keyer.DeviceGet());
        return hr;
    }

    /// The last device that was asked for.
    struct ATTEMPT
    {
        HRESULT hr;
        std::chrono::steady_clock::time_point time;
        uint64_t nChange;
    };

    GPUChromaKey m_keyer;
    std::optional<ATTEMPT> m_attempt;
};

} // namespace

std::unique_ptr<CGPUKeyer> GPUKeyer_Create()
{
    return std::make_unique<CGPUKeyerDX11>();
}
