#include "zkhost/Commands/Commands.h"

#include "Kit/HostError.h"
#include "Kit/Result.h"
#include "zkhost/Commands/KeyOptions.h"
#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/Stream.h"

#include "Base/ZLog.h"

#include <cmath>
#include <cstdio>
#include <memory>

namespace
{

struct DETECT_COMMAND
{
    CZKeyOptions options;
    std::string strOutput = "-";
};

/// "4 keys", or the one key of the second generation with its colour.
std::string FoundText(const CZKeyer& _keyer)
{
    constexpr const char* c_pszWhat = "looking at the keys found";
    if (_keyer.Key2())
    {
        CHROMA_KEY2_RAW key = {};
        Result_Check(_keyer.Key2()->KeyRawGet(&key), c_pszWhat);
        const SINGLE_KEY2& first = key.arrKeys[0];
        return ZFormat("the backdrop #%02X%02X%02X", std::lround(first.dblRed), std::lround(first.dblGreen),
                       std::lround(first.dblBlue));
    }
    CHROMA_KEY_RAW key = {};
    Result_Check(_keyer.Key()->KeyRawGet(&key, nullptr), c_pszWhat);
    return ZFormat("%d key%s", key.nKeysUsed, key.nKeysUsed == 1 ? "" : "s");
}

/// What was found. The plug-in object is gone when it comes back, and has logged its last.
std::string Search(const DETECT_COMMAND& _command)
{
    const auto upSource = Stream_Open(_command.options.Input(), _command.options.RawSpec());
    const CZPtr<IZFFrame> cpFrame = upSource->Next();
    if (!cpFrame)
        throw CZHostError(ZFormat("%s holds no frame", _command.options.Input()));
    CZOutFiles files;
    files.Protect(_command.options.Input());
    CZOutFile& file = files.Create(_command.strOutput);
    CZKeyer keyer(CZModule::Own(), _command.options.ClassId());
    Stream_Tell(upSource->Stream(), keyer);
    _command.options.ApplyOptions(keyer);
    CZKeyOptions::FrameSet(keyer, cpFrame.Get());
    _command.options.Detect(keyer);
    file.Write(keyer.Document());
    files.CommitAll();
    return FoundText(keyer);
}

void Run(DETECT_COMMAND& _command)
{
    _command.options.Begin();
    const std::string strFound = Search(_command);
    if (!_command.options.IsQuiet())
        std::fputs(ZFormat("found %s in %s\n", strFound, _command.options.Input()).c_str(), stderr);
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
    spCommand->options.AddKeyer(command);
    command.add_option("-o,--output", spCommand->strOutput, "A key file, or - for standard output")
        ->type_name("FILE")
        ->check(Command_File())
        ->capture_default_str();
    command.callback([spCommand] { Run(*spCommand); });
}
