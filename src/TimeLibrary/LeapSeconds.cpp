#include "TimeLibrary/LeapSeconds.hpp"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <limits>
#include <memory>
#include <mutex>
#include <utility>

#include "CoreServices/HeldAcrossFork.hpp"
#include "CoreServices/InputUnits.hpp"
#include "CoreServices/Texts.hpp"
#include "CoreServices/TraceLog.hpp"
#include "CoreServices/Units.hpp"
#include "TimeLibrary/Calendar.hpp"

namespace vorlandi {
namespace {

// The leap seconds announced by the IERS in its Bulletin C up to no. 72: each row begins at 0h UTC on January
// 1 or July 1 of the year.
struct Announcement {
    int year, month, taiMinusUtc;
};
constexpr Announcement kAnnouncements[] = {
    {1972, 1, 10}, {1972, 7, 11}, {1973, 1, 12}, {1974, 1, 13}, {1975, 1, 14}, {1976, 1, 15}, {1977, 1, 16},
    {1978, 1, 17}, {1979, 1, 18}, {1980, 1, 19}, {1981, 7, 20}, {1982, 7, 21}, {1983, 7, 22}, {1985, 7, 23},
    {1988, 1, 24}, {1990, 1, 25}, {1991, 1, 26}, {1992, 7, 27}, {1993, 7, 28}, {1994, 7, 29}, {1996, 1, 30},
    {1997, 7, 31}, {1999, 1, 32}, {2006, 1, 33}, {2009, 1, 34}, {2012, 7, 35}, {2015, 7, 36}, {2017, 1, 37},
};

LeapStep stepAt(double day, double taiMinusUtc) {
    const double daysOffset = taiMinusUtc / kSecondsPerDay;
    return {day, taiMinusUtc, daysOffset, day + daysOffset, std::numeric_limits<double>::infinity()};
}

// All tables of the process, in a list without a destructor: other threads may use them until the process ends.
struct KeptTable {
    LeapTable table;
    KeptTable* before;
};
constinit KeptTable* lastKept = nullptr;
constinit std::mutex keeping;
[[maybe_unused]] const HeldAcrossFork<keeping> kKeepingHeldAcrossFork;

// The table of these steps; a new one only if there was none like it.
const LeapTable* keep(std::vector<LeapStep>&& steps) {
    auto kept = std::make_unique<KeptTable>(KeptTable{LeapTable(std::move(steps)), nullptr});
    const std::lock_guard lock(keeping);
    for (const KeptTable* like = lastKept; like != nullptr; like = like->before) {
        if (like->table == kept->table) return &like->table;
    }
    kept->before = lastKept;
    lastKept = kept.release();
    return &lastKept->table;
}

const LeapTable* builtInTable() {
    std::vector<LeapStep> steps;
    for (const Announcement& row : kAnnouncements) {
        steps.push_back(stepAt(clocka(mmdd2jul(row.year, row.month, 1), row.year), row.taiMinusUtc));
    }
    return keep(std::move(steps));
}

// A list counts in seconds since 1900 Jan 1.
constexpr auto kWholeSecondsPerDay = static_cast<std::int64_t>(kSecondsPerDay);
constexpr auto kDayNumberOf1900 = static_cast<double>(dayZeroOfYear(1900) + 1);

bool readWord(std::string_view word, std::int64_t& value) noexcept {
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    return error == std::errc{} && end == word.data() + word.size();
}

// One line of a list: seconds since 1900, TAI - UTC. Empty when it is all right.
std::string_view readStep(std::string_view line, std::vector<LeapStep>& steps) {
    const auto timeEnd = std::min(line.find_first_of(kBlanks), line.size());
    const auto rest = line.substr(std::min(line.find_first_not_of(kBlanks, timeEnd), line.size()));
    std::int64_t seconds = 0;
    std::int64_t taiMinusUtc = 0;
    if (!readWord(line.substr(0, timeEnd), seconds)) return "the time is not a whole number";
    if (!readWord(rest.substr(0, rest.find_first_of(" \t#")), taiMinusUtc)) return "TAI - UTC is not a whole number";
    if (seconds % kWholeSecondsPerDay != 0) return "a step begins at 0h UTC";
    const std::int64_t days = seconds / kWholeSecondsPerDay;
    const LeapStep step = stepAt(kDayNumberOf1900 + static_cast<double>(days), static_cast<double>(taiMinusUtc));
    if (!steps.empty()) {
        if (step.day <= steps.back().day) return "times must rise";
        if (std::abs(step.taiMinusUtc - steps.back().taiMinusUtc) != 1.0) return "a step is one second";
    }
    steps.push_back(step);
    return {};
}

}  // namespace

LeapTable::LeapTable(std::vector<LeapStep> steps)
    : steps_(std::move(steps)), first_(steps_.data()), last_(steps_.data() + steps_.size() - 1) {
    for (std::size_t k = 1; k < steps_.size(); ++k)
        steps_[k - 1].nextDay = steps_[k].day;
}

bool LeapTable::endsWithLeapSecond(double day) const noexcept {
    const LeapStep& next = atUtc(day + 1.0);
    return next.day == day + 1.0 && &next != first_ && next.taiMinusUtc > (&next - 1)->taiMinusUtc;
}

std::atomic<const LeapTable*> currentLeapTable{builtInTable()};

const LeapTable* parseLeapSeconds(std::string_view text, MessageText& problem) {
    std::vector<LeapStep> steps;
    InputUnit unit(memorySource(text));
    std::string_view line;
    while (unit.readLine(InputUnit::kLongestLine, line) == ReadOutcome::Success) {
        const auto first = line.find_first_not_of(kBlanks);
        if (first == std::string_view::npos || line[first] == '#') continue;
        if (const auto why = readStep(line.substr(first), steps); !why.empty()) {
            problem = MessageText("line ") << unit.lineNumber() << ": " << why;
            return nullptr;
        }
    }
    if (steps.empty()) {
        problem = "no leap seconds";
        return nullptr;
    }
    return keep(std::move(steps));
}

void freeLeapTables() noexcept {
    while (lastKept != nullptr)
        delete std::exchange(lastKept, lastKept->before);
}

int loadLeapSeconds(std::string_view fileName) {
    constexpr std::size_t kLongestList = 1 << 20;
    std::unique_ptr<ByteSource> source;
    if (const int error = openByteSource(fileName, source); error != 0) return error;
    std::string text(kLongestList, '\0');
    std::size_t size = 0;
    std::int64_t count = 0;
    while ((count = source->read(text.data() + size, text.size() - size)) > 0)
        size += static_cast<std::size_t>(count);
    MessageText problem;
    const LeapTable* table = nullptr;
    if (count < 0) {
        problem = "the file can't be read";
    } else if (size == text.size()) {
        problem = "the file is too large for a leap-second list";
    } else {
        table = parseLeapSeconds(std::string_view(text).substr(0, size), problem);
    }
    if (table == nullptr) {
        tracelogerror(MessageText("VorlanTimeLoadLeapSeconds: ") << trimmed(fileName) << ": " << problem << ".");
        return 2;
    }
    currentLeapTable.store(table, std::memory_order_release);
    return 0;
}

}  // namespace vorlandi
