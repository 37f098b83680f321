// Fails the n-th allocation of every kind of call, for n = 1, 2, ... until the call has fewer, once alone and once with
// all later ones, each time in a child process. The call may then
//
// 1. succeed all the same, with the same outputs and the same store;
// 2. fail: with its status, its message, blank outputs, and the store as it was, except that a load keeps what it has
// stored;
// 3. if it stores points or records, or is VorlanGetLoaded: end the process, and say so on standard error.
//
// After 1 and 2 the call works as usual, and once all satellites are removed the same amount of memory is in use as
// after calls whose allocations did not fail. The handler of the messages takes the writer side of the store's guard,
// so that a message that is logged with the guard held blocks the child.
//
//   vorlandi_allocation_failures EXAMPLES INCLUDE [--verbose]
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <regex>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "faults/Calls.hpp"
#include "faults/FailingMemory.hpp"
#include "vorlandi/services.h"
#include "vorlandi/time.h"
#include "vorlandi/vorlandi.h"

using namespace vorlandi::faults;

namespace {

std::string folder;  // for files

// ---- One call in a child process ----

// The visible state of the library.
struct View {
    std::int32_t satellites;
    double stateOfControl[6];
    std::uint64_t hashOfStore;  // of keys, spans and numbers of points
    double utcOfLateTai;
    off_t savedBytes;
    bool operator==(const View&) const = default;
};

void addToHash(std::uint64_t& hash, double value) {
    unsigned char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    for (const unsigned char byte : bytes)
        hash = (hash ^ byte) * 0x100000001B3;  // FNV-1a
}

constexpr bool isDma(std::int64_t key) { return key > 0 && key % 10 == 0; }

View view() {
    View seen{VorlanGetCount(), {}, 0xCBF29CE484222325, VorlanTimeTaiToUtc(40000.0), 0};
    VorlanMse(control, 2.5, nullptr, seen.stateOfControl, seen.stateOfControl + 3, nullptr);
    std::array<std::int64_t, kMostKeys> keys{};
    VorlanGetLoadedExt(3, keys.size(), keys.data(), nullptr);
    for (const std::int64_t key : std::span(keys).first(static_cast<std::size_t>(seen.satellites))) {
        double start = 0.0, end = 0.0;
        std::int32_t points = 0;
        VorlanGetAllFields(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                           &points, nullptr);
        if (points > 0) VorlanStartEndTime(key, &start, &end);
        // DMA keys are addresses.
        for (const double value : {isDma(key) ? 0.0 : static_cast<double>(key), start, end, points * 1.0})
            addToHash(seen.hashOfStore, value);
    }
    struct stat status {};
    if (::stat(savedFile(folder).c_str(), &status) == 0) seen.savedBytes = status.st_size;
    return seen;
}

struct Round {
    View before, after;
    std::int64_t result;
    Outputs outputs;
    char message[512];  // the last one
    LiveMemory live;    // taken since the child began, after all satellites are removed

    bool matches(const Round& good) const {
        return result == good.result && after == good.after &&
               std::memcmp(&outputs, &good.outputs, sizeof outputs) == 0 &&
               std::memcmp(message, good.message, sizeof message) == 0;
    }
};

// What a child reports to its parent: a round with a failure and one without.
struct Report {
    bool isReached;
    Round rounds[2];
};

void appendAtMessage(std::int32_t, const char*, std::int32_t, void*) {
    static bool isBusy = false;
    if (std::exchange(isBusy, true)) return;  // a message about the call below
    // The point is too early and is dropped, but the writer side has to be free for that.
    VorlanAddSatEphem(control, 1.0, kPosition, kVelocity, 0);
    isBusy = false;
}

void ignore(std::int32_t, const char*, std::int32_t, std::int64_t, const char*, std::int32_t, void*) {}

constexpr int kFilling = 0xA5;  // of outputs that a call leaves alone

bool runRound(const Call& call, int n, Failing failing, Round& round) {
    VorlanSetGuardMode(VORLAN_GUARD_SAFE);
    VorlanTraceSetHandler(appendAtMessage, nullptr);
    VorlanTraceOpen((folder + "/messages.log").c_str());
    VorlanSetReadObserver(ignore, nullptr);
    std::filesystem::remove(savedFile(folder));
    addControlSatellite();
    call.prepare();
    VorlanRemoveSat(kUnknownKey);  // a message that is not the call's
    std::memset(&round.outputs, kFilling, sizeof round.outputs);
    round.before = view();

    if (n > 0) failAllocation(n, failing);
    round.result = call.run(round.outputs);
    const bool isReached = stopFailing();

    if (isDma(round.result)) round.result = 10;
    VorlanTraceLastError(round.message);
    VorlanSetAllKeyMode(0, 0);
    round.after = view();
    VorlanRemoveAllSats();
    return isReached;
}

struct Child {
    int status = 0;
    std::string errorText;

