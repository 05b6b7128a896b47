#pragma once

#include "Interfaces/ZPlatform.h"

/// How much is logged: each level includes those before it.
enum eZLogLevel : int32_t
{
    eZLog_Off = 0,
    eZLog_Error = 1,
    eZLog_Warning = 2,
    eZLog_Info = 3,
    eZLog_Verbose = 4,
};

/// Where a host receives log lines. Called from any thread, also while the plug-in holds locks: take the text and
/// return, never call back.
struct IZLogSink : public IUnknown
{
    /// _eLevel: eZLogLevel of this line; _pszText: UTF-8, without the line end, valid during the call.
    virtual void STDMETHODCALLTYPE LogLine(int32_t _eLevel, const char* _pszText) = 0;
};
Z_INTERFACE_ID(IZLogSink, 0x9a1e40b4, 0x5815, 0x4a99, 0x99, 0xe2, 0xd1, 0x53, 0x64, 0xc7, 0xa5, 0x00)

/// What every plug-in object has.
struct IZPlugin : public IUnknown
{
    /// Name and version as strings the caller frees.
    virtual HRESULT STDMETHODCALLTYPE PluginInfoGet(BSTR* _pbsName, BSTR* _pbsVersion) = 0;
    /// Sets the sink and level of the whole module: of all objects there are in this process, whichever one is asked,
    /// and it stays when that one is released. Null goes back to the default (errors and warnings to standard error, on
    /// Windows to the debugger); do that before the sink's code is unloaded. _eLevel: eZLogLevel; E_INVALIDARG: another
    /// number.
    virtual HRESULT STDMETHODCALLTYPE LogSet(IZLogSink* _pSinkOrNull, int32_t _eLevel) = 0;
    /// Stops the threads and gives back frames and processors, the frames that were set as well. The object can be used
    /// again afterwards. Z_E_TIMEOUT: a frame under way has not come to its end within ten seconds; the rest is given
    /// back when it does.
    virtual HRESULT STDMETHODCALLTYPE Close() = 0;
};
Z_INTERFACE_ID(IZPlugin, 0x5d32fe61, 0x985f, 0x44e7, 0xaa, 0x09, 0x5e, 0xe8, 0x2b, 0xb2, 0x99, 0x76)
