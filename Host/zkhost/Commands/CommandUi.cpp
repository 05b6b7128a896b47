#include "zkhost/Commands/Commands.h"

#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/System.h"
#include "zkhost/Ui/Api.h"
#include "zkhost/Ui/Guard.h"
#include "zkhost/Ui/HttpServer.h"
#include "zkhost/Ui/Token.h"

#include "Base/ZLog.h"

#include <memory>

namespace
{

constexpr const char* c_pszExamples = "Examples:\n"
                                      "  zkhost ui clip.y4m\n"
                                      "  ffmpeg -v error -i clip.mp4 -f yuv4mpegpipe - | zkhost ui -\n";

constexpr int c_nRoundMs = 200; // how soon Ctrl-C is seen

struct UI_COMMAND
{
    UI_OPTIONS options;
    std::string strAddress = "127.0.0.1";
    int nPort = 0;
};

void Run(const UI_COMMAND& _command)
{
    CZSession session(_command.options);
    CZApi api(session);
    std::unique_ptr<CZGuard> upGuard;
    const auto fnCheck = [&](const HTTP_REQUEST& _request, size_t&) { return upGuard->Check(_request); };
    const auto fnAnswer = [&](HTTP_REQUEST& _request) { return api.Answer(_request); };
    CZHttpServer server(_command.strAddress, _command.nPort, {fnCheck, fnAnswer});
    upGuard = std::make_unique<CZGuard>(Token_Make(), _command.strAddress, server.Port());
    OutFile_Print(ZFormat("%s\n", upGuard->Url()));
    while (!System_WasInterrupted())
        server.Run(c_nRoundMs);
    session.Stop();
}

} // namespace

void Command_AddUi(CLI::App& _app)
{
    CLI::App& command = *_app.add_subcommand("ui", "Key in a page of the browser");
    const auto spCommand = std::make_shared<UI_COMMAND>();
    command.footer(c_pszExamples);
    command.add_option("input", spCommand->options.strInput, "What zkhost key takes")->type_name("FILE")->required();
    command.add_option("--in", spCommand->options.strRawSpec, "What headerless input holds, as for zkhost key")
        ->type_name("SPEC");
    command.add_option("--port", spCommand->nPort, "The port; unless given, one that is free")
        ->type_name("N")
        ->check(Command_Whole(1, 65535));
    command.add_option("--keyer", spCommand->options.nKeyer, "The generation to begin with")
        ->type_name("1|2")
        ->check(CLI::IsMember({1, 2}));
    command.callback([spCommand] { Run(*spCommand); });
}
