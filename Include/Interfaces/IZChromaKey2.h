#pragma once

#include "Interfaces/ChromaKey2Types.h"
#include "Interfaces/IZFFrame.h"

struct IZKey2;

/// Key editing of the second generation's plug-in object. Points and rectangles are in pixels of the frame given with
/// FrameSet, else of the last input frame, counted from its top left; a colour is the middle of each channel there.
/// Colours given as one number are 0xRRGGBB. May be called from any thread while frames run; a change takes effect with
/// the next frame. The first line of each method is its help text in the type library.
///
/// Every change of keys, protected colours, parameters and regions is a step that can be taken back, but for "view" and
/// "learn": they say how the present is looked at, stay when steps are taken back, and are not saved. The steps are
/// those of IZSteps, which the objects of both generations have.
struct IZChromaKey2 : public IDispatch
{
    /// Find the backdrop of the frame and make it the key.
    /// S_FALSE: none was found; the log says why, and nothing has changed. E_UNEXPECTED: there is no frame.
    virtual HRESULT STDMETHODCALLTYPE KeyAuto() = 0;
    /// Add the colour around a point as a key; it takes the place of keys that were found.
    /// This and the next five: S_FALSE: that colour is there already; E_UNEXPECTED: there is no frame, or all sixteen
    /// are in use; E_INVALIDARG: outside the frame, no picture in memory, or a key without a hue (grey).
    virtual HRESULT STDMETHODCALLTYPE KeyAddPoint(int32_t _nXPosPixels, int32_t _nYPosPixels) = 0;
    /// Add the colour of a rectangle as a key, second corner not included.
    virtual HRESULT STDMETHODCALLTYPE KeyAddRect(int32_t _nX1PosPixels, int32_t _nY1PosPixels, int32_t _nX2PosPixels,
                                                 int32_t _nY2PosPixels) = 0;
    /// Add a colour as a key.
    virtual HRESULT STDMETHODCALLTYPE KeyAddColor(uint32_t _nRGB) = 0;
    /// Protect the colour around a point: it stays solid.
    virtual HRESULT STDMETHODCALLTYPE KeyProtectPoint(int32_t _nXPosPixels, int32_t _nYPosPixels) = 0;
    /// Protect the colour of a rectangle, second corner not included.
    virtual HRESULT STDMETHODCALLTYPE KeyProtectRect(int32_t _nX1PosPixels, int32_t _nY1PosPixels,
                                                     int32_t _nX2PosPixels, int32_t _nY2PosPixels) = 0;
    /// Protect a colour.
    virtual HRESULT STDMETHODCALLTYPE KeyProtectColor(uint32_t _nRGB) = 0;
    /// Remove a key or a protected colour, counted from 0; those after it move up.
    /// E_INVALIDARG: there is none with that number.
    virtual HRESULT STDMETHODCALLTYPE KeyRemove(int32_t _nIndex, BOOL _bProtected) = 0;
    /// Get the number of keys or of protected colours.
    virtual HRESULT STDMETHODCALLTYPE KeyCount(BOOL _bProtected, int32_t* _pnCount) = 0;
    /// Remove keys, protected colours and regions; parameters to their defaults.
    virtual HRESULT STDMETHODCALLTYPE KeyReset() = 0;
    /// Get keys, protected colours and parameters as an object of their own.
    /// The caller releases it.
    virtual HRESULT STDMETHODCALLTYPE KeyGet(IZKey2** _ppKeyObject) = 0;
    /// Set keys, protected colours and parameters from an object.
    virtual HRESULT STDMETHODCALLTYPE KeySet(IZKey2* _pKeyObject) = 0;
    /// Get keys, protected colours and parameters as a structure.
    virtual HRESULT STDMETHODCALLTYPE KeyRawGet(CHROMA_KEY2_RAW* _pKey) = 0;
    /// Set keys, protected colours and parameters from a structure.
    /// E_INVALIDARG: another size, a number outside its range, or a key that is grey; the log says which, and nothing
    /// has changed.
    virtual HRESULT STDMETHODCALLTYPE KeyRawSet(const CHROMA_KEY2_RAW* _pKey) = 0;

