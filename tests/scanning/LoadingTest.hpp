// Shared by the tests of loading and saving: files in a temporary folder, cards that name them, and what is stored.
#pragma once

#include <string>
#include <vector>

#include "TestSupport.hpp"
#include "vorlandi/vorlandi.h"

namespace vorlandi::testing {

using Lines = std::vector<std::string>;

inline std::string card(const std::string& file) { return "EPHFIL = " + file + "\n"; }

inline std::string joined(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return text;
}

// What is stored, in the order of loading: satellite number and number of points.
inline Lines storedPoints() {
    std::vector<std::int64_t> keys(static_cast<std::size_t>(VorlanGetCount()));
    if (!keys.empty()) VorlanGetLoaded(2, keys.data());
    Lines lines;
    for (const std::int64_t key : keys) {
        const Vorlanrecord record = storedRecord(key);
        lines.push_back(std::to_string(record.satNum) + ":" + std::to_string(record.numberOfPoints()));
    }
    return lines;
}

class LoadingTest : public StoreTest {
protected:
    // Writes a file and loads it.
    std::int32_t load(const std::string& name, const std::string& text) const {
        return VorlanLoadFile(folder.write(name, text).c_str());
    }

    TemporaryFolder folder;
};

}  // namespace vorlandi::testing
