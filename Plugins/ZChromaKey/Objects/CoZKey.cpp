#include "ZChromaKey/Objects/CoZKey.h"

#include "Base/ZAssert.h"
#include "Base/ZBorder.h"
#include "Base/ZPtr.h"

HRESULT CCoZKey::Create(REFIID _iid, void** _ppvObject)
{
    const auto cpObject = CZPtr<IZKey>::Adopt(new CCoZKey);
    return cpObject->QueryInterface(_iid, _ppvObject);
}

/// Runs a call on the builder under the lock, inside the border.
template <class Call> HRESULT CCoZKey::Locked(const char* _pszOperation, Call&& _call) noexcept
{
    return ZBorder(_pszOperation, [&]() -> HRESULT {
        const std::lock_guard lock(m_mtxKeys);
        return _call();
    });
}

HRESULT CCoZKey::TypeSet(eCK_Type _eType)
{
    return Locked("CCoZKey::TypeSet", [&] { return m_builder.TypeSet(_eType); });
}

HRESULT CCoZKey::TypeGet(eCK_Type* _peType)
{
    return Locked("CCoZKey::TypeGet", [&] {
        if (!Z_VERIFY(_peType))
            return E_POINTER;
        *_peType = m_builder.TypeGet();
        return S_OK;
    });
}

HRESULT CCoZKey::Reset()
{
    return Locked("CCoZKey::Reset", [&] {
        m_builder.Reset();
        return S_OK;
    });
}

HRESULT CCoZKey::AddPoint(IZFFrame* _pZFrame, int32_t _nXPosPixels, int32_t _nYPosPixels, BOOL _bExclude)
{
    return Locked("CCoZKey::AddPoint",
                  [&] { return m_builder.AddPoint(_pZFrame, _nXPosPixels, _nYPosPixels, _bExclude != FALSE); });
}

HRESULT CCoZKey::AddRect(IZFFrame* _pZFrame, int32_t _nX1PosPixels, int32_t _nY1PosPixels, int32_t _nX2PosPixels,
                         int32_t _nY2PosPixels, BOOL _bExclude)
{
    return Locked("CCoZKey::AddRect", [&] {
        return m_builder.AddRect(_pZFrame, _nX1PosPixels, _nY1PosPixels, _nX2PosPixels, _nY2PosPixels,
                                 _bExclude != FALSE);
    });
}

HRESULT CCoZKey::Detect(IZFFrame* _pZFrame, BSTR _bsProps)
{
    return Locked("CCoZKey::Detect", [&] {
        CKUtils::CK_DETECT_OPTIONS options;
        const HRESULT hr = CKUtils::DetectOptions_Read(ZText_FromWide(_bsProps ? _bsProps : L""), &options);
        return FAILED(hr) ? hr : m_builder.Detect(_pZFrame, options);
    });
}

HRESULT CCoZKey::MaxKeysSet(int32_t _nMaxKeys, BOOL _bExclude)
{
    return Locked("CCoZKey::MaxKeysSet", [&] {
        m_builder.MaxKeysSet(_nMaxKeys, _bExclude != FALSE);
        return S_OK;
    });
}

HRESULT CCoZKey::KeysCountGet(BOOL _bExclude, int32_t* _pnKeys)
{
    return Locked("CCoZKey::KeysCountGet", [&] {
        if (!Z_VERIFY(_pnKeys))
            return E_POINTER;
        *_pnKeys = m_builder.KeysCount(_bExclude != FALSE);
        return S_OK;
    });
}

HRESULT CCoZKey::RawSet(const CHROMA_KEY_RAW* _pKey)
{
    return Locked("CCoZKey::RawSet", [&] {
        if (!Z_VERIFY(_pKey))
            return E_POINTER;
        m_builder.RawSet(*_pKey);
        return S_OK;
    });
}

HRESULT CCoZKey::RawGet(CHROMA_KEY_RAW* _pKey)
{
    return Locked("CCoZKey::RawGet", [&] {
        if (!Z_VERIFY(_pKey))
            return E_POINTER;
        *_pKey = m_builder.RawGet();
        return S_OK;
    });
}
