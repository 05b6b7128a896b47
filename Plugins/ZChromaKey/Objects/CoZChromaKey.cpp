#include "ZChromaKey/Objects/CoZChromaKey.h"

#include "Base/ZAssert.h"
#include "Base/ZBorder.h"
#include "Base/ZCpu.h"
#include "Base/ZLog.h"
#include "Base/ZSystem.h"
#include "ZChromaKey/Config/ChromaKeyOptions.h"
#include "ZChromaKey/Engine1/KeyEngine.h"
#include "ZChromaKey/Com/UserDefaultsRead.h"
#include "ZChromaKey/Config/UserDefaults.h"

namespace
{

/// What whoever reads a log from somewhere else asks first.
void SystemSay()
{
    if (!ZLog_IsOn(eZLog_Info))
        return;
    ZLog(eZLog_Info, "ZChromaKey %hs, module %hs in %hs\n", ZCK_VERSION, ZSystem_ModulePath(), ZSystem_ProgramPath());
    ZLog(eZLog_Info, "%hs, %hs, SIMD level %hs of %hs\n", ZSystem_Name(), ZSystem_Processor(),
         ZCpu_LevelName(ZCpu_Level()), ZCpu_LevelName(ZCpu_Detected()));
}

} // namespace

CCoZChromaKey::CCoZChromaKey(std::unique_ptr<CGPUKeyer> _upGPU)
    : m_keyer(&m_store, std::make_unique<CKeyEngine>(std::move(_upGPU)))
    , m_flow(
          [this](IZFFrame* _pFrame, IZFFrame** _ppFrameRes) {
              return ZBorder("CCoZChromaKey::OnMediaReceive_I", [&] { return OnMediaReceive_I(_pFrame, _ppFrameRes); });
          },
          [this] { m_keyer.Flush(); })
{
}

HRESULT CCoZChromaKey::Create(REFIID _iid, void** _ppvObject)
{
    auto* const pObject = new CCoZChromaKey(GPUKeyer_Create());
    const auto cpObject = CZPtr<IZFProcess>::Adopt(pObject);
    UserDefaults_Apply(UserDefaults_Read(), &pObject->m_store);
    return cpObject->QueryInterface(_iid, _ppvObject);
}

HRESULT CCoZChromaKey::OnMediaReceive(IZFFrame* _pFrameOrNull, IZFFrame** _ppFrameRes)
{
    const CZPtr<IZFProcess> cpSelf(this); // the host may release it from a method of its frame
    return ZBorder("CCoZChromaKey::OnMediaReceive", [&]() -> HRESULT {
        if (!Z_VERIFY(_ppFrameRes))
            return E_POINTER;
        *_ppFrameRes = nullptr;
        ZF_VID_PROPS vidProps = {};
        if (_pFrameOrNull && SUCCEEDED(_pFrameOrNull->VideoPropsGet(&vidProps)))
            m_keyState.FrameSet(_pFrameOrNull, vidProps);
        if (_pFrameOrNull && !ChromaKeyOptions_OutputThread(m_store))
            return m_flow.ReceiveNow(_pFrameOrNull, _ppFrameRes);
        return m_flow.Receive(_pFrameOrNull, _ppFrameRes);
    });
}

HRESULT CCoZChromaKey::OnMediaReceive_I(IZFFrame* _pFrame, IZFFrame** _ppFrameRes)
{
    const CHROMA_KEY_RAW key = m_keyState.KeyGet(); // one copy, to compare and to key with
    return m_keyer.Process(_pFrame, EngineSettings_Of(key), _ppFrameRes);
}

HRESULT CCoZChromaKey::OnMediaEnd()
{
    ZLog(eZLog_Info, "CCoZChromaKey::OnMediaEnd()\n");
    return S_OK;
}

HRESULT CCoZChromaKey::OnMediaFlush()
{
    return ZBorder("CCoZChromaKey::OnMediaFlush", [&]() -> HRESULT {
        ZLog(eZLog_Info, "CCoZChromaKey::OnMediaFlush()\n");
        m_flow.Flush();
        return S_OK;
    });
}

HRESULT CCoZChromaKey::Close()
{
    return ZBorder("CCoZChromaKey::Close", [&]() -> HRESULT {
        ZLog(eZLog_Info, "CCoZChromaKey::Close()\n");
        if (m_flow.IsOutputThread())
        {
            m_flow.CloseFromWithin([this] { ProcessorsClose(); });
            return S_OK;
        }
        if (const HRESULT hr = m_flow.Close(); FAILED(hr)) // the thread still uses the processors
            return hr;
        ProcessorsClose();
        return S_OK;
    });
}

void CCoZChromaKey::ProcessorsClose()
{
    m_keyer.Close();
    m_keyState.FrameSet(nullptr, {});
}

bool CCoZChromaKey::FinalRelease()
{
    ZLog(eZLog_Info, "CCoZChromaKey::FinalRelease()\n");
    if (m_flow.IsOutputThread())
    {
        ZLog(eZLog_Info, "CCoZChromaKey::Close()\n");
        m_flow.CloseFromWithin([this] {
            ProcessorsClose();
            delete this;
        });
        return false;
    }
    if (SUCCEEDED(Close()))
        return true;
    return !m_flow.Abandon([this] {
        ProcessorsClose();
        delete this;
    });
}

HRESULT CCoZChromaKey::PluginInfoGet(BSTR* _pbsName, BSTR* _pbsVersion)
{
    for (BSTR* pbsOut : {_pbsName, _pbsVersion})
        if (pbsOut)
            *pbsOut = nullptr;
    if (!_pbsName || !_pbsVersion)
        return E_POINTER;
    *_pbsName = SysAllocString(L"ZChromaKey");
    *_pbsVersion = SysAllocString(L"" ZCK_VERSION);
    if (*_pbsName && *_pbsVersion)
        return S_OK;
    SysFreeString(std::exchange(*_pbsName, nullptr));
    SysFreeString(std::exchange(*_pbsVersion, nullptr));
    return E_OUTOFMEMORY;
}

HRESULT CCoZChromaKey::LogSet(IZLogSink* _pSinkOrNull, int32_t _eLevel)
{
    return ZBorder("CCoZChromaKey::LogSet", [&]() -> HRESULT {
        if (_eLevel < eZLog_Off || _eLevel > eZLog_Verbose)
        {
            ZLog(eZLog_Error, "CCoZChromaKey::LogSet: there is no level %d; use %d (off) to %d (verbose)\n", _eLevel,
                 eZLog_Off, eZLog_Verbose);
            return E_INVALIDARG;
        }
        ZLog_Set(_pSinkOrNull, static_cast<eZLogLevel>(_eLevel));
        SystemSay();
        return S_OK;
    });
}
