#pragma once

#include "Interfaces/ZPlatform.h"

/// Named texts on an object: the options of the plug-in, the "crop", "mirror" and "rotate" of a frame.
///
/// Names are dotted, case-sensitive, at most 256 characters. In-strings are null-terminated; a BSTR serves. Every
/// method may be called from any thread.
struct IZProps : public IUnknown
{
    /// Sets a value; null or "" removes it. E_POINTER: no name; E_INVALIDARG: an empty name, or a value that the
    /// object knows to be wrong for this name (the log says which values are right).
    virtual HRESULT STDMETHODCALLTYPE PropsSet(const wchar_t* _pwszName, const wchar_t* _pwszValue) = 0;
    /// Hands out the value as a string the caller frees; S_FALSE and null when there is none.
    virtual HRESULT STDMETHODCALLTYPE PropsGet(const wchar_t* _pwszName, BSTR* _pbsValue) = 0;
    /// Hands out the n-th name in alphabetical order, from 0, as a string the caller frees; S_FALSE and null after
    /// the last one.
    virtual HRESULT STDMETHODCALLTYPE PropsNameGet(UINT _nIndex, BSTR* _pbsName) = 0;
};
Z_INTERFACE_ID(IZProps, 0x47eaa099, 0x2cb6, 0x416d, 0x86, 0xdc, 0x28, 0x3c, 0xf0, 0x48, 0x0f, 0xf9)
