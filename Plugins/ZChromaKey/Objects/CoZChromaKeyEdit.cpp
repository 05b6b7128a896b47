#include "ZChromaKey/Objects/CoZChromaKey.h"

#include "Base/ZAssert.h"
#include "Base/ZBorder.h"
#include "ZChromaKey/Keys/BlockMarks.h"
#include "ZChromaKey/Objects/CoZKey.h"
#include "ZChromaKey/Keys/KeyBuilder.h"

namespace
{

/// Hands out a reference to a frame; S_FALSE where there is none.
HRESULT HandOut(CZPtr<IZFFrame> _cpFrame, IZFFrame** _ppFrame)
{
    *_ppFrame = _cpFrame.Detach();
    return *_ppFrame ? S_OK : S_FALSE;
}

} // namespace

/// One edit at a time, inside the border: editing reads the key set, samples pixels and then sets it.
template <class Call> HRESULT CCoZChromaKey::Edit(const char* _pszOperation, Call&& _call) noexcept
{
    return ZBorder(_pszOperation, [&]() -> HRESULT {
        const std::lock_guard lock(m_mtxEdit);
        return _call();
    });
}

/// An edit that takes samples of the frame for keying into the key set.
template <class Sampling> HRESULT CCoZChromaKey::EditKeys(const char* _pszOperation, Sampling&& _sampling) noexcept
{
    CZPtr<IZFFrame> cpFrame; // let go of after the lock is released
    return Edit(_pszOperation, [&]() -> HRESULT {
        ZF_VID_PROPS vidProps = {};
        cpFrame = FrameForKeying(&vidProps);
        if (!cpFrame)
        {
            ZLog(eZLog_Error, "%hs: there is no frame to take keys from; set one with KeyFrameSet or send one in\n",
                 _pszOperation);
            return E_UNEXPECTED;
        }
        CKeyBuilder builder;
        builder.RawSet(m_keyState.KeyForSampling());
        const HRESULT hr = _sampling(&builder, cpFrame.Get());
        if (hr == S_OK)
            m_keyState.RawSet(builder.RawGet(), nullptr, Img_MatrixOf(vidProps));
        return hr;
    });
}

CZPtr<IZFFrame> CCoZChromaKey::KeyingFrame() const
{
    CZPtr<IZFFrame> cpFrameKeying;
    CZPtr<IZFFrame> cpFrameBG;
    m_keyState.KeyFramesGet(&cpFrameKeying, &cpFrameBG);
    return cpFrameKeying;
}

/// The frame set for keying, else the last input, and its properties. Empty where there is none that has any.
CZPtr<IZFFrame> CCoZChromaKey::FrameForKeying(ZF_VID_PROPS* _pVidProps) const
{
    CZPtr<IZFFrame> cpFrameKeying = KeyingFrame();
    if (!cpFrameKeying)
        return m_keyState.FrameGet(_pVidProps);
    if (FAILED(cpFrameKeying->VideoPropsGet(_pVidProps)))
        cpFrameKeying.Reset();
    return cpFrameKeying;
}

HRESULT CCoZChromaKey::KeyFrameSet(IZFFrame* _pZFrameKeyingOrNull, IZFFrame* _pZFrameBGOrNull)
{
    CZPtr<IZFFrame> cpFrameMarked; // what was held is let go of after the lock is released: its owner may call back
    CZPtr<IZFFrame> cpFrameKeying(_pZFrameKeyingOrNull);
    CZPtr<IZFFrame> cpFrameBG(_pZFrameBGOrNull);
    return Edit("CCoZChromaKey::KeyFrameSet", [&] {
        if (_pZFrameKeyingOrNull && _pZFrameKeyingOrNull == m_cpFrameMarked.Get())
            cpFrameKeying = KeyingFrame(); // handed out with marks on it, but keys are taken from the picture itself
        else
            std::swap(cpFrameMarked, m_cpFrameMarked);
        m_keyState.KeyFramesSwap(&cpFrameKeying, &cpFrameBG);
        return S_OK;
    });
}

