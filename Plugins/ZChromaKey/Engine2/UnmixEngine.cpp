#include "ZChromaKey/Engine2/UnmixEngine.h"

#include "Base/ZAssert.h"
#include "Base/ZPixelFormats.h"
#include "Base/ZLog.h"
#include "ZChromaKey/Engine2/Cells.h"
#include "ZChromaKey/Engine2/Screen.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace
{

/// The settings that bytes are; ones that key nothing, for a record of another size.
UNMIX_SETTINGS SettingsOf(ENGINE_SETTINGS _settings)
{
    UNMIX_SETTINGS settings = {};
    if (Z_VERIFY(_settings.spanRecord.size() == sizeof(settings)))
        std::memcpy(&settings, _settings.spanRecord.data(), sizeof(settings));
    return settings;
}

/// The masks and the plate of settings.
UNMIX_PARTS PartsOf(ENGINE_SETTINGS _settings)
{
    return _settings.pParts ? static_cast<const UNMIX_PARTS&>(*_settings.pParts) : UNMIX_PARTS();
}

template <class Key> void ColourOf(const Key& _key, float (&_arrBGR)[3])
{
    _arrBGR[0] = static_cast<float>(_key.dblBlue);
    _arrBGR[1] = static_cast<float>(_key.dblGreen);
    _arrBGR[2] = static_cast<float>(_key.dblRed);
}

void KeysOf(const CHROMA_KEY2_RAW& _key, UNMIX_SETUP* _pSetup)
{
    _pSetup->nKeys = _key.nKeysUsed;
    for (int32_t n = 0; n < _key.nKeysUsed; ++n)
    {
        UNMIX_KEY& key = _pSetup->arrKeys[n];
        ColourOf(_key.arrKeys[n], key.arrBGR);
        key.fltHue = static_cast<float>(_key.arrKeys[n].rangeBackdrop.dblHue);
        key.fltSaturation = static_cast<float>(_key.arrKeys[n].rangeBackdrop.dblSaturation);
        key.fltValue = static_cast<float>(_key.arrKeys[n].rangeBackdrop.dblValue);
        key.fltSolidHue = static_cast<float>(_key.arrKeys[n].rangeForeground.dblHue);
        key.fltSolidSaturation = static_cast<float>(_key.arrKeys[n].rangeForeground.dblSaturation);
        key.fltSolidValue = static_cast<float>(_key.arrKeys[n].rangeForeground.dblValue);
    }
    _pSetup->nProtected = _key.nProtectedUsed;
    for (int32_t n = 0; n < _key.nProtectedUsed; ++n)
    {
        UNMIX_PROTECTED& colour = _pSetup->arrProtected[n];
        ColourOf(_key.arrProtected[n], colour.arrBGR);
        colour.fltHue = static_cast<float>(_key.arrProtected[n].range.dblHue);
        colour.fltSaturation = static_cast<float>(_key.arrProtected[n].range.dblSaturation);
        colour.fltValue = static_cast<float>(_key.arrProtected[n].range.dblValue);
    }
}

/// Makes a region the mask, or nothing: the nearest pixel of the mask for each pixel of a frame.
void Stretch(const std::shared_ptr<const IMG_MASK>& _spMask, int32_t _nWidth, int32_t _nHeight,
             UNMIX_STRETCHED* _pRegion)
{
    if (_pRegion->spMask == _spMask && _pRegion->nWidth == _nWidth && _pRegion->nHeight == _nHeight)
        return;
    std::vector<uint8_t> vecBytes;
    vecBytes.reserve(_spMask ? static_cast<size_t>(_nWidth) * static_cast<size_t>(_nHeight) : 0);
    for (int64_t y = 0; _spMask && y < _nHeight; ++y)
    {
        const uint8_t* const pRow = _spMask->vecBytes.data() + y * _spMask->nHeight / _nHeight * _spMask->nWidth;
        for (int64_t x = 0; x < _nWidth; ++x)
            vecBytes.push_back(pRow[x * _spMask->nWidth / _nWidth]);
    }
    *_pRegion = {_spMask, _nWidth, _nHeight, std::move(vecBytes)}; // elsewhere: the engine tells regions by their place
}

/// Finds the backdrop of a picture.
bool KeyOf(const IMG_PICTURE& _picture, UNMIX_KEY* _pKey)
{
    UNMIX_STATE state; // of this picture alone
    UnmixState_Resize(state, _picture.nWidth, _picture.nHeight, 1);
    UNMIX_PICTURE picture;
    picture.nWidth = _picture.nWidth;
    picture.nHeight = _picture.nHeight;
    picture.pRow0 = _picture.vecBGRA.data();
    picture.nStride = ptrdiff_t{4} * _picture.nWidth;
    UNMIX_CELLS& cells = state.arrFields[0].cells;
    Cells_Pass(*state.pKernels, picture, cells, state.vecChanged.data(), 0, cells.nHeight);
    return Screen_FindKey(cells, _pKey);
}

} // namespace

