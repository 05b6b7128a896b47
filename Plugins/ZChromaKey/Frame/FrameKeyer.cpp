#include "ZChromaKey/Frame/FrameKeyer.h"

#include "Base/ZAssert.h"
#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Base/ZSaturate.h"
#include "Base/ZScope.h"
#include "Image/ImgRowReader.h"
#include "Props/PropStore.h"
#include "ZChromaKey/Frame/FrameText.h"
#include "ZChromaKey/Frame/TimeOverlay.h"
#include "ZChromaKey/Frame/WorkFrame.h"

#ifdef ZCK_LICENCE_KEY
#include "ZChromaKey/Licence/LicenceHold.h"
#endif

namespace
{

#ifdef ZCK_LICENCE_KEY
CLicenceHold& HoldOf(const std::shared_ptr<void>& _spLicence)
{
    return *static_cast<CLicenceHold*>(_spLicence.get());
}
#endif

/// A texture attached to an input in system memory shows another picture than the result, which took it over.
void TextureDrop(IZFFrame* _pFrameRes)
{
    ZF_VID_PROPS vidProps = {};
    CZPtr<IUnknown> cpTexture;
    if (SUCCEEDED(_pFrameRes->VideoPropsGet(&vidProps)) && vidProps.nGPUFlags == 0 &&
        _pFrameRes->AttachmentGet(c_wszFrameTexture, cpTexture.Put()) == S_OK)
        _pFrameRes->AttachmentSet(c_wszFrameTexture, nullptr);
}

/// Whether a frame has no picture in system memory.
bool IsTexture(IZFFrame* _pFrame)
{
    ZF_VID_PTR vidPtr = {};
    return _pFrame->VideoPtrGet(eZFP_Stored, &vidPtr) != S_OK;
}

/// The second interface of a frame that has a picture in system memory; the others are passed on untouched.
CZPtr<IZFFrame2> QueryPicture(IZFFrame* _pFrame, CFrameLog* _pLog)
{
    CZPtr<IZFFrame2> cpFrame2;
    const HRESULT hr = _pFrame->QueryInterface(IID_IZFFrame2, cpFrame2.PutVoid());
    if (FAILED(hr) || !cpFrame2)
    {
        _pLog->Say(eZLog_Warning, hr, "IZFFrame(0x%08X) QI FAILED hr=0x%08X\n", static_cast<const void*>(_pFrame), hr);
        return {};
    }
    ZF_VID_PTR vidPtr = {};
    const HRESULT hrPtr = cpFrame2->VideoPtrGet(eZFP_Stored, &vidPtr);
    if (FAILED(hrPtr) || !vidPtr.lpVideoPlanes[0])
    {
        _pLog->Say(eZLog_Warning, hrPtr, "IZFFrame(0x%08X) ZF_VID_PTR=NULL hr=0x%08X\n",
                   static_cast<const void*>(_pFrame), hrPtr);
        return {};
    }
    return cpFrame2;
}

/// Whether a frame that the host made for the result of a source of its own can be written as its record says.
bool IsResultUsable(const ENGINE_JOB& _job)
{
    const ZF_VID_PROPS& vidProps = _job.result.vidProps;
    const ZF_VID_PTR& vidPtr = _job.result.vidPtr;
    const bool bAligned = vidProps.fccType != eZFCC_ARGB64 ||
                          ((vidPtr.lpVideoPlanes[0] | int64_t{vidPtr.cbVideoRowBytes[0]}) & 1) == 0; // words
    return bAligned && vidProps.nWidth == _job.source.vidProps.nWidth &&
           ZAbs32(vidProps.nHeight) == ZAbs32(_job.source.vidProps.nHeight) &&
           SUCCEEDED(CImgRowReader().Init(vidProps, vidPtr));
}

} // namespace

CFrameKeyer::CFrameKeyer(const char* _pszClass, CPropStore* _pStore, std::unique_ptr<CFrameEngine> _upEngine)
    : m_pszClass(_pszClass)
    , m_pStore(_pStore)
    , m_upEngine(std::move(_upEngine))
{
}

