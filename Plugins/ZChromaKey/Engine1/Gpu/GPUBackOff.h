#pragma once

#include "ZChromaKey/Engine1/Gpu/GPUKeyPlan.h"

#include <chrono>

/// How long to wait before what failed is tried again: an attempt takes longer than a frame lasts, and a late frame is
/// worse than one keyed on the CPU.
inline constexpr std::chrono::seconds c_timeGPURetry{5};

/// Keeps a failure that lasts, such as a shader that no driver takes, from being met again with every frame.
///
/// After three failures in a row, of frames that are planned alike and with the same code, such frames are not tried
/// for a while. A single failure may pass, as when memory is short. E_INVALIDARG does not count: it is about the one
/// frame.
class CGPUBackOff
{
public:
    /// Whether a frame is worth trying: S_OK, or else the failure that lasts. _nChange: of the options; a change makes
    /// everything worth trying.
    HRESULT Check(const GPU_KEY_PLAN& _plan, uint64_t _nChange) const;
    /// What has become of a frame that was tried.
    void Note(const GPU_KEY_PLAN& _plan, uint64_t _nChange, HRESULT _hr);
    void Forget()
    {
        m_nFailures = 0;
    }

private:
    bool IsOf(const GPU_KEY_PLAN& _plan, uint64_t _nChange) const
    {
        return m_nFailures > 0 && m_plan == _plan && m_nChange == _nChange;
    }

    int m_nFailures = 0; ///< in a row
    HRESULT m_hr = S_OK;
    GPU_KEY_PLAN m_plan = {};
    uint64_t m_nChange = 0;
    std::chrono::steady_clock::time_point m_time; ///< of the last one
};
