#include "Kit/Keyer.h"

#include "Kit/HostError.h"
#include "Kit/HostLog.h"
#include "Kit/Platform.h"
#include "Kit/Result.h"

#include "Base/ZBstr.h"
#include "Base/ZLog.h"

namespace
{

/// How often a frame that finds the one before still being keyed is handed in again; each try waits a second.
constexpr int c_nMaxTries = 120;
constexpr double c_dblAllTint = 100; // percent

} // namespace

CZKeyer::CZKeyer(CZModule& _module, const CLSID& _clsid)
    : m_module(_module)
    , m_cpProcess(_module.Create<IZFProcess>(_clsid))
    , m_cpKey(ZQuery<IZChromaKey>(m_cpProcess))
    , m_cpKey2(ZQuery<IZChromaKey2>(m_cpProcess))
    , m_cpProps(ZQuery<IZProps>(m_cpProcess))
    , m_cpPlugin(ZQuery<IZPlugin>(m_cpProcess))
    , m_cpPersist(ZQuery<IZFPersist>(m_cpProcess))
{
    if ((!m_cpKey && !m_cpKey2) || !m_cpProps || !m_cpPlugin || !m_cpPersist)
        throw CZHostError(
            "the ZChromaKey object lacks one of its interfaces; module and program are of different builds");
    m_module.LogBegin(m_cpPlugin.Get());
}

CZKeyer::~CZKeyer()
{
    m_cpPlugin->Close();
    m_module.LogEnd(m_cpPlugin.Get());
}

void CZKeyer::OptionSet(const std::string& _strName, const std::string& _strValue)
{
    PropSet(_strName, _strValue);
    m_mapNeeds.erase(_strName);
}

void CZKeyer::OptionNeed(const std::string& _strName, const std::string& _strValue)
{
    CZBStr bsBefore;
    const HRESULT hr = m_cpProps->PropsGet(ZText_ToWide(_strName).c_str(), bsBefore.Put());
    const std::string strBefore = bsBefore.Text();
    // Not the value of a need that was set before; and where there is none it is the default, which is not set.
    m_mapNeeds.try_emplace(_strName, NEED{_strValue, hr == S_OK ? strBefore : ""}).first->second.strValue = _strValue;
    PropSet(_strName, _strValue);
}

void CZKeyer::PropSet(const std::string& _strName, const std::string& _strValue)
{
    Result_Check(m_cpProps->PropsSet(ZText_ToWide(_strName).c_str(), ZText_ToWide(_strValue).c_str()),
                 ZFormat("setting %s to \"%s\"", _strName, _strValue));
}

HRESULT CZKeyer::FindBackdrop(const std::string& _strDetection)
{
    // The last one of a name counts.
    const CZBStr bsDetection(ZFormat("detect.fit=true %s", _strDetection));
    const HRESULT hr = m_cpKey2 ? m_cpKey2->KeyAuto() : m_cpKey->KeyDetect(bsDetection.Get());
    Result_Check(hr, "finding the backdrop");
    if (hr == S_OK)
        CleanColors();
    return hr;
}

void CZKeyer::CleanColors()
{
    CHROMA_KEY_RAW key = {};
    CK_ADJUST adjust = {};
    if (!m_cpKey)
        return;
    Result_Check(m_cpKey->KeyRawGet(&key, &adjust), "looking at the keys");
    if (adjust.dblColors != 0 || key.eType == eCKT_HLS)
        return;
    Result_Check(m_cpKey->KeyAdjustSet(eCKA_Colors, c_dblAllTint), "taking the backdrop's tint out");
}

void CZKeyer::LoadFile(const std::string& _strPath)
{
    if (!Platform_Exists(_strPath))
        throw CZHostError(ZFormat("cannot open %s: there is no such file", _strPath));
    Result_Check(m_cpPersist->PersistLoad(ZText_ToWide(_strPath).c_str()), ZFormat("loading the keys of %s", _strPath));
    m_mapNeeds.clear();
}

void CZKeyer::LoadDocument(const std::string& _strDocument)
{
    Result_Check(m_cpPersist->PersistLoad(ZText_ToWide(_strDocument).c_str()), "loading keys out of a document");
    m_mapNeeds.clear();
}

std::string CZKeyer::Document()
{
    CZBStr bsDocument;
    for (const auto& [strName, need] : m_mapNeeds)
        PropSet(strName, need.strBefore);
    const HRESULT hr = m_cpPersist->PersistSaveToString(bsDocument.Put());
    for (const auto& [strName, need] : m_mapNeeds)
        PropSet(strName, need.strValue);
    Result_Check(hr, "writing the keys down");
    return bsDocument.Text();
}

std::string CZKeyer::NameAndVersion()
{
    CZBStr bsName, bsVersion;
    Result_Check(m_cpPlugin->PluginInfoGet(bsName.Put(), bsVersion.Put()), "asking the module for its version");
    return bsName.Text() + " " + bsVersion.Text();
}

CZPtr<IZFFrame> CZKeyer::Push(IZFFrame* _pFrameOrNull)
{
    m_nFrames += _pFrameOrNull != nullptr;
    CZPtr<IZFFrame> cpResult;
    HRESULT hr = m_cpProcess->OnMediaReceive(_pFrameOrNull, cpResult.Put());
    for (int i = 1; hr == Z_E_TIMEOUT && i < c_nMaxTries; ++i)
    {
        if (m_fnWait)
            m_fnWait();
        hr = m_cpProcess->OnMediaReceive(_pFrameOrNull, cpResult.Put());
    }
    if (FAILED(hr)) // only now is there a text to make
        Result_Check(hr, ZFormat("keying frame %d", m_nResults + 1));
    m_nResults += static_cast<bool>(cpResult);
    return cpResult;
}

bool CZKeyer::Take(IZFFrame* _pFrameOrNull, const std::function<void(IZFFrame*)>& _fnResult)
{
    const CZPtr<IZFFrame> cpResult = Push(_pFrameOrNull);
    if (cpResult)
        _fnResult(cpResult.Get());
    return static_cast<bool>(cpResult);
}

void CZKeyer::Process(IZFFrame* _pFrame, const std::function<void(IZFFrame*)>& _fnResult)
{
    Take(_pFrame, _fnResult);
}

void CZKeyer::Flush()
{
    Result_Check(m_cpProcess->OnMediaFlush(), "beginning the stream anew");
    m_nFrames = m_nResults;
}

void CZKeyer::Finish(const std::function<void(IZFFrame*)>& _fnResult)
{
    Result_Check(m_cpProcess->OnMediaEnd(), "ending the stream");
    while (m_nResults < m_nFrames && Take(nullptr, _fnResult))
    {
    }
    if (m_nResults < m_nFrames)
        throw CZHostError(ZFormat("%d of %d frames did not come back from the module: %s", m_nFrames - m_nResults,
                                  m_nFrames, HostLog_LastError()));
}
