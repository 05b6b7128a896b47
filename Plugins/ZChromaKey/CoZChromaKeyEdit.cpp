#include "ZChromaKey/CoZChromaKey.h"

#include "Base/ZBorder.h"

namespace
{

/// Nulls an out-pointer of a method that this build does not have.
template <class T> HRESULT NotYet(T** _ppResult)
{
    if (!_ppResult)
        return E_POINTER;
    *_ppResult = nullptr;
    return E_NOTIMPL;
}

} // namespace

HRESULT CCoZChromaKey::KeyReset()
{
    return ZBorder("CCoZChromaKey::KeyReset", [&]() -> HRESULT {
        m_keyState.Reset();
        return S_OK;
    });
}

HRESULT CCoZChromaKey::KeyRawSet(const CHROMA_KEY_RAW* _pvzKey, const CK_ADJUST* _pKeyAdjust)
{
    return ZBorder("CCoZChromaKey::KeyRawSet", [&]() -> HRESULT {
        if (!_pvzKey)
            return E_POINTER;
        m_keyState.RawSet(*_pvzKey, _pKeyAdjust);
        return S_OK;
    });
}

HRESULT CCoZChromaKey::KeyRawGet(CHROMA_KEY_RAW* _pvzKey, CK_ADJUST* _pKeyAdjust)
{
    return ZBorder("CCoZChromaKey::KeyRawGet", [&]() -> HRESULT {
        if (!_pvzKey && !_pKeyAdjust)
            return E_POINTER;
        m_keyState.RawGet(_pvzKey, _pKeyAdjust);
        return S_OK;
    });
}

HRESULT CCoZChromaKey::KeyFrameSet(IZFFrame*, IZFFrame*)
{
    return E_NOTIMPL;
}

HRESULT CCoZChromaKey::KeyFrameGet(IZFFrame** _ppZFrameRes, IZFFrame** _ppZFrameBG)
{
    const HRESULT hr = NotYet(_ppZFrameRes);
    return hr == E_POINTER ? hr : NotYet(_ppZFrameBG);
}

HRESULT CCoZChromaKey::KeyDetect(BSTR)
{
    return E_NOTIMPL;
}

HRESULT CCoZChromaKey::KeyAddPoint(int32_t, int32_t)
{
    return E_NOTIMPL;
}

HRESULT CCoZChromaKey::KeyExcludePoint(int32_t, int32_t)
{
    return E_NOTIMPL;
}

HRESULT CCoZChromaKey::KeyAddRect(int32_t, int32_t, int32_t, int32_t)
{
    return E_NOTIMPL;
}

HRESULT CCoZChromaKey::KeyAdjustSet(eCK_Adjust, double)
{
    return E_NOTIMPL;
}

HRESULT CCoZChromaKey::KeyAdjustGet(eCK_Adjust, double* _pdblValue)
{
    if (!_pdblValue)
        return E_POINTER;
    *_pdblValue = 0;
    return E_NOTIMPL;
}

HRESULT CCoZChromaKey::KeyStepBack(int32_t)
{
    return E_NOTIMPL;
}

HRESULT CCoZChromaKey::KeyStepFwd(int32_t)
{
    return E_NOTIMPL;
}

HRESULT CCoZChromaKey::KeySet(IZKey*)
{
    return E_NOTIMPL;
}

HRESULT CCoZChromaKey::KeyGet(IZFFrame*, IZKey** _ppKeyObject)
{
    return NotYet(_ppKeyObject);
}

HRESULT CCoZChromaKey::PersistSaveToFile(const wchar_t*)
{
    return E_NOTIMPL;
}

HRESULT CCoZChromaKey::PersistSaveToString(BSTR* _pbsDocument)
{
    return NotYet(_pbsDocument);
}

HRESULT CCoZChromaKey::PersistLoad(const wchar_t*)
{
    return E_NOTIMPL;
}

HRESULT CCoZChromaKey::GetTypeInfoCount(UINT* _pnInfos)
{
    if (!_pnInfos)
        return E_POINTER;
    *_pnInfos = 0;
    return E_NOTIMPL;
}

HRESULT CCoZChromaKey::GetTypeInfo(UINT, LCID, ITypeInfo** _ppInfo)
{
    return NotYet(_ppInfo);
}

HRESULT CCoZChromaKey::GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*)
{
    return E_NOTIMPL;
}

HRESULT CCoZChromaKey::Invoke(DISPID, REFIID, LCID, uint16_t, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*)
{
    return E_NOTIMPL;
}
