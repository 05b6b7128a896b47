#pragma once

#include "Base/ZTimedLock.h"
#include "ZChromaKey/Engine2/Gpu/UnmixGPU.h"
#include "ZChromaKey/Engine2/UnmixFrameEngine.h"
#include "ZChromaKey/Engine2/UnmixWork.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <utility>

/// The second generation as an engine of the frame path: its settings, an UNMIX_SETTINGS, become the setup of the
/// unmixing, which the workers of a pool do.
class CUnmixEngine final : public CUnmixFrameEngine
{
public:
    explicit CUnmixEngine(std::unique_ptr<CUnmixGPU> _upGPU = UnmixGPU_Create());

    ENGINE_PLAN Plan(ENGINE_SETTINGS _settings) const override;
    /// Colours are unmixed in all formats that have any.
    bool CanClean(uint32_t _fccType) const override;
    HRESULT Process(const ENGINE_JOB& _job, ENGINE_SETTINGS _settings) override;
    void Hold(std::initializer_list<IUnknown*> _listOwners) noexcept override
    {
        m_pool.Hold(_listOwners);
    }
    HRESULT ProcessGPU(IZFFrame* _pFrame, ENGINE_SETTINGS _settings, const ENGINE_GPU_OPTIONS& _options,
                       IZFFrame** _ppFrameRes) override;
    std::vector<CZPtr<IZFFrame>> FramesTake() override
    {
        return {};
    }
    void Flush() override;
    void Close() override;

    HRESULT KeyFind(const IMG_PICTURE& _picture, UNMIX_COLOUR* _pColour, std::string* _pstrReason) override;
    HRESULT PlateGet(IMG_PICTURE* _pPicture) override;
    HRESULT StatsGet(CHROMA_KEY2_STATS* _pStats) override;

private:
    void PlateTake(const UNMIX_PARTS& _parts, UNMIX_SETUP* _pSetup);
    UNMIX_SETUP SetupOf(const UNMIX_SETTINGS& _settings, const UNMIX_PARTS& _parts, int32_t _nWidth, int32_t _nHeight);
    UNMIX_SETUP SettingsTake(ENGINE_SETTINGS _settings, const ZF_VID_PROPS& _vidProps);
    HRESULT WorkRun(const ENGINE_JOB& _job, eKeyedOn* _peKeyedOn);
    HRESULT TaskRun(eUnmixTask _eTask, uint32_t _nWorkers);
    HRESULT RunGPU(const ENGINE_JOB& _job, uint32_t _nWorkers, eKeyedOn* _peKeyedOn);
    void GPUNote(bool _bOnly, HRESULT _hr);
    /// Says once that nothing in the frames is certain to be backdrop.
    void SureSay();
    void StatsKeep(std::chrono::steady_clock::time_point _timeStart, eKeyedOn _eKeyedOn);

    CZTimedLock m_lockState; ///< held while a picture is keyed: guards what follows
    CRowPool m_pool{"CUnmixEngine"};
    std::shared_ptr<CUnmixWork> m_spWork; ///< null before the first frame
    std::unique_ptr<CUnmixGPU> m_upGPU;
    uint64_t m_nRestarts = 0;
    bool m_bUnsure = false; ///< and the log has said so
    std::pair<HRESULT, bool>
        m_saidGPU; ///< why the GPU did not key, as the log has told last, and whether only it might

    std::mutex m_mtxStats; ///< guards what follows; nothing is locked under it
    bool m_bKeyed = false;
    CHROMA_KEY2_STATS m_stats = {};
};
