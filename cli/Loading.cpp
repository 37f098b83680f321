#include "Loading.hpp"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "Options.hpp"
#include "Output.hpp"
#include "Store.hpp"
#include "vorlandi/services.h"

namespace vorlandi::cli {
namespace {

// Hears what the library says and meets while one file is loaded, passes its messages on under the name of
// the file and, for a bad line, its number, and notes the format of each satellite.
class LoadListener : public ReadListener {
public:
    LoadListener(const std::string& file, Formats& formats, Console& console)
        : file_(file), formats_(formats), console_(console) {
        VorlanTraceSetHandler(&LoadListener::hearMessage, this);
    }
    ~LoadListener() override { VorlanTraceSetHandler(nullptr, nullptr); }

    bool heardError() const { return heard_error_; }
    bool heardFormat() const { return !read_.empty(); }

    // To be called once all is heard.
    void finish() { checkStored(); }

private:
    // A bad line is followed by two messages about it: what is wrong, and the line itself.
    static constexpr int kMessagesOfBadLine = 2;

    // The library calls these, and no exception may pass through them.
    static void hearMessage(std::int32_t severity, const char* text, std::int32_t length,
                            void* listener) noexcept {
        static_cast<LoadListener*>(listener)->take(severity, {text, static_cast<std::size_t>(length)});
    }

    void hear(const ReadEvent& event) noexcept override {
        using enum ReadEvent::Kind;
        if (event.kind == kFormat) {
            checkStored();
            format_ = event.text;
            read_ = event.file;
            expecting_ = true;
            heard_reason_ = false;
        }
        if (event.kind == kStored) {
            formats_[std::string(event.text)] = format_;
            expecting_ = false;
        }
        if (event.kind == kBad) {
            place_ = fmt::format("{}:{}", event.file, event.line);
            messages_of_place_ = kMessagesOfBadLine;
        }
        if (event.kind == kDropped) {
            console_.information(fmt::format("{}:{}", event.file, event.line),
                                 "point dropped: its time is not later than the last one");
        }
    }

    // A record that no key could be made for is the one of which the library says nothing.
    void checkStored() {
        if (!std::exchange(expecting_, false) || heard_reason_) return;
        heard_error_ = true;
        console_.error(read_, "read, but not stored: its satellite number or first time is out of range");
    }

    void take(std::int32_t severity, std::string_view message) {
        const bool about_place = messages_of_place_ > 0;
        if (about_place) --messages_of_place_;
        if (severity == VORLAN_TRACE_ERROR) {
            heard_error_ = true;
            // What keeps a record from being stored is a matter of the file that is being read.
            const std::string& about = expecting_ ? read_ : file_;
            console_.error(about_place ? place_ : about, message);
            heard_reason_ = heard_reason_ || !about_place;
        } else {
            const std::string& subject = about_place ? place_ : file_;
            console_.information(subject, message);
        }
    }

    const std::string& file_;
    Formats& formats_;
    Console& console_;
    std::string format_;
    std::string read_;        // file of the format heard last, which a card may have named
    bool expecting_ = false;  // a record of it, or the reason why there is none
    bool heard_reason_ = false;
    std::string place_;
    int messages_of_place_ = 0;
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
std::string verdict(int status, bool stored_any, const LoadListener& listener, const std::string& name) {
    if (status != 0) return describeStatus(status, name);
    if (stored_any) return "";
    return listener.heardFormat() || listener.heardError()
               ? "nothing was loaded"
               : "no ephemeris recognised in this file, nor in one that its cards name (relative to the "
                 "current "
                 "directory)";
}

bool loadOne(const std::string& file, Formats& formats, Console& console) {
    const std::string name = libraryName(file);
    if (const char* const reason = reasonAgainst(name)) {
        console.error(file, reason);
        return false;
    }
    const std::int32_t count_before = satelliteCount();
    LoadListener listener(file, formats, console);
    const std::int32_t status = loadFile(name);
    listener.finish();
    const bool stored_any = satelliteCount() > count_before;
    const std::string fault = verdict(status, stored_any, listener, name);
    if (!fault.empty()) console.error(file, fault);
    return fault.empty() && !listener.heardError();
}

void refuseOverwriting(const std::string& output, const std::string& input) {
    std::error_code error;
    if (output != kStandardOutput && std::filesystem::equivalent(output, input, error))
        throw UsageError(output, "is an input file and would be overwritten");
}

}  // namespace

bool loadFiles(const std::vector<std::string>& files, const std::string& output, Console& console,
               Formats* formats) {
    Formats unused;
    for (const std::string& file : files)
        refuseOverwriting(output, file);
    bool all_well = true;
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (files.size() > 1)
            console.progress(fmt::format("loading file {} of {}: {}", i + 1, files.size(), files[i]));
        all_well = loadOne(files[i], formats != nullptr ? *formats : unused, console) && all_well;
    }
    console.clearProgress();
    for (const Satellite& satellite : loadedSatellites())
        refuseOverwriting(output, satellite.file);
    return all_well;
}

}  // namespace vorlandi::cli
