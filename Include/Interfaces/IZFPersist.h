#pragma once

#include "Interfaces/ZPlatform.h"

/// Saving and loading of an object's configuration (options and key set) as an XML document with the root "zl-root".
struct IZFPersist : public IUnknown
{
    /// Writes the document to a file, which is replaced whole or not at all.
    virtual HRESULT STDMETHODCALLTYPE PersistSaveToFile(const wchar_t* _pwszPath) = 0;
    /// Hands out the document as a string the caller frees.
    virtual HRESULT STDMETHODCALLTYPE PersistSaveToString(BSTR* _pbsDocument) = 0;
    /// Loads a document: the text itself when it begins with '<' (blanks aside), else the file at that path.
    /// E_INVALIDARG: not a valid document; the log says line, column and reason, and nothing has changed.
    virtual HRESULT STDMETHODCALLTYPE PersistLoad(const wchar_t* _pwszPathOrDocument) = 0;
};
Z_INTERFACE_ID(IZFPersist, 0x68b4aef7, 0x3eaa, 0x4e17, 0x9d, 0x8a, 0x4e, 0xac, 0xe6, 0x93, 0xae, 0x2d)
