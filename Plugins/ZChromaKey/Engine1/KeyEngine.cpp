#include "ZChromaKey/Engine1/KeyEngine.h"

#include "Base/ZAssert.h"
#include "ZChromaKey/Engine1/CancelPlane.h"
#include "ZChromaKey/Engine1/KeyPlan.h"

#include <cstring>
#include <utility>

namespace
{

/// The key set that settings are; an empty one, which keys nothing, for a record of another size.
CHROMA_KEY_RAW KeyOf(ENGINE_SETTINGS _settings)
{
    CHROMA_KEY_RAW key = {};
    if (Z_VERIFY(_settings.spanRecord.size() == sizeof(key)))
        std::memcpy(&key, _settings.spanRecord.data(), sizeof(key));
    return key;
}

} // namespace

CKeyEngine::CKeyEngine(std::unique_ptr<CGPUKeyer> _upGPU)
    : m_upGPU(std::move(_upGPU))
{
}

ENGINE_PLAN CKeyEngine::Plan(ENGINE_SETTINGS _settings) const
{
    const CHROMA_KEY_RAW key = KeyOf(_settings);
    const bool bAboveNone = key.eType > eCKT_None && key.eType <= eCKT_Auto;
    return {bAboveNone, KeyType_HasSpace(key.eType), KeyPlan_HasColorCancel(key), false};
}

bool CKeyEngine::CanClean(uint32_t _fccType) const
{
    return CancelPlane_IsKnown(_fccType);
}

HRESULT CKeyEngine::Process(const ENGINE_JOB& _job, ENGINE_SETTINGS _settings)
{
    if (!m_engine)
        m_engine.emplace();
    m_engine->ThreadsSet(_job.nThreads);
    m_engine->MatrixSet(_job.eMatrix);
    m_engine->FillSet(true);
    m_engine->CleanSet(_job.bWrite);
    m_engine->AlphaSet(_job.bMultiplyAlpha, _job.bPremultiply);
    const CHROMA_KEY_RAW key = KeyOf(_settings);
    return m_engine->ProcessFrame(&_job.result.vidPtr, _job.pbMask, &_job.result.vidProps, &key);
}

void CKeyEngine::Hold(std::initializer_list<IUnknown*> _listOwners) noexcept
{
    if (m_engine)
        m_engine->Hold(_listOwners);
}

HRESULT CKeyEngine::ProcessGPU(IZFFrame* _pFrame, ENGINE_SETTINGS _settings, const ENGINE_GPU_OPTIONS& _options,
                               IZFFrame** _ppFrameRes)
{
    return m_upGPU->ProcessFrame(_pFrame, KeyOf(_settings), _options, _ppFrameRes);
}

std::vector<CZPtr<IZFFrame>> CKeyEngine::FramesTake()
{
    return m_upGPU->FramesTake();
}

void CKeyEngine::Close()
{
    m_engine.reset();
    m_upGPU->Close();
}
