#include "zkhost/Commands/Commands.h"

#include "zkhost/Commands/KeyerChoice.h"
#include "zkhost/Commands/PluginOptions.h"
#include "zkhost/Commands/UiRender.h"
#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/RawReader.h"
#include "zkhost/Files/System.h"
#include "zkhost/Files/UsageError.h"
#include "zkhost/Ui/OpenPage.h"
#include "zkhost/Ui/UiLog.h"
#include "zkhost/Ui/UiServer.h"

#include "Base/ZLog.h"

#include <cstdlib>
#include <memory>

namespace
{

constexpr const char* c_pszUiExamples = "Examples:\n"
                                        "  zkhost ui clip.y4m\n"
                                        "  zkhost ui clip.y4m --open --keys keys.xml --folder keyed\n"
                                        "  zkhost ui in.raw --in UYVY:1920x1080@25i --port 8080 --keyer 1\n"
                                        "  ffmpeg -v error -i rtsp://camera/1 -f yuv4mpegpipe - | zkhost ui -\n";

constexpr int c_nRoundMs = 100; // how soon Ctrl-C is seen

struct UI_COMMAND
{
    UI_OPTIONS options;
    std::vector<std::string> vecSets;
    std::string strAddress = "127.0.0.1";
    int nPort = 0;
    bool bOpen = false;
};

void CheckAddress(const std::string& _strAddress)
{
    if (_strAddress == "0.0.0.0" || _strAddress == "::")
        throw CZUsageError(ZFormat("--listen %s: name the one address of this machine that pages are to be opened at, "
                                   "so that requests for other names can be refused",
                                   _strAddress));
}

/// Checks what can be checked before a file is opened.
void Complete(UI_COMMAND& _command)
{
    UI_OPTIONS& options = _command.options;
    CheckAddress(_command.strAddress);
    if (!options.strRawSpec.empty())
        Raw_ParseSpec(options.strRawSpec);
    if (!options.strFolder.empty() && !System_IsFolder(options.strFolder))
        throw CZUsageError(ZFormat("--folder %s: there is no such folder", options.strFolder));
    for (const std::string& strSet : _command.vecSets)
    {
        const auto [strName, strValue] = Command_Pair(strSet, "--set");
        PluginOptions_Check(strName, strValue);
        if (PluginOptions_IsDetection(strName))
            throw CZUsageError(ZFormat("--set %s: options of detection are for zkhost key", strSet));
        options.vecOptions.emplace_back(strName, strValue);
    }
    options.nKeyer = KeyerChoice_Make({options.nKeyer, options.strKeys, "", ""});
    options.fnRender = UiRender_Run;
}

void Serve(const UI_COMMAND& _command)
{
    CZUiServer server(_command.options, _command.strAddress, _command.nPort);
    OutFile_Print(ZFormat("%s\n", server.Url()));
    if (_command.bOpen)
        OpenPage_Show(server.Url());
    while (!System_WasInterrupted() && !server.IsQuit())
        server.Run(c_nRoundMs);
}

void Run(UI_COMMAND& _command)
{
    UiLog_Begin();
    Complete(_command);
    Serve(_command);
    if (LiveFeed_IsLeft())
        std::_Exit(0); // a read of a pipe cannot be taken back, and would wait for its lock
}

} // namespace

void Command_AddUi(CLI::App& _app)
{
    CLI::App& command = *_app.add_subcommand("ui", "Key in a page of the browser");
    const auto spCommand = std::make_shared<UI_COMMAND>();
    UI_OPTIONS& options = spCommand->options;
    options.nKeyer = 0;
    command.footer(c_pszUiExamples);
    command.add_option("input", options.strInput, "What zkhost key takes; - is live, the newest frame is shown")
        ->type_name("FILE")
        ->required();
    command.add_option("--in", options.strRawSpec, "What headerless input holds, as for zkhost key")->type_name("SPEC");
    command.add_option("--keyer", options.nKeyer, "The generation to begin with; 2 unless a key file says otherwise")
        ->type_name("1|2")
        ->check(CLI::IsMember({1, 2}));
    command.add_option("--keys", options.strKeys, "Keys and options from a file that was saved before")
        ->type_name("FILE.xml")
        ->check(Command_File());
    command.add_option("--folder", options.strFolder, "Where output is written; unless given, beside the input")
        ->type_name("DIR")
        ->check(Command_File());
    command.add_option("--set", spCommand->vecSets, "An option of the plug-in; may be repeated")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    command.add_option("--port", spCommand->nPort, "The port; unless given, one that is free")
        ->type_name("N")
        ->check(Command_Whole(1, 65535));
    command
        .add_option("--listen", spCommand->strAddress,
                    "An address of this machine; unless given, 127.0.0.1, which no other machine reaches. What goes\n"
                    "over a network can be read there: use a tunnel where others are in it")
        ->type_name("ADDRESS");
    command.add_flag("--open", spCommand->bOpen, "Open the page in the browser");
    command.callback([spCommand] { Run(*spCommand); });
}
