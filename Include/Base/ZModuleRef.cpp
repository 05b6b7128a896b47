#include "Base/ZModuleRef.h"

#include "Base/ZThread.h"

#include <atomic>

namespace
{

std::atomic<long> s_nModuleRefs{0};

} // namespace

void ZModule_AddRef()
{
    ++s_nModuleRefs;
}

void ZModule_Release()
{
    --s_nModuleRefs;
}

bool ZModule_IsIdle()
{
    return s_nModuleRefs <= 0 && CZWorkerThread::LeftJoin();
}
