#pragma once

#include "Interfaces/ZPlatform.h"

/// Named texts on an object: the options of the plug-in, the "crop", "mirror" and "rotate" of a frame.
///
/// Names are dotted, case-sensitive, at most 256 characters. In-strings are null-terminated; a BSTR serves. Every
/// method may be called from any thread.
struct IZProps : public IUnknown
{
    /// Sets a value; null or "" removes it. E_POINTER: no name; E_INVALIDARG: an empty name, a name that is no option
    /// of the plug-in, or a value that is wrong for it (the log says which are right).
    virtual HRESULT STDMETHODCALLTYPE PropsSet(const wchar_t* _pwszName, const wchar_t* _pwszValue) = 0;
    /// Hands out the value as a string the caller frees. S_FALSE: none is set; the plug-in hands out the default of its
    /// option then, null where there is no such option.
    virtual HRESULT STDMETHODCALLTYPE PropsGet(const wchar_t* _pwszName, BSTR* _pbsValue) = 0;
    /// Hands out the n-th name in alphabetical order, from 0, as a string the caller frees; S_FALSE and null after
    /// the last one. The plug-in has the names of all its options, those that are not set as well.
    virtual HRESULT STDMETHODCALLTYPE PropsNameGet(UINT _nIndex, BSTR* _pbsName) = 0;
};
Z_INTERFACE_ID(IZProps, 0x47eaa099, 0x2cb6, 0x416d, 0x86, 0xdc, 0x28, 0x3c, 0xf0, 0x48, 0x0f, 0xf9)
