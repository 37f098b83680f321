// The events that the read observer of a test receives, as texts that can be compared.
#pragma once

#include <string>
#include <vector>

#include "TestSupport.hpp"
#include "vorlandi/services.h"
#include "vorlandi/vorlandi.h"

namespace vorlandi::testing {

// Listens on the thread that made it while it lives. An event is "event|file:line|text", without the folder of the
// file; the key of the satellite that was stored first is written as "key".
class ReadEvents {
public:
    explicit ReadEvents(const LogCapture& log) : log_(log) { VorlanSetReadObserver(hear, this); }
    ~ReadEvents() { VorlanSetReadObserver(nullptr, nullptr); }
    ReadEvents(const ReadEvents&) = delete;
    ReadEvents& operator=(const ReadEvents&) = delete;

    void clear() {
        heard.clear();
        errorsBefore.clear();
    }

    std::vector<std::string> heard;
    std::vector<std::size_t> errorsBefore;  // error messages that were logged before each event

private:
    static void hear(std::int32_t event, const char* file, std::int32_t fileSize, std::int64_t line, const char* text,
                     std::int32_t textSize, void* self) {
        const std::string path(file, static_cast<std::size_t>(fileSize));
        std::string told(text, static_cast<std::size_t>(textSize));
        std::int64_t key = 0;
        VorlanGetLoadedExt(2, 1, &key, nullptr);
        if (const std::string digits = std::to_string(key); key != 0 && told.ends_with(digits))
            told.replace(told.size() - digits.size(), digits.size(), "key");
        auto& events = *static_cast<ReadEvents*>(self);
        events.heard.push_back(std::to_string(event) + "|" + path.substr(path.rfind('/') + 1) + ":" +
                               std::to_string(line) + "|" + told);
        events.errorsBefore.push_back(events.log_.errors().size());
    }

    const LogCapture& log_;
};

}  // namespace vorlandi::testing
