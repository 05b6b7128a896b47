#include "ZChromaKey/Engine2/Gpu/UnmixGPU.h"

namespace
{

/// The GPU path of a build that has none.
class CUnmixGPUNone final : public CUnmixGPU
{
public:
    HRESULT Check(const ENGINE_GPU_OPTIONS&) override
    {
        return E_NOTIMPL;
    }
    bool Rebuilds(const ZF_VID_PROPS&) const override
    {
        return false;
    }
    HRESULT Pixels(UNMIX_STATE&, const UNMIX_INPUT&, const UNMIX_PICTURE&, const UNMIX_RESULT&,
                   const ENGINE_GPU_OPTIONS&) override
    {
        return E_NOTIMPL;
    }
    HRESULT ProcessFrame(IZFFrame*, IUnmixLearner&, const ENGINE_GPU_OPTIONS&, IZFFrame**) override
    {
        return E_NOTIMPL;
    }
    void Close() override
    {
    }
};

} // namespace

std::unique_ptr<CUnmixGPU> UnmixGPU_Create()
{
    return std::make_unique<CUnmixGPUNone>();
}
