// Both passes over any bytes, as the text file fuzz.txt: cards, detection, readers, store.
// Cards name files: they are read from this target's own folder, and an input with a card that leads elsewhere is
// skipped. scanner_practical uses the practical rules: blocks that are refused, divided and stored one after another.
#include <cstdlib>
#include <filesystem>
#include <fstream>

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
    {"b", "#VORLANDI = inner\n26031000000.000  1.0 2.0 3.0 4.0 5.0 6.0\n26031000001.000  1. 2. 3. 4. 5. 6.\n"},
    {"c", "EPHFIL = a\nVORLAN = c\n"},
    {"d.dce", ""},
};
#ifdef VORLANDI_FUZZ_PRACTICAL
constexpr auto kRules = ReadingRules::practical();
#else
constexpr auto kRules = ReadingRules::fixed();
#endif
constexpr std::size_t kNestedSize = 128;  // of the longest

// A folder with these files, which goes away with the process.
class NestedFolder {
public:
    NestedFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "vorlandi-fuzz-XXXXXX").string();
        require(mkdtemp(name.data()) != nullptr, "there is a temporary folder");
        folder_ = name;
        for (const NestedFile& nested : kNestedFiles)
            require((std::ofstream(folder_ / nested.name) << nested.text).good(), "the nested files can be written");
    }
    ~NestedFolder() { std::filesystem::remove_all(folder_); }
    NestedFolder(const NestedFolder&) = delete;
    NestedFolder& operator=(const NestedFolder&) = delete;

    const std::filesystem::path& path() const noexcept { return folder_; }

private:
    std::filesystem::path folder_;
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

}  // namespace
}  // namespace vorlandi::fuzzing

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vorlandi::fuzzing;
    static const NestedFolder nested;
    static const std::filesystem::path outside = std::filesystem::current_path();
    const std::string_view text = textOf(data, size);
    if (!isHarmless(text)) return -1;
    std::filesystem::current_path(nested.path());
    const Outcome outcome = readTwice(text, [=](auto source, Outcome& made) {
        vorlandi::InputUnit unit(std::move(source));
        vorlandi::Load load({kRules});
        made.status = readvorlansfrfileunit(unit, {"fuzz.txt"}, load);
        takeStore(made, size + kNestedSize);
    });
    std::filesystem::current_path(outside);
    require(outcome.status == 0 || outcome.status == 2, "the status is 0 or 2");
    return 0;
}
