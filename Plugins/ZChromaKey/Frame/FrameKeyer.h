#pragma once

#include "Base/ZPtr.h"
#include "Interfaces/IZFFrame.h"
#include "ZChromaKey/Engine1/ChromaKey.h"
#include "ZChromaKey/Config/ChromaKeyOptions.h"
#include "ZChromaKey/Engine1/Gpu/GPUKeyer.h"
#include "ZChromaKey/Frame/WorkFrame.h"
#include "ZChromaKey/Frame/ZFrameComparer.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

class CPropStore;

/// The processing step: keys one frame with a key set and the options of the property store.
///
/// Any thread may call; one frame is processed at a time. Frames are let go of behind the lock, so that a host may call
/// back from their Release.
class CFrameKeyer
{
public:
    /// The store is borrowed and has to outlive this object.
    CFrameKeyer(CPropStore* _pStore, std::unique_ptr<CGPUKeyer> _upGPU);

    /// Hands out the keyed frame, which the caller releases; the input is never written to.
    ///
    /// S_OK and a frame; S_FALSE and null: the input passes as it is (key types that do not key, a frame without a
    /// picture in system memory); E_UNEXPECTED: called from a method of the frame that is processed; else the failure,
    /// which has been logged.
    HRESULT Process(IZFFrame* _pFrame, const CHROMA_KEY_RAW& _key, IZFFrame** _ppFrameRes);

    /// Gives back frames and processors once the frame under way is done; the next frame makes them again. From a
    /// method of the frame under way: that is seen to behind it.
    void Close();

private:
    /// The frames that a call may let go of.
    struct FRAMES
    {
        CZPtr<IZFFrame2> cpInputLast;
        CZPtr<IZFFrame> cpFrameLast;
        WORK_FRAME workGPU;
        CZPtr<IZFFrame> cpFrameGPU;
        CZPtr<IZFFrame> cpFrameUndrawn; ///< the GPU's, should the time be drawn into a copy
        std::vector<CZPtr<IZFFrame>> vecFramesGPU;
        WORK_FRAME work;
        WORK_MASK mask;
    };
    /// While it lives, under the lock, the calling thread processes a frame; in the end it does what Close put off.
    struct PROCESSING
    {
        PROCESSING(CFrameKeyer* _pKeyer, FRAMES* _pFrames);
        ~PROCESSING();
        PROCESSING(const PROCESSING&) = delete;
        PROCESSING& operator=(const PROCESSING&) = delete;

        CFrameKeyer* pKeyer;
        FRAMES* pFrames; ///< takes what Close lets go of
    };
    HRESULT ProcessLocked(IZFFrame* _pFrame, const CHROMA_KEY_RAW& _key, IZFFrame** _ppFrameRes, FRAMES* _pFrames);
    HRESULT ProcessNew(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps, const CHROMA_KEY_RAW& _key,
                       IZFFrame** _ppFrameRes, FRAMES* _pFrames);
    void FramesTake(FRAMES* _pFrames);
    void CloseLocked(FRAMES* _pFrames);
    bool OptionsUpdate();
    void CancelSay(uint32_t _fccType);
    HRESULT GPUInput(IZFFrame* _pFrame, WORK_FRAME* _pWork);
    HRESULT KeyOnGPU(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps, const CHROMA_KEY_RAW& _key,
                     IZFFrame** _ppFrameRes, FRAMES* _pFrames);
    HRESULT RunGPU(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps, const CHROMA_KEY_RAW& _key, FRAMES* _pFrames);
    void GPUFailed(IZFFrame* _pFrame, HRESULT _hr);
    HRESULT KeyOnCPU(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps, const CHROMA_KEY_RAW& _key,
                     IZFFrame** _ppFrameRes, FRAMES* _pFrames);
    HRESULT RunEngine(IZFFrame2* _pFrameIn, eZYMatrix _eMatrix, const CHROMA_KEY_RAW& _key, FRAMES* _pFrames);

    CPropStore* m_pStore;
    std::mutex m_mtxProcess; // held while a frame is processed: Close and a change of threading wait for it
    std::atomic<std::thread::id> m_idProcessing; // the thread that holds it for a frame
    bool m_bCloseWanted = false;                 // by that thread

    std::optional<CK_FRAME_OPTIONS> m_options;
    std::optional<CChromaKey> m_engine;
    std::unique_ptr<CGPUKeyer> m_upGPU;
    HRESULT m_hrGPULast = S_OK; // the last failure that was said aloud
    ZFrameComparer m_comparer;
    CHROMA_KEY_RAW m_keyLast = {};
    uint32_t m_fccCancelSaid = 0;  // the last format whose colours were said to stay
    CZPtr<IZFFrame> m_cpFrameLast; // the last output; empty when it may not be handed out again
};
