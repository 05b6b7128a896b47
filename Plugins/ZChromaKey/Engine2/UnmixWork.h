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

/// What the workers do of a frame.
enum eUnmixTask : int32_t
{
    eUT_Frame,  ///< all of it
    eUT_Learn,  ///< what it teaches, and its picture opened for who writes the result
    eUT_Write,  ///< the result of what was learned from
    eUT_Finish, ///< the same, where its pixels are there
    eUT_Cells,  ///< what cells teach
};

/// The keying of a stream's frames, one a time: the first worker drives, the others take parts of its passes. Has all
/// that lasts from frame to frame, so that a worker that hangs never touches freed memory.
class CUnmixWork final : public CRowWork
{
public:
    /// Between two frames: what the next runs key.
    void Begin(const ENGINE_JOB& _job, const UNMIX_SETUP& _setup);
    /// The same of a picture that is not in memory; only its cells are learned from, which are copied.
    void Begin(const UNMIX_CELL_INPUT& _cells, const UNMIX_SETUP& _setup);
    /// Between two runs: which part of it is next, with how many workers.
    void Next(eUnmixTask _eTask, uint32_t _nWorkers);
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

    /// Where the pixels of the frame go, before they get the form that the job asks for.
    const UNMIX_RESULT& Pixels() const
    {
        return m_result;
    }
    UNMIX_INPUT Input() const
    {
        return {m_job.source.vidProps, m_job.source.vidPtr, m_job.eMatrix};
    }

    /// Once eUT_Learn is done: the picture of which the pixels are to be made.
    const UNMIX_PICTURE& Picture() const
    {
        return m_picture;
    }

    UNMIX_STATE state;
    std::array<UNMIX_STRETCHED, Z_REGIONS> arrRegions; ///< setups point into these
    UNMIX_GIVEN given;

private:
    bool IsWhole() const;
    HRESULT Key();
    HRESULT Learn();
    HRESULT Write();
    HRESULT Clean();
    void FinishRow(int _nRow) const;

    eUnmixTask m_eTask = eUT_Frame;
    ENGINE_JOB m_job = {};
    UNMIX_CELL_INPUT m_cells = {};
    std::vector<uint8_t> m_vecCells;
    UNMIX_SETUP m_setup;
    UNMIX_RESULT m_result;
    ptrdiff_t m_nMaskStride = 0;
    UNMIX_PICTURE m_picture;
    std::vector<uint8_t> m_vecResult; ///< where the job takes no alpha
    CPoolRunner m_runner;
    HRESULT m_hr = S_OK;
};
