#include "ZChromaKey/Objects/CoZChromaKey.h"

#include "Base/ZAssert.h"
#include "ZChromaKey/Config/ChromaKeyOptions.h"
#include "ZChromaKey/Keys/BlockMarks.h"
#include "ZChromaKey/Keys/KeyBuilder.h"
#include "ZChromaKey/Objects/CoZKey.h"
#include "ZChromaKey/Objects/EditLock.h"

#include <utility>

namespace
{

/// Hands out a reference to a frame; S_FALSE where there is none.
HRESULT HandOut(CZPtr<IZFFrame> _cpFrame, IZFFrame** _ppFrame)
{
    *_ppFrame = _cpFrame.Detach();
    return *_ppFrame ? S_OK : S_FALSE;
}

} // namespace

/// One edit at a time: editing reads the key set, samples pixels and then sets it.
template <class Call> HRESULT CCoZChromaKey::Edit(const char* _pszMethod, Call&& _call) noexcept
{
    return EditLock_Run(Method(_pszMethod), &m_lockEdit, _call);
}

/// An edit that takes samples of the frame for keying into the key set. Its methods are called before.
template <class Sampling> HRESULT CCoZChromaKey::EditKeys(const char* _pszMethod, Sampling&& _sampling) noexcept
{
    CFrameSampler sampler; // lets go of the frame after the lock is released
    return ZBorder(Method(_pszMethod), [&]() -> HRESULT {
        const CZPtr<IZFFrame> cpFrame = m_keyState.FrameForKeying();
        if (!cpFrame)
        {
            ZLog(eZLog_Error,
                 "CCoZChromaKey::%hs: there is no frame to take keys from; set one with KeyFrameSet or send one in\n",
                 _pszMethod);
            return E_UNEXPECTED;
        }
        const HRESULT hr = sampler.Open(cpFrame.Get(), ChromaKeyOptions_YUV(Store()));
        return FAILED(hr) ? hr : Edit(_pszMethod, [&] { return KeysSample(&sampler, _sampling); });
    });
}

template <class Sampling> HRESULT CCoZChromaKey::KeysSample(CFrameSampler* _pSampler, Sampling&& _sampling)
{
    CKeyBuilder builder;
    builder.RawSet(m_keyState.KeyForSampling());
    const HRESULT hr = _sampling(&builder, _pSampler);
    return hr == S_OK ? m_keyState.RawSet(builder.RawGet(), nullptr, _pSampler->Matrix()) : hr;
}

std::optional<eZYMatrix> CCoZChromaKey::MatrixForKeying()
{
    return m_keyState.MatrixForKeying(ChromaKeyOptions_YUV(Store()));
}

HRESULT CCoZChromaKey::KeyFrameSet(IZFFrame* _pZFrameKeyingOrNull, IZFFrame* _pZFrameBGOrNull)
{
    KEY_FRAMES framesSet; // takes along what was set, to be let go of after the lock is released
    framesSet.cpKeying = CZPtr<IZFFrame>(_pZFrameKeyingOrNull);
    framesSet.cpBG = CZPtr<IZFFrame>(_pZFrameBGOrNull);
    return ZBorder(Method("KeyFrameSet"), [&]() -> HRESULT {
        // Read here, once: edits ask no frame for anything while they hold a lock.
        const HRESULT hr = _pZFrameKeyingOrNull ? _pZFrameKeyingOrNull->VideoPropsGet(&framesSet.vidPropsKeying) : S_OK;
        if (FAILED(hr))
        {
            ZLog(eZLog_Error, "CCoZChromaKey::KeyFrameSet: the frame has no video properties, hr=%08X\n", hr);
            return hr;
        }
        m_keyState.FramesChange([&](KEY_FRAMES* _pFrames) {
            std::swap(_pFrames->cpBG, framesSet.cpBG);
            if (_pZFrameKeyingOrNull && _pZFrameKeyingOrNull == _pFrames->cpMarked.Get())
                return; // handed out with marks on it, but keys are taken from the picture itself
            std::swap(_pFrames->cpMarked, framesSet.cpMarked);
            std::swap(_pFrames->cpKeying, framesSet.cpKeying);
            _pFrames->vidPropsKeying = framesSet.vidPropsKeying;
        });
        return S_OK;
    });
}

