#pragma once

#include "Base/ZLog.h"

/// Takes log lines and keeps none: their texts are made all the same. Uses no memory, and lives longer than its use.
class CNullSink : public IZLogSink
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** _ppvObject) override
    {
        *_ppvObject = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override
    {
        return 2;
    }
    ULONG STDMETHODCALLTYPE Release() override
    {
        return 1;
    }
    void STDMETHODCALLTYPE LogLine(int32_t, const char*) override
    {
    }
};
