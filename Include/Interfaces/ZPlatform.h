#pragma once

/// The COM vocabulary that the interfaces are written in.
///
/// On Windows this is the platform's own. Elsewhere the few types that cross the interfaces are declared here, with
/// the same names, sizes and rules, so that one source serves both: reference counting through IUnknown, 32-bit
/// result codes, length-prefixed BSTR strings. Strings are wide; a wide character has two bytes on Windows and four
/// elsewhere, so nothing may assume its size.

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <oleauto.h>
#include <unknwn.h>

#else

#include <cstdlib>
#include <cstring>
#include <cwchar>

#define STDMETHODCALLTYPE
#define FAILED(hr) (static_cast<HRESULT>(hr) < 0)
#define SUCCEEDED(hr) (static_cast<HRESULT>(hr) >= 0)

using HRESULT = int32_t;
using ULONG = uint32_t;
using LONG = int32_t;
using DWORD = uint32_t;
using UINT = uint32_t;
using WORD = uint16_t;
using BOOL = int32_t;
using OLECHAR = wchar_t;
using BSTR = OLECHAR*;
using LPCWSTR = const wchar_t*;
using LPOLESTR = OLECHAR*;
using LCID = uint32_t;
using DISPID = int32_t;

inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001u);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
inline constexpr HRESULT E_ABORT = static_cast<HRESULT>(0x80004004u);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
inline constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFFu);
inline constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005u);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110u);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = static_cast<HRESULT>(0x80040111u);

struct GUID
{
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
};
using IID = GUID;
using CLSID = GUID;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;

inline bool operator==(REFGUID _a, REFGUID _b)
{
    return std::memcmp(&_a, &_b, sizeof(GUID)) == 0;
}
inline bool operator!=(REFGUID _a, REFGUID _b)
{
    return !(_a == _b);
}

/// A BSTR points at its first character; the 32-bit word before it holds its length in bytes. The C heap holds the
/// block, so that a string made in one module can be freed in another.
inline BSTR SysAllocStringLen(const OLECHAR* _pwszText, UINT _nChars)
{
    const size_t cbText = size_t{_nChars} * sizeof(OLECHAR);
    char* pBlock = static_cast<char*>(std::malloc(sizeof(uint64_t) + cbText + sizeof(OLECHAR)));
    if (!pBlock)
        return nullptr;
    const uint32_t nBytes = static_cast<uint32_t>(cbText);
    std::memcpy(pBlock + sizeof(uint32_t), &nBytes, sizeof(nBytes));
    BSTR bsText = reinterpret_cast<BSTR>(pBlock + sizeof(uint64_t));
    if (_pwszText)
        std::memcpy(bsText, _pwszText, cbText);
    else
        std::memset(bsText, 0, cbText);
    bsText[_nChars] = 0;
    return bsText;
}
inline BSTR SysAllocString(const OLECHAR* _pwszText)
{
    return _pwszText ? SysAllocStringLen(_pwszText, static_cast<UINT>(std::wcslen(_pwszText))) : nullptr;
}
inline void SysFreeString(BSTR _bsText)
{
    if (_bsText)
        std::free(reinterpret_cast<char*>(_bsText) - sizeof(uint64_t));
}
inline UINT SysStringLen(BSTR _bsText)
{
    uint32_t nBytes = 0;
    if (_bsText)
        std::memcpy(&nBytes, reinterpret_cast<const char*>(_bsText) - sizeof(uint32_t), sizeof(nBytes));
    return nBytes / static_cast<UINT>(sizeof(OLECHAR));
}

#endif // _WIN32

#ifndef HRESULT_FROM_WIN32
#define HRESULT_FROM_WIN32(x) static_cast<HRESULT>((x) == 0 ? 0u : ((static_cast<uint32_t>(x) & 0xFFFFu) | 0x80070000u))
#endif

/// What a bounded wait that ran out of time answers (from ERROR_TIMEOUT, 1460).
inline constexpr HRESULT Z_E_TIMEOUT = static_cast<HRESULT>(0x800705B4u);

/// The interface identifier of an interface type; specialised by Z_INTERFACE_ID.
template <class I> struct CZIidOf;

/// Ties an interface type to its identifier: IID_<name> for host authors, CZIidOf<> for templates.
#define Z_INTERFACE_ID(I, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)                                                   \
    inline constexpr GUID IID_##I = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}};                                     \
    template <> struct CZIidOf<I>                                                                                      \
    {                                                                                                                  \
        static constexpr const GUID& Value = IID_##I;                                                                  \
    };

#if defined(_WIN32)

template <> struct CZIidOf<IUnknown>
{
    static constexpr const GUID& Value = IID_IUnknown;
};
template <> struct CZIidOf<IDispatch>
{
    static constexpr const GUID& Value = IID_IDispatch;
};
template <> struct CZIidOf<IClassFactory>
{
    static constexpr const GUID& Value = IID_IClassFactory;
};

#else

/// Reference counting and interface discovery. QueryInterface answers the same IUnknown pointer for every interface
/// of one object, hands out a counted reference, and nulls the out-pointer when it fails.
struct IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID _iid, void** _ppvObject) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;

protected:
    ~IUnknown() = default; // objects go when their last reference goes, never through delete on an interface
};
Z_INTERFACE_ID(IUnknown, 0x00000000, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)

struct IClassFactory : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* _pOuter, REFIID _iid, void** _ppvObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL _bLock) = 0;
};
Z_INTERFACE_ID(IClassFactory, 0x00000001, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)

/// Late binding. Only its place in the method table matters off Windows: every method answers E_NOTIMPL there.
struct ITypeInfo;
struct VARIANT;
struct EXCEPINFO;
struct DISPPARAMS;
struct IDispatch : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* _pnInfos) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT _nInfo, LCID _lcid, ITypeInfo** _ppInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID _iid, LPOLESTR* _pwszNames, UINT _nNames, LCID _lcid,
                                                    DISPID* _pIDs) = 0;
    virtual HRESULT STDMETHODCALLTYPE Invoke(DISPID _nID, REFIID _iid, LCID _lcid, WORD _nFlags, DISPPARAMS* _pParams,
                                             VARIANT* _pResult, EXCEPINFO* _pException, UINT* _pnArgError) = 0;
};
Z_INTERFACE_ID(IDispatch, 0x00020400, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)

#endif
