#pragma once

#include "Base/ZBstr.h"
#include "Base/ZUnknown.h"
#include "Interfaces/IZFPersist.h"
#include "Interfaces/IZFProcess.h"
#include "Interfaces/IZKeys.h"
#include "Interfaces/IZProps.h"
#include "Interfaces/IZSteps.h"
#include "ZChromaKey/Com/LateBinding.h"
#include "ZChromaKey/Objects/KeyerCore.h"
#include "ZChromaKey/Objects/Tables.h"

#include <memory>
#include <utility>

/// Gives CKeyerCore the interfaces that every plug-in object has. Keys: the interface that this generation's keys are
/// edited with.
template <class Keys> class CZKeyerObject : public CZUnknown<CZLateBinding<Keys>, IZFProcess, IZProps, IZPlugin,
                                                             IZFPersist, IZSteps, IZKeys, CZTables, CZScript>,
                                            protected CKeyerCore
{
public:
    CZKeyerObject(const char* _pszClass, const char* _pszName, bool _bDetects, std::unique_ptr<CFrameEngine> _upEngine)
        : CKeyerCore(_pszClass, _pszName, _bDetects, std::move(_upEngine))
    {
    }

    // IZFProcess
    HRESULT STDMETHODCALLTYPE OnMediaReceive(IZFFrame* _pFrameOrNull, IZFFrame** _ppFrameRes) override
    {
        return Receive(_pFrameOrNull, _ppFrameRes);
    }
    HRESULT STDMETHODCALLTYPE OnMediaEnd() override
    {
        return End();
    }
    HRESULT STDMETHODCALLTYPE OnMediaFlush() override
    {
        return Flush();
    }

    // IZPlugin
    HRESULT STDMETHODCALLTYPE PluginInfoGet(BSTR* _pbsName, BSTR* _pbsVersion) override
    {
        return InfoGet(_pbsName, _pbsVersion);
    }
    HRESULT STDMETHODCALLTYPE LogSet(IZLogSink* _pSinkOrNull, int32_t _eLevel) override
    {
        return LogSetLevel(_pSinkOrNull, _eLevel);
    }
    HRESULT STDMETHODCALLTYPE Close() override
    {
        return CloseAll();
    }

    // IZScript
    HRESULT STDMETHODCALLTYPE PluginName(BSTR* _pbsName) override
    {
        CZBStr bsVersion;
        return InfoGet(_pbsName, bsVersion.Put());
    }
    HRESULT STDMETHODCALLTYPE PluginVersion(BSTR* _pbsVersion) override
    {
        CZBStr bsName;
        return InfoGet(bsName.Put(), _pbsVersion);
    }

    // IZProps
    HRESULT STDMETHODCALLTYPE PropsSet(const wchar_t* _pwszName, const wchar_t* _pwszValue) override
    {
        return OptionSet(_pwszName, _pwszValue);
    }
    HRESULT STDMETHODCALLTYPE PropsGet(const wchar_t* _pwszName, BSTR* _pbsValue) override
    {
        return OptionGet(_pwszName, _pbsValue);
    }
    HRESULT STDMETHODCALLTYPE PropsNameGet(UINT _nIndex, BSTR* _pbsName) override
    {
        return OptionNameGet(_nIndex, _pbsName);
    }

    // IZFPersist
    HRESULT STDMETHODCALLTYPE PersistSaveToFile(const wchar_t* _pwszPath) override
    {
        return SaveToFile(_pwszPath);
    }
    HRESULT STDMETHODCALLTYPE PersistSaveToString(BSTR* _pbsDocument) override
    {
        return SaveToString("PersistSaveToString", eDocument_All, _pbsDocument);
    }
    HRESULT STDMETHODCALLTYPE PersistLoad(const wchar_t* _pwszPathOrDocument) override
    {
        return Load("PersistLoad", eDocument_All, _pwszPathOrDocument);
    }

    // IZKeys: its colours are the generation's
    HRESULT STDMETHODCALLTYPE KeysSaveToString(BSTR* _pbsDocument) override
    {
        return SaveToString("KeysSaveToString", eDocument_Keys, _pbsDocument);
    }
    HRESULT STDMETHODCALLTYPE KeysLoad(const wchar_t* _pwszPathOrDocument) override
    {
        return Load("KeysLoad", eDocument_Keys, _pwszPathOrDocument);
    }

protected:
    ~CZKeyerObject() override = default;

private:
    IUnknown* Self() final
    {
        return static_cast<IZFProcess*>(this);
    }
    void Destroy() final
    {
        delete this;
    }
    bool FinalRelease() final
    {
        return LastRelease();
    }
    HRESULT QueryOther(REFIID _iid, void** _ppvObject) override
    {
        return this->QueryBinder(_iid, _ppvObject);
    }
};