HRESULT CFrameKeyer::Process(IZFFrame* _pFrame, ENGINE_SETTINGS _settings, IZFFrame** _ppFrameRes)
{
    if (!_pFrame)
        ZLog(eZLog_Warning, "IZFFrame=NULL (0x%08X)\n", E_POINTER);
    if (!Z_VERIFY_TEXT(_pFrame && _ppFrameRes, "_pFrame"))
        return E_POINTER;
    *_ppFrameRes = nullptr;
    if (m_lockProcess.IsMine())
    {
        ZLog(eZLog_Error, "%hs::OnMediaReceive: called from a method of the frame that is being processed\n",
             m_pszClass);
        return E_UNEXPECTED;
    }
    FRAMES frames; // outlives the lock
    FRAMES framesClosed;
    const CZTimedGuard guard(&m_lockProcess);
    if (!guard)
    {
        ZLog(eZLog_Error,
             "%hs::OnMediaReceive: the frame was not taken: another one has been processed for ten seconds, for one of "
             "its methods does not come back\n",
             m_pszClass);
        return Z_E_TIMEOUT;
    }
    const CZScopeExit closeIfWanted([&] {
        if (m_bCloseWanted)
            CloseLocked(&framesClosed);
    });
    const HRESULT hr = ProcessLocked(_pFrame, _settings, _ppFrameRes, &frames);
    if (FAILED(hr))
        LogNoResult(_pFrame, hr);
    return hr;
}

HRESULT CFrameKeyer::ProcessLocked(IZFFrame* _pFrame, ENGINE_SETTINGS _settings, IZFFrame** _ppFrameRes,
                                   FRAMES* _pFrames)
{
    // Whatever happens to this frame, the output before it is not the answer to the next one; only a repeated frame
    // leaves it in place.
    FramesTake(_pFrames);
    const bool bNewStream = m_bFlushWanted.exchange(false);
    if (bNewStream)
    {
        m_upEngine->Flush();
        m_log.Begin();
    }
    m_plan = m_upEngine->Plan(_settings);
    bool bOptionsSame = !OptionsUpdate();
#ifdef ZCK_LICENCE_KEY
    bOptionsSame = HoldOf(m_spLicence).FrameBegin() && bOptionsSame;
#endif
    // An output of the stream before was keyed with what that stream had shown.
    IZFFrame* const pFrameLast = bOptionsSame && !bNewStream ? _pFrames->cpFrameLast.Get() : nullptr;
    ZF_VID_PROPS vidProps = {};
    HRESULT hr = _pFrame->VideoPropsGet(&vidProps);
    if (FAILED(hr))
    {
        m_log.Say(eZLog_Error, hr, "%hs::OnMediaReceive: the frame has no video properties, hr=%08X\n", m_pszClass, hr);
        return hr;
    }
    const bool bCompared = m_plan.bCompares && m_options->bKeepInput && VidProps_IsSet(&vidProps, true);
    if (bCompared)
        hr = ZFrameComparer_Check(&m_comparer, _pFrame, _ppFrameRes, _settings, &m_vecSettingsLast, pFrameLast);
    else
        m_comparer.Reset();
    if (FAILED(hr))
        return hr;
    if (*_ppFrameRes)
    {
        LogFrame(eZLog_Verbose, "%hs::OnMediaReceiveI(%ws) SAME FRAME IN\n", _pFrame, hr);
        m_cpFrameLast = std::move(_pFrames->cpFrameLast);
        return hr;
    }
    hr = ProcessNew(_pFrame, vidProps, _settings, _ppFrameRes, _pFrames);
#ifdef ZCK_LICENCE_KEY
    if (SUCCEEDED(hr))
        HoldOf(m_spLicence).FrameEnd(_pFrame, _ppFrameRes, &_pFrames->vecFramesGPU);
#endif
    if (*_ppFrameRes)
        TextureDrop(*_ppFrameRes);
    if (SUCCEEDED(hr) && bCompared)
        m_cpFrameLast = CZPtr<IZFFrame>(*_ppFrameRes);
    return hr;
}

HRESULT CFrameKeyer::ProcessNew(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps, ENGINE_SETTINGS _settings,
                                IZFFrame** _ppFrameRes, FRAMES* _pFrames)
{
    if (m_plan.bKeys && m_options->nGPUMode != eCKGPU_Off && (!m_plan.bReadsSource || IsTexture(_pFrame)))
    {
        const HRESULT hr = KeyOnGPU(_pFrame, _vidProps, _settings, _ppFrameRes, _pFrames);
        if (SUCCEEDED(hr) || m_options->nGPUMode == eCKGPU_Only)
            return hr;
        m_pStore->NotifyFailure(c_szOptionGPUMode, hr);
    }
    return KeyOnCPU(_pFrame, _vidProps, _settings, _ppFrameRes, _pFrames);
}

