#pragma once

#include "Interfaces/ChromaKeyTypes.h"
#include "ZChromaKey/Engine1/ChromaKey.h"
#include "ZChromaKey/Engine1/Gpu/GPUKeyer.h"
#include "ZChromaKey/Frame/FrameEngine.h"

#include <memory>
#include <optional>

/// The first generation as an engine of the frame path; its settings are a CHROMA_KEY_RAW. It keys every frame by
/// itself, so that a flush has nothing to forget.
class CKeyEngine final : public CFrameEngine
{
public:
    explicit CKeyEngine(std::unique_ptr<CGPUKeyer> _upGPU);

    ENGINE_PLAN Plan(ENGINE_SETTINGS _settings) const override;
    bool CanClean(uint32_t _fccType) const override;
    HRESULT Process(const ENGINE_JOB& _job, ENGINE_SETTINGS _settings) override;
    void Hold(std::initializer_list<IUnknown*> _listOwners) noexcept override;
    HRESULT ProcessGPU(IZFFrame* _pFrame, ENGINE_SETTINGS _settings, const ENGINE_GPU_OPTIONS& _options,
                       IZFFrame** _ppFrameRes) override;
    std::vector<CZPtr<IZFFrame>> FramesTake() override;
    void Flush() override
    {
    }
    void Close() override;

private:
    std::optional<CChromaKey> m_engine;
    std::unique_ptr<CGPUKeyer> m_upGPU;
};
