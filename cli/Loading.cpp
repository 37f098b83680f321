#include "Loading.hpp"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "Options.hpp"
#include "Output.hpp"
#include "Store.hpp"
#include "vorlandi/services.h"

namespace vorlandi::cli {
namespace {

// Passes the messages of the library on while it lives, under the name of the file that is being loaded.
class TraceListener {
public:
    TraceListener(const std::string& file, Console& console) : file_(file), console_(console) {
        VorlanTraceSetHandler(&TraceListener::hear, this);
    }
    ~TraceListener() { VorlanTraceSetHandler(nullptr, nullptr); }

    TraceListener(const TraceListener&) = delete;
    TraceListener& operator=(const TraceListener&) = delete;

    bool heardError() const { return heard_error_; }

private:
    // The library calls this, and no exception may pass through it.
    static void hear(std::int32_t severity, const char* text, std::int32_t length, void* listener) noexcept {
        static_cast<TraceListener*>(listener)->take(severity, {text, static_cast<std::size_t>(length)});
    }

    void take(std::int32_t severity, std::string_view message) {
        if (severity == VORLAN_TRACE_ERROR) {
            heard_error_ = true;
            console_.error(file_, message);
        } else {
            console_.information(file_, message);
        }
    }

    const std::string& file_;
    Console& console_;
    bool heard_error_ = false;
};

// File names cross the interface blank padded, so that blanks at the end would be lost; those in front don't
// count.
std::string libraryName(const std::string& file) { return file.starts_with(' ') ? "./" + file : file; }

const char* reasonAgainst(const std::string& name) {
    if (name.size() > kFileNameLength) return "the file name is too long";
    if (name.empty() || name.ends_with(' '))
        return "a file name that is empty or ends with a blank can't be loaded";
    return nullptr;
}

// The failed read and the missing file have the same number, 2.
std::string describeStatus(int status, const std::string& name) {
    std::error_code error;
    if (status == ENOENT && std::filesystem::exists(name, error)) return "reading failed";
    return std::strerror(status);
}

// What is wrong with a load of which the library said nothing: empty if nothing is.
std::string verdict(int status, bool stored_any, bool heard_error, const std::string& name) {
    if (status != 0) return describeStatus(status, name);
    if (stored_any) return "";
    return heard_error ? "nothing was loaded" : "no ephemeris recognised in this file";
}

bool loadOne(const std::string& file, Console& console) {
    const std::string name = libraryName(file);
    if (const char* const reason = reasonAgainst(name)) {
        console.error(file, reason);
        return false;
    }
    const std::int32_t count_before = satelliteCount();
    const TraceListener listener(file, console);
    const std::int32_t status = loadFile(name);
    const bool stored_any = satelliteCount() > count_before;
    const std::string fault = verdict(status, stored_any, listener.heardError(), name);
    if (!fault.empty()) console.error(file, fault);
    return fault.empty() && !listener.heardError();
}

void refuseOverwriting(const std::string& output, const std::string& input) {
    std::error_code error;
    if (output != kStandardOutput && std::filesystem::equivalent(output, input, error))
        throw UsageError(output, "is an input file and would be overwritten");
}

}  // namespace

bool loadFiles(const std::vector<std::string>& files, const std::string& output, Console& console) {
    for (const std::string& file : files)
        refuseOverwriting(output, file);
    bool all_well = true;
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (files.size() > 1)
            console.progress(fmt::format("loading file {} of {}: {}", i + 1, files.size(), files[i]));
        all_well = loadOne(files[i], console) && all_well;
    }
    console.clearProgress();
    for (const Satellite& satellite : loadedSatellites())
        refuseOverwriting(output, satellite.file);
    return all_well;
}

}  // namespace vorlandi::cli
