#pragma once

#include "Base/ZBorder.h"
#include "Base/ZModuleRef.h"
#include "Interfaces/IZFFrame.h"
#include "Interfaces/IZPlugin.h"
#include "Props/PropStore.h"
#include "ZChromaKey/Frame/FrameFlow.h"
#include "ZChromaKey/Frame/FrameKeyer.h"
#include "ZChromaKey/Objects/KeyerOptions.h"

#include <memory>
#include <string>
#include <string_view>

/// What a document holds, or what is taken out of it.
enum eDocument
{
    eDocument_All,  ///< also options, and what is not ours
    eDocument_Keys, ///< what is edited
};

/// What the plug-in objects of all generations do alike: frames in and out, options, log, documents, end of life. What
/// a generation does in its own way (keys and their editing) it adds in a class derived from CZKeyerObject.
///
/// The methods named like those of an interface are their bodies; any thread may call them.
class CKeyerCore
{
protected:
    /// _pszClass: the object's class as log lines name it, and _pszName what PluginInfoGet answers; both literals.
    /// _bDetects: it has the options of detection, too.
    CKeyerCore(const char* _pszClass, const char* _pszName, bool _bDetects, std::unique_ptr<CFrameEngine> _upEngine);
    ~CKeyerCore() = default;

    // What a generation adds
    /// The object itself, to be kept while the host's code runs.
    virtual IUnknown* Self() = 0;
    /// Remembers a frame that came in, to take keys from; null: only what it is like, the one before is let go of.
    virtual void FrameSeen(IZFFrame* _pFrameOrNull, const ZF_VID_PROPS& _vidProps) = 0;
    /// Forgets it, and the frames that the host has set.
    virtual void FramesLetGo() = 0;
    /// Keys a frame with one copy of the settings: CFrameKeyer::Process.
    virtual HRESULT FrameKey(IZFFrame* _pFrame, IZFFrame** _ppFrameRes) = 0;
    /// The document of what is saved. The reason of a failure has been logged.
    virtual HRESULT DocumentMake(eDocument _eDocument, std::string* _pstrDocument) = 0;
    /// Applies a document. On failure changes nothing and gives the reason.
    virtual HRESULT DocumentTake(eDocument _eDocument, std::string_view _svDocument, std::string* _pstrReason) = 0;
    /// Deletes the object.
    virtual void Destroy() = 0;

    HRESULT Receive(IZFFrame* _pFrameOrNull, IZFFrame** _ppFrameRes);
    HRESULT End();
    HRESULT Flush();
    HRESULT InfoGet(BSTR* _pbsName, BSTR* _pbsVersion);
    HRESULT LogSetLevel(IZLogSink* _pSinkOrNull, int32_t _eLevel);
    HRESULT CloseAll();
    HRESULT SaveToFile(const wchar_t* _pwszPath);
    HRESULT SaveToString(const char* _pszMethod, eDocument _eDocument, BSTR* _pbsDocument);
    HRESULT Load(const char* _pszMethod, eDocument _eDocument, const wchar_t* _pwszPathOrDocument);
    HRESULT OptionSet(const wchar_t* _pwszName, const wchar_t* _pwszValue);
    HRESULT OptionGet(const wchar_t* _pwszName, BSTR* _pbsValue);
    HRESULT OptionNameGet(UINT _nIndex, BSTR* _pbsName);
    /// The last reference is gone. True: the object is to be deleted; false: the output thread, which still uses it,
    /// does that at its end.
    bool LastRelease();

    Z_METHOD Method(const char* _pszMethod) const
    {
        return {m_pszClass, _pszMethod};
    }
    /// What checks names and values of options.
    PROPS_VALIDATE OptionCheck() const
    {
        return m_bDetects ? &KeyerOptions_CheckWithDetection : &KeyerOptions_Check;
    }
    CPropStore& Store()
    {
        return m_store;
    }
    CFrameKeyer& Keyer()
    {
        return m_keyer;
    }

private:
    HRESULT ProcessorsClose();

    CZModuleRef m_refModule;
    const char* m_pszClass;
    const char* m_pszName;
    bool m_bDetects;
    CPropStore m_store;
    CFrameKeyer m_keyer;
    CFrameFlow m_flow; // last: its thread uses the others
};
