#pragma once

#include "Base/ZLog.h"
#include "Base/ZPtr.h"
#include "Base/ZThread.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// How long an object of a named map stays without being used.
inline constexpr uint32_t c_nNamedPtrUnusedMs = 5'000;

/// Counted objects by name. A thread of the map releases those that nobody has asked for, or holds, for a while.
///
/// The thread starts with the first object and ends with Close, or the destructor, which waits for it. Objects are
/// released without a lock held, on the thread that lets go of them. Thread safe; Close and the destructor are the
/// owner's.
template <class T> class CNamedPtrMap_GC
{
public:
    /// _nStopMs: how long Close and the destructor wait for a release that is under way.
    explicit CNamedPtrMap_GC(uint32_t _nUnusedMs = c_nNamedPtrUnusedMs, uint32_t _nStopMs = c_nThreadStopMs)
        : m_spState(std::make_shared<STATE>(_nUnusedMs))
        , m_nStopMs(_nStopMs)
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
        STATE& state = *m_spState;
        const std::lock_guard lock(state.mtxEntries);
        auto itFound = state.mapEntries.find(_svName);
        if (itFound == state.mapEntries.end())
        {
            CZPtr<T> cpObject;
            const HRESULT hr = _fnMake(cpObject.Put());
            if (FAILED(hr) || !cpObject)
                return FAILED(hr) ? hr : E_UNEXPECTED;
            itFound = state.mapEntries.emplace(_svName, ENTRY{std::move(cpObject), {}}).first;
            CollectorWake();
        }
        itFound->second.timUsed = CLOCK::now();
        *_ppObject = CZPtr<T>(itFound->second.cpObject).Detach();
        return S_OK;
    }

    size_t Count()
    {
        const std::lock_guard lock(m_spState->mtxEntries);
        return m_spState->mapEntries.size();
    }

    /// Releases all objects and ends the thread; the map can be used again. Z_E_TIMEOUT: the release of an object
    /// does not come to its end; until a later Close succeeds, the map keeps what it is given.
    HRESULT Close()
    {
        STATE& state = *m_spState;
        state.evtStop.Set();
        const HRESULT hr = m_thrCollector.Stop(m_nStopMs);
        ENTRIES mapGone;
        const std::lock_guard lock(state.mtxEntries);
        mapGone.swap(state.mapEntries);
        if (SUCCEEDED(hr))
            state.evtStop.Reset();
        state.bCollecting = false;
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

    /// What map and thread share: it lives as long as either of them, for a thread that could not be stopped goes on
    /// when the map is gone.
    struct STATE
    {
        explicit STATE(uint32_t _nUnusedMs)
            : nUnused(_nUnusedMs)
        {
        }
        void Collect();
        void TakeUnused(std::vector<CZPtr<T>>* _pvecGone);

        uint32_t nUnused;
        std::mutex mtxEntries;
        ENTRIES mapEntries;
        bool bCollecting = false;
        CZEvent evtStop;
    };

    /// With the lock held.
    void CollectorWake()
    {
        if (std::exchange(m_spState->bCollecting, true))
            return;
        if (SUCCEEDED(m_thrCollector.Start(m_spState, &STATE::Collect, "CNamedPtrMap_GC")))
            m_thrCollector.Wake();
        else
            m_spState->bCollecting = false; // the objects stay until Close; the failure has been logged
    }

    std::shared_ptr<STATE> m_spState;
    uint32_t m_nStopMs;
    CSimpleThreadBase<STATE> m_thrCollector;
};

/// The thread's body: runs until no object is left.
template <class T> void CNamedPtrMap_GC<T>::STATE::Collect()
{
    while (!evtStop.Wait(nUnused / 4 + 1))
    {
        std::vector<CZPtr<T>> vecGone; // released without the lock
        const std::lock_guard lock(mtxEntries);
        TakeUnused(&vecGone);
        bCollecting = !mapEntries.empty();
        if (!bCollecting)
            return;
    }
}

template <class T> void CNamedPtrMap_GC<T>::STATE::TakeUnused(std::vector<CZPtr<T>>* _pvecGone)
{
    const auto timNow = CLOCK::now();
    for (auto it = mapEntries.begin(); it != mapEntries.end();)
    {
        ENTRY& entry = it->second;
        entry.cpObject->AddRef();
        if (entry.cpObject->Release() > 1) // somebody else holds it
            entry.timUsed = timNow;
        if (timNow - entry.timUsed < std::chrono::milliseconds(nUnused))
        {
            ++it;
            continue;
        }
        _pvecGone->push_back(std::move(entry.cpObject));
        it = mapEntries.erase(it);
    }
}