HRESULT CCoZChromaKey::KeyFrameGet(IZFFrame** _ppZFrameRes, IZFFrame** _ppZFrameBG)
{
    return ZBorder(Method("KeyFrameGet"), [&]() -> HRESULT {
        if (_ppZFrameRes)
            *_ppZFrameRes = nullptr;
        if (_ppZFrameBG)
            *_ppZFrameBG = nullptr;
        if (!Z_VERIFY(_ppZFrameRes && _ppZFrameBG))
            return E_POINTER;
        const KEY_FRAMES frames = m_keyState.FramesGet();
        const HRESULT hrBG = HandOut(frames.cpBG, _ppZFrameBG);
        const HRESULT hrKeying = HandOut(frames.cpMarked ? frames.cpMarked : frames.cpKeying, _ppZFrameRes);
        return hrKeying == S_OK || hrBG == S_OK ? S_OK : S_FALSE;
    });
}

HRESULT CCoZChromaKey::KeyDetect(BSTR _bsProps)
{
    CKUtils::CK_DETECT_OPTIONS options;
    std::vector<CKUtils::CK_BLOCK> vecBlocks;
    CZPtr<IZFFrame> cpFrame;
    const HRESULT hr = EditKeys("KeyDetect", [&](CKeyBuilder* _pBuilder, CFrameSampler* _pSampler) -> HRESULT {
        HRESULT hrRead = KeyerOptions_Detection(Store(), &options);
        if (SUCCEEDED(hrRead))
            hrRead = CKUtils::DetectOptions_Read(ZText_FromWide(_bsProps ? _bsProps : L""), &options);
        if (FAILED(hrRead))
            return hrRead;
        cpFrame = _pSampler->Frame();
        return _pBuilder->Detect(_pSampler, options, options.bShowBlocks ? &vecBlocks : nullptr);
    });
    return cpFrame ? ZBorder(Method("KeyDetect"), [&] { return BlocksShow(hr, cpFrame.Get(), options, vecBlocks); })
                   : hr;
}

/// Puts the frame with the examined blocks, where they are asked for, in the place of what was shown before. Answers
/// what detection has answered.
HRESULT CCoZChromaKey::BlocksShow(HRESULT _hr, IZFFrame* _pFrame, const CKUtils::CK_DETECT_OPTIONS& _options,
                                  const std::vector<CKUtils::CK_BLOCK>& _vecBlocks)
{
    CZPtr<IZFFrame> cpMarked; // takes the old one along, to be let go of after the lock is released
    if (SUCCEEDED(_hr) && _options.bShowBlocks && FAILED(BlockMarks_Draw(_pFrame, _vecBlocks, cpMarked.Put())))
        ZLog(eZLog_Warning, "CCoZChromaKey::KeyDetect: the examined blocks cannot be shown on this frame\n");
    m_keyState.FramesChange([&](KEY_FRAMES* _pFrames) { std::swap(_pFrames->cpMarked, cpMarked); });
    return _hr;
}

HRESULT CCoZChromaKey::KeyAddPoint(int32_t _nXPosPixels, int32_t _nYPosPixels)
{
    return EditKeys("KeyAddPoint", [&](CKeyBuilder* _pBuilder, CFrameSampler* _pSampler) {
        return _pBuilder->AddPoint(_pSampler, _nXPosPixels, _nYPosPixels, false);
    });
}

HRESULT CCoZChromaKey::KeyExcludePoint(int32_t _nXPosPixels, int32_t _nYPosPixels)
{
    return EditKeys("KeyExcludePoint", [&](CKeyBuilder* _pBuilder, CFrameSampler* _pSampler) {
        return _pBuilder->AddPoint(_pSampler, _nXPosPixels, _nYPosPixels, true);
    });
}

