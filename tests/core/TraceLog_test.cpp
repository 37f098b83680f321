// The trace log: where a message goes, in which order, and what a line of the file looks like.
#include "CoreServices/TraceLog.hpp"

#include <cerrno>
#include <map>
#include <sstream>
#include <thread>

#include "TestSupport.hpp"
#include "vorlandi/vorlandi.h"

namespace vorlandi::testing {
namespace {

class TraceLog : public ::testing::Test {
protected:
    ~TraceLog() override {
        setTraceHandler(nullptr, nullptr);
        closeTraceFile();
    }

    static std::string lastError() { return lastTraceError().padded(); }
    std::vector<std::string> fileLines() const { return linesOf(path_); }
    static std::vector<std::string> linesOf(const std::string& path) {
        std::istringstream text(readFile(path));
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);)
            lines.push_back(line);
        return lines;
    }

    TemporaryFolder folder_;
    std::string path_ = folder_.path("trace.log");
};

TEST_F(TraceLog, GoesToTheLastErrorThenToTheHandlerThenToTheFile) {
    ASSERT_EQ(openTraceFile(path_ + "   "), 0);
    struct Seen {
        std::string path;
        std::vector<std::string> steps;
    } seen{path_, {}};
    setTraceHandler(
        [](std::int32_t, const char* text, std::int32_t size, void* user) {
            auto& [path, steps] = *static_cast<Seen*>(user);
            steps.emplace_back(text, static_cast<std::size_t>(size));
            steps.push_back("last " + lastError().substr(0, 5));
            steps.push_back("lines " + std::to_string(linesOf(path).size()));
        },
        &seen);
    tracelogerror("first   ");
    traceloginfo("info");
    EXPECT_EQ(seen.steps,
              (std::vector<std::string>{"first", "last first", "lines 0", "info", "last first", "lines 1"}));
    EXPECT_EQ(fileLines().size(), 2u);
}

TEST_F(TraceLog, WritesTimeSeverityAndTextAsALineOfTheFile) {
    folder_.write("trace.log", "before\n");
    ASSERT_EQ(openTraceFile(path_), 0);
    tracelogerror(" *** Something : bad. ***   ");
    traceloginfo("so");
    traceloginfo("   ");
    closeTraceFile();
    tracelogerror("not in the file");
    const auto lines = fileLines();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], "before");
    const std::string clock = "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}[.][0-9]{3}Z";
    const char* const expected[] = {" ERROR  *** Something : bad. ***", " INFO  so", " INFO  "};
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_THAT(lines[k + 1].substr(0, 24), ::testing::MatchesRegex(clock));
        EXPECT_EQ(lines[k + 1].substr(24), expected[k]);
    }
    // The time is that of a clock in UTC: today, or yesterday if midnight has passed meanwhile.
    const std::time_t now = std::time(nullptr);
    const auto dayOf = [](std::time_t time) {
        char text[11];
        std::strftime(text, sizeof text, "%Y-%m-%d", std::gmtime(&time));
        return std::string(text);
    };
    EXPECT_THAT(lines[1].substr(0, 10), ::testing::AnyOf(dayOf(now), dayOf(now - 60)));
}

TEST_F(TraceLog, KeepsTheLastErrorOfEachThreadPaddedAndCut) {
    std::thread([] {
        EXPECT_EQ(lastError(), std::string(512, ' '));
        traceloginfo("no error");
        EXPECT_EQ(lastError(), std::string(512, ' '));
        tracelogerror("theirs");
    }).join();
    tracelogerror("mine  ");
    EXPECT_EQ(lastError(), "mine" + std::string(508, ' '));
    LogCapture log;
    tracelogerror(std::string(600, 'x'));
    EXPECT_EQ(lastError(), std::string(512, 'x'));
    EXPECT_EQ(log.errors(), std::vector{std::string(600, 'x')});
}

TEST_F(TraceLog, NeverMixesLinesOfSeveralThreads) {
    ASSERT_EQ(openTraceFile(path_), 0);
    constexpr int kThreads = 4, kMessages = 500;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t] {
            for (int k = 0; k < kMessages; ++k)
                tracelogerror(std::to_string(k) +
                              std::string(static_cast<std::size_t>(k), static_cast<char>('a' + t)) + ".");
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    std::map<char, int> next;
    const auto lines = fileLines();
    ASSERT_EQ(lines.size(), static_cast<std::size_t>(kThreads * kMessages));
    for (const std::string& line : lines) {
        const std::string text = line.substr(31);
        const char who = text[text.size() - 2];
        if (text == "0.") continue;
        const int k = ++next[who];
        ASSERT_EQ(text, std::to_string(k) + std::string(static_cast<std::size_t>(k), who) + ".");
    }
}

TEST_F(TraceLog, LetsTheHandlerCallTheLibrary) {
    ASSERT_EQ(openTraceFile(path_), 0);
    setTraceHandler(
        [](std::int32_t severity, const char*, std::int32_t, void*) {
            if (severity == VORLAN_TRACE_INFO) return;
            traceloginfo("from the handler");
            VorlanGetCount();
            setTraceHandler(nullptr, nullptr);
            closeTraceFile();
        },
        nullptr);
    tracelogerror("error");
    EXPECT_EQ(fileLines().size(), 1u);
    tracelogerror("unheard");
    EXPECT_EQ(fileLines().size(), 1u);
}

TEST_F(TraceLog, RefusesAFileThatCantBeWrittenAndKeepsTheOldOne) {
    ASSERT_EQ(openTraceFile(path_), 0);
    EXPECT_EQ(openTraceFile("   "), ENOENT);
    EXPECT_EQ(openTraceFile(folder_.path("")), EISDIR);
    EXPECT_EQ(openTraceFile(folder_.path("no/trace.log")), ENOENT);
    traceloginfo("still here");
    EXPECT_EQ(fileLines().size(), 1u);
}

}  // namespace
}  // namespace vorlandi::testing
