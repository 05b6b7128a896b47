#include "zkhost/Commands/Commands.h"

#include "zkhost/Commands/Describe.h"
#include "zkhost/Files/OutFile.h"

#include <memory>

void Command_AddDescribe(CLI::App& _app)
{
    CLI::App& command =
        *_app.add_subcommand("describe", "Row size, image size, planes, mask and text of frames, one a line");
    const auto spProps = std::make_shared<std::string>();
    command.add_option("--props", *spProps, "WxH@RATE FCC [i|iT|iB|p] [format=NAME]")->required();
    command.footer("Examples:\n"
                   "  zkhost describe --props \"1920x1080@25 UYVY iT\"\n"
                   "  zkhost describe --props \"format=PAL-16x9 v210\"\n");
    command.callback([spProps] { OutFile_Print(Describe_Text(*spProps)); });
}
