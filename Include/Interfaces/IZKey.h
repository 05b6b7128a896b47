#pragma once

#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/IZFFrame.h"

/// A key set that travels on its own, and what it is built from: samples of frames, ordinary and excluded.
///
/// Samples are folded into at most sixteen keys. All calls may come from any thread.
struct IZKey : public IDispatch
{
    /// Set key type; keys taken so far are dropped when the type changes.
    /// E_INVALIDARG: not RGB, HLS, YUV or Auto.
    virtual HRESULT STDMETHODCALLTYPE TypeSet(eCK_Type _eType) = 0;
    /// Get key type.
    virtual HRESULT STDMETHODCALLTYPE TypeGet(eCK_Type* _peType) = 0;
    /// Remove all keys.
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    /// Sample the colour around a point of a frame (pixels from the top left).
    /// This and the other samples: E_POINTER: no frame; E_INVALIDARG: outside it, or it has no picture in memory.
    virtual HRESULT STDMETHODCALLTYPE AddPoint(IZFFrame* _pZFrame, int32_t _nXPosPixels, int32_t _nYPosPixels,
                                               BOOL _bExclude) = 0;
    /// Sample the colours in a rectangle of a frame (pixels from the top left, second corner not included).
    virtual HRESULT STDMETHODCALLTYPE AddRect(IZFFrame* _pZFrame, int32_t _nX1PosPixels, int32_t _nY1PosPixels,
                                              int32_t _nX2PosPixels, int32_t _nY2PosPixels, BOOL _bExclude) = 0;
    /// Find the backdrop of a frame; S_FALSE when there is none.
    /// _bsProps: "detect." options as "name=value" pairs; null or "" for the defaults. "max_keys" limits the keys of
    /// this detection, 1 to 16, without exclusion keys; with 0 it is one, or, with "fit", as many as the light asks
    /// for. MaxKeysSet limits those of the object.
    virtual HRESULT STDMETHODCALLTYPE Detect(IZFFrame* _pZFrame, BSTR _bsProps) = 0;
    /// Set the most keys of either kind, 1 to 16; sets that have more are merged down.
    /// Other numbers act as the nearest of these.
    virtual HRESULT STDMETHODCALLTYPE MaxKeysSet(int32_t _nMaxKeys, BOOL _bExclude) = 0;
    /// Get the number of keys of either kind.
    virtual HRESULT STDMETHODCALLTYPE KeysCountGet(BOOL _bExclude, int32_t* _pnKeys) = 0;
    /// Set keys and switches from a structure.
    /// E_INVALIDARG: not 0 to 16 keys; nothing has changed then.
    virtual HRESULT STDMETHODCALLTYPE RawSet(const CHROMA_KEY_RAW* _pKey) = 0;
    /// Get keys and switches as a structure.
    virtual HRESULT STDMETHODCALLTYPE RawGet(CHROMA_KEY_RAW* _pKey) = 0;
};
Z_INTERFACE_ID(IZKey, 0x3b041641, 0x1788, 0x44f2, 0xa6, 0x0d, 0xf2, 0x54, 0x53, 0xfe, 0x2e, 0x85)
