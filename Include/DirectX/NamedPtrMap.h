#pragma once

#include "Base/ZLog.h"
#include "Base/ZPtr.h"
#include "Base/ZThread.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// How long an object of a named map stays without being used.
inline constexpr uint32_t c_nNamedPtrUnusedMs = 5'000;

/// Counted objects by name. A thread of its own lets go of those that nobody has asked for, or holds, for a while.
///
/// The thread starts with the first object and ends with Close, or the destructor, which waits for it. Objects are
/// released without a lock held, on the thread that lets go of them. Thread safe; Close and the destructor are the
/// owner's.
template <class T> class CNamedPtrMap_GC
{
public:
    explicit CNamedPtrMap_GC(uint32_t _nUnusedMs = c_nNamedPtrUnusedMs)
        : m_nUnused(_nUnusedMs)
    {
    }
    ~CNamedPtrMap_GC()
    {
        Close();
    }
    CNamedPtrMap_GC(const CNamedPtrMap_GC&) = delete;
    CNamedPtrMap_GC& operator=(const CNamedPtrMap_GC&) = delete;

    /// The object of a name, made when there is none. Two threads that ask at once get the same one: _fnMake runs under
    /// the map's lock and must not use the map.
    HRESULT GetOrMake(std::string_view _svName, const std::function<HRESULT(T**)>& _fnMake, T** _ppObject)
    {
        const std::lock_guard lock(m_mtxEntries);
        auto itFound = m_mapEntries.find(_svName);
        if (itFound == m_mapEntries.end())
        {
            CZPtr<T> cpObject;
            const HRESULT hr = _fnMake(cpObject.Put());
            if (FAILED(hr) || !cpObject)
                return FAILED(hr) ? hr : E_UNEXPECTED;
            itFound = m_mapEntries.emplace(_svName, ENTRY{std::move(cpObject), {}}).first;
            CollectorWake();
        }
        itFound->second.timUsed = CLOCK::now();
        *_ppObject = CZPtr<T>(itFound->second.cpObject).Detach();
        return S_OK;
    }

    size_t Count()
    {
        const std::lock_guard lock(m_mtxEntries);
        return m_mapEntries.size();
    }

    /// Lets go of all objects and ends the thread; the map can be used again. Z_E_TIMEOUT: the release of an object
    /// does not come to its end.
    HRESULT Close()
    {
        m_evtStop.Set();
        const HRESULT hr = m_thrCollector.Stop();
        ENTRIES mapGone;
        const std::lock_guard lock(m_mtxEntries);
        mapGone.swap(m_mapEntries);
        if (SUCCEEDED(hr))
            m_evtStop.Reset();
        m_bCollecting = false;
        return hr;
    }

private:
    using CLOCK = std::chrono::steady_clock;
    struct ENTRY
    {
        CZPtr<T> cpObject;
        CLOCK::time_point timUsed;
    };
    using ENTRIES = std::map<std::string, ENTRY, std::less<>>;

    /// With the lock held.
    void CollectorWake()
    {
        if (std::exchange(m_bCollecting, true))
            return;
        if (SUCCEEDED(m_thrCollector.Start(this, &CNamedPtrMap_GC::Collect, "CNamedPtrMap_GC")))
            m_thrCollector.Wake();
        else
            m_bCollecting = false; // the objects stay until Close; the failure has been logged
    }

    /// The thread's body: until there is no object left.
    void Collect()
    {
        while (!m_evtStop.Wait(m_nUnused / 4 + 1))
        {
            std::vector<CZPtr<T>> vecGone; // released without the lock
            const std::lock_guard lock(m_mtxEntries);
            TakeUnused(&vecGone);
            m_bCollecting = !m_mapEntries.empty();
            if (!m_bCollecting)
                return;
        }
    }

    void TakeUnused(std::vector<CZPtr<T>>* _pvecGone)
    {
        const auto timNow = CLOCK::now();
        for (auto it = m_mapEntries.begin(); it != m_mapEntries.end();)
        {
            ENTRY& entry = it->second;
            entry.cpObject->AddRef();
            if (entry.cpObject->Release() > 1) // somebody else holds it
                entry.timUsed = timNow;
            if (timNow - entry.timUsed < std::chrono::milliseconds(m_nUnused))
            {
                ++it;
                continue;
            }
            _pvecGone->push_back(std::move(entry.cpObject));
            it = m_mapEntries.erase(it);
        }
    }

    uint32_t m_nUnused;
    std::mutex m_mtxEntries;
    ENTRIES m_mapEntries;
    bool m_bCollecting = false;
    CZEvent m_evtStop;
    CSimpleThreadBase<CNamedPtrMap_GC> m_thrCollector;
};