void CFrameKeyer::FramesTake(FRAMES* _pFrames)
{
    _pFrames->cpInputLast = m_comparer.FrameLast();
    _pFrames->cpFrameLast = std::exchange(m_cpFrameLast, {});
}

/// True when the options are others than those of the frame before.
bool CFrameKeyer::OptionsUpdate()
{
    if (m_options && m_options->nChange == m_pStore->ChangeCount())
        return false;
    m_options = ChromaKeyOptions_Read(*m_pStore);
    m_log.Begin();
    if (!m_plan.bReadsSource && m_options->fccARGB != eZFCC_ARGB32)
    {
        ZLog(eZLog_Warning, "%hs: \"%hs\" is for the second generation; results have 8 bits a channel\n", m_pszClass,
             c_szOptionDepth);
        m_options->fccARGB = eZFCC_ARGB32;
    }
    if (m_plan.bReadsSource && m_options->bMultiplyAlpha)
        ZLog(eZLog_Warning, "%hs: \"%hs\" is for the first generation; set the parameter \"alpha\"\n", m_pszClass,
             c_szOptionAlpha);
    return true;
}

/// A line about a frame. _pszFormat takes the class, without the first letter, the frame, and maybe the result.
void CFrameKeyer::LogFrame(eZLogLevel _eLevel, const char* _pszFormat, IZFFrame* _pFrame, HRESULT _hr) const
{
    if (ZLog_IsOn(_eLevel))
        ZLog(_eLevel, _pszFormat, m_pszClass + 1, FrameText(_pFrame), _hr);
}

/// With latency the failure is the answer to a later frame: the log says whose it is.
void CFrameKeyer::LogNoResult(IZFFrame* _pFrame, HRESULT _hr)
{
    static constexpr char c_szFormat[] =
        "%hs::OnMediaReceive: there is no result for the frame of identity %llu (%hs), hr=%08X\n";
    const eZLogLevel eLevel = m_log.Level(eZLog_Error, c_szFormat, _hr);
    if (!ZLog_IsOn(eLevel))
        return;
    uint64_t nIdentity = 0;
    if (const auto cpFrame2 = ZQuery<IZFFrame2>(_pFrame))
        cpFrame2->FrameIdGet(&nIdentity);
    ZLog(eLevel, c_szFormat, m_pszClass, nIdentity, FrameText(_pFrame), _hr);
}

/// The log tells once, not with every frame, where colour cancel has no effect.
void CFrameKeyer::LogNotCleaned(uint32_t _fccType)
{
    if (m_upEngine->CanClean(_fccType) || std::exchange(m_fccNotCleaned, _fccType) == _fccType)
        return;
    std::string strCleaned;
    for (const PIXEL_FORMAT& format : FCC_All())
        if (m_upEngine->CanClean(format.fccType))
            strCleaned += ZFormat(strCleaned.empty() ? "%hs" : ", %hs", format.pszName);
    ZLog(eZLog_Info,
         "%hs: colour cancel leaves the colours of %hs frames as they are; switch \"%hs\" on, or hand in one of %hs\n",
         m_pszClass, FCC_Name(_fccType), c_szOptionARGB, strCleaned);
}

/// Makes the input less its borders, once for a frame.
HRESULT CFrameKeyer::InputCut(IZFFrame* _pFrame, FRAMES* _pFrames)
{
    if (_pFrames->workCut.cpFrame)
        return S_OK;
    WORK_FRAME work = {&m_log, CZPtr<IZFFrame>(_pFrame)};
    const HRESULT hr = WorkFrame_Cut(m_options->rectBorders, &work);
    if (SUCCEEDED(hr))
        _pFrames->workCut = std::move(work);
    return hr;
}

