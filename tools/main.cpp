// lumetra: runs filter chains of the Lumetra library on pictures from the
// command line. `lumetra --help` tells how.

#include "CliError.h"
#include "CommandLine.h"
#include "Commands.h"
#include "FilterCatalog.h"
#include "LogRecorder.h"

#include <lumetra/LumetraVersion.h>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

int help(const CommandLine& line)
{
    if (line.helpTopic.empty()) {
        std::printf("%s\n%s", usageText().c_str(), filterListText().c_str());
        return 0;
    }
    const std::string text = filterHelpText(line.helpTopic);
    if (text.empty())
        throw CliError::usage("unknown filter \"" + line.helpTopic + "\"\n" + filterListText());
    std::printf("%s", text.c_str());
    return 0;
}

int run(const CommandLine& line)
{
    // `-- FILTER --help` anywhere in a chain asks about that filter alone.
    for (const FilterSpec& written : line.chain)
        if (written.wantsHelp) {
            CommandLine asked;
            asked.helpTopic = written.name;
            return help(asked);
        }

    LogRecorder log(line.verbose);
    switch (line.command) {
    case CliCommand::Help: return help(line);
    case CliCommand::Version: std::printf("lumetra %g\n", LumetraVersionNumber); return 0;
    case CliCommand::Run: return runChainCommand(line, log);
    case CliCommand::Demo: return demoCommand(line, log);
    case CliCommand::Info: return infoCommand(line, log);
    case CliCommand::View: return viewCommand(line, log);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        if (argc < 2) {
            std::fprintf(stderr, "%s", usageText().c_str());
            return CliError::usageStatus;
        }
        return run(parseCommandLine(std::vector<std::string>(argv + 1, argv + argc)));
    } catch (const CliError& error) {
        std::fprintf(stderr, "lumetra: %s\n", error.what());
        return error.status();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "lumetra: %s\n", error.what());
        return CliError::failureStatus;
    }
}