CUnmixEngine::CUnmixEngine(std::unique_ptr<CUnmixGPU> _upGPU)
    : m_upGPU(std::move(_upGPU))
{
}

ENGINE_PLAN CUnmixEngine::Plan(ENGINE_SETTINGS _settings) const
{
    const UNMIX_SETTINGS settings = SettingsOf(_settings);
    const bool bKeys = settings.key.nKeysUsed > 0 || settings.nPlate != 0;
    return {bKeys, bKeys, bKeys, true};
}

bool CUnmixEngine::CanClean(uint32_t _fccType) const
{
    const eImgLayout eLayout = FCC_Layout(_fccType);
    return eLayout != eIL_None && eLayout != eIL_RGB8;
}

UNMIX_SETUP CUnmixEngine::SetupOf(const UNMIX_SETTINGS& _settings, const UNMIX_PARTS& _parts, int32_t _nWidth,
                                  int32_t _nHeight)
{
    UNMIX_SETUP setup;
    setup.params = UnmixParams_Of(_settings.key.params);
    KeysOf(_settings.key, &setup);
    UNMIX_REGION* const arrRegions[Z_REGIONS] = {&setup.garbage, &setup.holdOut, &setup.backdrop};
    for (size_t n = 0; n < Z_REGIONS; ++n)
    {
        UNMIX_STRETCHED& region = m_spWork->arrRegions[n];
        Stretch(_parts.arrMasks[n], _nWidth, _nHeight, &region);
        if (region.spMask)
            *arrRegions[n] = {region.vecBytes.data(), _nWidth};
    }
    PlateTake(_parts, &setup);
    return setup;
}

void CUnmixEngine::PlateTake(const UNMIX_PARTS& _parts, UNMIX_SETUP* _pSetup)
{
    UNMIX_GIVEN& given = m_spWork->given; // keeps the old picture till now: the engine tells plates by their address
    if (given.spPlate != _parts.spPlate)
    {
        UNMIX_KEY key;
        const bool bKey = _parts.spPlate && KeyOf(*_parts.spPlate, &key);
        if (_parts.spPlate && !bKey && _pSetup->nKeys == 0)
            ZLog(eZLog_Warning,
                 "CCoZChromaKey2: no key is set, and the plate shows no backdrop of one strong hue; it is "
                 "looked for in the frames: pick a key, or set another plate\n");
        given = {_parts.spPlate, key, bKey};
    }
    if (!given.spPlate)
        return;
    _pSetup->plate = {given.spPlate->vecBGRA.data(), given.spPlate->nWidth, given.spPlate->nHeight};
    if (_pSetup->nKeys == 0 && given.bKey)
    {
        _pSetup->nKeys = 1;
        _pSetup->arrKeys[0] = given.key;
    }
}

/// The settings of the next frame, and what follows from them being others than those before.
UNMIX_SETUP CUnmixEngine::SettingsTake(ENGINE_SETTINGS _settings, const ZF_VID_PROPS& _vidProps)
{
    if (!m_spWork)
        m_spWork = std::make_shared<CUnmixWork>();
    const UNMIX_SETTINGS settings = SettingsOf(_settings);
    if (settings.nRestarts != m_nRestarts)
        Unmix_Restart(m_spWork->state);
    m_nRestarts = settings.nRestarts;
    return SetupOf(settings, PartsOf(_settings), _vidProps.nWidth, std::abs(_vidProps.nHeight));
}

HRESULT CUnmixEngine::Process(const ENGINE_JOB& _job, ENGINE_SETTINGS _settings)
{
    const auto timeStart = std::chrono::steady_clock::now();
    const CZTimedGuard guard(&m_lockState);
    if (!guard)
        return Z_E_TIMEOUT;
    const UNMIX_SETUP setup = SettingsTake(_settings, _job.source.vidProps);
    m_spWork->Begin(_job, setup);
    eKeyedOn eWhere = eKeyedOn_CPU;
    const HRESULT hr = WorkRun(_job, &eWhere);
    if (FAILED(hr))
        return hr;
    SureSay();
    StatsKeep(timeStart, eWhere);
    return hr;
}

