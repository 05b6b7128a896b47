#include "ZChromaKey/Objects/CoZChromaKey2.h"

#include "Base/ZAssert.h"
#include "Base/ZBorder.h"
#include "ZChromaKey/Config/ChromaKeyOptions.h"
#include "ZChromaKey/Config/Params2.h"
#include "ZChromaKey/Keys2/FramePick.h"
#include "ZChromaKey/Objects/CoZKey2.h"

#include <utility>

// Keys, parameters, steps.

namespace
{

std::string TextOf(BSTR _bsText)
{
    return ZText_FromWide(_bsText ? _bsText : L"");
}

} // namespace

/// Hands the frame that points refer to to a use, inside the border, while no lock is held.
template <class Use> HRESULT CCoZChromaKey2::WithFrame(const char* _pszMethod, Use&& _use) noexcept
{
    return ZBorder(Method(_pszMethod), [&]() -> HRESULT {
        const CZPtr<IZFFrame> cpFrame = m_keyState.FrameGet();
        if (cpFrame)
            return _use(cpFrame.Get());
        ZLog(eZLog_Error, "CCoZChromaKey2::%hs: there is no frame to look at; set one with FrameSet or send one in\n",
             _pszMethod);
        return E_UNEXPECTED;
    });
}

/// Hands a colour out of that frame to an edit.
template <class Pick> HRESULT CCoZChromaKey2::PickAdd(const char* _pszMethod,
                                                      HRESULT (CKeyState2::*_pfnAdd)(const KEY2_COLOR& _color),
                                                      Pick&& _pick) noexcept
{
    return WithFrame(_pszMethod, [&](IZFFrame* _pFrame) {
        KEY2_COLOR color = {};
        const HRESULT hr = _pick(_pFrame, &color);
        return FAILED(hr) ? hr : (m_keyState.*_pfnAdd)(color);
    });
}

HRESULT CCoZChromaKey2::KeyAuto()
{
    return WithFrame("KeyAuto", [&](IZFFrame* _pFrame) {
        IMG_PICTURE picture;
        HRESULT hr = FramePick_Picture(_pFrame, &picture, ChromaKeyOptions_YUV(Store()));
        UNMIX_COLOUR colour = {};
        std::string strReason;
        if (SUCCEEDED(hr))
            hr = m_engine.KeyFind(picture, &colour, &strReason);
        const KEY2_COLOR color = {colour.dblRed, colour.dblGreen, colour.dblBlue};
        if (hr == S_OK && KeySet2_HasHue(color))
        {
            m_hrNotFound = E_UNEXPECTED;
            return m_keyState.KeyFound(color);
        }
        if (hr == S_OK)
            strReason = ZFormat("R %g G %g B %g is too dark or too grey", color.dblRed, color.dblGreen, color.dblBlue);
        if (SUCCEEDED(hr)) // hosts search frame by frame until there is one: the same is said aloud once
            ZLog(m_hrNotFound.exchange(hr) == hr ? eZLog_Verbose : eZLog_Warning,
                 "CCoZChromaKey2::KeyAuto: no backdrop was found, the keys stay as they are: %hs\n", strReason);
        return SUCCEEDED(hr) ? S_FALSE : hr;
    });
}

HRESULT CCoZChromaKey2::KeyAddPoint(int32_t _nXPosPixels, int32_t _nYPosPixels)
{
    return PickAdd("KeyAddPoint", &CKeyState2::KeyAdd, [&](IZFFrame* _pFrame, KEY2_COLOR* _pColor) {
        return FramePick_Point(_pFrame, _nXPosPixels, _nYPosPixels, _pColor, ChromaKeyOptions_YUV(Store()));
    });
}

HRESULT CCoZChromaKey2::KeyAddRect(int32_t _nX1PosPixels, int32_t _nY1PosPixels, int32_t _nX2PosPixels,
                                   int32_t _nY2PosPixels)
{
    return PickAdd("KeyAddRect", &CKeyState2::KeyAdd, [&](IZFFrame* _pFrame, KEY2_COLOR* _pColor) {
        return FramePick_Rect(_pFrame, _nX1PosPixels, _nY1PosPixels, _nX2PosPixels, _nY2PosPixels, _pColor,
                              ChromaKeyOptions_YUV(Store()));
    });
}

HRESULT CCoZChromaKey2::KeyAddColor(uint32_t _nRGB)
{
    return ZBorder(Method("KeyAddColor"), [&] {
        return KeySet2_HasColor(m_keyState.RawGet(), _nRGB, false) ? S_FALSE : m_keyState.KeyAdd(KeySet2_Color(_nRGB));
    });
}

