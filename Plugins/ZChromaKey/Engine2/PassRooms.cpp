#include "ZChromaKey/Engine2/PassRooms.h"

#include "Base/ZThread.h"

#include <bit>
#include <thread>

namespace
{
constexpr size_t c_nAligned = 64;
} // namespace

CPassRooms& CPassRooms::operator=(const CPassRooms& _other)
{
    if (this != &_other)
    {
        m_upMemory.reset();
        m_pFirst = nullptr;
        m_nBytes = 0;
    }
    return *this;
}

void CPassRooms::Make(size_t _nBytes)
{
    const size_t nBytes = (_nBytes + c_nAligned - 1) / c_nAligned * c_nAligned;
    if (nBytes <= m_nBytes)
        return;
    m_upMemory = std::make_unique_for_overwrite<uint8_t[]>(c_nMaxFrameThreads * nBytes + c_nAligned);
    m_pFirst = m_upMemory.get() + c_nAligned - reinterpret_cast<uintptr_t>(m_upMemory.get()) % c_nAligned;
    m_nBytes = nBytes;
}

size_t CPassRooms::Take()
{
    for (uint32_t nTaken = m_nTaken.load(std::memory_order_relaxed);;)
    {
        const auto nRoom = static_cast<size_t>(std::countr_one(nTaken));
        if (nRoom >= c_nMaxFrameThreads) // whoever runs the pass has more threads
        {
            std::this_thread::yield();
            nTaken = m_nTaken.load(std::memory_order_relaxed);
        }
        else if (m_nTaken.compare_exchange_weak(nTaken, nTaken | uint32_t{1} << nRoom, std::memory_order_acquire,
                                                std::memory_order_relaxed))
            return nRoom;
    }
}

void CPassRooms::GiveBack(size_t _nRoom)
{
    m_nTaken.fetch_and(~(uint32_t{1} << _nRoom), std::memory_order_release);
}