HRESULT CCoZChromaKey::KeyFrameGet(IZFFrame** _ppZFrameRes, IZFFrame** _ppZFrameBG)
{
    return Edit("CCoZChromaKey::KeyFrameGet", [&]() -> HRESULT {
        if (_ppZFrameRes)
            *_ppZFrameRes = nullptr;
        if (_ppZFrameBG)
            *_ppZFrameBG = nullptr;
        if (!Z_VERIFY(_ppZFrameRes && _ppZFrameBG))
            return E_POINTER;
        CZPtr<IZFFrame> cpFrameKeying;
        CZPtr<IZFFrame> cpFrameBG;
        m_keyState.KeyFramesGet(&cpFrameKeying, &cpFrameBG);
        const HRESULT hrBG = HandOut(cpFrameBG, _ppZFrameBG);
        const HRESULT hrKeying = HandOut(m_cpFrameMarked ? m_cpFrameMarked : cpFrameKeying, _ppZFrameRes);
        return hrKeying == S_OK || hrBG == S_OK ? S_OK : S_FALSE;
    });
}

HRESULT CCoZChromaKey::KeyDetect(BSTR _bsProps)
{
    CZPtr<IZFFrame> cpFrameMarked; // the old one is let go of after the lock is released
    return EditKeys("CCoZChromaKey::KeyDetect", [&](CKeyBuilder* _pBuilder, IZFFrame* _pFrame) -> HRESULT {
        CKUtils::CK_DETECT_OPTIONS options;
        HRESULT hr = CKUtils::DetectOptions_Read(ZText_FromWide(_bsProps ? _bsProps : L""), &options);
        if (FAILED(hr))
            return hr;
        std::vector<CKUtils::CK_BLOCK> vecBlocks;
        hr = _pBuilder->Detect(_pFrame, options, options.bShowBlocks ? &vecBlocks : nullptr);
        std::swap(cpFrameMarked, m_cpFrameMarked);
        if (SUCCEEDED(hr) && options.bShowBlocks && FAILED(BlockMarks_Draw(_pFrame, vecBlocks, m_cpFrameMarked.Put())))
            ZLog(eZLog_Warning, "CCoZChromaKey::KeyDetect: the examined blocks cannot be shown on this frame\n");
        return hr;
    });
}

HRESULT CCoZChromaKey::KeyAddPoint(int32_t _nXPosPixels, int32_t _nYPosPixels)
{
    return EditKeys("CCoZChromaKey::KeyAddPoint", [&](CKeyBuilder* _pBuilder, IZFFrame* _pFrame) {
        return _pBuilder->AddPoint(_pFrame, _nXPosPixels, _nYPosPixels, false);
    });
}

HRESULT CCoZChromaKey::KeyExcludePoint(int32_t _nXPosPixels, int32_t _nYPosPixels)
{
    return EditKeys("CCoZChromaKey::KeyExcludePoint", [&](CKeyBuilder* _pBuilder, IZFFrame* _pFrame) {
        return _pBuilder->AddPoint(_pFrame, _nXPosPixels, _nYPosPixels, true);
    });
}

HRESULT CCoZChromaKey::KeyAddRect(int32_t _nX1PosPixels, int32_t _nY1PosPixels, int32_t _nX2PosPixels,
                                  int32_t _nY2PosPixels)
{
    return EditKeys("CCoZChromaKey::KeyAddRect", [&](CKeyBuilder* _pBuilder, IZFFrame* _pFrame) {
        return _pBuilder->AddRect(_pFrame, _nX1PosPixels, _nY1PosPixels, _nX2PosPixels, _nY2PosPixels, false);
    });
}

HRESULT CCoZChromaKey::KeyAdjustSet(eCK_Adjust _eAdjust, double _dblValue)
{
    return Edit("CCoZChromaKey::KeyAdjustSet",
                [&] { return m_keyState.AdjustSet(_eAdjust, _dblValue, MatrixForKeying()); });
}

HRESULT CCoZChromaKey::KeyAdjustGet(eCK_Adjust _eAdjust, double* _pdblValue)
{
    return ZBorder("CCoZChromaKey::KeyAdjustGet", [&]() -> HRESULT {
        if (!Z_VERIFY(_pdblValue))
            return E_POINTER;
        *_pdblValue = 0;
        return m_keyState.AdjustGet(_eAdjust, _pdblValue);
    });
}

