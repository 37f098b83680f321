// What happens to the output, and to the file that it replaces, in success and in failure.
#include <unistd.h>

#include "CommandLine.hpp"

namespace vorlandi::cli_tests {
namespace {

// Runs a program as a user without privileges.
std::string unprivileged() { return geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : ""; }

class Output : public CommandLine {
protected:
    // Each begins with a file, and a link that is like /dev/stdout but may be damaged.
    Output() {
        write("kept", "as it was\n");
        fs::create_symlink("/proc/self/fd/1", file("stdout"));
    }

    void expectKept(const std::string& what) const {
        EXPECT_EQ(contentsOf(file("kept")), "as it was\n") << what;
        EXPECT_EQ(temporaryFiles(), Lines{}) << what;
    }
};

TEST_F(Output, ThatCannotBeWrittenIsReported) {
    for (const char* const arguments : {"info 81001.e", "states 81001.e", "save - 81001.e", "formats", "--help"}) {
        EXPECT_EQ(run(std::string(arguments) + " >/dev/full; [ $? = 1 ]").messages,
                  "vorlandi: standard output: error: No space left on device\n");
        EXPECT_EQ(run(std::string(arguments) + " >&-; [ $? = 1 ]").messages,
                  "vorlandi: standard output: error: Bad file descriptor\n");
    }
    // clang-format off
    for (const auto& [arguments, message] : std::initializer_list<std::pair<std::string, std::string>>{
        {"save stdout 81001.e >/dev/full", "stdout: error: No space left on device"},
        {"states 81001.e -o stdout >/dev/full", "stdout: error: No space left on device"},
        {"states 81001.e -o missing/states", "missing/states: error: No such file or directory"},
        {"states 81001.e -o ''", "error: No such file or directory"},
        {"info 81001.e -o folder", "folder: error: Is a directory"}}) {
        // clang-format on
        const Outcome failed = run(arguments);
        EXPECT_EQ(failed.status, 1) << arguments;
        EXPECT_EQ(failed.messages, "vorlandi: " + message + "\n");
    }
    // 540 million states: a program that collected them before writing would run out of memory first.
    for (const std::string format : {"table", "csv", "json"}) {
        const Outcome closed = shell("ulimit -t 10; (vorlandi states 81001.e --step 1e-6 --cov --format " + format +
                                     "; echo $? >&2) | head -c 100");
        EXPECT_EQ(closed.output.size(), 100U);
        EXPECT_EQ(closed.messages, "0\n");
    }
    EXPECT_THAT(shell("(vorlandi states missing.e 81001.e --step 1e-6; echo $? >&2) | head -c 100").messages,
                testing::EndsWith("1\n"));
}

TEST_F(Output, IsRightIfStandardErrorOrInputIsClosed) {
    const std::string states = "states 81001.e --at 2026-01-31T00:10:00 --at 2026-01-31T00:01:00";
    EXPECT_EQ(run(states + " -o states 2>&-").status, 1);
    EXPECT_EQ(contentsOf(file("states")), run(states).output);
    EXPECT_EQ(run("info - <&-").messages, "vorlandi: stdin: error: no ephemeris format recognised\n");
}

TEST_F(Output, ReplacesAFileWithTheSameModeAlsoThroughALink) {
    const std::string states = run("states 81001.e").output;
    fs::permissions(file("kept"), fs::perms(0640));
    fs::create_symlink("../kept", file("folder/link"));
    fs::create_symlink("folder/link", file("link"));
    for (const std::string name : {"kept", "link", "folder/link"}) {
        write("kept", "as it was\n");
        EXPECT_EQ(run("states 81001.e -o " + name).status, 0);
        EXPECT_EQ(contentsOf(file("kept")), states) << name;
        EXPECT_EQ(fs::status(file("kept")).permissions(), fs::perms(0640));
        EXPECT_TRUE(fs::is_symlink(file("link")) && fs::is_symlink(file("folder/link")));
    }
    fs::remove(file("kept"));
    EXPECT_EQ(shell("umask 027; vorlandi states 81001.e -o link").status, 0) << "a link to no file yet";
    EXPECT_EQ(contentsOf(file("kept")), states);
    EXPECT_EQ(fs::status(file("kept")).permissions(), fs::perms(0640));
    EXPECT_EQ(temporaryFiles(), Lines{});
    // Only root can change the group of the folder; for others this holds anyway.
    const Outcome groups = shell(
        "chgrp 65534 folder; chmod g+s folder; vorlandi info 81001.e -o folder/new; stat -c %g folder "
        "folder/new | uniq");
    EXPECT_EQ(split(groups.output).size(), 1U) << "a new file has the group of its folder";
}

TEST_F(Output, GoesStraightToWhatCannotBeReplaced) {
    const std::string info = run("info 81001.e").output;
    EXPECT_EQ(shell("mkfifo pipe; cat pipe & vorlandi info 81001.e -o pipe; wait").output, info);
    EXPECT_EQ(shell("echo x >open; ls -i open >before; vorlandi info 81001.e -o stdout >open; ls -i "
                    "open | cmp - before && cat open")
                  .output,
              info);
    // A file of another user, or in a folder of another user, is written like any other.
    if (shell(unprivileged() + "vorlandi --version").status != 0) GTEST_SKIP() << "another user can't run the program";
    shell("cp kept folder; chmod 666 kept folder/kept; chmod 555 folder; chmod 777 .");
    for (const std::string name : {"kept", "folder/kept"}) {
        const std::string owner =
            shell("stat -c '%U %i' " + name + " | cut -d ' ' -f " + (name == "kept" ? "1" : "1,2")).output;
        EXPECT_EQ(shell(unprivileged() + "vorlandi info 81001.e -o " + name).messages, "");
        EXPECT_EQ(contentsOf(file(name)), info);
        EXPECT_EQ(shell("stat -c '%U %i' " + name + " | cut -d ' ' -f " + (name == "kept" ? "1" : "1,2")).output,
                  owner);
    }
    write("kept", "as it was\n");
    shell("chmod 444 kept");
    EXPECT_EQ(shell(unprivileged() + "vorlandi info 81001.e -o kept").messages,
              "vorlandi: kept: error: Permission denied\n");
    expectKept("a file that may not be written");
}

TEST_F(Output, LeavesAFileAsItWasIfItCannotBeCompleted) {
    // clang-format off
    for (const auto& [command, message] : std::initializer_list<std::pair<std::string, std::string>>{
        {"ulimit -f 1; vorlandi states 81001.e --step 1 -o kept", "kept: error: File too large\n"},
        {"ulimit -f 1; vorlandi save kept $(printf './%.0s' $(seq 250))81001.e", "kept: error: File too large\n"},
        {"gzip -k 81001.e; vorlandi save kept 81001.e.gz - <81002.itc",
         "kept: error: not written: there is nothing to write\n"},
        {"vorlandi states missing.e -o kept", "kept: error: not written: there is nothing to write\n"},
        {"vorlandi info missing.e -o kept", "kept: error: not written: there is nothing to write\n"},
        {"vorlandi save kept missing.e", "kept: error: not written: there is nothing to write\n"},
        {"vorlandi states 81001.e --at 2025-01-01T00:00:00 -o kept",
         "kept: error: not written: there is nothing to write\n"}}) {
        // clang-format on
        const Outcome failed = shell(command);
        EXPECT_EQ(failed.status, 1) << command;
        EXPECT_THAT(failed.messages, testing::EndsWith("vorlandi: " + message));
        expectKept(command);
    }
    EXPECT_EQ(shell("ulimit -f 1; vorlandi states 81001.e --step 1 -o fresh").status, 1);
    EXPECT_FALSE(fs::exists(file("fresh"))) << "a new file appears when it is complete";
    EXPECT_EQ(run("info missing.e --format csv").output.substr(0, 14), "satellite,key,")
        << "standard output has its header";
}

TEST_F(Output, LeavesAFileAsItWasAfterASignal) {
    struct Case {
        const char *signals, *before;
        int status;
    };
    for (const auto& [signals, before, status] :
         {Case{"INT", "", 130}, Case{"TERM", "", 143}, Case{"HUP", "", 129}, Case{"QUIT", "", 131},
          Case{"HUP TERM", "trap '' HUP; ", 143}}) {  // an ignored signal stays ignored
        const std::string program = *before != '\0' ? "vorlandi" : "env --default-signal=INT,QUIT,HUP,TERM vorlandi";
        const Outcome ended =
            shell("ulimit -c 0; ulimit -t 20; " + std::string(before) + program +
                  " states 81001.e --step 1e-6 -o kept & program=$!; "
                  "while ! ls -A | grep -q '^[.]vorlandi'; do kill -0 $program || break; sleep 0.01; done; "
                  "for signal in " +
                  signals + "; do kill -s $signal $program; done; wait $program; echo $?");
        EXPECT_EQ(ended.output, std::to_string(status) + "\n") << signals;
        expectKept(signals);
    }
}

TEST_F(Output, NeverReplacesAnInputFile) {
    write("one.card", "EPHFIL = 81001.e\nEPHFIL = 81004.e\n");
    write("81004.e", "stk.v.4.3\nCentralBody Moon\n");
    fs::create_symlink("81001.e", file("link"));
    const std::string inputs[] = {contentsOf(file("81001.e")), contentsOf(file("81004.e"))};
    for (const char* const arguments : {"states 81001.e -o ./81001.e", "states 81001.e -o link", "save 81001.e 81001.e",
                                        "save 81001.e one.card", "info one.card -o 81004.e"}) {
        const Outcome refused = run(arguments);
        EXPECT_EQ(refused.status, 2) << arguments;
        EXPECT_THAT(refused.messages, HasSubstr("is an input file and would be overwritten (see vorlandi "));
        EXPECT_EQ(contentsOf(file("81001.e")), inputs[0]);
        EXPECT_EQ(contentsOf(file("81004.e")), inputs[1]);
    }
}

TEST_F(Output, OfSaveLoadsTheSameSatellites) {
    write("one.card", "#VORLANDI = first\nEPHFIL = 81001.e\n");
    EXPECT_EQ(run("save out.card 81002.itc one.card").status, 0);
    EXPECT_EQ(contentsOf(file("out.card")),
              "* External ephemeris input files, to be loaded by the practical rules\n"
              "EPHFIL = 81002.itc\n#VORLANDI = first\nEPHFIL = 81001.e\n");
    EXPECT_EQ(run("info out.card").output, run("info 81002.itc one.card").output);
    EXPECT_EQ(run("save - 81002.itc one.card").output, contentsOf(file("out.card")));
    EXPECT_THAT(run("save - --fixed-rules 81002.itc").output, HasSubstr("by the fixed rules\n"));
    EXPECT_EQ(run("save partly.card 81001.e missing.e").status, 1);
    EXPECT_EQ(run("info partly.card").status, 0);
    EXPECT_EQ(run("save none.card missing.e").status, 1);
    EXPECT_FALSE(fs::exists(file("none.card")));
}

TEST_F(Output, OfSaveNamesEachFileOnceAndByANameThatFindsIt) {
    write("81003.e", ephemerisAt({0, 60, 120, 180, 240}) + ephemerisAt({600, 660, 720, 780}));
    EXPECT_EQ(split(run("info 81003.e").output).size(), 3U);
    const std::string card = run("save - 81003.e").output;
    EXPECT_THAT(card, testing::EndsWith("rules\nEPHFIL = 81003.e\n"));
    // Another file of the same name is beside the card file.
    write("folder/81001.e", ephemeris(3));
    EXPECT_EQ(run("save folder/out.card 81001.e 81002.itc").status, 0);
    EXPECT_THAT(contentsOf(file("folder/out.card")),
                testing::EndsWith("EPHFIL = " + file("81001.e").string() + "\nEPHFIL = 81002.itc\n"));
    EXPECT_EQ(run("save --fixed-rules folder/out.card 81001.e").status, 0);
    EXPECT_THAT(contentsOf(file("folder/out.card")), testing::EndsWith("EPHFIL = 81001.e\n"));
}

TEST_F(Output, OfSaveNamesTheSatellitesThatNoCardCanBringBack) {
    shell("mv 81002.itc 81003.itc; gzip 81003.itc");
    write("line\nfeed.e", ephemeris(2));
    const Outcome saved = run("save - 81001.e 81003.itc.gz line*feed.e - <81001.e");
    EXPECT_EQ(saved.status, 1);
    EXPECT_THAT(saved.output, testing::EndsWith("rules\nEPHFIL = 81001.e\n"));
    EXPECT_EQ(saved.messages,
              "vorlandi: stdin:1: error: not stored: line?feed.e already has satellite 99999 with the same "
              "frame and first time; both are 99999 because neither file name begins with a satellite number\n"
              "vorlandi: 81003.itc: error: satellite 81002 is not saved: it is from standard input or a packed file\n"
              "vorlandi: line?feed.e: error: satellite 99999 is not saved: its file name has a line feed\n");
}

}  // namespace
}  // namespace vorlandi::cli_tests
