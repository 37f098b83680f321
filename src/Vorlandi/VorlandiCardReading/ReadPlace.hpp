// A place in a file, for the messages and events about it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "CoreServices/ReadObserver.hpp"

namespace vorlandi {

struct ReadPlace {
    std::string_view fileName;
    std::int64_t number = 0;  // of the line, from 1; in a binary file, of the record
    std::string_view line;    // empty in a binary file
};

// Reports an event at a place to the thread's read observer.
inline void observeRead(std::int32_t event, const ReadPlace& place) {
    observeRead(event, place.fileName, place.number, place.line);
}

// A line that is kept while others are read.
struct KeptLine {
    KeptLine() = default;
    explicit KeptLine(const ReadPlace& place) : number(place.number), text(place.line) {}

    ReadPlace placeIn(std::string_view fileName) const noexcept { return {fileName, number, text}; }

    std::int64_t number = 0;  // 0: none is kept
    std::string text;
};

}  // namespace vorlandi
