// The calls whose allocations are made to fail: all exported functions, with arguments that reach every allocation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vorlandi::faults {

constexpr double kEpoch = 27000.0;
constexpr double kPosition[3] = {7000.0, 1.0, 2.0};
constexpr double kVelocity[3] = {0.0, 7.5, 0.0};
constexpr std::int64_t kUnknownKey = 11;

// Nodes and records come from pools. Their first blocks, which are kept, hold this many.
constexpr int kFirstPoolBlock = 64;
constexpr std::size_t kMostKeys = 128;  // more than any call stores

// A satellite with points a minute apart and a gap, which calls only query.
extern std::int64_t control;
void addControlSatellite();

// Where the calls put their outputs.
struct Outputs {
    double numbers[160];
    std::int32_t integers[8];
    std::int64_t keys[kMostKeys];
    char text[512];
};

enum class Ending {
    AllocatesNothing,
    Survives,  // every failure
    MayStop    // the process, if points, a record or the strings of a sort can't be stored
};

struct Call {
    std::string what;  // the function that is called, or all of them, and what is special
    Ending ending;
    std::function<void()> prepare;
    std::function<std::int64_t(Outputs&)> run;
    std::int64_t failed = 2;                                 // the result of a failure
    std::vector<std::string> messages = {"Out of memory."};  // one of them comes with it; see isMessage
    bool loads = false;                                      // stores one by one: a failure may keep earlier ones

    // "Function: message"; a message that names a procedure is taken as it is.
    bool isMessage(const std::string& text) const;
};

// `examples` is the folder of the example files, `folder` one for the files of the calls.
std::vector<Call> allCalls(const std::string& examples, const std::string& folder);

// The file that VorlanSaveFile writes.
std::string savedFile(const std::string& folder);

}  // namespace vorlandi::faults
