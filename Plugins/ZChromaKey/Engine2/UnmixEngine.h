#pragma once

#include "Base/ZTimedLock.h"
#include "ZChromaKey/Engine2/UnmixFrameEngine.h"
#include "ZChromaKey/Engine2/UnmixWork.h"

#include <memory>
#include <mutex>

/// The second generation as an engine of the frame path: its settings, an UNMIX_SETTINGS, become the setup of the
/// unmixing, which the workers of a pool do.
class CUnmixEngine final : public CUnmixFrameEngine
{
public:
    ENGINE_PLAN Plan(ENGINE_SETTINGS _settings) const override;
    /// Colours are unmixed in all formats that have any.
    bool CanClean(uint32_t _fccType) const override;
    HRESULT Process(const ENGINE_JOB& _job, ENGINE_SETTINGS _settings) override;
    void Hold(std::initializer_list<IUnknown*> _listOwners) noexcept override
    {
        m_pool.Hold(_listOwners);
    }
    HRESULT ProcessGPU(IZFFrame*, ENGINE_SETTINGS, const ENGINE_GPU_OPTIONS& _options, IZFFrame**) override;
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
    HRESULT WorkRun(const ENGINE_JOB& _job, const UNMIX_SETTINGS& _settings, const UNMIX_PARTS& _parts);
    /// Says once that nothing in the frames is certain to be backdrop.
    void SureSay();
    void StatsKeep(double _dblMilliseconds);

    CZTimedLock m_lockState; ///< held while a picture is keyed: guards what follows
    CRowPool m_pool{"CUnmixEngine"};
    std::shared_ptr<CUnmixWork> m_spWork; ///< null before the first frame
    uint64_t m_nRestarts = 0;
    bool m_bUnsure = false;       ///< and the log has said so
    bool m_arrGPURefused[2] = {}; ///< logged: where the processor may key instead, and where nothing else may

    std::mutex m_mtxStats; ///< guards what follows; nothing is locked under it
    bool m_bKeyed = false;
    CHROMA_KEY2_STATS m_stats = {};
};
