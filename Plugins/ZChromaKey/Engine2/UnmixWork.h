#pragma once

#include "ZChromaKey/Engine2/PoolRunner.h"
#include "ZChromaKey/Engine2/Unmix.h"
#include "ZChromaKey/Engine2/UnmixFrameEngine.h"
#include "ZChromaKey/Work/RowPool.h"

#include <array>
#include <memory>
#include <vector>

/// A mask at the size of the frames.
struct UNMIX_STRETCHED
{
    std::shared_ptr<const IMG_MASK> spMask; ///< what it was stretched from
    int32_t nWidth = 0;
    int32_t nHeight = 0;
    std::vector<uint8_t> vecBytes;
};

/// A picture of the empty backdrop, and the key that is found in it.
struct UNMIX_GIVEN
{
    std::shared_ptr<const IMG_PICTURE> spPlate;
    UNMIX_KEY key;
    bool bKey = false;
};

/// The keying of a stream's frames, one a time: the first worker drives, the others take parts of its passes. Has all
/// that lasts from frame to frame, so that a worker that hangs never touches freed memory.
class CUnmixWork final : public CRowWork
{
public:
    /// Between two frames: what the next Run keys, with how many workers.
    void Begin(const ENGINE_JOB& _job, const UNMIX_SETUP& _setup, uint32_t _nWorkers);
    void Run(int _nPass, uint32_t _nWorker, const std::atomic<bool>& _bGo) noexcept override;
    void GiveUp() noexcept override
    {
        m_runner.GiveUp();
    }
    /// Of the last Run: as Unmix_Frame, and E_OUTOFMEMORY.
    HRESULT Result() const
    {
        return m_hr;
    }

    UNMIX_STATE state;
    std::array<UNMIX_STRETCHED, Z_REGIONS> arrRegions; ///< setups point into these
    UNMIX_GIVEN given;

private:
    HRESULT Key();
    void MaskWrite(const UNMIX_RESULT& _result);

    ENGINE_JOB m_job = {};
    UNMIX_SETUP m_setup;
    std::vector<uint8_t> m_vecResult; ///< where the job takes no colours
    CPoolRunner m_runner;
    HRESULT m_hr = S_OK;
};
