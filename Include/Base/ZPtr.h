#pragma once

#include "Interfaces/ZPlatform.h"

#include <utility>

/// A counted reference to a COM object: one AddRef per copy, one Release per destruction.
template <class I> class CZPtr
{
public:
    CZPtr() = default;
    CZPtr(I* _pObject)
        : m_pObject(_pObject)
    {
        if (m_pObject)
            m_pObject->AddRef();
    }
    CZPtr(const CZPtr& _other)
        : CZPtr(_other.m_pObject)
    {
    }
    CZPtr(CZPtr&& _other) noexcept
        : m_pObject(std::exchange(_other.m_pObject, nullptr))
    {
    }
    ~CZPtr()
    {
        Reset();
    }
    CZPtr& operator=(CZPtr _other) noexcept
    {
        std::swap(m_pObject, _other.m_pObject);
        return *this;
    }

    /// Takes over a reference that the caller already owns (a fresh object starts with one).
    static CZPtr Adopt(I* _pObject)
    {
        CZPtr cpObject;
        cpObject.m_pObject = _pObject;
        return cpObject;
    }
    void Reset()
    {
        if (I* pObject = std::exchange(m_pObject, nullptr))
            pObject->Release();
    }
    /// Gives the reference to the caller, for an out-pointer.
    I* Detach()
    {
        return std::exchange(m_pObject, nullptr);
    }
    /// For a call that hands out a reference; what was held goes first.
    I** Put()
    {
        Reset();
        return &m_pObject;
    }
    void** PutVoid()
    {
        return reinterpret_cast<void**>(Put());
    }
    I* Get() const
    {
        return m_pObject;
    }
    I* operator->() const
    {
        return m_pObject;
    }
    explicit operator bool() const
    {
        return m_pObject != nullptr;
    }

private:
    I* m_pObject = nullptr;
};

/// Asks an object for another interface; empty when the object is null or does not have it.
template <class I, class From> CZPtr<I> ZQuery(From* _pObject)
{
    CZPtr<I> cpResult;
    if (_pObject && FAILED(_pObject->QueryInterface(CZIidOf<I>::Value, cpResult.PutVoid())))
        cpResult = CZPtr<I>();
    return cpResult;
}
template <class I, class From> CZPtr<I> ZQuery(const CZPtr<From>& _cpObject)
{
    return ZQuery<I>(_cpObject.Get());
}