HRESULT CCoZChromaKey2::KeyProtectPoint(int32_t _nXPosPixels, int32_t _nYPosPixels)
{
    return PickAdd("KeyProtectPoint", &CKeyState2::ProtectAdd, [&](IZFFrame* _pFrame, KEY2_COLOR* _pColor) {
        return FramePick_Point(_pFrame, _nXPosPixels, _nYPosPixels, _pColor, ChromaKeyOptions_YUV(Store()));
    });
}

HRESULT CCoZChromaKey2::KeyProtectRect(int32_t _nX1PosPixels, int32_t _nY1PosPixels, int32_t _nX2PosPixels,
                                       int32_t _nY2PosPixels)
{
    return PickAdd("KeyProtectRect", &CKeyState2::ProtectAdd, [&](IZFFrame* _pFrame, KEY2_COLOR* _pColor) {
        return FramePick_Rect(_pFrame, _nX1PosPixels, _nY1PosPixels, _nX2PosPixels, _nY2PosPixels, _pColor,
                              ChromaKeyOptions_YUV(Store()));
    });
}

HRESULT CCoZChromaKey2::KeyProtectColor(uint32_t _nRGB)
{
    return ZBorder(Method("KeyProtectColor"), [&] {
        return KeySet2_HasColor(m_keyState.RawGet(), _nRGB, true) ? S_FALSE
                                                                  : m_keyState.ProtectAdd(KeySet2_Color(_nRGB));
    });
}

HRESULT CCoZChromaKey2::KeyRemove(int32_t _nIndex, BOOL _bProtected)
{
    return ZBorder(Method("KeyRemove"), [&] { return m_keyState.Remove(_nIndex, _bProtected != FALSE); });
}

HRESULT CCoZChromaKey2::KeyCount(BOOL _bProtected, int32_t* _pnCount)
{
    return ZBorder(Method("KeyCount"), [&]() -> HRESULT {
        if (!Z_VERIFY(_pnCount))
            return E_POINTER;
        const CHROMA_KEY2_RAW key = m_keyState.RawGet();
        *_pnCount = _bProtected ? key.nProtectedUsed : key.nKeysUsed;
        return S_OK;
    });
}

HRESULT CCoZChromaKey2::KeyReset()
{
    return ZBorder(Method("KeyReset"), [&] {
        m_keyState.Reset();
        return S_OK;
    });
}

HRESULT CCoZChromaKey2::KeyGet(IZKey2** _ppKeyObject)
{
    return ZBorder(Method("KeyGet"), [&]() -> HRESULT {
        if (!Z_VERIFY(_ppKeyObject))
            return E_POINTER;
        *_ppKeyObject = nullptr;
        CZPtr<IZKey2> cpKey;
        HRESULT hr = CCoZKey2::Create(IID_IZKey2, cpKey.PutVoid());
        const CHROMA_KEY2_RAW key = m_keyState.RawGet();
        if (SUCCEEDED(hr))
            hr = cpKey->RawSet(&key);
        if (SUCCEEDED(hr))
            *_ppKeyObject = cpKey.Detach();
        return hr;
    });
}

HRESULT CCoZChromaKey2::KeySet(IZKey2* _pKeyObject)
{
    return ZBorder(Method("KeySet"), [&]() -> HRESULT {
        if (!Z_VERIFY(_pKeyObject))
            return E_POINTER;
        CHROMA_KEY2_RAW key = {};
        const HRESULT hr = _pKeyObject->RawGet(&key);
        return FAILED(hr) ? hr : m_keyState.RawSet(key);
    });
}

HRESULT CCoZChromaKey2::KeyRawGet(CHROMA_KEY2_RAW* _pKey)
{
    return ZBorder(Method("KeyRawGet"), [&]() -> HRESULT {
        if (!Z_VERIFY(_pKey))
            return E_POINTER;
        *_pKey = m_keyState.RawGet();
        return S_OK;
    });
}

HRESULT CCoZChromaKey2::KeyRawSet(const CHROMA_KEY2_RAW* _pKey)
{
    return ZBorder(Method("KeyRawSet"), [&]() -> HRESULT {
        if (!Z_VERIFY(_pKey))
            return E_POINTER;
        return m_keyState.RawSet(*_pKey);
    });
}