HRESULT CCoZChromaKey::KeyAddRect(int32_t _nX1PosPixels, int32_t _nY1PosPixels, int32_t _nX2PosPixels,
                                  int32_t _nY2PosPixels)
{
    return EditKeys("KeyAddRect", [&](CKeyBuilder* _pBuilder, CFrameSampler* _pSampler) {
        return _pBuilder->AddRect(_pSampler, _nX1PosPixels, _nY1PosPixels, _nX2PosPixels, _nY2PosPixels, false);
    });
}

/// A colour is measured as in the frame for keying, if there is one, so that it keys what it was read from there.
HRESULT CCoZChromaKey::ColorAdd(const char* _pszMethod, uint32_t _nRGB, bool _bExclude) noexcept
{
    return Edit(_pszMethod, [&] {
        const std::optional<eZYMatrix> eMatrix = MatrixForKeying();
        CKeyBuilder builder;
        builder.RawSet(m_keyState.KeyForSampling());
        const HRESULT hr = builder.AddColor(_nRGB, eMatrix.value_or(eZYM_601), _bExclude);
        return hr == S_OK ? m_keyState.RawSet(builder.RawGet(), nullptr, eMatrix) : hr;
    });
}

HRESULT CCoZChromaKey::KeyAddColor(uint32_t _nRGB)
{
    return ColorAdd("KeyAddColor", _nRGB, false);
}

HRESULT CCoZChromaKey::KeyProtectColor(uint32_t _nRGB)
{
    return ColorAdd("KeyProtectColor", _nRGB, true);
}

HRESULT CCoZChromaKey::KeyAdjustSet(eCK_Adjust _eAdjust, double _dblValue)
{
    return Edit("KeyAdjustSet", [&] { return m_keyState.AdjustSet(_eAdjust, _dblValue, MatrixForKeying()); });
}

HRESULT CCoZChromaKey::KeyAdjustGet(eCK_Adjust _eAdjust, double* _pdblValue)
{
    return ZBorder(Method("KeyAdjustGet"), [&]() -> HRESULT {
        if (!Z_VERIFY(_pdblValue))
            return E_POINTER;
        *_pdblValue = 0;
        return m_keyState.AdjustGet(_eAdjust, _pdblValue);
    });
}

HRESULT CCoZChromaKey::Step(const char* _pszMethod, int32_t _nSteps, int _nSign, int32_t* _pnDone) noexcept
{
    return Edit(_pszMethod, [&]() -> HRESULT {
        if (!Z_VERIFY(_pnDone))
            return E_POINTER;
        *_pnDone = 0;
        if (!Z_VERIFY(_nSteps >= 0))
            return E_INVALIDARG;
        return m_keyState.Step(_nSign * _nSteps, _pnDone);
    });
}

HRESULT CCoZChromaKey::KeyStepBack(int32_t _nSteps)
{
    int32_t nDone = 0;
    const HRESULT hr = Step("KeyStepBack", _nSteps, -1, &nDone);
    return hr == S_OK && nDone == 0 ? S_FALSE : hr;
}

HRESULT CCoZChromaKey::KeyStepFwd(int32_t _nSteps)
{
    int32_t nDone = 0;
    const HRESULT hr = Step("KeyStepFwd", _nSteps, 1, &nDone);
    return hr == S_OK && nDone == 0 ? S_FALSE : hr;
}

HRESULT CCoZChromaKey::StepBack(int32_t _nSteps, int32_t* _pnDone)
{
    return Step("StepBack", _nSteps, -1, _pnDone);
}

HRESULT CCoZChromaKey::StepFwd(int32_t _nSteps, int32_t* _pnDone)
{
    return Step("StepFwd", _nSteps, 1, _pnDone);
}

