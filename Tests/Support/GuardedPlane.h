#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

/// Where the rows of a guarded plane lie.
enum eZGuard
{
    eZGuard_Fence,     ///< between fence bytes, which Intact() checks
    eZGuard_PageEnd,   ///< the last row ends at a page that faults when it is touched
    eZGuard_PageStart, ///< the row lowest in memory begins right after a page that faults when it is touched
};

/// A plane of pixels for tests, in which an access outside the rows is found out.
///
/// Rows have _cbRow bytes that may be used; what lies between them and the stride is fence as well. With a negative
/// stride Row(0) is the row highest in memory. Rows start with the bytes of a fixed pattern, or are filled by the test.
class CGuardedPlane
{
public:
    /// _nStride: bytes from row to row, at least _cbRow in magnitude; 0 = _cbRow. _nOffset: bytes past a 64-byte
    /// boundary where a plane between fences begins; the other placements follow from the page.
    CGuardedPlane(size_t _cbRow, int _nRows, ptrdiff_t _nStride = 0, eZGuard _eGuard = eZGuard_Fence,
                  size_t _nOffset = 0)
        : m_cbRow(_cbRow)
        , m_nRows(_nRows)
        , m_nStride(_nStride ? _nStride : static_cast<ptrdiff_t>(_cbRow))
    {
        const size_t cbSpan = Span();
        const size_t cbFront = _eGuard == eZGuard_PageStart ? 0 : c_cbFence + _nOffset;
        const size_t cbBack = _eGuard == eZGuard_PageEnd ? 0 : c_cbFence;
        m_cbAll = cbFront + cbSpan + cbBack;
        if (_eGuard == eZGuard_Fence)
        {
            m_pBlock = static_cast<uint8_t*>(::operator new(m_cbAll, std::align_val_t(64)));
            m_pAll = m_pBlock;
        }
        else
        {
            MapPages(_eGuard == eZGuard_PageEnd);
        }
        m_pLow = m_pAll + cbFront;
        for (size_t n = 0; n < m_cbAll; ++n)
            m_pAll[n] = Pattern(n);
    }
    ~CGuardedPlane()
    {
        if (m_pBlock)
            ::operator delete(m_pBlock, std::align_val_t(64));
        else
            UnmapPages();
    }
    CGuardedPlane(const CGuardedPlane&) = delete;
    CGuardedPlane& operator=(const CGuardedPlane&) = delete;

    /// The row walked first is row 0.
    uint8_t* Row(int _nRow)
    {
        const ptrdiff_t nFirst = m_nStride < 0 ? -m_nStride * (m_nRows - 1) : 0;
        return m_pLow + nFirst + m_nStride * _nRow;
    }
    const uint8_t* Row(int _nRow) const
    {
        return const_cast<CGuardedPlane*>(this)->Row(_nRow);
    }
    /// The lowest address of the plane, and the bytes from there to the end of the row highest in memory.
    uint8_t* Low()
    {
        return m_pLow;
    }
    size_t Span() const
    {
        const size_t cbStride = static_cast<size_t>(m_nStride < 0 ? -m_nStride : m_nStride);
        return m_nRows < 1 ? 0 : cbStride * static_cast<size_t>(m_nRows - 1) + m_cbRow;
    }
    ptrdiff_t Stride() const
    {
        return m_nStride;
    }
    size_t RowBytes() const
    {
        return m_cbRow;
    }
    int Rows() const
    {
        return m_nRows;
    }
    void Fill(uint8_t _nValue)
    {
        for (int nRow = 0; nRow < m_nRows; ++nRow)
            std::memset(Row(nRow), _nValue, m_cbRow);
    }
    /// Fills the rows with bytes that follow from the seed.
    void FillRandom(uint32_t _nSeed)
    {
        for (int nRow = 0; nRow < m_nRows; ++nRow)
            for (size_t n = 0; n < m_cbRow; ++n)
            {
                _nSeed = _nSeed * 1664525u + 1013904223u;
                Row(nRow)[n] = static_cast<uint8_t>(_nSeed >> 24);
            }
    }
    /// False when a byte outside the rows has changed.
    bool Intact() const
    {
        const uint8_t* const pEnd = m_pAll + m_cbAll;
        const size_t cbStride = static_cast<size_t>(m_nStride < 0 ? -m_nStride : m_nStride);
        const uint8_t* pByte = m_pAll;
        for (int nRow = 0; nRow < m_nRows; ++nRow)
        {
            const uint8_t* const pRow = m_pLow + cbStride * static_cast<size_t>(nRow);
            if (!PatternHolds(pByte, pRow))
                return false;
            pByte = pRow + m_cbRow;
        }
        return PatternHolds(pByte, pEnd);
    }

private:
    static constexpr size_t c_cbFence = 256;

    static uint8_t Pattern(size_t _nPos)
    {
        return static_cast<uint8_t>((_nPos * 2654435761u) >> 13);
    }
    bool PatternHolds(const uint8_t* _pFrom, const uint8_t* _pTo) const
    {
        for (const uint8_t* pByte = _pFrom; pByte < _pTo; ++pByte)
            if (*pByte != Pattern(static_cast<size_t>(pByte - m_pAll)))
                return false;
        return true;
    }

#if defined(_WIN32)
    void MapPages(bool _bGuardBehind)
    {
        SYSTEM_INFO info;
        GetSystemInfo(&info);
        const size_t cbPage = info.dwPageSize;
        const size_t cbUse = (m_cbAll + cbPage - 1) / cbPage * cbPage;
        m_pPages = static_cast<uint8_t*>(VirtualAlloc(nullptr, cbUse + cbPage, MEM_RESERVE, PAGE_NOACCESS));
        uint8_t* const pUse = m_pPages + (_bGuardBehind ? 0 : cbPage);
        if (!m_pPages || !VirtualAlloc(pUse, cbUse, MEM_COMMIT, PAGE_READWRITE))
            throw std::bad_alloc();
        m_pAll = _bGuardBehind ? pUse + cbUse - m_cbAll : pUse;
    }
    void UnmapPages()
    {
        VirtualFree(m_pPages, 0, MEM_RELEASE);
    }
#else
    void MapPages(bool _bGuardBehind)
    {
        const size_t cbPage = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t cbUse = (m_cbAll + cbPage - 1) / cbPage * cbPage;
        m_cbPages = cbUse + cbPage;
        void* pPages = mmap(nullptr, m_cbPages, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pPages == MAP_FAILED)
            throw std::bad_alloc();
        m_pPages = static_cast<uint8_t*>(pPages);
        if (mprotect(_bGuardBehind ? m_pPages + cbUse : m_pPages, cbPage, PROT_NONE) != 0)
            throw std::bad_alloc();
        m_pAll = _bGuardBehind ? m_pPages + cbUse - m_cbAll : m_pPages + cbPage;
    }
    void UnmapPages()
    {
        munmap(m_pPages, m_cbPages);
    }
    size_t m_cbPages = 0;
#endif

    size_t m_cbRow;
    int m_nRows;
    ptrdiff_t m_nStride;
    size_t m_cbAll = 0;
    uint8_t* m_pBlock = nullptr; // the heap block of a plane between fences
    uint8_t* m_pPages = nullptr; // the pages of the others
    uint8_t* m_pAll = nullptr;   // first byte that belongs to the plane or its fences
    uint8_t* m_pLow = nullptr;   // first byte of the row lowest in memory
};
