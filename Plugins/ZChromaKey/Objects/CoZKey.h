#pragma once

#include "Base/ZUnknown.h"
#include "Interfaces/IZKey.h"
#include "ZChromaKey/Keys/KeyBuilder.h"
#include "ZChromaKey/Com/LateBinding.h"
#include "Base/ZModuleRef.h"

#include <mutex>

/// The key-value object: IZKey over a key builder, under a lock.
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
    template <class Call> HRESULT Locked(const char* _pszOperation, Call&& _call) noexcept;

    CZModuleRef m_refModule;
    std::recursive_mutex m_mtxKeys; // a frame that is sampled may call back
    CKeyBuilder m_builder;
};
