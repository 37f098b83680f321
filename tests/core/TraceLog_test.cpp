// The trace log: where a message goes, in which order, what a line of the file looks like, and what happens to messages
// that the file does not accept.
#include "CoreServices/TraceLog.hpp"

#include <fcntl.h>
#include <sys/resource.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <map>
#include <sstream>
#include <thread>
#include <tuple>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

using ::testing::MatchesRegex;

std::string lastError() { return lastTraceError().padded(); }

const std::string kTime = "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}[.][0-9]{3}Z ";

std::string dropped(std::size_t count) {
    return kTime + "INFO  Messages dropped because the trace file could not be written: " + std::to_string(count) +
           "\n";
}

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
    const std::string lines = "before\n" + kTime + "INFO  inner\n" + kTime + "ERROR  [*]{3} bad [*]{3}\n";
    EXPECT_THAT(readFile(path), MatchesRegex(lines));
}

TEST(TraceLog, ReturnsHandlerAndObserverAsTheyWereSet) {
    int data = 0, other = 0;
    const VorlanTraceHandler handler = [](std::int32_t, const char*, std::int32_t, void*) {};
    const VorlanReadObserver observer = [](std::int32_t, const char*, std::int32_t, std::int64_t, const char*,
                                           std::int32_t, void*) {};
    VorlanTraceSetHandler(handler, &data);
    VorlanSetReadObserver(observer, &other);
    VorlanTraceHandler itsHandler = nullptr;
    VorlanReadObserver itsObserver = nullptr;
    void *ofHandler = nullptr, *ofObserver = nullptr;
    VorlanTraceGetHandler(&itsHandler, &ofHandler);
    VorlanGetReadObserver(&itsObserver, &ofObserver);
    VorlanTraceSetHandler(nullptr, nullptr);
    VorlanSetReadObserver(nullptr, nullptr);
    EXPECT_EQ(std::tuple(itsHandler, ofHandler), std::tuple(handler, static_cast<void*>(&data)));
    EXPECT_EQ(std::tuple(itsObserver, ofObserver), std::tuple(observer, static_cast<void*>(&other)));
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
        ASSERT_EQ(line.substr(31), line.back() == 'e' ? "mine" : std::string(++written[line.back()], line.back()));
    EXPECT_EQ(written['a'] + written['b'], 1200u);
}

TEST(TraceLog, WritesTheTimeOfDayInUtc) {
    const TemporaryFolder folder;
    using namespace std::chrono;
    const auto before = floor<milliseconds>(system_clock::now());
    ASSERT_EQ(openTraceFile(folder.path("trace.log")), 0);
    traceloginfo("now");
    closeTraceFile();
    int year, month, day, hour, minute, second, milli;
    ASSERT_EQ(std::sscanf(readFile(folder.path("trace.log")).c_str(), "%d-%d-%dT%d:%d:%d.%dZ", &year, &month, &day,
                          &hour, &minute, &second, &milli),
              7);
    std::tm date{};
    date.tm_year = year - 1900, date.tm_mon = month - 1, date.tm_mday = day;
    date.tm_hour = hour, date.tm_min = minute, date.tm_sec = second;
    const auto told = system_clock::from_time_t(::timegm(&date)) + milliseconds(milli);
    EXPECT_GE(told, before);
    EXPECT_LE(told, system_clock::now());
}

TEST(TraceLog, WritesControlCharactersAsBlanksIntoTheFileOnly) {
    const TemporaryFolder folder;
    const LogCapture log;
    const std::string start("a\nb\r\tc\0\x1F\x7F\xC4\x9B", 11), text = start + std::string(9000, 'x') + "\ny";
    ASSERT_EQ(openTraceFile(folder.path("trace.log")), 0);
    tracelogerror(text);
    closeTraceFile();
    EXPECT_EQ(log.errors(), std::vector{text});
    EXPECT_EQ(lastError(), text.substr(0, 512));
    EXPECT_EQ(readFile(folder.path("trace.log")).substr(31), "a b \tc   \xC4\x9B" + std::string(9000, 'x') + " y\n");
}

TEST(TraceLog, DropsAndCountsWhatAFullPipeDoesNotTakeAndWaitsOnce) {
    const TemporaryFolder folder;
    Pipe pipe(folder.path("pipe"));
    EXPECT_EQ(openTraceFile(pipe.path()), ENXIO);
    pipe.openReader();
    ASSERT_GT(::fcntl(pipe.reader(), F_SETPIPE_SZ, 4096), 0);
    ASSERT_EQ(openTraceFile(pipe.path()), 0);
    const auto start = std::chrono::steady_clock::now();
    for (int k = 0; k < 100; ++k)
        traceloginfo(std::string(100, 'x'));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    const std::string taken = pipe.take(), line = kTime + "INFO  x{100}\n";
    const std::size_t lines = taken.size() / 132;
    EXPECT_THAT(taken, MatchesRegex("(" + line + "){" + std::to_string(lines) + "}"));
    tracelogerror("again");
    EXPECT_THAT(pipe.take(), MatchesRegex(dropped(100 - lines) + kTime + "ERROR again\n"));

    traceloginfo(std::string(5000, 'x'));
    EXPECT_THAT(pipe.take(), MatchesRegex(kTime + "INFO  x*")) << "cut";
    traceloginfo("next");
    EXPECT_THAT(pipe.take(), MatchesRegex("\n" + dropped(1) + kTime + "INFO  next\n"));

    pipe.closeReader();
    traceloginfo("lost");
    traceloginfo("lost, too");
    pipe.openReader();
    closeTraceFile();
    EXPECT_THAT(pipe.take(), MatchesRegex(dropped(2)));
}

TEST(TraceLog, EndsALineThatAFullDiskCut) {
    const TemporaryFolder folder;
    ASSERT_EQ(openTraceFile(folder.path("trace.log")), 0);
    // A limit on the file size simulates a full disk.
    const auto signalBefore = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{40, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    tracelogerror("this is cut");
    tracelogerror("this is lost");
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, signalBefore);
    traceloginfo("next");
    closeTraceFile();
    EXPECT_THAT(readFile(folder.path("trace.log")),
                MatchesRegex(kTime + "ERROR this is c\n" + dropped(2) + kTime + "INFO  next\n"));
}

TEST(TraceLog, LeavesNoDescriptorOpen) {
    const TemporaryFolder folder;
    const std::ptrdiff_t before = openDescriptors();
    for (const char* const name : {"a", "a", "b", "none/c"})
        openTraceFile(folder.path(name));
    EXPECT_EQ(openDescriptors(), before + 1);
    closeTraceFile();
    closeTraceFile();
    EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
}  // namespace vorlandi::testing
