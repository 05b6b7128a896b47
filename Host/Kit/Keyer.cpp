#include "Kit/Keyer.h"

#include "Kit/HostError.h"
#include "Kit/HostLog.h"
#include "zkhost/Files/OutFile.h"
#include "Kit/Platform.h"

#include "Base/ZLog.h"
#include "Interfaces/ZGuids.h"

namespace
{

/// How often a frame that finds the one before still being keyed is handed in again; each try waits a second.
constexpr int c_nMaxTries = 120;

CZPtr<IClassFactory> LoadFactory()
{
    const std::string strPath = Platform_ProgramFolder() + "/" + Platform_ModuleName();
    std::string strReason;
    void* pLibrary = Platform_LoadLibrary(strPath, strReason);
    if (!pLibrary)
        throw CZHostError(
            ZFormat("cannot load the plug-in module %s: %s; it belongs beside this program", strPath, strReason));
    const auto pfnGetClass = reinterpret_cast<ZDLLGETCLASSOBJECT>(Platform_Symbol(pLibrary, "DllGetClassObject"));
    if (!pfnGetClass)
        throw CZHostError(ZFormat("%s is no plug-in module: it does not export DllGetClassObject", strPath));
    CZPtr<IClassFactory> cpFactory;
    CZKeyer::Check(pfnGetClass(CLSID_ZChromaKey, CZIidOf<IClassFactory>::Value, cpFactory.PutVoid()),
                   "asking the module for its ZChromaKey class");
    return cpFactory;
}

std::string TakeText(BSTR _bsText)
{
    std::string strText = ZText_FromWide({_bsText ? _bsText : L"", SysStringLen(_bsText)});
    SysFreeString(_bsText);
    return strText;
}

} // namespace

CZKeyer::CZKeyer()
{
    Check(LoadFactory()->CreateInstance(nullptr, CZIidOf<IZChromaKey>::Value, m_cpKey.PutVoid()),
          "making a ZChromaKey object");
    m_cpProcess = ZQuery<IZFProcess>(m_cpKey);
    m_cpProps = ZQuery<IZProps>(m_cpKey);
    m_cpPlugin = ZQuery<IZPlugin>(m_cpKey);
    m_cpPersist = ZQuery<IZFPersist>(m_cpKey);
    if (!m_cpProcess || !m_cpProps || !m_cpPlugin || !m_cpPersist)
        throw CZHostError(
            "the ZChromaKey object lacks one of its interfaces; module and program are of different builds");
    Check(m_cpPlugin->LogSet(HostLog_Sink(), HostLog_Level()), "setting the log");
}

CZKeyer::~CZKeyer()
{
    if (m_cpPlugin)
    {
        m_cpPlugin->Close();
        m_cpPlugin->LogSet(nullptr, eZLog_Warning);
    }
}

void CZKeyer::Check(HRESULT _hr, const std::string& _strWhat)
{
    if (SUCCEEDED(_hr))
        return;
    if (_hr == E_NOTIMPL)
        throw CZHostError(ZFormat("%s: this build of the module cannot do that (hr=%08X)", _strWhat, _hr));
    const std::string strReason = HostLog_LastError();
    throw CZHostError(ZFormat("%s failed (hr=%08X)%s%s", _strWhat, _hr, strReason.empty() ? "" : ": ", strReason));
}

void CZKeyer::OptionSet(const std::string& _strName, const std::string& _strValue)
{
    const HRESULT hr = m_cpProps->PropsSet(ZText_ToWide(_strName).c_str(), ZText_ToWide(_strValue).c_str());
    if (hr == E_INVALIDARG)
        throw CZUsageError(
            ZFormat("--set %s=%s: the value does not fit this option; %s", _strName, _strValue, HostLog_LastError()));
    Check(hr, ZFormat("--set %s=%s", _strName, _strValue));
    m_mapNeeds.erase(_strName);
}

void CZKeyer::OptionNeed(const std::string& _strName, const std::string& _strValue)
{
    BSTR bsBefore = nullptr;
    m_cpProps->PropsGet(ZText_ToWide(_strName).c_str(), &bsBefore);
    const std::string strBefore = TakeText(bsBefore);
    PropSet(_strName, _strValue);
    m_mapNeeds[_strName] = {_strValue, strBefore};
}

void CZKeyer::PropSet(const std::string& _strName, const std::string& _strValue)
{
    Check(m_cpProps->PropsSet(ZText_ToWide(_strName).c_str(), ZText_ToWide(_strValue).c_str()),
          ZFormat("setting %s to \"%s\"", _strName, _strValue));
}

void CZKeyer::Load(const std::string& _strPath)
{
    if (!Platform_Exists(_strPath))
        throw CZHostError(ZFormat("cannot open %s: there is no such file", _strPath));
    Check(m_cpPersist->PersistLoad(ZText_ToWide(_strPath).c_str()), ZFormat("loading the keys of %s", _strPath));
}

void CZKeyer::Save(CZOutFile& _file)
{
    _file.Write(Document());
}

std::string CZKeyer::Document()
{
    BSTR bsDocument = nullptr;
    for (const auto& [strName, need] : m_mapNeeds)
        PropSet(strName, need.strBefore);
    const HRESULT hr = m_cpPersist->PersistSaveToString(&bsDocument);
    for (const auto& [strName, need] : m_mapNeeds)
        PropSet(strName, need.strValue);
    Check(hr, "writing the keys down");
    return TakeText(bsDocument);
}

std::string CZKeyer::NameAndVersion()
{
    BSTR bsName = nullptr;
    BSTR bsVersion = nullptr;
    Check(m_cpPlugin->PluginInfoGet(&bsName, &bsVersion), "asking the module for its version");
    const std::string strName = TakeText(bsName);
    return strName + " " + TakeText(bsVersion);
}

bool CZKeyer::Receive(IZFFrame* _pFrameOrNull, const std::function<void(IZFFrame*)>& _fnResult)
{
    CZPtr<IZFFrame> cpResult;
    HRESULT hr = Z_E_TIMEOUT;
    for (int i = 0; hr == Z_E_TIMEOUT && i < c_nMaxTries && !Platform_WasInterrupted(); ++i)
        hr = m_cpProcess->OnMediaReceive(_pFrameOrNull, cpResult.Put());
    OutFile_CheckInterrupt();
    Check(hr, ZFormat("keying frame %d", m_nResults + 1));
    if (!cpResult)
        return false;
    ++m_nResults;
    _fnResult(cpResult.Get());
    return true;
}

void CZKeyer::Process(IZFFrame* _pFrame, const std::function<void(IZFFrame*)>& _fnResult)
{
    ++m_nFrames;
    Receive(_pFrame, _fnResult);
}

void CZKeyer::Finish(const std::function<void(IZFFrame*)>& _fnResult)
{
    Check(m_cpProcess->OnMediaEnd(), "ending the stream");
    while (m_nResults < m_nFrames && Receive(nullptr, _fnResult))
    {
    }
    if (m_nResults < m_nFrames)
        throw CZHostError(ZFormat("%d of %d frames did not come back from the module: %s", m_nFrames - m_nResults,
                                  m_nFrames, HostLog_LastError()));
}
