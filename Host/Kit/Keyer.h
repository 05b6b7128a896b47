#pragma once

#include "Kit/Module.h"

#include "Base/ZPtr.h"
#include "Interfaces/IZChromaKey.h"
#include "Interfaces/IZChromaKey2.h"
#include "Interfaces/IZFPersist.h"
#include "Interfaces/IZFProcess.h"
#include "Interfaces/IZPlugin.h"
#include "Interfaces/IZProps.h"
#include "Interfaces/ZGuids.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>

/// A chroma-key object of a module: its options, its keys, frames in and results out. Its log goes to HostLog.
///
/// Every method throws CZHostError when the module refuses, with the reason that it logged. Frames are handed in by one
/// thread at a time.
class CZKeyer
{
public:
    /// _clsid: CLSID_ZChromaKey or CLSID_ZChromaKey2.
    explicit CZKeyer(CZModule& _module = CZModule::Own(), const CLSID& _clsid = CLSID_ZChromaKey);
    ~CZKeyer();
    CZKeyer(const CZKeyer&) = delete;
    CZKeyer& operator=(const CZKeyer&) = delete;

    /// For everything about keys: of the first generation, or of the second. The other one is null.
    IZChromaKey* Key() const
    {
        return m_cpKey.Get();
    }
    IZChromaKey2* Key2() const
    {
        return m_cpKey2.Get();
    }

    void OptionSet(const std::string& _strName, const std::string& _strValue);
    /// An option that this host needs and nobody asked for: documents keep what it was before. A later OptionSet takes
    /// its place; call it after LoadFile and LoadDocument, which set options as well.
    void OptionNeed(const std::string& _strName, const std::string& _strValue);

    /// Makes keys of the backdrop of the frame that was set for them. The first generation fits its keys to the
    /// picture, unless the options of detection say otherwise, and takes the tint out. S_FALSE: there is no backdrop.
    HRESULT FindBackdrop(const std::string& _strDetection = {});
    /// Has the first generation take the backdrop's tint out of what stays, which the second does by itself. Where
    /// colours are cleaned already, that stays; keys in HLS are left alone, as they know no direction away from a tint.
    void CleanColors();

    /// Keys and options out of a file, or out of what Document gave.
    void LoadFile(const std::string& _strPath);
    void LoadDocument(const std::string& _strDocument);
    /// Keys and options as a document.
    std::string Document();
    /// Name and version of the plug-in.
    std::string NameAndVersion();

    /// Sets what is called between tries while the object is busy with the frame before; it may throw to give up.
    void OnWait(std::function<void()> _fnWait)
    {
        m_fnWait = std::move(_fnWait);
    }
    /// Hands a frame in, or null to fetch what is under way, and answers the result that comes with it: with the output
    /// thread on, that of the frame before. Null: none.
    CZPtr<IZFFrame> Push(IZFFrame* _pFrameOrNull);
    /// Push, for a whole stream: every result goes to _fnResult, in order.
    void Process(IZFFrame* _pFrame, const std::function<void(IZFFrame*)>& _fnResult);
    /// The stream jumps: what is under way is dropped, and nothing is learned from frames before.
    void Flush();
    /// Fetches what is still under way; throws when frames that were handed in do not come back.
    void Finish(const std::function<void(IZFFrame*)>& _fnResult);

private:
    bool Take(IZFFrame* _pFrameOrNull, const std::function<void(IZFFrame*)>& _fnResult);
    void PropSet(const std::string& _strName, const std::string& _strValue);

    /// A value that this host set, and the one before it.
    struct NEED
    {
        std::string strValue;
        std::string strBefore; ///< empty: there was none
    };

    CZModule& m_module;
    CZPtr<IZFProcess> m_cpProcess;
    CZPtr<IZChromaKey> m_cpKey;
    CZPtr<IZChromaKey2> m_cpKey2;
    CZPtr<IZProps> m_cpProps;
    CZPtr<IZPlugin> m_cpPlugin;
    CZPtr<IZFPersist> m_cpPersist;
    std::map<std::string, NEED> m_mapNeeds;
    std::function<void()> m_fnWait;
    int64_t m_nFrames = 0;
    int64_t m_nResults = 0;
};