    bool finished() const { return WIFEXITED(status) && WEXITSTATUS(status) == 0; }
    bool stopped() const {
        return WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT &&
               std::regex_match(errorText, std::regex("Error allocating [0-9]+ bytes\n"));
    }
    std::string ending() const {
        return (WIFSIGNALED(status) ? strsignal(WTERMSIG(status)) : "status " + std::to_string(status)) + " " +
               errorText;
    }
};

// Runs both rounds. The allocation to fail is the n-th of the first round; none for 0.
Child runChild(const Call& call, int n, Failing failing, Report& report) {
    constexpr unsigned kPatience_s = 30;
    int ends[2];
    if (::pipe(ends) != 0) std::abort();
    const pid_t process = ::fork();
    if (process == 0) {
        const rlimit noCore{0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
        ::dup2(ends[1], STDERR_FILENO);
        ::alarm(kPatience_s);
        const LiveMemory start = liveMemory();
        report.isReached = runRound(call, n, failing, report.rounds[0]);
        report.rounds[0].live = liveMemory() - start;
        runRound(call, 0, failing, report.rounds[1]);
        report.rounds[1].live = liveMemory() - start;
        ::_exit(0);
    }
    ::close(ends[1]);
    Child child;
    std::array<char, 256> piece{};
    for (ssize_t count = 0; (count = ::read(ends[0], piece.data(), piece.size())) > 0;)
        child.errorText.append(piece.data(), static_cast<std::size_t>(count));
    ::close(ends[0]);
    ::waitpid(process, &child.status, 0);
    return child;
}

// ---- Judging a child ----

// Outputs of a failure are zeros and blanks where a success writes something. Lists of keys may be left alone.
bool areBlank(const Outputs& failed, const Outputs& good) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&failed);
    const auto* const goodBytes = reinterpret_cast<const unsigned char*>(&good);
    for (std::size_t k = 0; k < sizeof(Outputs); ++k) {
        const bool isText = k >= offsetof(Outputs, text);
        const bool isKey = k >= offsetof(Outputs, keys) && !isText;
        const bool mayStay = isKey || goodBytes[k] == kFilling;
        if (bytes[k] != (isText ? ' ' : 0) && !(bytes[k] == kFilling && mayStay)) return false;
    }
    return true;
}

// The problem with a round that failed, or nothing.
std::string problemOf(const Call& call, const Round& round, const Round& good) {
    const View& after = round.after;
    const std::string_view padded(round.message, sizeof round.message);
    const std::string message(padded.substr(0, padded.find_last_not_of(' ') + 1));
    if (!call.isMessage(message)) return "message: " + message;
    // A load goes on after a record that can't be stored.
    const bool isSkipped = call.loads && call.failed == 2 && message.starts_with("AddRecToMem");
    if (round.result != (isSkipped ? good.result : call.failed)) return "result " + std::to_string(round.result);
    if (!areBlank(round.outputs, good.outputs)) return "outputs";
    if (!call.loads && after != round.before) return "the visible state has changed";
    if (!std::equal(std::begin(after.stateOfControl), std::end(after.stateOfControl), round.before.stateOfControl))
        return "another satellite's state";
    if (after.satellites < round.before.satellites || after.satellites > good.after.satellites)
        return std::to_string(after.satellites) + " satellites";
    return {};
}

struct Tally {
    int absorbed = 0, failed = 0, stopped = 0;
    int all() const { return absorbed + failed + stopped; }
};

