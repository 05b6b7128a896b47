#include "ZChromaKey/Objects/CoZKey.h"

#include "Base/ZAssert.h"
#include "Base/ZBorder.h"
#include "Base/ZPtr.h"
#include "ZChromaKey/Keys/KeyCheck.h"
#include "ZChromaKey/Objects/EditLock.h"

namespace
{

constexpr const char* c_pszKeyClass = "CCoZKey";

} // namespace

HRESULT CCoZKey::Create(REFIID _iid, void** _ppvObject)
{
    const auto cpObject = CZPtr<IZKey>::Adopt(new CCoZKey);
    return cpObject->QueryInterface(_iid, _ppvObject);
}

/// Runs a call on the builder under the lock.
template <class Call> HRESULT CCoZKey::Locked(const char* _pszMethod, Call&& _call) noexcept
{
    return EditLock_Run({c_pszKeyClass, _pszMethod}, &m_lockKeys, _call);
}

/// The same for samples of a frame, whose methods are called before.
template <class Sampling>
HRESULT CCoZKey::Sampled(const char* _pszMethod, IZFFrame* _pFrame, Sampling&& _sampling) noexcept
{
    CFrameSampler sampler; // lets go of the frame after the lock is released
    return ZBorder({c_pszKeyClass, _pszMethod}, [&] {
        const HRESULT hr = sampler.Open(_pFrame);
        return FAILED(hr) ? hr : Locked(_pszMethod, [&] { return _sampling(&sampler); });
    });
}

HRESULT CCoZKey::TypeSet(eCK_Type _eType)
{
    return Locked("TypeSet", [&] { return m_builder.TypeSet(_eType); });
}

HRESULT CCoZKey::TypeGet(eCK_Type* _peType)
{
    return Locked("TypeGet", [&] {
        if (!Z_VERIFY(_peType))
            return E_POINTER;
        *_peType = m_builder.TypeGet();
        return S_OK;
    });
}

HRESULT CCoZKey::Reset()
{
    return Locked("Reset", [&] {
        m_builder.Reset();
        return S_OK;
    });
}

HRESULT CCoZKey::AddPoint(IZFFrame* _pZFrame, int32_t _nXPosPixels, int32_t _nYPosPixels, BOOL _bExclude)
{
    return Sampled("AddPoint", _pZFrame, [&](CFrameSampler* _pSampler) {
        return m_builder.AddPoint(_pSampler, _nXPosPixels, _nYPosPixels, _bExclude != FALSE);
    });
}

HRESULT CCoZKey::AddRect(IZFFrame* _pZFrame, int32_t _nX1PosPixels, int32_t _nY1PosPixels, int32_t _nX2PosPixels,
                         int32_t _nY2PosPixels, BOOL _bExclude)
{
    return Sampled("AddRect", _pZFrame, [&](CFrameSampler* _pSampler) {
        return m_builder.AddRect(_pSampler, _nX1PosPixels, _nY1PosPixels, _nX2PosPixels, _nY2PosPixels,
                                 _bExclude != FALSE);
    });
}

HRESULT CCoZKey::Detect(IZFFrame* _pZFrame, BSTR _bsProps)
{
    return Sampled("Detect", _pZFrame, [&](CFrameSampler* _pSampler) {
        CKUtils::CK_DETECT_OPTIONS options;
        const HRESULT hr = CKUtils::DetectOptions_Read(ZText_FromWide(_bsProps ? _bsProps : L""), &options);
        return FAILED(hr) ? hr : m_builder.Detect(_pSampler, options);
    });
}

HRESULT CCoZKey::MaxKeysSet(int32_t _nMaxKeys, BOOL _bExclude)
{
    return Locked("MaxKeysSet", [&] {
        m_builder.MaxKeysSet(_nMaxKeys, _bExclude != FALSE);
        return S_OK;
    });
}

HRESULT CCoZKey::KeysCountGet(BOOL _bExclude, int32_t* _pnKeys)
{
    return Locked("KeysCountGet", [&] {
        if (!Z_VERIFY(_pnKeys))
            return E_POINTER;
        *_pnKeys = m_builder.KeysCount(_bExclude != FALSE);
        return S_OK;
    });
}

HRESULT CCoZKey::RawSet(const CHROMA_KEY_RAW* _pKey)
{
    return Locked("RawSet", [&] {
        if (!Z_VERIFY(_pKey))
            return E_POINTER;
        if (!KeyCheck_Count(*_pKey))
            return E_INVALIDARG;
        m_builder.RawSet(*_pKey);
        return S_OK;
    });
}

HRESULT CCoZKey::RawGet(CHROMA_KEY_RAW* _pKey)
{
    return Locked("RawGet", [&] {
        if (!Z_VERIFY(_pKey))
            return E_POINTER;
        *_pKey = m_builder.RawGet();
        return S_OK;
    });
}
