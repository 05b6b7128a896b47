#include "zkhost/Commands/UiRender.h"

#include "Interfaces/ZOptionNames.h"
#include "Kit/HostError.h"
#include "zkhost/Commands/KeyJob.h"
#include "zkhost/Files/FullChroma.h"
#include "zkhost/Files/NamePattern.h"
#include "zkhost/Files/PictureWriter.h"

#include "Base/ZLog.h"

namespace
{

/// The source at the first frame of the plan.
std::unique_ptr<CZFrameSource> OpenAt(const RENDER_PLAN& _plan, const std::function<void(int64_t)>& _fnStep)
{
    auto upSource = Stream_Open(_plan.strInput, _plan.strRawSpec);
    for (int64_t n = 0; n < _plan.nIn; ++n)
    {
        _fnStep(0);
        if (!upSource->Next())
            throw CZHostError(ZFormat("%s ends before frame %d, where the piece begins", _plan.strInput, _plan.nIn));
    }
    return upSource;
}

void KeyerSet(const RENDER_PLAN& _plan, CZKeyer& _keyer)
{
    _keyer.LoadDocument(_plan.strDocument);
    for (const auto& [strName, strValue] : _plan.vecOptions)
        _keyer.OptionSet(strName, strValue);
    _keyer.OptionNeed(c_szOptionARGB, "true");
}

} // namespace

void UiRender_Run(const RENDER_PLAN& _plan, const std::function<void(int64_t _nDone)>& _fnStep)
{
    const auto upSource = OpenAt(_plan, _fnStep);
    CZOutFiles files;
    files.Protect(_plan.strInput);
    const bool bRaw = NamePattern_Extension(_plan.strOutput) == "raw";
    const auto upWriter =
        PictureWriter_Open(_plan.strOutput, upSource->Stream(), bRaw ? eZFCC_ARGB32 : c_fccI444, files);
    CZKeyer keyer(CZModule::Own(), _plan.nGeneration == 1 ? CLSID_ZChromaKey : CLSID_ZChromaKey2);
    KeyerSet(_plan, keyer);
    int64_t nDone = 0;
    keyer.OnWait([&] { _fnStep(nDone); });
    KEYED keyed;
    const auto fnResult = [&](IZFFrame* _pResult) {
        KeyJob_Read(_pResult, keyed);
        upWriter->Write(keyed.picture);
        _fnStep(++nDone);
    };
    for (int64_t n = 0; n != _plan.nFrames; ++n)
    {
        const CZPtr<IZFFrame> cpFrame = upSource->Next();
        if (!cpFrame)
            break;
        keyer.Process(cpFrame.Get(), fnResult);
    }
    keyer.Finish(fnResult);
    if (nDone == 0)
        throw CZHostError("there is no frame to write");
    files.CommitAll();
}
