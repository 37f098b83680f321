#include "Run.hpp"

#include <fcntl.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include <csignal>
#include <new>
#include <sstream>

#include "ApproachesCommand.hpp"
#include "CheckCommand.hpp"
#include "CompletionCommand.hpp"
#include "ConvertCommand.hpp"
#include "DeliveryCommand.hpp"
#include "DiffCommand.hpp"
#include "FormatsCommand.hpp"
#include "InfoCommand.hpp"
#include "Options.hpp"
#include "Output.hpp"
#include "PlotCommand.hpp"
#include "SatelliteRecord.hpp"
#include "SaveCommand.hpp"
#include "StatesCommand.hpp"
#include "TimeCommand.hpp"

namespace vorlandi::cli {
namespace {

constexpr const char* kMainFooter =
    R"(Exit status: 0 all is well; 1 something could not be loaded, answered or written; 2 wrong usage;
3 there is not enough memory. check, diff, approaches and delivery: 0 nothing found; 1 something found; 3 a file could
not be read, the output could not be written, or satellites could not be compared.

Examples:
  vorlandi info 81001_stk.e
  vorlandi states 81001_stk.e --at 2026-01-31T01:30:00 --format json
  vorlandi save my.card *.e
  vorlandi convert 81001_stk.e --into oem -o 81001.oem
  vorlandi states --help)";

// Replaces closed standard streams. A file opened while standard error is closed would get its descriptor, and the
// messages would go into that file. Standard output is replaced by a file that can't be written to: the first write
// fails.
void occupyStandardStreams() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1) open("/dev/null", descriptor == STDERR_FILENO ? O_WRONLY : O_RDONLY);
    }
}

void addCommands(CLI::App& application, Session& session) {
    application.name("vorlandi");
    application.require_subcommand(1);
    application.set_version_flag("--version", version, "Print the version and exit");
    application.footer(kMainFooter);
    addInfoCommand(application, session);
    addStatesCommand(application, session);
    addCheckCommand(application, session);
    addDeliveryCommand(application, session);
    addApproachesCommand(application, session);
    addDiffCommand(application, session);
    addSaveCommand(application, session);
    addConvertCommand(application, session);
    addPlotCommand(application, session);
    addTimeCommand(application, session);
    addFormatsCommand(application, session);
    addCompletionCommand(application, session);
}

std::string usageMessage(const CLI::ParseError& error, const CLI::App& application) {
    const auto commands = application.get_subcommands();
    const auto remaining = application.remaining();
    if (!commands.empty())
        return fmt::format("{} (see vorlandi {} --help)", error.what(), commands.front()->get_name());
    if (!remaining.empty()) return fmt::format("unknown command or option {} (see vorlandi --help)", remaining.front());
    return fmt::format("{} (see vorlandi --help)", error.what());
}

// Help and version come as exceptions of status 0; everything else is wrong usage.
ExitStatus report(const CLI::ParseError& error, const CLI::App& application, Console& console) {
    if (error.get_exit_code() != 0) {
        console.error("", usageMessage(error, application));
        return ExitStatus::Usage;
    }
    std::ostringstream text;
    application.exit(error, text, text);
    Output output{std::string(kStandardOutput)};
    output.write(text.str());
    output.close();
    return ExitStatus::Success;
}

ExitStatus parseAndRun(int argc, const char* const* argv, Session& session) {
    CLI::App application("Satellite states from ephemeris files.");
    addCommands(application, session);
    // Many programs have "help" and "help COMMAND".
    const bool helpAsked = (argc == 2 || argc == 3) && std::string_view(argv[1]) == "help";
    const char* const help[] = {"vorlandi", argc == 3 ? argv[2] : "--help", "--help"};
    const auto isAsked = [&](const CLI::App* command) { return command->check_name(argv[2]); };
    if (helpAsked && argc == 3 && argv[2][0] != '-' && application.get_subcommands(isAsked).empty()) {
        session.console.error("", fmt::format("unknown command {} (see vorlandi --help)", argv[2]));
        return ExitStatus::Usage;
    }
    try {
        application.parse(argc, helpAsked ? help : argv);
    } catch (const CLI::ParseError& error) {
        return report(error, application, session.console);
    }
    return session.status;
}

ExitStatus runSession(int argc, const char* const* argv) {
    Session session;
    try {
        return parseAndRun(argc, argv, session);
    } catch (const OutputClosed&) {
        return statusOf(!session.console.hasReportedError());
    } catch (const OutputError& error) {
        session.console.error(error.name(), error.what());
        return session.unwritten;
    } catch (const std::bad_alloc&) {
        session.console.error("", "there is not enough memory");
        return ExitStatus::Unreadable;
    } catch (const std::exception& error) {
        session.console.error("", error.what());
        return ExitStatus::Failure;
    }
}

}  // namespace

int run(int argc, const char* const* argv) {
    // A closed pipe and a file at its size limit then make a write fail instead of ending the program.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    occupyStandardStreams();
    return static_cast<int>(runSession(argc, argv));
}

}  // namespace vorlandi::cli
