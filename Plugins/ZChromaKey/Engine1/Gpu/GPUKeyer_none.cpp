#include "ZChromaKey/Engine1/Gpu/GPUKeyer.h"

#include "Base/ZLog.h"

#include <mutex>

namespace
{

/// The GPU path of a build that has none.
class CGPUKeyerNone final : public CGPUKeyer
{
public:
    HRESULT ProcessFrame(IZFFrame*, const CHROMA_KEY_RAW&, const ENGINE_GPU_OPTIONS&, IZFFrame**) override
    {
        static std::once_flag s_flagLogged;
        std::call_once(s_flagLogged, [] { ZLog(eZLog_Info, "GPUKeyer: this build has no GPU path\n"); });
        return E_NOTIMPL;
    }
    void Close() override
    {
    }
};

} // namespace

std::unique_ptr<CGPUKeyer> GPUKeyer_Create()
{
    return std::make_unique<CGPUKeyerNone>();
}
