// Arguments, help, and what is shown besides the output.
#include <regex>

#include "CommandLine.hpp"

namespace vorlandi::cli_tests {
namespace {

class Usage : public CommandLine {};

TEST_F(Usage, IsCheckedBeforeAnythingIsLoaded) {
    // clang-format off
    for (const auto& [arguments, message] : std::initializer_list<std::pair<std::string, std::string>>{
        {"", "A subcommand is required"}, {"nonsense", "unknown command or option nonsense (see vorlandi --help)"},
        {"info", "FILE is required (see vorlandi info --help)"},
        {"info --nonsense 81001.e", "--nonsense"}, {"save out.card", "FILE is required"},
        {"states --at TIME", "FILE is required"},
        {"STATES --format xml", "--format: xml"}, {"STATES --sat -1", "--sat: "}, {"STATES --sat 81001x", "--sat"},
        {"STATES --at yesterday", "--at: \"yesterday\" is not a time"}, {"STATES --at ''", "--at: \"\" is not a time"},
        {"STATES --at \"$(printf '%0600d' 0)\"", "is not a time"},
        {"STATES --to 2026-02-30T00:00:00", "--to: \"2026-02-30T00:00:00\" is not a time"},
        {"STATES --at TIME --from TIME", "--at: can't be combined with --from, --to or --step"},
        {"STATES --at TIME --to TIME", "--at: can't be combined"},
        {"STATES --at TIME --step 1", "--at: can't be combined"},
        {"STATES --from TIME --to 2026-01-31T00:00:00", "--to: is earlier than --from"},
        {"STATES --step 0", "--step: must be a finite number of seconds"}, {"STATES --step -60", "--step: must be"},
        {"STATES --step nan", "--step: must be"}, {"STATES --step inf", "--step: must be"},
        {"STATES --step 9.99e-7", "--step: must be"}, {"STATES --step one", "--step"},
        {"STATES --at 2461072.5", "it looks like a Julian date"}, {"states --at TIME TIME", "FILE is required"},
        {"STATES --times 81001.e --step 1", "--times: can't be combined"},
        {"STATES --times missing", "--times missing: No such file"}, {"states - --times -", "given only once"},
        {"STATES --times 81001.e", "--times 81001.e:1: \"stk.v"}, {"STATES --times /dev/null", "has no times"},
        {"STATES --leap-seconds missing", "--leap-seconds: missing: No such file"},
        {"info --format jsonl 81001.e", "--format: jsonl"}, {"time tomorrow", "TEXT: \"tomorrow\" is not a time"},
        {"time 2300-01-01", "outside the years 1900 to 2199"}, {"help nonsense", "unknown command nonsense"},
        {"check --tolerance nan 81001.e", "--tolerance: nan is not a finite number above 0"},
        {"check --tolerance inf 81001.e", "--tolerance: "}, {"check --tolerance -1 81001.e", "--tolerance: "},
        {"check --gap-factor nan 81001.e", "--gap-factor: "}, {"check --gap-factor 0.5 81001.e", "--gap-factor: "},
        {"check --limit -1 81001.e", "--limit: -1 is not a whole number"}, {"check -j -1 81001.e", "-j: "},
        {"convert 81001.e --into oem -o x --tolerance 0", "--tolerance: "},
        {"convert 81001.e --into oem -o x --step 1e-6", "--step: gives 54000000"}}) {
        // clang-format on
        const std::string line =
            std::regex_replace(std::regex_replace(arguments, std::regex("STATES"), "states missing.e"),
                               std::regex("TIME"), "2026-01-31T00:01:00");
        const Outcome refused = run(line);
        EXPECT_EQ(refused.status, 2) << arguments;
        EXPECT_EQ(refused.output, "");
        EXPECT_THAT(refused.messages, testing::AllOf(testing::StartsWith("vorlandi: error: "), HasSubstr(message),
                                                     HasSubstr("--help)\n")));
        EXPECT_EQ(split(refused.messages).size(), 1U);
    }
}

TEST_F(Usage, IsShownWithExamples) {
    for (const char* const command : {"", "check", "convert", "diff", "info", "states", "save", "time", "formats"})
        EXPECT_THAT(run(std::string(command) + " --help").output, HasSubstr("Examples:\n  vorlandi "));
    EXPECT_EQ(run("help").output, run("--help").output);
    EXPECT_EQ(run("help states").output, run("states --help").output);
    EXPECT_TRUE(run("--version").output.starts_with("Vorlandi "));
    EXPECT_EQ(run("states 81001.e -o states; cat states").output, run("states 81001.e -o -").output);
}

TEST_F(Usage, InformationComesOnlyOnRequestAndColourOnlyOnATerminal) {
    EXPECT_EQ(run("info 81001.e").messages, "");
    EXPECT_THAT(run("info -v 81001.e").messages, HasSubstr("vorlandi: 81001.e: Total ephemeris points = 10,"));
    const std::string red = "\x1b[1;31merror:\x1b[0m", yellow = "\x1b[1;33mwarning:\x1b[0m", clear = "\r\x1b[K";
    EXPECT_THAT(run("info missing.e").messages, Not(HasSubstr("\x1b")));
    write("81003.e", ephemerisAt({0, 60, 60, 120, 180}));
    const auto onTerminal = [&](const std::string& files, const std::string& variables = "",
                                const std::string& before = "") {
        return shell("TERM=xterm " + variables + " script -qec '" + before + "vorlandi info " + files +
                     " >/dev/null' /dev/null")
            .output;
    };
    const Outcome quick = {0, onTerminal("81001.e missing.e"), ""};
    EXPECT_THAT(quick.output, Not(HasSubstr("loading"))) << "a quick command shows no progress";
    EXPECT_THAT(quick.output, HasSubstr(red));
    EXPECT_THAT(onTerminal("81001.e 81003.e"), HasSubstr(yellow));
    for (const char* const variable : {"NO_COLOR=1", "TERM=dumb"})
        EXPECT_THAT(onTerminal("missing.e", variable), HasSubstr("missing.e: error: "));
    EXPECT_THAT(onTerminal("missing.e", "NO_COLOR="), HasSubstr(red));
    EXPECT_EQ(onTerminal("81001.e"), "") << "a single file needs no progress";
    const std::string slowly = "(sleep 1.1; cat 81001.e) | ";
    EXPECT_THAT(onTerminal("- missing.e", "", slowly), HasSubstr(clear + "loading file 2 of 2: missing.e" + clear));
    EXPECT_THAT(onTerminal("- \xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC", "", "stty cols 24; " + slowly),
                HasSubstr(clear + "loading file 2 of 2: \xE2\x82\xAC\xE2\x82\xAC" + clear))
        << "a line that wraps can't be cleared";
}

}  // namespace
}  // namespace vorlandi::cli_tests
