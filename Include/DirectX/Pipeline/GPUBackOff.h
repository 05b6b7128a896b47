#pragma once

#include "Base/ZLog.h"
#include "DirectX/Device/DXSystemInfo.h"

#include <chrono>
#include <cstdint>
#include <optional>

/// How long to wait before what failed is tried again: an attempt takes longer than a frame lasts, and a late frame is
/// worse than one keyed on the CPU.
inline constexpr std::chrono::seconds c_timeGPURetry{5};

/// Keeps a failure that lasts, such as a shader that no driver takes, from being met again with every frame. A plan is
/// a record that says how a frame is keyed.
///
/// After three failures in a row, of frames that are planned alike and with the same code, such frames are not tried
/// for a while. A single failure may pass, as when memory is short. E_INVALIDARG does not count: it is about the one
/// frame.
template <class Plan> class CGPUBackOff
{
public:
    /// The name that it logs under, a literal.
    explicit CGPUBackOff(const char* _pszClass)
        : m_pszClass(_pszClass)
    {
    }
    /// Whether a frame is worth trying: S_OK, or else the failure that lasts. _nChange: of the options; a change makes
    /// everything worth trying.
    HRESULT Check(const Plan& _plan, uint64_t _nChange) const
    {
        const bool bLasts = m_nFailures >= c_nFailuresLast && IsOf(_plan, _nChange) &&
                            std::chrono::steady_clock::now() - m_time < c_timeGPURetry;
        return bLasts ? m_hr : S_OK;
    }
    /// What has become of a frame that was tried.
    void Note(const Plan& _plan, uint64_t _nChange, HRESULT _hr)
    {
        if (SUCCEEDED(_hr) || _hr == E_INVALIDARG)
        {
            Forget();
            return;
        }
        m_nFailures = IsOf(_plan, _nChange) && m_hr == _hr ? m_nFailures + 1 : 1;
        m_hr = _hr;
        m_plan = _plan;
        m_nChange = _nChange;
        m_time = std::chrono::steady_clock::now();
        if (m_nFailures == c_nFailuresLast)
            ZLog(eZLog_Warning,
                 "%hs: %d frames in a row have failed with %08X; frames like them are tried every %d "
                 "seconds\n",
                 m_pszClass, m_nFailures, _hr, static_cast<int>(c_timeGPURetry.count()));
    }
    void Forget()
    {
        m_nFailures = 0;
    }

private:
    static constexpr int c_nFailuresLast = 3; ///< so many in a row, and a failure is said to last

    bool IsOf(const Plan& _plan, uint64_t _nChange) const
    {
        return m_nFailures > 0 && m_plan == _plan && m_nChange == _nChange;
    }

    const char* m_pszClass;
    int m_nFailures = 0; ///< in a row
    HRESULT m_hr = S_OK;
    Plan m_plan = {};
    uint64_t m_nChange = 0;
    std::chrono::steady_clock::time_point m_time; ///< of the last one
};

/// Makes sure that a keyer of frames in system memory has a device that works, and asks for another one no oftener than
/// that. A keyer offers DeviceInit, DeviceGet and Close as a processor does.
class CGPUDeviceKeeper
{
public:
    /// _bOnly: nothing else may key, so a device that is software will do. _nChange: of the options; a change makes
    /// another attempt worth while. E_NOTIMPL: the device is software, and slower than keying on the CPU.
    template <class Keyer> HRESULT Ensure(Keyer& _keyer, bool _bOnly, uint64_t _nChange)
    {
        const HRESULT hrNow = Check(_keyer, _bOnly);
        if (SUCCEEDED(hrNow))
            return hrNow;
        _keyer.Close();
        const auto timeNow = std::chrono::steady_clock::now();
        if (m_attempt && m_attempt->nChange == _nChange &&
            (m_attempt->hr == E_NOTIMPL || timeNow - m_attempt->time < c_timeGPURetry))
            return FAILED(m_attempt->hr) ? m_attempt->hr : hrNow;
        HRESULT hr = _keyer.DeviceInit(nullptr);
        if (SUCCEEDED(hr))
        {
            m_bSoftware = DX_IsSoftware(_keyer.DeviceGet()->Device());
            SystemInfo_Log(*_keyer.DeviceGet());
            hr = Check(_keyer, _bOnly);
        }
        if (FAILED(hr))
            _keyer.Close();
        if (hr == E_NOTIMPL)
            ZLog(eZLog_Info, "GPUKeyer: the adapter is no graphics card but the processor, which keys faster without "
                             "Direct3D; it is used when frames shall be keyed on the GPU only\n");
        m_attempt = {hr, timeNow, _nChange};
        return hr;
    }
    /// The next attempt is the first one.
    void Forget()
    {
        m_attempt.reset();
    }

private:
    /// Whether there is a device that works.
    template <class Keyer> HRESULT Check(const Keyer& _keyer, bool _bOnly) const
    {
        const DX11Device* const pDevice = _keyer.DeviceGet();
        const HRESULT hr = pDevice ? pDevice->Device()->GetDeviceRemovedReason() : DXGI_ERROR_DEVICE_REMOVED;
        return SUCCEEDED(hr) && m_bSoftware && !_bOnly ? E_NOTIMPL : hr;
    }

    /// The last attempt to make a device.
    struct ATTEMPT
    {
        HRESULT hr;
        std::chrono::steady_clock::time_point time;
        uint64_t nChange;
    };

    bool m_bSoftware = false; ///< whether the device is software
    std::optional<ATTEMPT> m_attempt;
};
