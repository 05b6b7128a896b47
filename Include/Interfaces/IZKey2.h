#pragma once

#include "Interfaces/ChromaKey2Types.h"
#include "Interfaces/IZFFrame.h"

/// A key set of the second generation that travels on its own: keys, protected colours, parameters.
///
/// Colours given as one number are 0xRRGGBB. Points and rectangles are in pixels of the frame, from its top left; a
/// colour is the middle of each channel there, so that stray pixels do not move it. All calls may come from any thread.
/// The first line of each method is its help text in the type library.
struct IZKey2 : public IDispatch
{
    /// Remove keys and protected colours; parameters to their defaults.
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    /// Add the colour around a point of a frame, as a key or as a protected colour.
    /// This and the next two: S_FALSE: that colour is there already; E_POINTER: no frame; E_INVALIDARG: outside it, no
    /// picture in memory, or a key without a hue (grey); E_UNEXPECTED: all sixteen are in use.
    virtual HRESULT STDMETHODCALLTYPE AddPoint(IZFFrame* _pZFrame, int32_t _nXPosPixels, int32_t _nYPosPixels,
                                               BOOL _bProtect) = 0;
    /// Add the colour of a rectangle of a frame, second corner not included.
    virtual HRESULT STDMETHODCALLTYPE AddRect(IZFFrame* _pZFrame, int32_t _nX1PosPixels, int32_t _nY1PosPixels,
                                              int32_t _nX2PosPixels, int32_t _nY2PosPixels, BOOL _bProtect) = 0;
    /// Add a colour.
    virtual HRESULT STDMETHODCALLTYPE AddColor(uint32_t _nRGB, BOOL _bProtect) = 0;
    /// Remove a key or a protected colour, counted from 0; those after it move up.
    /// E_INVALIDARG, here and below: there is none with that number.
    virtual HRESULT STDMETHODCALLTYPE Remove(int32_t _nIndex, BOOL _bProtected) = 0;
    /// Get the number of keys or of protected colours.
    virtual HRESULT STDMETHODCALLTYPE CountGet(BOOL _bProtected, int32_t* _pnCount) = 0;
    /// Get the colour of a key or a protected colour, rounded.
    virtual HRESULT STDMETHODCALLTYPE ColorGet(int32_t _nIndex, BOOL _bProtected, uint32_t* _pnRGB) = 0;
    /// Set a range of a key or of a protected colour: hue in degrees to 180, saturation and value to 1.
    /// E_INVALIDARG: a number outside; the log says the range.
    virtual HRESULT STDMETHODCALLTYPE RangeSet(int32_t _nIndex, eRange _eRange, double _dblHue, double _dblSaturation,
                                               double _dblValue) = 0;
    /// Get a range of a key or of a protected colour.
    virtual HRESULT STDMETHODCALLTYPE RangeGet(int32_t _nIndex, eRange _eRange, double* _pdblHue,
                                               double* _pdblSaturation, double* _pdblValue) = 0;
    /// Set a parameter by its name.
    /// E_INVALIDARG: no such parameter, or a value outside its range; the log says which there are. S_FALSE: it has
    /// that value already.
    virtual HRESULT STDMETHODCALLTYPE ParamSet(BSTR _bsName, double _dblValue) = 0;
    /// Get a parameter by its name.
    virtual HRESULT STDMETHODCALLTYPE ParamGet(BSTR _bsName, double* _pdblValue) = 0;
    /// Set all from a structure.
    /// E_INVALIDARG: another size, a number outside its range, or a key that is grey; the log says which, and nothing
    /// has changed.
    virtual HRESULT STDMETHODCALLTYPE RawSet(const CHROMA_KEY2_RAW* _pKey) = 0;
    /// Get all as a structure.
    virtual HRESULT STDMETHODCALLTYPE RawGet(CHROMA_KEY2_RAW* _pKey) = 0;
};
Z_INTERFACE_ID(IZKey2, 0xfaaa2238, 0x8b59, 0x404f, 0xb0, 0x35, 0x51, 0xed, 0xc8, 0x4b, 0x19, 0xbb)
