#pragma once

#include "Base/ZTimedLock.h"
#include "Helpers/CKDetect.h"
#include "Helpers/FrameSampler.h"
#include "Interfaces/IZChromaKey.h"
#include "ZChromaKey/Config/ConfigDoc.h"
#include "ZChromaKey/Engine1/Gpu/GPUKeyer.h"
#include "ZChromaKey/Keys/KeyState.h"
#include "ZChromaKey/Objects/KeyerObject.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// The plug-in object of the first generation: editing of its key set over what all generations have.
///
/// With "output.thread" on, each frame's result comes with the next call; with it off, with the call itself. A result
/// that is still under way when a frame comes in with the option off is dropped; a null frame fetches it before.
class CCoZChromaKey final : public CZKeyerObject<IZChromaKey>
{
public:
    /// _fnClock: tells which changes of an adjustment are one step.
    explicit CCoZChromaKey(std::unique_ptr<CGPUKeyer> _upGPU,
                           CKeyState::CLOCK _fnClock = &std::chrono::steady_clock::now);
    /// A new object with the GPU path of this build.
    static HRESULT Create(REFIID _iid, void** _ppvObject);

    // IZChromaKey
    HRESULT STDMETHODCALLTYPE KeyFrameSet(IZFFrame* _pZFrameKeyingOrNull, IZFFrame* _pZFrameBGOrNull) override;
    HRESULT STDMETHODCALLTYPE KeyFrameGet(IZFFrame** _ppZFrameRes, IZFFrame** _ppZFrameBG) override;
    HRESULT STDMETHODCALLTYPE KeyDetect(BSTR _bsProps) override;
    HRESULT STDMETHODCALLTYPE KeyAddPoint(int32_t _nXPosPixels, int32_t _nYPosPixels) override;
    HRESULT STDMETHODCALLTYPE KeyExcludePoint(int32_t _nXPosPixels, int32_t _nYPosPixels) override;
    HRESULT STDMETHODCALLTYPE KeyAddRect(int32_t _nX1PosPixels, int32_t _nY1PosPixels, int32_t _nX2PosPixels,
                                         int32_t _nY2PosPixels) override;
    HRESULT STDMETHODCALLTYPE KeyAdjustSet(eCK_Adjust _eAdjust, double _dblValue) override;
    HRESULT STDMETHODCALLTYPE KeyAdjustGet(eCK_Adjust _eAdjust, double* _pdblValue) override;
    HRESULT STDMETHODCALLTYPE KeyStepBack(int32_t _nSteps) override;
    HRESULT STDMETHODCALLTYPE KeyStepFwd(int32_t _nSteps) override;
    HRESULT STDMETHODCALLTYPE KeyReset() override;
    HRESULT STDMETHODCALLTYPE KeyRawSet(const CHROMA_KEY_RAW* _pvzKey, const CK_ADJUST* _pKeyAdjust) override;
    HRESULT STDMETHODCALLTYPE KeyRawGet(CHROMA_KEY_RAW* _pvzKey, CK_ADJUST* _pKeyAdjust) override;
    HRESULT STDMETHODCALLTYPE KeySet(IZKey* _pKeyObject) override;
    HRESULT STDMETHODCALLTYPE KeyGet(IZFFrame* _pZFrameForAdjustOrNull, IZKey** _ppKeyObject) override;

    // IZKeys
    HRESULT STDMETHODCALLTYPE KeyAddColor(uint32_t _nRGB) override;
    HRESULT STDMETHODCALLTYPE KeyProtectColor(uint32_t _nRGB) override;

    // IZSteps
    HRESULT STDMETHODCALLTYPE StepBack(int32_t _nSteps, int32_t* _pnDone) override;
    HRESULT STDMETHODCALLTYPE StepFwd(int32_t _nSteps, int32_t* _pnDone) override;
    HRESULT STDMETHODCALLTYPE StepsBack(int32_t* _pnSteps) override;
    HRESULT STDMETHODCALLTYPE StepsFwd(int32_t* _pnSteps) override;
    HRESULT STDMETHODCALLTYPE GroupBegin() override;
    HRESULT STDMETHODCALLTYPE GroupEnd() override;

private:
    ~CCoZChromaKey() override = default;
    void FrameSeen(IZFFrame* _pFrameOrNull, const ZF_VID_PROPS& _vidProps) override;
    void FramesLetGo() override;
    HRESULT FrameKey(IZFFrame* _pFrame, IZFFrame** _ppFrameRes) override;
    HRESULT DocumentMake(eDocument _eDocument, std::string* _pstrDocument) override;
    HRESULT DocumentTake(eDocument _eDocument, std::string_view _svDocument, std::string* _pstrReason) override;
    HRESULT ColorAdd(const char* _pszMethod, uint32_t _nRGB, bool _bExclude) noexcept;
    HRESULT Step(const char* _pszMethod, int32_t _nSteps, int _nSign, int32_t* _pnDone) noexcept;
    template <class Call> HRESULT Edit(const char* _pszMethod, Call&& _call) noexcept;
    template <class Sampling> HRESULT EditKeys(const char* _pszMethod, Sampling&& _sampling) noexcept;
    std::optional<eZYMatrix> MatrixForKeying();
    template <class Sampling> HRESULT KeysSample(CFrameSampler* _pSampler, Sampling&& _sampling);
    HRESULT BlocksShow(HRESULT _hr, IZFFrame* _pFrame, const CKUtils::CK_DETECT_OPTIONS& _options,
                       const std::vector<CKUtils::CK_BLOCK>& _vecBlocks);

    CKeyState m_keyState;
    CConfigDoc m_configDoc; // under m_lockEdit
    CZTimedLock
        m_lockEdit; // one edit at a time; taken before the configuration lock; pixels of hosts are read under it
};
