#pragma once

#include "Base/ZPtr.h"
#include "Interfaces/IZChromaKey.h"
#include "Interfaces/IZFPersist.h"
#include "Interfaces/IZFProcess.h"
#include "Interfaces/IZPlugin.h"
#include "Interfaces/IZProps.h"

#include <functional>
#include <map>
#include <string>

class CZOutFile;

/// A chroma-key object of the plug-in module that lies beside this program, made through its class factory.
/// Every method throws CZHostError when the module refuses, with the reason that it logged.
class CZKeyer
{
public:
    CZKeyer();
    ~CZKeyer();
    CZKeyer(const CZKeyer&) = delete;
    CZKeyer& operator=(const CZKeyer&) = delete;

    IZChromaKey* Key() const
    {
        return m_cpKey.Get();
    }
    void OptionSet(const std::string& _strName, const std::string& _strValue);
    /// An option that this program needs and the person did not ask for: saving keeps what it was before. A later
    /// OptionSet takes its place; call it behind Load, whose options would.
    void OptionNeed(const std::string& _strName, const std::string& _strValue);
    void Load(const std::string& _strPath);
    /// Writes the document to a file of the job.
    void Save(CZOutFile& _file);
    /// The key set and options as a document.
    std::string Document();
    /// Name and version of the plug-in.
    std::string NameAndVersion();

    /// Hands a frame in; results come out by _fnResult, with the output thread on one frame later.
    void Process(IZFFrame* _pFrame, const std::function<void(IZFFrame*)>& _fnResult);
    /// Fetches what is still under way.
    void Finish(const std::function<void(IZFFrame*)>& _fnResult);

    /// Throws when a call failed: _strWhat says what was tried and with what.
    static void Check(HRESULT _hr, const std::string& _strWhat);

private:
    bool Receive(IZFFrame* _pFrameOrNull, const std::function<void(IZFFrame*)>& _fnResult);
    void PropSet(const std::string& _strName, const std::string& _strValue);

    /// A value that this program set, and the one before it.
    struct NEED
    {
        std::string strValue;
        std::string strBefore; ///< empty: there was none
    };

    CZPtr<IZChromaKey> m_cpKey;
    CZPtr<IZFProcess> m_cpProcess;
    CZPtr<IZProps> m_cpProps;
    CZPtr<IZPlugin> m_cpPlugin;
    CZPtr<IZFPersist> m_cpPersist;
    std::map<std::string, NEED> m_mapNeeds;
    int64_t m_nFrames = 0;
    int64_t m_nResults = 0;
};
