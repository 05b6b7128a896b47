#include "Support/Refuse.h"

#include "Support/AllocCounter.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <dlfcn.h>
#include <pthread.h>

using PFN_CREATE = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

extern "C"
{
    void* __real_malloc(size_t _cbBlock);
    /// Texts that go across interfaces come from the C heap (calls from this program's own objects come here).
    void* __wrap_malloc(size_t _cbBlock)
    {
        return AllocFault_Next() ? nullptr : __real_malloc(_cbBlock);
    }
    /// The sanitizers' own one, in programs that have it.
    __attribute__((weak)) int __interceptor_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
}

namespace
{

std::atomic<int> s_nUntilRefused{0}; // 0 and below: none, or done

PFN_CREATE Create()
{
    if (__interceptor_pthread_create)
        return __interceptor_pthread_create;
    return reinterpret_cast<PFN_CREATE>(dlsym(RTLD_NEXT, "pthread_create"));
}

} // namespace

void Refuse_Thread(int _nNumber)
{
    s_nUntilRefused = _nNumber;
}

bool Refuse_End()
{
    return s_nUntilRefused.exchange(0) < 1;
}

/// Takes the place of the system's, for the standard library too.
extern "C" __attribute__((visibility("default"))) int pthread_create(pthread_t* _pThread, const pthread_attr_t* _pAttr,
                                                                     void* (*_pfnBody)(void*), void* _pArg)
{
    if (s_nUntilRefused > 0 && --s_nUntilRefused == 0)
        return EAGAIN;
    static const PFN_CREATE pfnCreate = Create();
    return pfnCreate(_pThread, _pAttr, _pfnBody, _pArg);
}
