#include "ZChromaKey/Objects/KeyerCore.h"

#include "Base/ZAssert.h"
#include "Base/ZBstr.h"
#include "Base/ZLog.h"
#include "Base/ZSystem.h"
#include "ZChromaKey/Config/ChromaKeyOptions.h"

#ifdef ZCK_LICENCE_KEY
#include "ZChromaKey/Licence/LicenceHold.h"
#endif

#include <utility>
#include <vector>

#ifdef ZCK_LICENCE_KEY
namespace
{

constexpr std::wstring_view c_wsvOptionCheck = L"licence.check"; // asks, and is kept nowhere

CLicenceHold& HoldOf(CFrameKeyer* _pKeyer)
{
    return *static_cast<CLicenceHold*>(_pKeyer->Licence().get());
}

} // namespace
#endif

CKeyerCore::CKeyerCore(const char* _pszClass, const char* _pszName, bool _bDetects,
                       std::unique_ptr<CFrameEngine> _upEngine)
    : m_pszClass(_pszClass)
    , m_pszName(_pszName)
    , m_bDetects(_bDetects)
    , m_keyer(_pszClass, &m_store, std::move(_upEngine))
    , m_flow(
          _pszClass,
          [this](IZFFrame* _pFrame, IZFFrame** _ppFrameRes) {
              return ZBorder(Method("OnMediaReceive_I"), [&] { return FrameKey(_pFrame, _ppFrameRes); });
          },
          [this] { m_keyer.Flush(); })
{
#ifdef ZCK_LICENCE_KEY
    m_keyer.Licence() = std::make_shared<CLicenceHold>(_pszClass, _pszName, ZCK_LICENCE_KEY, ZCK_LICENCE_PRODUCT);
#endif
}

HRESULT CKeyerCore::Receive(IZFFrame* _pFrameOrNull, IZFFrame** _ppFrameRes)
{
    const CZPtr<IUnknown> cpSelf(Self()); // the host may release it from a method of its frame
    return ZBorder(Method("OnMediaReceive"), [&]() -> HRESULT {
        if (!Z_VERIFY(_ppFrameRes))
            return E_POINTER;
        *_ppFrameRes = nullptr;
        ZF_VID_PROPS vidProps = {};
        if (_pFrameOrNull && SUCCEEDED(_pFrameOrNull->VideoPropsGet(&vidProps)))
            FrameSeen(ChromaKeyOptions_KeepInput(m_store) ? _pFrameOrNull : nullptr, vidProps);
        if (_pFrameOrNull && !ChromaKeyOptions_OutputThread(m_store))
            return m_flow.ReceiveNow(_pFrameOrNull, _ppFrameRes);
        return m_flow.Receive(_pFrameOrNull, _ppFrameRes);
    });
}

HRESULT CKeyerCore::End()
{
    ZLog(eZLog_Info, "%hs::OnMediaEnd()\n", m_pszClass);
    return S_OK;
}

HRESULT CKeyerCore::Flush()
{
    return ZBorder(Method("OnMediaFlush"), [&]() -> HRESULT {
        ZLog(eZLog_Info, "%hs::OnMediaFlush()\n", m_pszClass);
        m_flow.Flush();
        return S_OK;
    });
}

HRESULT CKeyerCore::CloseAll()
{
    return ZBorder(Method("Close"), [&]() -> HRESULT {
        ZLog(eZLog_Info, "%hs::Close()\n", m_pszClass);
        if (m_flow.IsOutputThread())
        {
            m_flow.CloseFromWithin([this] { ProcessorsClose(); });
            return S_OK;
        }
        HRESULT hr = m_flow.Close();
        if (SUCCEEDED(hr)) // else the thread still uses the processors
            hr = ProcessorsClose();
        if (hr == Z_E_TIMEOUT)
            ZLog(eZLog_Error,
                 "%hs::Close: a frame is still processed after ten seconds, for one of its methods, or the log, does "
                 "not come back; what it keeps is given back when it does\n",
                 m_pszClass);
        return hr;
    });
}

HRESULT CKeyerCore::ProcessorsClose()
{
    const HRESULT hr = m_keyer.Close();
    FramesLetGo();
    return hr;
}

