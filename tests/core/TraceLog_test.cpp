// The trace log: where a message goes, in which order, and what a line of the file looks like.
#include "CoreServices/TraceLog.hpp"

#include <cerrno>
#include <map>
#include <sstream>
#include <thread>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

std::string lastError() { return lastTraceError().padded(); }

TEST(TraceLog, GoesToTheLastErrorThenToTheHandlerWhichMayLogThenToTheFile) {
    const TemporaryFolder folder;
    static std::string path, steps;
    path = folder.write("trace.log", "before\n");
    ASSERT_EQ(openTraceFile(path + "   "), 0);
    EXPECT_EQ(openTraceFile("   "), ENOENT);  // the open file stays
    EXPECT_EQ(openTraceFile(folder.path("")), EISDIR);
    const auto handler = [](std::int32_t severity, const char* text, std::int32_t size, void*) {
        steps.append(text, static_cast<std::size_t>(size)).append(lastError(), 0, 5);
        steps += std::to_string(readFile(path).size()) + ";";
        severity == VORLAN_TRACE_ERROR ? traceloginfo("inner ") : setTraceHandler(nullptr, nullptr);
    };
    setTraceHandler(handler, nullptr);
    tracelogerror(" *** bad ***   ");
    closeTraceFile();
    tracelogerror("unheard");
    EXPECT_EQ(steps, " *** bad *** *** 7;inner *** 7;");
    const std::string time = "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}[.][0-9]{3}Z ";
    const std::string lines = "before\n" + time + "INFO  inner\n" + time + "ERROR  [*]{3} bad [*]{3}\n";
    EXPECT_THAT(readFile(path), ::testing::MatchesRegex(lines));
}

TEST(TraceLog, NeverMixesLinesAndKeepsTheLastErrorOfEachThreadPaddedAndCut) {
    const TemporaryFolder folder;
    ASSERT_EQ(openTraceFile(folder.path("trace.log")), 0);
    tracelogerror("mine  ");
    const auto work = [](char letter) {
        EXPECT_EQ(lastError(), std::string(512, ' '));
        for (std::size_t k = 1; k <= 600; ++k)
            tracelogerror(std::string(k, letter));
        EXPECT_EQ(lastError(), std::string(512, letter));
    };
    std::thread a(work, 'a'), b(work, 'b');
    a.join();
    b.join();
    closeTraceFile();
    EXPECT_EQ(lastError(), "mine" + std::string(508, ' '));
    std::istringstream file(readFile(folder.path("trace.log")));
    std::map<char, std::size_t> written;
    for (std::string line; std::getline(file, line);)
        ASSERT_EQ(line.substr(31),
                  line.back() == 'e' ? "mine" : std::string(++written[line.back()], line.back()));
    EXPECT_EQ(written['a'] + written['b'], 1200u);
}

}  // namespace
}  // namespace vorlandi::testing
