#pragma once

#include "Base/ZModuleRef.h"
#include "Base/ZTimedLock.h"
#include "Base/ZUnknown.h"
#include "Interfaces/IZKey.h"
#include "ZChromaKey/Com/LateBinding.h"
#include "ZChromaKey/Keys/KeyBuilder.h"

/// The key-value object: IZKey over a key builder, under a lock that no method of a host is called under.
class CCoZKey final : public CZUnknown<CZLateBinding<IZKey>>
{
public:
    static HRESULT Create(REFIID _iid, void** _ppvObject);

    // IZKey
    HRESULT STDMETHODCALLTYPE TypeSet(eCK_Type _eType) override;
    HRESULT STDMETHODCALLTYPE TypeGet(eCK_Type* _peType) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE AddPoint(IZFFrame* _pZFrame, int32_t _nXPosPixels, int32_t _nYPosPixels,
                                       BOOL _bExclude) override;
    HRESULT STDMETHODCALLTYPE AddRect(IZFFrame* _pZFrame, int32_t _nX1PosPixels, int32_t _nY1PosPixels,
                                      int32_t _nX2PosPixels, int32_t _nY2PosPixels, BOOL _bExclude) override;
    HRESULT STDMETHODCALLTYPE Detect(IZFFrame* _pZFrame, BSTR _bsProps) override;
    HRESULT STDMETHODCALLTYPE MaxKeysSet(int32_t _nMaxKeys, BOOL _bExclude) override;
    HRESULT STDMETHODCALLTYPE KeysCountGet(BOOL _bExclude, int32_t* _pnKeys) override;
    HRESULT STDMETHODCALLTYPE RawSet(const CHROMA_KEY_RAW* _pKey) override;
    HRESULT STDMETHODCALLTYPE RawGet(CHROMA_KEY_RAW* _pKey) override;

private:
    ~CCoZKey() override = default;
    HRESULT QueryOther(REFIID _iid, void** _ppvObject) override
    {
        return QueryBinder(_iid, _ppvObject);
    }
    template <class Call> HRESULT Locked(const char* _pszMethod, Call&& _call) noexcept;
    template <class Sampling> HRESULT Sampled(const char* _pszMethod, IZFFrame* _pFrame, Sampling&& _sampling) noexcept;

    CZModuleRef m_refModule;
    CZTimedLock m_lockKeys; // pixels of hosts are read under it
    CKeyBuilder m_builder;
};