/// What only the CPU does: pictures in YUV that are not coded as their size says, alpha of the input multiplied,
/// colours multiplied by it, and the mask written into other formats than ARGB32.
bool CFrameKeyer::WantsCPU(const ZF_VID_PROPS& _vidProps, bool _bTexture) const
{
    const bool bAlpha = FCC_HasAlpha(_vidProps.fccType);
    const bool bARGB = m_options->bOutputARGB || _bTexture || _vidProps.fccType == eZFCC_ARGB32;
    return Img_MatrixOf(_vidProps, m_options->yuv) != Img_MatrixOf(_vidProps) ||
           (m_options->bMultiplyAlpha && bAlpha) || (m_options->bPremultiplied && (bARGB || bAlpha)) ||
           (bAlpha && !bARGB);
}

/// The frame less its borders, as on the CPU. A frame in a texture has no picture that could be cut.
HRESULT CFrameKeyer::GPUInput(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps, FRAMES* _pFrames,
                              CZPtr<IZFFrame>* _pcpInput)
{
    *_pcpInput = CZPtr<IZFFrame>(_pFrame);
    const bool bTexture = IsTexture(_pFrame);
    if (!m_plan.bReadsSource && WantsCPU(_vidProps, bTexture))
    {
        m_log.Say(eZLog_Info, E_NOTIMPL,
                  "%hs: frames (%hs) are for the CPU alone, with \"%hs\", \"%hs\", \"%hs\" and \"%hs\" as they are\n",
                  m_pszClass, VidProps_Text(&_vidProps), c_szOptionMatrix, c_szOptionRange, c_szOptionAlpha,
                  c_szOptionPremultiplied);
        return E_NOTIMPL;
    }
    if (bTexture)
        return S_OK;
    const HRESULT hr = InputCut(_pFrame, _pFrames);
    if (FAILED(hr))
        return hr;
    *_pcpInput = _pFrames->workCut.cpFrame;
    // The CPU converts first and cuts to the pixel: only it can give the result that size.
    return m_options->bOutputARGB && _pFrames->workCut.part ? E_NOTIMPL : S_OK;
}

ENGINE_GPU_OPTIONS CFrameKeyer::GPUOptions(eZYMatrix _eMatrix) const
{
    return {m_options->bOutputARGB,
            m_options->bGPUFlush,
            _eMatrix,
            m_options->bPremultiplied,
            static_cast<uint32_t>(m_options->nThreads),
            m_options->nGPUMode == eCKGPU_Only,
            m_options->nChange};
}

HRESULT CFrameKeyer::RunGPU(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps, ENGINE_SETTINGS _settings,
                            FRAMES* _pFrames)
{
    CZPtr<IZFFrame> cpInput; // others hold it as well
    HRESULT hr = GPUInput(_pFrame, _vidProps, _pFrames, &cpInput);
    if (SUCCEEDED(hr))
        hr = m_upEngine->ProcessGPU(cpInput.Get(), _settings, GPUOptions(Img_MatrixOf(_vidProps, m_options->yuv)),
                                    _pFrames->cpFrameGPU.Put());
    _pFrames->vecFramesGPU = m_upEngine->FramesTake();
    return SUCCEEDED(hr) && !_pFrames->cpFrameGPU ? E_UNEXPECTED : hr; // a success without a frame helps nobody
}

HRESULT CFrameKeyer::KeyOnGPU(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps, ENGINE_SETTINGS _settings,
                              IZFFrame** _ppFrameRes, FRAMES* _pFrames)
{
    CZPtr<IZFFrame>& cpFrameRes = _pFrames->cpFrameGPU;
    const HRESULT hr = RunGPU(_pFrame, _vidProps, _settings, _pFrames);
    if (FAILED(hr))
    {
        GPUFailed(_pFrame, hr);
        return hr;
    }
    ZF_VID_PROPS vidPropsRes = {};
    if (m_plan.bCleans && SUCCEEDED(cpFrameRes->VideoPropsGet(&vidPropsRes)))
        LogNotCleaned(vidPropsRes.fccType);
    _pFrames->cpFrameUndrawn = cpFrameRes;
    if (m_options->bTimeOverlay)
        TimeOverlay_Draw(m_pszClass, &cpFrameRes);
    LogFrame(eZLog_Verbose, "%hs::OnMediaReceiveI(%ws) GPU Processed(%d) OK\n", _pFrame, hr);
    *_ppFrameRes = cpFrameRes.Detach();
    return S_OK;
}

