#include "ZChromaKey/Engine1/Gpu/GPUBackOff.h"

#include "Base/ZLog.h"

namespace
{

constexpr int c_nFailuresLast = 3; // so many in a row, and a failure is said to last

} // namespace

HRESULT CGPUBackOff::Check(const GPU_KEY_PLAN& _plan, uint64_t _nChange) const
{
    const bool bLasts = m_nFailures >= c_nFailuresLast && IsOf(_plan, _nChange) &&
                        std::chrono::steady_clock::now() - m_time < c_timeGPURetry;
    return bLasts ? m_hr : S_OK;
}

void CGPUBackOff::Note(const GPU_KEY_PLAN& _plan, uint64_t _nChange, HRESULT _hr)
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
             "GPUChromaKey: %d frames in a row have failed with %08X; frames like them are tried every %d seconds\n",
             m_nFailures, _hr, static_cast<int>(c_timeGPURetry.count()));
}
