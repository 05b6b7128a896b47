#pragma once

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
    /// Colours are cleaned in the ARGB32 result alone, which is written whole.
    bool CanClean(uint32_t) const override
    {
        return false;
    }
    HRESULT Process(const ENGINE_JOB& _job, ENGINE_SETTINGS _settings) override;
    void Hold(std::initializer_list<IUnknown*> _listOwners) noexcept override
    {
        m_pool.Hold(_listOwners);
    }
    HRESULT ProcessGPU(IZFFrame*, ENGINE_SETTINGS, const ENGINE_GPU_OPTIONS&, IZFFrame**) override
    {
        return E_NOTIMPL;
    }
    std::vector<CZPtr<IZFFrame>> FramesTake() override
    {
        return {};
    }
    void Flush() override;
    void Close() override;

    void PartsSet(const UNMIX_PARTS& _parts) override;
    HRESULT KeyFind(const IMG_PICTURE& _picture, UNMIX_COLOUR* _pColour, std::string* _pstrReason) override;
    HRESULT PlateGet(IMG_PICTURE* _pPicture) override;
    HRESULT StatsGet(CHROMA_KEY2_STATS* _pStats) override;

private:
    void PlateTake(const UNMIX_PARTS& _parts, UNMIX_SETUP* _pSetup);
    UNMIX_SETUP SetupOf(const UNMIX_SETTINGS& _settings, int32_t _nWidth, int32_t _nHeight);
    HRESULT WorkRun(const ENGINE_JOB& _job, const UNMIX_SETTINGS& _settings);
    /// Says once that nothing in the frames is certain to be backdrop.
    void SureSay();
    void StatsKeep(double _dblMilliseconds);

    std::mutex m_mtxState; ///< held while a picture is keyed: guards what follows
    CRowPool m_pool{"CUnmixEngine"};
    std::shared_ptr<CUnmixWork> m_spWork; ///< null before the first frame
    uint64_t m_nRestarts = 0;
    bool m_bUnsure = false; ///< and the log has said so

    std::mutex m_mtxParts; ///< guards what follows; nothing is locked under it
    UNMIX_PARTS m_parts;
    bool m_bKeyed = false;
    CHROMA_KEY2_STATS m_stats = {};
};
