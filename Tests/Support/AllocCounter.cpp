#include "Support/AllocCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{

std::atomic<uint64_t> s_nAllocs{0};
std::atomic<int64_t> s_nLive{0};

// Allocations that are refused, as s_nAllocs counts them: none while the last one is 0.
std::atomic<uint64_t> s_nFirstRefused{0};
std::atomic<uint64_t> s_nLastRefused{0};
std::atomic<uint64_t> s_nRefused{0};

void* Allocate(size_t _cbBlock, size_t _cbAlign)
{
    if (AllocFault_Next())
        throw std::bad_alloc();
    _cbBlock = (_cbBlock + _cbAlign - 1) / _cbAlign * _cbAlign; // what aligned_alloc asks for; 0 stays 0
#if defined(_WIN32)
    void* const pBlock = _aligned_malloc(_cbBlock ? _cbBlock : 1, _cbAlign);
#else
    void* const pBlock = std::aligned_alloc(_cbAlign, _cbBlock ? _cbBlock : _cbAlign);
#endif
    if (!pBlock)
        throw std::bad_alloc();
    ++s_nLive;
    return pBlock;
}

void* AllocateOrNull(size_t _cbBlock, size_t _cbAlign) noexcept
{
    try
    {
        return Allocate(_cbBlock, _cbAlign);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

void Free(void* _pBlock)
{
    s_nLive -= _pBlock != nullptr;
#if defined(_WIN32)
    _aligned_free(_pBlock);
#else
    std::free(_pBlock);
#endif
}

} // namespace

uint64_t AllocCount()
{
    return s_nAllocs;
}

int64_t AllocLive()
{
    return s_nLive;
}

void AllocFault_Set(uint64_t _nFirst, uint64_t _nCount)
{
    s_nRefused = 0;
    s_nFirstRefused = s_nAllocs + _nFirst;
    s_nLastRefused = s_nFirstRefused + _nCount - 1;
}

uint64_t AllocFault_End()
{
    s_nLastRefused = 0;
    return s_nRefused;
}

bool AllocFault_Next() noexcept
{
    const uint64_t nAlloc = ++s_nAllocs;
    const bool bRefused = nAlloc <= s_nLastRefused && nAlloc >= s_nFirstRefused;
    s_nRefused += bRefused;
    return bRefused;
}

// The array and sized forms end in these. The nothrow forms as well, but a sanitizer brings its own.
void* operator new(size_t _cbBlock, const std::nothrow_t&) noexcept
{
    return AllocateOrNull(_cbBlock, __STDCPP_DEFAULT_NEW_ALIGNMENT__);
}
void* operator new(size_t _cbBlock, std::align_val_t _nAlign, const std::nothrow_t&) noexcept
{
    return AllocateOrNull(_cbBlock, static_cast<size_t>(_nAlign));
}
void* operator new(size_t _cbBlock)
{
    return Allocate(_cbBlock, __STDCPP_DEFAULT_NEW_ALIGNMENT__);
}
void* operator new(size_t _cbBlock, std::align_val_t _nAlign)
{
    return Allocate(_cbBlock, static_cast<size_t>(_nAlign));
}
void operator delete(void* _pBlock) noexcept
{
    Free(_pBlock);
}
void operator delete(void* _pBlock, size_t) noexcept
{
    Free(_pBlock);
}
void operator delete(void* _pBlock, std::align_val_t) noexcept
{
    Free(_pBlock);
}
void operator delete(void* _pBlock, size_t, std::align_val_t) noexcept
{
    Free(_pBlock);
}
