#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

/// Memory that a part of a pass needs while it is at work: there are as many rooms as threads, and a thread mostly gets
/// the one that it had before, so what is put there stays in its cache.
class CPassRooms
{
public:
    CPassRooms() = default;
    /// A copy has no rooms.
    CPassRooms(const CPassRooms&)
        : CPassRooms()
    {
    }
    /// Between two passes: frees the rooms; those of the other are not copied.
    CPassRooms& operator=(const CPassRooms& _other);

    /// Between two passes: rooms of at least so many bytes. Throws std::bad_alloc, and keeps those that there are.
    void Make(size_t _nBytes);

    /// A room that is the holder's as long as this lives.
    class ROOM
    {
    public:
        explicit ROOM(CPassRooms& _rooms)
            : m_rooms(_rooms)
            , m_nRoom(_rooms.Take())
        {
        }
        ~ROOM()
        {
            m_rooms.GiveBack(m_nRoom);
        }
        ROOM(const ROOM&) = delete;
        ROOM& operator=(const ROOM&) = delete;

        /// Aligned to a line of the cache; null where no rooms were made.
        uint8_t* Bytes() const
        {
            return m_rooms.m_pFirst ? m_rooms.m_pFirst + m_rooms.m_nBytes * m_nRoom : nullptr;
        }

    private:
        CPassRooms& m_rooms;
        size_t m_nRoom;
    };

private:
    size_t Take();
    void GiveBack(size_t _nRoom);

    std::unique_ptr<uint8_t[]> m_upMemory; ///< not written before it is needed: untouched rooms take no memory
    uint8_t* m_pFirst = nullptr;
    size_t m_nBytes = 0;                ///< of a room
    std::atomic<uint32_t> m_nTaken = 0; ///< a bit a room
};