HRESULT CCoZChromaKey::StepsBack(int32_t* _pnSteps)
{
    return ZBorder(Method("StepsBack"), [&]() -> HRESULT {
        if (!Z_VERIFY(_pnSteps))
            return E_POINTER;
        *_pnSteps = m_keyState.StepsBack();
        return S_OK;
    });
}

HRESULT CCoZChromaKey::StepsFwd(int32_t* _pnSteps)
{
    return ZBorder(Method("StepsFwd"), [&]() -> HRESULT {
        if (!Z_VERIFY(_pnSteps))
            return E_POINTER;
        *_pnSteps = m_keyState.StepsFwd();
        return S_OK;
    });
}

HRESULT CCoZChromaKey::GroupBegin()
{
    return Edit("GroupBegin", [&] {
        m_keyState.GroupBegin();
        return S_OK;
    });
}

HRESULT CCoZChromaKey::GroupEnd()
{
    return Edit("GroupEnd", [&] { return m_keyState.GroupEnd(); });
}

HRESULT CCoZChromaKey::KeyReset()
{
    return Edit("KeyReset", [&] {
        m_keyState.Reset();
        return S_OK;
    });
}

HRESULT CCoZChromaKey::KeyRawSet(const CHROMA_KEY_RAW* _pvzKey, const CK_ADJUST* _pKeyAdjust)
{
    return Edit("KeyRawSet", [&]() -> HRESULT {
        if (!Z_VERIFY(_pvzKey))
            return E_POINTER;
        return m_keyState.RawSet(*_pvzKey, _pKeyAdjust, MatrixForKeying());
    });
}

HRESULT CCoZChromaKey::KeyRawGet(CHROMA_KEY_RAW* _pvzKey, CK_ADJUST* _pKeyAdjust)
{
    return ZBorder(Method("KeyRawGet"), [&]() -> HRESULT {
        if (!Z_VERIFY(_pvzKey || _pKeyAdjust))
            return E_POINTER;
        m_keyState.RawGet(_pvzKey, _pKeyAdjust);
        return S_OK;
    });
}

HRESULT CCoZChromaKey::KeySet(IZKey* _pKeyObject)
{
    return ZBorder(Method("KeySet"), [&]() -> HRESULT {
        if (!Z_VERIFY(_pKeyObject))
            return E_POINTER;
        CHROMA_KEY_RAW key = {};
        const HRESULT hr = _pKeyObject->RawGet(&key); // before the lock: it may be the host's
        return FAILED(hr) ? hr : KeyRawSet(&key, nullptr);
    });
}

HRESULT CCoZChromaKey::KeyGet(IZFFrame* _pZFrameForAdjustOrNull, IZKey** _ppKeyObject)
{
    return ZBorder(Method("KeyGet"), [&]() -> HRESULT {
        if (!Z_VERIFY(_ppKeyObject))
            return E_POINTER;
        *_ppKeyObject = nullptr;
        ZF_VID_PROPS vidProps = {};
        HRESULT hr = _pZFrameForAdjustOrNull ? _pZFrameForAdjustOrNull->VideoPropsGet(&vidProps) : S_OK;
        if (FAILED(hr))
        {
            ZLog(eZLog_Error, "CCoZChromaKey::KeyGet: the frame has no video properties, hr=%08X\n", hr);
            return hr;
        }
        CHROMA_KEY_RAW key;
        m_keyState.RawGet(&key, nullptr,
                          _pZFrameForAdjustOrNull ? std::optional(Img_MatrixOf(vidProps, ChromaKeyOptions_YUV(Store())))
                                                  : std::nullopt);
        CZPtr<IZKey> cpKey;
        hr = CCoZKey::Create(IID_IZKey, cpKey.PutVoid());
        if (SUCCEEDED(hr))
            hr = cpKey->RawSet(&key);
        if (SUCCEEDED(hr))
            *_ppKeyObject = cpKey.Detach();
        return hr;
    });
}
