#include "Base/ZTimedLock.h"

#include <chrono>

bool CZTimedLock::Acquire(uint32_t _nMaxMs)
{
    if (IsMine())
        return false;
    std::unique_lock lock(m_mtxHolder);
    const auto fnFree = [this] { return m_idHolder == std::thread::id(); };
    if (!m_cvFree.wait_for(lock, std::chrono::milliseconds(_nMaxMs), fnFree))
        return false;
    m_idHolder = std::this_thread::get_id();
    return true;
}

void CZTimedLock::Release()
{
    const std::lock_guard lock(m_mtxHolder);
    m_idHolder = std::thread::id();
    m_cvFree.notify_one(); // under the lock: who comes by it next may destroy it
}
