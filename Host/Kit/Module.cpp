#include "Kit/Module.h"

#include "Kit/HostError.h"
#include "Kit/HostLog.h"
#include "Kit/Platform.h"
#include "Kit/Result.h"

#include "Base/ZLog.h"

namespace
{

std::string OwnPath()
{
    const std::string strFolder = Platform_OwnFolder();
    const std::string strBeside = strFolder + "/" + Platform_ModuleName();
    const std::string strInstalled = strFolder + "/" ZCK_MODULE_FOLDER "/" + Platform_ModuleName();
    return !Platform_Exists(strBeside) && Platform_Exists(strInstalled) ? strInstalled : strBeside;
}

} // namespace

CZModule::CZModule(const std::string& _strPath)
    : m_strPath(_strPath)
{
    std::string strReason;
    m_pLibrary = Platform_LoadLibrary(_strPath, strReason);
    if (!m_pLibrary)
        throw CZHostError(
            ZFormat("cannot load the plug-in module %s: %s; it belongs beside this program", _strPath, strReason));
    m_pfnGetClass = reinterpret_cast<ZDLLGETCLASSOBJECT>(Platform_Symbol(m_pLibrary, "DllGetClassObject"));
    if (m_pfnGetClass)
        return;
    Platform_FreeLibrary(m_pLibrary);
    throw CZHostError(ZFormat("%s is no plug-in module: it does not export DllGetClassObject", _strPath));
}

CZModule::~CZModule()
{
    const auto pfnCanUnload = reinterpret_cast<ZDLLCANUNLOADNOW>(Platform_Symbol(m_pLibrary, "DllCanUnloadNow"));
    if (pfnCanUnload && pfnCanUnload() == S_OK)
        Platform_FreeLibrary(m_pLibrary);
}

CZModule& CZModule::Own()
{
    static CZModule& s_module = *new CZModule(OwnPath()); // never unloaded: tables of it may be held anywhere
    return s_module;
}

void CZModule::CreateAny(REFCLSID _clsid, REFIID _iid, void** _ppvObject) const
{
    CZPtr<IClassFactory> cpFactory;
    Result_Check(m_pfnGetClass(_clsid, CZIidOf<IClassFactory>::Value, cpFactory.PutVoid()),
                 "asking the module for its ZChromaKey class");
    Result_Check(cpFactory->CreateInstance(nullptr, _iid, _ppvObject), "making a ZChromaKey object");
}

void CZModule::LogBegin(IZPlugin* _pPlugin)
{
    const std::lock_guard lock(m_mtxLog);
    Result_Check(_pPlugin->LogSet(HostLog_Sink(), HostLog_Level()), "setting the log");
    ++m_nLogs;
}

void CZModule::LogEnd(IZPlugin* _pPlugin) noexcept
{
    const std::lock_guard lock(m_mtxLog);
    if (--m_nLogs == 0)
        _pPlugin->LogSet(nullptr, eZLog_Warning);
}