void CUnmixEngine::SureSay()
{
    const UNMIX_STATE& state = m_spWork->state;
    const bool bUnsure = !state.bSure && state.setup.params.eLearn != eUN_Hold;
    if (bUnsure && !m_bUnsure)
        ZLog(eZLog_Warning,
             "CCoZChromaKey2: no backdrop of the key's colour is certain in this frame; until one is, "
             "frames are keyed with what was learned before: check the key, the light and the regions\n");
    m_bUnsure = bUnsure;
}

HRESULT CUnmixEngine::WorkRun(const ENGINE_JOB& _job, eKeyedOn* _peKeyedOn)
{
    const uint32_t nWorkers = std::clamp(_job.nThreads, 1u, c_nMaxFrameThreads);
    HRESULT hr = m_pool.Prepare(nWorkers);
    if (FAILED(hr))
        return hr;
    if (_job.gpu)
        return RunGPU(_job, nWorkers, _peKeyedOn);
    return TaskRun(eUT_Frame, nWorkers);
}

/// Runs a part of a frame on the workers.
HRESULT CUnmixEngine::TaskRun(eUnmixTask _eTask, uint32_t _nWorkers)
{
    m_spWork->Next(_eTask, _nWorkers);
    HRESULT hr = m_pool.Run(m_spWork, 1);
    if (SUCCEEDED(hr))
        hr = m_spWork->Result();
    const bool bRefused = hr == E_NOTIMPL || hr == E_INVALIDARG; // the picture, before anything was touched
    if (FAILED(hr) && !bRefused)
        m_spWork.reset(); // a worker that hangs may still use it, or memory ran out half-way
    return FAILED(hr) ? hr : S_OK;
}

/// The GPU's part, and before and after it that of the workers; they do the GPU's as well where it fails and may.
HRESULT CUnmixEngine::RunGPU(const ENGINE_JOB& _job, uint32_t _nWorkers, eKeyedOn* _peKeyedOn)
{
    const ENGINE_GPU_OPTIONS& options = *_job.gpu;
    HRESULT hrGPU = m_upGPU->Check(options);
    const bool bTried = SUCCEEDED(hrGPU);
    if (bTried)
    {
        const bool bRebuilds = m_upGPU->Rebuilds(_job.source.vidProps);
        const HRESULT hr = TaskRun(bRebuilds ? eUT_Learn : eUT_Open, _nWorkers);
        if (FAILED(hr))
            return hr;
        hrGPU = m_upGPU->Pixels(m_spWork->state, m_spWork->Input(), m_spWork->Picture(), m_spWork->Pixels(), options);
    }
    GPUNote(options.bOnly, hrGPU);
    if (FAILED(hrGPU) && options.bOnly)
        return hrGPU;
    *_peKeyedOn = SUCCEEDED(hrGPU) ? eKeyedOn_GPU : eKeyedOn_CPU;
    return TaskRun(SUCCEEDED(hrGPU) ? eUT_Finish : bTried ? eUT_Write : eUT_Frame, _nWorkers);
}

/// Says once why the GPU did not key, and what to do: a fault where nothing else may key.
void CUnmixEngine::GPUNote(bool _bOnly, HRESULT _hr)
{
    const std::pair said(_hr, _bOnly);
    if (std::exchange(m_saidGPU, said) == said || SUCCEEDED(_hr))
        return;
    if (_hr == E_NOTIMPL)
        ZLog(_bOnly ? eZLog_Error : eZLog_Info,
             "CCoZChromaKey2: there is no GPU that this build can use: set \"gpu_mode\" to 0\n");
    else
        ZLog(_bOnly ? eZLog_Error : eZLog_Warning, "CCoZChromaKey2: the GPU did not key a frame, hr=%08X%hs\n", _hr,
             _bOnly ? "" : "; the CPU does");
}

