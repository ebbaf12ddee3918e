#include <windows.h>

#include <shellapi.h>

#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "Arguments.h"
#include "Failure.h"
#include "HelpText.h"
#include "Output.h"
#include "ProductProgram.h"
#include "QxCommon_utility.h"
#include "Verbs.h"
#include "VzComn_Exception.h"
#include "VzComn_Handle.h"
#include "Watcher.h"

namespace
{
// Not by the runtime, which would take "*" and "?" for names of files.
std::vector<std::wstring> CommandLineWords()
{
    int count = 0;
    wchar_t** words = CommandLineToArgvW(GetCommandLineW(), &count);
    const VzCommon::LocalMemory owner(words);
    return words != nullptr && count > 1 ? std::vector<std::wstring>(words + 1, words + count)
                                         : std::vector<std::wstring>();
}

// The product is decided by the running file's name, so another product is another file's work.
int RunOther(const ProductProgram& program, Output& output)
{
    const std::wstring path = QxCommon::AppendName(QxCommon::GetModuleFolder(), program.fileName);
    const ProgramRun run = RunProgram(path, ArgumentsOf(GetCommandLineW()));
    if (run.error != 0)
    {
        output.Note(path + L" cannot be started: " + Describe(Status::FromSystemError(run.error)));
        return ExitCode::NotReachable;
    }
    return static_cast<int>(run.exitCode);
}

// The folder of the product, which the folder of the tools lies in.
std::wstring LinkFolder()
{
    const std::wstring folder = QxCommon::GetModuleFolder();
    return folder.substr(0, folder.rfind(L'\\'));
}

int RunWithClient(const Arguments& arguments, ControlClient& client, Output& output)
{
    switch (arguments.verb)
    {
    case Verb::Status: return RunStatus(arguments, client, output);
    case Verb::Send: return RunSend(arguments, client, output);
    case Verb::Mail: return RunMail(arguments, client, output);
    case Verb::Watch: return Watcher(arguments, client, output).Run();
    default: return RunAnswer(arguments, client, output);
    }
}

int RunLinked(const Arguments& arguments, Output& output)
{
    const std::wstring folder = LinkFolder();
    const AgentStatus loaded = LoadLink(folder);
    if (Status::Failed(loaded))
    {
        output.Note(folder + L"\\svcLink.dll cannot be loaded: " + Describe(loaded));
        return ExitCode::NotReachable;
    }
    // Deliberate: the process ends with its connection open. Closed before, the connection's thread would end
    // together with the process, which now and then crashes in the system; and a call that ran out of time
    // would be waited for.
    auto* const client = new ControlClient;
    const int code = RunWithClient(arguments, *client, output);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code));
    return code;
}

int Run(Output& output)
{
    const ParsedArguments parsed = ParseArguments(CommandLineWords());
    const Arguments& arguments = parsed.arguments;
    if (!parsed.error.empty())
    {
        output.Note(parsed.error + L"; see qxctl --help");
        return ExitCode::Usage;
    }
    if (arguments.wantsHelp)
    {
        return output.Write(HelpText(arguments.verb)) ? ExitCode::Ok : ExitCode::Refused;
    }
    const ProductProgram& program =
        arguments.product ? *FindProductProgram(*arguments.product) : DefaultProductProgram();
    if (!IsRunning(program))
    {
        return RunOther(program, output);
    }
    switch (arguments.verb)
    {
    case Verb::Simulate: return RunSimulate(arguments, output);
    case Verb::Exit: return RunExit(output);
    default: return RunLinked(arguments, output);
    }
}
} // namespace

int main()
{
    StandardOutput output;
    try
    {
        return Run(output);
    }
    catch (VzCommon::Exception::Base* caught)
    {
        const std::unique_ptr<VzCommon::Exception::Base> exception(caught);
        output.Note(L"failed: error " + std::to_wstring(exception->code));
    }
    catch (const std::exception&)
    {
        output.Note(L"out of memory");
    }
    return ExitCode::Refused;
}
