#pragma once

#include "Interfaces/ZPlatform.h"

/// Keys without a picture: as colours, and as documents that leave options alone. The plug-in objects of both
/// generations have it. What changes keys is one step of IZSteps. The first line of each method is its help text in the
/// type library. May be called from any thread.
struct IZKeys : public IUnknown
{
    /// Add a colour as a key, 0xRRGGBB.
    /// As KeyAddColor of the second generation. The first one assumes of the light on the backdrop what it assumes of a
    /// small one, because there is no picture that shows it. This and the next: S_FALSE: that colour, rounded to whole
    /// levels, is there already, and nothing has changed; so a host may set it again and again. E_INVALIDARG: a key
    /// without a hue (grey), which only the first generation can key. E_UNEXPECTED: the second generation has sixteen.
    virtual HRESULT STDMETHODCALLTYPE KeyAddColor(uint32_t _nRGB) = 0;
    /// Protect a colour, 0xRRGGBB: it stays solid.
    virtual HRESULT STDMETHODCALLTYPE KeyProtectColor(uint32_t _nRGB) = 0;
    /// Get keys, adjustments or parameters, and regions as an XML document without options.
    /// The caller frees it. PersistLoad of such a document leaves the options alone as well.
    virtual HRESULT STDMETHODCALLTYPE KeysSaveToString(BSTR* _pbsDocument) = 0;
    /// Load keys from a file or an XML document; options stay as they are, whatever it says about them.
    /// As PersistLoad, but what is not this generation's is not kept. E_INVALIDARG: also one without keys of this
    /// generation; nothing has changed then.
    virtual HRESULT STDMETHODCALLTYPE KeysLoad(const wchar_t* _pwszPathOrDocument) = 0;
};
Z_INTERFACE_ID(IZKeys, 0xd4595560, 0x3713, 0x4d21, 0x94, 0xb1, 0x4e, 0x92, 0x34, 0xab, 0x3a, 0xe2)
