#pragma once

#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/IZFFrame.h"

struct IZKey;

/// Key editing of the chroma-key plug-in object. Points and rectangles are in pixels of the frame set for keying, else
/// of the last input frame, counted from its top left. May be called from any thread while frames run; a change takes
/// effect with the next frame. The first line of each method is its help text in the type library. Number of steps,
/// groups, and how many steps were really made: IZSteps.
struct IZChromaKey : public IDispatch
{
    /// Set frame for key detection and/or background.
    /// Null leaves that role without a frame of its own. The frame for keying is the one that keys are taken from; the
    /// background is kept for the host, which gets it back with KeyFrameGet, and has no effect. Both are let go of with
    /// the next call and with Close. Fails as VideoPropsGet of the frame for keying does, and changes nothing then.
    virtual HRESULT STDMETHODCALLTYPE KeyFrameSet(IZFFrame* _pZFrameKeyingOrNull, IZFFrame* _pZFrameBGOrNull) = 0;
    /// Get frame for key detection and background.
    /// The caller releases both; null and S_FALSE where there is none.
    virtual HRESULT STDMETHODCALLTYPE KeyFrameGet(IZFFrame** _ppZFrameRes, IZFFrame** _ppZFrameBG) = 0;
    /// Auto detect key
    /// _bsProps: "detect." options as "name=value" pairs, which go before those set through IZProps; null or "": these
    /// alone. "max_keys" limits the keys that are found, 1 to 16, without exclusion keys; with 0 it is one, or, with
    /// "fit", as many as the light on the backdrop asks for. S_FALSE: nothing found.
    virtual HRESULT STDMETHODCALLTYPE KeyDetect(BSTR _bsProps) = 0;
    /// Add point to key
    /// This and the other samples: E_UNEXPECTED: there is no frame; E_INVALIDARG: outside it.
    virtual HRESULT STDMETHODCALLTYPE KeyAddPoint(int32_t _nXPosPixels, int32_t _nYPosPixels) = 0;
    /// Exclude point from key
    virtual HRESULT STDMETHODCALLTYPE KeyExcludePoint(int32_t _nXPosPixels, int32_t _nYPosPixels) = 0;
    /// Add rect to key
    /// The corners in any order, the second one (right and bottom) not included: 0,0,8,8 are 64 pixels.
    virtual HRESULT STDMETHODCALLTYPE KeyAddRect(int32_t _nX1PosPixels, int32_t _nY1PosPixels, int32_t _nX2PosPixels,
                                                 int32_t _nY2PosPixels) = 0;
    /// Ajust keying propeties
    /// E_INVALIDARG: not an adjustment, or a value outside its range. S_FALSE: it has that value already. Calls for one
    /// adjustment that follow each other within a second are one step.
    virtual HRESULT STDMETHODCALLTYPE KeyAdjustSet(eCK_Adjust _eAdjust, double _dblValue) = 0;
    /// Get keying ajust propeties
    virtual HRESULT STDMETHODCALLTYPE KeyAdjustGet(eCK_Adjust _eAdjust, double* _pdblValue) = 0;
    /// Cancel last adjustement steps
    /// As many as there are. S_FALSE: none; E_INVALIDARG: a negative number; E_UNEXPECTED: between GroupBegin and
    /// GroupEnd of IZSteps. KeyStepFwd likewise.
    virtual HRESULT STDMETHODCALLTYPE KeyStepBack(int32_t _nSteps) = 0;
    /// Apply last adjustement steps (after step frwd)
    virtual HRESULT STDMETHODCALLTYPE KeyStepFwd(int32_t _nSteps) = 0;
    /// Reset key.
    virtual HRESULT STDMETHODCALLTYPE KeyReset() = 0;
    /// Set chroma-key via structure
    /// _pKeyAdjust may be null: the adjustments stay as they are. E_INVALIDARG: not 0 to 16 keys, or an adjustment that
    /// is no finite number; nothing has changed then.
    virtual HRESULT STDMETHODCALLTYPE KeyRawSet(const CHROMA_KEY_RAW* _pvzKey, const CK_ADJUST* _pKeyAdjust) = 0;
    /// Get chroma-key structure
    /// Either pointer may be null, not both.
    virtual HRESULT STDMETHODCALLTYPE KeyRawGet(CHROMA_KEY_RAW* _pvzKey, CK_ADJUST* _pKeyAdjust) = 0;
    /// Set chroma-key value structure
    virtual HRESULT STDMETHODCALLTYPE KeySet(IZKey* _pKeyObject) = 0;
    /// Get key value object, use last input frame or user-specifed key, for specify BG image use _bsProps =
    /// 'background='path''.
    /// _ppKeyObject: the caller releases it. The frame is the picture that the keys are for, where they came without
    /// one: after a change of type its size says which YUV they are computed with. Nothing of the plug-in changes.
    virtual HRESULT STDMETHODCALLTYPE KeyGet(IZFFrame* _pZFrameForAdjustOrNull, IZKey** _ppKeyObject) = 0;
};
Z_INTERFACE_ID(IZChromaKey, 0x142c8364, 0x7806, 0x4577, 0x93, 0xe7, 0x83, 0xe7, 0xeb, 0x04, 0xb3, 0x9b)