/// That a frame is not for the GPU is only a fault where nothing else may key, or can: of an engine that reads the
/// source only frames in textures come here.
void CFrameKeyer::GPUFailed(IZFFrame* _pFrame, HRESULT _hr)
{
    static constexpr char c_szFormat[] = "%hs::OnMediaReceiveI(%ws) Failed to perform GPU chroma key! hr=%08X\n";
    const bool bExpected = _hr == E_NOTIMPL && m_options->nGPUMode != eCKGPU_Only && !m_plan.bReadsSource;
    LogFrame(m_log.Level(bExpected ? eZLog_Info : eZLog_Error, c_szFormat, _hr), c_szFormat, _pFrame, _hr);
}

HRESULT CFrameKeyer::KeyOnCPU(IZFFrame* _pFrame, const ZF_VID_PROPS& _vidProps, ENGINE_SETTINGS _settings,
                              IZFFrame** _ppFrameRes, FRAMES* _pFrames)
{
    if (!m_plan.bKeys && !m_options->bOutputARGB && m_options->rectBorders == PROP_RECT{})
        return S_FALSE;
    const auto cpFrame2 = QueryPicture(_pFrame, &m_log);
    if (!cpFrame2)
        return S_FALSE;
    WORK_FRAME& work = _pFrames->work;
    HRESULT hr = WorkMake(cpFrame2.Get(), _vidProps, _pFrames);
    if (SUCCEEDED(hr) && m_plan.bKeys)
        hr = OwnMake(&work);
    if (SUCCEEDED(hr) && m_plan.bKeys) // measured as the input is, not as what it was converted into
        hr = RunEngine(cpFrame2.Get(), Img_MatrixOf(_vidProps, m_options->yuv), _settings, _pFrames);
    if (FAILED(hr) || !work.bOwnFrame)
        return FAILED(hr) ? hr : S_FALSE;
    *_ppFrameRes = work.cpFrame.Detach();
    return S_OK;
}

/// The frame that the options ask for: converted, then cut by the borders; of an engine that reads the source, cut.
HRESULT CFrameKeyer::WorkMake(IZFFrame2* _pFrame, const ZF_VID_PROPS& _vidProps, FRAMES* _pFrames)
{
    const bool bReadsSource = m_plan.bKeys && m_plan.bReadsSource;
    if (!bReadsSource && m_options->bOutputARGB && _vidProps.fccType != m_options->fccARGB)
    {
        _pFrames->work = {&m_log, CZPtr<IZFFrame>(_pFrame)};
        const eZYMatrix eMatrix = Img_MatrixOf(_vidProps, m_options->yuv);
        const HRESULT hr = eMatrix == Img_MatrixOf(_vidProps)
                               ? WorkFrame_Convert(m_options->fccARGB, &_pFrames->work)
                               : WorkFrame_ConvertWith(eMatrix, &_pFrames->work); // a host converts by size
        return SUCCEEDED(hr) ? WorkFrame_Cut(m_options->rectBorders, &_pFrames->work) : hr;
    }
    const HRESULT hr = InputCut(_pFrame, _pFrames);
    if (FAILED(hr))
        return hr;
    _pFrames->work = _pFrames->workCut;
    if (!m_options->bOutputARGB)
        _pFrames->work.part.reset(); // chroma samples of the result are whole as well
    return bReadsSource ? WorkFrame_SourceTake(*m_options, &_pFrames->work) : S_OK;
}

/// A frame that the mask can be attached to; with pixels of its own where alpha or clean colours are written.
HRESULT CFrameKeyer::OwnMake(WORK_FRAME* _pWork)
{
    ZF_VID_PROPS vidProps = {};
    const HRESULT hr = _pWork->cpFrame->VideoPropsGet(&vidProps);
    const bool bWritten = FCC_HasAlpha(vidProps.fccType) || (m_plan.bCleans && m_upEngine->CanClean(vidProps.fccType));
    return FAILED(hr) ? hr : WorkFrame_MakeOwn(bWritten, _pWork);
}

