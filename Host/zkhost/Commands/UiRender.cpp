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

void KeyerSet(const RENDER_PLAN& _plan, const STREAM& _stream, CZKeyer& _keyer)
{
    _keyer.LoadDocument(_plan.strDocument);
    Stream_Tell(_stream, _keyer);
    for (const auto& [strName, strValue] : _plan.vecOptions)
        _keyer.OptionSet(strName, strValue);
    _keyer.OptionNeed(c_szOptionARGB, "true");
}

} // namespace

void UiRender_Run(const RENDER_PLAN& _plan, const std::function<void(int64_t _nDone)>& _fnStep)
{
    const auto upSource = Stream_OpenAt(_plan.strInput, _plan.strRawSpec, _plan.nIn);
    CZOutFiles files;
    files.Protect(_plan.strInput);
    const bool bRaw = NamePattern_Extension(_plan.strOutput) == "raw";
    const auto upWriter =
        PictureWriter_Open(_plan.strOutput, upSource->Stream(), bRaw ? eZFCC_ARGB32 : c_fccI444, files);
    CZKeyer keyer(CZModule::Own(), _plan.nGeneration == 1 ? CLSID_ZChromaKey : CLSID_ZChromaKey2);
    KeyerSet(_plan, upSource->Stream(), keyer);
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
