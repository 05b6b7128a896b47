#include "zkhost/Commands/Commands.h"

#include "Kit/HostError.h"
#include "Kit/Result.h"
#include "zkhost/Commands/KeyOptions.h"
#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/Stream.h"

#include "Base/ZLog.h"

#include <cstdio>
#include <memory>

namespace
{

struct DETECT_COMMAND
{
    CZKeyOptions options;
    std::string strOutput = "-";
};

/// How many keys were found. The plug-in object is gone when it comes back, and has logged its last.
int Search(const DETECT_COMMAND& _command)
{
    const auto upSource = Stream_Open(_command.options.Input(), _command.options.RawSpec());
    const CZPtr<IZFFrame> cpFrame = upSource->Next();
    if (!cpFrame)
        throw CZHostError(ZFormat("%s holds no frame", _command.options.Input()));
    CZOutFiles files;
    files.Protect(_command.options.Input());
    CZOutFile& file = files.Create(_command.strOutput);
    CZKeyer keyer;
    _command.options.ApplyOptions(keyer);
    Result_Check(keyer.Key()->KeyFrameSet(cpFrame.Get(), nullptr), "handing over the first frame");
    _command.options.Detect(keyer);
    CHROMA_KEY_RAW key = {};
    Result_Check(keyer.Key()->KeyRawGet(&key, nullptr), "looking at the keys found");
    file.Write(keyer.Document());
    files.CommitAll();
    return key.nKeysUsed;
}

void Run(const DETECT_COMMAND& _command)
{
    _command.options.Begin();
    const int nKeys = Search(_command);
    if (!_command.options.IsQuiet())
        std::fputs(ZFormat("found %d key%s in %s\n", nKeys, nKeys == 1 ? "" : "s", _command.options.Input()).c_str(),
                   stderr);
}

} // namespace

void Command_AddDetect(CLI::App& _app)
{
    CLI::App& command =
        *_app.add_subcommand("detect", "Find the backdrop of the first frame and print or save its keys");
    const auto spCommand = std::make_shared<DETECT_COMMAND>();
    command.footer("Examples:\n"
                   "  zkhost detect clip.y4m\n"
                   "  zkhost detect photo.jpg -o keys.xml --set detect.blocks=32 --set detect.max_keys=4\n");
    spCommand->options.AddInput(command);
    command.add_option("-o,--output", spCommand->strOutput, "A key file, or - for standard output")
        ->type_name("FILE")
        ->check(Command_File())
        ->capture_default_str();
    command.callback([spCommand] { Run(*spCommand); });
}