/// What the engine gets. The mask is top-down, so rows are addressed from the top.
HRESULT CFrameKeyer::JobMake(const WORK_FRAME& _work, IZFFrame2* _pFrameIn, WORK_MASK* _pMask, ENGINE_JOB* _pJob)
{
    ENGINE_PICTURE& result = _pJob->result;
    HRESULT hr = _work.cpFrame->VideoPropsGet(&result.vidProps);
    if (SUCCEEDED(hr))
        hr = _work.cpFrame->VideoPtrGet(_work.bOwnPixels ? eZFP_Flip | eZFP_Write : eZFP_Flip, &result.vidPtr);
    _pJob->source = result;
    if (SUCCEEDED(hr) && _work.cpSource)
    {
        hr = _work.cpSource->VideoPropsGet(&_pJob->source.vidProps);
        if (SUCCEEDED(hr))
            hr = _work.cpSource->VideoPtrGet(eZFP_Flip, &_pJob->source.vidPtr);
    }
    if (SUCCEEDED(hr) && !IsResultUsable(*_pJob))
    {
        m_log.Say(eZLog_Error, E_UNEXPECTED, "%hs::OnMediaReceive: a frame for the result of (%hs) came as (%hs)\n",
                  m_pszClass, VidProps_Text(&_pJob->source.vidProps), VidProps_Text(&result.vidProps));
        hr = E_UNEXPECTED;
    }
    if (SUCCEEDED(hr))
        hr = WorkFrame_MakeMask(&m_log, _pFrameIn, result.vidProps, _pMask);
    _pJob->bWrite = _work.bOwnPixels; // alpha of ARGB32, clean colours
    _pJob->bMultiplyAlpha = m_options->bMultiplyAlpha;
    _pJob->bPremultiply = m_options->bPremultiplied;
    _pJob->pbMask = _pMask->pbAlpha;
    _pJob->nThreads = static_cast<uint32_t>(m_options->nThreads);
    if (m_plan.bReadsSource && (m_options->nGPUMode == eCKGPU_Only || m_options->nGPUMode == eCKGPU_Memory))
        _pJob->gpu = GPUOptions(_pJob->eMatrix);
    return hr;
}

HRESULT CFrameKeyer::RunEngine(IZFFrame2* _pFrameIn, eZYMatrix _eMatrix, ENGINE_SETTINGS _settings, FRAMES* _pFrames)
{
    WORK_FRAME& work = _pFrames->work;
    WORK_MASK& mask = _pFrames->mask;
    ENGINE_JOB job = {};
    job.eMatrix = _eMatrix;
    HRESULT hr = JobMake(work, _pFrameIn, &mask, &job);
    if (m_plan.bCleans)
        LogNotCleaned(job.result.vidProps.fccType);
    if (SUCCEEDED(hr))
        hr = m_upEngine->Process(job, _settings);
    if (SUCCEEDED(hr))
        hr = WorkFrame_Trim(&work, &mask);
    if (SUCCEEDED(hr))
        hr = work.cpFrame->AttachmentSet(L"mask", mask.cpFrame.Get());
    if (hr == Z_E_TIMEOUT)
    {
        m_upEngine->Hold({work.cpSource.Get(), work.cpFrame.Get(), mask.cpFrame.Get()});
        ZLog(eZLog_Error,
             "%hs::OnMediaReceive: keying was given up: a thread waited too long for the frame's memory or for the "
             "log; it is left to itself, and the next frame gets another one\n",
             m_pszClass);
    }
    else if (FAILED(hr))
        m_log.Say(eZLog_Error, hr, "%hs::OnMediaReceive: a frame (%hs) cannot be keyed on the %hs, hr=%08X\n",
                  m_pszClass, VidProps_Text(&job.result.vidProps), job.gpu && job.gpu->bOnly ? "GPU" : "CPU", hr);
    return hr;
}

void CFrameKeyer::Flush()
{
    m_bFlushWanted = true;
}

HRESULT CFrameKeyer::Close()
{
    FRAMES frames; // outlives the lock
    const CZTimedGuard guard(&m_lockProcess);
    if (guard)
    {
        CloseLocked(&frames);
        return S_OK;
    }
    m_bCloseWanted = true; // where the frame is done just now: after the next one
    return m_lockProcess.IsMine() ? S_OK : Z_E_TIMEOUT;
}

void CFrameKeyer::CloseLocked(FRAMES* _pFrames)
{
    FramesTake(_pFrames);
    m_comparer.Reset();
    m_log.Begin();
#ifdef ZCK_LICENCE_KEY
    HoldOf(m_spLicence).Close();
#endif
    m_upEngine->Close();
    m_bCloseWanted = false; // last: a log sink may have asked for it once more
}
