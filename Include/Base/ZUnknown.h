#pragma once

#include "Interfaces/ZPlatform.h"

#include <atomic>
#include <tuple>
#include <type_traits>

/// Base of a counted object with the interfaces I...; its IUnknown is that of the first one. Thread safe.
///
/// A fresh object has one reference. When the last one goes, FinalRelease runs and then the destructor.
template <class... I> class CZUnknown : public I...
{
public:
    CZUnknown() = default;
    CZUnknown(const CZUnknown&) = delete;
    CZUnknown& operator=(const CZUnknown&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID _iid, void** _ppvObject) override
    {
        if (!_ppvObject)
            return E_POINTER;
        *_ppvObject = nullptr;
        if (_iid == CZIidOf<IUnknown>::Value)
            *_ppvObject = static_cast<std::tuple_element_t<0, std::tuple<I...>>*>(this);
        else
            (void)(Answer<I>(_iid, _ppvObject) || ...);
        if (!*_ppvObject)
            return QueryOther(_iid, _ppvObject);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override
    {
        return m_nRefs.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG nRefs = m_nRefs.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (nRefs != 0)
            return nRefs;
        m_nRefs = 1; // a reference taken and given back during FinalRelease does not end the object again
        if (FinalRelease())
            delete this;
        return 0;
    }

protected:
    virtual ~CZUnknown() = default;
    /// Answers interfaces besides I..., with a reference taken; E_NOINTERFACE and null for all others.
    virtual HRESULT QueryOther(REFIID, void**)
    {
        return E_NOINTERFACE;
    }
    /// Gives back what the object holds. False: something still uses the object, which is therefore left in memory.
    virtual bool FinalRelease()
    {
        return true;
    }

private:
    template <class T> bool Answer(REFIID _iid, void** _ppvObject)
    {
        if (_iid == CZIidOf<T>::Value || (std::is_base_of_v<IDispatch, T> && _iid == CZIidOf<IDispatch>::Value))
            *_ppvObject = static_cast<T*>(this);
        return *_ppvObject != nullptr;
    }

    std::atomic<ULONG> m_nRefs{1};
};
