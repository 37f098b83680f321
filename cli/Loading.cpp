#include "Loading.hpp"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "Library.hpp"
#include "Options.hpp"
#include "Output.hpp"

namespace vorlandi::cli {
namespace {

// File names cross the interface blank padded: blanks at the end would be lost, and leading ones don't count.
std::string libraryName(const std::string& file) { return file.starts_with(' ') ? "./" + file : file; }

const char* reasonAgainst(const std::string& name) {
    if (name.size() > kFileNameLength) return "the file name is too long";
    if (name.empty() || name.ends_with(' ')) return "a file name that is empty or ends with a blank can't be loaded";
    return nullptr;
}

// A read that failed and a missing file have the same status, 2.
std::string describeStatus(int status, const std::string& name) {
    std::error_code error;
    if (status == ENOENT && std::filesystem::exists(name, error)) return "reading failed";
    return std::strerror(status);
}

// The fault of a load about which the library reported no error; empty if there is none.
std::string unreportedFault(int status, bool storedAny, const LoadListener& listener, const std::string& name) {
    if (listener.hasSeenError()) return "";
    if (status != 0) return describeStatus(status, name);
    if (storedAny) return "";
    return listener.hasSeenFormat() ? "nothing was loaded"
                                    : "no ephemeris recognised in this file, nor in any that its cards name";
}

void refuseOverwriting(const std::string& output, const std::string& input) {
    std::error_code error;
    if (output != kStandardOutput && std::filesystem::equivalent(output, input, error))
        throw UsageError(output, "is an input file and would be overwritten");
}

bool loadOne(const std::string& file, const std::string& output, Formats& formats, Console& console) {
    const std::string name = libraryName(file);
    if (const char* const reason = reasonAgainst(name)) {
        console.error(file, reason);
        return false;
    }
    const std::int32_t countBefore = satelliteCount();
    LoadListener listener(file, formats, console);
    const std::int32_t status = loadFile(name);
    listener.finish();
    for (const std::string& named : listener.files())
        refuseOverwriting(output, named);
    const std::string fault = unreportedFault(status, satelliteCount() > countBefore, listener, name);
    if (!fault.empty()) console.error(file, fault);
    return fault.empty() && !listener.hasSeenError();
}

}  // namespace

bool loadFiles(const std::vector<std::string>& files, const std::string& output, Console& console, Formats* formats) {
    Formats unused;
    for (const std::string& file : files)
        refuseOverwriting(output, file);
    bool allWell = true;
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (files.size() > 1) console.progress(fmt::format("loading file {} of {}: {}", i + 1, files.size(), files[i]));
        allWell = loadOne(files[i], output, formats != nullptr ? *formats : unused, console) && allWell;
    }
    console.clearProgress();
    return allWell;
}

}  // namespace vorlandi::cli