// Counts how a child ended. Returns the problem with it, or nothing.
std::string judge(const Call& call, const Child& child, const Report& report, const Report& good, Tally& tally) {
    if (child.stopped() && call.ending == Ending::MayStop) {
        ++tally.stopped;
        return {};
    }
    if (!child.finished()) return child.ending();
    const auto& [first, second] = report.rounds;
    const bool isAbsorbed = first.matches(good.rounds[0]);
    ++(isAbsorbed ? tally.absorbed : tally.failed);
    if (!isAbsorbed) {
        if (std::string problem = problemOf(call, first, good.rounds[0]); !problem.empty()) return problem;
    }
    if (!second.matches(good.rounds[0])) return "the next call";
    const LiveMemory leak = second.live - good.rounds[isAbsorbed ? 1 : 0].live;
    if (leak == LiveMemory{}) return {};
    return "leak: " + std::to_string(leak.blocks) + " blocks, " + std::to_string(leak.bytes) + " bytes, " +
           std::to_string(leak.mappedBytes) + " mapped";
}

// All failures of one call. Returns the number of faults.
int check(const Call& call, Report& report, Report& good, bool verbose) {
    constexpr int kMostFaults = 5;
    int faults = 0;
    const auto fault = [&](const std::string& where, const std::string& what) {
        std::printf("%s: %s: %s\n", call.what.c_str(), where.c_str(), what.c_str());
        ++faults;
    };
    const Child reference = runChild(call, 0, Failing::Once, good);
    if (!reference.finished() || !good.rounds[1].matches(good.rounds[0])) fault("without failures", reference.ending());
    Tally tally;
    for (const Failing failing : {Failing::Once, Failing::Lasting}) {
        for (int n = 1; faults < kMostFaults; ++n) {
            const Child child = runChild(call, n, failing, report);
            if (child.finished() && !report.isReached) break;
            if (const std::string problem = judge(call, child, report, good, tally); !problem.empty())
                fault((failing == Failing::Once ? "allocation " : "allocations from ") + std::to_string(n), problem);
        }
    }
    if ((call.ending == Ending::AllocatesNothing) != (tally.all() == 0))
        fault("allocations", std::to_string(tally.all()));
    const bool stores = !call.loads || good.rounds[0].after.satellites > good.rounds[0].before.satellites;
    if (stores && (call.ending == Ending::MayStop) != (tally.stopped > 0))
        fault("ends of the process", std::to_string(tally.stopped));
    if (verbose) std::printf("%8d %8d %8d   %s\n", tally.absorbed, tally.failed, tally.stopped, call.what.c_str());
    return faults;
}

// Reports declared functions that no call is named after. Returns their number.
int checkAllAreCalled(const std::vector<Call>& calls, const std::string& include) {
    int missing = 0;
    const std::regex declaration("^(double|void|int32_t|int64_t) +(Vorlan\\w+)\\(");
    for (const auto& header : std::filesystem::directory_iterator(include + "/vorlandi")) {
        std::ifstream file(header.path());
        for (std::string line; std::getline(file, line);) {
            std::smatch match;
            if (!std::regex_search(line, match, declaration)) continue;
            const std::regex name(match.str(2) + "\\b");
            const auto isCalled = [&](const Call& call) { return std::regex_search(call.what, name); };
            if (std::any_of(calls.begin(), calls.end(), isCalled)) continue;
            std::printf("%s is not called\n", match.str(2).c_str());
            ++missing;
        }
    }
    return missing;
}

Report& sharedReport() {
    void* const memory = ::mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) std::abort();
    return *static_cast<Report*>(memory);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    const bool verbose = argc > 3;
    std::string name = (std::filesystem::temp_directory_path() / "vorlandi-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) return 2;
    folder = name;
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    ::tzset();  // the C library's own memory, allocated once
    Report& report = sharedReport();
    Report& good = sharedReport();
    const std::vector<Call> calls = allCalls(argv[1], folder);
    int faults = checkAllAreCalled(calls, argv[2]);
    if (verbose) std::printf("absorbed   failed  stopped   call\n");
    for (const Call& call : calls)
        faults += check(call, report, good, verbose);
    std::filesystem::remove_all(folder);
    std::printf("%zu calls, %d faults\n", calls.size(), faults);
    return faults != 0;
}
