#pragma once

#include "Base/ZLog.h"
#include "Base/ZPtr.h"
#include "Base/ZTimedLock.h"
#include "Interfaces/IZFFrame.h"
#include "ZChromaKey/Config/ChromaKeyOptions.h"
#include "ZChromaKey/Frame/FrameEngine.h"
#include "ZChromaKey/Frame/FrameLog.h"
#include "ZChromaKey/Frame/WorkFrame.h"
#include "ZChromaKey/Frame/ZFrameComparer.h"

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

class CPropStore;

/// The processing step: keys one frame with an engine, its settings and the options of the property store.
///
/// Any thread may call; one frame is processed at a time. Frames are let go of after the lock is released, so that a
/// host may call back from their Release.
class CFrameKeyer
{
public:
    /// _pszClass: the plug-in object's class as log lines name it, a literal. The store is borrowed and has to outlive
    /// this object.
    CFrameKeyer(const char* _pszClass, CPropStore* _pStore, std::unique_ptr<CFrameEngine> _upEngine);

    /// Hands out the keyed frame, which the caller releases; the input is never written to.
    ///
    /// S_OK and a frame; S_FALSE and null: the input passes as it is (settings that do not key, a frame without a
    /// picture in system memory); E_UNEXPECTED: called from a method of the frame that is processed; Z_E_TIMEOUT:
    /// another frame does not come to its end within ten seconds; else the failure. All failures have been logged.
    HRESULT Process(IZFFrame* _pFrame, ENGINE_SETTINGS _settings, IZFFrame** _ppFrameRes);

    /// The next frame begins a new stream for the engine, and is none that came before. Does not wait for the frame
    /// under way.
    void Flush();

    /// Gives back frames and processors once the frame under way is done; the next frame makes them again. From a
    /// method of the frame under way, and with Z_E_TIMEOUT where that frame does not come to its end within ten
    /// seconds: that is seen to after it.
    HRESULT Close();

    /// What builds with an issuer's key keep here of the licence (CLicenceHold); always empty in the others. Of no
    /// type, so that only the sources that know the key differ between these builds. Set before the first frame.
    std::shared_ptr<void>& Licence()
    {
        return m_spLicence;
    }

private:
    /// The frames that a call may let go of.
    struct FRAMES
    {
        CZPtr<IZFFrame2> cpInputLast;
        CZPtr<IZFFrame> cpFrameLast;
        WORK_FRAME workCut; ///< the input less its borders, for whoever needs it first; empty: not made
        CZPtr<IZFFrame> cpFrameGPU;
        CZPtr<IZFFrame> cpFrameUndrawn; ///< the GPU's frame from before the time was drawn, if that made a copy
        std::vector<CZPtr<IZFFrame>> vecFramesGPU;
        WORK_FRAME work;
        WORK_MASK mask;
    };
    HRESULT ProcessLocked(IZFFrame* _pFrame, ENGINE_SETTINGS _settings, IZFFrame** _ppFrameRes, FRAMES* _pFrames);
    HRESULT InputCut(IZFFrame* _pFrame, FRAMES* _pFrames);
    HRESULT WorkMake(IZFFrame2* _pFrame, const ZF_VID_PROPS& _vidProps, FRAMES* _pFrames);
    HRESULT OwnMake(WORK_FRAME* _pWork);
    HRESULT JobMake(const WORK_FRAME& _work, IZFFrame2* _pFrameIn, WORK_MASK* _pMask, ENGINE_JOB* _pJob);
    HRESULT ProcessNew(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps, ENGINE_SETTINGS _settings,
                       IZFFrame** _ppFrameRes, FRAMES* _pFrames);
    void FramesTake(FRAMES* _pFrames);
    void CloseLocked(FRAMES* _pFrames);
    bool OptionsUpdate();
    void LogFrame(eZLogLevel _eLevel, const char* _pszFormat, IZFFrame* _pFrame, HRESULT _hr) const;
    void LogNoResult(IZFFrame* _pFrame, HRESULT _hr);
    void LogNotCleaned(uint32_t _fccType);
    bool WantsCPU(const ZF_VID_PROPS& _vidProps, bool _bTexture) const;
    HRESULT GPUInput(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps, FRAMES* _pFrames, CZPtr<IZFFrame>* _pcpInput);
    ENGINE_GPU_OPTIONS GPUOptions(eZYMatrix _eMatrix) const;
    HRESULT KeyOnGPU(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps, ENGINE_SETTINGS _settings,
                     IZFFrame** _ppFrameRes, FRAMES* _pFrames);
    HRESULT RunGPU(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps, ENGINE_SETTINGS _settings, FRAMES* _pFrames);
    void GPUFailed(IZFFrame* _pFrame, HRESULT _hr);
    HRESULT KeyOnCPU(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps, ENGINE_SETTINGS _settings,
                     IZFFrame** _ppFrameRes, FRAMES* _pFrames);
    HRESULT RunEngine(IZFFrame2* _pFrameIn, eZYMatrix _eMatrix, ENGINE_SETTINGS _settings, FRAMES* _pFrames);

    const char* m_pszClass;
    CFrameLog m_log{m_pszClass}; // under the lock
    CPropStore* m_pStore;
    CZTimedLock m_lockProcess;                // held while a frame is processed: other frames and Close wait for it
    std::atomic<bool> m_bCloseWanted = false; // when the frame under way is done

    std::optional<CK_FRAME_OPTIONS> m_options;
    std::unique_ptr<CFrameEngine> m_upEngine;
    std::atomic<bool> m_bFlushWanted = false; // before the next frame
    ENGINE_PLAN m_plan = {};                  // of the frame under way
    ZFrameComparer m_comparer;
    std::vector<std::byte> m_vecSettingsLast;
    uint32_t m_fccNotCleaned = 0;  // the last format whose colours were logged as left
    CZPtr<IZFFrame> m_cpFrameLast; // the last output; empty when it may not be handed out again
    std::shared_ptr<void> m_spLicence;
};