bool CKeyerCore::LastRelease()
{
    ZLog(eZLog_Info, "%hs::FinalRelease()\n", m_pszClass);
    const auto fnEnd = [this] {
        ProcessorsClose();
        Destroy();
    };
    if (m_flow.IsOutputThread())
    {
        ZLog(eZLog_Info, "%hs::Close()\n", m_pszClass);
        m_flow.CloseFromWithin(fnEnd);
        return false;
    }
    return SUCCEEDED(CloseAll()) || !m_flow.Abandon(fnEnd);
}

HRESULT CKeyerCore::InfoGet(BSTR* _pbsName, BSTR* _pbsVersion)
{
    for (BSTR* pbsOut : {_pbsName, _pbsVersion})
        if (pbsOut)
            *pbsOut = nullptr;
    if (!_pbsName || !_pbsVersion)
        return E_POINTER;
    return ZBorder(Method("PluginInfoGet"), [&]() -> HRESULT {
        CZBStr bsName(m_pszName);
#ifdef ZCK_LICENCE_KEY
        CZBStr bsVersion(ZFormat("%hs (%hs)", ZCK_VERSION, HoldOf(&m_keyer).Text()));
#else
        CZBStr bsVersion(ZCK_VERSION);
#endif
        if (!bsName.Get() || !bsVersion.Get())
            return E_OUTOFMEMORY;
        *_pbsName = bsName.Detach();
        *_pbsVersion = bsVersion.Detach();
        return S_OK;
    });
}

HRESULT CKeyerCore::LogSetLevel(IZLogSink* _pSinkOrNull, int32_t _eLevel)
{
    return ZBorder(Method("LogSet"), [&]() -> HRESULT {
        if (_eLevel < eZLog_Off || _eLevel > eZLog_Verbose)
        {
            ZLog(eZLog_Error, "%hs::LogSet: there is no level %d; use %d (off) to %d (verbose)\n", m_pszClass, _eLevel,
                 eZLog_Off, eZLog_Verbose);
            return E_INVALIDARG;
        }
        ZLog_Set(_pSinkOrNull, static_cast<eZLogLevel>(_eLevel));
        ZSystem_Log(ZCK_VERSION);
#ifdef ZCK_LICENCE_KEY
        if (_pSinkOrNull)
            HoldOf(&m_keyer).Say();
#endif
        return S_OK;
    });
}

HRESULT CKeyerCore::OptionSet(const wchar_t* _pwszName, const wchar_t* _pwszValue)
{
#ifdef ZCK_LICENCE_KEY
    if (_pwszName && _pwszName == c_wsvOptionCheck)
        return ZBorder(Method("PropsSet"),
                       [&] { return HoldOf(&m_keyer).Check(ZText_FromWide(_pwszValue ? _pwszValue : L"")); });
#endif
    return PropStore_PropsSet(&m_store, _pwszName, _pwszValue, OptionCheck());
}

HRESULT CKeyerCore::OptionGet(const wchar_t* _pwszName, BSTR* _pbsValue)
{
    const HRESULT hr = PropStore_PropsGet(m_store, _pwszName, _pbsValue);
    if (hr != S_FALSE)
        return hr;
    return ZBorder(Method("PropsGet"), [&] {
        const char* const pszDefault = KeyerOptions_Default(ZText_FromWide(_pwszName), m_bDetects);
        const HRESULT hrDefault = pszDefault ? ZText_HandOut(pszDefault, _pbsValue) : S_OK;
        return FAILED(hrDefault) ? hrDefault : S_FALSE;
    });
}

HRESULT CKeyerCore::OptionNameGet(UINT _nIndex, BSTR* _pbsName)
{
    return ZBorder(Method("PropsNameGet"), [&]() -> HRESULT {
        if (!_pbsName)
            return E_POINTER;
        *_pbsName = nullptr;
        const std::vector<std::string> vecNames = KeyerOptions_Names(m_store, m_bDetects);
        return _nIndex < vecNames.size() ? ZText_HandOut(vecNames[_nIndex], _pbsName) : S_FALSE;
    });
}
