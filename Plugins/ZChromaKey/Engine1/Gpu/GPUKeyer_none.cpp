#include "ZChromaKey/Engine1/Gpu/GPUKeyer.h"

#include "Base/ZLog.h"

#include <mutex>

namespace
{

/// The GPU path of a build that has none.
class CGPUKeyerNone final : public CGPUKeyer
{
public:
    HRESULT ProcessFrame(IZFFrame*, const CHROMA_KEY_RAW&, const ENGINE_GPU_OPTIONS& _options, IZFFrame**) override
    {
        static std::once_flag s_arrLogged[2];
        const eZLogLevel eLevel = _options.bOnly ? eZLog_Error : eZLog_Info; // a fault where nothing else may key
        std::call_once(s_arrLogged[_options.bOnly],
                       [&] { ZLog(eLevel, "GPUKeyer: this build has no GPU path; set \"gpu_mode\" to 0\n"); });
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