HRESULT CCoZChromaKey2::ParamGet(BSTR _bsName, double* _pdblValue)
{
    return ZBorder(Method("ParamGet"), [&]() -> HRESULT {
        if (!Z_VERIFY(_pdblValue))
            return E_POINTER;
        *_pdblValue = 0;
        return KeySet2_ParamGet(m_keyState.RawGet(), TextOf(_bsName), _pdblValue);
    });
}

HRESULT CCoZChromaKey2::ParamSet(BSTR _bsName, double _dblValue)
{
    return ZBorder(Method("ParamSet"), [&] { return m_keyState.ParamSet(TextOf(_bsName), _dblValue); });
}

HRESULT CCoZChromaKey2::ParamCount(int32_t* _pnCount)
{
    return ZBorder(Method("ParamCount"), [&]() -> HRESULT {
        if (!Z_VERIFY(_pnCount))
            return E_POINTER;
        *_pnCount = static_cast<int32_t>(Params2_Table().size());
        return S_OK;
    });
}

HRESULT CCoZChromaKey2::ParamInfo(int32_t _nIndex, BSTR* _pbsName, double* _pdblLeast, double* _pdblMost,
                                  double* _pdblDefault, BSTR* _pbsUnit, BSTR* _pbsHelp)
{
    return ZBorder(Method("ParamInfo"), [&]() -> HRESULT {
        for (BSTR* const pbsOut : {_pbsName, _pbsUnit, _pbsHelp})
            if (pbsOut)
                *pbsOut = nullptr;
        if (!Z_VERIFY(_pbsName && _pdblLeast && _pdblMost && _pdblDefault && _pbsUnit && _pbsHelp))
            return E_POINTER;
        *_pdblLeast = *_pdblMost = *_pdblDefault = 0;
        const auto spanParams = Params2_Table();
        if (!Z_VERIFY(_nIndex >= 0 && static_cast<size_t>(_nIndex) < spanParams.size()))
            return E_INVALIDARG;
        const KEY2_PARAM& param = spanParams[static_cast<size_t>(_nIndex)];
        HRESULT hr = ZText_HandOut(param.pszName, _pbsName);
        if (SUCCEEDED(hr))
            hr = ZText_HandOut(param.pszUnit, _pbsUnit);
        if (SUCCEEDED(hr))
            hr = ZText_HandOut(Params2_Help(param), _pbsHelp);
        if (FAILED(hr))
        {
            SysFreeString(std::exchange(*_pbsName, nullptr));
            SysFreeString(std::exchange(*_pbsUnit, nullptr));
            return hr;
        }
        *_pdblLeast = param.dblLeast;
        *_pdblMost = param.dblMost;
        *_pdblDefault = param.dblDefault;
        return S_OK;
    });
}

HRESULT CCoZChromaKey2::Step(const char* _pszMethod, int32_t _nSteps, int _nSign, int32_t* _pnDone) noexcept
{
    return ZBorder(Method(_pszMethod), [&]() -> HRESULT {
        if (!Z_VERIFY(_pnDone))
            return E_POINTER;
        *_pnDone = 0;
        if (!Z_VERIFY(_nSteps >= 0))
            return E_INVALIDARG;
        return m_keyState.Step(_nSign * _nSteps, _pnDone);
    });
}

HRESULT CCoZChromaKey2::StepBack(int32_t _nSteps, int32_t* _pnDone)
{
    return Step("StepBack", _nSteps, -1, _pnDone);
}

HRESULT CCoZChromaKey2::StepFwd(int32_t _nSteps, int32_t* _pnDone)
{
    return Step("StepFwd", _nSteps, 1, _pnDone);
}

HRESULT CCoZChromaKey2::StepsBack(int32_t* _pnSteps)
{
    return ZBorder(Method("StepsBack"), [&]() -> HRESULT {
        if (!Z_VERIFY(_pnSteps))
            return E_POINTER;
        *_pnSteps = m_keyState.StepsBack();
        return S_OK;
    });
}

HRESULT CCoZChromaKey2::StepsFwd(int32_t* _pnSteps)
{
    return ZBorder(Method("StepsFwd"), [&]() -> HRESULT {
        if (!Z_VERIFY(_pnSteps))
            return E_POINTER;
        *_pnSteps = m_keyState.StepsFwd();
        return S_OK;
    });
}

HRESULT CCoZChromaKey2::GroupBegin()
{
    return ZBorder(Method("GroupBegin"), [&] {
        m_keyState.GroupBegin();
        return S_OK;
    });
}

HRESULT CCoZChromaKey2::GroupEnd()
{
    return ZBorder(Method("GroupEnd"), [&] { return m_keyState.GroupEnd(); });
}