HRESULT CUnmixEngine::ProcessGPU(IZFFrame* _pFrame, ENGINE_SETTINGS _settings, const ENGINE_GPU_OPTIONS& _options,
                                 IZFFrame** _ppFrameRes)
{
    /// Learns from cells with the workers.
    struct LEARNER final : IUnmixLearner
    {
        CUnmixEngine& engine;
        const UNMIX_SETUP& setup;
        uint32_t nWorkers;

        LEARNER(CUnmixEngine& _engine, const UNMIX_SETUP& _setup, uint32_t _nWorkers)
            : engine(_engine)
            , setup(_setup)
            , nWorkers(_nWorkers)
        {
        }
        HRESULT Learn(const UNMIX_CELL_INPUT& _input) override
        {
            engine.m_spWork->Begin(_input, setup);
            return engine.TaskRun(eUT_Cells, nWorkers);
        }
        UNMIX_STATE& State() override
        {
            return engine.m_spWork->state;
        }
    };
    const auto timeStart = std::chrono::steady_clock::now();
    const CZTimedGuard guard(&m_lockState);
    if (!guard)
        return Z_E_TIMEOUT;
    ZF_VID_PROPS vidProps = {};
    HRESULT hr = _pFrame->VideoPropsGet(&vidProps);
    const uint32_t nWorkers = std::clamp(_options.nThreads, 1u, c_nMaxFrameThreads);
    if (SUCCEEDED(hr))
        hr = m_pool.Prepare(nWorkers);
    if (FAILED(hr))
        return hr;
    const UNMIX_SETUP setup = SettingsTake(_settings, vidProps);
    LEARNER learner(*this, setup, nWorkers);
    hr = m_upGPU->ProcessFrame(_pFrame, learner, _options, _ppFrameRes);
    if (SUCCEEDED(hr))
    {
        SureSay();
        StatsKeep(timeStart, eKeyedOn_GPU);
    }
    return hr;
}

void CUnmixEngine::StatsKeep(std::chrono::steady_clock::time_point _timeStart, eKeyedOn _eKeyedOn)
{
    const double dblMilliseconds =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - _timeStart).count();
    const UNMIX_STATS stats = Unmix_Stats(m_spWork->state);
    const std::lock_guard lock(m_mtxStats);
    m_bKeyed = true;
    m_stats = {stats.fltBackdrop, stats.fltMixed,  stats.fltSolid,
               stats.fltNoise,    dblMilliseconds, stats.nPlateFrames,
               stats.nCuts,       _eKeyedOn,       0};
}

void CUnmixEngine::Flush()
{
    const CZTimedGuard guard(&m_lockState);
    if (guard && m_spWork)
        Unmix_Restart(m_spWork->state);
}

void CUnmixEngine::Close()
{
    const CZTimedGuard guard(&m_lockState);
    if (!guard)
        return;
    m_pool.Stop();
    m_spWork.reset();
    m_upGPU->Close();
    m_saidGPU = {};
}

HRESULT CUnmixEngine::KeyFind(const IMG_PICTURE& _picture, UNMIX_COLOUR* _pColour, std::string* _pstrReason)
{
    UNMIX_KEY key;
    if (!KeyOf(_picture, &key))
    {
        *_pstrReason = "no large, flat area of one strong hue reaches along the upper border of the picture";
        return S_FALSE;
    }
    *_pColour = {double{key.arrBGR[2]}, double{key.arrBGR[1]}, double{key.arrBGR[0]}};
    return S_OK;
}

HRESULT CUnmixEngine::PlateGet(IMG_PICTURE* _pPicture)
{
    const CZTimedGuard guard(&m_lockState);
    if (!guard)
    {
        ZLog(eZLog_Error, "CCoZChromaKey2::PlateGet: the picture under way does not come to its end; ask again\n");
        return Z_E_TIMEOUT;
    }
    if (!m_spWork || !m_spWork->state.bPlateSet)
        return S_FALSE;
    const UNMIX_STATE& state = m_spWork->state;
    IMG_PICTURE picture = {state.nWidth, state.nHeight, {}};
    picture.vecBGRA.reserve(size_t{4} * static_cast<size_t>(picture.nWidth) * static_cast<size_t>(picture.nHeight));
    for (int32_t y = 0; y < picture.nHeight; ++y)
        for (int32_t x = 0; x < picture.nWidth; ++x)
        {
            const VEC4 cell = Plate_AtCell(state, x / 4, y / state.nFields / 4);
            for (const float fltValue : {cell.b, cell.g, cell.r, 255.0f})
                picture.vecBGRA.push_back(static_cast<uint8_t>(std::clamp(fltValue + .5f, 0.0f, 255.0f)));
        }
    *_pPicture = std::move(picture);
    return S_OK;
}

HRESULT CUnmixEngine::StatsGet(CHROMA_KEY2_STATS* _pStats)
{
    const std::lock_guard lock(m_mtxStats);
    *_pStats = m_stats;
    return m_bKeyed ? S_OK : S_FALSE;
}
