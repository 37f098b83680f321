// Both passes over a card file. Cards name files: they are read from a folder of this target's own, and an
// input with a card that leads anywhere else is passed over.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "CoreServices/LocalDate.hpp"
#include "FuzzSupport.hpp"
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"
#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"

namespace vorlandi::fuzzing {
namespace {

// The files that cards can name.
struct NestedFile {
    const char* name;
    const char* text;
};
constexpr NestedFile kNestedFiles[] = {
    {"a", "81001\n1 1 0 20485.0 7000 0 0 0 7.5 0 0 0 0 0\n1 1 0 20485.1 0 7000 0 -7.5 0 0 0 0 0 0\n"},
    {"b",
     "#VORLANDI = inner\n26031000000.000  1.0 2.0 3.0 4.0 5.0 6.0\n26031000001.000  1. 2. 3. 4. 5. 6.\n"},
    {"c", "EPHFIL = a\nVORLAN = c\n"},
    {"d.dce", ""},
};

// A folder with these files, which goes away with the process, and the way there and back.
class NestedFolder {
public:
    NestedFolder() : outside_(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        std::string name = (std::filesystem::temp_directory_path() / "vorlandi-fuzz-XXXXXX").string();
        require(mkdtemp(name.data()) != nullptr, "there is a temporary folder");
        folder_ = name;
        for (const NestedFile& nested : kNestedFiles) {
            std::FILE* const file = std::fopen((folder_ / nested.name).c_str(), "we");
            require(file != nullptr, "the nested files can be written");
            std::fputs(nested.text, file);
            std::fclose(file);
        }
        inside_ = open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        require(inside_ >= 0 && outside_ >= 0, "both folders can be entered");
    }
    ~NestedFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
        close(inside_);
        close(outside_);
    }
    NestedFolder(const NestedFolder&) = delete;
    NestedFolder& operator=(const NestedFolder&) = delete;

    void enter() const { require(fchdir(inside_) == 0, "the folder can be entered"); }
    void leave() const { require(fchdir(outside_) == 0, "the folder can be left"); }

private:
    std::filesystem::path folder_;
    int inside_ = -1;
    int outside_ = -1;
};

// No card leads out of the folder.
bool isHarmless(std::string_view text) {
    InputUnit unit(memorySource(text));
    std::string_view line;
    while (unit.readLine(kCardColumns, line) == ReadOutcome::Success) {
        if (vorlancardtype(line) == kInputFileCard && line.find_first_of("/\\") != line.npos) return false;
    }
    return true;
}

Outcome passes(std::unique_ptr<ByteSource> source, std::size_t inputSize) {
    const Messages messages;
    InputUnit unit(std::move(source));
    Outcome outcome;
    outcome.status = readvorlansfrfileunit(unit, "fuzz.txt");
    takeStore(outcome, inputSize);
    outcome.messages = messages.all();
    return outcome;
}

// Of the longest nested file, so that the bound on the points holds for it, too.
constexpr std::size_t kNestedSize = 128;

}  // namespace
}  // namespace vorlandi::fuzzing

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    vorlandi::setClock([] { return std::time_t{1'769'817'600}; });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vorlandi::fuzzing;
    static const NestedFolder folder;
    const std::string_view text = textOf(data, size);
    if (!isHarmless(text)) return -1;
    folder.enter();
    const Outcome whole = passes(vorlandi::memorySource(text), size + kNestedSize);
    const Outcome pieces = passes(piecewiseSource(text), size + kNestedSize);
    folder.leave();
    require(whole == pieces, "read again in pieces, the same is stored");
    return 0;
}
