#pragma once

#include "Base/ZPtr.h"
#include "Interfaces/IZPlugin.h"
#include "Interfaces/ZGuids.h"

#include <mutex>
#include <string>

/// A plug-in module: a shared library that makes objects by class. Thread safe. Errors are CZHostError.
class CZModule
{
public:
    /// Loads it. Throws where there is no such file, or it is no plug-in module.
    explicit CZModule(const std::string& _strPath);
    /// Unloads it, unless an object of it is left: then it stays until the program ends.
    ~CZModule();
    CZModule(const CZModule&) = delete;
    CZModule& operator=(const CZModule&) = delete;

    /// The module that belongs to this program or plug-in: beside its file, else where an installation puts libraries.
    /// Loaded with the first call, and stays.
    static CZModule& Own();

    /// A new object of a class. Throws where the class is not among the module's, or lacks the interface.
    template <class I> CZPtr<I> Create(REFCLSID _clsid) const
    {
        CZPtr<I> cpObject;
        CreateAny(_clsid, CZIidOf<I>::Value, cpObject.PutVoid());
        return cpObject;
    }
    const std::string& Path() const
    {
        return m_strPath;
    }

    /// Sends the module's log to HostLog until LogEnd has been called as often as LogBegin. _pPlugin: any object of the
    /// module.
    void LogBegin(IZPlugin* _pPlugin);
    void LogEnd(IZPlugin* _pPlugin) noexcept;

private:
    void CreateAny(REFCLSID _clsid, REFIID _iid, void** _ppvObject) const;

    std::string m_strPath;
    void* m_pLibrary = nullptr;
    ZDLLGETCLASSOBJECT m_pfnGetClass = nullptr;
    std::mutex m_mtxLog;
    int m_nLogs = 0; ///< objects that log
};
