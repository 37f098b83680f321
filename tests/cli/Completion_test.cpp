// Completion in shells, and the manual page.
#include "CommandLine.hpp"

namespace vorlandi::cli_tests {
namespace {

class Completion : public CommandLine {
protected:
    // The completions that bash offers for the last of these words.
    std::string offered(const std::string& words) const {
        return shell("bash -c 'source <(vorlandi completion bash); COMP_WORDS=(" + words +
                     "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _vorlandi; echo \"${COMPREPLY[*]}\"'")
            .output;
    }
};

TEST_F(Completion, OfBashOffersCommandsOptionsAndValues) {
    for (const auto& [words, expected] : std::initializer_list<std::pair<std::string, std::string>>{
             {"vorlandi sa", "save"},
             {"vorlandi c", "check convert"},  // and not the hidden command that prints this
             {"vorlandi help sta", "states"},
             {"vorlandi states --ti", "--times"},
             {"vorlandi info 81001.e --format j", "json"},
             {"vorlandi states --format j", "json jsonl"},
             {"vorlandi states --format = cs", "csv"},
             {"vorlandi states --format =", "csv json jsonl table"},
             {"vorlandi formats OE", "OEM"},
             {"vorlandi convert --oem-version 3", "3.0"},
             {"vorlandi convert --frame-label W", "WPTRL WPTGC"},
             {"vorlandi plot --show height,s", "height,speed height,sigma"},
             {"vorlandi check --skip st", "steps"},
             {"vorlandi states --at 81", ""},
             {"vorlandi states 81", ""}})
        EXPECT_EQ(offered(words), expected + "\n") << words;
    // File names, where the shell completes by itself, but not for times.
    const std::string complete = "bash -ic 'source <(vorlandi completion bash); complete -p vorlandi' 2>/dev/null";
    EXPECT_EQ(shell(complete).output, "complete -o default -F _vorlandi vorlandi\n");
}

// Installed shells and programs check their own file.
TEST_F(Completion, AndManualAreValid) {
    for (const auto& [program, check] : std::initializer_list<std::pair<std::string, std::string>>{
             {"shellcheck", "vorlandi completion bash | shellcheck -s bash -"},
             {"zsh", "vorlandi completion zsh >_vorlandi && zsh -n _vorlandi"},
             {"fish", "vorlandi completion fish >vorlandi.fish && fish -n vorlandi.fish"},
             {"man",
              "mkdir man && vorlandi completion man --directory man && for page in man/*.1; do "
              "LC_ALL=C.UTF-8 man --warnings -l -E UTF-8 $page >/dev/null || exit 1; done"}}) {
        if (shell("command -v " + program).status != 0) continue;
        const Outcome outcome = shell(check);
        EXPECT_EQ(outcome.status, 0) << program;
        EXPECT_EQ(outcome.output + outcome.messages, "") << program;
    }
    shell("mkdir -p man; vorlandi completion man --directory man");
    const std::string manual = contentsOf(file("man/vorlandi-states.1"));
    EXPECT_THAT(contentsOf(file("man/vorlandi-info.1")),
                HasSubstr(".TP\n\\fB\\-\\-format\\fR \\fIFORMAT\\fR\ntable, csv or json\n(default: table)\n"));
    EXPECT_THAT(manual, HasSubstr(".EX\nvorlandi states 81001_stk.e \\-\\-at 2026\\-01\\-31T01:30:00\n"));
    EXPECT_THAT(manual, HasSubstr(".SH NAME\nvorlandi\\-states \\- print states of satellites\n"));
    // An exit status of its own, and the one of all commands.
    EXPECT_THAT(contentsOf(file("man/vorlandi-check.1")),
                HasSubstr(".SH EXIT STATUS\n.PP\n0 no error or warning; 1 some; 2 wrong usage; 3 a file"));
    EXPECT_THAT(manual, HasSubstr(".SH EXIT STATUS\n.PP\n0 all is well; 1 something"));
    EXPECT_THAT(contentsOf(file("man/vorlandi-convert.1")), HasSubstr(".EX\nformat        suffix  frames"));
    run("completion fish -o of.fish");
    EXPECT_EQ(contentsOf(file("of.fish")), run("completion fish").output);
    EXPECT_THAT(run("completion man").output, HasSubstr("\\fBvorlandi\\-check\\fR(1)\nLook for faults"));
    EXPECT_THAT(run("completion zsh").output, HasSubstr("'*--format[table, csv or json]:FORMAT:(csv json table)'"));
    EXPECT_THAT(run("completion fish").output,
                HasSubstr("-l output -s o -r -F -d 'Write to FILE, which is replaced only when"));
}

}  // namespace
}  // namespace vorlandi::cli_tests
