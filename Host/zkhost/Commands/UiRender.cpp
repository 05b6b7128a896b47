#include "zkhost/Commands/UiRender.h"

#include "zkhost/Commands/KeyCommand.h"

#include "Base/ZLog.h"

void UiRender_Run(const RENDER_PLAN& _plan, const std::function<void(int64_t _nDone)>& _fnStep)
{
    const bool bDash = _plan.strInput.starts_with('-'); // a file, not an option
    std::vector<std::string> vecArguments = {ZFormat(bDash ? "./%s" : "%s", _plan.strInput),
                                             "-o",
                                             _plan.strOutput,
                                             "--keyer",
                                             std::to_string(_plan.nGeneration),
                                             "--quiet"};
    if (!_plan.strRawSpec.empty())
        vecArguments.insert(vecArguments.end(), {"--in", _plan.strRawSpec});
    for (const auto& [strName, strValue] : _plan.vecOptions)
        vecArguments.insert(vecArguments.end(), {"--set", ZFormat("%s=%s", strName, strValue)});
    if (_plan.nIn > 0)
        vecArguments.insert(vecArguments.end(), {"--first", std::to_string(_plan.nIn + 1)});
    if (_plan.nFrames >= 0)
        vecArguments.insert(vecArguments.end(), {"--frames", std::to_string(_plan.nFrames)});
    KeyCommand_Run(std::move(vecArguments), {_plan.strDocument, _fnStep});
}
