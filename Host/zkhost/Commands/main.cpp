#include "Kit/HostError.h"
#include "zkhost/Commands/Commands.h"
#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/StandardError.h"
#include "zkhost/Files/System.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <sstream>

namespace
{

int Fail(const std::string& _strText, int _nExitCode)
{
    std::fprintf(stderr, "zkhost: %s\n", StandardError_Harmless(_strText).c_str());
    return _nExitCode;
}

/// What the parser has to say: help goes to standard output, a mistake to standard error with where to look.
int OnParseEnd(const CLI::App& _app, const CLI::ParseError& _error)
{
    if (_error.get_exit_code() == 0)
    {
        std::ostringstream stream;
        _app.exit(_error, stream, stream);
        OutFile_Print(stream.str());
        return 0;
    }
    std::string strCommand = "zkhost";
    for (const CLI::App* pCommand : _app.get_subcommands())
        strCommand += " " + pCommand->get_name();
    std::string strText = _error.what();
    std::replace(strText.begin(), strText.end(), '\n', ' ');
    return Fail(strText + "; see " + strCommand + " --help", 2);
}

/// "help" and "help COMMAND" are what many type first.
void TakeHelp(std::vector<std::string>& _vecArgs)
{
    if (_vecArgs.empty() || _vecArgs.front() != "help")
        return;
    _vecArgs.erase(_vecArgs.begin());
    _vecArgs.emplace_back("--help");
}

/// The parser itself only says that a command is missing.
void CheckCommand(const CLI::App& _app, const std::vector<std::string>& _vecArgs)
{
    const bool bNone = _vecArgs.empty();
    bool bRight = !bNone && _vecArgs.front().starts_with('-');
    std::string strNames;
    for (const CLI::App* pCommand : _app.get_subcommands({}))
    {
        bRight = bRight || (!bNone && _vecArgs.front() == pCommand->get_name());
        strNames += (strNames.empty() ? "" : ", ") + pCommand->get_name();
    }
    if (bRight)
        return;
    const std::string strWrong =
        bNone ? "a command is missing" : ZFormat("there is no command \"%s\"", _vecArgs.front());
    throw CZUsageError(ZFormat("%s; there are %s; see zkhost --help", strWrong, strNames));
}

int Run(int _nArgs, char** _ppszArgs)
{
    CLI::App app("Keys a green, blue or any other backdrop out of video and pictures.", "zkhost");
    app.require_subcommand(1);
    app.set_version_flag("--version", "zkhost " ZCK_VERSION, "Print the version and exit");
    app.footer("zkhost COMMAND --help explains a command and gives examples.\n"
               "Exit status: 0 done, 1 the job failed, 2 the command line is wrong.");
    Command_AddKey(app);
    Command_AddUi(app);
    Command_AddDetect(app);
    Command_AddSheet(app);
    Command_AddSample(app);
    Command_AddBench(app);
    Command_AddSoak(app);
    Command_AddFormats(app);
    Command_AddDescribe(app);
    Command_AddOptions(app);
    Command_AddInfo(app);
    Command_AddLicence(app);
    std::vector<std::string> vecArgs = System_Arguments(_nArgs, _ppszArgs);
    vecArgs.erase(vecArgs.begin());
    TakeHelp(vecArgs);
    CheckCommand(app, vecArgs);
    std::reverse(vecArgs.begin(), vecArgs.end()); // the parser takes them off the end
    try
    {
        app.parse(vecArgs);
        return 0;
    }
    catch (const CLI::ParseError& error)
    {
        return OnParseEnd(app, error);
    }
}

} // namespace

int main(int _nArgs, char** _ppszArgs)
{
    try
    {
        System_CatchInterrupts();
        StandardError_LogSet(eZLog_Warning);
        return Run(_nArgs, _ppszArgs);
    }
    catch (const CZUsageError& error)
    {
        return Fail(error.what(), 2);
    }
    catch (const CZHostError& error)
    {
        return Fail(error.what(), 1);
    }
    catch (const std::bad_alloc&)
    {
        return Fail("out of memory; try a smaller picture", 1);
    }
    catch (const std::exception& error)
    {
        return Fail(std::string("unexpected failure: ") + error.what(), 1);
    }
}
