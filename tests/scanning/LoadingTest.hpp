// Shared by the tests of loading and saving: files in a temporary folder, and cards that name them.
#pragma once

#include <string>
#include <vector>

#include "TestSupport.hpp"
#include "vorlandi/vorlandi.h"

namespace vorlandi::testing {

using Lines = std::vector<std::string>;

inline std::string card(const std::string& file) { return "EPHFIL = " + file + "\n"; }

class LoadingTest : public StoreTest {
protected:
    // Writes a file and loads it.
    std::int32_t load(const std::string& name, const std::string& text) const {
        return VorlanLoadFile(folder.write(name, text).c_str());
    }

    TemporaryFolder folder;
};

}  // namespace vorlandi::testing