    /// Get a parameter by its name.
    virtual HRESULT STDMETHODCALLTYPE ParamGet(BSTR _bsName, double* _pdblValue) = 0;
    /// Set a parameter by its name. Calls for one parameter that follow each other within a second are one step.
    /// E_INVALIDARG: no such parameter, or a value outside its range; the log says which there are. S_FALSE: it has
    /// that value already.
    virtual HRESULT STDMETHODCALLTYPE ParamSet(BSTR _bsName, double _dblValue) = 0;
    /// Get the number of parameters.
    virtual HRESULT STDMETHODCALLTYPE ParamCount(int32_t* _pnCount) = 0;
    /// Get name, least, most and default value, unit and help of a parameter, counted from 0.
    /// The caller frees the strings. E_INVALIDARG: there is none with that number.
    virtual HRESULT STDMETHODCALLTYPE ParamInfo(int32_t _nIndex, BSTR* _pbsName, double* _pdblLeast, double* _pdblMost,
                                                double* _pdblDefault, BSTR* _pbsUnit, BSTR* _pbsHelp) = 0;

    /// Take back steps of editing; gets how many were taken.
    /// This and StepFwd: E_INVALIDARG: a negative number; E_UNEXPECTED: between GroupBegin and GroupEnd.
    virtual HRESULT STDMETHODCALLTYPE StepBack(int32_t _nSteps, int32_t* _pnDone) = 0;
    /// Make steps again that were taken back; gets how many were made.
    virtual HRESULT STDMETHODCALLTYPE StepFwd(int32_t _nSteps, int32_t* _pnDone) = 0;
    /// Get the number of steps that can be taken back.
    virtual HRESULT STDMETHODCALLTYPE StepsBack(int32_t* _pnSteps) = 0;
    /// Get the number of steps that can be made again.
    virtual HRESULT STDMETHODCALLTYPE StepsFwd(int32_t* _pnSteps) = 0;
    /// Begin a group: what happens until its GroupEnd is one step. Groups may lie in each other.
    virtual HRESULT STDMETHODCALLTYPE GroupBegin() = 0;
    /// End a group.
    /// E_UNEXPECTED: none was begun.
    virtual HRESULT STDMETHODCALLTYPE GroupEnd() = 0;

    /// Learn the backdrop plate, hold it, or begin it anew.
    virtual HRESULT STDMETHODCALLTYPE PlateLearn(eLearn _eLearn) = 0;
    /// Set a picture of the empty backdrop as the plate; none goes back to learning it.
    /// It is stretched to the frames and counts as seen in many of them; learning goes on from it unless it is held,
    /// and a cut or a flush returns to it. What does not look like a key is filled in from around. While no key is set,
    /// one is found in it. E_INVALIDARG: a frame without a picture in memory.
    virtual HRESULT STDMETHODCALLTYPE PlateSet(IZFFrame* _pZFramePlateOrNull) = 0;
    /// Get the backdrop plate as a picture (RGB32) of its own.
    /// The caller releases it; null and S_FALSE while there is none.
    virtual HRESULT STDMETHODCALLTYPE PlateGet(IZFFrame** _ppZFramePlate) = 0;
    /// Set a region: by a mask frame (white and opaque is inside), or by a polygon "x,y x,y x,y"; neither removes it.
    /// A mask is stretched to the frame. Polygons are saved with the keys, masks are not. E_INVALIDARG: no region, both
    /// at once, a frame without a picture in memory, or a text that is no polygon: the log says where and why.
    /// E_UNEXPECTED: a polygon, but no frame whose pixels it could count.
    virtual HRESULT STDMETHODCALLTYPE RegionSet(eRegion _eRegion, IZFFrame* _pZFrameMaskOrNull, BSTR _bsPolygon) = 0;
    /// Get a region as a mask frame (RGB8).
    /// The caller releases it; null and S_FALSE where there is none.
    virtual HRESULT STDMETHODCALLTYPE RegionGet(eRegion _eRegion, IZFFrame** _ppZFrameMask) = 0;
    /// Set what comes out.
    virtual HRESULT STDMETHODCALLTYPE ViewSet(eView _eView) = 0;
    /// Set the frame that points, rectangles and polygons refer to; none: the last input.
    /// Close lets go of it.
    virtual HRESULT STDMETHODCALLTYPE FrameSet(IZFFrame* _pZFrameOrNull) = 0;
    /// Get what is known of the last frame that was keyed, as a structure.
    /// S_FALSE and zeros before the first one.
    virtual HRESULT STDMETHODCALLTYPE StatsGet(CHROMA_KEY2_STATS* _pStats) = 0;
    /// Get one number of it: backdrop, mixed, solid, noise, milliseconds, plate_frames, cuts or keyed_on.
    virtual HRESULT STDMETHODCALLTYPE StatGet(BSTR _bsName, double* _pdblValue) = 0;
};
Z_INTERFACE_ID(IZChromaKey2, 0x7189ff8a, 0xf4c7, 0x4b4c, 0x83, 0xc6, 0xd9, 0x53, 0x2f, 0xcd, 0xbd, 0x8f)