HRESULT CCoZChromaKey::KeyStepBack(int32_t _nSteps)
{
    return Edit("CCoZChromaKey::KeyStepBack", [&]() -> HRESULT {
        if (!Z_VERIFY(_nSteps >= 0))
            return E_INVALIDARG;
        return m_keyState.Step(-_nSteps) > 0 ? S_OK : S_FALSE;
    });
}

HRESULT CCoZChromaKey::KeyStepFwd(int32_t _nSteps)
{
    return Edit("CCoZChromaKey::KeyStepFwd", [&]() -> HRESULT {
        if (!Z_VERIFY(_nSteps >= 0))
            return E_INVALIDARG;
        return m_keyState.Step(_nSteps) > 0 ? S_OK : S_FALSE;
    });
}

HRESULT CCoZChromaKey::KeyReset()
{
    return Edit("CCoZChromaKey::KeyReset", [&] {
        m_keyState.Reset();
        return S_OK;
    });
}

HRESULT CCoZChromaKey::KeyRawSet(const CHROMA_KEY_RAW* _pvzKey, const CK_ADJUST* _pKeyAdjust)
{
    return Edit("CCoZChromaKey::KeyRawSet", [&]() -> HRESULT {
        if (!Z_VERIFY(_pvzKey))
            return E_POINTER;
        m_keyState.RawSet(*_pvzKey, _pKeyAdjust, MatrixForKeying());
        return S_OK;
    });
}

HRESULT CCoZChromaKey::KeyRawGet(CHROMA_KEY_RAW* _pvzKey, CK_ADJUST* _pKeyAdjust)
{
    return ZBorder("CCoZChromaKey::KeyRawGet", [&]() -> HRESULT {
        if (!Z_VERIFY(_pvzKey || _pKeyAdjust))
            return E_POINTER;
        m_keyState.RawGet(_pvzKey, _pKeyAdjust);
        return S_OK;
    });
}

/// The matrix of the frame that keys are for: another type of theirs is computed with it.
std::optional<eZYMatrix> CCoZChromaKey::MatrixForKeying() const
{
    ZF_VID_PROPS vidProps = {};
    if (!FrameForKeying(&vidProps))
        return {};
    return Img_MatrixOf(vidProps);
}

HRESULT CCoZChromaKey::KeySet(IZKey* _pKeyObject)
{
    return Edit("CCoZChromaKey::KeySet", [&]() -> HRESULT {
        if (!Z_VERIFY(_pKeyObject))
            return E_POINTER;
        CHROMA_KEY_RAW key = {};
        const HRESULT hr = _pKeyObject->RawGet(&key);
        if (SUCCEEDED(hr))
            m_keyState.RawSet(key, nullptr, MatrixForKeying());
        return hr;
    });
}

HRESULT CCoZChromaKey::KeyGet(IZFFrame* _pZFrameForAdjustOrNull, IZKey** _ppKeyObject)
{
    CZPtr<IZFFrame> cpFrameMarked; // let go of after the lock is released
    CZPtr<IZFFrame> cpFrameKeying(_pZFrameForAdjustOrNull);
    return Edit("CCoZChromaKey::KeyGet", [&]() -> HRESULT {
        if (!Z_VERIFY(_ppKeyObject))
            return E_POINTER;
        *_ppKeyObject = nullptr;
        CZPtr<IZKey> cpKey;
        HRESULT hr = CCoZKey::Create(IID_IZKey, cpKey.PutVoid());
        CHROMA_KEY_RAW key;
        m_keyState.RawGet(&key, nullptr);
        if (SUCCEEDED(hr))
            hr = cpKey->RawSet(&key);
        if (FAILED(hr))
            return hr;
        if (_pZFrameForAdjustOrNull)
        {
            std::swap(cpFrameMarked, m_cpFrameMarked);
            CZPtr<IZFFrame> cpFrameOld;
            CZPtr<IZFFrame> cpFrameBG;
            m_keyState.KeyFramesGet(&cpFrameOld, &cpFrameBG);
            m_keyState.KeyFramesSwap(&cpFrameKeying, &cpFrameBG);
        }
        *_ppKeyObject = cpKey.Detach();
        return S_OK;
    });
}
