#pragma once

#include "ZChromaKey/Engine2/Unmix.h"
#include "ZChromaKey/Engine2/UnmixFrameEngine.h"

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

/// The second generation as an engine of the frame path: its settings, an UNMIX_SETTINGS, become the setup of the
/// unmixing, and what comes out goes where the job says.
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
    void Hold(std::initializer_list<IUnknown*>) noexcept override
    {
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
    bool CanTakePlate() const override
    {
        return false;
    }
    HRESULT PlateGet(IMG_PICTURE* _pPicture) override;
    HRESULT StatsGet(CHROMA_KEY2_STATS* _pStats) override;

private:
    /// A mask at the size of the frames.
    struct REGION
    {
        std::shared_ptr<const IMG_MASK> spMask; ///< what it was stretched from
        std::vector<uint8_t> vecBytes;
    };
    UNMIX_SETUP SetupOf(const UNMIX_SETTINGS& _settings, int32_t _nWidth, int32_t _nHeight);
    void StatsKeep(double _dblMilliseconds);

    std::mutex m_mtxState; ///< held while a picture is keyed: guards what follows
    UNMIX_STATE m_state;
    uint64_t m_nRestarts = 0;
    int32_t m_nWidth = 0; ///< of the regions
    int32_t m_nHeight = 0;
    std::array<REGION, Z_REGIONS> m_arrRegions;
    std::vector<uint8_t> m_vecResult; ///< where the job takes no colours

    std::mutex m_mtxParts; ///< guards what follows; nothing is locked under it
    UNMIX_PARTS m_parts;
    bool m_bKeyed = false;
    CHROMA_KEY2_STATS m_stats = {};
};
